// Fuzz target: arbitrary bytes written to a file and read as a localization table
// (CreateLocalizationNodeFromTable) with two languages and several separators. A translation
// node that is read localizes a few nodes and is then installed (the first one) or merged into
// the installed one and released. No logger is registered, so failures stay silent. Inputs
// are capped so that single runs stay fast.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "QV_Tools.h"

namespace {

const std::string& input() {
    static const std::string path = [] {
        std::string p = std::string(P_tmpdir) + "/qv_loc_fuzz_XXXXXX";
        const int fd = mkstemp(&p[0]);
        if (fd >= 0) close(fd);
        return p;
    }();
    return path;
}

void removeInput() { std::remove(input().c_str()); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxInput = 64 * 1024;
    if (size > kMaxInput) return 0;
    static const bool cleanup = std::atexit(removeInput) == 0;
    static_cast<void>(cleanup);
    std::FILE* file = std::fopen(input().c_str(), "wb");
    if (!file) return 0;
    if (size > 0) std::fwrite(data, 1, size, file);
    std::fclose(file);

    const char* languages[] = {"de", "en"};
    const char* separators[] = {";", ";,\t"};
    for (int i = 0; i < 2; ++i) {
        QVTreeNode* translations = CreateLocalizationNodeFromTable(input().c_str(), languages[i], separators[i]);
        if (!translations) continue;
        QVTreeNode* root = CreateEmptyTreeNode("exposure", 10);
        AppendChild(root, CreateEmptyTreeNode("gain", 11));
        SetProperty(root, 12, "unit", "mm", eString, eAllocNewPtr);
        LocalizeNode(root, translations);
        LocalizeNodes(root, translations, 0x30);
        ReleaseTreeNode(root, 1);
        if (!GetLocalizationNode()) {
            AddLocalizationNode(translations);
        } else {
            AddLocalizationNode(translations);
            ReleaseTreeNode(translations, 1);
        }
        char name[QV_NAME_SIZE], text[QV_STRING_SIZE], types[QV_STRING_SIZE];
        GetLocalizedData(10, name, text, types);
    }
    return 0;
}
