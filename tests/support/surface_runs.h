// Random transfers between guarded images and surfaces in memory with any pitch.
#pragma once

#include "tests/support/guarded_image.h"
#include "tests/support/memory_surface.h"
#include "tests/support/plain_surface.h"

#include <gtest/gtest.h>

#include <memory>

// A surface of the image's size with `pitch` bytes from row to row and random bytes;
// one without rows has a few that must stay.
template<class Surface>
struct SurfaceRun {
    SurfaceRun(int32_t width, int32_t height, int32_t bitDepth, const SurfaceFormat& surfaceFormat,
               int32_t surfacePitch, Guard guard, Random& random)
        : image(width, height, bitDepth, guard), format(surfaceFormat), pitch(surfacePitch),
          surface(static_cast<uint32_t>(width), static_cast<uint32_t>(height), pitch, bytes(),
                  guard)
    {
        surface.setFormat(format.bits, format.red, format.green, format.blue);
        random.fill(surface.pixels(), bytes());
        randomise(image.get(), random);
    }

    PlainPair plain() const
    {
        const PlainBlock rows(pitch > 0 ? surface.contents() : std::vector<uint8_t>(), pitch);
        return {rows,
                PlainBlock(bytesOf(image.get()), image->widthStep),
                image->width,
                image->height,
                image->nChannels,
                format};
    }
    // Whether both hold what the plain forms made of them.
    void expect(const PlainPair& pair) const
    {
        if (pitch > 0) {
            ASSERT_EQ(surface.contents(), pair.surface.bytes);
        }
        ASSERT_EQ(bytesOf(image.get()), pair.image.bytes);
    }
    size_t bytes() const
    {
        return pitch > 0 ? static_cast<size_t>(pitch) * static_cast<size_t>(image->height) : 64;
    }

    GuardedHandle image;
    SurfaceFormat format;
    int32_t pitch;
    Surface surface;
};

inline SurfaceFormat randomMasks(Random& random)
{
    const auto mask = [&] {
        switch (random.between(0, 3)) {
        case 0:
            return uint32_t{0};
        case 1: // some bits on end
            return 0xFFFFFFFFu >> random.between(0, 31) << random.between(0, 15);
        case 2:
            return random.next() & 0xFFFF;
        default:
            return random.next();
        }
    };
    return {"any", 16, mask(), mask(), mask()};
}

// Formats as they are common, and some that nobody has.
inline SurfaceFormat randomFormat(Random& random)
{
    if (random.between(0, 2) == 0)
        return randomMasks(random);
    if (random.coin())
        return commonFormats[random.between(0, 4)];
    constexpr uint32_t odd[] = {0, 1, 7, 12, 15, 17, 23, 25, 31, 33, 40, 48, 64, 0xFFFFFFFF};
    return {"odd", odd[random.between(0, 13)], 1, 2, 4};
}

// Tight, wide, too small, zero and negative ones.
inline int32_t randomPitch(int32_t width, uint32_t bits, Random& random)
{
    const int32_t tight = width * static_cast<int32_t>(std::min(bits, 32u) / 8);
    switch (random.between(0, 9)) {
    case 0:
        return 0;
    case 1:
        return -tight;
    case 2:
        return random.coin() ? INT32_MIN : -1;
    case 3:
        return random.between(1, 8);
    case 4:
        return random.between(1, 4 * width);
    case 5:
    case 6:
        return std::max(tight, 1) + random.between(0, 70);
    case 7:
        return (tight + 3) / 4 * 4 + 4;
    default:
        return std::max(tight, 1);
    }
}

// Calls transfer(run), gives what plain(pair) makes, and compares, over random sizes,
// depths, formats and pitches.
template<class Surface, class Transfer, class Plain>
void expectRandomRuns(uint64_t seed, int rounds, Transfer transfer, Plain plain)
{
    Random random(seed);
    for (int round = 0; round < rounds; ++round) {
        const int32_t width = random.coin() ? random.between(1, 9) : random.between(1, 150);
        const int32_t height = random.between(1, random.coin() ? 4 : 40);
        const int32_t bitDepth = handleDepths[random.between(0, 3)];
        const SurfaceFormat format = randomFormat(random);
        const int32_t pitch = randomPitch(width, format.bits, random);
        SCOPED_TRACE(testing::Message()
                     << "round " << round << ": " << width << " x " << height << " of " << bitDepth
                     << " bits, surface of " << format.bits << ", pitch " << pitch << ", masks "
                     << std::hex << format.red << " " << format.green << " " << format.blue);
        SurfaceRun<Surface> run(width, height, bitDepth, format, pitch,
                                random.coin() ? Guard::afterEnd : Guard::beforeStart, random);
        PlainPair pair = run.plain();
        const QuibStatus expected = plain(pair, bitDepth);
        ASSERT_EQ(transfer(run), expected);
        run.expect(pair);
        ASSERT_TRUE(run.surface.calledWell);
        ASSERT_TRUE(run.surface.calledWithZeros);
        ASSERT_TRUE(run.surface.lockedWithoutFlags);
        if (testing::Test::HasFatalFailure())
            return;
    }
}
