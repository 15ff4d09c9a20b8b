// Fuzz target: arbitrary bytes written to a file and read as a localization table
// (CreateLocalizationNodeFromTable) with two languages and several separators. A translation
// node that is read localizes a few nodes and is then installed (the first one) or merged into
// the installed one and released. No logger is registered, so failures stay silent. Inputs
// are capped so that single runs stay fast.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "QV_Tools.h"
#include "input_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxInput = 64 * 1024;
    if (size > kMaxInput) return 0;
    static const InputFile input("qv_loc_fuzz_");
    if (!input.write(data, size)) return 0;

    const char* languages[] = {"de", "en"};
    const char* separators[] = {";", ";,\t"};
    for (int i = 0; i < 2; ++i) {
        QVTreeNode* translations = CreateLocalizationNodeFromTable(input.path(), languages[i], separators[i]);
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
