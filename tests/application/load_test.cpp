// Loads the shared library by name, as an application does, and works through
// the names that it exports.
#include "quibtool/quibtool.h"
#include "tests/application/library.h"

#include <gtest/gtest.h>

// The exported function of the loaded library, with the header's own type.
#define EXPORTED(name) (*library.get<decltype(name)>(#name))

TEST(LoadedLibrary, ResolvesEveryExportedName)
{
    const Library library;
    for (const char* name : exportedNames)
        EXPECT_TRUE(library.has(name)) << name;
    EXPECT_FALSE(library.has("iplCopy"));
    EXPECT_FALSE(library.has("QuibCreateHeader"));
}

TEST(LoadedLibrary, MakesFillsCopiesAndFreesAHandle)
{
    const Library library;
    IplImage* handle = nullptr;
    ASSERT_EQ(EXPORTED(QuibCreate)(33, 7, 32, &handle, 0xFF102030u), QUIB_OK);

    QuibInfo info = {};
    EXPECT_EQ(EXPORTED(QuibGetInfo)(handle, &info), QUIB_OK);
    EXPECT_EQ(info.width, 33);
    EXPECT_EQ(info.height, 7);
    EXPECT_EQ(info.bitDepth, 32);
    EXPECT_EQ(info.widthStep, 132);

    QuibRect rect = {1, 1, 100, 2};
    EXPECT_EQ(EXPORTED(QuibFillColor)(handle, 0x80405060u, &rect), QUIB_OK);
    EXPECT_EQ(rect.right, 33);
    void* data = nullptr;
    EXPECT_EQ(EXPORTED(QuibLockData)(handle, &data), QUIB_OK);
    uint32_t words[33 * 2];
    memcpy(words, data, sizeof(words));
    EXPECT_EQ(words[0], 0xFF102030u);
    EXPECT_EQ(words[33], 0xFF102030u);
    EXPECT_EQ(words[34], 0x80405060u);
    EXPECT_EQ(EXPORTED(QuibUnlockData)(handle), QUIB_OK);

    IplImage* copy = nullptr;
    EXPECT_EQ(EXPORTED(QuibClone)(handle, &copy), QUIB_OK);
    EXPECT_EQ(memcmp(copy->imageData, data, 132 * 7), 0);
    EXPECT_EQ(EXPORTED(QuibFree)(&copy), QUIB_OK);
    EXPECT_EQ(EXPORTED(QuibFree)(&handle), QUIB_OK);
    EXPECT_EQ(handle, nullptr);
}

TEST(LoadedLibrary, WarpsUnderADecoratedName)
{
    const char* name = decoratedName("QUIBWarpPerspectiveQ_");
    EXPECT_STRNE(name, "");
    const Library library;
    auto* warp = library.get<decltype(QUIBWarpPerspectiveQ_)>(name);
    ASSERT_NE(warp, nullptr) << name;

    IplImage* src = nullptr;
    ASSERT_EQ(EXPORTED(QuibCreate)(20, 10, 32, &src, 0xFF102030u), QUIB_OK);
    const double quad[4][2] = {{0, 0}, {30, 0}, {30, 20}, {0, 20}};
    IplImage* dst = nullptr;
    EXPECT_EQ(warp(src, &dst, quad, 0, false), QUIB_OK);
    ASSERT_NE(dst, nullptr);
    EXPECT_EQ(dst->width, 30);
    EXPECT_EQ(dst->height, 20);
    uint32_t pixel = 0;
    memcpy(&pixel, dst->imageData + 10 * dst->widthStep + 15 * 4, 4);
    EXPECT_EQ(pixel, 0xFF102030u);
    EXPECT_EQ(EXPORTED(QuibFree)(&src), QUIB_OK);
    EXPECT_EQ(EXPORTED(QuibFree)(&dst), QUIB_OK);
}

TEST(LoadedLibrary, ComparesSizesUnderADecoratedName)
{
    const char* name = decoratedName("QuibColorConversion");
    EXPECT_STRNE(name, "");
    const Library library;
    EXPECT_FALSE(library.has("QuibColorConversion"));
    auto* compare = library.get<decltype(QuibColorConversion)>(name);
    ASSERT_NE(compare, nullptr) << name;

    IplImage* a = nullptr;
    IplImage* b = nullptr;
    IplImage* c = nullptr;
    ASSERT_EQ(EXPORTED(QuibCreate)(20, 10, 32, &a, 0), QUIB_OK);
    ASSERT_EQ(EXPORTED(QuibCreate)(20, 10, 8, &b, 0), QUIB_OK);
    ASSERT_EQ(EXPORTED(QuibCreate)(20, 11, 8, &c, 0), QUIB_OK);
    EXPECT_EQ(compare(a, b), QUIB_OK);
    EXPECT_EQ(compare(a, c), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(compare(nullptr, a), QUIB_BAD_ARGUMENT);
    for (IplImage** handle : {&a, &b, &c})
        EXPECT_EQ(EXPORTED(QuibFree)(handle), QUIB_OK);
}

TEST(LoadedLibrary, RefusesBadHandles)
{
    const Library library;
    IplImage* handle = nullptr;
    QuibInfo info = {};
    EXPECT_EQ(EXPORTED(QuibFree)(&handle), QUIB_BAD_ARGUMENT);
    EXPECT_EQ(EXPORTED(QuibGetInfo)(nullptr, &info), QUIB_BAD_ARGUMENT);
    auto* garbage = reinterpret_cast<IplImage*>(uintptr_t{0x1000});
    EXPECT_EQ(EXPORTED(QuibGetInfo)(garbage, &info), QUIB_BAD_ARGUMENT);
}

TEST(LoadedLibrary, CanBeLoadedTwice)
{
    const Library first;
    IplImage* handle = nullptr;
    {
        const Library library;
        ASSERT_EQ(EXPORTED(QuibCreate0)(1, 1, 8, &handle), QUIB_OK);
    }
    const Library library;
    EXPECT_EQ(EXPORTED(QuibFree)(&handle), QUIB_OK);
}
