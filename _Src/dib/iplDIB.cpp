// Conversion between packed bitmaps and images: iplConvertFromDIB,
// iplConvertToDIB. A run of pixels goes through three functions chosen once per
// call: a fetch into working pixels, a step that adapts their channels, a store.
#include "_Src/dib/format.h"
#include "_Src/dib/imagerows.h"
#include "_Src/dib/ownrle.h"
#include "_Src/image/pitch.h"
#include "_Src/image/report.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace
{

constexpr const char* fileName = "iplDIB";

// --- Tests -----------------------------------------------------------------------------

bool imageIsGoodTarget(const IplCaller& caller, const IplImage* image)
{
    const int32_t align = image->align;
    return ownRequire(caller, image->alphaChannel >= 0, "( image->alphaChannel < 0 )") &&
           ownRequire(caller, image->nChannels >= image->alphaChannel,
                      "( image->nChannels < image->alphaChannel )") &&
           ownRequire(caller, image->dataOrder == 0 || image->dataOrder == 1,
                      "( (image->dataOrder != 0) && (image->dataOrder != 1) )") &&
           ownRequire(caller, image->origin == 0 || image->origin == 1,
                      "( (image->origin != 0) && (image->origin != 1) )") &&
           ownRequire(caller, align == 4 || align == 8 || align == 16 || align == 32,
                      "( (image->align != 4) && (image->align != 8) && (image->align != 16) && "
                      "(image->align != 32) )") &&
           ownRequire(caller, image->height > 0, "(image->height <= 0)") &&
           ownRequire(caller, image->width > 0, "(image->width <= 0)") &&
           ownRequire(caller, image->imageSize > 0, "(image->imageSize <= 0)") &&
           ownRequire(caller, image->widthStep > 0, "(image->widthStep <= 0)");
}

bool headerIsGood(const IplCaller& caller, const BITMAPINFOHEADER& dib)
{
    return ownRequire(caller, dib.biSize == sizeof(BITMAPINFOHEADER),
                      "(dib->biSize != sizeof(BITMAPINFOHEADER))") &&
           ownRequire(caller, dib.biPlanes == 1, "(dib->biPlanes != 1)") &&
           ownRequire(caller, dib.biCompression <= BI_BITFIELDS,
                      "(dib->biCompression != 0) && (dib->biCompression != 1) && "
                      "(dib->biCompression != 2) && (dib->biCompression != 3)") &&
           ownRequire(caller, dib.biBitCount == 8 || dib.biCompression != BI_RLE8,
                      "(dib->biBitCount != 8) && (dib->biCompression == 1)") &&
           ownRequire(caller, dib.biBitCount == 4 || dib.biCompression != BI_RLE4,
                      "(dib->biBitCount != 4) && (dib->biCompression == 2)") &&
           ownRequire(caller, dib.biHeight >= 0 || !ownIsCompressed(dib),
                      "(dib->biHeight < 0) && ( (dib->biCompression == 1) || "
                      "(dib->biCompression == 2) )") &&
           ownRequire(caller, dib.biClrUsed <= 0x8000, "(dib->biClrUsed > 0x8000)") &&
           ownRequire(caller, dib.biBitCount != 8 || dib.biClrUsed <= 256,
                      "( dib->biBitCount==8 && dib->biClrUsed>256 )") &&
           ownRequire(caller, dib.biBitCount != 4 || dib.biClrUsed <= 16,
                      "( dib->biBitCount==4 && dib->biClrUsed>16 )");
}

bool imageIsGoodSource(const IplCaller& caller, const IplImage* image, const BITMAPINFOHEADER& dib)
{
    if (!ownRequire(caller, image->nChannels > 0 && image->nChannels <= 4,
                    "(image->nChannels <= 0 || image->nChannels > 4)") ||
        !ownRequire(caller,
                    image->depth == IPL_DEPTH_1U || image->depth == IPL_DEPTH_8U ||
                        image->depth == IPL_DEPTH_16U,
                    "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )") ||
        !ownRequire(caller, image->alphaChannel == 0 || image->alphaChannel == 4,
                    "(image->alphaChannel != 0 && image->alphaChannel != 4)"))
        return false;
    const bool goodChannels =
        image->alphaChannel ? ownRequire(caller, image->nChannels == 4, "(image->nChannels != 4)")
                            : ownRequire(caller, image->nChannels == 3 || image->nChannels == 1,
                                         "(image->nChannels != 3 && image->nChannels != 1)");
    return goodChannels &&
           ownRequire(caller, image->width == dib.biWidth && image->height == ownDibHeight(dib),
                      "(image->width != dib->biWidth || image->height != abs_biHeight)");
}

// --- Rows ------------------------------------------------------------------------------

// A bitmap's rows, from the one that is shown at the top on.
struct DibRows {
    OwnExtent extent;
    uint64_t start; // of the rows, in bytes
    int64_t pitch;
    int64_t height;
    bool bottomFirst;
    bool looksForBlanks; // whether a stream may have skipped rows
};

DibRows rowsOf(const BITMAPINFOHEADER& header, const OwnExtent& extent, uint64_t start)
{
    return {extent,
            start,
            ownDibRowPitch(header),
            ownDibHeight(header),
            header.biHeight > 0,
            ownIsCompressed(header)};
}

uint64_t rowOffset(const DibRows& rows, int64_t y)
{
    return rows.start +
           static_cast<uint64_t>(rows.pitch * (rows.bottomFirst ? rows.height - 1 - y : y));
}

// A run of pixels in a bitmap's row. Where the block ends inside it, a copy of
// the part that is there, followed by zeros, takes its place.
struct DibRun {
    uint8_t* bytes;
    uint64_t offset;
    size_t size;
    bool isCopy;
    uint8_t copy[ownRunLength * 4];
};

void openRun(DibRun* run, const DibRows& rows, int64_t y, int64_t column, int32_t count,
             int32_t bitCount)
{
    run->offset = rowOffset(rows, y) + static_cast<uint64_t>(column * bitCount / 8);
    run->size = static_cast<size_t>((int64_t{count} * bitCount + 7) / 8);
    run->isCopy = ownHeldBytes(rows.extent, run->offset, run->size) < run->size;
    run->bytes = run->isCopy ? run->copy : rows.extent.start + run->offset;
    if (run->isCopy)
        ownReadExtent(rows.extent, run->offset, run->copy, run->size);
}

bool isBlank(const uint8_t* bytes, size_t count)
{
    return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, count - 1) == 0;
}

void closeWrittenRun(const DibRun& run, const DibRows& rows)
{
    if (run.isCopy)
        ownWriteExtent(rows.extent, run.offset, run.copy, run.size);
}

} // namespace

// --- From a bitmap -----------------------------------------------------------------------

namespace
{

struct Import {
    OwnDibFormat format;
    OwnDibFetch fetch;
    OwnChannelStep step;
    OwnImageStore store;
    bool looksUp; // a byte's colour is a byte of the image
};

// What ends a call that cannot convert: silent after a report.
void refuseCombination(const IplCaller& caller)
{
    if (iplGetStatus() >= 0)
        ownReport(caller, IPL_StsInternal, "");
}

bool chooseImport(const IplCaller& caller, const OwnDib& dib, const IplImage* image, Import* plan)
{
    plan->fetch = ownChooseDibFetch(dib.header);
    if (!plan->fetch)
        return false;
    plan->step = ownStepToImage(ownChannelOrder(image));
    if (!plan->step) {
        ownReport(caller, IPL_BadModelOrChSeq, "image->channelSeq unsupport");
        return false;
    }
    plan->store = ownChooseImageStore(image);
    if (!plan->store)
        return false;
    if (dib.header.biBitCount > 8) {
        ownReadMasks(dib, &plan->format);
        return true;
    }
    ownReadColours(dib, &plan->format);
    // Taken by the table's colours, the step is behind all pixels.
    plan->step(plan->format.colours, static_cast<int32_t>(std::size(plan->format.colours)));
    plan->step = ownStepToImage(OwnChannelOrder::blueFirst);
    plan->looksUp =
        dib.header.biBitCount == 8 && image->nChannels == 1 && image->depth == IPL_DEPTH_8U;
    return true;
}

// All three functions of 8-bit pixels and of one channel of 8 bits at once.
void lookUpRun(const OwnDibFormat& format, const uint8_t* bytes, uint8_t* row, int32_t count)
{
    for (int32_t i = 0; i < count; ++i)
        row[i] = format.colours[bytes[i]].byte[2];
}

// The pixels of a row up to the last that is held in the block; a row that is
// nothing but zeros counts as not held where such rows are looked for.
int64_t heldPixels(const DibRows& rows, int64_t y, const BITMAPINFOHEADER& header)
{
    const uint64_t offset = rowOffset(rows, y);
    const int64_t width = header.biWidth;
    const uint64_t bytes = static_cast<uint64_t>((width * header.biBitCount + 7) / 8);
    const size_t held =
        ownHeldBytes(rows.extent, offset, static_cast<size_t>(std::min<uint64_t>(bytes, SIZE_MAX)));
    if (held == 0 || (rows.looksForBlanks && isBlank(rows.extent.start + offset, held)))
        return 0;
    return held == bytes ? width : static_cast<int64_t>(uint64_t{held} * 8 / header.biBitCount + 1);
}

// What an import works on, and room for what is in hand.
struct ImportJob {
    const Import& plan;
    IplRaster to;    // a plane a channel
    IplRaster whole; // the same, as it lies in memory
    DibRun bytes;
    OwnPixel run[ownRunLength];
};

void importRun(ImportJob* job, uint8_t* row, int32_t x, const uint8_t* bytes, int32_t count)
{
    if (job->plan.looksUp)
        return lookUpRun(job->plan.format, bytes, row + x, count);
    job->plan.fetch(job->plan.format, bytes, job->run, count);
    job->plan.step(job->run, count);
    job->plan.store(job->to, row, x, job->run, count);
}

// The pixels from x on, at a run's start, of zeros: the first run is made, the
// others are copied from it.
void importBlanks(ImportJob* job, uint8_t* row, int32_t x, int32_t width)
{
    constexpr uint8_t zeros[ownRunLength * 4] = {};
    importRun(job, row, x, zeros, std::min(ownRunLength, width - x));
    const IplRaster& raster = job->whole;
    const ptrdiff_t elements = static_cast<ptrdiff_t>(ownRunLength) * raster.stride;
    const ptrdiff_t runBytes = raster.elementBytes ? elements * raster.elementBytes : elements / 8;
    uint8_t* const made = row + x / ownRunLength * runBytes;
    ptrdiff_t copied = runBytes;
    for (x += ownRunLength; x <= width - ownRunLength; x += ownRunLength, copied += runBytes)
        for (int32_t plane = 0; plane < raster.planes; ++plane)
            std::memcpy(made + plane * raster.planeStep + copied, made + plane * raster.planeStep,
                        static_cast<size_t>(runBytes));
    if (x < width)
        importRun(job, row, x, zeros, width - x);
}

void importRows(const Import& plan, const DibRows& from, const BITMAPINFOHEADER& header,
                const IplImage* image)
{
    ImportJob job{plan, ownImageRows(image), {}, {}, {}};
    ownTopDownRows(image, &job.whole);
    const int32_t width = header.biWidth;
    if (width <= 0)
        return;
    for (int64_t y = 0; y < from.height; ++y) {
        uint8_t* row = job.to.row(0, static_cast<int32_t>(y));
        const int64_t held = heldPixels(from, y, header);
        int32_t x = 0;
        for (; x < held; x += ownRunLength) {
            const int32_t count = std::min(ownRunLength, width - x);
            openRun(&job.bytes, from, y, x, count, header.biBitCount);
            importRun(&job, row, x, job.bytes.bytes, count);
        }
        if (x < width)
            importBlanks(&job, row, x, width);
    }
}

void importDib(const IplCaller& caller, const Import& plan, const OwnDib& dib,
               const IplImage* image)
{
    const BITMAPINFOHEADER& header = dib.header;
    if (!ownIsCompressed(header)) {
        importRows(plan, rowsOf(header, dib.block, ownPixelStart(header)), header, image);
        return;
    }
    uint8_t* plain = ownDecompressRLE(dib);
    if (!plain) {
        ownReport(caller, IPL_StsInternal, "Impossible to decompress RLE DIB");
        return;
    }
    const size_t bytes = static_cast<size_t>(ownDibRowPitch(header) * header.biHeight);
    importRows(plan, rowsOf(header, {plain, bytes}, 0), header, image);
    iplAlignedFree(plain);
}

} // namespace

void ownConvertFromDIB(const void* block, size_t bytes, IplImage* image)
{
    const IplCaller caller{"iplConvertFromDIB", fileName};
    const bool haveDib = ownRequire(caller, block, "dib==0");
    const bool haveImage = ownRequire(caller, image, "image==0");
    if (!haveDib || !haveImage)
        return;
    // A failure that an earlier quiet check left behind stops the conversion.
    if (iplGetStatus() < 0)
        return;
    const OwnDib dib = ownOpenDib(block, bytes);
    if (!imageIsGoodTarget(caller, image) || !headerIsGood(caller, dib.header))
        return;
    if (image->width < dib.header.biWidth || image->height < ownDibHeight(dib.header)) {
        ownReport(caller, IPL_BadImageSize, "Image size is too small");
        return;
    }
    Import plan{};
    if (!chooseImport(caller, dib, image, &plan)) {
        refuseCombination(caller);
        return;
    }
    if (!image->imageData)
        iplAllocateImage(image, 0, 0);
    if (!image->imageData) {
        ownReport(caller, IPL_StsNoMem, "Not enough memory to allocate data for destination image");
        return;
    }
    // A size that wrapped to 0 has no room for a pixel.
    if (image->imageSize > 0)
        importDib(caller, plan, dib, image);
}

void iplConvertFromDIB(const BITMAPINFOHEADER* dib, IplImage* image)
{
    ownConvertFromDIB(dib, dib ? ownImpliedSize(*dib) : 0, image);
}

// --- To a bitmap -------------------------------------------------------------------------

namespace
{

struct Export {
    OwnDibFormat format;
    OwnImageFetch fetch;
    OwnChannelStep step;
    OwnDibStore store;
};

bool preparePalette(const IplCaller& caller, OwnDib* dib, const IplImage* image,
                    int32_t paletteConversion)
{
    switch (paletteConversion) {
    case 0:
        return true;
    case 1:
        ownStandardPalette(*dib, image->nChannels == 1);
        return true;
    case 2:
        if (ownMedianCutPalette(dib, image))
            return true;
        ownReport(caller, IPL_StsInternal, "Error of creating medcut palette");
        return false;
    default:
        ownReport(caller, IPL_StsBadArg, "Palette conversion is bad");
        return false;
    }
}

// The levels that a bitmap's pixels can have in each channel, as far as the
// converter tells them apart; 0 for a bit count that cannot be converted.
int32_t levelsOf(const BITMAPINFOHEADER& dib)
{
    switch (dib.biBitCount) {
    case 1:
        return 2;
    case 4:
        return 16;
    case 16:
        return 32;
    case 8:
    case 24:
    case 32:
        return 256;
    default:
        return 0;
    }
}

// Reduces the image as a bitmap is made of it, whatever its region, mask and row
// pitch; alpha goes over as it is.
void reduceImage(const IplImage* image, IplImage* reduced, int32_t dither, int32_t levels)
{
    IplImage from = *image;
    from.roi = nullptr;
    from.maskROI = nullptr;
    if (!from.tileInfo)
        from.widthStep = ownWidthStep(image, image->width);
    iplReduceBits(&from, reduced, 0, dither, levels);
    if (image->alphaChannel == 0)
        return;
    IplROI alpha{image->alphaChannel, 0, 0, image->width, image->height};
    from.roi = &alpha;
    reduced->roi = &alpha;
    iplReduceBits(&from, reduced, 0, IPL_DITHER_NONE, levels);
    reduced->roi = nullptr;
}

// A new image of as many levels as the bitmap can show; null after a report.
IplImage* ditheredImage(const IplCaller& caller, const BITMAPINFOHEADER& dib, const IplImage* image,
                        int32_t dither)
{
    const int32_t levels = levelsOf(dib);
    if (!ownRequire(caller, levels != 0, "Parameter biBitCount of DIB-image have illegal value"))
        return nullptr;
    IplImage* temporary = iplCreateImageHeader(
        image->nChannels, image->alphaChannel, levels == 2 ? IPL_DEPTH_1U : IPL_DEPTH_8U,
        image->colorModel, image->channelSeq, image->dataOrder, image->origin, image->align,
        image->width, image->height, nullptr, nullptr, nullptr, nullptr);
    if (!temporary) {
        ownReport(caller, IPL_StsNoMem, "Not enough memory to allocate header for temporal image");
        return nullptr;
    }
    iplAllocateImage(temporary, 0, 0);
    reduceImage(image, temporary, dither, levels);
    if (iplGetStatus() == IPL_StsOk)
        return temporary;
    iplDeallocate(temporary, IPL_IMAGE_ALL);
    ownReport(caller, IPL_StsInternal, "Dithering can't be produced");
    return nullptr;
}

bool chooseExport(const IplCaller& caller, const OwnDib& dib, const IplImage* image, Export* plan)
{
    plan->fetch = ownChooseImageFetch(image);
    if (!plan->fetch) {
        ownReport(caller, IPL_BadNumChannels, "image->nChannels is bad");
        return false;
    }
    plan->step = ownStepFromImage(ownChannelOrder(image));
    if (!plan->step) {
        ownReport(caller, IPL_BadModelOrChSeq, "image->channelSeq unsupport");
        return false;
    }
    plan->store = ownChooseDibStore(dib.header);
    if (!ownRequire(caller, plan->store, "dib->biBitCount is bad"))
        return false;
    if (dib.header.biBitCount <= 8)
        plan->format.palette = ownPaletteOf(dib);
    else
        ownReadMasks(dib, &plan->format);
    return true;
}

void exportRows(const Export& plan, const IplImage* image, const OwnDib& dib)
{
    const IplRaster from = ownImageRows(image);
    const DibRows to = rowsOf(dib.header, dib.block, ownPixelStart(dib.header));
    DibRun bytes;
    OwnPixel run[ownRunLength];
    for (int32_t y = 0; y < image->height; ++y) {
        const uint8_t* row = from.row(0, y);
        for (int32_t x = 0; x < image->width; x += ownRunLength) {
            const int32_t count = std::min(ownRunLength, image->width - x);
            plan.fetch(from, row, x, run, count);
            plan.step(run, count);
            openRun(&bytes, to, y, x, count, dib.header.biBitCount);
            plan.store(plan.format, bytes.bytes, run, count);
            closeWrittenRun(bytes, to);
        }
    }
}

int32_t exportImage(const IplCaller& caller, const IplImage* image, OwnDib* dib)
{
    Export plan;
    if (!chooseExport(caller, *dib, image, &plan))
        return iplGetStatus();
    exportRows(plan, image, *dib);
    if (ownIsCompressed(dib->header))
        return ownCompressRLE(dib);
    return static_cast<int32_t>(dib->header.biCompression);
}

} // namespace

int32_t ownConvertToDIB(const IplImage* image, void* block, size_t bytes, int32_t dither,
                        int32_t paletteConversion)
{
    const IplCaller caller{"iplConvertToDIB", fileName};
    if (!ownImageIsGood(caller, image) || !ownRequire(caller, block, "dib==0"))
        return iplGetStatus();
    OwnDib dib = ownOpenDib(block, bytes);
    if (!imageIsGoodSource(caller, image, dib.header) || !headerIsGood(caller, dib.header) ||
        !ownRequire(caller,
                    dither == 1 || dither == 2 || dither == 4 || dither == 8 || dither == 16,
                    "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)") ||
        !ownRequire(caller, paletteConversion >= 0 && paletteConversion <= 2,
                    "(paletteConversion != 0 && paletteConversion != 1 && "
                    "paletteConversion != 2)"))
        return iplGetStatus();
    if (dib.header.biBitCount < 16 && !preparePalette(caller, &dib, image, paletteConversion))
        return iplGetStatus();
    if (dither == IPL_DITHER_NONE)
        return exportImage(caller, image, &dib);
    IplImage* dithered = ditheredImage(caller, dib.header, image, dither);
    if (!dithered)
        return iplGetStatus();
    const int32_t result = exportImage(caller, dithered, &dib);
    iplDeallocate(dithered, IPL_IMAGE_ALL);
    return result;
}

int32_t iplConvertToDIB(const IplImage* image, BITMAPINFOHEADER* dib, int32_t dither,
                        int32_t paletteConversion)
{
    return ownConvertToDIB(image, dib, ownUnknownSize, dither, paletteConversion);
}
