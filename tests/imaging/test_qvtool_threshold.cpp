// qvtool threshold end to end: the built tool on the sample part image and on a hand-made
// 2 x 2 image, its table, the files it writes, and its answers to bad input.
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/qvtool_run.h"

namespace {

namespace fs = std::filesystem;

using qvtest::lines;
using qvtest::readFile;

const fs::path kTool = qvtest::qvtoolPath();
const fs::path kSample = qvtest::samplesDir() / "part.png";



class QvtoolThreshold : public qvtest::LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        if (!fs::exists(kTool)) GTEST_SKIP() << "qvtool is not built";
    }
    // Runs qvtool threshold with `args`; returns the exit status, fills out and err.
    int run(const std::string& args) {
        qvtest::ToolRun result = qvtest::runQvtool("threshold", args, tempDir());
        m_out = std::move(result.out);
        m_err = std::move(result.err);
        return result.status;
    }
    // A binary (P5) grey PGM of the given pixels.
    fs::path pgm(const std::string& name, int width, int height, const std::string& pixels) {
        const fs::path path = tempDir() / name;
        std::ofstream(path, std::ios::binary) << "P5\n" << width << " " << height << "\n255\n" << pixels;
        return path;
    }
    // The files in the temporary directory other than the captured outputs.
    std::vector<std::string> written() {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(tempDir())) {
            const std::string name = entry.path().filename().string();
            if (name != "stdout.txt" && name != "stderr.txt" && name.find(".pgm") == std::string::npos) names.push_back(name);
        }
        return names;
    }
    // Bad input: status 2, one line on stderr containing `text`, nothing on stdout, no file.
    void expectBadInput(const std::string& args, const std::string& text) {
        EXPECT_EQ(run(args), 2) << args;
        EXPECT_EQ(lines(m_err).size(), 1u) << m_err;
        EXPECT_NE(m_err.find("qvtool threshold: "), std::string::npos) << m_err;
        EXPECT_NE(m_err.find(text), std::string::npos) << m_err;
        EXPECT_EQ(m_out, "") << args;
        EXPECT_TRUE(written().empty()) << args;
    }
    std::string m_out, m_err;
};

TEST_F(QvtoolThreshold, SampleImageAllMethodsAndPlot) {
    const fs::path plot = tempDir() / "histogram.png";
    ASSERT_EQ(run("'" + kSample.string() + "' --plot '" + plot.string() + "'"), 0) << m_err;
    const std::vector<std::string> out = lines(m_out);
    ASSERT_EQ(out.size(), 14u) << m_out;
    EXPECT_NE(out[0].find("480 x 360, 8-bit grey"), std::string::npos);
    EXPECT_EQ(out[1], "method         number  threshold");
    const char* names[] = {"Otsu", "Moments", "MaxEntropy", "Huang", "Li", "Mean",
                           "Shanbhag", "Triangle", "Yen", "Percentile", "RenyiEntropy"};
    const int numbers[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 17};
    for (int i = 0; i < 11; ++i) {
        std::istringstream row(out[2 + i]);
        std::string name;
        int number = 0, threshold = -1;
        row >> name >> number >> threshold;
        EXPECT_EQ(name, names[i]);
        EXPECT_EQ(number, numbers[i]);
        // The part is bright on a dark belt: every method separates them somewhere in between.
        EXPECT_GT(threshold, 40) << name;
        EXPECT_LT(threshold, 150) << name;
    }
    EXPECT_EQ(out[13], "wrote " + plot.string());
    EXPECT_EQ(readFile(plot).substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_EQ(written(), std::vector<std::string>{"histogram.png"});  // no temporary left
}

TEST_F(QvtoolThreshold, HandMadeImageTableAndBinaryImage) {
    const fs::path image = pgm("four.pgm", 2, 2, std::string("\x0a\x14\x1e\x1e", 4));  // 10 20 30 30
    ASSERT_EQ(run("'" + image.string() + "'"), 0) << m_err;
    EXPECT_NE(m_out.find("Li                  5         23\n"), std::string::npos) << m_out;
    EXPECT_NE(m_out.find("Shanbhag            7         10\n"), std::string::npos) << m_out;
    EXPECT_NE(m_out.find("Triangle            8         28\n"), std::string::npos) << m_out;

    // Li's threshold 23: 10 and 20 black, 30 white. Method names are read in any case.
    const fs::path binary = tempDir() / "binary.pgm";
    ASSERT_EQ(run("'" + image.string() + "' --method li --out '" + binary.string() + "'"), 0) << m_err;
    EXPECT_EQ(lines(m_out).size(), 4u) << m_out;
    const std::string pgmText = readFile(binary);
    ASSERT_GE(pgmText.size(), 4u);
    EXPECT_EQ(pgmText.substr(0, 2), "P5");
    EXPECT_EQ(pgmText.substr(pgmText.size() - 4), std::string("\x00\x00\xff\xff", 4));
    // By number, the same.
    ASSERT_EQ(run("'" + image.string() + "' --method 8"), 0);
    EXPECT_NE(m_out.find("Triangle            8         28\n"), std::string::npos) << m_out;
}

TEST_F(QvtoolThreshold, NoThresholdMeansNoBinaryImage) {
    const fs::path image = pgm("flat.pgm", 2, 2, std::string(4, '\x64'));  // Huang finds none
    EXPECT_EQ(run("'" + image.string() + "' --method Huang --out '" + (tempDir() / "b.png").string() + "'"), 1);
    EXPECT_NE(m_out.find("Huang               4         -1"), std::string::npos) << m_out;
    EXPECT_NE(m_err.find("Huang found no threshold; nothing written"), std::string::npos) << m_err;
    EXPECT_TRUE(written().empty());
}

TEST_F(QvtoolThreshold, BadInput) {
    const std::string sample = "'" + kSample.string() + "'";
    const std::string dir = tempDir().string();
    expectBadInput("'" + dir + "/missing.png'", "no such file");
    std::ofstream(tempDir() / "text.pgm") << "not an image";
    expectBadInput("'" + dir + "/text.pgm'", "not an image file OpenCV can decode");
    expectBadInput(sample + " --method Kittler", "unknown method 'Kittler'");
    expectBadInput(sample + " --method 12", "unknown method '12'");
    expectBadInput(sample + " --method", "--method needs a value");
    expectBadInput(sample + " --colour red", "unknown option '--colour'");
    expectBadInput("", "no image given");
    expectBadInput(sample + " " + sample, "expected one image");
    expectBadInput(sample + " --out '" + dir + "/b.png'", "--out needs one method");
    expectBadInput(sample + " --plot '" + dir + "/no/such/dir/h.png'", "no such folder");
    expectBadInput(sample + " --plot '" + dir + "/h.unknownext'", "unknown image file type");
    // One good and one bad output: neither is written.
    expectBadInput(sample + " --method otsu --out '" + dir + "/b.png' --plot '" + dir + "/x/h.png'", "no such folder");
}

TEST_F(QvtoolThreshold, Help) {
    ASSERT_EQ(run("--help"), 0);
    EXPECT_EQ(m_out.rfind("usage: qvtool threshold IMAGE", 0), 0u) << m_out;
}

}  // namespace
