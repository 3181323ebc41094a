// Reversing the rows and the columns of an image: iplMirror.
#include "_Src/image/report.h"
#include "_Src/image/scratch.h"
#include "_Src/walk/region.h"
#include "_Src/walk/target.h"
#include "_Src/walk/tiles.h"
#include "kernels/kernels.h"

namespace
{

constexpr IplCaller caller{"iplMirror", "iplmirr"};
constexpr const char* noMemory = "Out of memory";

// What is reversed.
struct Flips {
    bool rows;
    bool columns;
};

struct MirrorJob {
    IplRaster src;
    IplTarget dst;
    Flips flips;
};

// 0 at depth 1.
size_t pixelBytesOf(const IplRaster& raster)
{
    return static_cast<size_t>(raster.stride) * static_cast<size_t>(raster.elementBytes);
}

// Row y of the region, from its first pixel's first element on.
uint8_t* regionPixels(const IplRaster& raster, int32_t plane, int32_t y)
{
    return raster.row(plane, raster.region.y + y) +
           static_cast<size_t>(raster.region.x) * pixelBytesOf(raster);
}

// --- Row by row, through scratch rows -------------------------------------------------

size_t scratchRowBytes(const MirrorJob& job)
{
    const size_t width = static_cast<size_t>(job.dst.width);
    const size_t pixelBytes = pixelBytesOf(job.src);
    return pixelBytes == 0 ? (width + 7) / 8 : width * pixelBytes;
}

// Makes row y of the source's region, in the order that its pixels go out in.
void readRow(const MirrorJob& job, int32_t plane, int32_t y, uint8_t* row)
{
    const quib::Kernels& kernels = quib::kernels();
    const IplRaster& src = job.src;
    const size_t width = static_cast<size_t>(job.dst.width);
    if (src.elementBytes == 0) {
        const quib::BitRows<const uint8_t> bits = ownRegionBits(src, 0, y);
        if (job.flips.columns)
            kernels.mirror.reverseBits({row, 0, 0}, bits, width, 1);
        else
            kernels.bits.copy({row, 0, 0}, bits, {}, width, 1, 0);
        return;
    }
    // Whole pixels, of which the target takes its channels.
    const size_t pixelBytes = pixelBytesOf(src);
    if (job.flips.columns)
        kernels.mirror.reverse(row, regionPixels(src, plane, y), width, pixelBytes);
    else
        kernels.block.copy(row, regionPixels(src, plane, y), width * pixelBytes);
}

template<class Element>
void deliver(const MirrorJob& job, int32_t plane, int32_t y, const uint8_t* row, int32_t first)
{
    ownDeliver(job.dst, plane, y, reinterpret_cast<const Element*>(row) + first, job.src.stride);
}

// `first` is the element of each pixel that the target's plane begins with.
void writeRow(const MirrorJob& job, int32_t plane, int32_t y, const uint8_t* row, int32_t first)
{
    switch (job.src.elementBytes) {
    case 0:
        return ownDeliverBits(job.dst, y, row);
    case 1:
        return deliver<uint8_t>(job, plane, y, row, first);
    case 2:
        return deliver<uint16_t>(job, plane, y, row, first);
    default:
        return deliver<float>(job, plane, y, row, first);
    }
}

// Between different images, which may differ in their data orders.
void moveRows(MirrorJob job, uint8_t* scratch)
{
    if (job.src.planes > 1)
        ownSplitChannels(&job.dst.raster);
    for (int32_t plane = 0; plane < job.dst.raster.planes; ++plane) {
        const int32_t srcPlane = std::min(plane, job.src.planes - 1);
        for (int32_t y = 0; y < job.dst.height; ++y) {
            readRow(job, srcPlane, job.flips.rows ? job.dst.height - 1 - y : y, scratch);
            writeRow(job, plane, y, scratch, job.src.first + plane - srcPlane);
        }
    }
}

// In place: both rows of a pair are read before either is written.
void exchangeRows(const MirrorJob& job, uint8_t* scratch)
{
    uint8_t* const otherScratch = scratch + scratchRowBytes(job);
    const int32_t height = job.dst.height;
    for (int32_t plane = 0; plane < job.dst.raster.planes; ++plane) {
        for (int32_t y = 0; y < (job.flips.rows ? (height + 1) / 2 : height); ++y) {
            const int32_t other = job.flips.rows ? height - 1 - y : y;
            readRow(job, plane, y, scratch);
            readRow(job, plane, other, otherScratch);
            writeRow(job, plane, other, scratch, job.src.first);
            writeRow(job, plane, y, otherScratch, job.src.first);
        }
    }
}

// --- Whole pixels, without scratch rows -------------------------------------------------

void moveBits(const MirrorJob& job)
{
    const int32_t height = job.dst.height;
    quib::BitRows<const uint8_t> src = ownRegionBits(job.src, 0, job.flips.rows ? height - 1 : 0);
    if (job.flips.rows)
        src.step = -src.step;
    const quib::BitRows<uint8_t> dst = ownRegionBits<uint8_t>(job.dst.raster, 0, 0);
    const size_t width = static_cast<size_t>(job.dst.width);
    if (job.flips.columns)
        quib::kernels().mirror.reverseBits(dst, src, width, static_cast<size_t>(height));
    else
        quib::kernels().bits.copy(dst, src, {}, width, static_cast<size_t>(height), 0);
}

void movePixels(const MirrorJob& job)
{
    const quib::MirrorKernels& mirror = quib::kernels().mirror;
    const size_t width = static_cast<size_t>(job.dst.width);
    const int32_t height = job.dst.height;
    const size_t rows = static_cast<size_t>(height);
    const size_t pixelBytes = pixelBytesOf(job.src);
    const ptrdiff_t srcStep = job.flips.rows ? -job.src.step : job.src.step;
    for (int32_t plane = 0; plane < job.dst.raster.planes; ++plane) {
        const uint8_t* src = regionPixels(job.src, plane, job.flips.rows ? height - 1 : 0);
        uint8_t* dst = regionPixels(job.dst.raster, plane, 0);
        if (!job.flips.columns) {
            mirror.copyRows(dst, job.dst.raster.step, src, srcStep, width * pixelBytes, rows);
            continue;
        }
        mirror.reverseRows(dst, job.dst.raster.step, src, srcStep, width, pixelBytes, rows);
    }
}

void exchangePixels(const MirrorJob& job)
{
    const quib::MirrorKernels& mirror = quib::kernels().mirror;
    const size_t width = static_cast<size_t>(job.dst.width);
    const int32_t height = job.dst.height;
    const size_t pixelBytes = pixelBytesOf(job.src);
    for (int32_t plane = 0; plane < job.dst.raster.planes; ++plane) {
        for (int32_t y = 0; y < (job.flips.rows ? (height + 1) / 2 : height); ++y) {
            uint8_t* row = regionPixels(job.src, plane, y);
            uint8_t* other = regionPixels(job.src, plane, job.flips.rows ? height - 1 - y : y);
            if (job.flips.columns)
                mirror.exchange(row, other, width, pixelBytes);
            else if (row != other)
                mirror.swap(row, other, width * pixelBytes);
        }
    }
}

bool takesWholePixels(const MirrorJob& job)
{
    return ownTakesWholeRows(job.dst) && job.src.channels == job.src.stride &&
           job.src.planes == job.dst.raster.planes;
}

// --- Images ------------------------------------------------------------------------------------

// A pair of images and the extent that they have in common.
struct MirrorPair {
    const IplImage* src;
    const IplImage* dst;
    const IplImage* mask; // of the result; null: none
    Flips flips;
    int32_t width;
    int32_t height;
};

// The rows of images without tiles, or of one tile of each. False after a report.
bool mirrorRows(const MirrorPair& pair)
{
    MirrorJob job{{}, {}, pair.flips};
    if (!ownRegionStart(pair.src, &job.src) ||
        !ownOpenTarget(pair.dst, pair.mask, pair.width, pair.height, &job.dst))
        return true;
    const bool inPlace = pair.src == pair.dst;
    const bool bits = job.src.elementBytes == 0;
    if (takesWholePixels(job) && !(inPlace && bits)) {
        inPlace ? exchangePixels(job) : bits ? moveBits(job) : movePixels(job);
        return true;
    }
    const IplScratch<uint8_t> scratch(2 * static_cast<int64_t>(scratchRowBytes(job)));
    if (!scratch.data) {
        ownReport(caller, IPL_StsNoMem, noMemory);
        return false;
    }
    inPlace ? exchangeRows(job, scratch.data) : moveRows(job, scratch.data);
    return true;
}

// --- Pieces ------------------------------------------------------------------------------------

// One of the images, as the work on a piece of it sees it: cut out of the whole,
// or of the tile that it lies in.
struct MirrorSide {
    const IplImage* image;
    int32_t mode; // how its tiles are fetched
    IplImage record;
    IplROI roi;
    IplTileCursor cursor;
};

bool openPiece(MirrorSide* side, const IplRect& piece)
{
    side->record = *side->image;
    side->record.roi = &side->roi;
    ownTileWindow(side->image, &side->record, piece, &side->cursor);
    side->roi = {ownCoi(side->image), piece.x, piece.y, piece.width, piece.height};
    const IplTileInfo* tiles = side->image->tileInfo;
    if (!tiles)
        return true;
    side->roi.xOffset = static_cast<int32_t>(piece.x - side->cursor.x);
    side->roi.yOffset = static_cast<int32_t>(piece.y - side->cursor.y);
    tiles->callBack(side->image, side->cursor.xIndex, side->cursor.yIndex, side->mode);
    side->record.imageData = tiles->tileData;
    if (tiles->tileData)
        return true;
    ownReport(caller, IPL_StsError,
              side->mode == IPL_GET_TILE_TO_READ ? "Error get tile to read"
                                                 : "Error get tile to write");
    return false;
}

void closePiece(const MirrorSide& side)
{
    if (const IplTileInfo* tiles = side.image->tileInfo)
        tiles->callBack(side.image, side.cursor.xIndex, side.cursor.yIndex, IPL_RELEASE_TILE);
}

// How many of `length` pixels, from one on, lie in its tile: to its right or
// below it, or backwards.
int32_t lengthInTile(int32_t from, int32_t length, int32_t tileLength, bool backwards)
{
    const int32_t before = from % tileLength;
    return std::min(length, backwards ? before + 1 : tileLength - before);
}

// The piece of the extent that begins at (x, y) and ends where a tile does: of
// the destination, or of the source, which may be walked backwards.
IplRect pieceAt(const MirrorPair& pair, int32_t x, int32_t y)
{
    IplRect piece{x, y, pair.width - x, pair.height - y};
    if (const IplTileInfo* tiles = pair.dst->tileInfo) {
        piece.width = lengthInTile(ownRegionX(pair.dst) + x, piece.width, tiles->width, false);
        piece.height = lengthInTile(ownRegionY(pair.dst) + y, piece.height, tiles->height, false);
    }
    if (const IplTileInfo* tiles = pair.src->tileInfo) {
        const auto [rows, columns] = pair.flips;
        piece.width = lengthInTile(ownRegionX(pair.src) + (columns ? pair.width - 1 - x : x),
                                   piece.width, tiles->width, columns);
        piece.height = lengthInTile(ownRegionY(pair.src) + (rows ? pair.height - 1 - y : y),
                                    piece.height, tiles->height, rows);
    }
    return piece;
}

// False after a report.
bool mirrorPieceAt(const MirrorPair& pair, const IplRect& piece)
{
    const auto [x, y, width, height] = piece;
    const int32_t srcX = pair.flips.columns ? pair.width - x - width : x;
    const int32_t srcY = pair.flips.rows ? pair.height - y - height : y;
    MirrorSide src{pair.src, IPL_GET_TILE_TO_READ, {}, {}, {}};
    MirrorSide dst{pair.dst, IPL_GET_TILE_TO_WRITE, {}, {}, {}};
    if (!openPiece(&src, {ownRegionX(pair.src) + srcX, ownRegionY(pair.src) + srcY, width, height}))
        return false;
    if (!openPiece(&dst, {ownRegionX(pair.dst) + x, ownRegionY(pair.dst) + y, width, height}))
        return false;
    IplImage mask{};
    IplROI maskRoi{};
    if (pair.mask) {
        mask = *pair.mask;
        maskRoi = {0, ownRegionX(pair.mask) + x, ownRegionY(pair.mask) + y, width, height};
        mask.roi = &maskRoi;
    }
    const bool done = mirrorRows(
        {&src.record, &dst.record, pair.mask ? &mask : nullptr, pair.flips, width, height});
    closePiece(dst);
    closePiece(src);
    return done;
}

// False after a report, which leaves tiles as they are.
bool mirrorPieces(const MirrorPair& pair)
{
    for (int32_t y = 0; y < pair.height;) {
        IplRect piece{};
        for (int32_t x = 0; x < pair.width; x += piece.width) {
            piece = pieceAt(pair, x, y);
            if (!mirrorPieceAt(pair, piece))
                return false;
        }
        y += piece.height;
    }
    return true;
}

// One image's tiles, of which there is one at a time: through a copy of its
// region without tiles.
void mirrorTiledInPlace(const MirrorPair& pair)
{
    IplImage* copy = iplCloneImage(pair.src);
    if (!copy)
        return;
    if (mirrorPieces({pair.src, copy, nullptr, {false, false}, pair.width, pair.height}))
        mirrorPieces({copy, pair.dst, nullptr, pair.flips, pair.width, pair.height});
    iplDeallocate(copy, IPL_IMAGE_ALL);
}

// --- Masks -------------------------------------------------------------------------------------

void andBits(const IplImage* bits, const IplImage* mask)
{
    IplRaster to{};
    IplRaster from{};
    if (!ownMaskStart(bits, &to) || !ownMaskStart(mask, &from))
        return;
    quib::kernels().bits.logicAnd(ownRegionBits<uint8_t>(to, 0, 0), ownRegionBits(to, 0, 0),
                                  ownRegionBits(from, 0, 0), static_cast<size_t>(bits->width),
                                  static_cast<size_t>(bits->height), 0);
}

// A new mask for the pair's extent: that of the source, which turns round with
// its pixels, where the destination's has a 1 too. Null after a report.
IplImage* createMask(const MirrorPair& pair)
{
    // A mask's bits count as they are, alpha or not.
    IplImage srcMask = *pair.src->maskROI;
    srcMask.alphaChannel = 0;
    IplImage* mask = iplCreateImageHeader(1, 0, IPL_DEPTH_1U, "GRAY", "G   ", IPL_DATA_ORDER_PLANE,
                                          srcMask.origin, 4, pair.width, pair.height, nullptr,
                                          nullptr, nullptr, nullptr);
    if (mask)
        iplAllocateImage(mask, 0, 0);
    if (!mask || !mask->imageData) {
        ownReport(caller, IPL_StsNoMem, noMemory);
        iplDeallocate(mask, IPL_IMAGE_ALL);
        return nullptr;
    }
    mirrorRows({&srcMask, mask, nullptr, pair.flips, pair.width, pair.height});
    if (pair.dst->maskROI)
        andBits(mask, pair.dst->maskROI);
    return mask;
}

// --- The operation -----------------------------------------------------------------------------

bool mayMirror(const IplImage* src, const IplImage* dst, int32_t flipAxis)
{
    if (!ownImageIsGood(caller, src) || !ownImageIsGood(caller, dst))
        return false;
    const int32_t coiSrc = src->roi ? src->roi->coi : 0;
    const int32_t coiDst = dst->roi ? dst->roi->coi : 0;
    const struct {
        bool passed;
        const char* text;
    } tests[] = {
        {src != dst || !src->maskROI, "(srcImage==dstImage && srcImage->maskROI != ((void *)0))"},
        {src->depth == dst->depth, "(srcImage->depth!=dstImage->depth)"},
        {flipAxis >= -1 && flipAxis <= 1, "((flipAxis>1)||(flipAxis<-1))"},
        {src->depth != IPL_DEPTH_1U || src->alphaChannel == 0,
         "(srcImage->depth==1 && srcImage->alphaChannel!=0)"},
        {dst->depth != IPL_DEPTH_1U || dst->alphaChannel == 0,
         "(dstImage->depth==1 && dstImage->alphaChannel!=0)"},
        {coiSrc >= 0 && coiSrc <= src->nChannels, "(coiSrc<0||coiSrc>srcImage->nChannels)"},
        {src->alphaChannel == 0 || src->alphaChannel == src->nChannels,
         "(srcImage->alphaChannel!=0 && srcImage->alphaChannel!=srcImage->nChannels)"},
        {coiDst >= 0 && coiDst <= dst->nChannels, "(coiDst<0 || coiDst>dstImage->nChannels)"},
        {dst->alphaChannel == 0 || dst->alphaChannel == dst->nChannels,
         "(dstImage->alphaChannel!=0 && dstImage->alphaChannel!=dstImage->nChannels)"},
        {ownChosenChannels(src).count == ownChosenChannels(dst).count,
         "(nChannelsSrc != nChannelsDst)"},
    };
    for (const auto& test : tests)
        if (!ownRequire(caller, test.passed, test.text))
            return false;
    return true;
}

// What the regions of both images and of their masks have in common; false if
// that is nothing.
bool commonExtent(MirrorPair* pair)
{
    if (!ownCommonRegion(pair->src, pair->dst, pair->src->maskROI, &pair->height, &pair->width,
                         true))
        return false;
    int32_t height = 0;
    int32_t width = 0;
    if (!ownCommonRegion(pair->dst, pair->dst->maskROI, nullptr, &height, &width, true))
        return false;
    pair->height = std::min(pair->height, height);
    pair->width = std::min(pair->width, width);
    return true;
}

} // namespace

void iplMirror(IplImage* srcImage, IplImage* dstImage, int32_t flipAxis)
{
    if (!mayMirror(srcImage, dstImage, flipAxis))
        return;
    MirrorPair pair{srcImage, dstImage, dstImage->maskROI, {flipAxis != 1, flipAxis != 0}, 0, 0};
    // Images that are nothing but alpha have nothing to move.
    if (!commonExtent(&pair) || ownChosenChannels(srcImage).count < 1)
        return;
    IplImage* const made = srcImage->maskROI ? createMask(pair) : nullptr;
    if (srcImage->maskROI) {
        if (!made)
            return;
        pair.mask = made;
    }
    const bool tiled = srcImage->tileInfo || dstImage->tileInfo;
    if (tiled && srcImage == dstImage)
        mirrorTiledInPlace(pair);
    else if (tiled)
        mirrorPieces(pair);
    else
        mirrorRows(pair);
    iplDeallocate(made, IPL_IMAGE_ALL);
}
