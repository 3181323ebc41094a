/* The image record and its companions: the data that every layer shares.
 * Plain C. A handle of the upper layer is the address of an IplImage. */
#ifndef QUIB_IPLIMAGE_H
#define QUIB_IPLIMAGE_H

#include <stdint.h>

#define IPL_DEPTH_SIGN 0x80000000u
#define IPL_DEPTH_MASK 0x7FFFFFFFu
#define IPL_DEPTH_1U 1u
#define IPL_DEPTH_8U 8u
#define IPL_DEPTH_16U 16u
#define IPL_DEPTH_32F 32u
#define IPL_DEPTH_8S (IPL_DEPTH_SIGN | 8u)
#define IPL_DEPTH_16S (IPL_DEPTH_SIGN | 16u)
#define IPL_DEPTH_32S (IPL_DEPTH_SIGN | 32u)

#define IPL_DATA_ORDER_PIXEL 0
#define IPL_DATA_ORDER_PLANE 1
#define IPL_ORIGIN_TL 0
#define IPL_ORIGIN_BL 1

#define IPL_INTER_NN 0
#define IPL_INTER_LINEAR 1
#define IPL_INTER_CUBIC 2
#define IPL_INTER_SUPER 3
/* A flag beside these, on warps. */
#define IPL_SMOOTH_EDGE 16

/* What a window reads outside an image, by side: BorderMode, of which the low two
 * bits count. */
#define IPL_BORDER_CONSTANT 0  /* the side's BorderConst */
#define IPL_BORDER_REPLICATE 1 /* the nearest pixel */
#define IPL_BORDER_REFLECT 2   /* the image mirrored, its outermost pixel twice */
#define IPL_BORDER_WRAP 3      /* the image repeated */

/* The sides, as BorderMode and BorderConst count them. */
#define IPL_SIDE_TOP 0
#define IPL_SIDE_BOTTOM 1
#define IPL_SIDE_LEFT 2
#define IPL_SIDE_RIGHT 3

/* What an image of fewer levels gets in the place of its lost ones. */
#define IPL_DITHER_NONE 1
#define IPL_DITHER_FS 2      /* diffused errors: Floyd and Steinberg */
#define IPL_DITHER_JJH 4     /* Jarvis, Judice and Ninke */
#define IPL_DITHER_STUCKEY 8 /* Stucki */
#define IPL_DITHER_BAYER 16  /* ordered thresholds: Bayer */

/* The mode argument of a tile callback. */
#define IPL_GET_TILE_TO_READ 1
#define IPL_GET_TILE_TO_WRITE 2
#define IPL_RELEASE_TILE 4

/* The parts that iplDeallocate frees. */
#define IPL_IMAGE_HEADER 1
#define IPL_IMAGE_DATA 2
#define IPL_IMAGE_ROI 4
#define IPL_IMAGE_TILE 8
#define IPL_IMAGE_MASK 16
#define IPL_IMAGE_ALL 31

struct _IplImage;

/* Supplies tile (xIndex, yIndex) by setting the record's tileData, or takes it
 * back: mode is one of the three tile constants. */
typedef void (*IplTileCallBack)(const struct _IplImage* image, int32_t xIndex, int32_t yIndex,
                                int32_t mode);

/* The region of an image that an operation touches. */
typedef struct _IplROI {
    int32_t coi; /* channel of interest, 1 to nChannels; 0 for all */
    int32_t xOffset;
    int32_t yOffset;
    int32_t width;
    int32_t height;
} IplROI;

typedef struct _IplTileInfo {
    IplTileCallBack callBack;
    void* id;       /* the caller's own */
    char* tileData; /* the current tile's pixels */
    int32_t width;  /* of a tile, in pixels; a positive multiple of 8 */
    int32_t height;
} IplTileInfo;

typedef struct _IplImage {
    int32_t nSize;        /* sizeof(IplImage) */
    int32_t ID;           /* always 0 */
    int32_t nChannels;    /* at least 1 */
    int32_t alphaChannel; /* 0, or nChannels: the last channel is alpha */
    uint32_t depth;       /* one of the seven IPL_DEPTH_ values */
    char colorModel[4];   /* unterminated */
    char channelSeq[4];   /* unterminated */
    int32_t dataOrder;
    int32_t origin;
    int32_t align; /* of rows, in bytes: 4, 8, 16 or 32 */
    int32_t width;
    int32_t height;
    IplROI* roi;               /* null: the whole image; owned */
    struct _IplImage* maskROI; /* null, or a 1-bit image; owned */
    void* imageId;             /* never interpreted */
    IplTileInfo* tileInfo;     /* null for an image with a pixel block; owned */
    int32_t imageSize;         /* bytes of pixels */
    char* imageData;           /* first pixel, aligned to align */
    int32_t widthStep;         /* bytes from one row to the next */
    int32_t BorderMode[4];
    int32_t BorderConst[4];
    char* imageDataOrigin; /* what to free; null when the pixels are borrowed */
} IplImage;

#endif
