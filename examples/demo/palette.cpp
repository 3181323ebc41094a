#include "examples/demo/palette.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace
{

constexpr size_t mostColours = 256;
constexpr uint32_t opaque = 0xFF000000u;

// Colours are counted at six bits a channel, which is as fine as 256 can tell.
constexpr int fineness = 6;

struct Bin {
    std::array<uint8_t, 3> at; // at that fineness
    uint32_t count = 0;
    std::array<uint64_t, 3> sums{}; // of the full channels
    uint8_t index = 0;
};

struct Box {
    size_t first;
    size_t last; // exclusive
    int channel; // the widest
    uint64_t weight;
};

uint8_t channelOf(uint32_t colour, int channel)
{
    return static_cast<uint8_t>(colour >> 8 * channel);
}

uint32_t keyOf(uint32_t colour)
{
    uint32_t key = 0;
    for (int c = 0; c < 3; ++c)
        key = key << fineness | channelOf(colour, c) >> (8 - fineness);
    return key;
}

Box boxOf(const std::vector<Bin>& bins, size_t first, size_t last)
{
    Box box{first, last, 0, 0};
    uint64_t count = 0;
    for (size_t i = first; i < last; ++i)
        count += bins[i].count;
    int widest = 0;
    for (int c = 0; c < 3; ++c) {
        const auto [low, high] =
            std::minmax_element(bins.begin() + static_cast<ptrdiff_t>(first),
                                bins.begin() + static_cast<ptrdiff_t>(last),
                                [&](const Bin& a, const Bin& b) { return a.at[c] < b.at[c]; });
        const int width = high->at[c] - low->at[c];
        if (width > widest) {
            widest = width;
            box.channel = c;
        }
    }
    box.weight = count * static_cast<uint64_t>(widest) * static_cast<uint64_t>(widest);
    return box;
}

// Where half of a box's pixels lie on either side.
size_t middleOf(std::vector<Bin>& bins, const Box& box)
{
    const auto begin = bins.begin();
    std::sort(begin + static_cast<ptrdiff_t>(box.first), begin + static_cast<ptrdiff_t>(box.last),
              [&](const Bin& a, const Bin& b) { return a.at[box.channel] < b.at[box.channel]; });
    uint64_t count = 0;
    for (size_t i = box.first; i < box.last; ++i)
        count += bins[i].count;
    uint64_t below = 0;
    size_t middle = box.first;
    while (middle + 1 < box.last && 2 * below < count)
        below += bins[middle++].count;
    return std::max(middle, box.first + 1);
}

std::vector<Box> cut(std::vector<Bin>& bins, size_t most)
{
    std::vector<Box> boxes{boxOf(bins, 0, bins.size())};
    while (boxes.size() < most) {
        const auto heaviest =
            std::max_element(boxes.begin(), boxes.end(),
                             [](const Box& a, const Box& b) { return a.weight < b.weight; });
        if (heaviest->weight == 0)
            break;
        const Box box = *heaviest;
        const size_t middle = middleOf(bins, box);
        *heaviest = boxOf(bins, box.first, middle);
        boxes.push_back(boxOf(bins, middle, box.last));
    }
    return boxes;
}

uint32_t meanOf(const std::vector<Bin>& bins, const Box& box)
{
    uint64_t count = 0;
    std::array<uint64_t, 3> sums{};
    for (size_t i = box.first; i < box.last; ++i) {
        count += bins[i].count;
        for (size_t c = 0; c < 3; ++c)
            sums[c] += bins[i].sums[c];
    }
    uint32_t colour = opaque;
    for (size_t c = 0; c < 3; ++c)
        colour |= static_cast<uint32_t>((sums[c] + count / 2) / count) << 8 * c;
    return colour;
}

// False if the pixels have more colours than a palette.
bool takeOwnColours(const std::vector<uint32_t>& pixels, Palette* palette)
{
    std::unordered_map<uint32_t, uint8_t> known;
    for (const uint32_t pixel : pixels) {
        const uint32_t colour = pixel >> 24 ? pixel | opaque : 0;
        const auto found = known.find(colour);
        if (found == known.end() && known.size() == mostColours)
            return false;
        const uint8_t index =
            found == known.end() ? static_cast<uint8_t>(known.size()) : found->second;
        if (found == known.end()) {
            known.emplace(colour, index);
            palette->colours.push_back(colour);
        }
        palette->indices.push_back(index);
    }
    return true;
}

std::vector<Bin> count(const std::vector<uint32_t>& pixels)
{
    std::unordered_map<uint32_t, Bin> counted;
    for (const uint32_t pixel : pixels) {
        if (pixel >> 24 == 0)
            continue;
        Bin& bin = counted[keyOf(pixel)];
        ++bin.count;
        for (int c = 0; c < 3; ++c) {
            bin.at[c] = static_cast<uint8_t>(channelOf(pixel, c) >> (8 - fineness));
            bin.sums[c] += channelOf(pixel, c);
        }
    }
    std::vector<Bin> bins;
    bins.reserve(counted.size());
    for (const auto& [key, bin] : counted)
        bins.push_back(bin);
    // Not in the order of a hash.
    std::sort(bins.begin(), bins.end(), [](const Bin& a, const Bin& b) { return a.at < b.at; });
    return bins;
}

} // namespace

Palette makePalette(const std::vector<uint32_t>& pixels)
{
    Palette palette;
    if (takeOwnColours(pixels, &palette))
        return palette;
    palette = {{0}, {}}; // the first one is transparent
    std::vector<Bin> bins = count(pixels);
    std::unordered_map<uint32_t, uint8_t> indexOf;
    for (const Box& box : cut(bins, mostColours - 1)) {
        for (size_t i = box.first; i < box.last; ++i)
            indexOf[static_cast<uint32_t>(bins[i].at[0]) << 2 * fineness |
                    static_cast<uint32_t>(bins[i].at[1]) << fineness | bins[i].at[2]] =
                static_cast<uint8_t>(palette.colours.size());
        palette.colours.push_back(meanOf(bins, box));
    }
    for (const uint32_t pixel : pixels)
        palette.indices.push_back(pixel >> 24 ? indexOf[keyOf(pixel)] : uint8_t{0});
    return palette;
}
