// Derivatives, edge and step detection, profile tilt and resampling.
#include <vector>

#include "measure/measure_test.h"

namespace {

using qvtest::MeasureTest;
using Samples = std::vector<int16_t>;
using Doubles = std::vector<double>;

class Derivatives : public MeasureTest {};
class Edges : public MeasureTest {};
class Resampling : public MeasureTest {};

const Samples kSquares = {0, 1, 4, 9, 16, 25, 36};

TEST_F(Derivatives, CentralDifferences) {
    Doubles d1(7, -1), d2(7, -1);
    EXPECT_EQ(QV_ProfileTools_CalcDerivations(kSquares.data(), 7, 0, 7, 2, d1.data(), 3, d2.data()), 0);
    EXPECT_EQ(d1, (Doubles{0, 4, 8, 12, 16, 20, 0}));
    EXPECT_EQ(d2, (Doubles{-1, 8, 8, 8, 8, -16, -1}));  // width 3 halves to 1; ends not written
}

TEST_F(Derivatives, OffsetIsAppliedTwiceToTheSecondDerivative) {
    Doubles d1(5, -1), d2(5, -1);
    EXPECT_EQ(QV_ProfileTools_CalcDerivations(kSquares.data(), 7, 1, 5, 2, d1.data(), 2, d2.data()), 0);
    EXPECT_EQ(d1, (Doubles{0, 8, 12, 16, 0}));
    // d2[i] = d1[1 + i + 1] - d1[1 + i - 1]
    EXPECT_EQ(d2, (Doubles{-1, 8, -12, -16, -1}));
}

TEST_F(Derivatives, SecondOffsetBeyondTheWorkingBufferReadsZero) {
    Samples ramp(3000);
    for (int i = 0; i < 3000; ++i) ramp[i] = static_cast<int16_t>(i);
    Doubles d1(100, -1), d2(100, -1);
    // n = 100 from offset 2000: the second pass reads d1 at 2000 + i +- 1, past the 100
    // computed entries (zero) and past the 2048-entry buffer (read as zero, not overrun).
    EXPECT_EQ(QV_ProfileTools_CalcDerivations(ramp.data(), 3000, 2000, 100, 2, d1.data(), 2, d2.data()), 0);
    EXPECT_EQ(d1[1], 2.0);
    EXPECT_EQ(d2[1], 0.0);
    EXPECT_EQ(d2[98], 0.0);
}

TEST_F(Derivatives, Failures) {
    const char* fn = "QV_ProfileTools_CalcDerivations";
    const char* msg = "input or output argument is NULL or data len or offset invaild";
    Doubles d(8);
    EXPECT_EQ(QV_ProfileTools_CalcDerivations(nullptr, 7, 0, 7, 2, d.data(), 2, nullptr), -2);
    EXPECT_FAILED(1, -2, fn, msg);
    EXPECT_EQ(QV_ProfileTools_CalcDerivations(kSquares.data(), 7, 0, 7, 2, nullptr, 2, nullptr), -2);
    EXPECT_EQ(QV_ProfileTools_CalcDerivations(kSquares.data(), 7, 8, 7, 2, d.data(), 2, nullptr), -2);
    EXPECT_EQ(QV_ProfileTools_CalcDerivations(kSquares.data(), 7, -1, 7, 2, d.data(), 2, nullptr), -2);
    EXPECT_FAILED(1, -2, fn, msg);
    Samples big(3000, 1);
    EXPECT_EQ(QV_ProfileTools_CalcDerivations(big.data(), 3000, 0, 2049, 2, d.data(), 2, nullptr), -5);
    EXPECT_FAILED(1, -5, fn, "region of 2049 samples exceeds the working buffer of 2048 samples");
}

// d1 = {0, 0, 0, -30, -20, -10, 0, 0} and d2 = {0, 0, -30, -20, 20, 20, 10, 0} for widths 2, 2.
const Samples kProfile = {100, 100, 100, 100, 70, 80, 60, 80};

int edges(const Samples& p, double threshold, int mode, std::vector<int>* pos, Doubles* val, int offset = 0,
          int roi = 0) {
    pos->assign(8, -1);
    val->assign(8, -1);
    return QV_ProfileTools_FindEdges(p.data(), static_cast<int>(p.size()), offset, roi, 2, 2, threshold,
                                     mode, 8, pos->data(), val->data(), nullptr, nullptr, nullptr);
}

TEST_F(Edges, HysteresisAndOpenEdges) {
    std::vector<int> pos;
    Doubles val;
    EXPECT_EQ(edges(kProfile, 15, 0, &pos, &val), 1);  // opens at 4, closes at 6 (10 < 13.5)
    EXPECT_EQ(pos[0], 4);
    EXPECT_EQ(val[0], 20.0);
    // With threshold 5 the edge stays above 4.5 until the end of the scan and is dropped.
    EXPECT_EQ(edges(kProfile, 5, 0, &pos, &val), 0);
    EXPECT_EQ(pos[0], -1);
    EXPECT_EQ(edges(kProfile, 5, 1, &pos, &val), 1);  // falling: peak -30 at 2
    EXPECT_EQ(pos[0], 2);
    EXPECT_EQ(val[0], -30.0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(Edges, OutputsAndWarnings) {
    Doubles d1(8), d2(8);
    std::vector<int> centred(8), pos(1, -1);
    EXPECT_EQ(QV_ProfileTools_FindEdges(kProfile.data(), 8, 0, 8, 2, 2, 5, 1, 0, pos.data(), nullptr,
                                        d1.data(), d2.data(), centred.data()),
              1);
    EXPECT_EQ(pos[0], -1);  // maxEdges 0
    EXPECT_EQ(d1, (Doubles{0, 0, 0, -30, -20, -10, 0, 0}));
    EXPECT_EQ(d2, (Doubles{0, 0, -30, -20, 20, 20, 10, 0}));
    EXPECT_EQ(centred, (std::vector<int>{14, 14, 14, 14, -16, -6, -26, -6}));  // mean 690/8 -> 86
    const char* fn = "QV_ProfileTools_FindEdges";
    Doubles val;
    // Offset 2 with a too long ROI: a warning, then the rest of the profile is used and the
    // positions count from the profile's start.
    std::vector<int> p2(8, -1);
    EXPECT_EQ(QV_ProfileTools_FindEdges(kProfile.data(), 8, 2, 100, 2, 2, 5, 1, 8, p2.data(), nullptr,
                                        nullptr, nullptr, nullptr),
              1);
    EXPECT_FAILED(2, -5, fn, "roi length was invalid");
    EXPECT_EQ(p2[0], 3);  // d2 of {100,100,70,80,60,80} is {0,-20,20,20,10,0}: peak at 1, +2
    EXPECT_EQ(QV_ProfileTools_FindEdges(kProfile.data(), 8, 0, 8, -2, 2, 15, 0, 8, p2.data(), nullptr,
                                        nullptr, nullptr, nullptr),
              1);
    EXPECT_FAILED(2, -5, fn, "offset or data length or step size invalid");
    EXPECT_EQ(QV_ProfileTools_FindEdges(kProfile.data(), 8, 0, 8, 2, 2, 5, 2, 8, p2.data(), nullptr,
                                        nullptr, nullptr, nullptr),
              -5);
    EXPECT_FAILED(1, -5, fn, "mode invalid");
    Samples big(2049, 0);
    EXPECT_EQ(QV_ProfileTools_FindEdges(big.data(), 2049, 0, 0, 2, 2, 5, 0, 8, p2.data(), nullptr, nullptr,
                                        nullptr, nullptr),
              -5);
    EXPECT_FAILED(1, -5, fn, "region of 2049 samples exceeds the working buffer of 2048 samples");
}

TEST_F(Edges, StepsPairEdgesByIndex) {
    Samples bump(30, 0);
    for (int i = 10; i < 20; ++i) bump[i] = 50;
    // Rising edges at 8 and 20, falling edges at 10 and 18: pairs (8, 10) and (20, 18).
    std::vector<int> rise(4, -1), fall(4, -1);
    auto steps = [&](int mode, int width, int maxSteps) {
        rise.assign(4, -1);
        fall.assign(4, -1);
        return QV_ProfileTools_FindSteps(bump.data(), 30, 0, 0, 2, 2, -20, 20, mode, width, maxSteps,
                                         rise.data(), fall.data());
    };
    EXPECT_EQ(steps(0, 5, 4), 2);
    EXPECT_EQ(rise, (std::vector<int>{8, 20, -1, -1}));
    EXPECT_EQ(fall, (std::vector<int>{10, 18, -1, -1}));
    EXPECT_EQ(steps(0, 2, 4), 1);  // 10 - 8 is not below 2; the negative 18 - 20 passes
    EXPECT_EQ(rise[0], 20);
    EXPECT_EQ(steps(1, -1, 4), 1);  // |-1|: 8 - 10 passes, 20 - 18 does not
    EXPECT_EQ(rise[0], 8);
    EXPECT_EQ(steps(0, 5, 1), 2);  // two kept, one written
    EXPECT_EQ(rise[1], -1);
    const char* fn = "QV_ProfileTools_FindSteps";
    EXPECT_EQ(steps(2, 5, 4), -5);
    EXPECT_FAILED(1, -5, fn, "invalid step mode");
    EXPECT_EQ(QV_ProfileTools_FindSteps(nullptr, 30, 0, 0, 2, 2, 20, 20, 0, 5, 4, nullptr, nullptr), -5);
    EXPECT_FAILED(1, -5, fn, "input data is null or datalen invalid");
}

TEST_F(Resampling, RotateProfile) {
    const std::vector<uint16_t> p = {10, 20, 30, 40, 50, 60};
    std::vector<uint16_t> out(6), offsets(6);
    // Centre round(2.5) = 3; slope tan(30°) / (1/2) = 1.1547; d = trunc((i - 3) * slope).
    EXPECT_EQ(QV_ProfileTools_RotateProfile(p.data(), 6, 30, 2, 1, out.data(), offsets.data()), 0);
    EXPECT_EQ(out, (std::vector<uint16_t>{13, 22, 31, 40, 49, 58}));
    EXPECT_EQ(offsets, (std::vector<uint16_t>{37, 38, 39, 40, 41, 42}));
    const std::vector<uint16_t> zeros(6, 0);
    EXPECT_EQ(QV_ProfileTools_RotateProfile(zeros.data(), 6, 30, 2, 1, out.data(), nullptr), 0);
    EXPECT_EQ(out[4], 65535);  // 0 - 1 wraps in 16 bits
    EXPECT_EQ(QV_ProfileTools_RotateProfile(p.data(), 6, 0, 0, 0, out.data(), nullptr), 0);
    EXPECT_EQ(out, p);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QV_ProfileTools_RotateProfile(p.data(), 6, 81, 1, 1, out.data(), nullptr), -2);
    EXPECT_FAILED(1, -2, "QV_ProfileTools_RotateProfile", "profile data is NULL, or len invalid or angle invalid");
    EXPECT_EQ(QV_ProfileTools_RotateProfile(p.data(), 6, 10, 0, 1, out.data(), nullptr), -5);
    EXPECT_FAILED(1, -5, "QV_MathTools_SlopeFromDegrees", "scale factors must not be 0");
}

TEST_F(Resampling, SampleValues) {
    std::vector<float> v(10);
    for (int i = 0; i < 10; ++i) v[i] = static_cast<float>(i);
    std::vector<float> out(5, -1);
    // r = 2, half = 1, w = 1: centres 1, 3, 5, 7, 9; the last window loses index 10.
    EXPECT_EQ(QV_ProfileTools_SampleValues(v.data(), 10, 5, out.data(), 1), 5);
    EXPECT_EQ(out, (std::vector<float>{1, 3, 5, 7, 8.5f}));
    EXPECT_EQ(QV_ProfileTools_SampleValues(v.data(), 10, 5, out.data(), 0), 5);
    EXPECT_EQ(out, (std::vector<float>{1, 3, 5, 7, 9}));
    EXPECT_EQ(count(), 0u);
    // r = 1 rounds half to 1: every index is one ahead and the last one is past the end.
    std::vector<float> four(4, -1);
    EXPECT_EQ(QV_ProfileTools_SampleValues(v.data(), 4, 4, four.data(), 0), 4);
    EXPECT_EQ(four, (std::vector<float>{1, 2, 3, -1}));
    EXPECT_FAILED(1, -5, "QV_ProfileTools_SampleValues", "invalid index");
    EXPECT_EQ(QV_ProfileTools_SampleValues(nullptr, 4, 4, four.data(), 0), -2);
    EXPECT_FAILED(1, -2, "QV_ProfileTools_SampleValues", "input or output values is NULL");
    EXPECT_EQ(QV_ProfileTools_SampleValues(v.data(), 4, 0, four.data(), 0), 0);
}

}  // namespace
