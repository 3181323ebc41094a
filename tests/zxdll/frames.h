// Loaded frames, and files that other programs made, for tests.
#pragma once

#include "tests/support/temporary_file.h"
#include "tests/zxdll/psd_writer.h"
#include "zxdll/zxdll.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

class LoadedPsd
{
public:
    explicit LoadedPsd(const char* fileName) : block(ZxLoadPsdFileAsImage(fileName)) {}
    explicit LoadedPsd(const Bytes& file) : LoadedPsd(TemporaryFile(file).name()) {}
    ~LoadedPsd() { ZxImageDelete(block); }
    LoadedPsd(const LoadedPsd&) = delete;
    LoadedPsd& operator=(const LoadedPsd&) = delete;

    HGLOBAL get() const { return block; }
    explicit operator bool() const { return block != nullptr; }
    // The block's words.
    std::vector<ZxWord> words() const
    {
        const size_t count = GlobalSize(block) / sizeof(ZxWord);
        const ZxWord* start = static_cast<const ZxWord*>(GlobalLock(block));
        std::vector<ZxWord> copy(start, start + count);
        GlobalUnlock(block);
        return copy;
    }
    size_t frameCount() const { return words()[22]; }

private:
    HGLOBAL block;
};

// A bitmap's pixels, top row first and without padding.
inline Bytes bitmapPixels(HGLOBAL block, const BITMAPINFOHEADER& header)
{
    const size_t pitch = dibPitch(header);
    const size_t rowBytes = static_cast<size_t>(header.biWidth) * header.biBitCount / 8;
    const size_t rows = static_cast<size_t>(header.biHeight);
    const uint8_t* start = static_cast<const uint8_t*>(GlobalLock(block)) + dibStart(header);
    Bytes pixels;
    for (size_t y = rows; y-- > 0;)
        pixels.insert(pixels.end(), start + y * pitch, start + y * pitch + rowBytes);
    GlobalUnlock(block);
    return pixels;
}

inline void expectBitmap(ZxWord word, const Bytes& pixels, int32_t width, int32_t height,
                         int32_t bits)
{
    const HGLOBAL block = reinterpret_cast<HGLOBAL>(word);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 0u);
    BITMAPINFOHEADER header;
    std::memcpy(&header, GlobalLock(block), sizeof header);
    GlobalUnlock(block);
    EXPECT_EQ(header.biSize, 40u);
    EXPECT_EQ(header.biWidth, width);
    EXPECT_EQ(header.biHeight, height);
    EXPECT_EQ(header.biPlanes, 1);
    EXPECT_EQ(header.biBitCount, bits);
    EXPECT_EQ(header.biCompression, static_cast<DWORD>(BI_RGB));
    ASSERT_GE(GlobalSize(block), dibStart(header) + dibPitch(header) * dibRows(header));
    EXPECT_EQ(bitmapPixels(block, header), pixels);
}

inline void expectFrames(const LoadedPsd& loaded, const std::vector<PsdExpectedFrame>& frames,
                         int32_t width, int32_t height)
{
    ASSERT_TRUE(loaded);
    const std::vector<ZxWord> words = loaded.words();
    ASSERT_EQ(words[22], frames.size());
    for (size_t i = 0; i < frames.size(); ++i) {
        SCOPED_TRACE("frame " + std::to_string(i));
        expectBitmap(words[23 + 75 * i], frames[i].colour, width, height,
                     frames[i].withAlpha ? 32 : 24);
        if (frames[i].mask)
            expectBitmap(words[24 + 75 * i], *frames[i].mask, width, height, 8);
        else
            EXPECT_EQ(words[24 + 75 * i], 0u);
    }
}

inline void expectLoads(const PsdFile& file)
{
    expectFrames(LoadedPsd(psdBytes(file)), psdFrames(file), file.width, file.height);
}

inline bool loads(const Bytes& file)
{
    return static_cast<bool>(LoadedPsd(file));
}

// --- Files that other programs made --------------------------------------------------------

inline std::string psdPath(const std::string& name)
{
    return std::string(QUIB_PSD_FOLDER) + name;
}

inline Bytes bytesOfFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.good()) << path;
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

inline PsdElements readPsdRows(std::istream& text, size_t count)
{
    std::string digits;
    std::string row;
    while (digits.size() < count * 2 && text >> row)
        digits += row;
    PsdElements elements;
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        elements.push_back(static_cast<uint32_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    EXPECT_EQ(elements.size(), count);
    return elements;
}

// What the text beside such a file says: its layers, at 8 bits.
inline PsdFile readPsdText(const std::string& name)
{
    std::ifstream text(psdPath(name));
    PsdFile file{0, 0};
    PsdArea area{};
    std::string word;
    EXPECT_TRUE(text >> word >> file.width >> file.height) << name;
    int32_t last = 0;
    while (text >> word >> area.left >> area.top >> area.width >> area.height >> last) {
        const size_t pixels = static_cast<size_t>(area.width) * static_cast<size_t>(area.height);
        if (word == "mask") {
            file.layers.back().mask =
                PsdMask{area, static_cast<uint8_t>(last), 0, readPsdRows(text, pixels)};
            continue;
        }
        const size_t channels = static_cast<size_t>(last);
        file.mode = channels < 3 ? 1 : 3;
        const PsdElements all = readPsdRows(text, pixels * channels);
        PsdLayer layer{area, {}, {}, 0, PsdCoding::raw};
        for (size_t i = 0; i < all.size(); ++i) {
            const size_t channel = i % channels;
            const bool isAlpha = channels % 2 == 0 && channel == channels - 1;
            layer.channels[isAlpha ? -1 : static_cast<int32_t>(channel)].push_back(all[i]);
        }
        file.layers.push_back(layer);
    }
    return file;
}
