// Convolution by a row and a column: iplConvolveSep2D.
#include "_Src/image/report.h"
#include "_Src/window/convrows.h"
#include "_Src/window/frame.h"
#include "_Src/window/owncsep2.h"

#include <optional>

namespace
{

constexpr IplCaller caller{"iplConvolveSep2D", "iplCSep2"};
constexpr int64_t slotAlignment = 32;

// The passes along rows and columns, either of which may be left out, and a ring of
// the rows that the first has made for the second.
class Passes
{
public:
    Passes(const IplImage* src, const IplImage* dst, const OwnConvKernel* xKernel,
           const OwnConvKernel* yKernel)
        : most(static_cast<int64_t>(std::min(src->width, dst->width)) * src->nChannels),
          slotBytes((most * ownElementBytes(src->depth) + slotAlignment - 1) & -slotAlignment),
          ringRows(yKernel ? yKernel->nRows : 1),
          slots(xKernel && ringRows <= INT32_MAX / slotBytes ? ringRows * slotBytes : 1),
          pointers(ringRows), ringFits(!xKernel || ringRows <= INT32_MAX / slotBytes)
    {
        if (xKernel)
            across.emplace(&xKernel, 1, IPL_CONV_SUM, src->depth, most);
        if (yKernel)
            down.emplace(&yKernel, 1, IPL_CONV_SUM, src->depth, most);
    }

    // False if there was no memory.
    bool isReady() const
    {
        return ringFits && slots.data && pointers.data && (!across || across->isReady()) &&
               (!down || down->isReady());
    }

    IplReach reach() const
    {
        IplReach both{};
        if (down)
            both = down->reach();
        if (across) {
            both.left = across->reach().left;
            both.right = across->reach().right;
        }
        return both;
    }

    void make(const IplWindowRow& row) const
    {
        const int64_t count = static_cast<int64_t>(row.width) * row.channels;
        if (!down)
            across->make(row.result, row.rows, row.channels, count);
        else
            down->make(row.result, across ? madeAcross(row, count) : row.rows, row.channels, count);
    }

private:
    // The window's rows after the pass along them.
    const uint8_t* const* madeAcross(const IplWindowRow& row, int64_t count) const
    {
        const int64_t made = row.y == 0 ? 0 : ringRows - 1;
        for (int64_t i = 0; i < ringRows; ++i) {
            uint8_t* slot = slots.data + (row.y + i) % ringRows * slotBytes;
            pointers.data[i] = slot;
            if (i >= made)
                across->make(slot, row.rows + i, row.channels, count);
        }
        return pointers.data;
    }

    const int64_t most; // elements of a row
    const int64_t slotBytes;
    const int64_t ringRows;
    std::optional<IplConvRows> across;
    std::optional<IplConvRows> down;
    IplScratch<uint8_t> slots;
    IplScratch<const uint8_t*> pointers;
    const bool ringFits;
};

IplWindowEnd convolve(const IplImage* src, IplImage* dst, const OwnConvKernel* xKernel,
                      const OwnConvKernel* yKernel)
{
    const Passes passes(src, dst, xKernel, yKernel);
    if (!passes.isReady())
        return IplWindowEnd::noMemory;
    return ownFilterWindows({src, dst, passes.reach()}, [&](const IplWindowRow& row) {
        passes.make(row);
        return true;
    });
}

} // namespace

void iplConvolveSep2D(const IplImage* srcImage, IplImage* dstImage, const OwnConvKernel* xKernel,
                      const OwnConvKernel* yKernel)
{
    iplSetStatus(IPL_StsOk);
    if (!ownImageIsGood(caller, srcImage) || !ownImageIsGood(caller, dstImage) ||
        !ownRequire(caller, srcImage != dstImage, "Unsupported in-place mode") ||
        !ownRequire(caller, xKernel || yKernel, "Kernel pointers are NULL") ||
        !ownSeparableAgree(srcImage, dstImage, xKernel, yKernel) ||
        !ownRequire(caller, srcImage->depth != IPL_DEPTH_32F,
                    "iplConvolveSep2D does not support IPL_DEPTH_32F.\n"
                    "Call iplConvolveSep2DFP instead"))
        return;
    const IplWindowEnd end = convolve(srcImage, dstImage, xKernel, yKernel);
    if (end != IplWindowEnd::complete)
        iplSetStatus(end == IplWindowEnd::noTile ? IPL_StsError : IPL_StsNoMem);
    if (iplGetStatus() < 0)
        ownReport(caller, IPL_StsBackTrace, "Not enough memory");
}
