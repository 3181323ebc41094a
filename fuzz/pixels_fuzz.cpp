// The engine's operations pixel by pixel, its composites, size changes, copies and grays, on
// images of all kinds, which may be one another.
#include "fuzz/pictures.h"

namespace
{

// Up to four images, of which some are the same one.
struct Images {
    FuzzInput& input;
    IplImage* const* all;

    IplImage* any() const { return all[input.choose(3)]; }
    IplImage* anyOrNone() const { return input.rarely(3) ? nullptr : any(); }
    int32_t value() const { return input.choose(2) ? input.byte() : input.word(); }
};

void applyValue(const Images& images)
{
    constexpr void (*functions[])(const IplImage*, IplImage*, int32_t) = {
        iplAddS, iplMultiplyS, iplAndS, iplOrS, iplXorS, iplMultiplySScale};
    constexpr void (*shifts[])(const IplImage*, IplImage*, uint32_t) = {iplLShiftS, iplRShiftS};
    const IplImage* src = images.any();
    IplImage* dst = images.any();
    const uint32_t function = images.input.choose(9);
    if (function < 6)
        functions[function](src, dst, images.value());
    else if (function < 8)
        shifts[function - 6](src, dst, images.input.below(40));
    else
        iplSubtractS(src, dst, images.value(), images.input.below(2));
}

void applyToOne(const Images& images)
{
    constexpr void (*functions[])(const IplImage*, IplImage*) = {iplSquare, iplAbs, iplNot,
                                                                 iplCopy};
    const IplImage* src = images.any();
    functions[images.input.choose(4)](src, images.any());
}

void applyToTwo(const Images& images)
{
    constexpr void (*functions[])(const IplImage*, const IplImage*, IplImage*) = {
        iplAdd, iplSubtract, iplMultiply, iplAnd, iplOr, iplXor, iplMultiplyScale, iplAdd};
    const IplImage* srcA = images.any();
    const IplImage* srcB = images.any();
    functions[images.input.choose(8)](srcA, srcB, images.any());
}

void compose(const Images& images)
{
    const IplImage* srcA = images.any();
    const IplImage* srcB = images.any();
    IplImage* dst = images.any();
    const int32_t type = images.input.below(8) - 1;
    const int32_t premultiplied = images.input.below(2);
    const int32_t divides = images.input.below(2);
    if (images.input.choose(2)) {
        const IplImage* alphaA = images.anyOrNone();
        const IplImage* alphaB = images.anyOrNone();
        iplAlphaComposite(srcA, srcB, dst, type, alphaA, alphaB, images.anyOrNone(), premultiplied,
                          divides);
        return;
    }
    const int32_t alphaA = images.input.rarely(4) ? -1 : images.value();
    const int32_t alphaB = images.input.rarely(4) ? -1 : images.value();
    iplAlphaCompositeC(srcA, srcB, dst, type, alphaA, alphaB, premultiplied, divides);
}

void scale(const Images& images)
{
    constexpr void (*functions[])(IplImage*, IplImage*, int32_t, int32_t, int32_t, int32_t,
                                  int32_t) = {iplZoom, iplDecimate, iplResize};
    FuzzInput& input = images.input;
    IplImage* src = images.any();
    IplImage* dst = images.any();
    int32_t x[2] = {input.size(24), input.size(24)};
    int32_t y[2] = {input.size(24), input.size(24)};
    const uint32_t choice = input.byte();
    const uint32_t function = choice % 3;
    // Half of them such as the function serves, and of those half by whole numbers.
    if (choice >= 192) {
        x[function != 0] = 1 + (x[0] & 7);
        y[function != 0] = 1 + (y[0] & 7);
        x[function == 0] = x[function != 0] * (1 + input.below(4));
        y[function == 0] = y[function != 0] * (1 + input.below(4));
    } else if (choice >= 128) {
        std::sort(x, x + 2, [&](int32_t a, int32_t b) { return function == 0 ? a > b : a < b; });
        std::sort(y, y + 2, [&](int32_t a, int32_t b) { return function == 0 ? a > b : a < b; });
    }
    functions[function](src, dst, x[0], x[1], y[0], y[1], input.below(5) - 1);
}

void fit(const Images& images)
{
    IplImage* src = images.any();
    IplImage* dst = images.any();
    if (images.input.choose(2))
        QuibResizeFit(src, dst, images.input.below(5) - 1);
    else
        QuibResize(src, dst, images.input.below(5) - 1);
}

// An image of another one's size.
IplImage* makeAsLarge(FuzzInput& input, const IplImage* image)
{
    FuzzFormat format = formatFrom(input);
    if (format.depth == IPL_DEPTH_32F)
        format.depth = IPL_DEPTH_16U;
    IplImage* made =
        iplCreateImageHeader(format.channels, format.alphaChannel, format.depth, "GRAY", "GRAY",
                             format.dataOrder, format.origin, format.align, image->width,
                             image->height, nullptr, nullptr, nullptr, nullptr);
    iplAllocateImage(made, 1, 0);
    return made;
}

void convert(const Images& images)
{
    const IplImage* src = images.any();
    IplImage* dst = images.any();
    const uint32_t choice = images.input.byte();
    FuzzMade made;
    if (choice >= 128)
        dst = made.image = makeAsLarge(images.input, src);
    if (choice % 2)
        iplColorToGray(src, dst);
    else
        iplBitonalToGray(src, dst, images.value(), images.value());
}

void fillAndClone(const Images& images)
{
    iplSet(images.any(), images.value());
    iplSetBorderMode(images.any(), images.value(), images.input.byte(), images.value());
    FuzzMade made;
    made.image = iplCloneImage(images.any());
    FuzzMade other;
    other.image = ownCloneForResult(images.any());
}

constexpr void (*operations[])(const Images& images) = {
    applyValue, applyToOne, applyToTwo, compose, scale, fit, convert, fillAndClone, compose, scale,
};

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    useLevelFrom(input);
    const auto operation = operations[input.choose(std::size(operations))];
    const FuzzFormat format = formatFrom(input);
    const FuzzPicture first(input, format);
    // Mostly of the same format.
    const FuzzPicture second(input, input.rarely(6) ? formatFrom(input) : format);
    const FuzzPicture third(input, input.rarely(6) ? formatFrom(input) : format);
    IplImage* const all[] = {first.image, second.image, third.image};
    iplSetStatus(input.rarely(32) ? IPL_StsError : 0);
    operation({input, all});
}
