// qvtool: runs one command of the QV_Tools library from the command line.
#include <cstdio>
#include <cstring>

#include "commands.h"

namespace qvtool {

// Every command, in the order that --help lists them.
static const Command kCommands[] = {
    {"blobs", "the regions of an image after an automatic threshold, listed and drawn", runBlobs, helpBlobs},
    {"log", "write log lines to the console and a log file, and show the last error", runLog, helpLog},
    {"threshold", "automatic thresholds of an image, its binary image and a histogram plot", runThreshold, helpThreshold},
    {"tree", "show a tree file as an outline, read or change one value by its path", runTree, helpTree},
};

bool wantsHelp(int argc, char** argv) {
    for (int i = 0; i < argc; ++i)
        if (!std::strcmp(argv[i], "-h") || !std::strcmp(argv[i], "--help")) return true;
    return false;
}

static void usage(std::FILE* out) {
    std::fprintf(out, "usage: qvtool COMMAND [ARGS...]   (qvtool COMMAND --help for details)\n\ncommands:\n");
    for (const Command& c : kCommands) std::fprintf(out, "  %-10s %s\n", c.name, c.summary);
}

}  // namespace qvtool

int main(int argc, char** argv) {
    using namespace qvtool;
    if (argc < 2) {
        usage(stderr);
        return kBadInput;
    }
    if (!std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "--help")) {
        usage(stdout);
        return 0;
    }
    for (const Command& c : kCommands) {
        if (std::strcmp(argv[1], c.name) != 0) continue;
        if (wantsHelp(argc - 2, argv + 2)) {
            c.help();
            return 0;
        }
        return c.run(argc - 2, argv + 2);
    }
    std::fprintf(stderr, "qvtool: unknown command '%s' (see qvtool --help)\n", argv[1]);
    return kBadInput;
}
