#include "_Src/pixel/piece.h"

#include "_Src/image/check.h"
#include "_Src/image/pitch.h"
#include "_Src/walk/raster.h"

#include <cstring>

namespace
{

constexpr size_t scratchBytes = 4096;
constexpr size_t widestPattern = 64;

struct Scratch {
    alignas(64) uint8_t a[scratchBytes];
    alignas(64) uint8_t b[scratchBytes];
    alignas(64) uint8_t choice[scratchBytes];
};

struct Piece {
    IplRaster rasters[IPL_ROLES]; // address null: no such image
    IplRaster mask;
    int32_t width;
    int32_t height;
    int32_t passes;  // over the rows: one for each plane, or one
    size_t channels; // in each pixel of a pass
    size_t elementBytes;
    quib::PixelRun run;
    int32_t value;
    // Of pixels that have the same shape in all images:
    size_t pixelBytes;
    size_t bytesBefore;             // the first channel that takes part
    uint8_t pattern[widestPattern]; // 0xFF in the bytes of those that do
    Scratch* scratch;
};

// The addresses of one row: of the first element that takes part, and of the
// mask's bits, which are counted from the left edge of the mask.
struct Row {
    uint8_t* dst;
    const uint8_t* a;
    const uint8_t* b;
    const uint8_t* mask;
    int32_t y;
};

// --- Elements ------------------------------------------------------------------------

using RowWork = void (*)(const Piece& piece, const Row& row);

// A row whose elements all take part.
void runRow(const Piece& piece, const Row& row)
{
    piece.run(row.dst, row.a, row.b, static_cast<size_t>(piece.width) * piece.channels,
              piece.value);
}

size_t pixelsAtATime(const Piece& piece)
{
    return std::min(static_cast<size_t>(piece.width), scratchBytes / piece.pixelBytes);
}

void choosePixels(const Piece& piece, const uint8_t* mask, size_t x, size_t pixels)
{
    quib::kernels().select.spread(piece.scratch->choice, mask,
                                  piece.mask.region.x + static_cast<int32_t>(x), pixels,
                                  piece.pattern, piece.pixelBytes);
}

// A row of pixels of which some bytes are left out, of the same shape in all
// images: it is computed whole beside its place and merged in.
void mergeRow(const Piece& piece, const Row& row)
{
    Scratch& scratch = *piece.scratch;
    const size_t width = static_cast<size_t>(piece.width);
    const size_t most = pixelsAtATime(piece);
    for (size_t x = 0; x < width; x += most) {
        const size_t pixels = std::min(most, width - x);
        const size_t bytes = pixels * piece.pixelBytes;
        const ptrdiff_t at = static_cast<ptrdiff_t>(x * piece.pixelBytes) -
                             static_cast<ptrdiff_t>(piece.bytesBefore);
        piece.run(scratch.a, row.a + at, row.b ? row.b + at : nullptr, bytes / piece.elementBytes,
                  piece.value);
        if (row.mask)
            choosePixels(piece, row.mask, x, pixels);
        quib::kernels().select.blend(row.dst + at, scratch.a, scratch.choice, bytes);
    }
}

// Without a mask all pixels of mergeRow are chosen alike, once.
void chooseChannels(Piece* piece)
{
    std::memset(piece->pattern + piece->bytesBefore, 0xFF, piece->channels * piece->elementBytes);
    if (piece->mask.address)
        return;
    const size_t pixels = pixelsAtATime(*piece);
    std::memset(piece->scratch->a, 0xFF, pixels / 8 + 1);
    choosePixels(*piece, piece->scratch->a, 0, pixels);
}

// Pixel x of a channel, for images whose channels are planes.
uint8_t* elementAt(const IplRaster& raster, size_t channel, size_t x, int32_t y)
{
    return ownRegionBytes(raster, static_cast<int32_t>(channel), y) +
           x * static_cast<size_t>(raster.stride) * raster.elementBytes;
}

// A row of pixels of any shapes, one channel after the other.
void pickRow(const Piece& piece, const Row& row)
{
    constexpr size_t most = scratchBytes / 4;
    Scratch& scratch = *piece.scratch;
    const IplRaster& a = piece.rasters[IPL_SRC_A];
    const IplRaster& b = piece.rasters[IPL_SRC_B];
    const IplRaster& dst = piece.rasters[IPL_DST];
    const quib::StridedMoves& moves = ownStridedMoves(dst);
    const size_t width = static_cast<size_t>(piece.width);
    for (size_t x = 0; x < width; x += most) {
        const size_t pixels = std::min(most, width - x);
        if (row.mask)
            quib::kernels().select.spread(scratch.choice, row.mask,
                                          piece.mask.region.x + static_cast<int32_t>(x), pixels,
                                          nullptr, 1);
        for (size_t c = 0; c < piece.channels; ++c) {
            moves.gather(scratch.a, elementAt(a, c, x, row.y), a.stride, pixels);
            if (row.b)
                moves.gather(scratch.b, elementAt(b, c, x, row.y), b.stride, pixels);
            piece.run(scratch.a, scratch.a, scratch.b, pixels, piece.value);
            moves.scatter(elementAt(dst, c, x, row.y), scratch.a, dst.stride,
                          row.mask ? scratch.choice : nullptr, pixels);
        }
    }
}

void runRows(const Piece& piece, RowWork rowWork)
{
    for (int32_t pass = 0; pass < piece.passes; ++pass) {
        for (int32_t y = 0; y < piece.height; ++y) {
            const auto address = [&](IplRole role) {
                const IplRaster& raster = piece.rasters[role];
                return raster.address ? ownRegionBytes(raster, pass, y) : nullptr;
            };
            // Each plane starts with the mask's first row.
            rowWork(piece, {address(IPL_DST), address(IPL_SRC_A), address(IPL_SRC_B),
                            piece.mask.address ? ownImageRow(piece.mask, y) : nullptr, y});
        }
    }
}

// --- Bits ------------------------------------------------------------------------------

// Computes beside their place the bits that a mask is to choose from.
void runMaskedBits(const Piece& piece, quib::BitRun run)
{
    constexpr int32_t most = 8 * static_cast<int32_t>(scratchBytes);
    uint8_t result[scratchBytes];
    for (int32_t y = 0; y < piece.height; ++y) {
        for (int32_t x = 0; x < piece.width; x += most) {
            const size_t width = static_cast<size_t>(std::min(most, piece.width - x));
            run({result, 0, 0}, ownRegionBits(piece.rasters[IPL_SRC_A], x, y),
                ownRegionBits(piece.rasters[IPL_SRC_B], x, y), width, 1, piece.value);
            quib::kernels().bits.select(ownRegionBits<uint8_t>(piece.rasters[IPL_DST], x, y),
                                        {result, 0, 0}, ownRegionBits(piece.mask, x, y), width, 1,
                                        0);
        }
    }
}

void runBits(const Piece& piece, quib::BitRun run)
{
    if (piece.mask.address)
        return runMaskedBits(piece, run);
    run(ownRegionBits<uint8_t>(piece.rasters[IPL_DST], 0, 0),
        ownRegionBits(piece.rasters[IPL_SRC_A], 0, 0),
        ownRegionBits(piece.rasters[IPL_SRC_B], 0, 0), static_cast<size_t>(piece.width),
        static_cast<size_t>(piece.height), piece.value);
}

// --- One run ---------------------------------------------------------------------------

bool hasPadding(const IplImage* image)
{
    const int64_t rowBits = static_cast<int64_t>(image->width) * ownElementsPerPixel(image) *
                            ownDepthBits(image->depth);
    return rowBits != static_cast<int64_t>(image->widthStep) * 8;
}

// Turns images that are one run of elements into a piece of one row.
void joinRows(Piece* piece)
{
    piece->channels *= static_cast<size_t>(piece->passes) * static_cast<size_t>(piece->height);
    piece->passes = 1;
    piece->height = 1;
}

bool isOneRun(const IplImage* const images[IPL_ROLES], bool hasAlpha)
{
    for (int32_t role = 0; role < IPL_ROLES; ++role)
        if (images[role] && hasPadding(images[role]))
            return false;
    return ownIsWholeRun(images[IPL_SRC_A], images[IPL_DST], images[IPL_SRC_B], hasAlpha);
}

// --- The plan ----------------------------------------------------------------------

bool isSameOrder(const IplImage* const images[IPL_ROLES])
{
    for (const IplRole role : {IPL_SRC_A, IPL_SRC_B})
        if (images[role] && images[role]->dataOrder != images[IPL_DST]->dataOrder)
            return false;
    return true;
}

// Whether the pixels of one pass lie alike in all images.
bool isSameShape(const IplPixelJob& job, const IplImage* const images[IPL_ROLES])
{
    const IplImage* dst = images[IPL_DST];
    if (!isSameOrder(images) || dst->dataOrder == IPL_DATA_ORDER_PLANE)
        return isSameOrder(images);
    for (const IplRole role : {IPL_SRC_A, IPL_SRC_B})
        if (images[role] && (images[role]->nChannels != dst->nChannels ||
                             job.channelOffset[role] != job.channelOffset[IPL_DST]))
            return false;
    return true;
}

// Opens an image, whose region lowers the piece's size.
void place(const IplImage* image, const IplChannels& channels, IplRaster* raster, Piece* piece)
{
    ownRoiOrigin(image, channels, raster);
    piece->width = std::min(piece->width, raster->region.width);
    piece->height = std::min(piece->height, raster->region.height);
}

void placeImages(const IplPixelJob& job, const IplImage* const images[IPL_ROLES],
                 const IplImage* mask, Piece* piece)
{
    piece->width = INT32_MAX;
    piece->height = INT32_MAX;
    for (int32_t role = 0; role < IPL_ROLES; ++role)
        if (images[role])
            place(images[role], {job.channelOffset[role], job.channelCount}, &piece->rasters[role],
                  piece);
    if (mask)
        place(mask, {0, 1}, &piece->mask, piece);
}

// Pixels of different shapes: the channels are taken one by one.
void runPicked(const IplPixelJob& job, Piece* piece)
{
    for (IplRaster& raster : piece->rasters)
        ownSplitChannels(&raster);
    piece->passes = 1;
    piece->channels = static_cast<size_t>(job.channelCount);
    runRows(*piece, pickRow);
}

// Elements of 8 bits or more.
void runElements(const IplPixelJob& job, const IplImage* const images[IPL_ROLES],
                 const Piece& placed)
{
    Scratch scratch;
    Piece planned = placed;
    Piece* const piece = &planned;
    const IplRaster& dst = piece->rasters[IPL_DST];
    const size_t stride = static_cast<size_t>(dst.stride);
    piece->run = ownRunOfDepth(*job.op.runs, images[IPL_DST]->depth);
    piece->elementBytes = static_cast<size_t>(dst.elementBytes);
    piece->passes = dst.planes;
    piece->channels = static_cast<size_t>(dst.channels);
    piece->scratch = &scratch;
    piece->pixelBytes = stride * piece->elementBytes;
    if (!isSameShape(job, images))
        return runPicked(job, piece);
    if (!piece->mask.address && piece->channels == stride) {
        if (isOneRun(images, job.hasAlpha))
            joinRows(piece);
        return runRows(*piece, runRow);
    }
    if (piece->pixelBytes > widestPattern)
        return runPicked(job, piece);
    piece->bytesBefore = static_cast<size_t>(dst.first) * piece->elementBytes;
    chooseChannels(piece);
    runRows(*piece, mergeRow);
}

} // namespace

quib::PixelRun ownRunOfDepth(const quib::PixelRuns& runs, uint32_t depth)
{
    switch (depth) {
    case IPL_DEPTH_8U:
        return runs.u8;
    case IPL_DEPTH_8S:
        return runs.s8;
    case IPL_DEPTH_16U:
        return runs.u16;
    case IPL_DEPTH_16S:
        return runs.s16;
    case IPL_DEPTH_32S:
        return runs.s32;
    default:
        return runs.f32;
    }
}

void ownRunPiece(const IplPixelJob& job, const IplImage* const images[IPL_ROLES],
                 const IplImage* mask)
{
    Piece piece{};
    piece.value = job.op.value;
    placeImages(job, images, mask, &piece);
    if (piece.width <= 0 || piece.height <= 0 || job.channelCount <= 0)
        return;
    if (images[IPL_DST]->depth == IPL_DEPTH_1U)
        runBits(piece, job.op.bits);
    else
        runElements(job, images, piece);
}

bool ownIsWholeRun(const IplImage* imageA, const IplImage* imageB, const IplImage* imageC,
                   bool hasAlpha)
{
    if (hasAlpha)
        return false;
    for (const IplImage* image : {imageA, imageB, imageC}) {
        if (!image)
            continue;
        const IplROI* roi = image->roi;
        if (image->width != imageA->width || image->height != imageA->height ||
            image->imageSize != imageA->imageSize || image->align != imageA->align)
            return false;
        if (roi && (roi->xOffset != 0 || roi->yOffset != 0 || roi->width < image->width ||
                    roi->height < image->height || roi->coi <= 0 || image->nChannels != 1))
            return false;
    }
    return true;
}
