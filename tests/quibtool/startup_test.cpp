#include "quibtool/startup.h"

#include "kernels/kernels.h"
#include "quibtool/quibtool.h"
#include "tests/support/levels.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace quib;

namespace
{

// A static object of an application, whose constructor calls the library.
struct EarlyCaller {
    EarlyCaller()
    {
        created = QuibCreate(3, 3, 32, &handle, 0xFF102030u);
        kernels = &quib::kernels();
        lastBlend = pairBlendTable[65535];
        lastIdentity = identityTable[255];
        grayHue = hueTable[0];
        mmx = quibHasMMX;
        processorFlag = quibProcessorFlag;
    }
    ~EarlyCaller() { QuibFree(&handle); }

    IplImage* handle = nullptr;
    QuibStatus created = QUIB_FAILED;
    const quib::Kernels* kernels = nullptr;
    uint32_t lastBlend = 0;
    uint32_t lastIdentity = 0;
    int32_t grayHue = 0;
    uint32_t mmx = 0;
    int32_t processorFlag = -1;
};
const EarlyCaller earlyCaller;

// floor(255 * value + 1/2) of both values of an entry, in whole numbers. With
// c = k / 2^31, r is k * d / 2^62 and a / r is over * 2^31 / d.
struct Blend {
    uint32_t weight;
    uint32_t alpha;
};

Blend exactBlend(uint64_t over, uint64_t under)
{
    if (over == 0 && under == 0)
        return {0, 0};
    constexpr uint64_t k = 0x808081;
    const uint64_t d = ((over + under) << 31) - over * under * k;
    const uint64_t weight = (2 * 255 * (over << 31) + d) / (2 * d);
    // 255 * k * d has more than 64 bits; its lowest 20 do not count.
    const uint64_t low = (d & 0xFFFFF) * (255 * k) >> 20;
    const uint64_t product = (d >> 20) * (255 * k) + low;
    const uint64_t alpha = (product + (uint64_t{1} << 41)) >> 42;
    return {static_cast<uint32_t>(weight), static_cast<uint32_t>(alpha)};
}

int32_t plainHueEntry(int32_t i, int32_t j)
{
    if (i == 0 && j == 0)
        return 360;
    if (i == j && j > 0)
        return 0;
    int32_t h = 0;
    if (i >= 0 && j >= 0 && i > j)
        h = 60 * (j - i) / i + 360;
    else if (i >= 0 && j >= 0 && i < j)
        h = 60 * (j - i) / j;
    else if (i >= 0 && j < 0)
        h = 60 * i / (i - j) + 240;
    else if (i < 0 && j >= 0)
        h = 120 - 60 * j / (j - i);
    else if (i < 0 && j < 0 && i >= j)
        h = 240 - 60 * i / j;
    else
        h = 60 * j / i + 120;
    return h % 360;
}

int32_t hueOfPixel(int32_t red, int32_t green, int32_t blue)
{
    return hueTable[(red - green) * 511 + (red - blue)];
}

ProcessorIdentity processor(const char* vendor, uint32_t family, uint32_t model)
{
    ProcessorIdentity identity{};
    identity.highestLeaf = 1;
    std::memcpy(identity.vendor, vendor, 12);
    identity.signature = family << 8 | model << 4;
    return identity;
}

} // namespace

TEST(QuibStartUp, HasRunBeforeTheApplicationsStaticObjects)
{
    EXPECT_EQ(earlyCaller.created, QUIB_OK);
    EXPECT_EQ(earlyCaller.lastBlend, 0xFFFFFFFFu);
    EXPECT_EQ(earlyCaller.lastIdentity, 0xFFFFFFFFu);
    EXPECT_EQ(earlyCaller.grayHue, 360);
    EXPECT_EQ(earlyCaller.mmx, quibHasMMX);
    EXPECT_EQ(earlyCaller.processorFlag, quibProcessorFlag);
    EXPECT_EQ(earlyCaller.kernels, availableLevels().back());
}

TEST(PairBlendTable, HoldsTheValuesOfTheExactFormula)
{
    for (uint32_t over = 0; over < 256; ++over) {
        for (uint32_t under = 0; under < 256; ++under) {
            const Blend blend = exactBlend(over, under);
            ASSERT_LE(blend.weight, 255u);
            ASSERT_LE(blend.alpha, 255u);
            ASSERT_EQ(pairBlendTable[over * 256 + under],
                      blend.alpha << 24 | blend.weight * 0x010101u)
                << over << ", " << under;
        }
    }
}

TEST(PairBlendTable, HoldsTheWorkedValues)
{
    struct Worked {
        uint32_t over;
        uint32_t under;
        uint32_t weight;
        uint32_t alpha;
    };
    constexpr Worked worked[] = {
        {0, 0, 0, 0},         {0, 1, 0, 1},       {1, 0, 255, 1},       {1, 1, 128, 2},
        {0, 255, 0, 255},     {255, 0, 255, 255}, {255, 255, 255, 255}, {128, 128, 170, 192},
        {128, 255, 128, 255}, {64, 192, 79, 208}, {192, 64, 236, 208},  {100, 200, 115, 222},
    };
    for (const Worked& value : worked)
        EXPECT_EQ(pairBlendTable[value.over * 256 + value.under],
                  value.alpha << 24 | value.weight * 0x010101u)
            << value.over << ", " << value.under;
}

TEST(IdentityTable, HoldsTheIndexInAllFourBytes)
{
    for (uint32_t i = 0; i < 256; ++i)
        EXPECT_EQ(identityTable[i], i << 24 | i << 16 | i << 8 | i);
}

TEST(HueTable, HoldsTheValuesOfItsConditions)
{
    for (int32_t i = -255; i <= 255; ++i) {
        for (int32_t j = -255; j <= 255; ++j) {
            const int32_t hue = hueTable[i * 511 + j];
            ASSERT_EQ(hue, plainHueEntry(i, j)) << i << ", " << j;
            ASSERT_EQ(hue == 360, i == 0 && j == 0);
            ASSERT_GE(hue, 0);
        }
    }
}

TEST(HueTable, GivesThePureColoursTheirAngles)
{
    EXPECT_EQ(hueOfPixel(255, 0, 0), 0);
    EXPECT_EQ(hueOfPixel(255, 255, 0), 60);
    EXPECT_EQ(hueOfPixel(0, 255, 0), 120);
    EXPECT_EQ(hueOfPixel(0, 255, 255), 180);
    EXPECT_EQ(hueOfPixel(0, 0, 255), 240);
    EXPECT_EQ(hueOfPixel(255, 0, 255), 300);
    EXPECT_EQ(hueOfPixel(77, 77, 77), 360);
    EXPECT_EQ(hueTable[1 * 511 + 1], 0);
    // A small negative term truncates to 0, and 360 turns into 0.
    EXPECT_EQ(hueTable[255 * 511 + 254], 0);
}

TEST(QuibBuildTables, MayRunAgain)
{
    const uint32_t before = pairBlendTable[100 * 256 + 200];
    QuibBuildTables();
    EXPECT_EQ(pairBlendTable[100 * 256 + 200], before);
    QuibStartUp();
}

TEST(QuibProcessorLevel, GoesByVendorFamilyAndModel)
{
    for (uint32_t family = 0; family < 16; ++family) {
        for (uint32_t model = 0; model < 16; ++model) {
            EXPECT_EQ(ownProcessorLevel(processor("AuthenticAMD", family, model)),
                      family > 5 || (family == 5 && model > 8));
            EXPECT_EQ(ownProcessorLevel(processor("GenuineIntel", family, model)),
                      family > 6 || (family == 6 && model > 6));
            for (const char* vendor :
                 {"CyrixInstead", "CentaurHalls", "CentaurHauls", "GenuineIntal", "authenticamd"})
                EXPECT_EQ(ownProcessorLevel(processor(vendor, family, model)), 0);
        }
    }
}

TEST(QuibProcessorLevel, TellsTheBorderModels)
{
    EXPECT_EQ(ownProcessorLevel(processor("GenuineIntel", 6, 6)), 0);
    EXPECT_EQ(ownProcessorLevel(processor("GenuineIntel", 6, 7)), 1);
    EXPECT_EQ(ownProcessorLevel(processor("AuthenticAMD", 5, 8)), 0);
    EXPECT_EQ(ownProcessorLevel(processor("AuthenticAMD", 5, 9)), 1);
}

TEST(QuibProcessorLevel, LooksAtTheRawFourBitFieldsAlone)
{
    // Stepping, type and the extended fields are set and do not count.
    ProcessorIdentity identity = processor("GenuineIntel", 6, 6);
    identity.signature |= 0x0FFFF00Fu;
    EXPECT_EQ(ownProcessorLevel(identity), 0);
    identity.signature = 0x0FFFF00Fu | 6u << 8 | 7u << 4;
    EXPECT_EQ(ownProcessorLevel(identity), 1);
}

TEST(QuibHasMMX, IsTheFeatureBitItself)
{
    ProcessorIdentity identity = processor("GenuineIntel", 6, 7);
    identity.features = 0xFFFFFFFFu;
    EXPECT_EQ(ownMmxFlag(identity), 0x00800000u);
    identity.features = ~0x00800000u;
    EXPECT_EQ(ownMmxFlag(identity), 0u);
    identity.features = 0xFFFFFFFFu;
    identity.highestLeaf = 0;
    EXPECT_EQ(ownMmxFlag(identity), 0u);
}

TEST(QuibHasMMX, IsReadFromThisProcessor)
{
    const ProcessorIdentity identity = ownIdentifyProcessor();
    EXPECT_EQ(quibHasMMX, ownMmxFlag(identity));
    EXPECT_EQ(quibProcessorFlag, ownProcessorLevel(identity));
    EXPECT_EQ(QuibProcessorLevel(), quibProcessorFlag);
#if defined(__x86_64__)
    EXPECT_EQ(quibHasMMX, 0x00800000u);
#endif
}

#if defined(__x86_64__) || defined(__i386__)
TEST(QuibProcessorLevel, KnowsTheMakerOfThisProcessor)
{
    const ProcessorIdentity identity = ownIdentifyProcessor();
    EXPECT_GE(identity.highestLeaf, 1u);
    EXPECT_LT(identity.highestLeaf, 256u);
    EXPECT_EQ(std::memcmp(identity.vendor, "AuthenticAMD", 12) == 0, !!__builtin_cpu_is("amd"));
    EXPECT_EQ(std::memcmp(identity.vendor, "GenuineIntel", 12) == 0, !!__builtin_cpu_is("intel"));
    EXPECT_NE(identity.signature, 0u);
}
#endif

TEST(EngineQuadWarpEnabled, StartsAtOne)
{
    EXPECT_EQ(engineQuadWarpEnabled, 1);
}
