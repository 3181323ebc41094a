// Operations on images of one pixel, for tests of worked numbers.
#pragma once

#include "tests/support/images.h"
#include "tests/support/report.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

template<class... Values>
using OneImageOperation = void (*)(const IplImage* src, IplImage* dst, Values... values);
using TwoImageOperation = void (*)(const IplImage* a, const IplImage* b, IplImage* dst);

// What the operation makes of one element.
template<class... Values>
double resultOf(OneImageOperation<Values...> operation, uint32_t depth, double element0,
                std::type_identity_t<Values>... values)
{
    const Image src = makeImage(1, 1, 1, depth);
    const Image dst = makeImage(1, 1, 1, depth);
    putElement(src.get(), 0, 0, 0, element0);
    operation(src.get(), dst.get(), values...);
    return element(dst.get(), 0, 0, 0);
}

// What it makes of an element each of two images.
inline double resultOfPair(TwoImageOperation operation, uint32_t depth, double elementA,
                           double elementB)
{
    const Image a = makeImage(1, 1, 1, depth);
    const Image b = makeImage(1, 1, 1, depth);
    const Image dst = makeImage(1, 1, 1, depth);
    putElement(a.get(), 0, 0, 0, elementA);
    putElement(b.get(), 0, 0, 0, elementB);
    operation(a.get(), b.get(), dst.get());
    return element(dst.get(), 0, 0, 0);
}

// Expects the destination, which is null, to be refused under this name: so it
// tells whom an operation hands its work over to.
template<class... Values>
void expectDoneBy(const char* name, const char* file, OneImageOperation<Values...> operation,
                  uint32_t depth, std::type_identity_t<Values>... values)
{
    SCOPED_TRACE(std::string(name) + " at depth " + std::to_string(depth));
    const Image src = makeImage(1, 1, 1, depth);
    EXPECT_REPORT(operation(src.get(), nullptr, values...), -9, name, "Incorrect Image", file);
}
