// Fuzz target for the profile and math tools. The first 32 bytes are parameters (modes, widths,
// thresholds, steps, counts), the rest is a sensor line of little-endian 16-bit samples (at most
// 2048). Every profile function runs on that line with arguments inside its documented contract
// (output arrays of the documented size, counts and steps in range), and a few results that
// hold for any input are checked: a violation aborts.
#include <opencv2/core/types_c.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "QV_Tools.h"

namespace {

// Reads parameters from the front of the input; past its end every read gives 0.
class Params {
public:
    Params(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}
    std::uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    int range(int lo, int hi) { return lo + static_cast<int>(byte()) % (hi - lo + 1); }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
};

constexpr std::size_t kParamBytes = 32;
constexpr int kMaxSamples = QV_PROFILE_MAX_REGION;
constexpr unsigned kNoOffset = 0xFFFFFFFFu;

void check(bool ok) {
    if (!ok) std::abort();
}

void gapFillers(Params& prm, const std::vector<uint16_t>& line) {
    const int width = static_cast<int>(line.size());
    const unsigned mode = static_cast<unsigned>(prm.range(0, 5));
    const unsigned ramp = prm.byte();
    const int minRun = prm.range(-1, 12);
    const unsigned maxGap = prm.byte() % 40;
    std::vector<uint16_t> data(line), flags(line.size(), QV_GAPFLAG_VALID);
    check(QV_ProfileTools_GapFiller(mode, data.data(), width, ramp, minRun, maxGap, flags.data()) == 0);
    for (int i = 0; i < width; ++i) {
        // A sample the filler did not touch keeps its value and its valid bit.
        if ((flags[i] & ~QV_GAPFLAG_VALID) == 0) check(data[i] == line[i] && (flags[i] & QV_GAPFLAG_VALID));
    }
    // The pore-detection variant: store, fill from the store, then the requested mode.
    std::vector<uint16_t> pore(line);
    QV_ProfileTools_GapFiller_Porenerkennung(3, pore.data(), width, 0, 0, 0);
    QV_ProfileTools_GapFiller_Porenerkennung(2, pore.data(), width, 0, 0, 0);
    pore = line;
    check(QV_ProfileTools_GapFiller_Porenerkennung(mode, pore.data(), width, ramp, minRun, maxGap) == 0);
    std::vector<uint16_t> mask(line.size());
    const int matches = QV_ProfileTools_GapFiller_CreateMask(line.data(), mask.data(), width, 0, 1, -1);
    check(matches >= 0 && matches <= width);
}

void derivativesAndEdges(Params& prm, const std::vector<int16_t>& p) {
    const int count = static_cast<int>(p.size());
    const int offset = prm.range(-2, 40);
    const int roi = prm.range(-5, 250) * 8;
    const int width1 = prm.range(-4, 12), width2 = prm.range(-4, 12);
    const double threshold = prm.byte() * 4.0;
    const int maxEdges = prm.range(-1, 64);

    if (offset >= 0 && offset <= count && width1 >= 0 && width2 >= 0) {
        const int n = std::min(count - offset, roi);
        std::vector<double> d1(std::max(n, 1)), d2(std::max(n, 1));
        check(QV_ProfileTools_CalcDerivations(p.data(), count, offset, roi, width1, d1.data(), width2,
                                              d2.data()) == 0);
    }
    std::vector<int> positions(std::max(maxEdges, 1));
    std::vector<double> values(positions.size()), d1(kMaxSamples), d2(kMaxSamples);
    std::vector<int> centred(kMaxSamples);
    for (int mode = 0; mode <= 1; ++mode) {
        const int found = QV_ProfileTools_FindEdges(p.data(), count, offset, roi, width1, width2, threshold, mode,
                                                    maxEdges, positions.data(), values.data(), d1.data(),
                                                    d2.data(), centred.data());
        check(found >= 0 && found <= kMaxSamples);
        for (int k = 0; k < std::min(found, maxEdges); ++k)
            check(positions[k] >= 0 && positions[k] < count && (mode == 0 ? values[k] >= 0 : values[k] <= 0));
    }
    std::vector<int> rise(64), fall(64);
    const int steps = QV_ProfileTools_FindSteps(p.data(), count, offset, roi, width1, width2, threshold,
                                                -threshold, prm.range(0, 1), prm.range(-30, 30), 64,
                                                rise.data(), fall.data());
    check(steps >= 0);
}

void matching(Params& prm, const std::vector<int16_t>& p) {
    const int count = static_cast<int>(p.size());
    const int testCount = prm.range(1, 64);
    const int step = prm.range(1, 5);
    const int normalize = prm.byte() & 1;
    if (testCount < count) {
        unsigned a = 0, b = 0, c = 0;
        double corr = 0;
        const int16_t* test = p.data() + (count - testCount);  // the line's tail as test profile
        check(QV_ProfileTools_MatchProfilesCrossCorr(test, testCount, p.data(), count, step, normalize, &a) == 0);
        check(QV_ProfileTools_MatchProfilesSqrDiffSumCorr(test, testCount, p.data(), count, step, normalize, &b) == 0);
        check(QV_ProfileTools_MatchProfilesNormalizedCrossCorr(test, testCount, p.data(), count, step, normalize,
                                                               &corr, &c) == 0);
        const unsigned candidates = static_cast<unsigned>(count - testCount);
        check(a == kNoOffset || a < candidates);
        check(b == kNoOffset || b < candidates);
        check(c == kNoOffset || c < candidates);
        check(std::isnan(corr) || corr <= 1.0 + 1e-9);
    }
    const int countB = std::min(count, 1000);
    const int countA = std::min(testCount, countB);
    if (countA >= 1) {
        std::vector<double> curve(countB - countA + 1);
        double best = -1;
        unsigned position = kNoOffset;
        check(QV_ProfileTools_Correlation(p.data(), p.data(), countA, countB, step, curve.data(), &best,
                                          &position) == 0);
        check(best >= 0.0 && position <= static_cast<unsigned>(countB - countA));
    }
    std::vector<int16_t> out(p.size());
    double mean = 0;
    QV_ProfileTools_NormalizeProfile(p.data(), count, out.data(), step, &mean);
}

void resampling(Params& prm, const std::vector<int16_t>& p) {
    const int count = static_cast<int>(p.size());
    std::vector<uint16_t> line(p.begin(), p.end()), tilted(p.size()), offsets(p.size());
    const float angle = static_cast<float>(prm.range(-85, 85));
    const float scale1 = static_cast<float>(prm.range(1, 8)), scale2 = static_cast<float>(prm.range(1, 8));
    const int rc = QV_ProfileTools_RotateProfile(line.data(), count, angle, scale1, scale2, tilted.data(),
                                                 offsets.data());
    check(rc == 0 || (rc == -2 && std::fabs(angle) > 80.0f));
    std::vector<float> values(p.begin(), p.end());
    const int samples = prm.range(1, 200);
    std::vector<float> out(samples);
    check(QV_ProfileTools_SampleValues(values.data(), count, samples, out.data(), prm.byte() & 1) == samples);

    std::vector<double> y(p.begin(), p.end()), spline(p.size());
    const int type = prm.range(0, 4), step = prm.range(0, 8);
    std::vector<double> weights(p.size());
    for (int i = 0; i < count; ++i) weights[i] = (p[i] & 3) ? 1.0 : 0.0;
    const int written = QV_MathTools_SplineInterpolation(nullptr, y.data(), (prm.byte() & 1) ? weights.data() : nullptr,
                                                         count, 0.5, step, type, spline.data());
    check(written == 0 || written == count || written == -2 || written == -5);
}

void mathTools(Params& prm, const std::vector<int16_t>& p) {
    const int count = std::min(static_cast<int>(p.size()), 32);
    std::vector<double> x(count), y(count), ox(count), oy(count);
    for (int i = 0; i < count; ++i) {
        x[i] = p[i] % 50;
        y[i] = (p[i] / 50) % 50;
    }
    int outCount = -1;
    const int walked = QV_MathTools_FindSmallestPolygon(x.data(), y.data(), count, ox.data(), oy.data(), &outCount);
    check(outCount >= 0 && outCount <= count && (walked == outCount || walked == -5));

    // An outline from the samples: the low two bits choose a vertex, a control point or a new
    // contour. Plain vertices get x + 0.5, so that no x reads as a marker (2.0, 3.0, -2.0).
    std::vector<double> outline;
    for (int i = 0; i + 2 < count; i += 3) {
        const int op = p[i] & 3;
        if (op == 2) {
            outline.push_back(3.0);
            continue;
        }
        if (op == 3) outline.push_back(2.0);
        outline.push_back(x[i + 1] + (op == 3 ? 0.0 : 0.5));
        outline.push_back(y[i + 2]);
    }
    outline.push_back(-2.0);
    const int inside = QV_MathTools_PointInSplinePoly(outline.data(), prm.range(0, 50), prm.range(0, 50));
    check(inside == -1 || inside == 0 || inside == 1);

    double trimmed = 0, quantile = 0;
    QV_MathTools_PQuantile(y.data(), count, prm.range(0, 10) / 10.0, &trimmed, &quantile);
    if (count >= 1) check(quantile >= *std::min_element(y.begin(), y.end()) - 1e-9);
    double cx = 0, cy = 0, r = 0;
    if (count >= 1) {
        std::vector<double> pts;
        for (int i = 0; i < count; ++i) {
            pts.push_back(x[i]);
            pts.push_back(y[i]);
        }
        QV_MathTools_CircleFit(count, pts.data(), &cx, &cy, &r);
    }
    if ((prm.byte() & 7) == 0 && count >= 5) {
        std::vector<CvPoint> points;
        for (int i = 0; i < count; ++i) points.push_back(cvPoint(static_cast<int>(x[i]), static_cast<int>(y[i])));
        int status = 1;
        std::vector<CvPoint> inliers;
        std::srand(static_cast<unsigned>(p[0]));
        const QV_Ellipse e = QV_MathTools_FitEllipse(points, count, &status, &inliers);
        check(status == 0 || status < 0);
        if (status == 0) check(e.axis1 >= e.axis2 && e.axis2 > 0 && inliers.size() <= points.size());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (!data || size <= kParamBytes) return 0;
    const std::size_t sampleBytes = std::min(size - kParamBytes, static_cast<std::size_t>(2 * kMaxSamples));
    if (sampleBytes < 2) return 0;
    std::vector<int16_t> samples(sampleBytes / 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::uint8_t* b = data + kParamBytes + 2 * i;
        samples[i] = static_cast<int16_t>(static_cast<uint16_t>(b[0] | (b[1] << 8)));
    }
    Params prm(data, kParamBytes);
    const std::vector<uint16_t> line(samples.begin(), samples.end());
    gapFillers(prm, line);
    derivativesAndEdges(prm, samples);
    matching(prm, samples);
    resampling(prm, samples);
    mathTools(prm, samples);
    return 0;
}
