// Image helpers shared by the image commands of qvtool (see image_support.h).
#include "image_support.h"

#include <algorithm>
#include <cctype>
#include <system_error>

#include <opencv2/imgcodecs.hpp>

#include "QV_Tools.h"

namespace qvtool {

namespace fs = std::filesystem;

const MethodInfo kMethodTable[kMethodCount] = {
    {"Otsu", eThresholdOtsu, {40, 40, 220}},
    {"Moments", eThresholdMoments, {0, 140, 255}},
    {"MaxEntropy", eThresholdMaxEntropy, {0, 170, 0}},
    {"Huang", eThresholdHuang, {200, 80, 0}},
    {"Li", eThresholdLi, {180, 0, 180}},
    {"Mean", eThresholdMean, {0, 120, 120}},
    {"Shanbhag", eThresholdShanbhag, {140, 90, 40}},
    {"Triangle", eThresholdTriangle, {90, 90, 90}},
    {"Yen", eThresholdYen, {255, 0, 120}},
    {"Percentile", eThresholdPercentile, {0, 200, 200}},
    {"RenyiEntropy", eThresholdRenyiEntropy, {120, 0, 255}},
};

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

const MethodInfo* findMethod(const std::string& text) {
    for (const MethodInfo& m : kMethodTable)
        if (lower(text) == lower(m.name) || text == std::to_string(m.number)) return &m;
    return nullptr;
}

std::string outputProblem(const std::string& path) {
    if (!cv::haveImageWriter(path)) return "cannot write '" + path + "': unknown image file type";
    const fs::path parent = fs::path(path).parent_path();
    std::error_code ec;
    if (!parent.empty() && !fs::is_directory(parent, ec)) return "cannot write '" + path + "': no such folder";
    if (fs::is_directory(path, ec)) return "cannot write '" + path + "': is a folder";
    return "";
}

fs::path temporaryFor(const std::string& path) {
    const fs::path target(path);
    return target.parent_path() / ("." + target.stem().string() + ".qvtool-part" + target.extension().string());
}

bool writeTemporary(const std::string& path, const cv::Mat& image) {
    const fs::path temporary = temporaryFor(path);
    bool written = false;
    try {
        written = cv::imwrite(temporary.string(), image);
    } catch (const cv::Exception&) {
        written = false;
    }
    if (!written) {
        std::error_code ec;
        fs::remove(temporary, ec);
    }
    return written;
}

cv::Mat binarise(const cv::Mat& grey, int threshold) {
    cv::Mat binary(grey.size(), CV_8U);
    for (int y = 0; y < grey.rows; ++y) {
        const unsigned char* in = grey.ptr<unsigned char>(y);
        unsigned char* out = binary.ptr<unsigned char>(y);
        for (int x = 0; x < grey.cols; ++x) out[x] = in[x] > threshold ? 255 : 0;
    }
    return binary;
}

std::string readGrey(const std::string& path, cv::Mat& grey) {
    std::error_code ec;
    if (!fs::is_regular_file(path, ec)) return "cannot read '" + path + "': no such file";
    try {
        grey = cv::imread(path, cv::IMREAD_GRAYSCALE);
    } catch (const cv::Exception&) {
        grey.release();
    }
    if (grey.empty() || grey.type() != CV_8U) return "cannot read '" + path + "': not an image file OpenCV can decode";
    if (!grey.isContinuous()) grey = grey.clone();
    return "";
}

}  // namespace qvtool
