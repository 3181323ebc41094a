#include "quibtool/quibtool.h"

#include "tests/support/dibs.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/images.h"
#include "tests/support/report.h"
#include "tests/support/temporary_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace
{

// The packed bitmap behind a file header; where its pixels are is not told.
Bytes fileOf(const Bytes& dib)
{
    Bytes file(14 + dib.size());
    file[0] = 'B';
    file[1] = 'M';
    std::copy(dib.begin(), dib.end(), file.begin() + 14);
    return file;
}

IplImage* const untouchedHandle = reinterpret_cast<IplImage*>(uintptr_t{16});

struct Loaded {
    QuibStatus status;
    bool stored;
    Image handle;
};

Loaded loadBmp(const Bytes& file)
{
    const TemporaryFile temporary(file);
    IplImage* out = untouchedHandle;
    const QuibStatus status = QuibLoadBMP(temporary.name(), &out);
    const bool stored = out != untouchedHandle;
    return {status, stored, Image(stored ? out : nullptr)};
}

// The block of a file of another depth is never freed: the leak that the
// sanitizer would rightly report is the behaviour.
Loaded loadLeaking(const Bytes& file)
{
#if defined(__SANITIZE_ADDRESS__)
    __lsan_disable();
#endif
    Loaded loaded = loadBmp(file);
#if defined(__SANITIZE_ADDRESS__)
    __lsan_enable();
#endif
    return loaded;
}

} // namespace

TEST(QuibLoadBMP, RefusesNullArguments)
{
    IplImage* out = untouchedHandle;
    EXPECT_EQ(QuibLoadBMP(nullptr, &out), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(QuibLoadBMP("no such file", nullptr), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(out, untouchedHandle);
}

TEST(QuibLoadBMP, RefusesFilesThatCannotBeOpenedOrRead)
{
    IplImage* out = untouchedHandle;
    EXPECT_EQ(QuibLoadBMP("no such file.bmp", &out), QUIB_FAILED);
    EXPECT_EQ(QuibLoadBMP(std::filesystem::temp_directory_path().string().c_str(), &out),
              QUIB_FAILED);
    EXPECT_EQ(out, untouchedHandle);
}

TEST(QuibLoadBMP, RefusesShortFilesAndOtherMagic)
{
    for (size_t size = 0; size < 14; ++size) {
        Bytes file(size);
        if (size > 1)
            file[0] = 'B', file[1] = 'M';
        const Loaded loaded = loadBmp(file);
        EXPECT_EQ(loaded.status, QUIB_FAILED);
        EXPECT_FALSE(loaded.stored);
    }
    Bytes file = fileOf(emptyDib(dibHeader(2, 2, 24)));
    file[1] = 'N';
    EXPECT_EQ(loadBmp(file).status, QUIB_FAILED);
}

TEST(QuibLoadBMP, SucceedsWithoutAHandleForAFileWithoutAWholeHeader)
{
    const Bytes whole = fileOf(emptyDib(dibHeader(2, 2, 24)));
    for (const ptrdiff_t size : {14, 15, 53}) {
        const Loaded loaded = loadBmp(Bytes(whole.begin(), whole.begin() + size));
        EXPECT_EQ(loaded.status, QUIB_OK);
        EXPECT_FALSE(loaded.stored);
    }
}

TEST(QuibLoadBMP, RefusesOtherDepths)
{
    for (const int32_t bits : {0, 2, 4, 16, 48}) {
        const Loaded loaded = loadLeaking(fileOf(dibWith(dibHeader(2, 2, bits), Bytes(128))));
        EXPECT_EQ(loaded.status, QUIB_FAILED);
        EXPECT_FALSE(loaded.stored);
    }
}

TEST(QuibLoadBMP, Makes32BitHandlesOf24BitFilesWithAlphaZero)
{
    const Loaded loaded = loadBmp(fileOf(dibWith(dibHeader(1, 2, 24), {1, 2, 3, 0, 4, 5, 6, 0})));
    ASSERT_EQ(loaded.status, QUIB_OK);
    EXPECT_EQ(bytesOf(loaded.handle.get()), (Bytes{4, 5, 6, 0, 1, 2, 3, 0}));
    EXPECT_EQ(loaded.handle->nChannels, 4);
    EXPECT_EQ(loaded.handle->alphaChannel, 0);
    EXPECT_EQ(loaded.handle->depth, IPL_DEPTH_8U);
    EXPECT_EQ(std::string(loaded.handle->colorModel, 4), "RGBA");
    EXPECT_EQ(std::string(loaded.handle->channelSeq, 4), "BGRA");
    EXPECT_EQ(loaded.handle->origin, IPL_ORIGIN_TL);
    EXPECT_EQ(loaded.handle->align, 4);
}

TEST(QuibLoadBMP, KeepsTheAlphaOf32BitFiles)
{
    Bytes dib = emptyDib(dibHeader(2, 1, 32));
    put32(dib, 40, 0x01020304);
    put32(dib, 44, 0xF0E0D0C0);
    const Loaded loaded = loadBmp(fileOf(dib));
    EXPECT_EQ(wordAt(loaded.handle.get(), 0, 0), 0x01020304u);
    EXPECT_EQ(wordAt(loaded.handle.get(), 1, 0), 0xF0E0D0C0u);
}

TEST(QuibLoadBMP, MakesGrayHandlesOf8BitFiles)
{
    // Without biClrUsed, 1024 bytes of table.
    Bytes dib = emptyDib(dibHeader(3, 1, 8));
    put32(dib, 40 + 4 * 5, 0x00FFFFFF);
    dib[1064] = 5;
    dib[1065] = 6;
    dib[1066] = 5;
    const Loaded loaded = loadBmp(fileOf(dib));
    ASSERT_EQ(loaded.status, QUIB_OK);
    EXPECT_EQ(loaded.handle->nChannels, 1);
    EXPECT_EQ(bytesOf(loaded.handle.get())[0], 254);
    EXPECT_EQ(bytesOf(loaded.handle.get())[1], 0);
    EXPECT_EQ(bytesOf(loaded.handle.get())[2], 254);
    EXPECT_EQ(std::string(loaded.handle->channelSeq, 4), "GRAY");
}

TEST(QuibLoadBMP, MakesBitonalHandlesOf1BitFiles)
{
    Bytes dib = emptyDib(dibHeader(10, 2, 1));
    put32(dib, 40, 0x00FFFFFF);
    dib[48] = 0x80; // the lower row
    const Loaded loaded = loadBmp(fileOf(dib));
    ASSERT_EQ(loaded.status, QUIB_OK);
    EXPECT_EQ(loaded.handle->depth, IPL_DEPTH_1U);
    EXPECT_EQ(rowOf(loaded.handle.get(), 0)[0], 0xFF);
    EXPECT_EQ(rowOf(loaded.handle.get(), 1)[0], 0x7F);
    EXPECT_EQ(rowOf(loaded.handle.get(), 1)[1] & 0xC0, 0xC0);
}

TEST(QuibLoadBMP, FindsPixelsBehindTheTableThatBiClrUsedTells)
{
    Bytes dib = emptyDib(dibHeader(1, 1, 24, 0, 2));
    put32(dib, 40, 0x00AAAAAA);
    put32(dib, 48, 0x00030201);
    Bytes file = fileOf(dib);
    put32(file, 10, 54); // bfOffBits is not looked at
    EXPECT_EQ(wordAt(loadBmp(file).handle.get(), 0, 0), 0x00030201u);
}

TEST(QuibLoadBMP, ReadsMasksAndStarts12BytesLateWithoutBiClrUsed)
{
    Bytes dib = dibWith(dibHeader(4, 2, 32, 3), {});
    for (const uint32_t mask : {0x00FF0000u, 0x0000FF00u, 0x000000FFu})
        append32(dib, mask);
    for (uint32_t i = 1; i <= 8; ++i)
        append32(dib, 0x80000000u + i);
    const Loaded loaded = loadBmp(fileOf(dib));
    ASSERT_EQ(loaded.status, QUIB_OK);
    // Three pixels late, the last three are past what the file holds.
    EXPECT_EQ(wordAt(loaded.handle.get(), 0, 1), 0x80000004u);
    EXPECT_EQ(wordAt(loaded.handle.get(), 0, 0), 0x80000008u);
    EXPECT_EQ(wordAt(loaded.handle.get(), 1, 0), 0u);
    EXPECT_EQ(wordAt(loaded.handle.get(), 3, 0), 0u);
}

TEST(QuibLoadBMP, ReadsZerosForWhatAShortFileLacks)
{
    Random random(1);
    const Bytes whole = fileOf(randomDib(dibHeader(5, 3, 24), random));
    for (size_t size = 54; size <= whole.size(); ++size) {
        Bytes file(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
        const Loaded cut = loadBmp(file);
        file.resize(whole.size());
        const Loaded zeroed = loadBmp(file);
        ASSERT_EQ(cut.status, QUIB_OK);
        ASSERT_EQ(bytesOf(cut.handle.get()), bytesOf(zeroed.handle.get()));
    }
}

TEST(QuibLoadBMP, SpendsNoTimeOnPixelsThatAFileOnlyClaims)
{
    // A billion bits, of which the file holds some thousands.
    Bytes file = fileOf(dibWith(dibHeader(1 << 28, 4, 1), Bytes(4096, 0xFF)));
    put32(file, 54, 0x00FFFFFF);
    const auto before = std::chrono::steady_clock::now();
    const Loaded loaded = loadBmp(file);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - before;
    ASSERT_EQ(loaded.status, QUIB_OK);
    EXPECT_EQ(rowOf(loaded.handle.get(), 0)[0], 0xFF);
    EXPECT_EQ(rowOf(loaded.handle.get(), 2)[(1 << 25) - 1], 0xFF);
    // Pixel by pixel it would be 40 and more; an emulator takes 2.
    EXPECT_LT(seconds.count(), 8.0);
}

TEST(QuibLoadBMP, ReadsNoMoreThanBiSizeImage)
{
    BITMAPINFOHEADER header = dibHeader(2, 2, 32);
    header.biSizeImage = 6;
    const Bytes dib = dibWith(header, Bytes(16, 0x77));
    const Loaded loaded = loadBmp(fileOf(dib));
    ASSERT_EQ(loaded.status, QUIB_OK);
    EXPECT_EQ(wordAt(loaded.handle.get(), 0, 1), 0x77777777u);
    EXPECT_EQ(wordAt(loaded.handle.get(), 1, 1), 0x00007777u);
    EXPECT_EQ(wordAt(loaded.handle.get(), 0, 0), 0u);
}

TEST(QuibLoadBMP, DecompressesRunLengthFiles)
{
    const BITMAPINFOHEADER header = dibHeader(4, 1, 8, 1, 2);
    const Bytes whole = dibWith(header, {0, 0, 0, 0, 255, 255, 255, 0, 4, 1, 0, 1});
    EXPECT_EQ(bytesOf(loadBmp(fileOf(whole)).handle.get()), (Bytes{254, 254, 254, 254}));
    // A stream that the file cuts off ends in zeros.
    const Bytes cut = dibWith(header, {0, 0, 0, 0, 255, 255, 255, 0, 4, 1});
    EXPECT_REPORT(loadBmp(fileOf(cut)), -5, "ownDecompressRLE",
                  "Incorrect format of BI_RLE8 DIB (mismatch biWidth)", "ownrle");
}

TEST(QuibLoadBMP, EndsTheProcessForSizesThatAreNone)
{
    // With a size of the bits told and without.
    for (const uint32_t sizeImage : {0u, 64u}) {
        for (const int32_t bits : {1, 8, 24, 32}) {
            BITMAPINFOHEADER header = dibHeader(4, -4, bits);
            header.biSizeImage = sizeImage;
            const Bytes topDown = fileOf(dibWith(header, Bytes(64)));
            EXPECT_REPORT(loadBmp(topDown), -10, "iplCreateImageHeader", "Incorrect data-ins",
                          "iplalloc");
            header.biWidth = INT32_MIN;
            EXPECT_REPORT(loadBmp(fileOf(dibWith(header, Bytes(64)))), -10, "iplCreateImageHeader",
                          "Incorrect data-ins", "iplalloc");
            header.biHeight = 4;
            header.biWidth = 0;
            EXPECT_REPORT(loadBmp(fileOf(dibWith(header, Bytes(64)))), -10, "iplCreateImageHeader",
                          "Incorrect data-ins", "iplalloc");
        }
    }
    const ReportsReturn returning;
    const Loaded loaded = loadBmp(fileOf(dibWith(dibHeader(4, -4, 24), Bytes(64))));
    EXPECT_EQ(loaded.status, QUIB_OK);
    EXPECT_TRUE(loaded.stored);
    EXPECT_EQ(loaded.handle, nullptr);
}

TEST(QuibLoadBMP, EndsTheProcessForHeadersThatTheEngineRefuses)
{
    BITMAPINFOHEADER header = dibHeader(4, 4, 24);
    header.biSize = 12;
    EXPECT_REPORT(loadBmp(fileOf(dibWith(header, Bytes(64)))), -5, "iplConvertFromDIB",
                  "(dib->biSize != sizeof(BITMAPINFOHEADER))", "iplDIB");
    EXPECT_REPORT(loadBmp(fileOf(dibWith(dibHeader(4, 4, 8, 0, 300), Bytes(64)))), -5,
                  "iplConvertFromDIB", "( dib->biBitCount==8 && dib->biClrUsed>256 )", "iplDIB");
}

TEST(QuibLoadBMP, SucceedsWithoutAHandleForSizesThatMemoryCannotHold)
{
    // 4 * biClrUsed would wrap, and so would the sum.
    for (const uint32_t clrUsed : {0xFFFFFFFFu, 0x40000000u, 0x3FFFFFF7u}) {
        const Loaded loaded = loadBmp(fileOf(dibWith(dibHeader(4, 4, 24, 0, clrUsed), Bytes(64))));
        EXPECT_EQ(loaded.status, QUIB_OK);
        EXPECT_FALSE(loaded.stored);
    }
    BITMAPINFOHEADER header = dibHeader(4, 4, 8);
    header.biSizeImage = 0xFFFFFFF0;
    EXPECT_FALSE(loadBmp(fileOf(dibWith(header, Bytes(64)))).stored);
    // A computed size that would wrap.
    for (const int32_t bits : {1, 8, 24, 32}) {
        const Loaded loaded = loadBmp(fileOf(dibWith(dibHeader(INT32_MAX, INT32_MAX, bits), {})));
        EXPECT_EQ(loaded.status, QUIB_OK);
        EXPECT_FALSE(loaded.stored);
    }
    EXPECT_FALSE(loadBmp(fileOf(dibWith(dibHeader(INT32_MAX, INT32_MAX, 65535), {}))).stored);
}

TEST(QuibLoadBMP, SucceedsWithoutAHandleWhenMemoryRunsOut)
{
    const TemporaryFile file(fileOf(emptyDib(dibHeader(2, 2, 24))));
    IplImage* out = untouchedHandle;
    {
        const FailingAllocation failing; // of the bitmap
        EXPECT_EQ(QuibLoadBMP(file.name(), &out), QUIB_OK);
    }
    EXPECT_EQ(out, untouchedHandle);
    const FailingAllocation failing(1); // of the record
    EXPECT_EQ(QuibLoadBMP(file.name(), &out), QUIB_OK);
    EXPECT_EQ(out, nullptr);
}

TEST(QuibLoadBMP, LeavesAHandleWithoutPixelsAfterAnEarlierFailure)
{
    const CleanStatus clean;
    iplSetStatus(-10);
    const Loaded loaded = loadBmp(fileOf(emptyDib(dibHeader(2, 2, 24))));
    EXPECT_EQ(loaded.status, QUIB_OK);
    ASSERT_NE(loaded.handle, nullptr);
    EXPECT_EQ(loaded.handle->imageData, nullptr);
}
