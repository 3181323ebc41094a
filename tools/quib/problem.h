// What went wrong, in words for the user, and how the words show what was given.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

// Empty if all is well.
using Problem = std::string;

// The text in quotes; bytes that are no UTF-8 and control characters become \xNN, so
// that no file name can play with the terminal.
std::string inQuotes(std::string_view text);

// The same without quotes.
std::string printable(std::string_view text);

// Writes it all at once, and at once: a console that gets the bytes of a character one by
// one may not show it. False if it cannot be written.
bool print(std::FILE* stream, const std::string& text);
