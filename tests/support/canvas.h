// Pictures that device contexts draw into.
#pragma once

#include "quibtool/platform.h"

#include <cstdint>
#include <cstring>

// A 32-bit picture, top row first, that a device context draws into.
class Canvas
{
public:
    Canvas(int32_t width, int32_t height) : columns(width), rows(height)
    {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = -height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        hdc = CreateCompatibleDC(nullptr);
        bitmap = CreateDIBSection(hdc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        before = SelectObject(hdc, bitmap);
    }
    ~Canvas()
    {
        SelectObject(hdc, before);
        DeleteObject(bitmap);
        DeleteDC(hdc);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    void* context() const { return hdc; }
    int32_t width() const { return columns; }
    int32_t height() const { return rows; }
    // The colour without its fourth byte.
    uint32_t at(int32_t x, int32_t y) const
    {
        GdiFlush();
        uint32_t word;
        std::memcpy(&word, static_cast<const uint8_t*>(bits) + 4 * (y * columns + x), 4);
        return word & 0x00FFFFFF;
    }

private:
    int32_t columns;
    int32_t rows;
    HDC hdc;
    HBITMAP bitmap;
    HGDIOBJ before;
    void* bits = nullptr;
};
