#include "_Src/pixel/composite.h"

#include "_Src/walk/raster.h"
#include "kernels/kernels.h"

namespace
{

struct Piece {
    IplRaster rasters[IPL_COMPOSITE_ROLES]; // address null: no such image
    IplRaster mask;
    int32_t width;
    int32_t height;
    int32_t channels;
    size_t perPixel; // elements of a row that share an alpha
};

void chooseMasked(const Piece& piece, int32_t y, size_t x, size_t pixels, const uint8_t* pattern,
                  size_t pixelBytes, uint8_t* choice)
{
    quib::kernels().select.spread(choice, ownImageRow(piece.mask, y),
                                  piece.mask.region.x + static_cast<int32_t>(x), pixels, pattern,
                                  pixelBytes);
}

// --- Channels, one after the other ---------------------------------------------------

constexpr size_t mostElements = 1024;

template<class Element>
struct Scratch {
    alignas(64) Element a[mostElements];
    alignas(64) Element b[mostElements];
    alignas(64) Element alphaA[mostElements]; // filled beforehand where it is a constant
    alignas(64) Element alphaB[mostElements];
    alignas(64) Element result[mostElements];
    alignas(64) uint8_t choice[mostElements];
};

// A run of a row: `pixels` pixels from pixel x on, of one channel of the images.
struct Run {
    int32_t y;
    int32_t channel;
    size_t x;
    size_t pixels;
};

quib::CompositeElements<uint8_t> elementsOf(const IplComposite& composite, uint8_t)
{
    const quib::CompositeKernels& kernels = quib::kernels().composite;
    const auto& rows = composite.divideMode ? kernels.dividedElements8 : kernels.elements8;
    return rows.of[composite.premulAlpha][composite.compositeType];
}

quib::CompositeElements<uint16_t> elementsOf(const IplComposite& composite, uint16_t)
{
    const quib::CompositeKernels& kernels = quib::kernels().composite;
    const auto& rows = composite.divideMode ? kernels.dividedElements16 : kernels.elements16;
    return rows.of[composite.premulAlpha][composite.compositeType];
}

quib::CompositeAlphas<uint8_t> alphasOf(const IplComposite& composite, uint8_t)
{
    return quib::kernels().composite.alphas8[composite.compositeType];
}

quib::CompositeAlphas<uint16_t> alphasOf(const IplComposite& composite, uint16_t)
{
    return quib::kernels().composite.alphas16[composite.compositeType];
}

template<class Element>
Element* placeOf(const IplRaster& raster, const Run& run)
{
    return ownRegionRow<Element>(raster, run.channel, run.y) + run.x * raster.stride;
}

// Elements from one of a run to the next: those that share an alpha are all of
// their pixel.
size_t strideOf(const IplRaster& raster, size_t perPixel)
{
    return perPixel > 1 ? 1 : static_cast<size_t>(raster.stride);
}

// A run's elements, side by side: in their place if they lie so, else in the
// buffer.
template<class Element>
const Element* readElements(const IplRaster& raster, const Run& run, size_t perPixel,
                            Element* buffer)
{
    const Element* place = placeOf<Element>(raster, run);
    const size_t stride = strideOf(raster, perPixel);
    if (stride == 1)
        return place;
    ownStridedMoves(raster).gather(buffer, place, stride, run.pixels * perPixel);
    return buffer;
}

template<class Element>
const Element* readAlphas(const IplRaster& raster, Run run, size_t perPixel, Element* buffer)
{
    if (!raster.address)
        return buffer;
    run.channel = 0;
    const Element* alphas = readElements(raster, run, 1, buffer);
    if (perPixel == 1)
        return alphas;
    // From the end, as the alphas may lie in the buffer's first places.
    for (size_t i = run.pixels; i-- > 0;) {
        const Element alpha = alphas[i];
        for (size_t k = 0; k < perPixel; ++k)
            buffer[i * perPixel + k] = alpha;
    }
    return buffer;
}

template<class Element>
struct Alphas {
    const Element* a;
    const Element* b;
};

template<class Element>
Alphas<Element> readBothAlphas(const IplComposite& composite, const Piece& piece, const Run& run,
                               size_t perPixel, Scratch<Element>* scratch)
{
    const IplRaster& alphaB = piece.rasters[IPL_ALPHA_B];
    const Element* a = readAlphas(piece.rasters[IPL_ALPHA_A], run, perPixel, scratch->alphaA);
    if (alphaB.address || composite.constantB >= 0)
        return {a, readAlphas(alphaB, run, perPixel, scratch->alphaB)};
    for (size_t i = 0; i < run.pixels * perPixel; ++i)
        scratch->alphaB[i] = static_cast<Element>(~a[i]);
    return {a, scratch->alphaB};
}

// Calls compute(dst) for where a run's results go, side by side, and puts them in
// their place if that is elsewhere.
template<class Element, class Compute>
void writeElements(const Piece& piece, const IplRaster& raster, const Run& run, size_t perPixel,
                   Scratch<Element>* scratch, Compute compute)
{
    Element* place = placeOf<Element>(raster, run);
    const size_t stride = strideOf(raster, perPixel);
    const bool masked = piece.mask.address != nullptr;
    if (stride == 1 && !masked)
        return compute(place);
    compute(scratch->result);
    if (masked)
        chooseMasked(piece, run.y, run.x, run.pixels, nullptr, 1, scratch->choice);
    ownStridedMoves(raster).scatter(place, scratch->result, stride,
                                    masked ? scratch->choice : nullptr, run.pixels * perPixel);
}

template<class Element>
void colourRun(const IplComposite& composite, const Piece& piece, const Run& run,
               Scratch<Element>* scratch)
{
    const size_t perPixel = piece.perPixel;
    const Alphas<Element> alphas = readBothAlphas(composite, piece, run, perPixel, scratch);
    const Element* a = readElements(piece.rasters[IPL_COMPOSITE_A], run, perPixel, scratch->a);
    const Element* b = readElements(piece.rasters[IPL_COMPOSITE_B], run, perPixel, scratch->b);
    writeElements(
        piece, piece.rasters[IPL_COMPOSITE_DST], run, perPixel, scratch, [&](Element* dst) {
            elementsOf(composite, Element{})(dst, a, b, alphas.a, alphas.b, run.pixels * perPixel);
        });
}

template<class Element>
void alphaRun(const IplComposite& composite, const Piece& piece, const Run& run,
              Scratch<Element>* scratch)
{
    const Alphas<Element> alphas = readBothAlphas(composite, piece, run, 1, scratch);
    writeElements(piece, piece.rasters[IPL_ALPHA_DST], run, 1, scratch, [&](Element* dst) {
        alphasOf(composite, Element{})(dst, alphas.a, alphas.b, run.pixels);
    });
}

template<class Element>
void runChannels(const IplComposite& composite, const Piece& piece)
{
    Scratch<Element> scratch;
    std::fill_n(scratch.alphaA, mostElements, static_cast<Element>(composite.constantA));
    std::fill_n(scratch.alphaB, mostElements, static_cast<Element>(composite.constantB));
    const size_t width = static_cast<size_t>(piece.width);
    const size_t most = mostElements / piece.perPixel;
    for (int32_t y = 0; y < piece.height; ++y) {
        for (int32_t channel = 0; channel < piece.channels; ++channel)
            for (size_t x = 0; x < width; x += most)
                colourRun(composite, piece, {y, channel, x, std::min(most, width - x)}, &scratch);
        if (piece.rasters[IPL_ALPHA_DST].address)
            for (size_t x = 0; x < width; x += most)
                alphaRun(composite, piece, {y, 0, x, std::min(most, width - x)}, &scratch);
    }
}

// --- Pixels of four bytes ---------------------------------------------------------------

// Calls row(dst, a, b, count) for the rows, or under a mask for runs of them
// beside their place. `pattern` has 0xFF for the bytes of a pixel that it writes.
template<class Row>
void runPixels(const Piece& piece, const uint8_t pattern[4], Row row)
{
    constexpr size_t most = mostElements / 4;
    const size_t width = static_cast<size_t>(piece.width);
    uint8_t result[mostElements] = {};
    uint8_t choice[mostElements];
    for (int32_t y = 0; y < piece.height; ++y) {
        uint8_t* dst = ownRegionBytes(piece.rasters[IPL_COMPOSITE_DST], 0, y);
        const uint8_t* a = ownRegionBytes(piece.rasters[IPL_COMPOSITE_A], 0, y);
        const uint8_t* b = ownRegionBytes(piece.rasters[IPL_COMPOSITE_B], 0, y);
        if (!piece.mask.address) {
            row(dst, a, b, width);
            continue;
        }
        for (size_t x = 0; x < width; x += most) {
            const size_t pixels = std::min(most, width - x);
            row(result, a + x * 4, b + x * 4, pixels);
            chooseMasked(piece, y, x, pixels, pattern, 4, choice);
            quib::kernels().select.blend(dst + x * 4, result, choice, pixels * 4);
        }
    }
}

void runOwnAlphas(const IplComposite& composite, const Piece& piece)
{
    const quib::CompositeKernels& kernels = quib::kernels().composite;
    const auto& rows = composite.divideMode ? kernels.dividedPixels : kernels.pixels;
    constexpr uint8_t pattern[4] = {0xFF, 0xFF, 0xFF, 0xFF};
    runPixels(piece, pattern, rows.of[composite.premulAlpha][composite.compositeType]);
}

void runTinted(const IplComposite& composite, const Piece& piece)
{
    const auto tinted =
        quib::kernels().composite.tinted.of[composite.premulAlpha][composite.compositeType];
    const uint8_t alphaA = static_cast<uint8_t>(composite.constantA);
    const uint8_t alphaB = static_cast<uint8_t>(composite.constantB);
    constexpr uint8_t pattern[4] = {0xFF, 0xFF, 0xFF, 0};
    runPixels(piece, pattern, [=](uint8_t* dst, const uint8_t* a, const uint8_t* b, size_t count) {
        tinted(dst, a, b, alphaA, alphaB, count);
    });
}

// --- The plan -----------------------------------------------------------------------------

constexpr IplCompositeRole colourRoles[] = {IPL_COMPOSITE_A, IPL_COMPOSITE_B, IPL_COMPOSITE_DST};
constexpr IplCompositeRole alphaRoles[] = {IPL_ALPHA_A, IPL_ALPHA_B, IPL_ALPHA_DST};

// Opens an image, whose region lowers the piece's size.
void place(const IplImage* image, const IplChannels& channels, IplRaster* raster, Piece* piece)
{
    ownRoiOrigin(image, channels, raster);
    piece->width = std::min(piece->width, raster->region.width);
    piece->height = std::min(piece->height, raster->region.height);
}

void placeImages(const IplImage* const images[IPL_COMPOSITE_ROLES], const IplImage* mask,
                 Piece* piece)
{
    for (const IplCompositeRole role : colourRoles)
        place(images[role], ownChosenChannels(images[role]), &piece->rasters[role], piece);
    for (const IplCompositeRole role : alphaRoles)
        if (images[role])
            place(images[role], {std::max(images[role]->alphaChannel - 1, 0), 1},
                  &piece->rasters[role], piece);
    if (mask)
        place(mask, {0, 1}, &piece->mask, piece);
}

// Whether the sources and the destination have pixels of the same shape.
bool areInterleavedAlike(const IplImage* const images[IPL_COMPOSITE_ROLES])
{
    const IplImage* dst = images[IPL_COMPOSITE_DST];
    for (const IplCompositeRole role : colourRoles)
        if (images[role]->dataOrder != IPL_DATA_ORDER_PIXEL || ownCoi(images[role]) ||
            images[role]->nChannels != dst->nChannels ||
            images[role]->alphaChannel != dst->alphaChannel)
            return false;
    return true;
}

bool haveOwnAlphas(const IplImage* const images[IPL_COMPOSITE_ROLES])
{
    return images[IPL_ALPHA_A] == images[IPL_COMPOSITE_A] &&
           images[IPL_ALPHA_B] == images[IPL_COMPOSITE_B] &&
           images[IPL_ALPHA_DST] == images[IPL_COMPOSITE_DST];
}

bool haveConstantAlphas(const IplComposite& composite,
                        const IplImage* const images[IPL_COMPOSITE_ROLES])
{
    return !images[IPL_ALPHA_A] && !images[IPL_ALPHA_B] && composite.constantB >= 0;
}

// Whether rows of pixels can be walked as rows of elements: nothing but colours,
// and alphas that no channel before the last changes.
bool areRunsOfColours(const IplImage* const images[IPL_COMPOSITE_ROLES], const IplImage* mask)
{
    const IplImage* dst = images[IPL_COMPOSITE_DST];
    for (const IplCompositeRole role : {IPL_ALPHA_A, IPL_ALPHA_B})
        if (images[role] && images[role]->imageData == dst->imageData)
            return false;
    return !mask && dst->alphaChannel == 0 && dst->nChannels <= 4;
}

} // namespace

void ownCompositePiece(const IplComposite& composite,
                       const IplImage* const images[IPL_COMPOSITE_ROLES], const IplImage* mask)
{
    const IplImage* dst = images[IPL_COMPOSITE_DST];
    Piece piece{};
    piece.width = INT32_MAX;
    piece.height = INT32_MAX;
    piece.channels = ownProcessedChannels(dst);
    piece.perPixel = 1;
    placeImages(images, mask, &piece);
    if (piece.width <= 0 || piece.height <= 0)
        return;
    const bool alike = areInterleavedAlike(images);
    if (dst->depth == IPL_DEPTH_8U && alike && dst->alphaChannel == 4) {
        if (haveOwnAlphas(images))
            return runOwnAlphas(composite, piece);
        if (haveConstantAlphas(composite, images) && !images[IPL_ALPHA_DST] &&
            !composite.divideMode)
            return runTinted(composite, piece);
    }
    if (alike && areRunsOfColours(images, mask)) {
        piece.perPixel = static_cast<size_t>(dst->nChannels);
        piece.channels = 1;
    } else {
        for (const IplCompositeRole role : colourRoles)
            ownSplitChannels(&piece.rasters[role]);
    }
    if (dst->depth == IPL_DEPTH_8U)
        runChannels<uint8_t>(composite, piece);
    else
        runChannels<uint16_t>(composite, piece);
}
