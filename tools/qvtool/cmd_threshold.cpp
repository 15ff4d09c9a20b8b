// qvtool threshold: automatic thresholds of an image. Reads any image OpenCV can decode,
// converts it to 8-bit grey, prints every method's threshold (or one method's), and optionally
// writes the binary image of one method and a picture of the histogram with a marker per method.
// Outputs are written to temporary files next to their targets and renamed into place only when
// every output was written, so a failure never leaves a half-written file behind.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "QV_Tools.h"
#include "commands.h"
#include "image_support.h"

namespace qvtool {
namespace {

namespace fs = std::filesystem;

struct Result {
    const MethodInfo* method;
    int threshold;
};

int badInput(const std::string& message) {
    std::fprintf(stderr, "qvtool threshold: %s\n", message.c_str());
    return kBadInput;
}

// The 256-bin histogram as bars, with a coloured marker and label per threshold, and a legend.
cv::Mat plotHistogram(const unsigned int* hist, const std::vector<Result>& results, const std::string& title) {
    constexpr int kBarWidth = 4, kLeft = 80, kTop = 60, kPlotHeight = 400, kLegendWidth = 230;
    constexpr int kPlotWidth = 256 * kBarWidth;
    const int width = kLeft + kPlotWidth + 30 + kLegendWidth, height = kTop + kPlotHeight + 70;
    cv::Mat canvas(height, width, CV_8UC3, cv::Scalar(255, 255, 255));
    const int font = cv::FONT_HERSHEY_SIMPLEX;
    const cv::Scalar black(0, 0, 0), grid(225, 225, 225), bars(150, 150, 150);

    cv::putText(canvas, title, {kLeft, 30}, font, 0.6, black, 1, cv::LINE_AA);
    const unsigned int peak = std::max(1u, *std::max_element(hist, hist + 256));
    const int bottom = kTop + kPlotHeight;
    for (int q = 0; q <= 4; ++q) {  // horizontal grid with counts
        const int y = bottom - q * kPlotHeight / 4;
        cv::line(canvas, {kLeft, y}, {kLeft + kPlotWidth, y}, grid, 1);
        const std::string label = std::to_string(static_cast<unsigned long long>(peak) * q / 4);
        cv::putText(canvas, label, {5, y + 5}, font, 0.4, black, 1, cv::LINE_AA);
    }
    for (int bin = 0; bin < 256; ++bin) {
        const int barHeight = static_cast<int>(static_cast<double>(hist[bin]) / peak * kPlotHeight + 0.5);
        if (barHeight > 0)
            cv::rectangle(canvas, {kLeft + bin * kBarWidth, bottom - barHeight},
                          {kLeft + (bin + 1) * kBarWidth - 1, bottom}, bars, cv::FILLED);
    }
    cv::rectangle(canvas, {kLeft, kTop}, {kLeft + kPlotWidth, bottom}, black, 1);
    for (int v = 0; v <= 256; v += 32) {  // x axis: grey values
        const int x = kLeft + std::min(v, 255) * kBarWidth + kBarWidth / 2;
        cv::line(canvas, {x, bottom}, {x, bottom + 6}, black, 1);
        const std::string label = std::to_string(std::min(v, 255));
        cv::putText(canvas, label, {x - 10, bottom + 22}, font, 0.45, black, 1, cv::LINE_AA);
    }
    cv::putText(canvas, "grey value", {kLeft + kPlotWidth / 2 - 40, bottom + 45}, font, 0.5, black, 1, cv::LINE_AA);
    cv::putText(canvas, "count", {5, kTop - 15}, font, 0.45, black, 1, cv::LINE_AA);

    // Markers: a line at each threshold, then the labels on white boxes, stacked by row so that
    // labels of near thresholds stay legible.
    for (const Result& r : results)
        if (r.threshold >= 0 && r.threshold <= 255) {
            const int x = kLeft + r.threshold * kBarWidth + kBarWidth / 2;
            cv::line(canvas, {x, kTop}, {x, bottom}, r.method->colour, 2);
        }
    int row = 0;
    for (const Result& r : results) {
        if (r.threshold < 0 || r.threshold > 255) continue;
        const int x = kLeft + r.threshold * kBarWidth + kBarWidth / 2;
        const std::string label = std::string(r.method->name) + " " + std::to_string(r.threshold);
        int baseline = 0;
        const cv::Size size = cv::getTextSize(label, font, 0.45, 1, &baseline);
        const int textX = std::min(x + 5, kLeft + kPlotWidth - size.width - 4);
        const int textY = kTop + 18 + 20 * (row++ % 11);
        cv::rectangle(canvas, {textX - 2, textY - size.height - 3}, {textX + size.width + 2, textY + baseline},
                      cv::Scalar(255, 255, 255), cv::FILLED);
        cv::putText(canvas, label, {textX, textY}, font, 0.45, r.method->colour, 1, cv::LINE_AA);
    }
    // Legend: every method with its threshold, also those that found none.
    const int legendX = kLeft + kPlotWidth + 30;
    cv::putText(canvas, "method (number): threshold", {legendX, kTop - 15}, font, 0.45, black, 1, cv::LINE_AA);
    int y = kTop + 10;
    for (const Result& r : results) {
        cv::rectangle(canvas, {legendX, y - 10}, {legendX + 14, y + 2}, r.method->colour, cv::FILLED);
        const std::string value = r.threshold >= 0 ? std::to_string(r.threshold) : "none";
        const std::string text =
            std::string(r.method->name) + " (" + std::to_string(r.method->number) + "): " + value;
        cv::putText(canvas, text, {legendX + 22, y}, font, 0.45, black, 1, cv::LINE_AA);
        y += 24;
    }
    return canvas;
}

}  // namespace

void helpThreshold() {
    std::printf(
        "usage: qvtool threshold IMAGE [--method NAME|NUMBER|all] [--out BINARY.png] [--plot HISTOGRAM.png]\n\n"
        "Reads IMAGE (any format OpenCV reads), converts it to 8-bit grey and prints the automatic\n"
        "threshold of every method (default) or of the one named. Methods (name, number):\n"
        "  Otsu 1, Moments 2, MaxEntropy 3, Huang 4, Li 5, Mean 6, Shanbhag 7, Triangle 8, Yen 9,\n"
        "  Percentile 16, RenyiEntropy 17   (names in any case; -1 means the method found none)\n\n"
        "  --out FILE    write the binary image of the chosen method (needs one --method):\n"
        "                pixels above the threshold white, the others black\n"
        "  --plot FILE   draw the 256-bin histogram with a coloured marker per threshold\n\n"
        "Exit status: 0 done, 2 bad input (missing or unreadable image, unknown method or option,\n"
        "unwritable output), 1 when the chosen method finds no threshold for --out.\n");
}

int runThreshold(int argc, char** argv) {
    std::string imagePath, methodText = "all", outPath, plotPath;
    for (int i = 0; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--method" || arg == "--out" || arg == "--plot") {
            if (i + 1 >= argc) return badInput(arg + " needs a value");
            std::string& target = arg == "--method" ? methodText : arg == "--out" ? outPath : plotPath;
            target = argv[++i];
            if (target.empty()) return badInput(arg + " needs a value");
        } else if (!arg.empty() && arg[0] == '-') {
            return badInput("unknown option '" + arg + "' (see qvtool threshold --help)");
        } else if (imagePath.empty()) {
            imagePath = arg;
        } else {
            return badInput("expected one image, got '" + imagePath + "' and '" + arg + "'");
        }
    }
    if (imagePath.empty()) return badInput("no image given (see qvtool threshold --help)");

    std::vector<const MethodInfo*> methods;
    if (lower(methodText) == "all") {
        for (const MethodInfo& m : kMethodTable) methods.push_back(&m);
    } else if (const MethodInfo* m = findMethod(methodText)) {
        methods.push_back(m);
    } else {
        return badInput("unknown method '" + methodText + "' (see qvtool threshold --help)");
    }
    if (!outPath.empty() && methods.size() != 1)
        return badInput("--out needs one method, e.g. --method Otsu");
    for (const std::string* path : {&outPath, &plotPath})
        if (!path->empty())
            if (const std::string problem = outputProblem(*path); !problem.empty()) return badInput(problem);
    if (!outPath.empty() && !plotPath.empty() && fs::absolute(outPath) == fs::absolute(plotPath))
        return badInput("--out and --plot name the same file");

    cv::Mat grey;
    if (const std::string problem = readGrey(imagePath, grey); !problem.empty()) return badInput(problem);
    std::error_code ec;

    std::vector<Result> results;
    for (const MethodInfo* m : methods)
        results.push_back({m, QV_ImageProcessing_FindAutoThreshold(grey.data, grey.cols, grey.rows, m->number)});

    std::printf("%s: %d x %d, 8-bit grey\n", imagePath.c_str(), grey.cols, grey.rows);
    std::printf("%-14s %6s %10s\n", "method", "number", "threshold");
    for (const Result& r : results) std::printf("%-14s %6d %10d\n", r.method->name, r.method->number, r.threshold);

    if (!outPath.empty() && results[0].threshold < 0) {
        std::fprintf(stderr, "qvtool threshold: %s found no threshold; nothing written\n", results[0].method->name);
        return 1;
    }
    // Every output goes to a temporary file first; the targets are replaced only when all were written.
    std::vector<std::string> written;
    auto discard = [&written] {
        for (const std::string& path : written) {
            std::error_code ignored;
            fs::remove(temporaryFor(path), ignored);
        }
    };
    if (!outPath.empty()) {
        if (!writeTemporary(outPath, binarise(grey, results[0].threshold)))
            return badInput("cannot write '" + outPath + "'");
        written.push_back(outPath);
    }
    if (!plotPath.empty()) {
        unsigned int hist[256];
        QV_ImageProcessing_CreateHistogram(grey.data, static_cast<unsigned>(grey.total()), grey.cols, grey.rows, hist);
        const std::string title = fs::path(imagePath).filename().string() + "  (" + std::to_string(grey.cols) + " x " +
                                  std::to_string(grey.rows) + ", 8-bit grey): histogram and automatic thresholds";
        if (!writeTemporary(plotPath, plotHistogram(hist, results, title))) {
            discard();
            return badInput("cannot write '" + plotPath + "'");
        }
        written.push_back(plotPath);
    }
    for (const std::string& path : written) {
        fs::rename(temporaryFor(path), path, ec);
        if (ec) {
            discard();
            return badInput("cannot write '" + path + "': " + ec.message());
        }
        std::printf("wrote %s\n", path.c_str());
    }
    return 0;
}

}  // namespace qvtool
