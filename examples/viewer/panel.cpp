#include "examples/viewer/panel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{

constexpr int32_t glyphWidth = 5;
constexpr int32_t glyphHeight = 7;
constexpr int32_t scale = 2; // panel pixels for one of a glyph
constexpr int32_t advance = (glyphWidth + 1) * scale;
constexpr int32_t lineHeight = (glyphHeight + 3) * scale;
constexpr int32_t inset = 12;
constexpr double cornerRadius = 12;
constexpr size_t leastColumns = 12;
constexpr uint32_t fillColor = 0xFF281C10u;
constexpr uint32_t textColor = 0xFFF0F0F0u;
constexpr uint32_t opacity = 70; // percent

// Seven rows of five bits each, the leftmost pixel highest.
struct Glyph {
    char character;
    uint8_t rows[glyphHeight];
};

constexpr Glyph glyphs[] = {
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'B', {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E}},
    {'C', {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}},
    {'D', {0x1E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1E}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}},
    {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'G', {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}},
    {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'J', {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C}},
    {'K', {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}},
    {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}},
    {'N', {0x11, 0x19, 0x15, 0x13, 0x11, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}},
    {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}},
    {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'V', {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04}},
    {'W', {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}},
    {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
    {'Y', {0x11, 0x11, 0x0A, 0x04, 0x04, 0x04, 0x04}},
    {'Z', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F}},
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}},
    {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}},
    {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}},
    {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}},
    {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}},
    {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}},
    {'-', {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}},
    {'>', {0x08, 0x04, 0x02, 0x01, 0x02, 0x04, 0x08}},
    {'+', {0x00, 0x04, 0x04, 0x1F, 0x04, 0x04, 0x00}},
};

uint8_t* rowOf(const Handle& handle, int32_t y)
{
    void* data = nullptr;
    QuibLockData(handle.get(), &data);
    return static_cast<uint8_t*>(data) + static_cast<ptrdiff_t>(y) * handle->widthStep;
}

// How much of a pixel lies within a rectangle with round corners: 0 to 255,
// falling off over two pixels.
uint8_t coverage(int32_t x, int32_t y, int32_t width, int32_t height)
{
    const double halfWidth = width / 2.0;
    const double halfHeight = height / 2.0;
    const double right = std::fabs(x + 0.5 - halfWidth) - (halfWidth - cornerRadius);
    const double down = std::fabs(y + 0.5 - halfHeight) - (halfHeight - cornerRadius);
    const double outside = std::hypot(std::max(right, 0.0), std::max(down, 0.0)) +
                           std::min(std::max(right, down), 0.0) - cornerRadius;
    return static_cast<uint8_t>(std::lround(255 * std::clamp(-outside / 2, 0.0, 1.0)));
}

void makePanel(Panel* panel, int32_t width, int32_t height)
{
    IplImage* pixels = nullptr;
    IplImage* shape = nullptr;
    QuibCreate0(width, height, 32, &pixels);
    QuibCreate0(width, height, 8, &shape);
    *panel = {Handle(pixels), Handle(shape)};
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = rowOf(panel->shape, y);
        for (int32_t x = 0; x < width; ++x)
            row[x] = coverage(x, y, width, height);
    }
}

void drawGlyph(const Panel& panel, const Glyph& glyph, int32_t left, int32_t top)
{
    for (int32_t y = 0; y < glyphHeight * scale; ++y) {
        uint8_t* row = rowOf(panel.pixels, top + y);
        for (int32_t x = 0; x < glyphWidth * scale; ++x)
            if (glyph.rows[y / scale] >> (glyphWidth - 1 - x / scale) & 1)
                std::memcpy(row + (left + x) * 4, &textColor, 4);
    }
}

void drawLine(const Panel& panel, const std::string& text, int32_t top)
{
    int32_t left = inset;
    for (size_t i = 0; i < text.size(); ++i, left += advance) {
        const Glyph* glyph =
            std::find_if(std::begin(glyphs), std::end(glyphs),
                         [&](const Glyph& known) { return known.character == text[i]; });
        if (glyph != std::end(glyphs))
            drawGlyph(panel, *glyph, left, top);
    }
}

} // namespace

void writePanel(Panel* panel, const std::vector<std::string>& lines)
{
    const int32_t count = static_cast<int32_t>(lines.size());
    size_t columns = leastColumns;
    for (const std::string& line : lines)
        columns = std::max(columns, line.size());
    const int32_t width = 2 * inset + static_cast<int32_t>(columns) * advance;
    const int32_t height = 2 * inset + count * lineHeight;
    if (!panel->pixels || panel->pixels->height != height || panel->pixels->width != width)
        makePanel(panel, width, height);
    QuibFillColor(panel->pixels.get(), fillColor, nullptr);
    QuibSetAlpha(panel->pixels.get(), panel->shape.get(), opacity);
    for (int32_t i = 0; i < count; ++i)
        drawLine(*panel, lines[static_cast<size_t>(i)], inset + i * lineHeight + scale);
}
