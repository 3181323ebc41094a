// Words of the command line, read as values.
#include "tools/quib/operation.h"

#include <cmath>
#include <cstdlib>
#include <sstream>

namespace
{

struct NamedColour {
    const char* name;
    double parts[4];
};
constexpr NamedColour namedColours[] = {
    {"black", {0, 0, 0, 255}},     {"white", {255, 255, 255, 255}}, {"red", {255, 0, 0, 255}},
    {"green", {0, 128, 0, 255}},   {"blue", {0, 0, 255, 255}},      {"gray", {128, 128, 128, 255}},
    {"transparent", {0, 0, 0, 0}},
};

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

bool readNumber(const std::string& text, bool isWhole, double* number)
{
    const char* allowed = isWhole ? "+-0123456789" : "+-.0123456789eE";
    if (text.empty() || text.find_first_not_of(allowed) != std::string::npos)
        return false;
    char* end = nullptr;
    *number = std::strtod(text.c_str(), &end);
    return *end == '\0' && std::isfinite(*number);
}

bool readNumbers(const std::string& text, char separator, bool isWhole, std::vector<double>* out)
{
    out->clear();
    for (const std::string& part : split(text, separator)) {
        double number = 0;
        if (!readNumber(part, isWhole, &number))
            return false;
        out->push_back(number);
    }
    return true;
}

bool readSize(const std::string& text, std::vector<double>* out)
{
    return readNumbers(text, 'x', true, out) && out->size() == 2;
}

// A side of a scale: empty, a whole number, or a percentage.
bool readSide(std::string text, bool* isPercent, double* number)
{
    *number = 0;
    *isPercent = !text.empty() && text.back() == '%';
    if (*isPercent)
        text.pop_back();
    else if (text.empty())
        return true;
    return readNumber(text, !*isPercent, number) && *number > 0;
}

bool readScale(const std::string& text, Value* value)
{
    std::vector<std::string> sides = split(text, 'x');
    if (sides.size() == 1 && !text.empty() && text.back() == '%')
        sides.push_back(text);
    if (sides.size() != 2 || (sides[0].empty() && sides[1].empty()))
        return false;
    value->numbers.assign(2, 0);
    return readSide(sides[0], &value->isPercent[0], &value->numbers[0]) &&
           readSide(sides[1], &value->isPercent[1], &value->numbers[1]);
}

// 20x10+5-3
bool readRectangle(const std::string& text, std::vector<double>* out)
{
    const size_t first = text.find_first_of("+-");
    if (first == std::string::npos || !readSize(text.substr(0, first), out))
        return false;
    const size_t second = text.find_first_of("+-", first + 1);
    double x = 0;
    double y = 0;
    if (second == std::string::npos || !readNumber(text.substr(first, second - first), true, &x) ||
        !readNumber(text.substr(second), true, &y))
        return false;
    out->push_back(x);
    out->push_back(y);
    return true;
}

bool readHexColour(const std::string& text, std::vector<double>* out)
{
    if ((text.size() != 7 && text.size() != 9) ||
        text.find_first_not_of("0123456789abcdefABCDEF", 1) != std::string::npos)
        return false;
    out->clear();
    for (size_t i = 1; i < text.size(); i += 2)
        out->push_back(static_cast<double>(std::strtol(text.substr(i, 2).c_str(), nullptr, 16)));
    return true;
}

bool readColour(const std::string& text, std::vector<double>* out)
{
    for (const NamedColour& colour : namedColours) {
        if (text == colour.name) {
            out->assign(colour.parts, colour.parts + 4);
            return true;
        }
    }
    if (!text.empty() && text[0] == '#') {
        if (!readHexColour(text, out))
            return false;
    } else if (!readNumbers(text, ',', true, out)) {
        return false;
    }
    if (out->size() == 1)
        out->assign(3, out->front());
    if (out->size() == 3)
        out->push_back(255);
    return out->size() == 4;
}

bool readKernel(const std::string& text, KernelTaps* kernel)
{
    for (const std::string& row : split(text, text.find(';') == std::string::npos ? ':' : ';')) {
        std::vector<double> taps;
        if (!readNumbers(row, ',', true, &taps))
            return false;
        if (kernel->columns != 0 && kernel->columns != static_cast<int32_t>(taps.size()))
            return false;
        kernel->columns = static_cast<int32_t>(taps.size());
        for (const double tap : taps) {
            if (tap < -2147483648.0 || tap > 2147483647.0)
                return false;
            kernel->taps.push_back(static_cast<int32_t>(tap));
        }
    }
    return true;
}

bool readKernels(const std::string& text, std::vector<KernelTaps>* kernels)
{
    for (const std::string& part : split(text, '/')) {
        KernelTaps kernel;
        if (!readKernel(part, &kernel))
            return false;
        kernels->push_back(std::move(kernel));
    }
    return true;
}

// FILE@X,Y: a name may have an @ of its own, so the last one counts, and only with numbers
// behind it.
void readPlaced(const std::string& text, Value* value)
{
    const size_t at = text.rfind('@');
    value->text = text;
    value->numbers = {0, 0};
    std::vector<double> place;
    if (at == std::string::npos || !readNumbers(text.substr(at + 1), ',', true, &place) ||
        place.size() != 2)
        return;
    value->text = text.substr(0, at);
    value->numbers = place;
}

bool isChoice(const Parameter& parameter, const std::string& word)
{
    for (const std::string& choice : wordsOf(parameter.choices))
        if (choice == word)
            return true;
    return false;
}

bool readOneOrTwo(const std::string& word, char separator, bool isWhole, std::vector<double>* out)
{
    if (!readNumbers(word, separator, isWhole, out))
        return false;
    if (out->size() == 1)
        out->push_back(out->front());
    return out->size() == 2;
}

bool readByKind(const Parameter& parameter, const std::string& word, Value* value)
{
    std::vector<double>* numbers = &value->numbers;
    switch (parameter.kind) {
    case Kind::flag:
        return word.empty();
    case Kind::integer:
        return readNumbers(word, '\0', true, numbers);
    case Kind::real:
        return readNumbers(word, '\0', false, numbers);
    case Kind::choice:
        value->text = word;
        return isChoice(parameter, word);
    case Kind::size:
        return readSize(word, numbers);
    case Kind::scale:
        return readScale(word, value);
    case Kind::place:
        return readNumbers(word, ',', true, numbers) && numbers->size() == 2;
    case Kind::point:
        return readNumbers(word, ',', false, numbers) && numbers->size() == 2;
    case Kind::pair:
        return readOneOrTwo(word, ',', parameter.isWhole, numbers);
    case Kind::rectangle:
        return readRectangle(word, numbers);
    case Kind::window:
        return readOneOrTwo(word, 'x', true, numbers);
    case Kind::colour:
        return readColour(word, numbers);
    case Kind::reals:
        return readNumbers(word, ',', parameter.isWhole, numbers) &&
               numbers->size() == static_cast<size_t>(parameter.count);
    case Kind::kernels:
        return readKernels(word, &value->kernels);
    case Kind::placed:
        readPlaced(word, value);
        return !value->text.empty();
    case Kind::operand:
        if (!readNumbers(word, '\0', true, numbers))
            numbers->clear();
        value->text = word;
        return !word.empty();
    case Kind::file:
    case Kind::text:
        value->text = word;
        return !word.empty();
    }
    return false;
}

bool isInRange(const Parameter& parameter, const Value& value)
{
    if (parameter.low == 0 && parameter.high == 0)
        return true;
    const size_t count = parameter.kind == Kind::rectangle ? 2 : value.numbers.size();
    for (size_t i = 0; i < count; ++i)
        if (value.numbers[i] < parameter.low || value.numbers[i] > parameter.high)
            return false;
    return true;
}

// What every number of a kind may be at most, so that sums of a few fit 32 bits.
bool isSane(const Parameter& parameter, const Value& value)
{
    constexpr double most = 1e6;
    if (parameter.kind == Kind::colour) {
        for (const double part : value.numbers)
            if (part < 0 || part > 255)
                return false;
        return true;
    }
    if (parameter.high != 0 || parameter.kind == Kind::real || parameter.kind == Kind::reals)
        return true;
    const double bound = parameter.kind == Kind::operand ? 2147483647.0 : most;
    for (const double number : value.numbers)
        if (std::fabs(number) > bound)
            return false;
    return true;
}

std::string numberText(double number)
{
    std::ostringstream text;
    text.precision(12);
    text << number;
    return text.str();
}

std::string shapeOf(const Parameter& parameter)
{
    switch (parameter.kind) {
    case Kind::flag:
        return "no value";
    case Kind::integer:
        return "a whole number";
    case Kind::real:
        return "a number";
    case Kind::choice:
        return "one of";
    case Kind::size:
        return "a size WIDTHxHEIGHT";
    case Kind::scale:
        return "a size: WIDTHxHEIGHT, WIDTHx, xHEIGHT, N% or N%xM%";
    case Kind::place:
        return "a place X,Y in whole pixels";
    case Kind::point:
        return "a point X,Y";
    case Kind::pair:
        return parameter.isWhole ? "a whole number, or two as N,M" : "a number, or two as N,M";
    case Kind::rectangle:
        return "a rectangle WIDTHxHEIGHT+X+Y";
    case Kind::window:
        return "a window, N or COLUMNSxROWS,";
    case Kind::colour:
        return "a colour: #rrggbb, #rrggbbaa, R,G,B, R,G,B,A or a gray, of 0 to 255 each, or "
               "black, white, red, green, blue, gray, transparent";
    case Kind::reals:
        return std::to_string(parameter.count) +
               (parameter.isWhole ? " whole numbers" : " numbers") + " with commas between them";
    case Kind::kernels:
        return "rows of whole numbers, as 1,2,1:2,4,2:1,2,1, kernels parted by /";
    case Kind::file:
        return "a picture file";
    case Kind::placed:
        return "a picture file, with @X,Y behind it where it is to lie elsewhere than in the "
               "corner";
    case Kind::operand:
        return "a whole number or a picture file";
    case Kind::text:
        break;
    }
    return "a text";
}

} // namespace

std::vector<std::string> wordsOf(const char* text)
{
    std::vector<std::string> words;
    std::istringstream in(text);
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

bool isOption(const Parameter& parameter)
{
    return parameter.name[0] == '-';
}

std::string expectationOf(const Parameter& parameter)
{
    std::string text = shapeOf(parameter);
    if (parameter.kind == Kind::choice) {
        std::string separator = " ";
        for (const std::string& choice : wordsOf(parameter.choices)) {
            text += separator + choice;
            separator = ", ";
        }
    }
    if (parameter.low != 0 || parameter.high != 0)
        text += " from " + numberText(parameter.low) + " to " + numberText(parameter.high);
    return text;
}

std::string usageOf(const Parameter& parameter)
{
    if (!isOption(parameter))
        return parameter.fallback ? "[" + std::string(parameter.name) + "]" : parameter.name;
    if (parameter.kind == Kind::flag)
        return parameter.name;
    static const char* const values[] = {"",        "N",      "X",     "WORD",    "WxH", "SIZE",
                                         "X,Y",     "X,Y",    "N[,M]", "WxH+X+Y", "WxH", "COLOUR",
                                         "N,N,...", "KERNEL", "FILE",  "FILE",    "N",   "TEXT"};
    std::string value = values[static_cast<size_t>(parameter.kind)];
    if (parameter.kind == Kind::choice) {
        value = parameter.choices;
        for (char& c : value)
            c = c == ' ' ? '|' : c;
    }
    return std::string(parameter.name) + " " + value;
}

Problem parseValue(const Parameter& parameter, const std::string& word, const std::string& owner,
                   Value* value)
{
    *value = {};
    value->isGiven = true;
    if (readByKind(parameter, word, value) && isInRange(parameter, *value) &&
        isSane(parameter, *value))
        return {};
    return owner + ": " + parameter.name + " is " + inQuotes(word) + ", expected " +
           expectationOf(parameter);
}

const Value& Step::operator[](const char* name) const
{
    static const Value none;
    for (size_t i = 0; i < values.size(); ++i)
        if (std::string(operation->parameters[i].name) == name)
            return values[i];
    return none;
}
