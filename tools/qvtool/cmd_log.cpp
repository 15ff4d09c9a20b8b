// qvtool log: shows the logging frame at work. Registers a console logger and a file logger,
// reports a failure the way every library function does, and prints the last error.
#include <cstdio>
#include <string>

#include "QV_Tools.h"
#include "commands.h"

namespace qvtool {

void helpLog() {
    std::printf(
        "usage: qvtool log [DIRECTORY]\n\n"
        "Registers a console logger (level 2) and a file logger (level 7) writing into DIRECTORY\n"
        "(default: qvtool-logs), logs a notice and a failure, and prints the last error.\n"
        "The log file is named DATE__HH_MM_logfile.log.\n");
}

int runLog(int argc, char** argv) {
    if (argc > 1) {
        std::fprintf(stderr, "qvtool log: expected at most one directory\n");
        return kBadInput;
    }
    const std::string dir = argc == 1 ? argv[0] : "qvtool-logs";
    AddStdOutLogger(2);
    AddFileLoggerAuto(7, dir.c_str());
    LogMsgGeneric(4, 0, currentDateEn(), currentTimeDetail(':'), nullptr, "qvtool log", __LINE__,
                  "writing log lines into %s", dir.c_str());
    // A failure as a library function reports it: a helper that rejects a null argument.
    ErrorCode2String(QV_ERR_ARGUMENT, nullptr);
    char message[QV_STRING_SIZE];
    char name[QV_NAME_SIZE];
    const int code = QV_GetLastErrorMsg(message);
    ErrorCode2String(code, name);
    std::printf("last error: %d (%s)\n  %s\n", code, name, message);
    return 0;
}

}  // namespace qvtool
