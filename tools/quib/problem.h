// What went wrong, in words for the user, and how the words show what was given.
#pragma once

#include <string>
#include <string_view>

// Empty if all is well.
using Problem = std::string;

// The text in quotes; bytes that are no UTF-8 and control characters become \xNN, so
// that no file name can play with the terminal.
std::string inQuotes(std::string_view text);

// The same without quotes.
std::string printable(std::string_view text);
