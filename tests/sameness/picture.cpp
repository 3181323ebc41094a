#include "tests/sameness/picture.h"

#include <iterator>
#include <limits>

namespace
{

// --- Digests -------------------------------------------------------------------------

void seeRecord(Call& call, const IplImage* image)
{
    const int32_t fields[] = {
        image->ID,    image->nChannels, image->alphaChannel, image->dataOrder, image->origin,
        image->align, image->width,     image->height,       image->imageSize, image->widthStep};
    call.digest.number(image->depth);
    for (const int32_t field : fields)
        call.digest.integer(field);
    call.digest.bytes(image->colorModel, sizeof image->colorModel);
    call.digest.bytes(image->channelSeq, sizeof image->channelSeq);
    for (int32_t side = 0; side < 4; ++side) {
        call.digest.integer(image->BorderMode[side]);
        call.digest.integer(image->BorderConst[side]);
    }
    call.digest.integer(image->roi != nullptr);
    if (const IplROI* roi = image->roi)
        for (const int32_t field : {roi->coi, roi->xOffset, roi->yOffset, roi->width, roi->height})
            call.digest.integer(field);
}

void seeFloats(Call& call, const uint8_t* row, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        float value;
        std::memcpy(&value, row + 4 * i, sizeof value);
        call.digest.real(value);
    }
}

// Bits past the last pixel are no part of a row.
void seeBits(Call& call, const uint8_t* row, size_t count)
{
    call.digest.bytes(row, count / 8);
    if (count % 8 != 0)
        call.digest.number(static_cast<uint64_t>(row[count / 8] >> (8 - count % 8)));
}

void seeColours(Call& call, const uint8_t* row, size_t count)
{
    for (size_t i = 0; i + 4 <= count; i += 4)
        call.digest.bytes(row + i, 3);
}

void seeRow(Call& call, const IplImage* image, const uint8_t* row, Seen seen)
{
    const bool planes = image->dataOrder == IPL_DATA_ORDER_PLANE;
    const size_t count = static_cast<size_t>(image->width) * (planes ? 1 : image->nChannels);
    if (seen == Seen::wholeRows)
        call.digest.bytes(row, static_cast<size_t>(image->widthStep));
    else if (seen == Seen::colours)
        seeColours(call, row, count);
    else if (isFloat(image))
        seeFloats(call, row, count);
    else if (image->depth == IPL_DEPTH_1U)
        seeBits(call, row, count);
    else
        call.digest.bytes(row, count * (image->depth & IPL_DEPTH_MASK) / 8);
}

} // namespace

void see(Call& call, const IplImage* image, Seen seen)
{
    call.digest.integer(image != nullptr);
    if (!image)
        return;
    seeRecord(call, image);
    see(call, image->maskROI);
    if (!image->imageData || seen == Seen::header)
        return;
    const bool planes = image->dataOrder == IPL_DATA_ORDER_PLANE;
    const int32_t rows = image->height * (planes ? image->nChannels : 1);
    for (int32_t y = 0; y < rows; ++y)
        seeRow(call, image, rowOf(image, y), seen);
}

// --- Formats -------------------------------------------------------------------------

Format formatOfDepth(Call& call, uint32_t depth)
{
    constexpr int32_t channels[] = {1, 1, 2, 3, 3, 4, 4, 4, 5};
    constexpr int32_t aligns[] = {4, 4, 8, 16, 32};
    Format format;
    format.depth = depth;
    if (depth != IPL_DEPTH_1U)
        format.channels = channels[call.random.between(0, 8)];
    format.alphaChannel = call.oneIn(4) ? format.channels : 0;
    format.dataOrder = call.oneIn(4) ? IPL_DATA_ORDER_PLANE : IPL_DATA_ORDER_PIXEL;
    format.origin = call.oneIn(6) ? IPL_ORIGIN_BL : IPL_ORIGIN_TL;
    format.align = aligns[call.random.between(0, 4)];
    return format;
}

Format anyFormat(Call& call)
{
    const int32_t kind = call.random.between(0, static_cast<int32_t>(std::size(allDepths)));
    return formatOfDepth(call, kind == 7 ? IPL_DEPTH_8U : allDepths[kind]);
}

Format formatOfBits(int32_t bits)
{
    Format format;
    format.depth = bits == 1 ? IPL_DEPTH_1U : IPL_DEPTH_8U;
    format.channels = bits > 8 ? bits / 8 : 1;
    return format;
}

Format handleFormat(Call& call)
{
    constexpr int32_t depths[] = {1, 8, 8, 24, 24, 32, 32, 32};
    return formatOfBits(depths[call.random.between(0, 7)]);
}

Format mostly(Call& call, const Format& format, Format (*other)(Call& call))
{
    return call.oneIn(12) ? other(call) : format;
}

Size anySize(Call& call)
{
    if (call.oneIn(16))
        return {call.random.between(100, 330), call.random.between(1, 9)};
    return {call.random.between(1, 68), call.random.between(1, 19)};
}

// --- Pictures ------------------------------------------------------------------------

Picture::Picture(Call& owner, const char* name, const Format& format, uint32_t parts)
    : Picture(owner, name, format, anySize(owner), parts)
{
}

Picture::Picture(Call& owner, const char* name, const Format& format, const Size& size,
                 uint32_t parts)
    : call(owner),
      image(makeImage(size.width, size.height, format.channels, format.depth, format.dataOrder,
                      format.align, format.alphaChannel, format.origin))
{
    randomise(image.get(), call.random);
    call.say(std::string(call.words.empty() ? "" : ", ") + name + " (" +
             std::to_string(size.width) + " x " + std::to_string(size.height) + ", " +
             std::to_string(format.channels) + " channels of depth " +
             std::to_string(format.depth & IPL_DEPTH_MASK) +
             (format.depth & IPL_DEPTH_SIGN ? " signed" : "") +
             (format.alphaChannel ? ", alpha" : "") + (format.dataOrder ? ", planes" : "") +
             (format.origin ? ", bottom first" : "") + ", align " + std::to_string(format.align));
    if ((parts & withOddFloats) && isFloat(image.get()) && call.oneIn(4))
        giveOddFloats();
    if ((parts & withRegion) && call.oneIn(3))
        giveRegion();
    if ((parts & withMask) && call.oneIn(4))
        giveMask();
    if ((parts & withBorders) && !call.oneIn(3))
        giveBorders();
    if ((parts & withTiles) && call.oneIn(8))
        giveTiles();
    call.say(")");
}

Picture::~Picture()
{
    if (tiled)
        tiled->collect(image.get());
    see(call, image.get(), seen);
}

// Inside the image, but now and then past its right or bottom edge.
void Picture::giveRegion()
{
    const bool leaves = call.oneIn(8);
    const int32_t x = call.random.between(0, image->width - 1);
    const int32_t y = call.random.between(0, image->height - 1);
    const int32_t width = call.random.between(1, leaves ? image->width : image->width - x);
    const int32_t height = call.random.between(1, leaves ? image->height : image->height - y);
    const int32_t coi = call.oneIn(3) ? call.random.between(1, image->nChannels) : 0;
    setRoi(image.get(), coi, x, y, width, height);
    call.say(", region " + std::to_string(x) + " " + std::to_string(y) + " " +
             std::to_string(width) + " x " + std::to_string(height) + " channel " +
             std::to_string(coi));
}

void Picture::giveMask()
{
    const int32_t width = call.random.between(1, image->width + 4);
    const int32_t height = call.random.between(1, image->height + 4);
    IplImage* mask = giveRandomMask(image.get(), width, height, call.random);
    call.say(", mask " + std::to_string(width) + " x " + std::to_string(height));
    if (!call.oneIn(3))
        return;
    const int32_t x = call.random.between(0, width - 1);
    const int32_t y = call.random.between(0, height - 1);
    const int32_t columns = call.random.between(1, width - x);
    const int32_t rows = call.random.between(1, height - y);
    setRoi(mask, 0, x, y, columns, rows);
    call.say(" from " + std::to_string(x) + " " + std::to_string(y));
}

void Picture::giveBorders()
{
    call.say(", borders");
    for (int32_t side = 0; side < 4; ++side) {
        image->BorderMode[side] = call.random.between(0, 3);
        image->BorderConst[side] = call.random.between(-70000, 70000);
        call.say(" " + std::to_string(image->BorderMode[side]));
    }
}

void Picture::giveOddFloats()
{
    using Limits = std::numeric_limits<float>;
    constexpr float odd[] = {Limits::infinity(), -Limits::infinity(),  Limits::quiet_NaN(),
                             Limits::max(),      Limits::denorm_min(), -0.0f,
                             4294967296.0f,      -2147483648.0f};
    float* values = reinterpret_cast<float*>(image->imageData);
    for (int32_t i = 0; i < image->imageSize / 4; ++i)
        if (call.oneIn(5))
            values[i] = odd[call.random.between(0, 7)];
    call.say(", odd floats");
}

void Picture::giveTiles()
{
    const int32_t width = 8 * call.random.between(1, 4);
    const int32_t height = 8 * call.random.between(1, 2);
    tiled = std::make_unique<TiledTwin>(image.get(), width, height);
    for (int32_t side = 0; side < 4; ++side) {
        tiled->get()->BorderMode[side] = image->BorderMode[side];
        tiled->get()->BorderConst[side] = image->BorderConst[side];
    }
    call.say(", tiles of " + std::to_string(width) + " x " + std::to_string(height));
}
