// Image helpers shared by the image commands of qvtool: the automatic-threshold methods by name
// and number, reading an image as 8-bit grey, binarising it, and writing outputs through
// temporary files so that a failure never leaves a half-written target behind.
#pragma once

#include <filesystem>
#include <string>

#include <opencv2/core.hpp>

namespace qvtool {

struct MethodInfo {
    const char* name;
    int number;
    cv::Scalar colour;  // BGR, for plots
};

constexpr int kMethodCount = 11;
extern const MethodInfo kMethodTable[kMethodCount];

std::string lower(std::string text);
// The method named (any case) or numbered by `text`, or null.
const MethodInfo* findMethod(const std::string& text);

// Reads `path` as continuous 8-bit grey into `grey`; "" or the problem, for the user.
std::string readGrey(const std::string& path, cv::Mat& grey);
// 255 where grey is above `threshold`, else 0.
cv::Mat binarise(const cv::Mat& grey, int threshold);

// "" when `path` can be written as an image (known type, existing folder, not a folder), else
// the problem, for the user.
std::string outputProblem(const std::string& path);
// The temporary file an output goes to before it is renamed into place.
std::filesystem::path temporaryFor(const std::string& path);
// Writes `image` to the temporary file for `path`; false (and nothing left behind) on failure.
bool writeTemporary(const std::string& path, const cv::Mat& image);

}  // namespace qvtool
