#include "quibtool/pixelops.h"

#include "tests/support/bad_handles.h"
#include "tests/support/guarded_image.h"
#include "tests/support/pixel_cases.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

// Every wrapper as a function of two handles and a value.
struct Wrapper {
    const char* name;
    bool isPair;
    QuibStatus (*run)(const IplImage* a, const IplImage* b, IplImage** out, int32_t value);
    void (*engine)(const IplImage* a, const IplImage* b, IplImage* dst, int32_t value);
};

#define SCALAR(name)                                                                               \
    {                                                                                              \
        "Quib" #name, false,                                                                       \
            [](const IplImage* a, const IplImage*, IplImage** out, int32_t value) {                \
                return Quib##name(a, out, value);                                                  \
            },                                                                                     \
            [](const IplImage* a, const IplImage*, IplImage* dst, int32_t value) {                 \
                ipl##name(a, dst, value);                                                          \
            }                                                                                      \
    }
#define SHIFT(name)                                                                                \
    {                                                                                              \
        "Quib" #name, false,                                                                       \
            [](const IplImage* a, const IplImage*, IplImage** out, int32_t value) {                \
                return Quib##name(a, out, static_cast<uint32_t>(value));                           \
            },                                                                                     \
            [](const IplImage* a, const IplImage*, IplImage* dst, int32_t value) {                 \
                ipl##name(a, dst, static_cast<uint32_t>(value));                                   \
            }                                                                                      \
    }
#define SINGLE(name)                                                                               \
    {                                                                                              \
        "Quib" #name, false,                                                                       \
            [](const IplImage* a, const IplImage*, IplImage** out, int32_t) {                      \
                return Quib##name(a, out);                                                         \
            },                                                                                     \
            [](const IplImage* a, const IplImage*, IplImage* dst, int32_t) { ipl##name(a, dst); }  \
    }
#define PAIR(name)                                                                                 \
    {                                                                                              \
        "Quib" #name, true,                                                                        \
            [](const IplImage* a, const IplImage* b, IplImage** out, int32_t) {                    \
                return Quib##name(a, b, out);                                                      \
            },                                                                                     \
            [](const IplImage* a, const IplImage* b, IplImage* dst, int32_t) {                     \
                ipl##name(a, b, dst);                                                              \
            }                                                                                      \
    }

const Wrapper wrappers[] = {
    SCALAR(AddS),   SCALAR(MultiplyS), SCALAR(MultiplySScale),
    SINGLE(Square), SINGLE(Abs),       PAIR(Add),
    PAIR(Subtract), PAIR(Multiply),    PAIR(MultiplyScale),
    SHIFT(LShiftS), SHIFT(RShiftS),    SINGLE(Not),
    SCALAR(AndS),   SCALAR(OrS),       SCALAR(XorS),
    PAIR(And),      PAIR(Or),          PAIR(Xor),
};

// QuibAnd alone does not look at what its second handle points to.
bool examinesSecond(const Wrapper& wrapper)
{
    return std::string(wrapper.name) != "QuibAnd";
}

bool scales(const Wrapper& wrapper)
{
    return std::string(wrapper.name).find("Scale") != std::string::npos;
}

// The result of the steps that stand for a wrapper: a whole clone, then the
// engine's operation.
Image expectedResult(const Wrapper& wrapper, const IplImage* a, const IplImage* b, int32_t value)
{
    Image clone(iplCloneImage(a));
    wrapper.engine(a, b, clone.get(), value);
    return clone;
}

void expectSameAsSteps(const Wrapper& wrapper, const IplImage* a, const IplImage* b, int32_t value)
{
    const Image expected = expectedResult(wrapper, a, b, value);
    IplImage* out = nullptr;
    ASSERT_EQ(wrapper.run(a, b, &out, value), QUIB_OK);
    ASSERT_NE(out, nullptr);
    const Image owner(out);
    ASSERT_EQ(bytesOf(out), bytesOf(expected.get()))
        << wrapper.name << " " << value << " " << describe(a) << (b ? " and " + describe(b) : "");
    ASSERT_EQ(out->maskROI, nullptr);
    ASSERT_EQ(out->roi != nullptr, a->roi != nullptr);
}

} // namespace

TEST(PixelWrappers, RefuseABadFirstHandleWithAText)
{
    const Image good = makeHandle(4, 3, 32);
    const Image bare = makeHandle(4, 3, 32);
    IplImage header = *bare;
    header.imageData = nullptr;
    for (const Wrapper& wrapper : wrappers) {
        SCOPED_TRACE(wrapper.name);
        const IplImage* const badHandles[] = {nullptr, &header};
        for (const IplImage* bad : badHandles) {
            IplImage* out = good.get();
            EXPECT_BAD_HANDLE(wrapper.run(bad, nullptr, &out, 1));
            // Even without an output.
            EXPECT_BAD_HANDLE(wrapper.run(bad, nullptr, nullptr, 1));
            EXPECT_EQ(out, good.get());
        }
    }
}

TEST(PixelWrappers, RefuseANullOutputWithoutAText)
{
    const Image good = makeHandle(4, 3, 32);
    for (const Wrapper& wrapper : wrappers) {
        SCOPED_TRACE(wrapper.name);
        quibLastError[0] = 0;
        EXPECT_EQ(wrapper.run(good.get(), good.get(), nullptr, 1), QUIB_BAD_ARGUMENT);
        EXPECT_EQ(quibLastError[0], 0);
    }
}

TEST(PixelWrappers, RefuseABadSecondHandleWithATextButForAnd)
{
    const Image good = makeHandle(4, 3, 32);
    IplImage header = *good;
    header.imageData = nullptr;
    for (const Wrapper& wrapper : wrappers) {
        if (!wrapper.isPair)
            continue;
        SCOPED_TRACE(wrapper.name);
        IplImage* out = good.get();
        quibLastError[0] = 0;
        EXPECT_EQ(wrapper.run(good.get(), nullptr, &out, 1), QUIB_BAD_ARGUMENT);
        const int row = takeErrorRow();
        EXPECT_EQ(row >= 0, examinesSecond(wrapper));
        EXPECT_EQ(out, good.get());
        if (!examinesSecond(wrapper))
            continue;
        // The row tells which of the two it was.
        EXPECT_EQ(wrapper.run(nullptr, good.get(), &out, 1), QUIB_BAD_ARGUMENT);
        EXPECT_NE(takeErrorRow(), row);
        EXPECT_BAD_HANDLE(wrapper.run(good.get(), &header, &out, 1));
        EXPECT_EQ(out, good.get());
    }
    IplImage* out = nullptr;
    EXPECT_REPORT(QuibAnd(good.get(), &header, &out), -12, "iplAnd", "Incorrect Image", "ipland");
}

TEST(PixelWrappers, GiveWhatACloneAndTheOperationGive)
{
    Random random(101);
    for (const Wrapper& wrapper : wrappers) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            if (bitDepth == 1 && scales(wrapper))
                continue;
            for (int round = 0; round < 12; ++round) {
                const Image a = makeHandle(random.between(1, 40), random.between(1, 9), bitDepth);
                const Image b = makeHandle(random.between(1, 40), random.between(1, 9), bitDepth);
                const Image same = makeHandle(a->width, a->height, bitDepth);
                for (const Image* image : {&a, &b, &same})
                    randomise(image->get(), random);
                const int32_t value = random.between(-300, 300);
                ASSERT_NO_FATAL_FAILURE(expectSameAsSteps(wrapper, a.get(), same.get(), value));
                ASSERT_NO_FATAL_FAILURE(expectSameAsSteps(wrapper, a.get(), b.get(), value));
                ASSERT_NO_FATAL_FAILURE(expectSameAsSteps(wrapper, a.get(), a.get(), value));
            }
        }
    }
}

TEST(PixelWrappers, GiveTheSameForRecordsOfAnyKind)
{
    Random random(102);
    for (const Wrapper& wrapper : wrappers) {
        for (const uint32_t depth : {IPL_DEPTH_1U, IPL_DEPTH_8U, IPL_DEPTH_16U}) {
            if (depth == IPL_DEPTH_1U && scales(wrapper))
                continue;
            for (int round = 0; round < 25; ++round) {
                const Arrangement images = randomArrangement(depth, wrapper.isPair ? 2 : 1, random);
                if (images.a->width < 1)
                    continue;
                ASSERT_NO_FATAL_FAILURE(expectSameAsSteps(wrapper, images.a.get(), images.b.get(),
                                                          random.between(-300, 300)));
            }
        }
    }
}

TEST(PixelWrappers, KeepThePaddingOfTheSource)
{
    Random random(103);
    for (const int32_t bitDepth : {1, 8, 24}) {
        const Image src = makeRandomHandle(13, 3, bitDepth, random);
        IplImage* out = nullptr;
        ASSERT_EQ(QuibNot(src.get(), &out), QUIB_OK);
        const Image owner(out);
        const size_t used = (13 * static_cast<size_t>(bitDepth) + 7) / 8;
        for (int32_t y = 0; y < 3; ++y) {
            for (size_t x = used; x < static_cast<size_t>(out->widthStep); ++x)
                EXPECT_EQ(rowOf(out, y)[x], rowOf(src.get(), y)[x]);
            if (bitDepth == 1) {
                EXPECT_EQ(rowOf(out, y)[1] & 7, rowOf(src.get(), y)[1] & 7);
            }
        }
    }
}

TEST(PixelWrappers, CopyARecordWithRowsOfTheCallersOwnAsACloneDoes)
{
    Random random(104);
    std::vector<uint8_t> pixels(64 * 4);
    random.fill(pixels.data(), pixels.size());
    const Image header = makeHandle(7, 4, 8);
    IplImage record = *header;
    record.imageData = reinterpret_cast<char*>(pixels.data());
    record.widthStep = 64;
    record.imageSize = 256;
    for (const Wrapper& wrapper : wrappers) {
        ASSERT_NO_FATAL_FAILURE(expectSameAsSteps(wrapper, &record, header.get(), 3));
    }
}

TEST(PixelWrappers, StayInsideTheirHandles)
{
    Random random(105);
    for (const Guard guard : {Guard::afterEnd, Guard::beforeStart}) {
        for (const int32_t bitDepth : {1, 8, 24, 32}) {
            const GuardedHandle a(21, 5, bitDepth, guard);
            const GuardedHandle b(21, 5, bitDepth, guard);
            randomise(a.get(), random);
            randomise(b.get(), random);
            a.makeReadOnly();
            b.makeReadOnly();
            for (const Wrapper& wrapper : wrappers) {
                if (bitDepth == 1 && scales(wrapper))
                    continue;
                ASSERT_NO_FATAL_FAILURE(expectSameAsSteps(wrapper, a.get(), b.get(), 3));
            }
        }
    }
}

TEST(PixelWrappers, LeaveABadRecordToTheEngine)
{
    const Image bad = makeHandle(4, 3, 8);
    bad->origin = 7;
    const Image good = makeHandle(4, 3, 8);
    for (const Wrapper& wrapper : wrappers) {
        // Abs reads the status that the check left, and does nothing.
        if (std::string(wrapper.name) == "QuibAbs")
            continue;
        SCOPED_TRACE(wrapper.name);
        IplImage* out = good.get();
        EXPECT_EXIT(
            {
                iplErrorState.handler = printReport;
                wrapper.run(bad.get(), good.get(), &out, 1);
            },
            testing::ExitedWithCode(1), "report -20.*Incorrect Image");
    }
}

TEST(QuibAbs, DoesNothingForABadRecordAndAnOldOutput)
{
    const CleanStatus clean;
    const Image bad = makeHandle(4, 3, 8);
    bad->origin = 7;
    const Image old = makeHandle(4, 3, 8);
    IplImage* out = old.get();
    EXPECT_EQ(QuibAbs(bad.get(), &out), QUIB_OK);
    EXPECT_EQ(out, old.get());
    EXPECT_EQ(iplGetStatus(), -20);
    iplSetStatus(0);
    out = nullptr;
    EXPECT_REPORT(QuibAbs(bad.get(), &out), -5, "iplAbs", "dstImage==0", "iplabs");
}

TEST(QuibAbs, GivesACloneAfterAnEarlierFailure)
{
    const CleanStatus clean;
    Random random(106);
    const Image src = makeRandomHandle(9, 4, 32, random);
    EXPECT_EQ(iplCheckImage(nullptr), -9);
    IplImage* out = nullptr;
    EXPECT_EQ(QuibAbs(src.get(), &out), QUIB_OK);
    const Image owner(out);
    EXPECT_EQ(bytesOf(out), bytesOf(src.get()));
}
