#include "quibtool/startup.h"

#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define QUIB_HAS_CPUID 1
#endif

using namespace quib;

namespace
{

constexpr int32_t hueSide = 511;
constexpr int32_t hueCentre = 255 * hueSide + 255;
constexpr int32_t noHue = 360;

uint32_t pairBlendEntries[65536];
uint32_t identityEntries[256];
int32_t hueEntries[hueSide * hueSide];

uint32_t pairBlendEntry(int32_t over, int32_t under)
{
    if (over == 0 && under == 0)
        return 0;
    // Single precision, a little above 1/255; the products need double: the
    // closest of them lies 2.8e-7 from a rounding edge.
    constexpr double c = 1.0f / 255.0f;
    const double a = over * c;
    const double b = under * c;
    const double r = (a + b) - a * b;
    const uint32_t alpha = static_cast<uint32_t>(255.0 * r + 0.5) & 0xFF;
    const uint32_t weight = static_cast<uint32_t>(255.0 * (a / r) + 0.5) & 0xFF;
    return alpha << 24 | weight * 0x010101;
}

// Divisions truncate toward zero.
int32_t hueOf(int32_t i, int32_t j)
{
    if (i == j)
        return i == 0 ? noHue : i > 0 ? 0 : (240 - 60 * i / j) % 360;
    int32_t hue = 0;
    if (i >= 0 && j >= 0)
        hue = i > j ? 60 * (j - i) / i + 360 : 60 * (j - i) / j;
    else if (i >= 0)
        hue = 60 * i / (i - j) + 240;
    else if (j >= 0)
        hue = 120 - 60 * j / (j - i);
    else
        hue = i >= j ? 240 - 60 * i / j : 60 * j / i + 120;
    return hue % 360;
}

} // namespace

const uint32_t* const pairBlendTable = pairBlendEntries;
const uint32_t* const identityTable = identityEntries;
const int32_t* const hueTable = hueEntries + hueCentre;
uint32_t quibHasMMX;
int32_t quibProcessorFlag;
int32_t engineQuadWarpEnabled = 1;

void QuibBuildTables()
{
    for (int32_t over = 0; over < 256; ++over)
        for (int32_t under = 0; under < 256; ++under)
            pairBlendEntries[over * 256 + under] = pairBlendEntry(over, under);
    for (uint32_t i = 0; i < 256; ++i)
        identityEntries[i] = i * 0x01010101u;
    for (int32_t i = -255; i <= 255; ++i)
        for (int32_t j = -255; j <= 255; ++j)
            hueEntries[hueCentre + i * hueSide + j] = hueOf(i, j);
}

ProcessorIdentity quib::ownIdentifyProcessor()
{
    ProcessorIdentity identity{};
#if defined(QUIB_HAS_CPUID)
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;
    if (!__get_cpuid(0, &eax, &ebx, &ecx, &edx))
        return identity;
    identity.highestLeaf = eax;
    std::memcpy(identity.vendor, &ebx, 4);
    std::memcpy(identity.vendor + 4, &edx, 4);
    std::memcpy(identity.vendor + 8, &ecx, 4);
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx)) {
        identity.signature = eax;
        identity.features = edx;
    }
#endif
    return identity;
}

uint32_t quib::ownMmxFlag(const ProcessorIdentity& identity)
{
    return identity.highestLeaf >= 1 ? identity.features & 0x00800000u : 0;
}

int32_t quib::ownProcessorLevel(const ProcessorIdentity& identity)
{
    const uint32_t family = identity.signature >> 8 & 15;
    const uint32_t model = identity.signature >> 4 & 15;
    if (std::strncmp(identity.vendor, "AuthenticAMD", 12) == 0)
        return family > 5 || (family == 5 && model > 8);
    if (std::strncmp(identity.vendor, "GenuineIntel", 12) == 0)
        return family > 6 || (family == 6 && model > 6);
    // The other two known vendors are told apart only to be refused.
    return 0;
}

int32_t QuibProcessorLevel()
{
    return ownProcessorLevel(ownIdentifyProcessor());
}

void QuibStartUp()
{
    static constinit bool started = false;
    if (started)
        return;
    started = true;
    QuibBuildTables();
    quibHasMMX = ownMmxFlag(ownIdentifyProcessor());
    quibProcessorFlag = QuibProcessorLevel();
}

namespace
{
// Before any static object of the application, which may call in.
[[gnu::constructor(101)]] void startUpOnLoad()
{
    QuibStartUp();
}
} // namespace
