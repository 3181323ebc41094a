// What the surface does with handles that are none, or whose records are bad.
#pragma once

#include "quibtool/handle.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

constexpr QuibStatus badSize = static_cast<QuibStatus>(0xFFFFFFF6u); // the check's -10

// A good handle whose record the check refuses: its sizes wrapped to nothing.
inline Image wrappedHandle()
{
    IplImage* handle = nullptr;
    EXPECT_EQ(QuibCreate0(65536, 16384, 32, &handle), QUIB_OK);
    return Image(handle);
}

// The row number of the last-error text, which is taken away; -1 if the text is
// not the one told.
inline int takeErrorRow()
{
    const std::string head = "invalid dib in quibtool row ";
    const std::string text = quibLastError;
    quibLastError[0] = 0;
    if (text.rfind(head, 0) != 0)
        return -1;
    const std::string number = text.substr(head.size());
    if (number.empty() || number.find_first_not_of("0123456789") != std::string::npos)
        return -1;
    return std::atoi(number.c_str());
}

// Expects the call to refuse a handle that is none, and to leave the text.
#define EXPECT_BAD_HANDLE(call)                                                                    \
    do {                                                                                           \
        quibLastError[0] = 0;                                                                      \
        EXPECT_EQ(call, QUIB_BAD_ARGUMENT);                                                        \
        EXPECT_GE(takeErrorRow(), 0);                                                              \
    } while (false)
