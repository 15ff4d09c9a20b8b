// Gap filling (modes, flags, island removal, border ramps), the pore-detection variant with
// its process-wide state, and mask creation.
#include <vector>

#include "measure/measure_test.h"

namespace {

using qvtest::MeasureTest;
using Line = std::vector<uint16_t>;

class GapFiller : public MeasureTest {};

// Runs the gap filler with flags that start as 0x0001 (valid) everywhere.
Line fill(unsigned mode, Line data, unsigned ramp, int minRun, unsigned maxGap, Line* flags = nullptr) {
    Line f(data.size(), QV_GAPFLAG_VALID);
    EXPECT_EQ(QV_ProfileTools_GapFiller(mode, data.data(), static_cast<int>(data.size()), ramp, minRun,
                                        maxGap, f.data()),
              0);
    if (flags) *flags = f;
    return data;
}

TEST_F(GapFiller, InterpolationUpToMaxGapElseTheLowerNeighbour) {
    Line flags;
    EXPECT_EQ(fill(1, {100, 0, 0, 0, 200}, 0, 0, 5, &flags), (Line{100, 125, 150, 175, 200}));
    // The border samples carry the ramp bit (a ramp of 0 changes nothing).
    EXPECT_EQ(flags, (Line{0x81, 0x101, 0x101, 0x101, 0x81}));
    EXPECT_EQ(fill(1, {100, 0, 0, 0, 0, 0, 0, 0, 200}, 0, 0, 5, &flags),
              (Line{100, 100, 100, 100, 100, 100, 100, 100, 200}));
    EXPECT_EQ(flags[3], 0x40);  // held, no longer valid
    // Truncation of the single-precision line: 100.33 and 100.67 both become 100.
    EXPECT_EQ(fill(1, {100, 0, 0, 101}, 0, 0, 0), (Line{100, 100, 100, 101}));
    // Zero samples outside the valid range stay 0.
    EXPECT_EQ(fill(1, {0, 50, 0, 60, 0}, 0, 0, 0), (Line{0, 50, 55, 60, 0}));
}

TEST_F(GapFiller, HoldAndFixedDrop) {
    Line flags;
    EXPECT_EQ(fill(0, {0, 0, 50, 0, 0, 80, 0}, 0, 0, 0, &flags), (Line{0, 0, 50, 50, 50, 80, 80}));
    EXPECT_EQ(flags[3], 0x40);
    EXPECT_EQ(flags[0], 0xC0);  // leading zero samples take 0, are marked, and ramped
    Line decay(40, 0);
    decay[0] = 500;
    const Line out = fill(4, decay, 0, 0, 0);
    for (size_t i = 1; i < out.size(); ++i) EXPECT_EQ(out[i], 300) << i;
    EXPECT_EQ(fill(4, {0, 150, 0, 0}, 0, 0, 0), (Line{0, 150, 0, 0}));  // never below 0
}

TEST_F(GapFiller, BorderRampsStartOnTheValidSamples) {
    Line flags;
    const Line out = fill(0, {0, 0, 1000, 1000, 0, 0, 0, 0, 0, 0}, 50, 0, 0, &flags);
    // Left: 1000-50, then 0-100 -> 0. Right: the last valid 1000-50, then held 1000 lowered by
    // 100, 150, 200 and never by more than 200.
    EXPECT_EQ(out, (Line{0, 0, 950, 950, 900, 850, 800, 800, 800, 800}));
    EXPECT_EQ(flags[0], 0xC0);  // held and ramped
    EXPECT_EQ(flags[2], 0x81);
    // The ramp product is 16-bit and compared signed: 40000 reads as -25536 and raises the
    // sample; a single valid sample is lowered by both ramps.
    EXPECT_EQ(fill(0, {100}, 40000, 0, 0), (Line{static_cast<uint16_t>(100 + 2 * 25536)}));
}

TEST_F(GapFiller, ShortIslandsAwayFromTheBordersAreRemoved) {
    Line data(200, 500);
    for (int i = 40; i < 50; ++i) data[i] = 0;
    data[45] = data[46] = 900;  // island of 2 at 45
    for (int i = 8; i < 14; ++i) data[i] = 0;
    data[10] = data[11] = 900;  // island of 2 inside the 30-sample guard band
    for (int i = 100; i < 110; ++i) data[i] = 0;
    data[104] = data[105] = data[106] = 900;  // island of 3 = minRun: kept
    Line flags;
    const Line out = fill(7, data, 0, 3, 0, &flags);  // mode 7: islands only
    EXPECT_EQ(out[45], 0);
    EXPECT_EQ(out[46], 0);
    EXPECT_EQ(flags[45], 0x20);
    EXPECT_EQ(out[10], 900);
    EXPECT_EQ(out[105], 900);
    EXPECT_EQ(out[0], 500);  // no filling in mode 7
    EXPECT_EQ(out[41], 0);
}

TEST_F(GapFiller, IslandGuardBoundsAreStrict) {
    // Valid from 0 to 169 (below width - 30): lowGuard = 30, highGuard = 169 - 30 = 139.
    Line a(200, 500);
    a[29] = a[32] = 0;    // island 30-31 starts at lowGuard: kept
    a[135] = a[138] = 0;  // island 136-137 ends at the zero 138 < 139: removed
    Line out = fill(7, a, 0, 3, 0);
    EXPECT_EQ(out[30], 500);
    EXPECT_EQ(out[31], 500);
    EXPECT_EQ(out[136], 0);
    EXPECT_EQ(out[137], 0);
    Line b(200, 500);
    b[30] = b[33] = 0;    // island 31-32 starts after lowGuard: removed
    b[136] = b[139] = 0;  // island 137-138 ends at the zero 139, not below highGuard: kept
    out = fill(7, b, 0, 3, 0);
    EXPECT_EQ(out[31], 0);
    EXPECT_EQ(out[32], 0);
    EXPECT_EQ(out[137], 500);
    EXPECT_EQ(out[138], 500);
}

TEST_F(GapFiller, Failures) {
    uint16_t one = 1;
    EXPECT_EQ(QV_ProfileTools_GapFiller(0, nullptr, 5, 0, 0, 0, nullptr), -5);
    EXPECT_FAILED(1, -5, "QV_ProfileTools_GapFiller", "data is  NULL or width is invalid");
    EXPECT_EQ(QV_ProfileTools_GapFiller(0, &one, 0, 0, 0, 0, nullptr), -5);
    Line zeros(5, 0);  // nothing valid: returns right after filling, no ramp
    EXPECT_EQ(fill(4, zeros, 50, 0, 0), zeros);
}

TEST_F(GapFiller, PoreDetectionReferenceAndLastValue) {
    Line ref = {1, 2, 3, 4}, line = {0, 9, 0, 0};
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(3, ref.data(), 4, 0, 0, 0), 0);
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(2, line.data(), 4, 0, 0, 0), 0);
    EXPECT_EQ(line, (Line{1, 9, 3, 4}));
    // Hold, then a constant drop of 30 before the first and from the last valid sample on.
    Line held = {0, 0, 100, 0, 77, 0};
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(0, held.data(), 6, 30, 0, 0), 0);
    EXPECT_EQ(held, (Line{70, 70, 100, 100, 47, 47}));
    // A line without valid samples takes the last valid value of the earlier call.
    Line empty(5, 0);
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(1, empty.data(), 5, 30, 0, 0), 0);
    EXPECT_EQ(empty, Line(5, 77));
    // Other modes: the whole line becomes its last valid value.
    Line other = {5, 0, 6, 0};
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(9, other.data(), 4, 0, 0, 0), 0);
    EXPECT_EQ(other, Line(4, 6));
    // Interpolation, with the border drop.
    Line lin = {0, 10, 0, 20, 0};
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(1, lin.data(), 5, 5, 0, 0), 0);
    EXPECT_EQ(lin, (Line{5, 10, 15, 15, 0}));
    // The stored reference holds 1280 samples; a longer line is stored and filled that far.
    Line wide(1500, 5), holes(1500, 0);
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(3, wide.data(), 1500, 0, 0, 0), 0);
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(2, holes.data(), 1500, 0, 0, 0), 0);
    EXPECT_EQ(holes[1279], 5);
    EXPECT_EQ(holes[1280], 0);
    EXPECT_EQ(QV_ProfileTools_GapFiller_Porenerkennung(1, nullptr, 5, 5, 0, 0), 0);
    EXPECT_FAILED(1, -5, "QV_ProfileTools_GapFiller_Porenerkennung", "data is  NULL or width is invalid");
}

TEST_F(GapFiller, CreateMask) {
    const Line p = {0, 5, 0, 7};
    Line mask(4);
    EXPECT_EQ(QV_ProfileTools_GapFiller_CreateMask(p.data(), mask.data(), 4, 0, 1, 0), 2);
    EXPECT_EQ(mask, (Line{1, 0, 1, 0}));
    EXPECT_EQ(QV_ProfileTools_GapFiller_CreateMask(p.data(), mask.data(), 4, 0, 1, -1), 2);
    EXPECT_EQ(mask, (Line{1, 5, 1, 7}));
    EXPECT_EQ(QV_ProfileTools_GapFiller_CreateMask(p.data(), nullptr, 4, 0, 1, 0), -2);
    EXPECT_FAILED(1, -2, "QV_ProfileTools_GapFiller_CreateMask", "profile or mask is NULL");
}

}  // namespace
