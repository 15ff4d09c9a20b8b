// Blob detection: contours and features of hand-made binary images, the order of the ids, the
// filters and their quirks, the caller-side array functions, drawing, the registry's ids, every
// failure message, and a randomized cross-check against an independent 8-connected labelling.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <opencv2/core/core_c.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "QV_Tools.h"
#include "support/log_capture.h"

namespace {

using qvtest::LogTest;

// An 8-bit one-channel image, optionally drawn from rows of '.' (0) and '#' (255).
class Bin {
public:
    Bin(int width, int height) : m_image(cvCreateImage(cvSize(width, height), IPL_DEPTH_8U, 1)) { cvZero(m_image); }
    explicit Bin(const std::vector<std::string>& rows) : Bin(int(rows[0].size()), int(rows.size())) {
        for (int y = 0; y < int(rows.size()); ++y)
            for (int x = 0; x < int(rows[y].size()); ++x)
                if (rows[y][x] == '#') set(x, y);
    }
    ~Bin() { cvReleaseImage(&m_image); }
    Bin(Bin&& other) noexcept : m_image(other.m_image) { other.m_image = nullptr; }
    Bin(const Bin&) = delete;
    Bin& operator=(const Bin&) = delete;
    void set(int x, int y, unsigned char v = 255) { row(y)[x] = v; }
    unsigned char at(int x, int y) const { return row(y)[x]; }
    void fill(int x, int y, int w, int h) {
        for (int r = y; r < y + h; ++r)
            for (int c = x; c < x + w; ++c) set(c, r);
    }
    int nonzero() const { return cvCountNonZero(m_image); }
    IplImage* get() const { return m_image; }

private:
    unsigned char* row(int y) const { return reinterpret_cast<unsigned char*>(m_image->imageData + y * m_image->widthStep); }
    IplImage* m_image;
};

// The records of a detection, copied out through the C interface (the copies are freed here).
std::vector<QV_BLOB_INFO> blobsOf(int id) {
    QVArray* out = CreateArray(eUserData, 0, 0);
    EXPECT_EQ(QV_BlobDetection_GetBlobs(id, out), 0);
    std::vector<QV_BLOB_INFO> blobs;
    for (int i = 0; i < out->count; ++i) blobs.push_back(*static_cast<QV_BLOB_INFO*>(GetValue(out, i)));
    ReleaseArray(out, 1);
    return blobs;
}

QVPoint2i point(const QV_BLOB_INFO& blob, int i) { return static_cast<QVPoint2i*>(blob.points->values)[i]; }
std::tuple<int, int, int, int> rectOf(const QV_BLOB_INFO& b) {
    return {b.boundingRect.x, b.boundingRect.y, b.boundingRect.width, b.boundingRect.height};
}

// Detects on a copy of `image`; the detection is released at the end of the test.
class Blobs : public LogTest {
protected:
    int detect(const Bin& image, bool calculate, int* count = nullptr) {
        const int id = QV_BlobDetection_DetectBlobs(nullptr, image.get(), nullptr, calculate ? 1 : 0, count);
        if (id >= 0) m_ids.push_back(id);
        return id;
    }
    void TearDown() override {
        for (int id : m_ids) QV_BlobDetection_ReleaseBlobDetection(id);
        LogTest::TearDown();
    }
    std::vector<int> m_ids;
};

// Squares of side 3, 4 and 5 (contour areas 4, 9 and 16), started in this raster order.
Bin threeSquares() {
    Bin b(20, 9);
    b.fill(1, 1, 3, 3);
    b.fill(6, 2, 4, 4);
    b.fill(12, 3, 5, 5);
    return b;
}

TEST_F(Blobs, SinglePixelsBorderAndIdOrder) {
    Bin image(10, 8);
    for (auto [x, y] : {std::pair{2, 2}, {6, 2}, {3, 5}, {4, 5}, {8, 4}, {9, 4}, {0, 0}, {9, 7}}) image.set(x, y);
    int n = -9;
    const int id = detect(image, false, &n);
    ASSERT_GE(id, 0);
    // The outermost pixels never belong to a blob: (0,0) and (9,7) vanish, (9,4) is cut off.
    EXPECT_EQ(n, 4);
    const auto blobs = blobsOf(id);
    ASSERT_EQ(blobs.size(), 4u);
    // Ids follow OpenCV's chain: the blob started last in raster order comes first.
    const std::vector<std::tuple<int, int, int>> expected = {{3, 5, 2}, {8, 4, 1}, {6, 2, 1}, {2, 2, 1}};
    for (unsigned i = 0; i < 4; ++i) {
        EXPECT_EQ(blobs[i].id, i);
        ASSERT_EQ(blobs[i].points->dataType, eIntPoint2d);
        EXPECT_EQ(blobs[i].points->count, std::get<2>(expected[i]));
        EXPECT_EQ(point(blobs[i], 0).x, std::get<0>(expected[i]));
        EXPECT_EQ(point(blobs[i], 0).y, std::get<1>(expected[i]));
        // Nothing computed: the documented initial values.
        EXPECT_EQ(blobs[i].area, -1.0);
        EXPECT_EQ(blobs[i].perimeter, 0.0);
        EXPECT_EQ(blobs[i].feature3, -1.0);
        EXPECT_EQ(blobs[i].feature4, -1.0);
        EXPECT_EQ(blobs[i].feature5, -1.0f);
        EXPECT_EQ(blobs[i].reserved[0] | blobs[i].reserved[1] | blobs[i].reserved[2], 0u);
        EXPECT_EQ(rectOf(blobs[i]), std::make_tuple(0, 0, 0, 0));
        EXPECT_NE(blobs[i].contour, nullptr);
    }
    EXPECT_EQ(image.at(0, 0), 255);  // the caller's source is left alone
}

TEST_F(Blobs, ConnectivityHolesAndFeatures) {
    Bin image({"...........",
               ".#...#####.",
               "..#..#...#.",
               "...#.#.#.#.",
               ".....#...#.",
               ".....#####.",
               "...........",
               ".###.......",
               ".###.......",
               "..........."});
    int n = 0;
    const int id = detect(image, true, &n);
    // Pixels touching at a corner are one blob; the pixel inside the ring's hole is no outer contour.
    EXPECT_EQ(n, 3);
    const auto blobs = blobsOf(id);
    ASSERT_EQ(blobs.size(), 3u);
    // Bar 3x2: area 2x1 between pixel centres, perimeter 6.
    EXPECT_EQ(rectOf(blobs[0]), std::make_tuple(1, 7, 3, 2));
    EXPECT_EQ(blobs[0].points->count, 6);
    EXPECT_DOUBLE_EQ(blobs[0].area, 2.0);
    EXPECT_DOUBLE_EQ(blobs[0].perimeter, 6.0);
    // The 5x5 ring: its outer contour only, a 4x4 polygon of 16 points.
    EXPECT_EQ(rectOf(blobs[1]), std::make_tuple(5, 1, 5, 5));
    EXPECT_EQ(blobs[1].points->count, 16);
    EXPECT_DOUBLE_EQ(blobs[1].area, 16.0);
    EXPECT_DOUBLE_EQ(blobs[1].perimeter, 16.0);
    EXPECT_FLOAT_EQ(blobs[1].minAreaRect.center.x, 7.0f);
    EXPECT_FLOAT_EQ(blobs[1].minAreaRect.center.y, 3.0f);
    EXPECT_FLOAT_EQ(blobs[1].minAreaRect.width * blobs[1].minAreaRect.height, 16.0f);
    // The diagonal, traced out and back (1,1 2,2 3,3 2,2): a closed length of 4 sqrt 2, no area.
    EXPECT_EQ(rectOf(blobs[2]), std::make_tuple(1, 1, 3, 3));
    EXPECT_EQ(blobs[2].points->count, 4);
    EXPECT_DOUBLE_EQ(blobs[2].area, 0.0);
    EXPECT_NEAR(blobs[2].perimeter, 4.0 * std::sqrt(2.0), 1e-6);  // OpenCV sums in single precision
    EXPECT_FLOAT_EQ(blobs[2].minAreaRect.center.x, 2.0f);
    EXPECT_FLOAT_EQ(std::fmod(std::fabs(blobs[2].minAreaRect.angle), 90.0f), 45.0f);

    // A filled drawing of the chain fills the ring's hole (and covers the pixel inside it).
    Bin canvas(11, 10);
    ASSERT_EQ(QV_BlobDetection_DrawDetectedBlobs(id, canvas.get(), cvScalarAll(255), -1, cvPoint(0, 0)), 0);
    EXPECT_EQ(canvas.nonzero(), 6 + 25 + 3);
    EXPECT_EQ(canvas.at(6, 2), 255);
}

TEST_F(Blobs, SourceConversionTempImageAndRoi) {
    // A signed 16-bit source: values are taken as their absolute value (-7 is foreground).
    IplImage* wide = cvCreateImage(cvSize(8, 6), IPL_DEPTH_16S, 1);
    cvZero(wide);
    reinterpret_cast<short*>(wide->imageData + 2 * wide->widthStep)[3] = -7;
    int n = 0;
    const int id = QV_BlobDetection_DetectBlobs(nullptr, wide, nullptr, 1, &n);
    m_ids.push_back(id);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(rectOf(blobsOf(id)[0]), std::make_tuple(3, 2, 1, 1));

    // Wrong temp images are refused at level 0; a temp of another size fails in the conversion.
    Bin small(4, 4);
    EXPECT_EQ(QV_BlobDetection_DetectBlobs(nullptr, wide, wide, 0, &n), -5);
    EXPECT_FAILED(0, -5, "QV_BlobDetection_DetectBlobs", "temp image has wrong type or wrong depth");
    IplImage* color = cvCreateImage(cvSize(8, 6), IPL_DEPTH_8U, 3);
    EXPECT_EQ(QV_BlobDetection_DetectBlobs(nullptr, wide, color, 0, &n), -5);
    EXPECT_FAILED(0, -5, "QV_BlobDetection_DetectBlobs", "temp image has wrong type or wrong depth");
    EXPECT_EQ(QV_BlobDetection_DetectBlobs(nullptr, wide, small.get(), 0, &n), -5);
    EXPECT_FAILED(1, -5, "QV_BlobDetection_DetectBlobs", "could not convert source image into temp image");
    EXPECT_EQ(QV_BlobDetection_DetectBlobs(nullptr, color, nullptr, 0, &n), -5);  // 3 channels into 1
    EXPECT_EQ(QV_BlobDetection_DetectBlobs(nullptr, nullptr, nullptr, 0, &n), -2);
    EXPECT_FAILED(0, -2, "QV_BlobDetection_DetectBlobs", "source image is NULL");
    cvReleaseImage(&color);
    cvReleaseImage(&wide);

    // A given temp receives the copy and is overwritten by the search; the source is not.
    Bin source(20, 9), temp(20, 9);
    source.fill(6, 2, 4, 4);
    m_ids.push_back(QV_BlobDetection_DetectBlobs(nullptr, source.get(), temp.get(), 0, nullptr));
    EXPECT_EQ(source.nonzero(), 16);
    EXPECT_NE(temp.at(6, 2), 0);
    EXPECT_NE(temp.at(6, 2), 255);  // traced contours are marked in the image searched
    // The source as its own temp: the search overwrites it.
    m_ids.push_back(QV_BlobDetection_DetectBlobs(nullptr, source.get(), source.get(), 0, &n));
    EXPECT_EQ(n, 1);
    EXPECT_NE(source.at(6, 2), 255);

    // A roi: only its pixels count, coordinates are relative to it, its own border is cleared.
    Bin big(20, 12);
    big.fill(3, 3, 3, 3);    // inside the roi
    big.fill(12, 5, 3, 3);   // outside it
    big.fill(8, 2, 2, 2);    // on the roi's first row: cut to one row
    cvSetImageROI(big.get(), cvRect(2, 2, 8, 8));
    const int roiId = detect(big, true, &n);
    EXPECT_EQ(n, 2);
    const auto blobs = blobsOf(roiId);
    ASSERT_EQ(blobs.size(), 2u);
    EXPECT_EQ(rectOf(blobs[0]), std::make_tuple(6, 1, 1, 1));  // column 9 is the roi's right border
    EXPECT_EQ(rectOf(blobs[1]), std::make_tuple(1, 1, 3, 3));
    // Drawn back with the roi's origin as offset, the outline lands where the square was.
    cvResetImageROI(big.get());
    Bin canvas(20, 12);
    EXPECT_EQ(QV_BlobDetection_DrawDetectedBlobs(roiId, canvas.get(), cvScalarAll(255), -1, cvPoint(2, 2)), 0);
    EXPECT_EQ(canvas.nonzero(), 9 + 1);
    EXPECT_EQ(canvas.at(3, 3), 255);
    EXPECT_EQ(canvas.at(5, 5), 255);
    EXPECT_EQ(canvas.at(8, 3), 255);
}

TEST_F(Blobs, EmptyImageAndRegistryIds) {
    Bin empty(6, 6);
    int n = -9;
    const int first = detect(empty, true, &n);
    EXPECT_EQ(n, 0);
    EXPECT_TRUE(blobsOf(first).empty());
    Bin canvas(6, 6);
    EXPECT_EQ(QV_BlobDetection_DrawDetectedBlobs(first, canvas.get(), cvScalarAll(255), 1, cvPoint(0, 0)), -5);
    EXPECT_FAILED(1, -5, "QV_BlobDetection::drawBlobs", "no blobs available to draw, call detectBlobs first");

    // Ids count on and are never reused.
    const int second = QV_BlobDetection_DetectBlobs(nullptr, empty.get(), nullptr, 0, nullptr);
    EXPECT_EQ(second, first + 1);
    EXPECT_EQ(QV_BlobDetection_ReleaseBlobDetection(second), 0);
    EXPECT_EQ(QV_BlobDetection_ReleaseBlobDetection(second), -5);
    EXPECT_FAILED(1, -5, "QV_BlobDetectionManager::releaseBlobDetection",
                  "blob detection with specified id not found - cannot be released");
    EXPECT_EQ(detect(empty, false), second + 1);
    EXPECT_EQ(QV_BlobDetectionManager::getManager()->getBlobDetection(second), nullptr);
    EXPECT_NE(QV_BlobDetectionManager::getManager()->getBlobDetection(first), nullptr);

    // Unknown ids in every function that takes one.
    const char* kNoObject = "could not achieve specified blob detection object";
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(second, 1, 0, 1, 0), -5);
    EXPECT_FAILED(1, -5, "QV_BlobDetection_FilterDetectedBlobs", kNoObject);
    EXPECT_EQ(QV_BlobDetection_DrawDetectedBlobs(second, canvas.get(), cvScalarAll(1), 1, cvPoint(0, 0)), -5);
    EXPECT_FAILED(1, -5, "QV_BlobDetection_DrawDetectedBlobs", kNoObject);
    QVArray* out = CreateArray(eUserData, 0, 0);
    EXPECT_EQ(QV_BlobDetection_GetBlobs(second, out), -5);
    EXPECT_FAILED(1, -5, "QV_BlobDetection_GetBlobs", kNoObject);
    EXPECT_EQ(QV_BlobDetection_GetBlobs(first, nullptr), -2);
    EXPECT_FAILED(1, -2, "QV_BlobDetection_GetBlobs", "output array is NULL");
    QVArray* ints = CreateArray(eInt, 0, 0);
    EXPECT_EQ(QV_BlobDetection_GetBlobs(first, ints), -5);
    EXPECT_FAILED(1, -5, "QV_BlobDetection_GetBlobs", "array does not hold blob pointers");
    ReleaseArray(ints, 0);
    ReleaseArray(out, 0);
}

TEST_F(Blobs, FilterDetectedBlobsRangesAndQuirks) {
    const Bin squares = threeSquares();
    // Features not computed: area -1 fails every range, perimeter 0 passes min < 0 < max.
    int raw = detect(squares, false);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(raw, eBlobFilterPerimeter, -1, 1, 1), 0);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(raw, eBlobFilterArea, -1e9, 1e9, 1), 3);
    EXPECT_TRUE(blobsOf(raw).empty());

    // Both bounds strict: (4, 16) keeps only the area-9 square; min = max keeps nothing.
    int id = detect(squares, true);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterArea, 4, 16, 1), 2);
    auto left = blobsOf(id);
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(left[0].id, 1u);
    EXPECT_DOUBLE_EQ(left[0].area, 9.0);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterArea, 9, 9, 1), 1);

    // Type 7 drops all without a message; feature3 is never computed; type 4 is invalid per blob.
    id = detect(squares, true);
    qvtest::clear();
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterNone, -1e9, 1e9, 1), 3);
    EXPECT_EQ(count(), 0u);
    id = detect(squares, true);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterFeature3, -1e9, 1e9, 1), 3);
    for (int type : {4, 0, 17, -1}) {
        id = detect(squares, true);
        qvtest::clear();
        EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, type, -1e9, 1e9, 1), 3);
        EXPECT_EQ(linesContaining("invalid filter type").size(), 3u);
        EXPECT_FAILED(1, -5, "QV_BlobDetection::filterBlob", "invalid filter type");
    }

    // Height / width and angle, on a tall and a wide bar.
    Bin bars(16, 10);
    bars.fill(2, 1, 2, 6);   // 2 x 6: ratio 3
    bars.fill(6, 7, 6, 2);   // 6 x 2: ratio 1/3
    id = detect(bars, true);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterAspect, 1, 3.5, 1), 1);
    EXPECT_EQ(rectOf(blobsOf(id)[0]), std::make_tuple(2, 1, 2, 6));
    // The ratio is a quotient of doubles: 2 / 6 is a third, not 0.
    id = detect(bars, true);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterAspect, 0.3, 0.4, 1), 1);
    EXPECT_EQ(rectOf(blobsOf(id)[0]), std::make_tuple(6, 7, 6, 2));
    id = detect(bars, true);
    const float angle = blobsOf(id)[1].minAreaRect.angle;
    EXPECT_EQ(blobsOf(id)[0].minAreaRect.angle, angle);  // both upright
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterAngle, angle - 0.5, angle + 0.5, 1), 0);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterAngle, angle, angle + 1, 1), 2);
    // Without features the ratio is 0 / 0 and no range holds it.
    id = detect(bars, false);
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterAspect, -1e9, 1e9, 1), 2);
}

TEST_F(Blobs, RemovedContoursAreUnlinkedExceptTheFirst) {
    Bin image(20, 12);
    image.fill(1, 1, 3, 3);    // area 4, last in the chain
    image.fill(8, 2, 2, 5);    // tall bar, the middle of the chain
    image.fill(12, 6, 4, 4);   // area 9, first in the chain
    const int id = detect(image, true);
    Bin all(20, 12), withoutBar(20, 12), withoutFirst(20, 12);
    ASSERT_EQ(QV_BlobDetection_DrawDetectedBlobs(id, all.get(), cvScalarAll(255), -1, cvPoint(0, 0)), 0);
    EXPECT_EQ(all.nonzero(), 9 + 10 + 16);
    // The bar leaves the chain between its neighbours and is no longer drawn.
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterAspect, 0.5, 1.5, 1), 1);
    ASSERT_EQ(QV_BlobDetection_DrawDetectedBlobs(id, withoutBar.get(), cvScalarAll(255), -1, cvPoint(0, 0)), 0);
    EXPECT_EQ(withoutBar.nonzero(), 9 + 16);
    EXPECT_EQ(withoutBar.at(8, 4), 0);
    // The chain's first contour stays the drawing's start when its blob is removed: still drawn.
    EXPECT_EQ(QV_BlobDetection_FilterDetectedBlobs(id, eBlobFilterArea, 0, 5, 1), 1);
    const auto left = blobsOf(id);
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(left[0].id, 2u);
    ASSERT_EQ(QV_BlobDetection_DrawDetectedBlobs(id, withoutFirst.get(), cvScalarAll(255), -1, cvPoint(0, 0)), 0);
    EXPECT_EQ(withoutFirst.nonzero(), 9 + 16);
    EXPECT_EQ(withoutFirst.at(13, 7), 255);
}

TEST_F(Blobs, FilterBlobsOnCallerArrays) {
    const Bin squares = threeSquares();
    const int id = detect(squares, true);
    QVArray* blobs = CreateArray(eUserData, 0, 0);
    ASSERT_EQ(QV_BlobDetection_GetBlobs(id, blobs), 0);
    AppendValue(blobs, nullptr);  // null elements stay where they are
    ASSERT_EQ(blobs->count, 4);
    QV_BLOB_INFO* area9 = static_cast<QV_BLOB_INFO*>(GetValue(blobs, 1));
    // The copies share the detection's point arrays.
    EXPECT_EQ(area9->points, blobsOf(id)[1].points);

    // Release: the failing copies are freed with their point arrays, which the detection then
    // no longer holds (its release would free them twice: the sanitizer build shows that).
    EXPECT_EQ(QV_BlobDetection_FilterBlobs(blobs, eBlobFilterArea, 5, 10, 1), 2);
    ASSERT_EQ(blobs->count, 2);
    EXPECT_EQ(GetValue(blobs, 0), area9);
    EXPECT_EQ(GetValue(blobs, 1), nullptr);
    const auto held = blobsOf(id);
    ASSERT_EQ(held.size(), 3u);  // the detection still has its records
    EXPECT_EQ(held[0].points, nullptr);
    EXPECT_EQ(held[1].points, area9->points);
    EXPECT_EQ(held[2].points, nullptr);
    // The removed contours left the shared chain: drawing draws the first contour and area 9.
    Bin canvas(20, 9);
    ASSERT_EQ(QV_BlobDetection_DrawDetectedBlobs(id, canvas.get(), cvScalarAll(255), -1, cvPoint(0, 0)), 0);
    EXPECT_EQ(canvas.nonzero(), 25 + 16);
    ReleaseArray(blobs, 1);

    // A record of the caller's own, without contour, fails every filter and is freed with its
    // points (the sanitizer build reports a leak otherwise); without release it is only dropped.
    auto* own = static_cast<QV_BLOB_INFO*>(std::calloc(1, sizeof(QV_BLOB_INFO)));
    own->area = 5;
    own->points = CreateArray(eIntPoint2d, 0, 4);
    QVArray* mine = CreateArray(eUserData, 0, 0);
    AppendValue(mine, own);
    EXPECT_EQ(QV_BlobDetection_FilterBlobs(mine, eBlobFilterArea, 0, 4, 0), 1);
    EXPECT_EQ(mine->count, 0);
    AppendValue(mine, own);
    EXPECT_EQ(QV_BlobDetection_FilterBlobs(mine, eBlobFilterArea, 0, 10, 1), 0);
    EXPECT_EQ(QV_BlobDetection_FilterBlobs(mine, eBlobFilterArea, 0, 4, 1), 1);
    ReleaseArray(mine, 0);

    EXPECT_EQ(QV_BlobDetection_FilterBlobs(nullptr, 1, 0, 1, 0), -2);
    EXPECT_FAILED(1, -2, "QV_BlobDetection_FilterBlobs", "input or output array is NULL");
    QVArray* ints = CreateArray(eInt, 0, 0);
    AppendIntValue(ints, 3);
    EXPECT_EQ(QV_BlobDetection_FilterBlobs(ints, 1, 0, 1, 0), -5);
    EXPECT_FAILED(1, -5, "QV_BlobDetection_FilterBlobs", "array does not hold blob pointers");
    EXPECT_EQ(ints->count, 1);
    ReleaseArray(ints, 0);
}

TEST_F(Blobs, DrawEllipsesAndDrawFailures) {
    Bin square(12, 12);
    square.fill(2, 2, 5, 5);  // minAreaRect: center (4,4), 4 x 4 -> circle of radius 2
    const int id = detect(square, true);
    QVArray* blobs = CreateArray(eUserData, 0, 0);
    ASSERT_EQ(QV_BlobDetection_GetBlobs(id, blobs), 0);
    AppendValue(blobs, nullptr);
    Bin outline(12, 12), filled(12, 12);
    EXPECT_EQ(QV_BlobDetection_DrawBlobsEllipses(blobs, outline.get(), cvScalarAll(200), 1), 0);
    EXPECT_EQ(QV_BlobDetection_DrawBlobsEllipses(blobs, filled.get(), cvScalarAll(200), -1), 0);
    for (auto [x, y] : {std::pair{6, 4}, {2, 4}, {4, 6}, {4, 2}}) {
        EXPECT_EQ(outline.at(x, y), 200) << x << "," << y;
        EXPECT_EQ(filled.at(x, y), 200);
    }
    EXPECT_EQ(outline.at(4, 4), 0);
    EXPECT_EQ(filled.at(4, 4), 200);
    EXPECT_EQ(outline.at(7, 4) | outline.at(2, 2) | outline.at(6, 6), 0);

    EXPECT_EQ(QV_BlobDetection_DrawBlobsEllipses(nullptr, outline.get(), cvScalarAll(1), 1), -2);
    EXPECT_FAILED(1, -2, "QV_BlobDetection_DrawBlobsEllipses", "blob array or destination image is NULL");
    EXPECT_EQ(QV_BlobDetection_DrawBlobsEllipses(blobs, nullptr, cvScalarAll(1), 1), -2);
    EXPECT_EQ(QV_BlobDetection_DrawBlobsEllipses(blobs, outline.get(), cvScalarAll(1), 40000), -5);
    EXPECT_EQ(linesContaining("could not draw blob ellipses: ").size(), 1u);
    ReleaseArray(blobs, 1);

    EXPECT_EQ(QV_BlobDetection_DrawDetectedBlobs(id, nullptr, cvScalarAll(1), 1, cvPoint(0, 0)), -2);
    EXPECT_FAILED(1, -2, "QV_BlobDetection::drawBlobs", "destination image is NULL");
    EXPECT_EQ(QV_BlobDetection_DrawDetectedBlobs(id, outline.get(), cvScalarAll(1), 40000, cvPoint(0, 0)), -5);
    EXPECT_EQ(last()->code, -5);
    EXPECT_EQ(linesContaining("could not draw blobs: ").size(), 1u);
}

TEST_F(Blobs, DetectionObjectDirectly) {
    QV_BlobDetection detection;
    EXPECT_EQ(detection.detectBlobs(nullptr, true), -2);
    EXPECT_FAILED(1, -2, "QV_BlobDetection::detectBlobs", "input image is NULL");
    Bin squares = threeSquares();
    Bin copy(20, 9);
    cvCopy(squares.get(), copy.get());
    EXPECT_EQ(detection.detectBlobs(copy.get(), false), 3);
    EXPECT_EQ(detection.getNumBlobs(), 3u);
    // A second search while the first chain is held: an empty image returns its count 0
    // quietly; otherwise the new blobs take ids from the map's size and their chain is appended.
    // The square of area 16 (id 0, first in the chain) is filtered away first: the map keeps
    // ids 1 and 2, so the new ids 2 and 3 meet the held id 2, which keeps its record.
    Bin empty(20, 9);
    qvtest::clear();
    EXPECT_EQ(detection.detectBlobs(empty.get(), false), 0);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(detection.calcAllBlobFeatures(), 3);
    EXPECT_EQ(detection.filterAllBlobs(eBlobFilterArea, 0, 10, true), 1);
    Bin bars(30, 9);
    bars.fill(20, 2, 2, 5);   // 2 x 5
    bars.fill(23, 6, 6, 2);   // 6 x 2, first in the new chain
    EXPECT_EQ(detection.detectBlobs(bars.get(), true), 2);
    auto held = detection.getBlobs();
    ASSERT_EQ(held.size(), 3u);
    EXPECT_DOUBLE_EQ(held.at(1).area, 9.0);
    EXPECT_DOUBLE_EQ(held.at(2).area, 4.0);  // the held record, not the new 6 x 2 bar
    EXPECT_EQ(rectOf(held.at(3)), std::make_tuple(20, 2, 2, 5));
    Bin drawn(30, 9);
    ASSERT_EQ(detection.drawBlobs(drawn.get(), cvScalarAll(255), -1, cvPoint(0, 0)), 0);
    EXPECT_EQ(drawn.nonzero(), 25 + 16 + 9 + 12 + 10);  // both chains, from the held first contour
    detection.clearBlobs(false, true);
    EXPECT_EQ(detection.getNumBlobs(), 0u);
    Bin canvas(20, 9);
    EXPECT_EQ(detection.drawBlobs(canvas.get(), cvScalarAll(1), 1, cvPoint(0, 0)), -5);
    EXPECT_EQ(detection.detectBlobs(copy.get(), false), 3);
    const auto blobs = detection.getBlobs();
    EXPECT_EQ(blobs.begin()->first, 0u);  // ids start at the (empty) map's size again
    EXPECT_EQ(blobs.begin()->second.area, -1.0);
    EXPECT_EQ(detection.calcAllBlobFeatures(), 3);
    EXPECT_DOUBLE_EQ(detection.getBlobs().at(2).area, 4.0);

    QV_BLOB_INFO bare{};
    EXPECT_EQ(QV_BlobDetection::calcBlobFeatures(bare), -2);
    EXPECT_FAILED(1, -2, "QV_BlobDetection::calcBlobFeatures",
                  "cannot calculate blob features, cv contour sequence pointer of blob is NULL");

    // Only 8-bit one-channel images can be searched.
    QV_BlobDetection other;
    IplImage* wide = cvCreateImage(cvSize(8, 8), IPL_DEPTH_16S, 1);
    cvZero(wide);
    EXPECT_EQ(other.detectBlobs(wide, true), -5);
    EXPECT_EQ(linesContaining("contour search failed: ").size(), 1u);
    cvReleaseImage(&wide);
}

// Independent labelling: 8-connected foreground components; a component has an outer contour
// when it touches (4-neighbourhood) the background reachable from the image's frame.
struct Component {
    int firstX, firstY;  // first pixel in raster order
    int x0, y0, x1, y1;
};

std::vector<Component> outerComponents(const std::vector<std::vector<int>>& px, int w, int h, int& nested) {
    std::vector<std::vector<int>> label(h, std::vector<int>(w, -1));
    std::vector<std::vector<bool>> outside(h, std::vector<bool>(w, false));
    std::vector<std::pair<int, int>> stack;
    // Background reachable from the frame (the frame itself is cleared by the search).
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if ((y == 0 || x == 0 || y == h - 1 || x == w - 1) && !px[y][x]) stack.push_back({x, y});
    while (!stack.empty()) {
        auto [x, y] = stack.back();
        stack.pop_back();
        if (x < 0 || y < 0 || x >= w || y >= h || px[y][x] || outside[y][x]) continue;
        outside[y][x] = true;
        for (auto [dx, dy] : {std::pair{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) stack.push_back({x + dx, y + dy});
    }
    std::vector<Component> result;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            if (!px[y][x] || label[y][x] >= 0) continue;
            Component c{x, y, x, y, x, y};
            bool outer = false;
            stack.push_back({x, y});
            label[y][x] = 1;
            while (!stack.empty()) {
                auto [cx, cy] = stack.back();
                stack.pop_back();
                c.x0 = std::min(c.x0, cx), c.x1 = std::max(c.x1, cx);
                c.y0 = std::min(c.y0, cy), c.y1 = std::max(c.y1, cy);
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        const int nx = cx + dx, ny = cy + dy;
                        if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
                        if (px[ny][nx] && label[ny][nx] < 0) {
                            label[ny][nx] = 1;
                            stack.push_back({nx, ny});
                        }
                        if ((dx == 0) != (dy == 0) && outside[ny][nx]) outer = true;
                    }
            }
            if (outer)
                result.push_back(c);
            else
                ++nested;
        }
    return result;
}

TEST_F(Blobs, RandomImagesAgreeWithIndependentLabelling) {
    std::mt19937 rng(20261123);
    int nested = 0;  // components inside another one's hole: no outer contour of their own
    for (int round = 0; round < 60; ++round) {
        const int w = 8 + int(rng() % 40), h = 8 + int(rng() % 30);
        const double density = 0.15 + 0.5 * (rng() % 100) / 100.0;
        Bin image(w, h);
        std::vector<std::vector<int>> px(h, std::vector<int>(w, 0));
        for (int y = 1; y < h - 1; ++y)
            for (int x = 1; x < w - 1; ++x)
                if (std::uniform_real_distribution<double>(0, 1)(rng) < density) {
                    px[y][x] = 1;
                    image.set(x, y, static_cast<unsigned char>(1 + rng() % 255));
                }
        const auto expected = outerComponents(px, w, h, nested);
        int n = -1;
        const int id = detect(image, true, &n);
        const auto blobs = blobsOf(id);
        ASSERT_EQ(n, int(expected.size())) << "round " << round;
        ASSERT_EQ(blobs.size(), expected.size());
        // Ids run against the raster order of the components' first pixels.
        for (std::size_t i = 0; i < blobs.size(); ++i) {
            const Component& c = expected[expected.size() - 1 - i];
            EXPECT_EQ(blobs[i].id, i);
            EXPECT_EQ(point(blobs[i], 0).x, c.firstX);
            EXPECT_EQ(point(blobs[i], 0).y, c.firstY);
            EXPECT_EQ(rectOf(blobs[i]), std::make_tuple(c.x0, c.y0, c.x1 - c.x0 + 1, c.y1 - c.y0 + 1));
            for (int p = 0; p < blobs[i].points->count; ++p) {
                const QVPoint2i q = point(blobs[i], p);
                ASSERT_TRUE(q.x >= c.x0 && q.x <= c.x1 && q.y >= c.y0 && q.y <= c.y1);
                EXPECT_EQ(px[q.y][q.x], 1);
            }
        }
        QV_BlobDetection_ReleaseBlobDetection(id);
        m_ids.pop_back();
    }
    EXPECT_GT(nested, 0);  // the images did hold blobs inside holes
}

}  // namespace
