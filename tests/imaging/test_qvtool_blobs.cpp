// qvtool blobs end to end: the built tool on a hand-made image of three rectangles, whose
// contour areas, perimeters, boxes and centres follow from their sizes; the area range, dark
// foreground, the drawn picture, and the answers to bad input.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/qvtool_run.h"

namespace {

namespace fs = std::filesystem;

using qvtest::lines;
using qvtest::readFile;

struct Rect {
    int x, y, width, height;
};

// 64 x 48 pixels: `background` with the rectangles in `foreground`.
std::string rectangles(const std::vector<Rect>& rects, unsigned char background, unsigned char foreground) {
    std::string pixels(64 * 48, static_cast<char>(background));
    for (const Rect& r : rects)
        for (int y = r.y; y < r.y + r.height; ++y)
            for (int x = r.x; x < r.x + r.width; ++x) pixels[static_cast<std::size_t>(y * 64 + x)] = static_cast<char>(foreground);
    return pixels;
}

const std::vector<Rect> kRects = {{5, 5, 10, 6}, {30, 5, 3, 3}, {20, 25, 20, 10}};

class QvtoolBlobs : public qvtest::LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        if (!fs::exists(qvtest::qvtoolPath())) GTEST_SKIP() << "qvtool is not built";
    }
    int run(const std::string& args) {
        qvtest::ToolRun result = qvtest::runQvtool("blobs", args, tempDir());
        out = std::move(result.out);
        err = std::move(result.err);
        return result.status;
    }
    // A binary grey PGM of 64 x 48 pixels.
    std::string pgm(const std::string& name, const std::string& pixels) {
        const fs::path path = tempDir() / name;
        std::ofstream(path, std::ios::binary) << "P5\n64 48\n255\n" << pixels;
        return "'" + path.string() + "'";
    }
    std::string out, err;
};

TEST_F(QvtoolBlobs, ListsEveryRectangleWithItsContourMeasures) {
    ASSERT_EQ(run(pgm("rects.pgm", rectangles(kRects, 20, 200))), 0) << err;
    const std::vector<std::string> text = lines(out);
    ASSERT_EQ(text.size(), 6u) << out;
    EXPECT_NE(text[0].find(": 64 x 48, threshold "), std::string::npos) << text[0];
    EXPECT_NE(text[0].find(" (Otsu), brighter pixels are foreground"), std::string::npos) << text[0];
    EXPECT_EQ(text[1], "blobs: 3 found, 3 kept");
    EXPECT_EQ(text[2], "  id       area  perimeter     x     y width height centre x centre y   angle");
    // A filled w x h rectangle has the contour area (w-1)(h-1) and the perimeter 2(w-1 + h-1);
    // ids count from the rectangle whose first pixel comes last in raster order.
    EXPECT_EQ(text[3], "   0      171.0      56.00    20    25    20     10    29.50    29.50   90.00");
    EXPECT_EQ(text[4], "   1        4.0       8.00    30     5     3      3    31.00     6.00   90.00");
    EXPECT_EQ(text[5], "   2       45.0      28.00     5     5    10      6     9.50     7.50   90.00");
}

TEST_F(QvtoolBlobs, AreaRangeIsStrictAndDarkSwapsTheForeground) {
    const std::string image = pgm("rects.pgm", rectangles(kRects, 20, 200));
    ASSERT_EQ(run(image + " --min-area 4 --max-area 171"), 0) << err;
    std::vector<std::string> text = lines(out);
    ASSERT_EQ(text.size(), 4u) << out;
    EXPECT_EQ(text[1], "blobs: 3 found, 1 kept");
    EXPECT_EQ(text[3].substr(0, 15), "   2       45.0");

    // Dark rectangles on a bright ground, with --dark, are the same blobs.
    ASSERT_EQ(run(pgm("dark.pgm", rectangles(kRects, 200, 20)) + " --dark --min-area 5"), 0) << err;
    text = lines(out);
    ASSERT_EQ(text.size(), 5u) << out;
    EXPECT_NE(text[0].find("darker pixels are foreground"), std::string::npos);
    EXPECT_EQ(text[1], "blobs: 3 found, 2 kept");
    EXPECT_EQ(text[3].substr(0, 15), "   0      171.0");
    EXPECT_EQ(text[4].substr(0, 15), "   2       45.0");
}

TEST_F(QvtoolBlobs, DrawsTheKeptContoursOverTheImage) {
    const fs::path picture = tempDir() / "blobs.ppm";
    ASSERT_EQ(run(pgm("rects.pgm", rectangles(kRects, 20, 200)) + " --max-area 100 --out '" + picture.string() + "'"), 0)
        << err;
    EXPECT_EQ(lines(out).back(), "wrote " + picture.string());
    const std::string ppm = readFile(picture);
    const std::string header = "P6\n64 48\n255\n";
    ASSERT_EQ(ppm.substr(0, header.size()), header);
    ASSERT_EQ(ppm.size(), header.size() + 64 * 48 * 3);
    auto pixel = [&](int x, int y) {  // as "r,g,b"
        const std::size_t at = header.size() + static_cast<std::size_t>(y * 64 + x) * 3;
        std::ostringstream s;
        s << int(static_cast<unsigned char>(ppm[at])) << "," << int(static_cast<unsigned char>(ppm[at + 1])) << ","
          << int(static_cast<unsigned char>(ppm[at + 2]));
        return s.str();
    };
    EXPECT_EQ(pixel(6, 5), "0,200,0");     // top edge of the kept 10 x 6 rectangle: its contour
    EXPECT_EQ(pixel(20, 30), "200,200,200");  // the removed large rectangle is not drawn
    EXPECT_EQ(pixel(0, 0), "20,20,20");    // the background keeps its grey
}

TEST_F(QvtoolBlobs, BadInputExitsTwoWithOneLineAndWritesNothing) {
    const std::string image = pgm("rects.pgm", rectangles(kRects, 20, 200));
    const struct {
        std::string args, message;
    } cases[] = {
        {"", "qvtool blobs: no image given (see qvtool blobs --help)\n"},
        {"'" + (tempDir() / "missing.png").string() + "'",
         "qvtool blobs: cannot read '" + (tempDir() / "missing.png").string() + "': no such file\n"},
        {image + " --min-area ten", "qvtool blobs: --min-area needs a number, got 'ten'\n"},
        {image + " --max-area", "qvtool blobs: --max-area needs a value\n"},
        {image + " --method Nope", "qvtool blobs: unknown method 'Nope' (see qvtool threshold --help)\n"},
        {image + " --colour red", "qvtool blobs: unknown option '--colour' (see qvtool blobs --help)\n"},
        {image + " --out '" + (tempDir() / "no" / "x.png").string() + "'",
         "qvtool blobs: cannot write '" + (tempDir() / "no" / "x.png").string() + "': no such folder\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run(c.args), 2) << c.args;
        EXPECT_EQ(err, c.message) << c.args;
        EXPECT_EQ(out, "") << c.args;
    }
    EXPECT_FALSE(fs::exists(tempDir() / "no"));
}

}  // namespace
