#include "tools/quib/problem.h"

#include <cstdint>

namespace
{

// The bytes of the UTF-8 character at the text's start, or 0 if there is none.
size_t characterLength(std::string_view text)
{
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const size_t length = byte(0) < 0x80                      ? 1
                          : byte(0) >= 0xC2 && byte(0) < 0xE0 ? 2
                          : byte(0) >= 0xE0 && byte(0) < 0xF0 ? 3
                          : byte(0) >= 0xF0 && byte(0) < 0xF5 ? 4
                                                              : 0;
    if (length == 0 || length > text.size())
        return 0;
    for (size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    return length;
}

bool isControl(std::string_view character)
{
    const auto first = static_cast<uint8_t>(character[0]);
    const bool isSecondSet = first == 0xC2 && static_cast<uint8_t>(character[1]) < 0xA0;
    return first < 0x20 || first == 0x7F || isSecondSet;
}

} // namespace

std::string printable(std::string_view text)
{
    static const char digits[] = "0123456789abcdef";
    std::string shown;
    while (!text.empty()) {
        const size_t length = characterLength(text);
        if (length != 0 && !isControl(text.substr(0, length))) {
            shown += text.substr(0, length);
            text.remove_prefix(length);
            continue;
        }
        const auto byte = static_cast<uint8_t>(text[0]);
        shown += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
        text.remove_prefix(1);
    }
    return shown;
}

bool print(std::FILE* stream, const std::string& text)
{
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
           std::fflush(stream) == 0;
}

std::string inQuotes(std::string_view text)
{
    return "'" + printable(text) + "'";
}
