// Private helpers of the logging folder: error names, banners and log-file names.
#pragma once

#include <string>

class CLogManager;

namespace qv::logging {

// Name of an error code, as ErrorCode2String writes it.
std::string errorName(int code);

// "<opening><hh:mm> - <yyyy-mm-dd><closing>" with the current local time; writes the shared
// short-time and date buffers.
std::string banner(const char* opening, const char* closing);

// "<dir><sep><date>__<hh_mm>_logfile.log" with the current local date and time.
std::string logFileName(const std::string& directory);
// "<dir><sep><id:03>__<date>__<hh_mm>_logfile.log" with the current local date and time; the
// id is printed as given, so a negative id gives e.g. "-03__...".
std::string idLogFileName(const std::string& directory, int id);

// The log manager, or null once it has been destroyed at unload (late log calls are dropped).
CLogManager* managerIfAlive();

}  // namespace qv::logging
