// Replays every file of a corpus folder through a fuzz harness, so that each harness also runs
// as a plain test without a fuzzing compiler.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        if (!fs::is_directory(argv[i])) continue;
        for (const auto& entry : fs::recursive_directory_iterator(argv[i])) {
            if (!entry.is_regular_file()) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++replayed;
        }
    }
    // An empty input always runs too, so the harness is exercised even without a corpus.
    LLVMFuzzerTestOneInput(nullptr, 0);
    std::printf("replayed %d corpus files\n", replayed);
    return 0;
}
