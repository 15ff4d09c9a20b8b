// Running the built qvtool from a test: its path, the sample folder, and one call that runs a
// command with arguments and captures exit status, standard output and standard error.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace qvtest {

// The qvtool of this build (tests run from the build's tests/ folder).
inline std::filesystem::path qvtoolPath() {
    return std::filesystem::path(QV_TEST_BINARY_DIR) / ".." / "tools" / "qvtool" / "qvtool";
}

// The project's samples/ folder (by the source path CMake gives, which stays absolute also when a
// compiler cache rewrites __FILE__ to a relative path).
inline std::filesystem::path samplesDir() {
    return std::filesystem::path(QV_SOURCE_DIR) / "samples";
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// The lines of a text, without their line ends.
inline std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

struct ToolRun {
    int status;  // exit status, or -1 when the tool did not exit normally
    std::string out;
    std::string err;
};

// Runs "qvtool <command> <args>" (args already quoted for the shell); the captured streams
// pass through two files in `scratch`.
inline ToolRun runQvtool(const std::string& command, const std::string& args,
                         const std::filesystem::path& scratch) {
    const std::filesystem::path out = scratch / "stdout.txt", err = scratch / "stderr.txt";
    const std::string line = "'" + qvtoolPath().string() + "' " + command + " " + args + " >'" +
                             out.string() + "' 2>'" + err.string() + "'";
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(out), readFile(err)};
}

}  // namespace qvtest
