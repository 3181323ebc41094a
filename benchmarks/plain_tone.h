// Plain forms of the adjustments of tone, pixel by pixel.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

// --- Brightness and contrast ----------------------------------------------------------

inline std::array<uint8_t, 256> plainCurve(int32_t brightness, int32_t contrast)
{
    const int32_t b = std::min(std::max(brightness, -128), 127);
    const int32_t c = std::min(std::max(contrast, -128), 127);
    const int32_t divisor = std::max(255 - 2 * c, 1);
    const int32_t rounding = std::max(divisor / 2, 1);
    std::array<uint8_t, 256> curve{};
    int32_t sum = (b - c) * 255 + rounding;
    for (int32_t i = 0; i < 256; ++i, sum += 255) {
        const int32_t v = i + b;
        int32_t out = sum / divisor;
        if (v < c)
            out = 0;
        else if (v > 255 - c)
            out = 255;
        curve[static_cast<size_t>(i)] = static_cast<uint8_t>(std::min(std::max(out, 0), 255));
    }
    return curve;
}

// --- Hue and saturation ---------------------------------------------------------------

class PlainHue
{
public:
    PlainHue() : hues(511 * 511)
    {
        for (int32_t i = -255; i <= 255; ++i)
            for (int32_t j = -255; j <= 255; ++j)
                hues[static_cast<size_t>((i + 255) * 511 + j + 255)] = hueOf(i, j);
    }

    // The centre of the table of hues.
    const int32_t* centre() const { return hues.data() + 255 * 511 + 255; }

    // The bytes B, G, R, A that a pixel becomes; `saturation` as the caller gives it.
    void adjust(uint8_t* to, const uint8_t* from, int32_t hue, int32_t saturation) const
    {
        const int32_t s = saturation >= 0 ? saturation / 4 : saturation;
        const int32_t shift = static_cast<int32_t>((int64_t{hue} + 360) % 360);
        uint8_t pixel[4];
        std::memcpy(pixel, from, 4);
        const int32_t h = centre()[511 * (from[2] - from[1]) + (from[2] - from[0])];
        if (h != 360) {
            int32_t sector = h / 60;
            int32_t r = h % 60;
            rotate(pixel, sector, r, shift);
            QuibApplySaturation(pixel, sector, r, s);
        }
        std::memcpy(to, pixel, 4);
    }

private:
    struct Parts {
        uint8_t* high;
        uint8_t* middle;
        uint8_t* low;
    };

    static int32_t hueOf(int32_t i, int32_t j)
    {
        if (i == 0 && j == 0)
            return 360;
        if (i == j && i > 0)
            return 0;
        if (i >= 0 && j >= 0 && i > j)
            return (60 * (j - i) / i + 360) % 360;
        if (i >= 0 && j >= 0)
            return 60 * (j - i) / j % 360;
        if (i >= 0)
            return (60 * i / (i - j) + 240) % 360;
        if (j >= 0)
            return (120 - 60 * j / (j - i)) % 360;
        if (i >= j)
            return (240 - 60 * i / j) % 360;
        return (60 * j / i + 120) % 360;
    }

    static int32_t clampTable(int32_t index) { return std::min(std::max(index, 0), 255); }

    static Parts partsOf(uint8_t& a0, uint8_t& a1, uint8_t& a2, int32_t sector)
    {
        switch (sector) {
        case 0:
            return {&a0, &a1, &a2};
        case 1:
            return {&a1, &a0, &a2};
        case 2:
            return {&a1, &a2, &a0};
        case 3:
            return {&a2, &a1, &a0};
        case 4:
            return {&a2, &a0, &a1};
        default:
            return {&a0, &a2, &a1};
        }
    }

    static void QuibRotateHue(uint8_t& a0, uint8_t& a1, uint8_t& a2, int32_t sector, int32_t amount,
                              int32_t swap)
    {
        const Parts parts = partsOf(a0, a1, a2, sector);
        const int32_t delta = (*parts.high - *parts.low) * amount / 60;
        const bool even = sector % 2 == 0;
        const uint8_t m =
            static_cast<uint8_t>(clampTable(even ? *parts.middle + delta : *parts.middle - delta));
        if (!swap) {
            *parts.middle = m;
        } else if (even) {
            *parts.middle = *parts.low;
            *parts.low = m;
        } else {
            *parts.middle = *parts.high;
            *parts.high = m;
        }
    }

    static void rotate(uint8_t* pixel, int32_t& sector, int32_t& r, int32_t shift)
    {
        const int32_t t = r + shift;
        const int32_t q = t / 60;
        if (q < 0 || q > 6)
            return;
        const int32_t amounts[] = {shift,       120 - t - r, shift - 120, 240 - t - r,
                                   shift - 240, 360 - t - r, shift - 360};
        uint8_t p2 = pixel[2];
        uint8_t p1 = pixel[1];
        uint8_t p0 = pixel[0];
        QuibRotateHue(p2, p1, p0, sector, amounts[q], q % 2);
        const uint8_t first[] = {p0, p1, p1, p2, p2, p0, p0};
        const uint8_t second[] = {p1, p2, p2, p0, p0, p1, p1};
        const uint8_t third[] = {p2, p0, p0, p1, p1, p2, p2};
        pixel[0] = first[q];
        pixel[1] = second[q];
        pixel[2] = third[q];
        sector = q == 6 ? sector : (sector + q) % 6;
        r = t - 60 * q;
    }

    static void QuibApplySaturation(uint8_t* pixel, int32_t sector, int32_t offset, int32_t s)
    {
        const Parts parts = partsOf(pixel[2], pixel[1], pixel[0], sector);
        const int32_t high = *parts.high;
        const int64_t index = *parts.low + -(int64_t{high} * s) / 100;
        int32_t newLow = clampTable(
            static_cast<int32_t>(std::min<int64_t>(std::max<int64_t>(index, -255), 511)));
        newLow = std::min(newLow, high);
        *parts.low = static_cast<uint8_t>(newLow);
        const int32_t w = sector % 2 == 0 ? 60 - offset : offset;
        *parts.middle = static_cast<uint8_t>(high - (high - newLow) * w / 60);
    }

    std::vector<int32_t> hues;
};

inline const PlainHue& plainHue()
{
    static const PlainHue hue;
    return hue;
}
