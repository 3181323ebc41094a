#include "examples/support/layeredfile.h"

#include <fstream>

namespace
{

constexpr int channelCount = 4;

// Numbers have their high byte first.
std::string number(size_t value, int bytes)
{
    std::string text;
    for (int i = bytes - 1; i >= 0; --i)
        text += static_cast<char>(value >> 8 * i & 255);
    return text;
}

// A block behind its length, which is even.
std::string block(std::string content)
{
    if (content.size() % 2 != 0)
        content += '\0';
    return number(content.size(), 4) + content;
}

// A name behind its length, in whole words of four bytes.
std::string padded(const std::string& name)
{
    std::string text = number(name.size(), 1) + name;
    text.resize((text.size() + 3) / 4 * 4);
    return text;
}

std::string record(const Layer& layer)
{
    const size_t width = static_cast<size_t>(layer.width);
    const size_t height = static_cast<size_t>(layer.height);
    std::string text = number(0, 8) + number(height, 4) + number(width, 4);
    text += number(channelCount, 2);
    for (const size_t id : {size_t{0xFFFF}, size_t{0}, size_t{1}, size_t{2}})
        text += number(id, 2) + number(2 + width * height, 4);
    text += "8BIMnorm";
    text += number(255, 1) + number(0, 3); // opacity, clipping, flags
    return text + block(number(0, 8) + padded(layer.name));
}

std::string plane(const Layer& layer, size_t channel)
{
    std::string text;
    for (size_t i = channel; i < layer.pixels.size(); i += channelCount)
        text += static_cast<char>(layer.pixels[i]);
    return text;
}

// The channels as the records list them, each behind its coding, which is none.
std::string channels(const Layer& layer)
{
    std::string text;
    for (const size_t channel : {3, 0, 1, 2})
        text += number(0, 2) + plane(layer, channel);
    return text;
}

} // namespace

bool writeLayeredFile(const std::string& file, const std::vector<Layer>& layers)
{
    const Layer& lowest = layers.front();
    std::string text = "8BPS" + number(1, 2) + number(0, 6) + number(3, 2) +
                       number(static_cast<size_t>(lowest.height), 4) +
                       number(static_cast<size_t>(lowest.width), 4) + number(8, 2) + number(3, 2);
    text += number(0, 8); // neither a colour table nor resources
    std::string info = number(layers.size(), 2);
    for (const Layer& layer : layers)
        info += record(layer);
    for (const Layer& layer : layers)
        info += channels(layer);
    text += block(block(info) + number(0, 4)) + number(0, 2);
    // What programs show that know no layers: the lowest one.
    for (const size_t channel : {0, 1, 2})
        text += plane(lowest, channel);
    std::ofstream out(file, std::ios::binary);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.flush();
    return static_cast<bool>(out);
}
