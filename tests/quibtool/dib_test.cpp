#include "quibtool/quibtool.h"

#include "quibtool/handle.h"
#include "tests/support/bad_handles.h"
#include "tests/support/dibs.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/guarded_image.h"
#include "tests/support/images.h"
#include "tests/support/levels.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

struct Imported {
    QuibStatus status;
    Image handle;
};

// A variable that holds this address was not written.
IplImage* const untouched = reinterpret_cast<IplImage*>(uintptr_t{16});

Imported import(const GlobalDib& dib, int32_t targetDepth)
{
    IplImage* out = untouched;
    const QuibStatus status = Dib2Quib(dib.get(), &out, targetDepth);
    EXPECT_EQ(dib.locks(), 0u);
    return {status, Image(out == untouched ? nullptr : out)};
}

Imported import(const Bytes& dib, int32_t targetDepth)
{
    return import(GlobalDib(dib), targetDepth);
}

// The platform may make a block larger than asked for, and then what follows
// these bytes is not 0.
bool blockIsExact(const Bytes& bytes)
{
    return GlobalSize(GlobalDib(bytes).get()) == bytes.size();
}

int32_t depthOf(const IplImage* handle)
{
    QuibInfo info{};
    EXPECT_EQ(QuibGetInfo(handle, &info), QUIB_OK);
    return info.bitDepth;
}

// The 32-bit handle that rows of `step` bytes from `start` on stand for, bottom
// row first; bytes past the end are 0.
Bytes expectedOpaque(const Bytes& bytes, size_t start, size_t step, size_t pixelBytes,
                     int32_t width, int32_t height)
{
    Bytes pixels;
    for (int32_t y = height - 1; y >= 0; --y) {
        for (int32_t x = 0; x < width; ++x) {
            const size_t at =
                start + static_cast<size_t>(y) * step + static_cast<size_t>(x) * pixelBytes;
            for (size_t c = 0; c < 3; ++c)
                pixels.push_back(at + c < bytes.size() ? bytes[at + c] : 0);
            pixels.push_back(255);
        }
    }
    return pixels;
}

} // namespace

// --- Dib2Quib --------------------------------------------------------------------------

TEST(Dib2Quib, RefusesNullArguments)
{
    IplImage* out = untouched;
    EXPECT_EQ(Dib2Quib(nullptr, &out, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(out, untouched);
    const GlobalDib dib(emptyDib(dibHeader(2, 2, 24)));
    EXPECT_EQ(Dib2Quib(dib.get(), nullptr, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(dib.locks(), 0u);
}

TEST(Dib2Quib, RefusesABlockThatCannotBeLocked)
{
    // An empty movable block is a discarded one.
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 0);
    ASSERT_NE(block, nullptr);
    IplImage* out = untouched;
    EXPECT_EQ(Dib2Quib(block, &out, 0), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(out, untouched);
    GlobalFree(block);
}

TEST(Dib2Quib, RefusesWidthThenHeightThenBitCount)
{
    const struct {
        int32_t width;
        int32_t height;
        int32_t bits;
        QuibStatus status;
    } headers[] = {
        {0, -1, 16, QUIB_DIB_BAD_WIDTH},        {-4, 4, 24, QUIB_DIB_BAD_WIDTH},
        {INT32_MIN, 1, 24, QUIB_DIB_BAD_WIDTH}, {4, -10, 16, QUIB_DIB_BAD_HEIGHT},
        {4, 0, 24, QUIB_DIB_BAD_HEIGHT},        {4, INT32_MIN, 24, QUIB_DIB_BAD_HEIGHT},
        {4, 4, 16, QUIB_DIB_BAD_DEPTH},         {4, 4, 4, QUIB_DIB_BAD_DEPTH},
        {4, 4, 0, QUIB_DIB_BAD_DEPTH},          {4, 4, 33, QUIB_DIB_BAD_DEPTH},
    };
    for (const auto& header : headers)
        for (const int32_t targetDepth : {0, 8, 32}) {
            const Bytes dib =
                dibWith(dibHeader(header.width, header.height, header.bits), Bytes(64));
            const Imported imported = import(dib, targetDepth);
            EXPECT_EQ(imported.status, header.status);
            EXPECT_EQ(imported.handle, nullptr);
        }
}

TEST(Dib2Quib, ChoosesTheHandlesDepth)
{
    Random random(1);
    const struct {
        int32_t bits;
        int32_t targetDepth;
        int32_t depth;
    } routes[] = {{1, 0, 1},   {8, 0, 8},    {24, 0, 24},        {32, 0, 32},  {1, 8, 8},
                  {8, 8, 8},   {24, 8, 8},   {32, 8, 8},         {1, 1, 32},   {1, 32, 32},
                  {8, 24, 32}, {24, 24, 32}, {24, 32, 32},       {32, -1, 32}, {24, 1, 32},
                  {1, -8, 32}, {8, -1, 32},  {24, INT32_MIN, 32}};
    for (const auto& route : routes) {
        const Bytes dib = randomDib(dibHeader(5, 3, route.bits), random);
        const Imported imported = import(dib, route.targetDepth);
        ASSERT_EQ(imported.status, QUIB_OK);
        EXPECT_EQ(depthOf(imported.handle.get()), route.depth);
        EXPECT_EQ(imported.handle->width, 5);
        EXPECT_EQ(imported.handle->height, 3);
        for (int32_t y = 0; route.depth == 32 && y < 3; ++y)
            for (int32_t x = 0; x < 5; ++x)
                EXPECT_EQ(wordAt(imported.handle.get(), x, y) >> 24, 255u) << route.bits << " bits";
    }
}

TEST(Dib2Quib, ThrowsTheAlphaOf32BitsAway)
{
    for (const int32_t width : {1, 2, 7, 8}) {
        Bytes dib = emptyDib(dibHeader(width, 2, 32));
        std::fill(dib.begin() + 40, dib.end(), uint8_t{0});
        const Imported imported = import(dib, 0);
        for (int32_t y = 0; y < 2; ++y)
            for (int32_t x = 0; x < width; ++x)
                EXPECT_EQ(wordAt(imported.handle.get(), x, y), 0xFF000000u);
    }
}

TEST(Dib2Quib, ReadsOneColumnOf24BitsFourBytesApart)
{
    const Bytes dib = dibWith(dibHeader(1, 3, 24), {1, 2, 3, 99, 4, 5, 6, 99, 7, 8, 9, 99});
    const Imported imported = import(dib, 32);
    ASSERT_EQ(imported.status, QUIB_OK);
    EXPECT_EQ(bytesOf(imported.handle.get()), (Bytes{7, 8, 9, 255, 4, 5, 6, 255, 1, 2, 3, 255}));
}

TEST(Dib2Quib, CopiesRowsAsIfPixelsFollowedTheHeader)
{
    Random random(2);
    forEachLevel([&random] {
        for (int32_t width = 1; width <= 70; ++width) {
            for (const int32_t bits : {24, 32}) {
                // No word of this is looked at: neither table, masks nor biSize.
                BITMAPINFOHEADER header = dibHeader(width, random.between(1, 4), bits);
                header.biSize = 124;
                header.biPlanes = 7;
                header.biCompression = random.next();
                header.biClrUsed = random.next();
                Bytes dib = dibWith(header, Bytes(dibPitch(header) * dibRows(header)));
                random.fill(dib.data() + 40, dib.size() - 40);
                const Imported imported = import(dib, 32);
                ASSERT_EQ(imported.status, QUIB_OK);
                ASSERT_EQ(bytesOf(imported.handle.get()),
                          expectedOpaque(dib, 40, dibPitch(header), static_cast<size_t>(bits / 8),
                                         width, header.biHeight));
            }
        }
    });
}

TEST(Dib2Quib, MakesPixelsBlackThatAShortBlockLacks)
{
    Random random(3);
    for (const int32_t bits : {24, 32}) {
        const BITMAPINFOHEADER header = dibHeader(7, 3, bits);
        const Bytes whole = randomDib(header, random);
        for (size_t size = 16; size <= whole.size(); ++size) {
            const Bytes dib(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
            const Imported imported = import(dib, 32);
            ASSERT_EQ(imported.status, QUIB_OK);
            const size_t pixelBytes = static_cast<size_t>(bits / 8);
            if (!blockIsExact(dib))
                continue;
            ASSERT_EQ(bytesOf(imported.handle.get()),
                      expectedOpaque(dib, 40, dibPitch(header), pixelBytes, 7, 3));
        }
    }
}

TEST(Dib2Quib, FindsZerosInAHeaderThatIsCutOff)
{
    const Bytes whole = emptyDib(dibHeader(4, 4, 24));
    EXPECT_EQ(import(Bytes(whole.begin(), whole.begin() + 4), 0).status, QUIB_DIB_BAD_WIDTH);
    EXPECT_EQ(import(Bytes(whole.begin(), whole.begin() + 8), 0).status, QUIB_DIB_BAD_HEIGHT);
    EXPECT_EQ(import(Bytes(whole.begin(), whole.begin() + 14), 0).status, QUIB_DIB_BAD_DEPTH);
}

TEST(Dib2Quib, GoesThroughTheEngineForTheOthers)
{
    // A table of two entries, whose alpha is not kept.
    Bytes dib = emptyDib(dibHeader(9, 1, 1));
    put32(dib, 40, 0x05030201);
    put32(dib, 44, 0x06FFFFFF);
    dib[48] = 0x40;
    dib[49] = 0x80;
    const Imported coloured = import(dib, 32);
    EXPECT_EQ(wordAt(coloured.handle.get(), 0, 0), 0xFF030201u);
    EXPECT_EQ(wordAt(coloured.handle.get(), 1, 0), 0xFFFFFFFFu);
    EXPECT_EQ(wordAt(coloured.handle.get(), 8, 0), 0xFFFFFFFFu);
    const Imported bitonal = import(dib, 0);
    EXPECT_EQ(rowOf(bitonal.handle.get(), 0)[0], 0x40);
    EXPECT_EQ(rowOf(bitonal.handle.get(), 0)[1], 0x80);
    const Imported gray = import(dib, 8);
    EXPECT_EQ(rowOf(gray.handle.get(), 0)[0], (2 * 183 + 3 * 54 + 1 * 18) / 256);
    EXPECT_EQ(rowOf(gray.handle.get(), 0)[1], 254);
    // 24 bits to 24, upright.
    const Imported same = import(dibWith(dibHeader(1, 2, 24), {1, 2, 3, 0, 4, 5, 6, 0}), 0);
    EXPECT_EQ(bytesOf(same.handle.get()), (Bytes{4, 5, 6, 0, 1, 2, 3, 0}));
    // 32 bits to gray by its masks.
    Bytes masked = emptyDib(dibHeader(1, 1, 32, 3));
    put32(masked, 40, 0x000000FF);
    put32(masked, 44, 0x0000FF00);
    put32(masked, 48, 0x00FF0000);
    put32(masked, 52, 0x000000FF); // red
    EXPECT_EQ(rowOf(import(masked, 8).handle.get(), 0)[0], 255 * 54 / 256);
}

TEST(Dib2Quib, DecompressesAndReadsNothingPastTheBlock)
{
    Bytes dib = dibWith(dibHeader(4, 1, 8, 1, 2), {0, 0, 0, 0, 255, 255, 255, 0});
    dib.insert(dib.end(), {4, 1, 0, 1});
    const Imported imported = import(dib, 0);
    ASSERT_EQ(imported.status, QUIB_OK);
    EXPECT_EQ(bytesOf(imported.handle.get()), (Bytes{254, 254, 254, 254}));
    // Without the end marker, zeros follow where the block ends.
    dib.resize(dib.size() - 2);
    if (blockIsExact(dib)) {
        EXPECT_REPORT(import(dib, 0), -5, "ownDecompressRLE",
                      "Incorrect format of BI_RLE8 DIB (mismatch biWidth)", "ownrle");
    }
}

TEST(Dib2Quib, EndsTheProcessForHeadersThatTheEngineRefuses)
{
    BITMAPINFOHEADER header = dibHeader(4, 4, 8);
    header.biPlanes = 2;
    EXPECT_REPORT(import(emptyDib(header), 0), -5, "iplConvertFromDIB", "(dib->biPlanes != 1)",
                  "iplDIB");
}

TEST(Dib2Quib, GivesZeroPixelsAfterAnEarlierFailure)
{
    const CleanStatus clean;
    Bytes dib = emptyDib(dibHeader(3, 2, 8));
    std::fill(dib.begin() + 40, dib.end(), uint8_t{0xFF});
    iplSetStatus(-10);
    const Imported gray = import(dib, 0);
    EXPECT_EQ(gray.status, QUIB_OK);
    EXPECT_EQ(bytesOf(gray.handle.get()), Bytes(8));
    const Imported coloured = import(dib, 32);
    EXPECT_EQ(coloured.status, QUIB_OK);
    EXPECT_EQ(wordAt(coloured.handle.get(), 2, 1), 0xFF000000u);
}

TEST(Dib2Quib, PassesOnTheCheckOfARecordWhoseSizeWrapsToZero)
{
    const CleanStatus clean;
    const Imported imported = import(dibWith(dibHeader(65536, 16384, 8), Bytes(64)), 32);
    EXPECT_EQ(static_cast<uint32_t>(imported.status), 0xFFFFFFF6u);
    ASSERT_NE(imported.handle, nullptr) << "the handle is left for the caller to free";
    EXPECT_EQ(imported.handle->imageSize, 0);
    // The row copies make the same record and write nothing to it.
    const Imported copied = import(dibWith(dibHeader(65536, 16384, 24), Bytes(64)), 32);
    EXPECT_EQ(copied.status, QUIB_OK);
    EXPECT_EQ(copied.handle->imageSize, 0);
}

TEST(Dib2Quib, EndsTheProcessWherePixelsCannotBeHad)
{
    const BITMAPINFOHEADER header = dibHeader(65536, 16000, 24);
    EXPECT_REPORT(import(dibWith(header, Bytes(64)), 32), -4, "iplAllocateImage",
                  "for allocate image data", "iplalloc");
    const ReportsReturn returning;
    const Imported imported = import(dibWith(header, Bytes(64)), 32);
    ASSERT_NE(imported.handle, nullptr);
    EXPECT_EQ(imported.handle->imageData, nullptr);
}

TEST(Dib2Quib, PassesOnThatMemoryForAHandleRanOut)
{
    for (const int32_t bits : {8, 24, 32}) {
        const GlobalDib dib(emptyDib(dibHeader(3, 2, bits)));
        IplImage* out = untouched;
        {
            const FailingAllocation failing;
            EXPECT_EQ(Dib2Quib(dib.get(), &out, 0), QUIB_NO_HEADER);
        }
        EXPECT_EQ(out, untouched);
        EXPECT_EQ(dib.locks(), 0u);
    }
}

// --- Dib2Quib0 -------------------------------------------------------------------------

namespace
{

Imported importApart(const BITMAPINFOHEADER& header, const Bytes& bits)
{
    const GuardedBytes guarded(bits);
    IplImage* out = untouched;
    const QuibStatus status = Dib2Quib0(&header, guarded.data(), &out);
    return {status, Image(out == untouched ? nullptr : out)};
}

// The row length of the operation, as its formula says.
size_t rowLengthApart(int32_t bits, int32_t width)
{
    return static_cast<size_t>(((bits * width + 31) / 32) * bits / 8);
}

} // namespace

TEST(Dib2Quib0, RefusesNullArgumentsAndBadHeaders)
{
    const BITMAPINFOHEADER header = dibHeader(2, 2, 24);
    const Bytes bits(64);
    IplImage* out = untouched;
    EXPECT_EQ(Dib2Quib0(nullptr, bits.data(), &out), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(Dib2Quib0(&header, nullptr, &out), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(importApart(dibHeader(0, 0, 5), bits).status, QUIB_DIB_BAD_WIDTH);
    EXPECT_EQ(importApart(dibHeader(1, -3, 5), bits).status, QUIB_DIB_BAD_HEIGHT);
    EXPECT_EQ(importApart(dibHeader(1, 1, 16), bits).status, QUIB_DIB_BAD_DEPTH);
}

TEST(Dib2Quib0, TakesAHeaderThatIsNotAligned)
{
    // As it lies in a file, behind 14 bytes.
    Bytes file(14 + 40 + 4);
    const BITMAPINFOHEADER header = dibHeader(1, 1, 32);
    std::memcpy(file.data() + 14, &header, 40);
    put32(file, 54, 0x00332211);
    for (size_t shift = 0; shift < 4; ++shift) {
        Bytes moved(shift);
        moved.insert(moved.end(), file.begin() + 14, file.end());
        IplImage* out = nullptr;
        ASSERT_EQ(Dib2Quib0(moved.data() + shift, moved.data() + shift + 40, &out), QUIB_OK);
        EXPECT_EQ(wordAt(Image(out).get(), 0, 0), 0xFF332211u);
    }
}

TEST(Dib2Quib0, KeepsTheRowLengthOfItsFormula)
{
    EXPECT_EQ(rowLengthApart(24, 4), 9u);
    EXPECT_EQ(rowLengthApart(8, 100), 25u);
    Random random(4);
    forEachLevel([&random] {
        for (int32_t width = 1; width <= 40; ++width) {
            for (const int32_t bits : {24, 32}) {
                const int32_t height = random.between(1, 4);
                const size_t step = rowLengthApart(bits, width);
                const size_t pixelBytes = static_cast<size_t>(bits / 8);
                // Not one byte more than the last row needs.
                Bytes pixels(step * static_cast<size_t>(height - 1) +
                             static_cast<size_t>(width) * pixelBytes);
                random.fill(pixels.data(), pixels.size());
                const Imported imported = importApart(dibHeader(width, height, bits), pixels);
                ASSERT_EQ(imported.status, QUIB_OK);
                ASSERT_EQ(bytesOf(imported.handle.get()),
                          expectedOpaque(pixels, 0, step, pixelBytes, width, height));
            }
        }
    });
}

TEST(Dib2Quib0, TakesWhatTheRowLengthLetsThroughAsTableAndPixels)
{
    // 8 bits, 100 x 12: 25 x 12 bytes stand for the table, and no pixels are left.
    Random random(5);
    Bytes bits(25 * 12);
    random.fill(bits.data(), bits.size());
    const Imported wide = importApart(dibHeader(100, 12, 8), bits);
    ASSERT_EQ(wide.status, QUIB_OK);
    EXPECT_EQ(depthOf(wide.handle.get()), 32);
    for (int32_t y = 0; y < 12; ++y)
        for (int32_t x = 0; x < 100; ++x)
            ASSERT_EQ(wordAt(wide.handle.get(), x, y), get32(bits, 0));
    // With a table of one entry, the rest is pixels: index 0, or past the end.
    Bytes few(2 * 8);
    put32(few, 0, 0x11223344);
    const Imported narrow = importApart(dibHeader(8, 8, 8, 0, 1), few);
    EXPECT_EQ(wordAt(narrow.handle.get(), 0, 0), 0x11223344u);
    EXPECT_EQ(wordAt(narrow.handle.get(), 7, 7), 0x11223344u);
    // 1 bit, 100 wide: nothing at all goes through.
    const Imported bitonal = importApart(dibHeader(100, 3, 1), Bytes(1));
    EXPECT_EQ(bytesOf(bitonal.handle.get()), Bytes(400 * 3));
}

TEST(Dib2Quib0, EqualsTheEngineOnAZeroedBlock)
{
    Random random(6);
    for (int32_t round = 0; round < 300; ++round) {
        const int32_t bits = random.coin() ? 1 : 8;
        const BITMAPINFOHEADER header =
            dibHeader(random.between(1, 300), random.between(1, 9), bits, 0, random.coin() ? 0 : 2);
        const size_t length = rowLengthApart(bits, header.biWidth) * dibRows(header);
        Bytes pixels(length + 1);
        random.fill(pixels.data(), pixels.size());
        Bytes block = emptyDib(header);
        block.resize(std::max(block.size(), 40 + size_t{1024}));
        std::copy_n(pixels.begin(), std::min(length, block.size() - 40), block.begin() + 40);
        const Image expected = makeHandle(header.biWidth, header.biHeight, 32);
        iplConvertFromDIB(reinterpret_cast<const BITMAPINFOHEADER*>(block.data()), expected.get());
        const Imported imported = importApart(header, pixels);
        ASSERT_EQ(imported.status, QUIB_OK);
        ASSERT_EQ(bytesOf(imported.handle.get()), bytesOf(expected.get()));
    }
}

TEST(Dib2Quib0, EndsTheProcessForHeadersThatTheEngineRefuses)
{
    EXPECT_REPORT(importApart(dibHeader(4, 4, 8, 0, 300), Bytes(64)), -5, "iplConvertFromDIB",
                  "( dib->biBitCount==8 && dib->biClrUsed>256 )", "iplDIB");
}

TEST(Dib2Quib0, LeavesTheNewHandleWhenMemoryForItsBlockRunsOut)
{
    const Bytes bits(64);
    for (const int32_t bitCount : {1, 8}) {
        const BITMAPINFOHEADER header = dibHeader(3, 2, bitCount);
        IplImage* out = untouched;
        {
            const FailingAllocation failing(2); // after the record and its pixels
            EXPECT_EQ(Dib2Quib0(&header, bits.data(), &out), QUIB_BAD_ARGUMENT);
        }
        ASSERT_NE(out, untouched);
        const Image handle(out);
        EXPECT_EQ(depthOf(out), 32);
    }
    const BITMAPINFOHEADER header = dibHeader(3, 2, 24);
    IplImage* out = untouched;
    const FailingAllocation failing;
    EXPECT_EQ(Dib2Quib0(&header, bits.data(), &out), QUIB_NO_HEADER);
    EXPECT_EQ(out, untouched);
}

TEST(Dib2Quib0, IsAllZeroAfterAFailureThatWasThereBefore)
{
    for (const int32_t bitCount : {1, 8}) {
        // What the next block of this size is likely to hold.
        Image used = makeHandle(8, 8, 32);
        std::memset(used->imageData, 0xAB, static_cast<size_t>(used->imageSize));
        used.reset();
        const IplErrorState saved = iplErrorState;
        iplSetStatus(IPL_StsBadArg);
        const Imported imported = importApart(dibHeader(8, 8, bitCount), Bytes(512));
        iplErrorState = saved;
        ASSERT_EQ(imported.status, QUIB_OK);
        EXPECT_EQ(bytesOf(imported.handle.get()), Bytes(8 * 8 * 4));
    }
}

TEST(Dib2Quib0, FaultsAtTheStoreForANullOutput)
{
    const Bytes bits(64);
    const BITMAPINFOHEADER header = dibHeader(1, 1, 32);
    EXPECT_DEATH(Dib2Quib0(&header, bits.data(), nullptr), "");
}

TEST(Dib2Quib0, WritesNothingToARecordWhoseSizeWrapsToZero)
{
    const GuardedBytes bits(Bytes(64));
    const BITMAPINFOHEADER header = dibHeader(65536, 16384, 32);
    IplImage* out = nullptr;
    EXPECT_EQ(Dib2Quib0(&header, bits.data(), &out), QUIB_OK);
    const Image handle(out);
    EXPECT_EQ(handle->imageSize, 0);
}

// --- Quib2Dib --------------------------------------------------------------------------

namespace
{

// The bytes of the block after an export that succeeded and unlocked it.
Bytes exported(const IplImage* handle, const Bytes& dib)
{
    const GlobalDib block(dib);
    EXPECT_EQ(Quib2Dib(handle, block.get()), QUIB_OK);
    EXPECT_EQ(block.locks(), 0u);
    return block.bytes(dib.size());
}

// What the loop of four bytes read and three written leaves in a block.
Bytes expectedExport(const IplImage* handle, Bytes dib)
{
    const size_t width = static_cast<size_t>(handle->width);
    const size_t pitch = (3 * width + 3) / 4 * 4;
    const Bytes pixels = bytesOf(handle);
    for (size_t y = 0; y < static_cast<size_t>(handle->height); ++y) {
        for (size_t i = 0; i < 3 * width; ++i) {
            const size_t to = 40 + (static_cast<size_t>(handle->height) - 1 - y) * pitch + i;
            const size_t from = y * static_cast<size_t>(handle->widthStep) + i / 3 * 4 + i % 3;
            if (to < dib.size())
                dib[to] = from < pixels.size() ? pixels[from] : 0;
        }
    }
    return dib;
}

void expectMismatch(const IplImage* handle, const BITMAPINFOHEADER& header)
{
    const Bytes dib = emptyDib(header);
    const GlobalDib block(dib);
    EXPECT_EQ(Quib2Dib(handle, block.get()), QUIB_DIB_MISMATCH);
    EXPECT_EQ(block.locks(), 1u) << "the block stays locked";
    EXPECT_EQ(block.bytes(dib.size()), dib);
}

} // namespace

TEST(Quib2Dib, RefusesBadHandlesBeforeItLocks)
{
    const GlobalDib block(emptyDib(dibHeader(2, 2, 24)));
    EXPECT_BAD_HANDLE(Quib2Dib(nullptr, block.get()));
    const Image handle = makeHandle(2, 2, 32);
    EXPECT_EQ(Quib2Dib(handle.get(), nullptr), QUIB_BAD_ARGUMENT);
    const CleanStatus clean;
    handle->align = 3;
    EXPECT_EQ(Quib2Dib(handle.get(), nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(iplGetStatus(), 0) << "the null argument comes before the check";
    EXPECT_EQ(Quib2Dib(handle.get(), block.get()), -21);
    EXPECT_EQ(block.locks(), 0u);
}

TEST(Quib2Dib, RefusesABlockThatCannotBeLocked)
{
    const Image handle = makeHandle(2, 2, 32);
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 0);
    EXPECT_EQ(Quib2Dib(handle.get(), block), QUIB_BAD_ARGUMENT);
    GlobalFree(block);
}

TEST(Quib2Dib, RefusesOtherSizesAndDepthsAndLeavesTheBlockLocked)
{
    const Image handle = makeHandle(10, 10, 32);
    expectMismatch(handle.get(), dibHeader(10, 11, 24));
    expectMismatch(handle.get(), dibHeader(9, 10, 24));
    expectMismatch(handle.get(), dibHeader(10, -10, 24));
    expectMismatch(handle.get(), dibHeader(10, 10, 32));
    expectMismatch(handle.get(), dibHeader(10, 10, 25));
    expectMismatch(makeHandle(10, 10, 1).get(), dibHeader(10, 10, 1));
    expectMismatch(makeHandle(10, 10, 1).get(), dibHeader(10, 10, 24));
    expectMismatch(makeHandle(10, 10, 8).get(), dibHeader(10, 10, 24));
    expectMismatch(makeHandle(10, 10, 8).get(), dibHeader(10, 10, 16));
    expectMismatch(makeHandle(10, 10, 24).get(), dibHeader(10, 10, 32));
    expectMismatch(makeHandle(10, 10, 24).get(), dibHeader(10, 10, 8));
}

TEST(Quib2Dib, DropsTheAlphaOf32Bits)
{
    Random random(7);
    forEachLevel([&random] {
        for (int32_t width = 1; width <= 70; ++width) {
            const int32_t height = random.between(1, 4);
            const Image handle = makeRandomHandle(width, height, 32, random);
            const Bytes dib = randomDib(dibHeader(width, height, 24), random);
            const Bytes result = exported(handle.get(), dib);
            ASSERT_EQ(result, expectedExport(handle.get(), dib));
            // And back again, upright.
            const Imported back = import(result, 32);
            for (int32_t y = 0; y < height; ++y)
                for (int32_t x = 0; x < width; ++x)
                    ASSERT_EQ(wordAt(back.handle.get(), x, y),
                              wordAt(handle.get(), x, y) | 0xFF000000u);
        }
    });
}

TEST(Quib2Dib, ReadsFourBytesAPixelOfEveryHandle)
{
    Random random(8);
    for (const int32_t bits : {8, 24}) {
        for (int32_t round = 0; round < 60; ++round) {
            const int32_t width = random.between(1, 30);
            const int32_t height = random.between(1, 5);
            const GuardedHandle handle(width, height, bits);
            randomise(handle.get(), random);
            // With room for rows of 24 bits, and without.
            const BITMAPINFOHEADER header = dibHeader(width, height, bits);
            const size_t room = 40 + dibPitch(dibHeader(width, height, 24)) * dibRows(header);
            for (const size_t size : {room, room - 1, size_t{40}, size_t{60}}) {
                Bytes dib = dibWith(header, Bytes(size - 40, 0xEE));
                if (blockIsExact(dib)) {
                    ASSERT_EQ(exported(handle.get(), dib), expectedExport(handle.get(), dib));
                }
            }
        }
    }
}

TEST(Quib2Dib, TakesMoreThanFourChannelsForFour)
{
    Random random(11);
    for (const int32_t channels : {5, 9}) {
        const Image image = makeImage(7, 3, channels, IPL_DEPTH_8U);
        randomise(image.get(), random);
        const Bytes dib = randomDib(dibHeader(7, 3, 24), random);
        EXPECT_EQ(exported(image.get(), dib), expectedExport(image.get(), dib));
        expectMismatch(image.get(), dibHeader(7, 3, channels * 8));
    }
}

TEST(Quib2Dib, AcceptsBitCountsThatTruncateToTheHandles)
{
    Random random(9);
    const Image colour = makeRandomHandle(3, 3, 24, random);
    for (int32_t bits = 24; bits <= 31; ++bits) {
        const Bytes dib = dibWith(dibHeader(3, 3, bits), Bytes(36));
        EXPECT_EQ(exported(colour.get(), dib), expectedExport(colour.get(), dib));
    }
    const Image gray = makeRandomHandle(3, 3, 8, random);
    for (int32_t bits = 8; bits <= 15; ++bits) {
        const Bytes dib = dibWith(dibHeader(3, 3, bits), Bytes(36));
        EXPECT_EQ(exported(gray.get(), dib), expectedExport(gray.get(), dib));
    }
}

TEST(Quib2Dib, TakesSignedDepthsForNegativeNumbers)
{
    // They go to the engine, as one bit does, which does not know them.
    for (const uint32_t depth : {IPL_DEPTH_8S, IPL_DEPTH_16S, IPL_DEPTH_32S}) {
        const Image image = makeImage(3, 3, 1, depth);
        EXPECT_REPORT(exported(image.get(), emptyDib(dibHeader(3, 3, 8))), -5, "iplConvertToDIB",
                      "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )",
                      "iplDIB");
    }
    // Other wide elements take the loop of four bytes read.
    Random random(10);
    const Image wide = makeImage(3, 3, 1, IPL_DEPTH_16U);
    randomise(wide.get(), random);
    const Bytes dib = dibWith(dibHeader(3, 3, 8), Bytes(36));
    EXPECT_EQ(exported(wide.get(), dib), expectedExport(wide.get(), dib));
}

TEST(Quib2Dib, LooksUpTheColoursOfOneBitHandles)
{
    const Image handle = makeHandle(10, 2, 1);
    rowOf(handle.get(), 0)[0] = 0x80;
    rowOf(handle.get(), 1)[1] = 0x40;
    Bytes dib = emptyDib(dibHeader(10, 2, 8, 0, 3));
    put32(dib, 40, 0x00FFFFFF);
    put32(dib, 44, 0x00808080);
    const Bytes result = exported(handle.get(), dib);
    EXPECT_EQ(Bytes(result.begin() + 52, result.end()),
              (Bytes{2, 2, 2, 2, 2, 2, 2, 2, 2, 0, 0, 0, 0, 2, 2, 2, 2, 2, 2, 2, 2, 2, 0, 0}));
    // Nothing is read or written past a block that is too short.
    for (size_t size = 40; size < dib.size(); ++size) {
        const Bytes cut(dib.begin(), dib.begin() + static_cast<ptrdiff_t>(size));
        if (blockIsExact(cut))
            exported(handle.get(), cut);
    }
    // The engine knows no 9 bits.
    EXPECT_REPORT(exported(handle.get(), dibWith(dibHeader(10, 2, 9), Bytes(64))), -5,
                  "iplConvertToDIB", "dib->biBitCount is bad", "iplDIB");
}
