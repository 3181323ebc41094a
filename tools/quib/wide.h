// The system's texts, which are UTF-16, and UTF-8.
#pragma once

#include <string>

std::wstring toWide(const std::string& text);
std::string fromWide(const std::wstring& text);
