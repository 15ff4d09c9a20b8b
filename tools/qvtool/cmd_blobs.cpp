// qvtool blobs: the regions of an image. Reads any image OpenCV can decode as 8-bit grey,
// binarises it with an automatic threshold, finds its 8-connected regions with the library's
// blob detection, keeps those within an area range, prints one line per blob and optionally
// draws them over the image. The picture goes through a temporary file that is renamed into
// place only once it was written.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/core/types_c.h>
#include <opencv2/imgproc.hpp>

#include "QV_Tools.h"
#include "commands.h"
#include "image_support.h"

namespace qvtool {
namespace {

namespace fs = std::filesystem;

int badInput(const std::string& message) {
    std::fprintf(stderr, "qvtool blobs: %s\n", message.c_str());
    return kBadInput;
}

// A whole-text decimal number; false for anything else (also NaN).
bool parseNumber(const std::string& text, double& value) {
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return !text.empty() && end && *end == '\0' && !std::isnan(value);
}

// The library's detection object, released when the command ends.
struct Detection {
    int id;
    ~Detection() {
        if (id >= 0) QV_BlobDetection_ReleaseBlobDetection(id);
    }
};

// The blob records copied out of a detection (a pointer array the caller owns).
struct BlobList {
    QVArray* array = CreateArray(eUserData, 0, 0);
    ~BlobList() { ReleaseArray(array, 1); }
    int size() const { return array ? array->count : 0; }
    const QV_BLOB_INFO* at(int i) const { return static_cast<const QV_BLOB_INFO*>(GetValue(array, i)); }
};

// The grey image in colour with each blob's contour (green) and the ellipse inscribed in its
// minimum-area rectangle (red).
cv::Mat drawBlobs(const cv::Mat& grey, const BlobList& blobs) {
    cv::Mat picture;
    cv::cvtColor(grey, picture, cv::COLOR_GRAY2BGR);
    for (int i = 0; i < blobs.size(); ++i) {
        const QV_BLOB_INFO* blob = blobs.at(i);
        if (!blob || !blob->points) continue;
        std::vector<cv::Point> contour;
        for (int p = 0; p < blob->points->count; ++p) {
            const auto* point = static_cast<const QVPoint2i*>(GetValue(blob->points, p));
            if (point) contour.emplace_back(point->x, point->y);
        }
        cv::polylines(picture, contour, true, cv::Scalar(0, 200, 0), 1, cv::LINE_8);
    }
    IplImage target = cvIplImage(picture);
    QV_BlobDetection_DrawBlobsEllipses(blobs.array, &target, cvScalar(0, 0, 255, 0), 1);
    return picture;
}

}  // namespace

void helpBlobs() {
    std::printf(
        "usage: qvtool blobs IMAGE [--method NAME|NUMBER] [--dark] [--min-area A] [--max-area B]\n"
        "                    [--out PICTURE.png]\n\n"
        "Reads IMAGE (any format OpenCV reads) as 8-bit grey and binarises it with the automatic\n"
        "threshold of the method (default Otsu; see qvtool threshold --help for the methods):\n"
        "pixels above the threshold are foreground, or with --dark the pixels at or below it.\n"
        "Finds the outer contours of the 8-connected foreground regions (blobs: a region lying in a\n"
        "hole of another is not listed, and the outermost row and column of the image never belong\n"
        "to one), keeps those whose contour area lies strictly between A and B (default: all) and\n"
        "prints one line per blob: id, contour area, perimeter, bounding box (x, y, width, height),\n"
        "centre and angle of the minimum-area rectangle.\n\n"
        "  --out FILE    draw the kept blobs over the image: contours green, the ellipse inscribed\n"
        "                in each minimum-area rectangle red\n\n"
        "Exit status: 0 done, 2 bad input (missing or unreadable image, unknown method or option,\n"
        "bad number, unwritable output), 1 when the method finds no threshold or detection fails.\n");
}

int runBlobs(int argc, char** argv) {
    std::string imagePath, methodText = "Otsu", outPath;
    bool dark = false;
    double minArea = -1, maxArea = HUGE_VAL;  // every computed area lies strictly between these
    for (int i = 0; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--method" || arg == "--out" || arg == "--min-area" || arg == "--max-area") {
            if (i + 1 >= argc || !*argv[i + 1]) return badInput(arg + " needs a value");
            const std::string value = argv[++i];
            if (arg == "--method") {
                methodText = value;
            } else if (arg == "--out") {
                outPath = value;
            } else if (!parseNumber(value, arg == "--min-area" ? minArea : maxArea)) {
                return badInput(arg + " needs a number, got '" + value + "'");
            }
        } else if (arg == "--dark") {
            dark = true;
        } else if (!arg.empty() && arg[0] == '-') {
            return badInput("unknown option '" + arg + "' (see qvtool blobs --help)");
        } else if (imagePath.empty()) {
            imagePath = arg;
        } else {
            return badInput("expected one image, got '" + imagePath + "' and '" + arg + "'");
        }
    }
    if (imagePath.empty()) return badInput("no image given (see qvtool blobs --help)");
    const MethodInfo* method = findMethod(methodText);
    if (!method) return badInput("unknown method '" + methodText + "' (see qvtool threshold --help)");
    if (!outPath.empty())
        if (const std::string problem = outputProblem(outPath); !problem.empty()) return badInput(problem);

    cv::Mat grey;
    if (const std::string problem = readGrey(imagePath, grey); !problem.empty()) return badInput(problem);
    const int threshold = QV_ImageProcessing_FindAutoThreshold(grey.data, grey.cols, grey.rows, method->number);
    if (threshold < 0) {
        std::fprintf(stderr, "qvtool blobs: %s found no threshold\n", method->name);
        return 1;
    }
    cv::Mat binary = binarise(grey, threshold);
    if (dark) cv::bitwise_not(binary, binary);

    IplImage source = cvIplImage(binary);
    int contours = 0;
    const Detection detection{QV_BlobDetection_DetectBlobs(nullptr, &source, nullptr, 1, &contours)};
    if (detection.id < 0 || contours < 0) {
        std::fprintf(stderr, "qvtool blobs: blob detection failed (code %d)\n", detection.id < 0 ? detection.id : contours);
        return 1;
    }
    const int removed = QV_BlobDetection_FilterDetectedBlobs(detection.id, eBlobFilterArea, minArea, maxArea, 1);
    BlobList blobs;
    if (removed < 0 || QV_BlobDetection_GetBlobs(detection.id, blobs.array) != 0) {
        std::fprintf(stderr, "qvtool blobs: could not read the blobs\n");
        return 1;
    }

    std::printf("%s: %d x %d, threshold %d (%s), %s pixels are foreground\n", imagePath.c_str(), grey.cols,
                grey.rows, threshold, method->name, dark ? "darker" : "brighter");
    std::printf("blobs: %d found, %d kept\n", blobs.size() + removed, blobs.size());
    std::printf("%4s %10s %10s %5s %5s %5s %6s %8s %8s %7s\n", "id", "area", "perimeter", "x", "y", "width",
                "height", "centre x", "centre y", "angle");
    for (int i = 0; i < blobs.size(); ++i) {
        const QV_BLOB_INFO* b = blobs.at(i);
        if (!b) continue;
        std::printf("%4u %10.1f %10.2f %5d %5d %5d %6d %8.2f %8.2f %7.2f\n", b->id, b->area, b->perimeter,
                    b->boundingRect.x, b->boundingRect.y, b->boundingRect.width, b->boundingRect.height,
                    b->minAreaRect.center.x, b->minAreaRect.center.y, b->minAreaRect.angle);
    }

    if (!outPath.empty()) {
        if (!writeTemporary(outPath, drawBlobs(grey, blobs))) return badInput("cannot write '" + outPath + "'");
        std::error_code ec;
        fs::rename(temporaryFor(outPath), outPath, ec);
        if (ec) {
            fs::remove(temporaryFor(outPath), ec);
            return badInput("cannot write '" + outPath + "'");
        }
        std::printf("wrote %s\n", outPath.c_str());
    }
    return 0;
}

}  // namespace qvtool
