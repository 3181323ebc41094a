// Arithmetic and logic, pixel by pixel.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

namespace
{

// A sixteenth of each value: what can be multiplied and stay in a byte.
Handle sixteenthOf(const IplImage* image)
{
    IplImage* result = nullptr;
    check(QuibRShiftS(image, &result, 4), "QuibRShiftS");
    return Handle(result);
}

void showWithNumber(Demo& demo, const IplImage* image)
{
    const Handle owner = sixteenthOf(image);
    const IplImage* dim = owner.get();
    IplImage* result = nullptr;
    beginRow(demo, "With a number, or alone", Cards::small);
    showMade(demo, "Add", &result, CALL(QuibAddS(image, &result, 60)));
    showMade(demo, "Add a negative", &result, CALL(QuibAddS(image, &result, -60)));
    showMade(demo, "Multiply", &result, CALL(QuibMultiplyS(image, &result, 2)));
    showMade(demo, "Multiply, scaled", &result, CALL(QuibMultiplySScale(image, &result, 128)));
    showMade(demo, "And", &result, CALL(QuibAndS(image, &result, 0xC0)));
    showMade(demo, "Or", &result, CALL(QuibOrS(image, &result, 0x70)));
    showMade(demo, "Exclusive or", &result, CALL(QuibXorS(image, &result, 0x80)));
    showMade(demo, "Shift left", &result, CALL(QuibLShiftS(image, &result, 1)));
    showMade(demo, "Shift right", &result, CALL(QuibRShiftS(image, &result, 1)));
    showMade(demo, "Not", &result, CALL(QuibNot(image, &result)));
    showMade(demo, "Square, of a sixteenth", &result, CALL(QuibSquare(dim, &result)));
    showMade(demo, "Absolute value", &result, CALL(QuibAbs(image, &result)));
}

void showWithPicture(Demo& demo, const IplImage* a, const IplImage* b)
{
    const Handle ownerA = sixteenthOf(a);
    const Handle ownerB = sixteenthOf(b);
    const IplImage* dimA = ownerA.get();
    const IplImage* dimB = ownerB.get();
    IplImage* result = nullptr;
    beginRow(demo, "With another picture", Cards::small);
    showMade(demo, "Add", &result, CALL(QuibAdd(a, b, &result)));
    showMade(demo, "Subtract", &result, CALL(QuibSubtract(a, b, &result)));
    showMade(demo, "Multiply, scaled", &result, CALL(QuibMultiplyScale(a, b, &result)));
    showMade(demo, "Multiply, of sixteenths", &result, CALL(QuibMultiply(dimA, dimB, &result)));
    showMade(demo, "And", &result, CALL(QuibAnd(a, b, &result)));
    showMade(demo, "Or", &result, CALL(QuibOr(a, b, &result)));
    showMade(demo, "Exclusive or", &result, CALL(QuibXor(a, b, &result)));
}

} // namespace

void showArithmetic(Demo& demo)
{
    beginSection(demo, "arithmetic", "Calculate with it",
                 "Each channel of each pixel with a number, or with the pixel of another picture; "
                 "what leaves the range of a byte is held at its ends.");
    const QuibInfo info = infoOf(demo.tile.get());
    const Handle other = resized(demo.backdrop.get(), info.width, info.height, IPL_INTER_SUPER);
    showWithNumber(demo, demo.tile.get());
    showWithPicture(demo, demo.tile.get(), other.get());
}
