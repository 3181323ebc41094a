#include "quibtool/platform/ddraw.h"

#include "tests/support/memory_surface.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace
{

// Where both descriptions have their fields.
template<class Description>
void expectLayout(size_t size)
{
    constexpr bool is64Bit = sizeof(void*) == 8;
    constexpr size_t format = is64Bit ? 80 : 72;
    EXPECT_EQ(sizeof(Description), size);
    EXPECT_EQ(offsetof(Description, dwSize), 0u);
    EXPECT_EQ(offsetof(Description, dwFlags), 4u);
    EXPECT_EQ(offsetof(Description, dwHeight), 8u);
    EXPECT_EQ(offsetof(Description, dwWidth), 12u);
    EXPECT_EQ(offsetof(Description, lPitch), 16u);
    EXPECT_EQ(offsetof(Description, lpSurface), is64Bit ? 40u : 36u);
    EXPECT_EQ(offsetof(Description, ddpfPixelFormat), format);
    EXPECT_EQ(offsetof(Description, ddpfPixelFormat) + offsetof(DDPIXELFORMAT, dwRGBBitCount),
              format + 12);
    EXPECT_EQ(offsetof(DDPIXELFORMAT, dwRBitMask), 16u);
    EXPECT_EQ(offsetof(DDPIXELFORMAT, dwGBitMask), 20u);
    EXPECT_EQ(offsetof(DDPIXELFORMAT, dwBBitMask), 24u);
}

// The object has its methods by their places alone: no type stands beside them for a
// sanitizer to check.
template<class MemorySurface, class Description>
[[gnu::no_sanitize("vptr")]] void expectMethods()
{
    MemorySurface surface(3, 2, 16, 32);
    Description description{};
    description.dwSize = sizeof description;
    EXPECT_EQ(surface.get()->GetSurfaceDesc(&description), DD_OK);
    EXPECT_EQ(surface.descriptions, 1);
    EXPECT_EQ(description.dwWidth, 3u);
    EXPECT_EQ(surface.get()->Lock(nullptr, &description, DDLOCK_WAIT, nullptr), DD_OK);
    EXPECT_EQ(surface.locks, 1);
    EXPECT_EQ(description.lpSurface, surface.pixels());
    surface.get()->Unlock(nullptr);
    EXPECT_EQ(surface.unlocks, 1);
    EXPECT_TRUE(surface.calledWell);
}

} // namespace

TEST(DirectDraw, DescriptionsHaveTheirLayouts)
{
    expectLayout<DDSURFACEDESC>(sizeof(void*) == 8 ? 120 : 108);
    expectLayout<DDSURFACEDESC2>(sizeof(void*) == 8 ? 136 : 124);
}

TEST(DirectDraw, SurfacesHaveTheirMethodsInOrder)
{
    expectMethods<Surface, DDSURFACEDESC>();
    expectMethods<Surface7, DDSURFACEDESC2>();
}
