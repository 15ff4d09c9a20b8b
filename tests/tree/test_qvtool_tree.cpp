// qvtool tree end to end: the built tool on the sample parameter file and its localization
// table, reading and changing values, and its answers to bad input, after which the file must
// be exactly as it was.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/qvtool_run.h"
#include "tree/persist_test.h"

namespace {

namespace fs = std::filesystem;
using qvtest::lines;
using qvtest::readFile;
using persisttest::writeFile;

const fs::path kTool = qvtest::qvtoolPath();
const fs::path kSamples = qvtest::samplesDir();


class QvtoolTree : public qvtest::LogTest {
protected:
    void SetUp() override {
        LogTest::SetUp();
        if (!fs::exists(kTool)) GTEST_SKIP() << "qvtool is not built";
        m_work = tempDir() / "work";
        fs::create_directory(m_work);
        m_params = m_work / "params.xml";
        fs::copy_file(kSamples / "params.xml", m_params);
    }
    // Runs qvtool tree with `args`; returns the exit status, fills m_out and m_err.
    int run(const std::string& args) {
        qvtest::ToolRun result = qvtest::runQvtool("tree", args, tempDir());
        m_out = std::move(result.out);
        m_err = std::move(result.err);
        return result.status;
    }
    std::string quoted(const fs::path& path) const { return "'" + path.string() + "'"; }
    // Bad input: status 2, one line on stderr containing `text`, nothing on stdout, the work
    // directory holding exactly the files it held before.
    void expectBadInput(const std::string& args, const std::string& text) {
        const std::vector<std::string> before = files();
        EXPECT_EQ(run(args), 2) << args;
        EXPECT_EQ(lines(m_err).size(), 1u) << m_err;
        EXPECT_EQ(m_err.rfind("qvtool tree: ", 0), 0u) << m_err;
        EXPECT_NE(m_err.find(text), std::string::npos) << m_err;
        EXPECT_EQ(m_out, "") << args;
        EXPECT_EQ(files(), before) << args;
    }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_work)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    fs::path m_work, m_params;
    std::string m_out, m_err;
};

TEST_F(QvtoolTree, ShowsTheSampleAsAnOutline) {
    ASSERT_EQ(run("show " + quoted(m_params)), 0) << m_err;
    const std::vector<std::string> out = lines(m_out);
    ASSERT_EQ(out.size(), 21u) << m_out;
    EXPECT_EQ(out[0], "station [100]");
    EXPECT_EQ(out[1], "  camera [110]");
    EXPECT_EQ(out[2], "    exposure [111] int = 2000");
    EXPECT_EQ(out[3], "      @unit [901] string = us");
    EXPECT_EQ(out[6], "    gain [112] double = 1.5000000000");
    EXPECT_EQ(out[8], "    roi [113] qv_rect = 0;0;640;480");
    EXPECT_EQ(out[15], "    offset [124] point_2f = 0.500000;-0.250000");
    // The reference is resolved and shows the path of the node it stands for.
    EXPECT_EQ(out[18], "    camera_ref [-15] ref_to_node = station|camera");
    EXPECT_EQ(out[20], "      @NodeIDPath [2] string = 100|110");
    EXPECT_EQ(m_err, "");
}

TEST_F(QvtoolTree, ShowsLocalizedNames) {
    ASSERT_EQ(run("show " + quoted(m_params) + " --lang " + quoted(kSamples / "params_lang.csv") + " --language de"), 0)
        << m_err;
    const std::vector<std::string> out = lines(m_out);
    ASSERT_EQ(out.size(), 21u) << m_out;
    EXPECT_EQ(out[0], "Prüfstation (station) [100]  # Prüfstation der Linie 1");
    EXPECT_EQ(out[2], "    Belichtung (exposure) [111] int = 2000  # Belichtungszeit der Kamera");
    EXPECT_EQ(out[3], "      @Einheit (unit) [901] string = us");
    EXPECT_EQ(out[18], "    camera_ref [-15] ref_to_node = station|camera");  // no translation
    ASSERT_EQ(run("show " + quoted(m_params) + " --lang " + quoted(kSamples / "params_lang.csv") + " --language en"), 0);
    EXPECT_EQ(lines(m_out)[2], "    Exposure (exposure) [111] int = 2000  # Exposure time of the camera");
}

TEST_F(QvtoolTree, GetAndSetByPath) {
    const std::string original = readFile(m_params);
    ASSERT_EQ(run("get " + quoted(m_params) + " 'station|camera|exposure'"), 0) << m_err;
    EXPECT_EQ(m_out, "2000\n");
    ASSERT_EQ(run("get " + quoted(m_params) + " 'station|camera|gain|unit'"), 0) << m_err;
    EXPECT_EQ(m_out, "dB\n");

    ASSERT_EQ(run("set " + quoted(m_params) + " 'station|camera|exposure' 3500"), 0) << m_err;
    EXPECT_EQ(m_out, "station|camera|exposure = 3500\n");
    ASSERT_EQ(run("set " + quoted(m_params) + " 'station|measurement|label' 'Part <B> & C'"), 0) << m_err;
    ASSERT_EQ(run("set " + quoted(m_params) + " 'station|camera|exposure|unit' ms"), 0) << m_err;
    ASSERT_EQ(run("get " + quoted(m_params) + " 'station|camera|exposure'"), 0);
    EXPECT_EQ(m_out, "3500\n");
    ASSERT_EQ(run("get " + quoted(m_params) + " 'station|measurement|label'"), 0);
    EXPECT_EQ(m_out, "Part <B> & C\n");

    // Only the three values changed; the reference kept its text; no temporary file is left.
    std::string expected = original;
    for (auto [from, to] : {std::pair<std::string, std::string>{">2000<", ">3500<"},
                            {">Part A<", ">Part &lt;B&gt; &amp; C<"},
                            {"type_id=\"-7\">us<", "type_id=\"-7\">ms<"}})
        expected.replace(expected.find(from), from.size(), to);
    EXPECT_EQ(readFile(m_params), expected);
    EXPECT_EQ(files(), std::vector<std::string>{"params.xml"});
}

TEST_F(QvtoolTree, FailuresLeaveTheFileAlone) {
    const std::string original = readFile(m_params);
    const std::string file = quoted(m_params);
    expectBadInput("set " + file + " 'station|camera|exposure' 3x",
                   "'3x' is not a valid int value for station|camera|exposure");
    expectBadInput("set " + file + " 'station|camera|roi' '1;2;3'", "is not a valid qv_rect value");
    expectBadInput("set " + file + " 'station|camera|gain' ''", "is not a valid double value");
    expectBadInput("set " + file + " 'station|nothing' 1", "no node at station|nothing in");
    expectBadInput("set " + file + " 'wrong|camera|exposure' 1", "no node at wrong|camera|exposure");
    expectBadInput("set " + file + " 'station|camera' 1", "station|camera holds no value that can be set (type no_data)");
    expectBadInput("get " + file + " 'station|camera'", "station|camera has no value");
    EXPECT_EQ(readFile(m_params), original);

    expectBadInput("show " + quoted(m_work / "missing.xml"), "missing.xml: No such file or directory");
    const fs::path broken = m_work / "broken.xml";
    writeFile(broken, original.substr(0, original.size() / 2));
    expectBadInput("set " + quoted(broken) + " 'station|camera|exposure' 1", "cannot read " + broken.string() + ": ");
    EXPECT_EQ(readFile(broken), original.substr(0, original.size() / 2));
    writeFile(broken, "");
    expectBadInput("get " + quoted(broken) + " station", "cannot read");
    expectBadInput("show " + file + " --lang " + quoted(m_work / "none.csv") + " --language de",
                   "cannot read localization table");
}

TEST_F(QvtoolTree, UnwritableDirectoryLeavesTheFileAlone) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind the superuser";
    const std::string original = readFile(m_params);
    fs::permissions(m_work, fs::perms::owner_read | fs::perms::owner_exec);
    expectBadInput("set " + quoted(m_params) + " 'station|camera|exposure' 1", "cannot write " + m_params.string());
    fs::permissions(m_work, fs::perms::owner_all);
    EXPECT_EQ(readFile(m_params), original);
}

TEST_F(QvtoolTree, UsageErrorsAndHelp) {
    expectBadInput("", "expected show, get or set");
    expectBadInput("frob", "unknown subcommand 'frob'");
    expectBadInput("show", "usage: qvtool tree show");
    expectBadInput("get " + quoted(m_params), "usage: qvtool tree get");
    expectBadInput("show " + quoted(m_params) + " --lang x.csv", "--lang and --language go together");
    expectBadInput("show " + quoted(m_params) + " --colour", "unknown option '--colour'");
    expectBadInput("get " + quoted(m_params) + " a --language de", "--lang and --language belong to show");
    ASSERT_EQ(run("--help"), 0);
    EXPECT_EQ(m_out.rfind("usage: qvtool tree show FILE.xml", 0), 0u) << m_out;
}

}  // namespace
