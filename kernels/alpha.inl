namespace
{

uint32_t alphaLoad(const uint8_t* pixel)
{
    uint32_t word;
    __builtin_memcpy(&word, pixel, 4);
    return word;
}

void alphaStore(uint8_t* pixel, uint32_t word)
{
    __builtin_memcpy(pixel, &word, 4);
}

void constantAlpha(uint8_t* pixels, uint8_t alpha, size_t count)
{
    const uint32_t high = static_cast<uint32_t>(alpha) << 24;
    for (size_t i = 0; i < count; ++i)
        alphaStore(pixels + i * 4, (alphaLoad(pixels + i * 4) & 0x00FFFFFFu) | high);
}

void alphaFromPlane(uint8_t* pixels, const uint8_t* plane, uint32_t scale, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t high = (plane[i] * scale << 16) & 0xFF000000u;
        alphaStore(pixels + i * 4, (alphaLoad(pixels + i * 4) & 0x00FFFFFFu) | high);
    }
}

void scaleAlpha(uint8_t* pixels, uint32_t scale, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t word = alphaLoad(pixels + i * 4);
        const uint32_t high = ((word >> 24) * scale << 16) & 0xFF000000u;
        alphaStore(pixels + i * 4, (word & 0x00FFFFFFu) | high);
    }
}

constexpr AlphaKernels alphaKernels{constantAlpha, alphaFromPlane, scaleAlpha};

} // namespace
