#include "_Src/pixel/piece.h"

#include "_Src/image/check.h"
#include "_Src/image/pitch.h"
#include "_Src/walk/region.h"

#include <cstring>

namespace
{

// Where the part of an image in a piece lies.
struct Strand {
    uint8_t* corner;
    ptrdiff_t step;
    ptrdiff_t channelStep;
    size_t stride;     // elements from one pixel to the next
    int32_t bitOffset; // of the corner, at depth 1
};

constexpr size_t scratchBytes = 4096;
constexpr size_t widestPattern = 64;

struct Scratch {
    alignas(64) uint8_t a[scratchBytes];
    alignas(64) uint8_t b[scratchBytes];
    alignas(64) uint8_t choice[scratchBytes];
};

struct Piece {
    Strand strands[IPL_ROLES];
    Strand mask; // corner null: no mask
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

// The addresses of one row.
struct Row {
    uint8_t* dst;
    const uint8_t* a;
    const uint8_t* b;
    const uint8_t* mask;
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
                                  piece.mask.bitOffset + static_cast<int32_t>(x), pixels,
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
    if (piece->mask.corner)
        return;
    const size_t pixels = pixelsAtATime(*piece);
    std::memset(piece->scratch->a, 0xFF, pixels / 8 + 1);
    choosePixels(*piece, piece->scratch->a, 0, pixels);
}

// A row of pixels of any shapes, one channel after the other.
void pickRow(const Piece& piece, const Row& row)
{
    constexpr size_t most = scratchBytes / 4;
    Scratch& scratch = *piece.scratch;
    const quib::SelectKernels& select = quib::kernels().select;
    const size_t size = piece.elementBytes == 4 ? 2 : piece.elementBytes - 1;
    const size_t width = static_cast<size_t>(piece.width);
    const auto place = [&piece](IplRole role, size_t x, size_t channel) {
        const Strand& strand = piece.strands[role];
        return static_cast<ptrdiff_t>(x * strand.stride * piece.elementBytes) +
               static_cast<ptrdiff_t>(channel) * strand.channelStep;
    };
    for (size_t x = 0; x < width; x += most) {
        const size_t pixels = std::min(most, width - x);
        if (row.mask)
            select.spread(scratch.choice, row.mask, piece.mask.bitOffset + static_cast<int32_t>(x),
                          pixels, nullptr, 1);
        for (size_t c = 0; c < piece.channels; ++c) {
            select.gather[size](scratch.a, row.a + place(IPL_SRC_A, x, c),
                                piece.strands[IPL_SRC_A].stride, pixels);
            if (row.b)
                select.gather[size](scratch.b, row.b + place(IPL_SRC_B, x, c),
                                    piece.strands[IPL_SRC_B].stride, pixels);
            piece.run(scratch.a, scratch.a, scratch.b, pixels, piece.value);
            select.scatter[size](row.dst + place(IPL_DST, x, c), scratch.a,
                                 piece.strands[IPL_DST].stride, row.mask ? scratch.choice : nullptr,
                                 pixels);
        }
    }
}

void runRows(const Piece& piece, RowWork rowWork)
{
    for (int32_t pass = 0; pass < piece.passes; ++pass) {
        for (int32_t y = 0; y < piece.height; ++y) {
            const auto address = [&](const Strand& strand) {
                return strand.corner ? strand.corner + pass * strand.channelStep + y * strand.step
                                     : nullptr;
            };
            rowWork(piece, {address(piece.strands[IPL_DST]), address(piece.strands[IPL_SRC_A]),
                            address(piece.strands[IPL_SRC_B]), address(piece.mask)});
        }
    }
}

// --- Bits ------------------------------------------------------------------------------

template<class Byte = const uint8_t>
quib::BitRows<Byte> bitRows(const Strand& strand, int32_t x, int32_t y)
{
    return {strand.corner + y * strand.step, strand.step, strand.bitOffset + x};
}

// Computes beside their place the bits that a mask is to choose from.
void runMaskedBits(const Piece& piece, quib::BitRun run)
{
    constexpr int32_t most = 8 * static_cast<int32_t>(scratchBytes);
    uint8_t result[scratchBytes];
    for (int32_t y = 0; y < piece.height; ++y) {
        for (int32_t x = 0; x < piece.width; x += most) {
            const size_t width = static_cast<size_t>(std::min(most, piece.width - x));
            run({result, 0, 0}, bitRows(piece.strands[IPL_SRC_A], x, y),
                bitRows(piece.strands[IPL_SRC_B], x, y), width, 1, piece.value);
            quib::kernels().bits.select(bitRows<uint8_t>(piece.strands[IPL_DST], x, y),
                                        {result, 0, 0}, bitRows(piece.mask, x, y), width, 1, 0);
        }
    }
}

void runBits(const Piece& piece, quib::BitRun run)
{
    if (piece.mask.corner)
        return runMaskedBits(piece, run);
    run(bitRows<uint8_t>(piece.strands[IPL_DST], 0, 0), bitRows(piece.strands[IPL_SRC_A], 0, 0),
        bitRows(piece.strands[IPL_SRC_B], 0, 0), static_cast<size_t>(piece.width),
        static_cast<size_t>(piece.height), piece.value);
}

// The strand of an image's region, whose size lowers the piece's.
Strand strandOf(const IplImage* image, int32_t channelOffset, Piece* piece)
{
    Strand strand{};
    int32_t width = 0;
    int32_t height = 0;
    strand.corner = ownRoiOrigin(image, &width, &height, channelOffset, &strand.bitOffset);
    strand.step = image->widthStep;
    strand.channelStep = image->dataOrder == IPL_DATA_ORDER_PLANE
                             ? static_cast<ptrdiff_t>(image->height) * image->widthStep
                             : ownDepthBits(image->depth) / 8;
    strand.stride = static_cast<size_t>(ownElementsPerPixel(image));
    piece->width = std::min(piece->width, width);
    piece->height = std::min(piece->height, height);
    return strand;
}

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

void placeImages(const IplPixelJob& job, const IplImage* const images[IPL_ROLES],
                 const IplImage* mask, Piece* piece)
{
    piece->width = INT32_MAX;
    piece->height = INT32_MAX;
    for (int32_t role = 0; role < IPL_ROLES; ++role)
        if (images[role])
            piece->strands[role] = strandOf(images[role], job.channelOffset[role], piece);
    if (mask)
        piece->mask = strandOf(mask, 0, piece);
    // Each plane starts with the mask's first row.
    piece->mask.channelStep = 0;
}

// Elements of 8 bits or more.
void runElements(const IplPixelJob& job, const IplImage* const images[IPL_ROLES], Piece* piece)
{
    Scratch scratch;
    const IplImage* dst = images[IPL_DST];
    const bool planes = dst->dataOrder == IPL_DATA_ORDER_PLANE && isSameOrder(images);
    piece->run = ownRunOfDepth(*job.op.runs, dst->depth);
    piece->elementBytes = static_cast<size_t>(ownDepthBits(dst->depth) / 8);
    piece->passes = planes ? job.channelCount : 1;
    piece->channels = planes ? 1 : static_cast<size_t>(job.channelCount);
    piece->scratch = &scratch;
    const size_t stride = piece->strands[IPL_DST].stride;
    piece->pixelBytes = stride * piece->elementBytes;
    if (!isSameShape(job, images))
        return runRows(*piece, pickRow);
    if (!piece->mask.corner && piece->channels == stride) {
        if (isOneRun(images, job.hasAlpha))
            joinRows(piece);
        return runRows(*piece, runRow);
    }
    if (piece->pixelBytes > widestPattern)
        return runRows(*piece, pickRow);
    piece->bytesBefore =
        planes ? 0 : static_cast<size_t>(job.channelOffset[IPL_DST]) * piece->elementBytes;
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
        runElements(job, images, &piece);
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
