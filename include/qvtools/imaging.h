/* QV_Tools imaging family: the image record, histograms and automatic thresholds.
 *
 * A QVImage carries one plane of signed 16-bit grey values with a region of interest. The
 * histogram and threshold functions work on plain 8-bit buffers (one byte per pixel), not on
 * QVImage records: a caller holding 16-bit pixels converts them to bytes first.
 *
 * Failures are logged through the log call (logging.h) under the function's exported name and
 * returned as a negative code, or as null for functions that return a pointer. */
#ifndef QVTOOLS_IMAGING_H
#define QVTOOLS_IMAGING_H

#include "qvtools/data.h"
#include "qvtools/export.h"

/* OpenCV's image header (IplImage, opencv2/core/types_c.h). */
struct _IplImage;

/* A grey-value image. Allocated zero-filled by the library and released only by ReleaseImage.
 * The record owns its pixel buffer, also a buffer adopted from the caller, and frees it with the
 * C runtime's free. The buffer holds width x height pixels, row after row (the product taken in
 * 32-bit signed arithmetic). Rectangles (QVRect) given to the functions below are read as left
 * column (x), top row (y), width and height. Every function that sets the image size sets roi to
 * (0, 0, width, height), except ResizeImage on an existing image, which keeps the roi. */
typedef struct QVImage {
    int tag;          /* caller-defined value, never interpreted by the library */
    short* data;      /* width x height pixels, or null */
    int height;       /* rows */
    int width;        /* pixels per row */
    int aux1;         /* caller-defined; zero at creation, copied only by CloneImage */
    int aux2;         /* caller-defined; zero at creation, copied only by CloneImage */
    QVRect roi;       /* region of interest: x is its left column, y its top row */
} QVImage;

QV_EXTERN_C_BEGIN

/* ---- Image record ------------------------------------------------------------------------ */

/* Creates an image of width x height zeroed pixels with the given tag. When width x height is
 * below 1 the record comes back without pixels (data null) and nothing is logged. Returns the
 * new record, or null after logging -3 "insufficient memory to create image". */
QV_API QVImage* CreateEmptyImage(int width, int height, int tag);

/* Creates an image (tag 0) from `pixels`:
 *  - pixels given, copy 0: adopts the buffer as it is (it must come from malloc; ReleaseImage
 *    frees it); no size check;
 *  - pixels given, copy nonzero: copies width x height pixels into a new buffer;
 *  - pixels null: allocates width x height zeroed pixels (should that fail, the record comes
 *    back without pixels).
 * Returns the record, or null after logging -5 "width and height must be > 0" (copy or null
 * pixels with width x height <= 0) or -3 "insufficient memory to create image". */
QV_API QVImage* CreateImage(short* pixels, int width, int height, int copy);

/* Resizes *image to width x height pixels, creating it when *image is null. Existing pixels are
 * kept as far as they reach; new ones are undefined. Width and height are set, the roi is kept.
 * Returns 0; -5 "width and height must be > 0" when width x height < 1 (checked first); -2
 * "image is NULL" for a null `image`; -3 (logged at level 0) "could not (re)allocate specified image data" when
 * no buffer could be had. When growing an
 * existing buffer fails, the old buffer is freed, "could not realloc memory" is logged at level 0
 * with code -3 and 0 is still returned (kept on purpose); the image is then left without pixels
 * (data null) rather than pointing at the freed buffer. */
QV_API int ResizeImage(QVImage** image, int width, int height);

/* Frees the pixel buffer (adopted or not) and the record. Null is accepted. Always returns 0. */
QV_API int ReleaseImage(QVImage* image);

/* Gives an image new pixels of width x height. copy nonzero: the buffer is reused when the size
 * already matches, else reallocated, and the caller's pixels are copied; copy 0: the old buffer
 * is freed and the caller's (malloc'ed) buffer adopted. Sets width, height, roi.width and
 * roi.height; roi.x and roi.y are kept. Returns 0, -2 "image or image data is NULL",
 * -5 "height or width invalid" (width x height < 1; image untouched), or -3 "could not
 * (re)allocate specified image data" when the copy buffer cannot be had (image untouched). */
QV_API int SetImageData(QVImage* image, int width, int height, short* pixels, int copy);

/* Copies an image with its pixels, aux1, aux2 and roi; the copy gets `tag`. Returns the copy, or
 * null after -2 "image or image data to copy is NULL" or, when the copy cannot be made, level 0
 * -3 "could not clone image -> insufficient memory?". */
QV_API QVImage* CloneImage(const QVImage* image, int tag);

/* Copies a region into a new image. `unused` is ignored.
 * With `rect`: valid only when rect.width x (rect.y + rect.height) <= width x height - 1,
 * rect.x + rect.width <= roi.width and rect.y + rect.height <= roi.height, else null after
 * -2 "roi is invalid". Rows are read with the stride roi.width (not width), starting at pixel
 * (rect.y + r) x roi.width + rect.x. A rectangle whose rows would be read outside the source buffer is
 * also refused with -2 "roi is invalid". The new image is clipped to the roi; with no rows left
 * it is null (after CreateImage's message).
 * Without `rect`: copies the image's own roi (whole rows only) in one block from pixel
 * roi.y x roi.width. Null after -2 "roi is invalid" (empty roi), -5 "roi.left != 0 not
 * supported" (roi.x not 0), or -2 "image or image data is NULL, insufficient memory?".
 * Null image or pixels: -2 "image or image data to copy is NULL or roi is invalid". */
QV_API QVImage* ImageFromRoi(const QVImage* image, void* unused, const QVRect* rect);

/* Copies source's roi and its width x height pixels into destination. A destination at least as
 * wide and as high as the source keeps its buffer, width and height (the pixels are then packed
 * at its start, kept on purpose); otherwise its buffer is resized to the source's size and it
 * takes the source's width and height. Returns 0, -2 "original image or data or copy is NULL", or
 * -3 "could not (re)allocate specified image data" (destination untouched). */
QV_API int CopyImageData(const QVImage* source, QVImage* destination);

/* Returns data + (y + 1) x x (32-bit unsigned product): this addressing, not y x width + x, is
 * the library's pixel access and is kept as it is; the pointer may lie beyond the buffer for
 * large x and y. x = width and y = height are accepted. Null after -2 "image is NULL" or
 * -5 "x or y invalid" (x > width or y > height). */
QV_API short* QVGetPixel(const QVImage* image, unsigned int x, unsigned int y);

/* Returns data + roi.width x line (roi.x and roi.y are not added). Null after -2 "image is
 * NULL" or -5 "lineIdx > roi.height-1 " (line > roi.height - 1 in unsigned 32-bit arithmetic, so
 * every line passes when roi.height is 0). */
QV_API short* QVGetImageLine(const QVImage* image, unsigned int line);

/* As QVGetImageLine without any check. */
QV_API short* QVGetImageLineFast(const QVImage* image, unsigned int line);

/* Sets width x height pixels to 0. Returns 0 or -2 "image or image data is NULL". */
QV_API int ZeroImage(QVImage* image);

/* 1 when rect lies inside the image's roi, 0 when not (also for negative left or top), -2 "input
 * image is NULL" or -2 "input roi is NULL". */
QV_API int ImageRoiContainsRoi(const QVImage* image, const QVRect* rect);

/* Wraps the caller's width x height 16-bit pixels in an OpenCV IplImage header (IPL_DEPTH_16S,
 * one channel, OpenCV's row stride) without copying. The caller releases the header with
 * cvReleaseImageHeader; the pixels stay the caller's. Returns the header, or null after -2 "data
 * is NULL" or -5 "could not create opencv image header for data". */
QV_API struct _IplImage* QV_Improc_DataToIplImage(short* pixels, int width, int height);

/* ---- Histograms and automatic thresholds --------------------------------------------------- */

/* Automatic threshold methods, the `method` argument of QV_ImageProcessing_FindAutoThreshold. */
typedef enum QVThresholdMethod {
    eThresholdOtsu = 1,
    eThresholdMoments = 2,
    eThresholdMaxEntropy = 3,
    eThresholdHuang = 4,
    eThresholdLi = 5,
    eThresholdMean = 6,
    eThresholdShanbhag = 7,
    eThresholdTriangle = 8,
    eThresholdYen = 9,
    eThresholdPercentile = 16,
    eThresholdRenyiEntropy = 17
} QVThresholdMethod;

/* Counts the `count` bytes at `data` into 256 bins (bin i counts the bytes of value i); the bins
 * are cleared first. width and height are not used. Returns 0, or -3 "imgPtr is NULL" (also
 * -3 "hist is NULL" for a null histogram). */
QV_API int QV_ImageProcessing_CreateHistogram(const unsigned char* data, unsigned int count, int width,
                                              int height, unsigned int* hist);

/* Box mean of a 256-bin histogram: destination[i] is the sum of source[i-radius..i+radius]
 * (indices outside 0..255 skipped) divided, in unsigned integer division, by the number of bins
 * added. A negative radius adds no bins and leaves every destination bin 0. Returns 0, or -3
 * "sourceHist is NULL" (also -3 "destHist is NULL"). */
QV_API int QV_ImageProcessing_SmoothHistogram(const unsigned int* source, int radius, unsigned int* destination);

/* Threshold of the 8-bit image of width x height bytes at `data` by `method` (QVThresholdMethod).
 * Returns the threshold (0..255), -1 where the method finds none, 0 (silently) for a number that
 * names no method, or -3 with "imageData is NULL and img height and width is not > 0" (null data,
 * width or height < 1) or a working-array memory message.
 * Degenerate histograms: a histogram with fewer than two occupied bins gives -1 for Huang and
 * Moments; for Li, an image whose pixels are all 0 gives 0; an iteration of Li that would repeat
 * itself forever stops and returns its current threshold. The mean method forms each product
 * grey value x count in 32 bits, which can wrap once one grey value holds more than 16843009 pixels;
 * Huang sums grey value x count over its classes in signed 32-bit integers, which wrap once the
 * sum passes 2^31 - 1 (both kept as they are). */
QV_API int QV_ImageProcessing_FindAutoThreshold(const unsigned char* data, int width, int height, int method);

/* Maps value linearly: result = trunc((dstMax - dstMin) / (srcMax - srcMin) x value + dstMin) in
 * single precision. The value is scaled from 0, not from srcMin (intended: srcMin only enters
 * through the width of the source range). A mapped value that is not finite or has no 32-bit
 * integer (an empty source range, a huge value) gives INT_MIN, as the x86-64 conversion does.
 * Returns 0; -5 at level 2 "destination interval has size 0, cannot map value" (result set to 0);
 * -3 "result is NULL". */
QV_API int QV_ImageProcessing_MapRange(int value, int* result, int srcMin, int srcMax, int dstMin, int dstMax);

QV_EXTERN_C_END

/* ---- Filters and morphology ---------------------------------------------------------------- */

/* The functions below filter OpenCV images. Every image argument is an OpenCV array as OpenCV's
 * C interface passes it, a CvArr* (normally an IplImage*, for most functions also a CvMat*).
 * OpenCV declares CvArr as void, so the arguments are declared void* here and this header needs
 * no OpenCV header; a C or C++ caller passes its IplImage* as it is. Functions that read the
 * region of interest (the gradients and the combined optimal filter) need IplImage headers.
 *
 * Every function returns 0 on success. A null image is logged at level 1 with code -2 and the
 * message given below, and -2 is returned. Images whose sizes, depths or channel counts do not
 * fit the OpenCV calls made, and parameters that OpenCV refuses, are logged at level 1 with
 * -5 "OpenCV error in <OpenCV function>: <OpenCV's reason>" (-3 when memory ran out) and that
 * code is returned; the destination may then be partly written.
 * The fixed kernels are 3x3 integer kernels, applied by cvFilter2D at the kernel centre (as a
 * correlation, with OpenCV's replicated border), rows listed top to bottom. Three functions
 * smooth the caller's image in place before filtering (3x3 Gaussian): the Y direction of the
 * optimal filter, the convolution and the combined optimal filter; the same image must not be
 * in use elsewhere meanwhile. */

QV_EXTERN_C_BEGIN

/* Canny edges: cvCanny(source, destination, lowThreshold, highThreshold, aperture).
 * Null image: "srcImg and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_CannyFilter(const void* source, void* destination, double lowThreshold,
                                          double highThreshold, int aperture);

/* cvSmooth(source, destination, smoothType, param1, param2, param3, param4), every parameter
 * passed through (smoothType is OpenCV's CV_BLUR_NO_SCALE, CV_BLUR, CV_GAUSSIAN, CV_MEDIAN or
 * CV_BILATERAL). Null image: "srcImg and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_SmoothingFilter(const void* source, void* destination, int smoothType, int param1,
                                              int param2, double param3, double param4);

/* Histogram equalisation of an 8-bit image: cvEqualizeHist(source, destination).
 * Null image: "srcImg and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_EqualizeHistOpenCV(const void* source, void* destination);

/* Laplacian 1 1 1 / 1 -8 1 / 1 1 1 of image into destination.
 * Null image: "img and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_Laplace(const void* image, void* destination);

/* destination = source + Laplacian(source) (the kernel of QV_ImageProcessing_Laplace), with
 * OpenCV's saturating addition; the Laplacian goes to a temporary image of the source's size,
 * depth and channel count. The Laplacian is added, not subtracted (kept as it is).
 * Null image: "srcImg and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_SharpenImage(const void* source, void* destination);

/* Gradient across the columns of an 8-bit one-channel IplImage, over its region of interest:
 * 3x3 Gaussian smoothing, Sobel first derivative in x (aperture 3), absolute value saturated to
 * 8 bits. destination (8-bit, the size of the source's region) receives that absolute value
 * added to zero (its previous content is not used). Null image: "srcImg and/or destImg image is
 * NULL"; a source that is not an IplImage: -5 "srcImg is not an IplImage". */
QV_API int QV_ImageProcessing_GradientImage_XDirection(const void* source, void* destination);

/* Sobel first derivative in y (aperture 3, no smoothing) of source into destination. The
 * destination's region of interest is first set to the source's and stays set. Both must be
 * IplImages (else -5 "srcImg and/or destImg is not an IplImage"); a 16-bit signed destination
 * keeps the sign. Null image: "srcImg and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_GradientImage_YDirection(const void* source, void* destination);

/* Filters image with -3 -10 -3 / 0 0 0 / 3 10 3 (the change from the row above to the row
 * below; no smoothing, image untouched). Null image: "img and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_OptimalSobelFilter_XDirection(const void* image, void* destination);

/* Smooths image in place (3x3 Gaussian), then filters it with -3 0 3 / -10 0 10 / -3 0 3 (the
 * change from the left column to the right one). Unlike the X direction this one changes its
 * input. Null image: "img and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_OptimalSobelFilter_YDirection(void* image, void* destination);

/* The combined optimal filter over the region of interest of an IplImage: smooths image in place
 * (3x3 Gaussian) and fills destination (8-bit, the size of the region) from two 8-bit work images
 * that start cleared. Both kernel passes (the X, then the Y kernel above) read the second work
 * image instead of the smoothed source, a sequence kept as it is: the destination's region
 * therefore comes out 0 while the input is left smoothed. Null image: "img and/or destImg image
 * is NULL"; an image that is not an IplImage: -5 "img is not an IplImage". */
QV_API int QV_ImageProcessing_OptimalSobelFilter(void* image, void* destination);

/* Filters image with 0 -1 0 / 0 1 0 / 0 0 0: each pixel minus the pixel above it.
 * Null image: "img and/or destImg image is NULL". */
QV_API int QV_ImageProcessing_SobelEdgeFilter(const void* image, void* destination);

/* Smooths image in place (3x3 Gaussian), then filters it with -1 -1 -1 / -1 c -1 / -1 -1 -1,
 * c = centreWeight (c = 8 gives 0 on constant areas). Null image: "img and/or destImg image is
 * NULL". */
QV_API int QV_ImageProcessing_Convolution(void* image, void* destination, int centreWeight);

/* High pass: with blurRadius >= 1 and medianRadius >= 1, destination = median of aperture
 * 2 x medianRadius + 1 of (source - box mean of aperture 2 x blurRadius + 1 of source), the
 * difference saturated as OpenCV subtracts; otherwise destination is a plain copy of source.
 * Null image: "src and/or dst image is NULL". */
QV_API int QV_ImageProcessing_HighPassFilter(const void* source, void* destination, int blurRadius,
                                             int medianRadius);

/* Morphological closing (dilation, then erosion, each `iterations` times) of source into
 * destination with a 3x3 cross anchored at its centre. `unused` is ignored. The structuring
 * element is created on every call and not released (a small leak per call, kept as it is).
 * Null images: "i_pSrcImg image is NULL", then "i_pDestImg image is NULL". */
QV_API int QV_ImageProcessing_Closing(void* unused, const void* source, void* destination, int iterations);

QV_EXTERN_C_END

/* ==== Blob detection ========================================================================
 *
 * Finds the outer contours of the regions of a binary 8-bit OpenCV image (any nonzero pixel is
 * foreground, regions are 8-connected; the outermost row and column of the image, or of its roi,
 * are cleared before the search and never belong to a region), keeps one record per region (a
 * blob) with its contour points and geometric features, filters blobs by a feature range and
 * draws them. Detection objects are kept by a process-wide registry under integer ids; the C
 * functions below work through those ids. The OpenCV types are only declared here: callers that
 * pass images, colours or offsets include OpenCV's C headers themselves. */

struct CvSeq;
struct CvMemStorage;
struct CvScalar;
struct CvPoint;

/* The minimum-area rotated rectangle of a blob, laid out as OpenCV's CvBox2D. */
typedef struct QVBox2D {
    QVPoint2f center;  /* center x, center y */
    float width;
    float height;
    float angle;       /* degrees, as OpenCV gives it */
} QVBox2D;

/* One blob. Fields that are not computed hold the values noted; the C functions hand out copies. */
typedef struct QV_BLOB_INFO {
    unsigned int id;                /* key of the blob within its detection object */
    unsigned long long reserved[3]; /* zero; not used by the library */
    double area;                    /* absolute contour area; -1 until computed */
    double perimeter;               /* closed contour length; 0 until computed */
    double feature3;                /* -1; not computed by the library */
    double feature4;                /* -1; not computed by the library */
    float feature5;                 /* -1; not computed by the library */
    QVRect boundingRect;            /* upright bounding rectangle; zero until computed */
    QVBox2D minAreaRect;            /* minimum-area rotated rectangle; zero until computed */
    QVArray* points;                /* the contour's points (eIntPoint2d), owned by the detection;
                                       null when the array could not be allocated */
    struct CvSeq* contour;          /* the contour in the detection's memory; its h_prev/h_next
                                       links form the detection's contour chain */
} QV_BLOB_INFO;

/* The feature a blob filter tests. A blob is kept only when min < feature < max (both strict);
 * a feature of exactly -1 (not computed) always fails. */
typedef enum EFilterTypeBlobs {
    eBlobFilterArea = 1,         /* area */
    eBlobFilterPerimeter = 2,    /* perimeter */
    eBlobFilterFeature3 = 3,     /* feature3 (never computed: every blob fails) */
    eBlobFilterNone = 7,         /* no feature: every blob fails, without a message */
    eBlobFilterAngle = 8,        /* minAreaRect angle */
    eBlobFilterAspect = 16,      /* boundingRect height / boundingRect width */
    /* Not filters: they make every int a value of the type, so that any number can be passed
     * (every number not listed above is an invalid filter type). */
    eBlobFilterRangeLow = -0x7fffffff - 1,
    eBlobFilterRangeHigh = 0x7fffffff
} EFilterTypeBlobs;

QV_EXTERN_C_BEGIN

/* Copies `source` (its roi, if it has one) into an 8-bit one-channel image, creating it when
 * `temp` is null (and releasing it afterwards); a given `temp` (the source itself allowed) is
 * overwritten by the search. Then registers a new detection object, detects its blobs (features
 * computed when calculate is nonzero) and stores the search's result (the number of contours
 * found, or a negative code) through `count` when not null. `unused` is ignored.
 * Returns the new detection id (ids start at 0 and are never given out twice), or: level 0 -2
 * "source image is NULL"; level 0 -5 "temp image has wrong type or wrong depth" (temp not
 * one channel of IPL_DEPTH_8U); -5 "could not convert source image into temp image" (OpenCV
 * refused the conversion, e.g. sizes or channels that differ). */
QV_API int QV_BlobDetection_DetectBlobs(void* unused, struct _IplImage* source, struct _IplImage* temp,
                                        int calculate, int* count);

/* Removes the blobs of detection `id` that fail the filter (EFilterTypeBlobs) and unlinks their
 * contours from its chain; with release nonzero their point arrays are freed. The chain keeps its
 * first contour even when that blob is removed, so drawing still starts with (and draws) it.
 * Returns the number removed, or -5 "could not achieve specified blob detection object". */
QV_API int QV_BlobDetection_FilterDetectedBlobs(int id, int filterType, double min, double max, int release);

/* Filters a pointer array of QV_BLOB_INFO records in place: records that pass stay in their order,
 * null elements stay; a failing record is dropped and its contour unlinked from its chain, and with
 * release nonzero the record is freed (free()) with its point array; a registered detection
 * that shares that array (records from QV_BlobDetection_GetBlobs) holds null for it from then on,
 * and other copies of the record are left with a dangling pointer. Returns the number
 * removed, or -2 "input or output array is NULL", or -5 "array does not hold blob pointers"
 * (an array of inline values). */
QV_API int QV_BlobDetection_FilterBlobs(QVArray* blobs, int filterType, double min, double max, int release);

/* Draws the contour chain of detection `id` into `image` (contour lines in `color` of `thickness`,
 * filled for a negative thickness, shifted by `offset`). Returns 0, -5 "could not achieve specified
 * blob detection object", or the failures of QV_BlobDetection::drawBlobs. */
QV_API int QV_BlobDetection_DrawDetectedBlobs(int id, struct _IplImage* image, struct CvScalar color,
                                              int thickness, struct CvPoint offset);

/* Appends to `output` (a pointer array) a malloc'ed copy of every blob record of detection `id` in
 * id order; the caller frees the copies (e.g. ReleaseArray(output, 1)), the point arrays and
 * contours stay the detection's. Returns 0, -2 "output array is NULL", -5 "could not achieve
 * specified blob detection object", -5 "array does not hold blob pointers", or -3 "not enough
 * memory to copy blob record" (the copies made so far stay appended). */
QV_API int QV_BlobDetection_GetBlobs(int id, QVArray* output);

/* Releases detection `id` with its contours and point arrays. Returns 0 or -5 "blob detection with
 * specified id not found - cannot be released". */
QV_API int QV_BlobDetection_ReleaseBlobDetection(int id);

/* Draws for each non-null record of the pointer array `blobs` the ellipse inscribed in its
 * minAreaRect: center rounded to the nearest pixel, half axes width / 2 and height / 2 (rounded),
 * the rectangle's angle, a whole turn, in `color` with `thickness` (filled when negative),
 * 8-connected. Returns 0, -2 "blob array or destination image is NULL", -5 "array does not hold
 * blob pointers", or -5 "could not draw blob ellipses: <OpenCV's reason>". */
QV_API int QV_BlobDetection_DrawBlobsEllipses(const QVArray* blobs, struct _IplImage* image,
                                              struct CvScalar color, int thickness);

QV_EXTERN_C_END

#ifdef __cplusplus
#include <map>

namespace qv { namespace imaging { struct BlobRegistryAccess; } }

/* A detection object: the memory its contours live in, its blobs by id and its contour chain.
 * Copying is not allowed (the object owns its storage and point arrays). */
class QV_API QV_BlobDetection {
public:
    QV_BlobDetection();
    /* Releases the storage and every point array (clearBlobs(true, true)). */
    ~QV_BlobDetection();
    QV_BlobDetection(const QV_BlobDetection&) = delete;
    QV_BlobDetection& operator=(const QV_BlobDetection&) = delete;

    /* Finds the outer contours of `image` (8-bit, one channel; the image is overwritten) and
     * stores one blob per nonempty contour, ids counting on from the number of blobs held, in the
     * order of OpenCV's contour chain. A chain still held from an earlier search is kept and the
     * new one is appended to it (an id that meets a blob still held is not stored). Returns the
     * number of contours found, or -2 "input image is NULL", -5 "contour search failed:
     * <OpenCV's reason>". */
    int detectBlobs(struct _IplImage* image, bool calculate);
    unsigned int getNumBlobs() const;
    /* Empties the map (freeing the point arrays when releasePoints) and forgets the chain; with
     * releaseStorage the contour memory is released too. */
    void clearBlobs(bool releaseStorage, bool releasePoints);
    /* Draws the chain from its first contour. Returns 0, -2 "destination image is NULL", -5 "no
     * blobs available to draw, call detectBlobs first", -5 "could not draw blobs: <reason>". */
    int drawBlobs(struct _IplImage* image, CvScalar color, int thickness, CvPoint offset);
    /* calcBlobFeatures on every blob in id order; returns the number of blobs. */
    int calcAllBlobFeatures();
    /* Removes (and unlinks) the blobs that filterBlob rejects; returns the number removed. */
    int filterAllBlobs(EFilterTypeBlobs type, double min, double max, bool releasePoints);
    /* Area, perimeter, minAreaRect and boundingRect of the blob's contour. Returns 0 or -2
     * "cannot calculate blob features, cv contour sequence pointer of blob is NULL". */
    static int calcBlobFeatures(QV_BLOB_INFO& info);
    /* True when the blob passes; -5 "invalid filter type" (and false) for a type not listed. */
    static bool filterBlob(QV_BLOB_INFO& info, EFilterTypeBlobs type, double min, double max);
    std::map<unsigned int, QV_BLOB_INFO> getBlobs() const;

private:
    friend struct qv::imaging::BlobRegistryAccess;
    struct CvMemStorage* m_storage;
    std::map<unsigned int, QV_BLOB_INFO> m_blobs;
    struct CvSeq* m_firstContour;
};

/* The registry of detection objects: one per process, built when the library is loaded and
 * reached through getManager. */
class QV_API QV_BlobDetectionManager {
public:
    static QV_BlobDetectionManager* getManager();
    /* Takes ownership; returns the new id. */
    int AddBlobDetection(QV_BlobDetection* detection);
    /* The object under `id`, or null. */
    QV_BlobDetection* getBlobDetection(int id);
    /* Clears and deletes the object under `id`. Returns 0, or -5 "blob detection with specified id
     * not found - cannot be released", or -1 "exception during release of blob detection object". */
    int releaseBlobDetection(int id);
private:
    friend struct qv::imaging::BlobRegistryAccess;
    QV_BlobDetectionManager();
    ~QV_BlobDetectionManager();
    QV_BlobDetectionManager(const QV_BlobDetectionManager&) = delete;
    QV_BlobDetectionManager& operator=(const QV_BlobDetectionManager&) = delete;

    int m_nextId;
    std::map<int, QV_BlobDetection*> m_detections;
};
#endif /* __cplusplus */

#endif
