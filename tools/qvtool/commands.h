// The commands of qvtool. Each runs with the arguments after its name and returns the exit
// status: 0 on success, 2 on bad input (one clear line on standard error), 1 on other failures.
#pragma once

namespace qvtool {

struct Command {
    const char* name;
    const char* summary;
    int (*run)(int argc, char** argv);
    void (*help)();
};

// Exit status for bad input: a missing file, an unknown option, an unwritable output.
constexpr int kBadInput = 2;

int runBlobs(int argc, char** argv);
void helpBlobs();
int runLog(int argc, char** argv);
void helpLog();
int runThreshold(int argc, char** argv);
void helpThreshold();
int runTree(int argc, char** argv);
void helpTree();

// True when argv holds -h or --help.
bool wantsHelp(int argc, char** argv);

}  // namespace qvtool
