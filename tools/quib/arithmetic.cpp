// Arithmetic and logic, pixel by pixel.
#include "tools/quib/operations.h"

#include <limits>

namespace
{

using Unary = QuibStatus (*)(const IplImage*, IplImage**);
using Scalar = QuibStatus (*)(const IplImage*, IplImage**, int32_t);
using Pair = QuibStatus (*)(const IplImage*, const IplImage*, IplImage**);
using Shift = QuibStatus (*)(const IplImage*, IplImage**, uint32_t);

QuibStatus subtractNumber(const IplImage* src, IplImage** out, int32_t value)
{
    return QuibAddS(src, out, -value);
}

template<Unary unary>
Problem applyUnary(const Step& step, Picture* picture)
{
    IplImage* result = nullptr;
    const QuibStatus status = unary(picture->get(), &result);
    return finishStep(step, status, result, picture);
}

template<Shift shift>
Problem applyShift(const Step& step, Picture* picture)
{
    IplImage* result = nullptr;
    const QuibStatus status =
        shift(picture->get(), &result, static_cast<uint32_t>(step["BITS"].whole()));
    return finishStep(step, status, result, picture);
}

template<Scalar scalar, Pair pair>
Problem applyEither(const Step& step, Picture* picture)
{
    const Value& operand = step["VALUE"];
    IplImage* result = nullptr;
    if (!operand.numbers.empty()) {
        const QuibStatus status = scalar(picture->get(), &result, operand.whole());
        return finishStep(step, status, result, picture);
    }
    Picture other;
    Problem problem = loadOther(operand.text, depthOf(*picture), &other);
    if (!problem.empty())
        return problem;
    const QuibStatus status = pair(picture->get(), other.get(), &result);
    return finishStep(step, status, result, picture);
}

using Apply = Problem (*)(const Step&, Picture*);

void add(Operations* table, const char* name, const char* functions, const char* summary,
         Apply apply, const char* depths = "1 8 24 32")
{
    table->push_back({name,
                      "Arithmetic",
                      functions,
                      summary,
                      depths,
                      {{"VALUE", Kind::operand,
                        "a number, or a picture, which is brought to this one's depth; the pixels "
                        "that both have change"},
                       alphaOption("keep")},
                      apply});
}

void addAlone(Operations* table, const char* name, const char* function, const char* summary,
              Apply apply)
{
    table->push_back(
        {name, "Arithmetic", function, summary, "1 8 24 32", {alphaOption("keep")}, apply});
}

void addShift(Operations* table, const char* name, const char* function, const char* summary,
              Apply apply)
{
    table->push_back({name,
                      "Arithmetic",
                      function,
                      summary,
                      "8 24 32",
                      {{"BITS", Kind::integer, "how far", 0, 31}, alphaOption("keep")},
                      apply});
}

} // namespace

void addArithmetic(Operations* table)
{
    add(table, "add", "QuibAddS QuibAdd", "Adds a number or a picture, up to 255.",
        applyEither<QuibAddS, QuibAdd>);
    add(table, "subtract", "QuibSubtract QuibAddS", "Subtracts a number or a picture, down to 0.",
        applyEither<subtractNumber, QuibSubtract>);
    add(table, "multiply", "QuibMultiplyS QuibMultiply",
        "Multiplies by a number or a picture, up to 255.",
        applyEither<QuibMultiplyS, QuibMultiply>);
    add(table, "multiply-scale", "QuibMultiplySScale QuibMultiplyScale",
        "Multiplies by a number or a picture as parts of 255.",
        applyEither<QuibMultiplySScale, QuibMultiplyScale>, "8 24 32");
    addAlone(table, "square", "QuibSquare", "Squares, up to 255.", applyUnary<QuibSquare>);
    addAlone(table, "abs", "QuibAbs", "Takes absolute values, which changes no byte.",
             applyUnary<QuibAbs>);
    addShift(table, "shift-left", "QuibLShiftS", "Shifts the bits of all bytes to the left.",
             applyShift<QuibLShiftS>);
    addShift(table, "shift-right", "QuibRShiftS", "Shifts the bits of all bytes to the right.",
             applyShift<QuibRShiftS>);
    addAlone(table, "not", "QuibNot", "Inverts all bits, and so the colours.", applyUnary<QuibNot>);
    add(table, "and", "QuibAndS QuibAnd", "Keeps the bits that a number or a picture has too.",
        applyEither<QuibAndS, QuibAnd>);
    add(table, "or", "QuibOrS QuibOr", "Adds the bits of a number or a picture.",
        applyEither<QuibOrS, QuibOr>);
    add(table, "xor", "QuibXorS QuibXor", "Inverts the bits that a number or a picture has.",
        applyEither<QuibXorS, QuibXor>);
}
