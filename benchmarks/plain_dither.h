// Dithers as their definitions read, a pixel at a time: what the tests judge the
// library by, and what the benchmarks measure it against.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// A neighbour whose error a pixel gets a part of.
struct PlainTap {
    int dx;
    int dy;
    double weight;
};

// From the top on and from the left to the right.
struct PlainDiffusion {
    std::vector<PlainTap> taps;
    double sum;
};

inline const PlainDiffusion& plainFloydSteinberg()
{
    static const PlainDiffusion method{{{-1, -1, 1}, {0, -1, 5}, {1, -1, 3}, {-1, 0, 7}}, 16};
    return method;
}

inline const PlainDiffusion& plainJarvis()
{
    static const PlainDiffusion method{{{-2, -2, 1},
                                        {-1, -2, 3},
                                        {0, -2, 5},
                                        {1, -2, 3},
                                        {2, -2, 1},
                                        {-2, -1, 3},
                                        {-1, -1, 5},
                                        {0, -1, 7},
                                        {1, -1, 5},
                                        {2, -1, 3},
                                        {-2, 0, 5},
                                        {-1, 0, 7}},
                                       48};
    return method;
}

inline const PlainDiffusion& plainStucki()
{
    static const PlainDiffusion method{{{-2, -2, 1},
                                        {-1, -2, 2},
                                        {0, -2, 4},
                                        {1, -2, 2},
                                        {2, -2, 1},
                                        {-2, -1, 2},
                                        {-1, -1, 4},
                                        {0, -1, 8},
                                        {1, -1, 4},
                                        {2, -1, 2},
                                        {-2, 0, 4},
                                        {-1, 0, 8}},
                                       42};
    return method;
}

struct PlainLevels {
    double step; // between the values of two levels
    double most; // the highest level
};

// The level below `height`, which is in levels.
inline double plainLevelBelow(double height, const PlainLevels& levels)
{
    if (height >= levels.most)
        return levels.most;
    return height > 0 ? static_cast<double>(static_cast<std::int64_t>(height)) : 0;
}

// Calls take(x, y, level) for the elements get(x, y), row by row. The errors of
// three rows are kept, with room for the neighbours beside them.
template<class Get, class Take>
void plainDiffuse(const PlainDiffusion& method, int width, int height, const PlainLevels& levels,
                  Get get, Take take)
{
    const std::size_t pitch = static_cast<std::size_t>(width) + 4;
    std::vector<double> above(pitch);
    std::vector<double> higher(pitch);
    std::vector<double> own(pitch);
    for (int y = 0; y < height; ++y) {
        const double* const rows[3] = {own.data() + 2, above.data() + 2, higher.data() + 2};
        for (int x = 0; x < width; ++x) {
            double sum = 0;
            for (const PlainTap& tap : method.taps)
                sum += rows[-tap.dy][x + tap.dx] * tap.weight;
            const double value = get(x, y) + sum / method.sum;
            const double level = plainLevelBelow(value / levels.step + 0.5, levels);
            own[static_cast<std::size_t>(x) + 2] = value - level * levels.step;
            take(x, y, level);
        }
        higher.swap(above);
        above.swap(own);
    }
}

// Bayer's matrix of 4^k elements from that of a quarter of them.
inline int plainBayer(int x, int y, int size = 8)
{
    constexpr int quarter[2][2] = {{0, 2}, {3, 1}};
    if (size == 1)
        return 0;
    const int half = size / 2;
    return 4 * plainBayer(x % half, y % half, half) + quarter[y / half % 2][x / half % 2];
}

// The nearest level of the value, shifted by the threshold of its place.
inline double plainOrdered(double value, int x, int y, const PlainLevels& levels)
{
    const double threshold = (plainBayer(x % 8, y % 8) + 0.5) / 64;
    return plainLevelBelow(value / levels.step + threshold, levels);
}
