// PSD files, beside reading the same bytes and copying as many pixels.
#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;

constexpr int layerCount = 2;
constexpr int channelCount = 4;

void appendBig(Bytes& bytes, uint64_t value, int width)
{
    for (int shift = (width - 1) * 8; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
}

// Slopes with a little noise, and a flat half, as drawn pictures have.
Bytes pictureRow(int width, int y, uint32_t* state)
{
    Bytes row(static_cast<size_t>(width));
    for (int x = 0; x < width; ++x) {
        *state = *state * 1664525u + 1013904223u;
        const bool flat = (x / 250 + y / 250) % 2 == 0;
        const uint32_t noise = flat ? 0 : *state >> 30;
        row[static_cast<size_t>(x)] = static_cast<uint8_t>((x / 16 + y / 16) * !flat + noise);
    }
    return row;
}

void appendRuns(Bytes& bytes, const Bytes& row)
{
    const auto runAt = [&row](size_t i) {
        size_t count = 1;
        while (i + count < row.size() && count < 128 && row[i + count] == row[i])
            ++count;
        return count;
    };
    for (size_t i = 0; i < row.size();) {
        const size_t run = runAt(i);
        if (run > 2) {
            bytes.push_back(static_cast<uint8_t>(257 - run));
            bytes.push_back(row[i]);
            i += run;
            continue;
        }
        size_t count = 0;
        while (i + count < row.size() && count < 128 && runAt(i + count) <= 2)
            ++count;
        bytes.push_back(static_cast<uint8_t>(count - 1));
        bytes.insert(bytes.end(), row.begin() + static_cast<ptrdiff_t>(i),
                     row.begin() + static_cast<ptrdiff_t>(i + count));
        i += count;
    }
}

Bytes makeChannel(int width, int height, uint32_t seed)
{
    Bytes counts;
    Bytes rows;
    for (int y = 0; y < height; ++y) {
        const size_t before = rows.size();
        appendRuns(rows, pictureRow(width, y, &seed));
        appendBig(counts, rows.size() - before, 2);
    }
    Bytes channel = {0, 1};
    channel.insert(channel.end(), counts.begin(), counts.end());
    channel.insert(channel.end(), rows.begin(), rows.end());
    return channel;
}

// Layers of the canvas's size with transparency.
Bytes makePsd(int width, int height)
{
    Bytes records;
    Bytes data;
    for (uint32_t layer = 0; layer < layerCount; ++layer) {
        for (const int edge : {0, 0, height, width})
            appendBig(records, static_cast<uint32_t>(edge), 4);
        appendBig(records, channelCount, 2);
        for (uint32_t channel = 0; channel < channelCount; ++channel) {
            const Bytes bytes = makeChannel(width, height, layer * 4 + channel + 1);
            appendBig(records, (channel + 0xFFFF) & 0xFFFF, 2);
            appendBig(records, bytes.size(), 4);
            data.insert(data.end(), bytes.begin(), bytes.end());
        }
        for (const char c : std::string("8BIMnorm"))
            records.push_back(static_cast<uint8_t>(c));
        appendBig(records, 0xFF000000, 4);
        appendBig(records, 0, 4);
    }
    Bytes file = {'8', 'B', 'P', 'S', 0, 1, 0, 0, 0, 0, 0, 0, 0, 4};
    appendBig(file, static_cast<uint32_t>(height), 4);
    appendBig(file, static_cast<uint32_t>(width), 4);
    appendBig(file, 8, 2);
    appendBig(file, 3, 2);
    appendBig(file, 0, 8);
    appendBig(file, records.size() + data.size() + 6, 4);
    appendBig(file, records.size() + data.size() + 2, 4);
    appendBig(file, layerCount, 2);
    file.insert(file.end(), records.begin(), records.end());
    file.insert(file.end(), data.begin(), data.end());
    return file;
}

class PsdFile
{
public:
    PsdFile(int width, int height)
        : path((std::filesystem::temp_directory_path() / "quib_bench.psd").string())
    {
        const Bytes file = makePsd(width, height);
        size = file.size();
        std::FILE* stream = std::fopen(path.c_str(), "wb");
        if (!stream || std::fwrite(file.data(), 1, size, stream) != size)
            std::abort();
        std::fclose(stream);
    }
    ~PsdFile() { std::remove(path.c_str()); }
    PsdFile(const PsdFile&) = delete;
    PsdFile& operator=(const PsdFile&) = delete;

    std::string path;
    size_t size = 0;
};

void loadCase(const PsdFile& file, const Pixels& pixels, int width, int height, double limit)
{
    addCase({.operation = "QuibLoadFramePsd2Bmp, two layers, run-length coded",
             .width = width,
             .height = height,
             .limit = {.ratio = limit},
             .ours =
                 [&file] {
                     IplImage* image = nullptr;
                     IplImage* mask = nullptr;
                     if (QuibLoadFramePsd2Bmp(file.path.c_str(), &image, &mask) != QUIB_OK)
                         std::abort();
                     QuibFree(&image);
                     QuibFree(&mask);
                 },
             .peer = "malloc, fread of the file, malloc, memcpy of its pixels",
             .theirs =
                 [&file, &pixels] {
                     std::FILE* stream = std::fopen(file.path.c_str(), "rb");
                     void* bytes = std::malloc(file.size);
                     if (std::fread(bytes, 1, file.size, stream) != file.size)
                         std::abort();
                     std::fclose(stream);
                     keep(bytes);
                     for (int layer = 0; layer < layerCount; ++layer) {
                         void* copy = std::malloc(pixels.bytes());
                         std::memcpy(copy, pixels.data(), pixels.bytes());
                         keep(copy);
                         std::free(copy);
                     }
                     std::free(bytes);
                 },
             .floor = {}});
}

} // namespace

void addPsdCases()
{
    static const PsdFile file(4000, 3000);
    static const Pixels pixels(4000, 3000, 32);
    loadCase(file, pixels, 4000, 3000, 4.0);
}
