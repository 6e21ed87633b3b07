/*
 * tov: exact image processing on images in memory, plain or tiled.
 *
 * Conventions of the whole interface
 *
 * Images. Every picture is described by a TovImage header. The caller owns headers, pixels, regions, masks and tile
 * records; the library borrows them for the length of a call. Image parameters are not const, since some operations
 * lend a header's maskROI for the length of a call and put it back.
 *
 * Regions. An image is processed from the first pixel of its own region (roi), or from its first pixel without one.
 * Where several images take part, the rectangle has the smallest width and the smallest height of their regions,
 * whatever the offsets of those. A region that reaches beyond the right or bottom edge is clipped; one that begins
 * beyond them is empty, and the operation ends having done nothing. Pixels outside the rectangle keep their values.
 *
 * Channels. Without a channel of interest (roi->coi is 0) all channels are processed but alpha, which is left alone;
 * with one, that channel alone, which may be alpha.
 *
 * Masks. maskROI is a plain 1-bit image whose first region pixel belongs to the first region pixel of its owner. Where
 * a mask's bit is clear the destination keeps its value. Several masks in one call are combined by a logical and.
 *
 * Errors. Operations on images return nothing. A failure is reported to the calling thread's handler (see
 * TovErrorCallback) and leaves a negative status that tovGetErrStatus gives; success never clears it, though tovErode
 * begins by clearing it. The handler that a thread starts with ends the process with exit code 1: an application that
 * wants to go on after a failure installs its own by tovRedirectError, on each thread that calls the library. A
 * destination is untouched after a report, unless the operation says otherwise; of a tiled image, the rectangles
 * already done stay written.
 *
 * Threads. Any thread may call any operation. Status and handler belong to the thread; the library holds no lock and
 * starts no thread, and callbacks run on the calling thread. A record that is in use by one call must not be used by
 * another call at the same time.
 */
#ifndef TOV_H
#define TOV_H

#include <stdint.h>

#if defined(_WIN32)
#define TOV_API __declspec(dllimport)
#if defined(TOV_BUILDING)
#undef TOV_API
#define TOV_API __declspec(dllexport)
#endif
#elif defined(__GNUC__)
#define TOV_API __attribute__((visibility("default")))
#else
#define TOV_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------------------------
 * Status
 * --------------------------------------------------------------------------------------------------------------- */

/* 0 is success, failures are negative. A fault found in an image's mask is the image's own code minus 100. */
typedef int32_t TovStatus;

enum {
    TOV_STS_OK = 0,
    TOV_STS_BACKTRACE = -1,          /* an inner operation has reported a failure; one such report per level */
    TOV_STS_TILE_FAILURE = -2,       /* a tile could not be had */
    TOV_STS_INTERNAL = -3,           /* bad internal state */
    TOV_STS_NO_MEMORY = -4,          /* out of memory */
    TOV_STS_BAD_ARG = -5,            /* bad argument; the report's context says which */
    TOV_STS_UNSUPPORTED = -6,        /* unsupported function */
    TOV_STS_NO_CONVERGENCE = -7,     /* iteration failed to converge */
    TOV_STS_AUTOTRACE = -8,          /* automatic trace, never a failure */
    TOV_STS_NULL_IMAGE = -9,         /* null image header */
    TOV_STS_BAD_IMAGE_SIZE = -10,    /* width, height or imageSize */
    TOV_STS_BAD_ROI_OFFSET = -11,    /* negative offset of a region */
    TOV_STS_BAD_DATA_OR_TILE = -12,  /* imageData and tileInfo both null or both set */
    TOV_STS_BAD_WIDTHSTEP = -13,     /* widthStep */
    TOV_STS_BAD_COLOR_SEQ = -14,     /* colour model or channel sequence */
    TOV_STS_BAD_CHANNELS = -15,      /* number of channels */
    TOV_STS_BAD_1U_CHANNELS = -16,   /* a 1-bit image of several channels */
    TOV_STS_BAD_DEPTH = -17,         /* depth */
    TOV_STS_BAD_ALPHA_CHANNEL = -18, /* an alpha channel that is not the last channel */
    TOV_STS_BAD_DATA_ORDER = -19,    /* data order */
    TOV_STS_BAD_ORIGIN = -20,        /* origin */
    TOV_STS_BAD_ALIGN = -21,         /* row alignment */
    TOV_STS_NULL_CALLBACK = -22,     /* a tile record without callback */
    TOV_STS_BAD_TILE_SIZE = -23,     /* a tile size that is not a positive multiple of 8 */
    TOV_STS_BAD_COI = -24,           /* channel of interest */
    TOV_STS_BAD_ROI_SIZE = -25,      /* an empty region */
    TOV_STS_TILED_MASK = -26         /* a tiled mask */
};

/*
 * An error handler. status is the failure; funcName names the operation, context says what was found, file names the
 * source module and line the report's line there. All texts are static. The result matters only for reports of
 * TOV_STS_BACKTRACE: 0 lets some operations run on, anything else ends them.
 */
typedef TovStatus (*TovErrorCallback)(TovStatus status, const char* funcName, const char* context, const char* file,
                                      int32_t line);

/* The library's version; a static record of static texts. */
typedef struct TovLibVersion {
    int32_t major;
    int32_t minor;
    int32_t build;
    const char* name;
    const char* version;
    const char* internalVersion;
    const char* buildDate;
    const char* compilerTag;
} TovLibVersion;

/* Returns the calling thread's status: that of its last failure, or what tovSetErrStatus stored since. 0 at first. */
TOV_API TovStatus tovGetErrStatus(void);

/* Stores status, any value, as the calling thread's status. tovSetErrStatus(TOV_STS_OK) clears a failure. */
TOV_API void tovSetErrStatus(TovStatus status);

/*
 * Installs handler for the calling thread and returns the one that was in force. Null installs the default handler,
 * which ends the process with exit code 1 and prints nothing.
 */
TOV_API TovErrorCallback tovRedirectError(TovErrorCallback handler);

/* Returns a static text for status; "Unknown error or status code" for one that has none. */
TOV_API const char* tovErrorStr(TovStatus status);

/* Returns the library's static version record. */
TOV_API const TovLibVersion* tovGetLibVersion(void);

/* ------------------------------------------------------------------------------------------------------------------
 * Images
 * --------------------------------------------------------------------------------------------------------------- */

/* Depths: bits per channel value, with the top bit for signed integers. Values are in the machine's byte order. */
#define TOV_DEPTH_SIGN UINT32_C(0x80000000)
#define TOV_DEPTH_1U UINT32_C(1) /* 8 pixels a byte, the leftmost in the most significant bit; one channel only */
#define TOV_DEPTH_8U UINT32_C(8)
#define TOV_DEPTH_8S UINT32_C(0x80000008)
#define TOV_DEPTH_16U UINT32_C(16)
#define TOV_DEPTH_16S UINT32_C(0x80000010)
#define TOV_DEPTH_32S UINT32_C(0x80000020)
#define TOV_DEPTH_32F UINT32_C(32) /* IEEE single precision */

enum {
    TOV_DATA_ORDER_PIXEL = 0, /* channels interleaved */
    TOV_DATA_ORDER_PLANE = 1  /* one plane per channel, height * widthStep bytes apart */
};

enum {
    TOV_ORIGIN_TL = 0, /* the first stored row is the top one */
    TOV_ORIGIN_BL = 1  /* the first stored row is the bottom one */
};

/* Row alignment in bytes. */
enum { TOV_ALIGN_4BYTES = 4, TOV_ALIGN_8BYTES = 8, TOV_ALIGN_16BYTES = 16, TOV_ALIGN_32BYTES = 32 };

/* What operations on neighbourhoods read beyond an image's edge. */
enum {
    TOV_BORDER_CONSTANT = 0,  /* the side's borderConst */
    TOV_BORDER_REPLICATE = 1, /* the nearest edge pixel */
    TOV_BORDER_REFLECT = 2,   /* mirrored, the edge pixel repeated: -1 reads 0, -2 reads 1 */
    TOV_BORDER_WRAP = 3       /* the other side, modulo the image's size */
};

/* Sides: the entries of borderMode and borderConst. TOV_SIDE_BIT(side) is a side's bit in a side mask. */
enum { TOV_SIDE_TOP = 0, TOV_SIDE_BOTTOM = 1, TOV_SIDE_LEFT = 2, TOV_SIDE_RIGHT = 3 };
#define TOV_SIDE_BIT(side) (1 << (side))
#define TOV_SIDES_ALL 15

/* What tovDeallocate frees. */
enum {
    TOV_IMAGE_HEADER = 1,
    TOV_IMAGE_DATA = 2,
    TOV_IMAGE_ROI = 4,
    TOV_IMAGE_TILE = 8,
    TOV_IMAGE_MASK = 16,
    TOV_IMAGE_ALL = 31
};

typedef struct TovImage TovImage;

/* A region of interest. */
typedef struct TovROI {
    int32_t coi;     /* 0: all channels; n: the one-based channel n alone */
    int32_t xOffset; /* left edge in pixels, not negative */
    int32_t yOffset; /* first row, not negative */
    int32_t width;   /* in pixels, at least 1; may reach beyond the image */
    int32_t height;  /* in rows, at least 1; may reach beyond the image */
} TovROI;

/* The modes of a tile callback. */
enum { TOV_TILE_READ = 1, TOV_TILE_WRITE = 2, TOV_TILE_RELEASE = 4 };

/*
 * A tile server. For TOV_TILE_READ and TOV_TILE_WRITE it stores into image->tileInfo->tileData the address of tile
 * (xIndex, yIndex) with its current contents, or null if the tile can't be had; the library reads the field at once.
 * TOV_TILE_RELEASE ends the use of a tile: one got for writing is then final. Each answer stays valid until its own
 * release; several tiles may be held at once, of one image or of several, and a tile may be asked for many times in
 * one call. image is the header as the operation holds it, with the caller's tileInfo and imageId. After a failure a
 * tile whose request gave null is not released.
 */
typedef void (*TovTileCallback)(TovImage* image, int32_t xIndex, int32_t yIndex, int32_t mode);

/*
 * Describes a tiled image. Tile (col, row) holds the columns from col * width and the rows from row * height on, stored
 * like a small plain image of full tile size with the nChannels, depth, dataOrder and align of its image. Tiles whose
 * rows exceed 2^31 - 1 bytes are not asked for: each counts as one that can't be had.
 */
typedef struct TovTileInfo {
    TovTileCallback callBack;
    void* id;          /* the caller's own word */
    uint8_t* tileData; /* the callback's answer */
    int32_t width;     /* of a tile in pixels, a positive multiple of 8 */
    int32_t height;    /* of a tile in rows, a positive multiple of 8 */
} TovTileInfo;

/* An image header. Either imageData or tileInfo is set. */
struct TovImage {
    int32_t headerSize;     /* size of this record in bytes; no operation reads it */
    int32_t headerVersion;  /* 0; no operation reads it */
    int32_t nChannels;      /* at least 1, alpha included */
    int32_t alphaChannel;   /* 0: none; otherwise nChannels: alpha is the last channel */
    uint32_t depth;         /* TOV_DEPTH_* */
    char colorModel[4];     /* such as "GRAY" or "RGB", filled up with zeros */
    char channelSeq[4];     /* such as "G" or "BGRA", filled up with zeros */
    int32_t dataOrder;      /* TOV_DATA_ORDER_* */
    int32_t origin;         /* TOV_ORIGIN_*; row y is the y-th stored row in any case */
    int32_t align;          /* TOV_ALIGN_* */
    int32_t width;          /* in pixels, at least 1 */
    int32_t height;         /* in rows, at least 1 */
    TovROI* roi;            /* null: the whole image, all channels */
    TovImage* maskROI;      /* null: no mask; otherwise a plain 1-bit image */
    void* imageId;          /* the caller's own word */
    TovTileInfo* tileInfo;  /* of a tiled image, else null */
    int32_t imageSize;      /* bytes of pixel data */
    uint8_t* imageData;     /* first row; aligned to the values unless a chapter allows more; null for a tiled image */
    int32_t widthStep;      /* bytes from one row to the next, a multiple of the value's size */
    int32_t borderMode[4];  /* TOV_BORDER_* by side; the low two bits count */
    int32_t borderConst[4]; /* by side */
    uint8_t* imageDataOrigin; /* the block that tovAllocateImage made; null when imageData is the caller's */
};

/*
 * Makes a header; no pixels. roi, maskROI and tileInfo are stored as given and stay the caller's. colorModel and
 * channelSeq are texts of which up to four characters are taken, shorter ones filled up with zeros. widthStep and
 * imageSize are computed; border settings are the constant 0. roi and tileInfo are examined when the image is used.
 *
 * Returns a header that tovDeallocate frees, or null. Reported with the context "Incorrect data-ins", in this order:
 * TOV_STS_BAD_IMAGE_SIZE, _BAD_CHANNELS, _BAD_1U_CHANNELS, _BAD_COLOR_SEQ (a null text), _BAD_DEPTH,
 * _BAD_ALPHA_CHANNEL, _BAD_DATA_ORDER, _BAD_ORIGIN, _BAD_ALIGN, the mask's faults, and TOV_STS_BAD_IMAGE_SIZE again for
 * an image without tileInfo whose rows or pixels exceed 2^31 - 1 bytes. A tiled image is never refused for its size: a
 * widthStep or imageSize that does not fit is stored as 0. Null without a report means that memory ran out.
 */
TOV_API TovImage* tovCreateImageHeader(int32_t nChannels, int32_t alphaChannel, uint32_t depth, const char* colorModel,
                                       const char* channelSeq, int32_t dataOrder, int32_t origin, int32_t align,
                                       int32_t width, int32_t height, TovROI* roi, TovImage* maskROI, void* imageId,
                                       TovTileInfo* tileInfo);

/*
 * Allocates the pixels of a header that has neither imageData nor tileInfo, at any depth but TOV_DEPTH_32F, and sets
 * imageData (a multiple of align), imageDataOrigin, imageSize and widthStep. With doFill the whole block, row ends
 * included, is filled with the low bits of fillValue; otherwise its contents are left open.
 *
 * Reports TOV_STS_BAD_ARG for a null image, one that has imageData or tileInfo, and depth TOV_DEPTH_32F; the faults of
 * the header as tovCreateImageHeader does. When memory runs out nothing is reported and imageData stays null.
 */
TOV_API void tovAllocateImage(TovImage* image, int32_t doFill, int32_t fillValue);

/*
 * Frees the parts of an image that flags names (TOV_IMAGE_*) and sets their fields to null. Null image is ignored.
 * TOV_IMAGE_DATA frees only what tovAllocateImage made. TOV_IMAGE_MASK frees the mask with its region, data and header,
 * not a mask of the mask. A roi or tileInfo that the caller made, of the image or of its mask, must not be handed over:
 * leave TOV_IMAGE_ROI and TOV_IMAGE_TILE out, or set the field to null before.
 */
TOV_API void tovDeallocate(TovImage* image, int32_t flags);

/*
 * Sets borderMode to mode and borderConst to constVal, limited to the range of the image's depth, for each side whose
 * TOV_SIDE_BIT is in sides. image must not be null; it is not validated, and neither is mode.
 */
TOV_API void tovSetBorderMode(TovImage* image, int32_t mode, int32_t sides, int32_t constVal);

/* ------------------------------------------------------------------------------------------------------------------
 * Arithmetic
 *
 * Each destination may be one of the sources. Depths and data orders must agree; origin, align and sizes need not. Each
 * image contributes the channels that the head of this file says, and the numbers must agree. Pixel data may begin at
 * any address.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG with the comparison that failed, such as
 * "(nChSrcA != nChDst)", or with the source or destination whose tile could not be had; TOV_STS_NO_MEMORY with
 * "Out of memory" when two or more masks could not be merged. Masks without a common pixel end the call in silence.
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * dstImage = srcImageA + srcImageB, limited to the range of the depth. 32-bit float has no limit. 1-bit images take the
 * logical or. Null srcImageA is TOV_STS_BAD_ARG, "srcImageA==0".
 */
TOV_API void tovAdd(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);

/*
 * dstImage = srcImageA - srcImageB, limited to the range of the depth. 32-bit float has no limit. A 1-bit result is set
 * where A is set and B is clear.
 */
TOV_API void tovSubtract(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);

/* ------------------------------------------------------------------------------------------------------------------
 * Copying and filling
 *
 * Pixel data may begin at any address.
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * Copies srcImage to dstImage under the masks of both. depth and origin must agree, and dataOrder unless the images are
 * 1-bit or have one channel each. Nothing happens when both are the same header.
 *
 * The call also ends, without a report, when the thread's status is already negative: clear it by
 * tovSetErrStatus(TOV_STS_OK) first. Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG for
 * each of depth, origin and dataOrder that differs, and for differing numbers of channels; TOV_STS_TILE_FAILURE for a
 * tile; a failure of an inner step is followed by TOV_STS_BACKTRACE.
 */
TOV_API void tovCopy(TovImage* srcImage, TovImage* dstImage);

/*
 * Stores fillValue, limited to the range of the depth, into the region of image under its mask. A 1-bit image with a
 * mask has its mask inverted in place, and back, for the length of a call with fillValue 0.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_DEPTH for TOV_DEPTH_32F;
 * TOV_STS_TILE_FAILURE for a tile. The bits of a 1-bit image with a mask are set by inner steps: their failure is
 * followed by TOV_STS_BACKTRACE, and so is one that an earlier call left in the status, though the bits are set then.
 */
TOV_API void tovSet(TovImage* image, int32_t fillValue);

/* ------------------------------------------------------------------------------------------------------------------
 * Contrast curves
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * A piecewise curve. Segment i goes from key[i] to the value before key[i + 1]: there x becomes value[i] +
 * (x - key[i]) * factor[i], or value[i] where interpolate is 0, and the result wraps at the width of the depth. Values
 * below the first key and from the last one on stay as they are. Of two equal neighbouring keys the second one is never
 * met: the segment that the first one begins runs to the end of the range. The last value and factor are never read.
 * With interpolate 0 factor isn't read and may be null; otherwise it must not be, which isn't checked.
 */
typedef struct TovLUT {
    int32_t num;  /* of keys, at least 2 */
    int32_t* key; /* ascending, the first at least 0, the last at most 256 or 65536 */
    int32_t* value;
    int32_t* factor;
    int32_t interpolate;
} TovLUT;

/*
 * Maps each channel of srcImage through its curve into dstImage, under the masks of both. Depths 8U and 16U. lut has an
 * entry for each channel of srcImage; those of channels that take no part (alpha, or all but the channel of interest)
 * are not looked at. The curves are only read. depth and origin must agree, and dataOrder unless both images have one
 * channel. Both may be the same image. An image of one channel that is its own alpha ends the call in silence.
 *
 * The call also ends, without a report, when the thread's status is already negative: clear it by
 * tovSetErrStatus(TOV_STS_OK) first. Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG for
 * each comparison of the images that fails, for differing numbers of channels, and for the first fault of a curve;
 * TOV_STS_NO_MEMORY when there is none for the tables; TOV_STS_TILE_FAILURE for a tile. A failure of an inner step is
 * followed by TOV_STS_BACKTRACE.
 */
TOV_API void tovContrastStretch(TovImage* srcImage, TovImage* dstImage, TovLUT* const* lut);

/* ------------------------------------------------------------------------------------------------------------------
 * Alpha
 *
 * Depths 8U and 16U. A sample stands for a fraction of the largest value of its depth, max: 255 or 65535. Products are
 * floor(x * y / max) exactly. Each destination may be one of the sources; data orders may differ.
 *
 * Reports: TOV_STS_BAD_ARG with the comparison that failed; the code of a faulty header or mask with "Incorrect Image";
 * TOV_STS_NO_MEMORY, "No working memory"; TOV_STS_BACKTRACE, "Bad masks for images", when two or more masks could not
 * be merged, or when the thread's status was negative before; TOV_STS_TILE_FAILURE, "ERROR in Tiling callBack". Where
 * tiles of several images don't line up, a rectangle that crosses tiles is worked in a copy, and all its tiles are held
 * at once.
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * dstImage = srcImage * value, by value as a fraction of max; it is limited to 0 and max. Alpha channels are neither
 * read nor written, unless a region chooses them. With a channel of interest in one image the other gives its own, or
 * its only colour.
 */
TOV_API void tovMultiplySScale(TovImage* srcImage, TovImage* dstImage, int32_t value);

/* dstImage = srcImageA * srcImageB, sample by sample, with the rules of tovMultiplySScale. */
TOV_API void tovMultiplyScale(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage);

/* The operators of tovAlphaComposite. */
enum {
    TOV_COMPOSITE_OVER = 0,
    TOV_COMPOSITE_IN = 1,
    TOV_COMPOSITE_OUT = 2,
    TOV_COMPOSITE_ATOP = 3,
    TOV_COMPOSITE_XOR = 4,
    TOV_COMPOSITE_PLUS = 5
};

/*
 * dstImage = srcImageA operator srcImageB, by their alpha, for one of the six Porter-Duff operators.
 *
 * A's alpha comes from alphaImageA, or from srcImageA's own alpha channel when that is null. B's alpha comes from
 * alphaImageB; when that is null, from srcImageB's own alpha channel if alphaImageA is null too and there is one;
 * otherwise it is the complement of A's alpha at each pixel. The result alpha goes to alphaImageDst, which must have an
 * alpha channel, or to dstImage's alpha channel; without either it isn't written. An alpha image gives its alpha
 * channel or, without one, its first channel; its channel of interest doesn't count, its region and mask do.
 *
 * premulAlpha 1: the colours of A and B are multiplied by their alpha already; 0: they are plain. divideMode 0: integer
 * arithmetic in which each product is floor(x * y / max), and the result colour is multiplied by its alpha. divideMode
 * 1: double precision, the colour is divided by the result alpha, limited to max and rounded to the nearest sample,
 * ties to even.
 *
 * A channel of interest is all or nothing: dstImage and both sources have one, none of them alpha, or none has.
 * dstImage may be a source, and alphaImageDst an alpha source: in each row all colours are written before the alpha.
 */
TOV_API void tovAlphaComposite(TovImage* srcImageA, TovImage* srcImageB, TovImage* dstImage, int32_t compositeType,
                               TovImage* alphaImageA, TovImage* alphaImageB, TovImage* alphaImageDst,
                               int32_t premulAlpha, int32_t divideMode);

/* ------------------------------------------------------------------------------------------------------------------
 * Colour twist
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * A linear map of three colours. Row r of the matrix, data[4 * r] to data[4 * r + 3], has the weights of the three
 * input channels and the constant of output channel r; each entry stands for its value divided by 2 to the power of
 * scalingValue. The fourth row is kept and never read.
 */
typedef struct TovColorTwist {
    int32_t data[16];
    int32_t scalingValue; /* 0 to 31 */
} TovColorTwist;

/*
 * Copies 16 entries and a scaling value into a record of the caller's. Reports TOV_STS_BAD_ARG for a null pointer and
 * for a scalingValue outside 0 to 31, and leaves the record as it is then.
 */
TOV_API void tovSetColorTwist(TovColorTwist* cTwist, const int32_t* data, int32_t scalingValue);

/*
 * Maps the first three channels of srcImage to those of dstImage; further channels, alpha among them, are left alone,
 * and channels of interest don't count. Depths 8U and 16U; max is 255 or 65535. The images have the same depth, data
 * order and origin, three channels at least without alpha, and masks of their own origin. Both may be the same image.
 *
 * Each sum is exact. A sum that offset would take out of the range of the depth is limited first: with an offset from 0
 * to max - 1, sums below 0 give offset and sums from max + 1 - offset on give max; with a negative one down to
 * -(max - 1), sums below -offset give 0 and sums from max + 1 on give max + offset. Within the range the sum is
 * truncated and offset is added. An offset of max and more gives max, one of -max and less gives 0 everywhere.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG with the comparison that failed, for a
 * tile that can't be had, and for a mask that can't be made for lack of memory; TOV_STS_BACKTRACE, "error_tovAnd".
 * Where an image is tiled or has a mask, a negative status of the thread before the call ends it without a report:
 * clear it by tovSetErrStatus(TOV_STS_OK) first.
 */
TOV_API void tovApplyColorTwist(TovImage* srcImage, TovImage* dstImage, const TovColorTwist* cTwist, int32_t offset);

/* ------------------------------------------------------------------------------------------------------------------
 * Blur
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * Each pixel becomes the average of a window of nCols by nRows samples of its channel, in which it stands at (anchorX,
 * anchorY), counted from 0. Windows read the source outside its region and mask, and beyond its edge by its border
 * settings. All depths; those of the images agree, and their data orders unless dstImage has one channel. Both may be
 * the same image; in a tiled one windows that are larger than a tile, or that wrap, can then read blurred pixels.
 *
 * The average is the window's sum times the single-precision inverse of the area, truncated toward zero; a 1-bit result
 * is set where it is 0.5 or more. Sums of 32-bit images are running sums that round toward zero. The time doesn't
 * depend on the window. A window of 1 by 1 is a tovCopy.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG with the comparison that failed;
 * TOV_STS_BAD_ALPHA_CHANNEL for an image that is nothing but alpha; TOV_STS_BAD_CHANNELS for differing numbers of
 * channels; TOV_STS_NO_MEMORY, "Allocation failure", also where a tile that windows read can't be had, or where a mask
 * leaves no pixel; TOV_STS_TILE_FAILURE for a tile to write, and for one that is blurred in place, where results that
 * still wait are lost then. Masks that can't be merged are reported by "tovAnd" or "tovCopy". With a single mask a
 * negative status of the thread before the call ends it without a report.
 */
TOV_API void tovBlur(TovImage* srcImage, TovImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX,
                     int32_t anchorY);

/* ------------------------------------------------------------------------------------------------------------------
 * Convolution
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * A convolution kernel. tovCreateConvKernel fills it, and everything in it is turned round then: values has the given
 * coefficients in reverse order, and the anchor is counted from the other end.
 */
typedef struct TovConvKernel {
    int32_t nCols; /* at least 1 */
    int32_t nRows; /* at least 1 */
    int32_t anchorX;
    int32_t anchorY;
    int32_t* values; /* nCols * nRows, the record's own */
    int32_t nShiftR; /* how far results are shifted right; only its low five bits count, and 0 doesn't round */
} TovConvKernel;

/*
 * Makes a kernel of nCols by nRows coefficients, given row by row and copied. The pixel at (x, y) becomes the sum of
 * values[j * nCols + i] times the source at (x + anchorX - i, y + anchorY - j). A nShiftR other than 0 has each sum
 * rounded to an integer, of which the low 32 bits are shifted right by nShiftR & 31, toward minus infinity.
 *
 * Returns a record that tovDeleteConvKernel frees, or null. Reports TOV_STS_BAD_ARG for null values, a size below 1 and
 * an anchor outside the kernel, in this order, and TOV_STS_NO_MEMORY. Any number of calls, on any threads, may use a
 * kernel at the same time.
 */
TOV_API TovConvKernel* tovCreateConvKernel(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                           const int32_t* values, int32_t nShiftR);

/* The same, of coefficients from -128 to 127. */
TOV_API TovConvKernel* tovCreateConvKernelChar(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                               const int8_t* values, int32_t nShiftR);

/* Frees a kernel. Reports TOV_STS_BAD_ARG for null and for a record without values. */
TOV_API void tovDeleteConvKernel(TovConvKernel* kernel);

/* How the results r1 to rn of several kernels become one. */
enum {
    TOV_COMBINE_SUM = 0,       /* r1 + ... + rn */
    TOV_COMBINE_SUMSQ = 1,     /* r1 * r1 + ... + rn * rn */
    TOV_COMBINE_SUMSQROOT = 2, /* the square root of that */
    TOV_COMBINE_MAX = 3,       /* the largest */
    TOV_COMBINE_MIN = 4        /* the smallest */
};

/*
 * Convolves srcImage with nKernels (1 to 10) kernels into dstImage, at every depth but TOV_DEPTH_32F. Depths and data
 * orders agree; origins and sizes need not. Both may be the same header; with two headers over the same pixels,
 * neighbourhoods can read results. Neighbourhoods read the source outside its region and mask, and beyond its edge by
 * its border settings, whose constants are limited to the range of the depth. A result is rounded to the nearest
 * integer, ties to even, and limited to the range of the depth. Either both images have a channel of interest, or none.
 *
 * Sums are exact while their magnitude can't reach 2^24; beyond, they are stored in single precision on the way. With
 * one kernel TOV_COMBINE_SUMSQ gives the square of the result and TOV_COMBINE_SUMSQROOT its magnitude, unless nShiftR
 * isn't 0; any other method is taken then, known or not, and doesn't count.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ROI_OFFSET for a region that begins beyond
 * its image; TOV_STS_BAD_ARG with what is wrong with kernels, method or images; TOV_STS_NO_MEMORY, "Allocation
 * failure", also where a tile to read can't be had; TOV_STS_TILE_FAILURE, "Error get tile to write". After the last two
 * what was done before stays written. Masks that can't be merged are reported by "tovAnd". A mask without a common
 * pixel ends the call in silence.
 */
TOV_API void tovConvolve2D(TovImage* srcImage, TovImage* dstImage, TovConvKernel* const* kernel, int32_t nKernels,
                           int32_t combineMethod);

/* ------------------------------------------------------------------------------------------------------------------
 * Morphology
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * Each pixel becomes the least value of its channel in a square of 2 * nIterations + 1 pixels a side around it; at 1
 * bit it stays set where the whole square is set. Depths 1U, 8U and 16U. The images have the same depth, data order and
 * origin, and may be the same image. A channel of interest of dstImage says where a single channel goes.
 *
 * A square sees no more than one pixel around the rectangle, as regions and masks make it: that rim of srcImage, read
 * beyond the image's edges by its border settings, stands for all that lies farther out. A border constant counts with
 * its low bits, at 1 bit as set unless it is 0. A mask of either image selects pixels to write; squares see all pixels.
 * In place, a side that wraps reads rows as they are by then. The time hardly depends on nIterations; memory for 2 *
 * nIterations + 1 rows is needed.
 *
 * The status is set to TOV_STS_OK first. Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG
 * with what is wrong; TOV_STS_TILE_FAILURE, after which rows already done stay written. Masks that can't be merged are
 * reported by "tovAnd". Where memory can't be had, the call ends with the status TOV_STS_NO_MEMORY and no report;
 * dstImage is as it was.
 */
TOV_API void tovErode(TovImage* srcImage, TovImage* dstImage, int32_t nIterations);

/* ------------------------------------------------------------------------------------------------------------------
 * Mirror
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * Copies the region of srcImage to dstImage with its columns (flipAxis 1), its rows (0) or both (-1) in reverse order.
 * Rows are taken as they are stored, whatever origin says. Every depth but TOV_DEPTH_32F; depths agree, and data orders
 * unless both images have one channel. Both may be the same header, which then has no mask.
 *
 * A source's mask is read at the source pixel, a destination's at the destination pixel; a pixel that they don't let
 * move stays as it was, but at 1 bit it becomes 0.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG with the comparison that failed;
 * TOV_STS_TILE_FAILURE, "Error get tile to write". Where a temporary can't be had, for lack of memory or of a tile to
 * read, the call ends with the status TOV_STS_NO_MEMORY and no report.
 */
TOV_API void tovMirror(TovImage* srcImage, TovImage* dstImage, int32_t flipAxis);

/* ------------------------------------------------------------------------------------------------------------------
 * Depths
 * --------------------------------------------------------------------------------------------------------------- */

/*
 * Copies a whole image into another of the same size and, between other depths, the same number of channels, while it
 * changes depth, data order and, where the origins differ, the order of rows. Values are limited to the range of the
 * destination's depth, not scaled. All depths but TOV_DEPTH_32F; 1-bit images become 1-bit images only. A 1-bit
 * destination takes one channel, that of interest where the source has more than one: values above 0 set their bit.
 * Otherwise regions don't count, and neither do masks, alpha, channelSeq and colorModel. Nothing happens when both are
 * the same header.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG with the comparison that failed, or for
 * a tile that can't be had. Where an image is tiled, a negative status of the thread, which is looked at after each
 * request for a tile but the destination's first, ends the call; the tile just asked for is then not released, that of
 * the other image is. Clear the status by tovSetErrStatus(TOV_STS_OK) first.
 */
TOV_API void tovConvert(TovImage* srcImage, TovImage* dstImage);

/* ------------------------------------------------------------------------------------------------------------------
 * Bitmaps
 * --------------------------------------------------------------------------------------------------------------- */

/* The published records of a device-independent bitmap, unless the platform's own headers have declared them. */
#if defined(_WINGDI_) || defined(_WINGDI_H)
#else
typedef struct tagBITMAPINFOHEADER {
    uint32_t biSize;
    int32_t biWidth;
    int32_t biHeight; /* negative: the first stored row is the top one */
    uint16_t biPlanes;
    uint16_t biBitCount;
    uint32_t biCompression; /* 0 BI_RGB, 1 BI_RLE8, 2 BI_RLE4, 3 BI_BITFIELDS */
    uint32_t biSizeImage;
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed;
    uint32_t biClrImportant;
} BITMAPINFOHEADER;

typedef struct tagRGBQUAD {
    uint8_t rgbBlue;
    uint8_t rgbGreen;
    uint8_t rgbRed;
    uint8_t rgbReserved;
} RGBQUAD;
#endif

/*
 * Makes an image of a bitmap in memory: header (biSize 40, at any address), colour table or masks, and pixels in one
 * block. biSizeImage and biClrImportant are not read.
 *
 * A 1-bit or 8-bit bitmap with an exact gray ramp as its table, a 24-bit one and a 32-bit one without masks are shared:
 * imageData points into the bitmap, which must outlive the image, and *cloneData is 0. All others are expanded into an
 * image of their own in plane order, and *cloneData is 1. Bottom-up bitmaps become TOV_ORIGIN_BL images. A 24-bit
 * bitmap's pixels are taken to start right behind the header. Colours of fewer than 8 bits become the high bits of
 * theirs; an index past the end of the colour table is black; pixels that a run-length stream leaves out have index 0.
 * Such a stream must end with its end-of-bitmap code, since nothing tells its length.
 *
 * Returns a header that tovDeallocate(image, TOV_IMAGE_HEADER | TOV_IMAGE_DATA) frees, or null after a report, and then
 * leaves *cloneData alone. TOV_STS_BAD_ARG names a null argument or the header's field that is not served;
 * TOV_STS_NO_MEMORY says that the header or the pixels of the image can't be had, after TOV_STS_BAD_IMAGE_SIZE from
 * tovCreateImageHeader where the cause is a size that is 0 or too large.
 *
 * Expanding may fail once the image is made; it is returned all the same, with its pixels not written: a mask of 0 is
 * TOV_STS_BAD_ARG, a faulty stream TOV_STS_BAD_ARG followed by TOV_STS_INTERNAL. A failure that an earlier call left in
 * the status keeps pixels from being expanded, too, without a report: clear it by tovSetErrStatus before.
 */
TOV_API TovImage* tovTranslateDIB(BITMAPINFOHEADER* dib, int32_t* cloneData);

/*
 * Writes a plain image into a bitmap that the caller has laid out: a header (biSize 40) with biWidth, biHeight, bit
 * count and compression filled in, room for the colour table or masks, and room for the uncompressed pixel array even
 * where it is compressed. The image has 1, 3 or, with alpha, 4 channels of depth 1U, 8U or 16U, of which the high bytes
 * count, and the row step that tovCreateImageHeader gives. Regions and masks don't count, except that a region forbids
 * dithering. A positive biHeight makes the bitmap bottom-up.
 *
 * Bitmaps of 1, 4 and 8 bits take for each pixel the nearest entry of their colour table, the first of equally near
 * ones; in a table of 256 a gray pixel takes the entry of its own number if that is the same gray. paletteConversion 0
 * keeps the table, 1 fills it with a fixed one (if it has 2, 16 or 256 entries), 2 with one made of the image by median
 * cut; more than 8 bits have no table to fill. Median cut needs room for as many entries as the bit count has, whatever
 * biClrUsed was; it sets biClrUsed, and the pixels begin right behind the new table. In 16 bits colours are cut or
 * widened to their masks, in 32 bits they are put at the low end of their masks. BI_RLE8 and BI_RLE4 arrays are
 * compressed in place at the end, and biSizeImage set, or biCompression set to 0 where that doesn't pay.
 *
 * dither 1 writes pixels as they are; 2 (Floyd), 4 (Jarvis), 8 (Stucki) and 16 (ordered) spread what is lost. That is
 * for images whose colorModel and channelSeq tell of gray or RGB: of depth 16U, RGB not into 1 bit, and for 8U gray
 * ones into 1-bit bitmaps. A tiled image is served as well.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG with the comparison that failed, and for
 * a mask of 0; TOV_STS_BAD_DATA_OR_TILE, "image->imageData==0", for a tiled image that isn't dithered;
 * TOV_STS_BAD_COLOR_SEQ; TOV_STS_NO_MEMORY; TOV_STS_INTERNAL for a colour table that can't be made (of a tiled image,
 * say) and after the reports of a dithering that fails, to which any status but TOV_STS_OK from earlier calls counts.
 * The bitmap is untouched then, except that its colour table may be new. Where memory for the compression fails, its
 * pixels are whole but not compressed: set biCompression to 0 to use it.
 */
TOV_API void tovConvertToDIB(TovImage* image, BITMAPINFOHEADER* dib, int32_t dither, int32_t paletteConversion);

/* ------------------------------------------------------------------------------------------------------------------
 * Resampling
 *
 * Depths 1U, 8U and 16U. Rows are taken as they are stored. The images must not share pixels. Where the
 * arguments are in order, a negative status of the thread from before the call ends it with nothing done and without a
 * report of its own: clear it by tovSetErrStatus(TOV_STS_OK) first.
 * --------------------------------------------------------------------------------------------------------------- */

/* How pixels are made of those around a position. */
enum {
    TOV_INTER_NN = 0,     /* the nearest pixel */
    TOV_INTER_LINEAR = 1, /* lines between two pixels on each axis */
    TOV_INTER_CUBIC = 2,  /* cubics through four pixels on each axis */
    TOV_INTER_SUPER = 3   /* the average of the area that a pixel covers */
};

/*
 * Reduces the region of srcImage: xDst pixels for every xSrc across, yDst for every ySrc down, stepping by xSrc / xDst
 * and ySrc / yDst from the region's first pixel on. At most width * xDst / xSrc by height * yDst / ySrc pixels are
 * written, rounded down, from the first pixel of dstImage's region on. Alpha is a channel like the others; the images
 * may differ in channels, of which as many are written as both have. Masks play no part.
 *
 * TOV_INTER_LINEAR and TOV_INTER_CUBIC results are truncated; area averages are rounded. These two modes become
 * TOV_INTER_NN at whole rates on both axes, TOV_INTER_SUPER for a source whose tiles are narrower or lower than the
 * area of a pixel, and every mode for a source of less than 4 columns or rows. TOV_INTER_NN begins half a pixel on
 * where a rate isn't whole. 1-bit images have their bits picked by TOV_INTER_LINEAR and TOV_INTER_CUBIC, too, but from
 * the first one on. The last pixel or row is repeated where a position needs one that the image doesn't have.
 *
 * Reports: the code of a faulty header with "Incorrect Image"; TOV_STS_BAD_ARG with each comparison that failed: the
 * same image twice, depths, origins or data orders that differ, another depth, a channel of interest in one image where
 * the other has several channels and none of interest, an unknown mode, terms of a rate below 1, rates that enlarge;
 * TOV_STS_INTERNAL with "dstImage->tileInfo->callBack crash", or with "srcImage->tileInfo->callBack crash" where a tile
 * or the memory for a copy can't be had; a tile of dstImage that is held then is not released.
 */
TOV_API void tovDecimate(TovImage* srcImage, TovImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                         int32_t interpolate);

/*
 * Enlarges the region of srcImage over that of dstImage, xDst pixels for every xSrc across and yDst for every ySrc
 * down: the last pixel of the enlarged region, of width * xDst / xSrc by height * yDst / ySrc pixels, takes the value
 * of the region's last pixel, and what dstImage's region has beyond is left alone. Interpolation reads pixels around
 * the region. Modes are TOV_INTER_NN, _LINEAR and _CUBIC; 1-bit images and those of one row or column take the nearest
 * pixel, and a cubic of fewer than four becomes linear. Results are rounded down, but what lacks less than 0.00001
 * counts as whole; cubic ones are limited to the range of the depth. Linear ones are not: where the position of a pixel
 * is up to 0.00001 below a whole one, a 0 beside a large value can become the largest number of the depth.
 *
 * A destination's mask is read at the destination's pixel. A source's mask, in pixel order, is enlarged with the image,
 * by the nearest pixel, and clips the region to its own. An image of alpha alone ends the call in silence, and so does
 * a region that lies outside its image. A tiled image is worked cell by cell, in tiles of dstImage or in 64 by 64
 * pixels of it; each cell enlarges its part of the source's mask by itself.
 *
 * Reports, as tovZoom: TOV_STS_BAD_ARG, "xDst < xSrc || yDst < ySrc"; the code of a faulty header with
 * "Incorrect Image"; TOV_STS_BAD_ARG with each comparison that failed, or for the same image twice;
 * TOV_STS_TILE_FAILURE for differing numbers of channels, for a tile to write, and for one to read or the memory for a
 * copy of it; TOV_STS_NO_MEMORY, "Out of memory"; a failure with a mask is followed by TOV_STS_BACKTRACE.
 */
TOV_API void tovZoom(TovImage* srcImage, TovImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                     int32_t interpolate);

/*
 * Changes the size both ways: by TOV_INTER_SUPER as tovDecimate does, which only reduces, otherwise as tovZoom does, at
 * any rates. When the status is negative at the end, TOV_STS_BACKTRACE is reported besides. TOV_INTER_SUPER at a rate
 * that enlarges is refused as tovResize at once, by one report of TOV_STS_BAD_ARG.
 */
TOV_API void tovResize(TovImage* srcImage, TovImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                       int32_t interpolate);

#ifdef __cplusplus
}
#endif

#endif /* TOV_H */
