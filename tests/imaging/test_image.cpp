// The image record: creation in its three modes, resizing, refilling, cloning, cropping, copying,
// pixel and line addressing, clearing, roi containment and the OpenCV header.
#include <cstdlib>
#include <cstring>
#include <numeric>

#include <opencv2/core/core_c.h>

#include "QV_Tools.h"
#include "imaging/imaging_internal.h"
#include "support/log_capture.h"

namespace {

using qvtest::clear;
using qvtest::LogTest;

// An image whose pixel i holds the value i.
QVImage* numbered(int width, int height) {
    QVImage* image = CreateEmptyImage(width, height, 0);
    for (int i = 0; i < width * height; ++i) image->data[i] = static_cast<short>(i);
    return image;
}

short* mallocPixels(int count, short first) {
    auto* p = static_cast<short*>(std::malloc(sizeof(short) * count));
    std::iota(p, p + count, first);
    return p;
}

class Image : public LogTest {
protected:
    void TearDown() override {
        qv::imaging::testing::failAllocation(0);
        LogTest::TearDown();
    }
};

TEST_F(Image, CreateEmptyImageSetsSizeRoiAndTag) {
    QVImage* image = CreateEmptyImage(4, 3, 42);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->tag, 42);
    EXPECT_EQ(image->width, 4);
    EXPECT_EQ(image->height, 3);
    EXPECT_EQ(image->aux1, 0);
    EXPECT_EQ(image->aux2, 0);
    EXPECT_EQ(image->roi.x, 0);
    EXPECT_EQ(image->roi.y, 0);
    EXPECT_EQ(image->roi.width, 4);
    EXPECT_EQ(image->roi.height, 3);
    ASSERT_NE(image->data, nullptr);
    for (int i = 0; i < 12; ++i) EXPECT_EQ(image->data[i], 0);
    ReleaseImage(image);

    // No pixels: a record without data and without a message.
    image = CreateEmptyImage(0, 5, 7);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->tag, 7);
    EXPECT_EQ(image->width, 0);
    EXPECT_EQ(image->height, 5);
    EXPECT_EQ(image->data, nullptr);
    EXPECT_EQ(count(), 0u);
    ReleaseImage(image);

    qv::imaging::testing::failAllocation(1);
    EXPECT_EQ(CreateEmptyImage(4, 3, 0), nullptr);
    EXPECT_FAILED(1, -3, "CreateEmptyImage", "insufficient memory to create image");
}

TEST_F(Image, CreateImageAdoptsCopiesOrAllocates) {
    // Adopt: the very buffer, no size check, freed by ReleaseImage.
    short* pixels = mallocPixels(6, 1);
    QVImage* adopted = CreateImage(pixels, 3, 2, 0);
    ASSERT_NE(adopted, nullptr);
    EXPECT_EQ(adopted->data, pixels);
    EXPECT_EQ(adopted->tag, 0);
    EXPECT_EQ(adopted->roi.width, 3);
    EXPECT_EQ(adopted->roi.height, 2);
    ReleaseImage(adopted);

    short* unsized = mallocPixels(1, 0);
    adopted = CreateImage(unsized, 0, 0, 0);
    ASSERT_NE(adopted, nullptr);
    EXPECT_EQ(count(), 0u);
    ReleaseImage(adopted);

    // Copy: a new buffer with the caller's values; the caller keeps its own.
    short values[6] = {5, -6, 7, -8, 9, 32767};
    QVImage* copy = CreateImage(values, 2, 3, 1);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->data, values);
    EXPECT_EQ(std::memcmp(copy->data, values, sizeof values), 0);
    EXPECT_EQ(copy->width, 2);
    EXPECT_EQ(copy->height, 3);
    ReleaseImage(copy);

    EXPECT_EQ(CreateImage(values, 0, 0, 1), nullptr);
    EXPECT_FAILED(1, -5, "CreateImage", "width and height must be > 0");
    clear();
    EXPECT_EQ(CreateImage(nullptr, -2, 3, 0), nullptr);
    EXPECT_FAILED(1, -5, "CreateImage", "width and height must be > 0");

    // Null pixels: zeroed pixels.
    QVImage* zeroed = CreateImage(nullptr, 2, 2, 0);
    ASSERT_NE(zeroed, nullptr);
    ASSERT_NE(zeroed->data, nullptr);
    EXPECT_EQ(zeroed->data[3], 0);
    ReleaseImage(zeroed);

    qv::imaging::testing::failAllocation(1);
    EXPECT_EQ(CreateImage(values, 2, 3, 1), nullptr);
    EXPECT_FAILED(1, -3, "CreateImage", "insufficient memory to create image");
}

TEST_F(Image, ResizeImageCreatesGrowsAndKeepsRoi) {
    QVImage* image = nullptr;
    EXPECT_EQ(ResizeImage(&image, 3, 2), 0);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->roi.width, 3);  // created: the roi follows the size
    image->data[5] = 77;
    image->roi = {1, 1, 1, 1};

    EXPECT_EQ(ResizeImage(&image, 4, 4), 0);
    EXPECT_EQ(image->width, 4);
    EXPECT_EQ(image->height, 4);
    EXPECT_EQ(image->data[5], 77);  // old contents kept
    EXPECT_EQ(image->roi.x, 1);     // roi untouched by a resize
    EXPECT_EQ(image->roi.width, 1);

    EXPECT_EQ(ResizeImage(&image, 0, 4), -5);
    EXPECT_FAILED(1, -5, "ResizeImage", "width and height must be > 0");
    EXPECT_EQ(image->width, 4);
    ReleaseImage(image);

    // A record without pixels gets a zeroed buffer.
    image = CreateEmptyImage(0, 0, 0);
    EXPECT_EQ(ResizeImage(&image, 2, 2), 0);
    ASSERT_NE(image->data, nullptr);
    EXPECT_EQ(image->data[3], 0);
    ReleaseImage(image);
}

TEST_F(Image, ResizeImageFailures) {
    // Growing fails: logged at level 0, still 0, and the image no longer refers to a buffer.
    QVImage* image = CreateEmptyImage(2, 2, 0);
    qv::imaging::testing::failAllocation(1);
    EXPECT_EQ(ResizeImage(&image, 8, 8), 0);
    EXPECT_FAILED(0, -3, "ResizeImage", "could not realloc memory");
    EXPECT_EQ(image->data, nullptr);
    EXPECT_EQ(image->width, 8);
    ReleaseImage(image);

    // The size is checked before the image pointer: a bad size is reported as such even without
    // a place to put the image.
    clear();
    EXPECT_EQ(ResizeImage(nullptr, 0, 3), -5);
    EXPECT_FAILED(1, -5, "ResizeImage", "width and height must be > 0");
    EXPECT_EQ(ResizeImage(nullptr, 2, 3), -2);
    EXPECT_FAILED(1, -2, "ResizeImage", "image is NULL");

    // No buffer can be had for a record without pixels.
    image = CreateEmptyImage(0, 0, 0);
    qv::imaging::testing::failAllocation(1);
    EXPECT_EQ(ResizeImage(&image, 2, 2), -3);
    EXPECT_FAILED(0, -3, "ResizeImage", "could not (re)allocate specified image data");
    ReleaseImage(image);
}

TEST_F(Image, ReleaseImageAcceptsNull) { EXPECT_EQ(ReleaseImage(nullptr), 0); }

TEST_F(Image, SetImageDataCopiesOrAdopts) {
    QVImage* image = CreateEmptyImage(2, 2, 0);
    image->roi = {1, 1, 1, 1};
    short* before = image->data;
    short values[4] = {1, 2, 3, 4};
    // Same size: the buffer is reused and the roi left alone.
    EXPECT_EQ(SetImageData(image, 2, 2, values, 1), 0);
    EXPECT_EQ(image->data, before);
    EXPECT_EQ(image->data[3], 4);
    EXPECT_EQ(image->roi.width, 1);
    // New size: resized, size and roi extent set, roi origin kept.
    short six[6] = {9, 8, 7, 6, 5, 4};
    EXPECT_EQ(SetImageData(image, 3, 2, six, 1), 0);
    EXPECT_EQ(image->width, 3);
    EXPECT_EQ(image->roi.width, 3);
    EXPECT_EQ(image->roi.height, 2);
    EXPECT_EQ(image->roi.x, 1);
    EXPECT_EQ(image->roi.y, 1);
    EXPECT_EQ(std::memcmp(image->data, six, sizeof six), 0);

    // Adopt: the old buffer is released, the new one owned.
    short* adopted = mallocPixels(4, 10);
    EXPECT_EQ(SetImageData(image, 1, 4, adopted, 0), 0);
    EXPECT_EQ(image->data, adopted);
    EXPECT_EQ(image->height, 4);
    EXPECT_EQ(image->roi.height, 4);
    // Adopting the buffer it already holds keeps it alive.
    EXPECT_EQ(SetImageData(image, 2, 2, adopted, 0), 0);
    EXPECT_EQ(image->data[3], 13);

    EXPECT_EQ(SetImageData(image, 0, 2, values, 1), -5);
    EXPECT_FAILED(1, -5, "SetImageData", "height or width invalid");
    EXPECT_EQ(image->width, 2);
    EXPECT_EQ(SetImageData(image, 2, 2, nullptr, 1), -2);
    EXPECT_FAILED(1, -2, "SetImageData", "image or image data is NULL");
    EXPECT_EQ(SetImageData(nullptr, 2, 2, values, 1), -2);

    qv::imaging::testing::failAllocation(1);
    EXPECT_EQ(SetImageData(image, 5, 5, values, 1), -3);
    EXPECT_FAILED(1, -3, "SetImageData", "could not (re)allocate specified image data");
    EXPECT_EQ(image->width, 2);  // untouched
    EXPECT_EQ(image->data[3], 13);
    ReleaseImage(image);
}

TEST_F(Image, CloneImageCopiesEverythingButTheTag) {
    QVImage* image = numbered(3, 2);
    image->tag = 1;
    image->aux1 = 11;
    image->aux2 = 22;
    image->roi = {1, 0, 2, 1};
    QVImage* clone = CloneImage(image, 9);
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->tag, 9);
    EXPECT_EQ(clone->aux1, 11);
    EXPECT_EQ(clone->aux2, 22);
    EXPECT_EQ(clone->roi.x, 1);
    EXPECT_EQ(clone->roi.width, 2);
    EXPECT_EQ(clone->roi.height, 1);
    EXPECT_NE(clone->data, image->data);
    EXPECT_EQ(std::memcmp(clone->data, image->data, 6 * sizeof(short)), 0);
    ReleaseImage(clone);

    qv::imaging::testing::failAllocation(1);
    EXPECT_EQ(CloneImage(image, 0), nullptr);
    EXPECT_FAILED(0, -3, "CloneImage", "could not clone image -> insufficient memory?");
    ReleaseImage(image);

    EXPECT_EQ(CloneImage(nullptr, 0), nullptr);
    EXPECT_FAILED(1, -2, "CloneImage", "image or image data to copy is NULL");
}

TEST_F(Image, ImageFromRoiWithRectangle) {
    QVImage* image = numbered(6, 5);
    // Ordinary cropping when the roi is the whole image.
    QVRect rect{1, 2, 3, 2};
    QVImage* crop = ImageFromRoi(image, nullptr, &rect);
    ASSERT_NE(crop, nullptr);
    EXPECT_EQ(crop->width, 3);
    EXPECT_EQ(crop->height, 2);
    const short expected[6] = {13, 14, 15, 19, 20, 21};
    EXPECT_EQ(std::memcmp(crop->data, expected, sizeof expected), 0);
    ReleaseImage(crop);

    // Rows are read with the roi's width as stride, not the image's.
    image->roi = {0, 0, 4, 5};
    rect = {1, 1, 2, 2};
    crop = ImageFromRoi(image, nullptr, &rect);
    ASSERT_NE(crop, nullptr);
    const short strided[4] = {5, 6, 9, 10};
    EXPECT_EQ(std::memcmp(crop->data, strided, sizeof strided), 0);
    ReleaseImage(crop);

    // Validity: beyond the roi, and the whole image (w x (top + h) must stay below width x height).
    rect = {3, 0, 2, 1};
    EXPECT_EQ(ImageFromRoi(image, nullptr, &rect), nullptr);
    EXPECT_FAILED(1, -2, "ImageFromRoi", "roi is invalid");
    image->roi = {0, 0, 6, 5};
    rect = {0, 0, 6, 5};
    clear();
    EXPECT_EQ(ImageFromRoi(image, nullptr, &rect), nullptr);
    EXPECT_FAILED(1, -2, "ImageFromRoi", "roi is invalid");
    // A rectangle that would read before the buffer is refused, not read.
    rect = {-2, 0, 2, 1};
    clear();
    EXPECT_EQ(ImageFromRoi(image, nullptr, &rect), nullptr);
    EXPECT_FAILED(1, -2, "ImageFromRoi", "roi is invalid");
    // No rows left: CreateImage's message, null.
    rect = {0, 0, 2, 0};
    EXPECT_EQ(ImageFromRoi(image, nullptr, &rect), nullptr);
    EXPECT_FAILED(1, -5, "CreateImage", "width and height must be > 0");
    ReleaseImage(image);

    EXPECT_EQ(ImageFromRoi(nullptr, nullptr, &rect), nullptr);
    EXPECT_FAILED(1, -2, "ImageFromRoi", "image or image data to copy is NULL or roi is invalid");
}

TEST_F(Image, ImageFromRoiWithoutRectangle) {
    QVImage* image = numbered(4, 4);
    image->roi = {0, 1, 4, 2};
    QVImage* crop = ImageFromRoi(image, nullptr, nullptr);
    ASSERT_NE(crop, nullptr);
    EXPECT_EQ(crop->width, 4);
    EXPECT_EQ(crop->height, 2);
    EXPECT_EQ(crop->data[0], 4);
    EXPECT_EQ(crop->data[7], 11);
    ReleaseImage(crop);

    image->roi = {5, 0, 2, 2};
    EXPECT_EQ(ImageFromRoi(image, nullptr, nullptr), nullptr);
    EXPECT_FAILED(1, -5, "ImageFromRoi", "roi.left != 0 not supported");
    image->roi = {0, 0, 0, 2};
    EXPECT_EQ(ImageFromRoi(image, nullptr, nullptr), nullptr);
    EXPECT_FAILED(1, -2, "ImageFromRoi", "roi is invalid");
    // A roi reaching below the image is refused rather than read.
    image->roi = {0, 3, 4, 2};
    clear();
    EXPECT_EQ(ImageFromRoi(image, nullptr, nullptr), nullptr);
    EXPECT_FAILED(1, -2, "ImageFromRoi", "roi is invalid");

    image->roi = {0, 0, 4, 4};
    qv::imaging::testing::failAllocation(1);
    EXPECT_EQ(ImageFromRoi(image, nullptr, nullptr), nullptr);
    EXPECT_FAILED(1, -2, "ImageFromRoi", "image or image data is NULL, insufficient memory?");
    ReleaseImage(image);
}

TEST_F(Image, CopyImageData) {
    QVImage* source = numbered(2, 2);
    source->roi = {1, 0, 1, 2};
    // A larger destination keeps its width and height; the pixels go packed to its start.
    QVImage* large = CreateEmptyImage(3, 3, 0);
    short* buffer = large->data;
    EXPECT_EQ(CopyImageData(source, large), 0);
    EXPECT_EQ(large->data, buffer);
    EXPECT_EQ(large->width, 3);
    EXPECT_EQ(large->height, 3);
    EXPECT_EQ(large->roi.x, 1);
    EXPECT_EQ(large->roi.width, 1);
    const short packed[5] = {0, 1, 2, 3, 0};
    EXPECT_EQ(std::memcmp(large->data, packed, sizeof packed), 0);
    ReleaseImage(large);

    // Smaller in one direction: takes the source's size.
    QVImage* narrow = CreateEmptyImage(1, 5, 0);
    EXPECT_EQ(CopyImageData(source, narrow), 0);
    EXPECT_EQ(narrow->width, 2);
    EXPECT_EQ(narrow->height, 2);
    EXPECT_EQ(narrow->data[3], 3);
    ReleaseImage(narrow);

    // Without pixels: gets a buffer.
    QVImage* empty = CreateEmptyImage(0, 0, 0);
    EXPECT_EQ(CopyImageData(source, empty), 0);
    EXPECT_EQ(empty->width, 2);
    EXPECT_EQ(empty->data[2], 2);
    QVImage* big = numbered(5, 5);
    qv::imaging::testing::failAllocation(1);
    EXPECT_EQ(CopyImageData(big, empty), -3);
    EXPECT_FAILED(1, -3, "CopyImageData", "could not (re)allocate specified image data");
    EXPECT_EQ(empty->width, 2);
    ReleaseImage(big);

    EXPECT_EQ(CopyImageData(source, nullptr), -2);
    EXPECT_FAILED(1, -2, "CopyImageData", "original image or data or copy is NULL");
    EXPECT_EQ(CopyImageData(nullptr, empty), -2);
    ReleaseImage(empty);
    ReleaseImage(source);
}

TEST_F(Image, PixelAddressingIsYPlusOneTimesX) {
    QVImage* image = numbered(5, 4);
    EXPECT_EQ(QVGetPixel(image, 3, 0), image->data + 3);
    EXPECT_EQ(*QVGetPixel(image, 3, 2), 9);
    EXPECT_EQ(QVGetPixel(image, 0, 3), image->data);
    EXPECT_NE(QVGetPixel(image, 5, 4), nullptr);  // x = width, y = height pass
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(QVGetPixel(image, 6, 0), nullptr);
    EXPECT_FAILED(1, -5, "QVGetPixel", "x or y invalid");
    EXPECT_EQ(QVGetPixel(image, 0, 5), nullptr);
    ReleaseImage(image);
    EXPECT_EQ(QVGetPixel(nullptr, 0, 0), nullptr);
    EXPECT_FAILED(1, -2, "QVGetPixel", "image is NULL");
}

TEST_F(Image, LineAddressingUsesTheRoiWidth) {
    QVImage* image = numbered(5, 4);
    image->roi = {2, 1, 3, 2};  // left and top are not added
    EXPECT_EQ(QVGetImageLine(image, 1), image->data + 3);
    EXPECT_EQ(QVGetImageLineFast(image, 3), image->data + 9);
    EXPECT_EQ(QVGetImageLine(image, 2), nullptr);
    EXPECT_FAILED(1, -5, "QVGetImageLine", "lineIdx > roi.height-1 ");
    // With roi.height 0 every line passes.
    image->roi.height = 0;
    clear();
    EXPECT_EQ(QVGetImageLine(image, 1000), image->data + 3000);
    EXPECT_EQ(count(), 0u);
    ReleaseImage(image);
    EXPECT_EQ(QVGetImageLine(nullptr, 0), nullptr);
    EXPECT_FAILED(1, -2, "QVGetImageLine", "image is NULL");
}

TEST_F(Image, ZeroImage) {
    QVImage* image = numbered(3, 3);
    EXPECT_EQ(ZeroImage(image), 0);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(image->data[i], 0);
    ReleaseImage(image);
    EXPECT_EQ(ZeroImage(nullptr), -2);
    EXPECT_FAILED(1, -2, "ZeroImage", "image or image data is NULL");
}

TEST_F(Image, RoiContainment) {
    QVImage* image = CreateEmptyImage(10, 10, 0);
    image->roi = {2, 3, 4, 5};
    QVRect same{2, 3, 4, 5};
    EXPECT_EQ(ImageRoiContainsRoi(image, &same), 1);
    const QVRect beyond[] = {{1, 3, 4, 5}, {2, 2, 4, 5}, {2, 3, 5, 5}, {2, 3, 4, 6}};
    for (const QVRect& r : beyond) EXPECT_EQ(ImageRoiContainsRoi(image, &r), 0) << r.x << r.y << r.width << r.height;
    image->roi = {0, 0, 10, 10};
    QVRect negative{-1, 0, 1, 1};
    EXPECT_EQ(ImageRoiContainsRoi(image, &negative), 0);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(ImageRoiContainsRoi(image, nullptr), -2);
    ReleaseImage(image);
    EXPECT_EQ(ImageRoiContainsRoi(nullptr, &same), -2);
    EXPECT_FAILED(1, -2, "ImageRoiContainsRoi", "input image is NULL");
}

TEST_F(Image, OpenCvHeaderOverTheCallersPixels) {
    short pixels[6 * 4] = {};
    pixels[7] = -123;
    IplImage* header = QV_Improc_DataToIplImage(pixels, 6, 4);
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->depth, IPL_DEPTH_16S);
    EXPECT_EQ(header->nChannels, 1);
    EXPECT_EQ(header->width, 6);
    EXPECT_EQ(header->height, 4);
    EXPECT_EQ(header->widthStep, 12);
    EXPECT_EQ(header->imageData, reinterpret_cast<char*>(pixels));
    EXPECT_EQ(header->imageDataOrigin, reinterpret_cast<char*>(pixels));
    EXPECT_EQ(cvGetReal2D(header, 1, 1), -123.0);
    cvReleaseImageHeader(&header);

    EXPECT_EQ(QV_Improc_DataToIplImage(nullptr, 6, 4), nullptr);
    EXPECT_FAILED(1, -2, "QV_Improc_DataToIplImage", "data is NULL");
    EXPECT_EQ(QV_Improc_DataToIplImage(pixels, -6, 4), nullptr);
    EXPECT_FAILED(1, -5, "QV_Improc_DataToIplImage", "could not create opencv image header for data");
    clear();
    EXPECT_EQ(QV_Improc_DataToIplImage(pixels, 40000, 40000), nullptr);  // over 2^31 bytes
    EXPECT_FAILED(1, -5, "QV_Improc_DataToIplImage", "could not create opencv image header for data");
}

}  // namespace
