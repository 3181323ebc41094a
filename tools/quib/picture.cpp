#include "tools/quib/picture.h"

#include <cstdio>
#include <cstring>

namespace
{

uint64_t mostPictureBytes = uint64_t{1} << 30;

constexpr int64_t mostSide = 1000000;
constexpr uint64_t mostEngineBytes = 0x7FFFFF00u; // sizes are signed words of 32 bits

uint64_t bytesOf(int64_t width, int64_t height, int depth)
{
    return static_cast<uint64_t>((width * depth + 31) / 32 * 4) * static_cast<uint64_t>(height);
}

// Three or four bytes of a colour from one of gray, or from three or four.
void spread(const uint8_t* from, size_t fromBytes, uint8_t* to, size_t toBytes)
{
    for (size_t i = 0; i < 3; ++i)
        to[i] = from[fromBytes == 1 ? 0 : i];
    if (toBytes == 4)
        to[3] = 255;
}

Problem makeColour(int depth, Picture* picture)
{
    const size_t fromBytes = static_cast<size_t>(depthOf(*picture) / 8);
    const size_t toBytes = static_cast<size_t>(depth / 8);
    Picture result;
    Problem problem = makePicture((*picture)->width, (*picture)->height, depth, 0, &result);
    if (!problem.empty())
        return problem;
    for (int32_t y = 0; y < result->height; ++y) {
        const uint8_t* from = rowOf(picture->get(), y);
        uint8_t* to = rowOf(result.get(), y);
        for (int32_t x = 0; x < result->width; ++x, from += fromBytes, to += toBytes)
            spread(from, fromBytes, to, toBytes);
    }
    *picture = std::move(result);
    return {};
}

Problem makeGray(Picture* picture)
{
    IplImage* gray = nullptr;
    if (depthOf(*picture) == 1) {
        const QuibStatus status = QuibBitonalToGray(picture->get(), &gray, 0, 255);
        return takeResult("QuibBitonalToGray", status, gray, picture);
    }
    const QuibStatus status = QuibColorToGray(picture->get(), &gray);
    return takeResult("QuibColorToGray", status, gray, picture);
}

Problem makeBits(Picture* picture)
{
    Picture bits;
    Problem problem = makePicture((*picture)->width, (*picture)->height, 1, 0, &bits);
    if (!problem.empty())
        return problem;
    for (int32_t y = 0; y < bits->height; ++y) {
        const uint8_t* from = rowOf(picture->get(), y);
        uint8_t* to = rowOf(bits.get(), y);
        for (int32_t x = 0; x < bits->width; ++x)
            if (from[x] >= 128)
                to[x >> 3] = static_cast<uint8_t>(to[x >> 3] | (0x80 >> (x & 7)));
    }
    *picture = std::move(bits);
    return {};
}

} // namespace

void limitPictures(uint64_t bytes)
{
    mostPictureBytes = bytes;
}

std::string sizeText(int64_t width, int64_t height)
{
    return std::to_string(width) + " x " + std::to_string(height);
}

Problem checkSize(int64_t width, int64_t height, int depth)
{
    if (width < 1 || height < 1)
        return "a picture of " + sizeText(width, height) + " pixels has none";
    if (width > mostSide || height > mostSide)
        return "a picture of " + sizeText(width, height) + " pixels is too large: at most " +
               std::to_string(mostSide) + " on a side";
    const uint64_t bytes = bytesOf(width, height, depth);
    if (bytes > mostEngineBytes)
        return "a picture of " + sizeText(width, height) + " pixels of " + std::to_string(depth) +
               " bits is too large: at most 2 GiB of pixels";
    if (bytes > mostPictureBytes)
        return "a picture of " + sizeText(width, height) + " pixels of " + std::to_string(depth) +
               " bits takes " + std::to_string((bytes >> 20) + 1) + " MiB, and the limit is " +
               std::to_string(mostPictureBytes >> 20) + " MiB (--memory)";
    return {};
}

Problem makePicture(int64_t width, int64_t height, int depth, uint32_t word, Picture* out)
{
    Problem problem = checkSize(width, height, depth);
    if (!problem.empty())
        return problem;
    IplImage* handle = nullptr;
    const QuibStatus status =
        QuibCreate(static_cast<int32_t>(width), static_cast<int32_t>(height), depth, &handle, word);
    problem = takeResult("QuibCreate", status, handle, out);
    if (problem.empty() && depth == 24)
        std::memset(rowOf(handle, 0), 0, static_cast<size_t>(bytesOf(width, height, depth)));
    return problem;
}

int depthOf(const Picture& picture)
{
    QuibInfo info{};
    QuibGetInfo(picture.get(), &info);
    return info.bitDepth;
}

uint8_t* rowOf(IplImage* handle, int32_t y)
{
    void* data = nullptr;
    QuibLockData(handle, &data);
    QuibUnlockData(handle);
    return static_cast<uint8_t*>(data) + static_cast<ptrdiff_t>(y) * handle->widthStep;
}

Problem copyPicture(const Picture& picture, Picture* copy)
{
    IplImage* handle = nullptr;
    const QuibStatus status = QuibClone(picture.get(), &handle);
    return takeResult("QuibClone", status, handle, copy);
}

Problem changeDepth(int depth, Picture* picture)
{
    if (depthOf(*picture) == depth)
        return {};
    const bool viaGray = depth <= 8 || depthOf(*picture) == 1;
    Problem problem = viaGray && depthOf(*picture) != 8 ? makeGray(picture) : Problem();
    if (!problem.empty() || depth == 8)
        return problem;
    return depth == 1 ? makeBits(picture) : makeColour(depth, picture);
}

Problem restoreAlpha(const Picture& from, const Picture& picture)
{
    if (depthOf(from) != 32 || depthOf(picture) != 32)
        return {};
    Picture plane;
    Problem problem = makePicture(from->width, from->height, 8, 0, &plane);
    if (!problem.empty())
        return problem;
    for (int32_t y = 0; y < from->height; ++y) {
        const uint8_t* row = rowOf(from.get(), y);
        uint8_t* alphas = rowOf(plane.get(), y);
        for (int32_t x = 0; x < from->width; ++x)
            alphas[x] = row[4 * static_cast<ptrdiff_t>(x) + 3];
    }
    return explainStatus("QuibSetAlpha", QuibSetAlpha(picture.get(), plane.get(), 100));
}

bool isOpaque(const Picture& picture)
{
    if (depthOf(picture) != 32)
        return true;
    for (int32_t y = 0; y < picture->height; ++y) {
        const uint8_t* row = rowOf(picture.get(), y);
        for (int32_t x = 0; x < picture->width; ++x)
            if (row[4 * static_cast<ptrdiff_t>(x) + 3] != 255)
                return false;
    }
    return true;
}

Problem explainStatus(const char* function, QuibStatus status)
{
    if (status == QUIB_OK)
        return {};
    char code[16];
    std::snprintf(code, sizeof code, "%08lx",
                  static_cast<unsigned long>(static_cast<uint32_t>(status)));
    return std::string(function) + " returned status " + code;
}

Problem takeResult(const char* function, QuibStatus status, IplImage* result, Picture* picture)
{
    Picture taken(result);
    Problem problem = explainStatus(function, status);
    if (!problem.empty())
        return problem;
    if (!taken)
        return std::string(function) + " made no picture";
    *picture = std::move(taken);
    return {};
}
