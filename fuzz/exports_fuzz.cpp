// A caller that keeps a few handles and runs all exported functions over them, one after
// the other: results take the place of handles, arguments are the same handle, null or
// no handle at all, records are made by hand and lie, and an earlier failure's status
// stays. What a function leaves to its caller is kept to.
#include "fuzz/pictures.h"
#include "fuzz/surface.h"
#include "fuzz/temporary_file.h"

#include "quibtool/platform.h"
#include "quibtool/quibtool.h"
#include "quibtool/stretch/stretch.h"

#include <cmath>
#include <memory>
#include <vector>

namespace
{

const TemporaryFile file;

constexpr int32_t libraryHandles = 3;
constexpr int32_t records = 2;

// A record whose fields lie, but for those that say where its pixels are.
class Liar
{
public:
    Liar(FuzzInput& input, IplImage* image) : record(image), truth(*image)
    {
        switch (input.choose(24)) {
        case 0:
            record->imageSize = input.choose(2) ? 0 : record->imageSize / 2;
            break;
        case 1:
            record->nSize = input.word();
            break;
        case 2:
            record->ID = input.word();
            break;
        case 3:
            record->alphaChannel = input.below(8) - 1;
            break;
        case 4:
            record->align = input.word();
            break;
        case 5:
            record->dataOrder = input.choose(2) ? IPL_DATA_ORDER_PIXEL : 2;
            break;
        case 6:
            record->origin = input.below(4);
            break;
        case 7:
            record->nChannels = input.below(record->nChannels + 1);
            break;
        case 8:
            record->depth = input.choose(2) ? IPL_DEPTH_1U : input.choose(8);
            break;
        case 9:
            record->width = std::min<int32_t>(record->width, input.word());
            break;
        case 10:
            record->height = std::min<int32_t>(record->height, input.word());
            break;
        case 11:
            record->imageData = nullptr;
            break;
        case 12:
            std::memset(record->colorModel, input.byte(), sizeof record->colorModel);
            break;
        default:
            break;
        }
    }
    ~Liar()
    {
        // The region may be another one by now.
        truth.roi = record->roi;
        *record = truth;
    }
    Liar(const Liar&) = delete;
    Liar& operator=(const Liar&) = delete;

private:
    IplImage* record;
    IplImage truth;
};

struct Record {
    FuzzPicture picture;
    Liar liar;

    explicit Record(FuzzInput& input)
        : picture(input, formatFrom(input)), liar(input, picture.image)
    {
    }
};

// What the caller holds between its calls.
struct Caller {
    FuzzInput& input;
    IplImage* handles[libraryHandles] = {};
    std::unique_ptr<Record> byHand[records];

    explicit Caller(FuzzInput& bytes) : input(bytes)
    {
        constexpr int32_t depths[] = {32, 32, 8};
        for (int32_t i = 0; i < libraryHandles; ++i)
            QuibCreate(8 + input.below(24), 4 + input.below(12),
                       input.rarely(4) ? 1 + input.below(32) : depths[i], &handles[i], 0x80C0E0FF);
        for (auto& record : byHand)
            record = std::make_unique<Record>(input);
    }
    ~Caller()
    {
        for (IplImage*& handle : handles)
            iplDeallocate(handle, IPL_IMAGE_ALL);
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    // Mostly a good one; now and then none, or what is none.
    IplImage* handle()
    {
        static IplImage empty{};
        const uint32_t choice = input.choose(32);
        if (choice >= 26)
            return byHand[choice % records]->picture.image;
        if (choice == 25)
            return input.choose(4) == 0 ? reinterpret_cast<IplImage*>(uintptr_t{8} * input.byte())
                                        : &empty;
        return choice == 24 ? nullptr : handles[choice % libraryHandles];
    }
    // Null or a record that can be read, for arguments that are tested no further.
    IplImage* record()
    {
        const uint32_t choice = input.choose(8);
        return choice < 6 ? handles[choice % libraryHandles]
                          : byHand[choice % records]->picture.image;
    }
    // A handle of the library's own, which may be null.
    IplImage*& slot() { return handles[input.choose(libraryHandles)]; }
    int32_t value() { return input.choose(2) ? input.byte() : input.word(); }
    int32_t shift() { return input.choose(2) ? static_cast<int8_t>(input.byte()) : input.word(); }
    int32_t place() { return input.rarely(8) ? input.word() : input.below(40) - 8; }
    double number() { return input.rarely(8) ? input.anyNumber() : input.number(0x1p-8); }

    QuibRect* rect()
    {
        rectangle = {place(), place(), place(), place()};
        return input.choose(4) == 0 ? nullptr : &rectangle;
    }

    // Where a result that takes the place of a handle is stored first.
    void take(IplImage* made)
    {
        if (!made)
            return;
        IplImage*& out = slot();
        iplDeallocate(out, IPL_IMAGE_ALL);
        out = made;
    }
    bool isOwn(const IplImage* image) const
    {
        return std::find(std::begin(handles), std::end(handles), image) != std::end(handles);
    }

private:
    QuibRect rectangle;
};

// Calls work with the address of a variable that holds a handle or nothing; what it
// makes takes a handle's place.
template<class Work>
void intoAny(Caller& caller, Work work)
{
    IplImage* const given = caller.input.choose(2) ? caller.handle() : nullptr;
    IplImage* out = given;
    work(caller.input.rarely(64) ? nullptr : &out);
    if (out != given)
        caller.take(out);
}

// The same with nothing in it, for functions that refuse a null address.
template<class Work>
void intoNew(Caller& caller, Work work)
{
    IplImage* out = nullptr;
    work(caller.input.rarely(64) ? nullptr : &out);
    caller.take(out);
}

// Whether an image has room for all bytes of another one.
bool hasRoom(const IplImage* dst, const IplImage* src)
{
    return !src || (dst->widthStep >= src->widthStep && dst->height >= src->height);
}

// Before functions that lose a region that a record held.
void regionsMayBeLost()
{
    allowBlocksToStay();
}

// --- Handles ---------------------------------------------------------------------------

void create(Caller& caller)
{
    IplImage* made = nullptr;
    const int32_t width = caller.input.size(32);
    const int32_t height = caller.input.size(16);
    constexpr int32_t depths[] = {32, 24, 8, 1, 32, 8, 16, -1};
    const int32_t depth = depths[caller.input.choose(8)];
    if (isLegalButHuge(width, height))
        return;
    if (caller.input.choose(2))
        QuibCreate(width, height, depth, &made, static_cast<uint32_t>(caller.value()));
    else if (QuibCreate0(width, height, depth, &made) == QUIB_OK && made->imageData)
        std::memset(made->imageData, caller.input.byte(), static_cast<size_t>(made->imageSize));
    caller.take(made);
}

void release(Caller& caller)
{
    if (caller.input.choose(2))
        QuibFree(&caller.slot());
    IplImage* none = nullptr;
    QuibFree(&none);
}

void inspect(Caller& caller)
{
    QuibInfo info;
    void* pixels = nullptr;
    int32_t isBlack = 0;
    const IplImage* handle = caller.handle();
    QuibGetInfo(handle, &info);
    QuibLockData(handle, caller.input.rarely(64) ? nullptr : &pixels);
    QuibUnlockData(handle);
    QuibIsBlack(handle, static_cast<uint32_t>(caller.value()), &isBlack);
}

void fill(Caller& caller)
{
    regionsMayBeLost();
    IplImage* handle = caller.handle();
    const uint32_t colour = static_cast<uint32_t>(caller.value());
    QuibFillColor(handle, colour, caller.rect());
}

void copy(Caller& caller)
{
    if (caller.input.choose(2)) {
        const IplImage* src = caller.handle();
        intoNew(caller, [&](IplImage** out) { QuibCopy(src, out); });
        return;
    }
    const IplImage* src = caller.record();
    IplImage* dst = caller.slot();
    if (dst && hasRoom(dst, src))
        QuibCopy(src, &dst);
}

void clone(Caller& caller)
{
    const IplImage* src = caller.handle();
    IplImage* made = nullptr;
    QuibClone(src, &made);
    caller.take(made);
}

// Regions of any kind for handles of the library's own.
void giveRegion(Caller& caller)
{
    IplImage* handle = caller.slot();
    if (!handle)
        return;
    iplDeallocate(handle, IPL_IMAGE_ROI);
    handle->roi = regionFrom(caller.input, handle->width, handle->height);
}

void setStatus(Caller& caller)
{
    iplSetStatus(caller.input.choose(2) ? IPL_StsError : 0);
}

void replaceRecord(Caller& caller)
{
    auto& record = caller.byHand[caller.input.choose(records)];
    record.reset();
    record = std::make_unique<Record>(caller.input);
}

// --- Transfer and size -----------------------------------------------------------------

void transfer(Caller& caller)
{
    regionsMayBeLost();
    IplImage* src = caller.handle();
    IplImage* dst = caller.handle();
    int32_t edges[8];
    for (int32_t& edge : edges)
        edge = caller.place();
    if (caller.input.choose(2)) // of one size
        for (int32_t i = 0; i < 2; ++i)
            edges[i + 6] = static_cast<int32_t>(static_cast<uint32_t>(edges[i + 4]) +
                                                static_cast<uint32_t>(edges[i + 2]) -
                                                static_cast<uint32_t>(edges[i]));
    QuibBlt(src, edges[0], edges[1], edges[2], edges[3], dst, edges[4], edges[5], edges[6],
            edges[7], caller.input.below(2));
}

// The caller's rectangle lies inside the destination.
void panAndZoom(Caller& caller)
{
    regionsMayBeLost();
    IplImage* src = caller.handle();
    IplImage* dst = caller.slot();
    const double x = caller.number();
    const double stepX = caller.number();
    const double y = caller.number();
    const double stepY = caller.number();
    double edges[4];
    for (double& edge : edges)
        edge = caller.number();
    if (!dst)
        return;
    if (!(edges[1] <= dst->width))
        edges[1] = dst->width;
    if (!(edges[3] <= dst->height))
        edges[3] = dst->height;
    QuibBlt_PANZOOM(src, x, stepX, y, stepY, dst, edges[0], edges[1], edges[2], edges[3],
                    caller.input.below(5) - 1);
}

void resize(Caller& caller)
{
    constexpr int32_t modes[] = {0, 1, 2, 3, 0x7000, 0x7001, -1, 4};
    IplImage* src = caller.handle();
    IplImage* dst = caller.handle();
    const int32_t mode = modes[caller.input.choose(8)];
    if (caller.input.choose(2))
        QuibResize(src, dst, mode);
    else
        QuibResizeFit(src, dst, mode);
}

// Planes of bytes, weighted too, which no exported function asks for.
void stretchPlane(Caller& caller)
{
    constexpr int32_t modes[] = {0, 1, 2, 3, 0x7000, 0x7001, -1, 4};
    uint32_t sides[4];
    for (uint32_t& side : sides)
        side = 1 + caller.input.choose(40);
    std::vector<uint8_t> from(size_t{sides[0]} * sides[1]);
    std::vector<uint8_t> to(size_t{sides[2]} * sides[3]);
    fillFrom(caller.input, from.data(), from.size());
    StretchPlane8(to.data(), sides[2], sides[3], sides[2], from.data(), sides[0], sides[1],
                  sides[0], modes[caller.input.choose(8)]);
}

// --- Composition and alpha --------------------------------------------------------------

void compose(Caller& caller)
{
    IplImage* over = caller.handle();
    IplImage* under = caller.handle();
    const bool simple = caller.input.choose(2);
    intoAny(caller, [&](IplImage** out) {
        if (simple)
            QuibComposition_s(over, under, out);
        else
            QuibComposition3(over, under, out);
    });
}

void composeAt(Caller& caller)
{
    IplImage* over = caller.handle();
    IplImage* under = caller.handle();
    const QuibPoint position = {caller.place(), caller.place()};
    const QuibPoint* at = caller.input.rarely(4) ? nullptr : &position;
    QuibComposition4(over, under, at, caller.rect());
}

void composeByEngine(Caller& caller)
{
    regionsMayBeLost();
    IplImage* srcA = caller.handle();
    IplImage* srcB = caller.handle();
    QuibRect rects[3];
    QuibRect* given[3];
    for (int32_t i = 0; i < 3; ++i) {
        const QuibRect* chosen = caller.rect();
        given[i] = chosen ? &(rects[i] = *chosen) : nullptr;
    }
    const int32_t type = caller.input.below(8) - 1;
    const bool constant = caller.input.choose(2);
    intoNew(caller, [&](IplImage** out) {
        if (constant)
            QuibComposition2(srcA, srcB, caller.input.byte(), caller.input.byte(), out, given[0],
                             given[1], given[2], type);
        else
            QuibComposition1(srcA, srcB, out, given[0], given[1], given[2], type,
                             caller.input.below(3), caller.input.below(3));
    });
}

void setAlpha(Caller& caller)
{
    IplImage* handle = caller.handle();
    if (caller.input.choose(2))
        QuibSetAlphaS(handle, caller.rect(), static_cast<uint32_t>(caller.value()));
    else
        QuibSetAlpha(handle, caller.record(), static_cast<uint32_t>(caller.value()));
}

// --- Bitmaps, files, devices ------------------------------------------------------------

BITMAPINFOHEADER headerFrom(Caller& caller)
{
    constexpr WORD depths[] = {24, 32, 8, 1, 24, 32, 16, 4};
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = caller.input.size(32);
    header.biHeight = caller.input.size(16);
    const IplImage* like = caller.slot();
    if (like && caller.input.choose(2)) {
        header.biWidth = like->width;
        header.biHeight = like->height;
    }
    header.biPlanes = 1;
    header.biBitCount = depths[caller.input.choose(8)];
    header.biClrUsed = caller.input.rarely(4) ? static_cast<DWORD>(caller.value()) : 0;
    header.biCompression = caller.input.rarely(4) ? caller.input.below(4) : 0;
    return header;
}

class DibBlock
{
public:
    DibBlock(Caller& caller, const BITMAPINFOHEADER& header, size_t bytes)
        : block(GlobalAlloc(GMEM_MOVEABLE, bytes))
    {
        if (uint8_t* start = static_cast<uint8_t*>(GlobalLock(block))) {
            fillFrom(caller.input, start, bytes);
            std::memcpy(start, &header, std::min(bytes, sizeof header));
            GlobalUnlock(block);
        }
    }
    ~DibBlock() { GlobalFree(block); }
    DibBlock(const DibBlock&) = delete;
    DibBlock& operator=(const DibBlock&) = delete;

    const HGLOBAL block;
};

void passDib(Caller& caller)
{
    const BITMAPINFOHEADER header = headerFrom(caller);
    if (isLegalButHuge(header.biWidth, header.biHeight))
        return;
    const DibBlock dib(caller, header, caller.input.byte() * 16u + 1);
    const int32_t depth = caller.input.below(3) * 8;
    if (caller.input.choose(2))
        Quib2Dib(caller.handle(), caller.input.rarely(64) ? nullptr : dib.block);
    else
        intoNew(caller, [&](IplImage** out) { Dib2Quib(dib.block, out, depth); });
}

// The pixels' extent is the caller's duty.
void passDibApart(Caller& caller)
{
    const BITMAPINFOHEADER header = headerFrom(caller);
    const int64_t width = header.biWidth;
    const int64_t height = header.biHeight;
    if (width > 64 || height > 64)
        return;
    const int64_t step = (header.biBitCount * std::max<int64_t>(width, 0) + 31) / 32 * 4;
    const size_t bytes = static_cast<size_t>(
        std::max<int64_t>(step * std::max<int64_t>(header.biBitCount, 8) / 4 * height, 0));
    const std::unique_ptr<uint8_t[]> bits(new uint8_t[bytes + 64]);
    fillFrom(caller.input, bits.get(), bytes + 64);
    IplImage* made = nullptr;
    Dib2Quib0(caller.input.rarely(64) ? nullptr : &header, bits.get(), &made);
    caller.take(made);
}

void loadBmp(Caller& caller)
{
    allowBlocksToStay();
    const BITMAPINFOHEADER header = headerFrom(caller);
    if (isLegalButHuge(header.biWidth, header.biHeight))
        return;
    uint8_t bytes[sizeof(BITMAPFILEHEADER) + sizeof header + 128] = {'B', 'M'};
    std::memcpy(bytes + sizeof(BITMAPFILEHEADER), &header, sizeof header);
    const size_t size = caller.input.rarely(4) ? caller.input.below(60) : sizeof bytes;
    intoNew(caller, [&](IplImage** out) { QuibLoadBMP(file.write(bytes, size), out); });
}

void appendBig(std::vector<uint8_t>& bytes, uint32_t value, int32_t width)
{
    for (int32_t shift = (width - 1) * 8; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
}

// A gray PSD file of one pixel, in two layers that have a mask each.
std::vector<uint8_t> smallPsd()
{
    constexpr uint32_t pixel[] = {0, 0, 1, 1}; // its top, left, bottom and right
    std::vector<uint8_t> bytes = {'8', 'B', 'P', 'S', 0, 1, 0, 0, 0, 0, 0, 0, 0, 1};
    for (const uint32_t number : {1u, 1u, 0x80001u, 0u, 0u, 174u, 170u})
        appendBig(bytes, number, 4);
    appendBig(bytes, 2, 2);
    for (int32_t layer = 0; layer < 2; ++layer) {
        for (const uint32_t edge : pixel)
            appendBig(bytes, edge, 4);
        for (const uint32_t number : {2u, 0u, 0u, 3u, 0xFFFEu, 0u, 3u}) // two channels
            appendBig(bytes, number, 2);
        for (const uint32_t number : {0x3842494Du, 0x6E6F726Du, 0xFF000000u, 32u, 20u})
            appendBig(bytes, number, 4);
        for (const uint32_t edge : pixel)
            appendBig(bytes, edge, 4);
        for (const uint32_t number : {0u, 0u, 0u})
            appendBig(bytes, number, 4);
    }
    for (int32_t channel = 0; channel < 4; ++channel)
        appendBig(bytes, 0x80, 3);
    return bytes;
}

// Of any bytes behind its signature, or a good one but for a few bytes.
void loadPsd(Caller& caller)
{
    std::vector<uint8_t> bytes(128);
    std::memcpy(bytes.data(), "8BPS\0\1", 6);
    for (size_t i = 12; i < 64; ++i)
        bytes[i] = caller.input.byte();
    if (bytes[12] >= 128) {
        std::vector<uint8_t> changed = smallPsd();
        for (size_t i = 13; i < 13 + 2 * (bytes[12] % 4u); i += 2)
            changed[bytes[i] % changed.size()] = bytes[i + 1];
        bytes = changed;
    }
    IplImage* mask = nullptr;
    intoNew(caller, [&](IplImage** out) {
        QuibLoadFramePsd2Bmp(file.write(bytes.data(), bytes.size()), out, &mask);
    });
    caller.take(mask);
}

void draw(Caller& caller)
{
    const HDC context = CreateCompatibleDC(nullptr);
    const IplImage* handle = caller.handle();
    const int32_t x = caller.place();
    QuibDrawToHDC(handle, caller.input.rarely(8) ? nullptr : context, x, caller.place());
    DeleteDC(context);
}

void useSurface(Caller& caller)
{
    IplImage* handle = caller.handle();
    const IplImage* like = caller.slot();
    FuzzOldSurface surface(caller.input, like ? like->width : 1, like ? like->height : 1);
    FuzzLateSurface late(caller.input, like ? like->width : 1, like ? like->height : 1);
    IDirectDrawSurface* given = caller.input.rarely(64) ? nullptr : surface.get();
    switch (caller.input.choose(5)) {
    case 0:
        Quib2Surface(handle, given);
        break;
    case 1:
        Quib2Surface7(handle, caller.input.rarely(64) ? nullptr : late.get());
        break;
    case 2:
        Surface2Quib(given, handle);
        break;
    case 3:
        QuibToSurf_16(handle, given, caller.value());
        break;
    default:
        QuibInterlace(given, 2 + caller.input.choose(2));
        break;
    }
}

// --- Geometry ---------------------------------------------------------------------------

void flip(Caller& caller)
{
    IplImage* src = caller.handle();
    QuibFlip(src, caller.handle(), caller.input.below(4) - 1);
}

void rotate(Caller& caller)
{
    IplImage* src = caller.handle();
    IplImage* dst = caller.handle();
    const double angle = caller.input.choose(2) ? 90.0 * caller.input.choose(5) : caller.number();
    const int32_t x = caller.place();
    const int32_t y = caller.place();
    QuibRotate(src, dst, angle, x, y, caller.input.below(20));
}

// Small enough for thousands of times.
bool isSmall(const double (&bound)[2][2])
{
    const double width = std::fabs(bound[1][0] - bound[0][0]);
    const double height = std::fabs(bound[1][1] - bound[0][1]);
    return width < 100 && height < 100;
}

struct Matrix {
    double rows[3][3];

    explicit Matrix(Caller& caller)
    {
        for (int32_t i = 0; i < 9; ++i)
            rows[i / 3][i % 3] = caller.number() * (i >= 6       ? 0x1p-8
                                                    : i % 3 == 2 ? 1
                                                                 : 0x1p-6) +
                                 (i % 4 == 0);
    }
};

void warp(Caller& caller)
{
    IplImage* src = caller.handle();
    const Matrix matrix(caller);
    const int32_t interpolate = caller.input.below(20);
    double bound[2][2] = {};
    const uint32_t kind = caller.input.choose(3);
    IplImage* made = nullptr;
    if (kind == 0) {
        const double angle = caller.number();
        QUIBRotate3D(angle, src, &made, caller.input.below(5));
        caller.take(made);
        return;
    }
    if (caller.isOwn(src) && kind == 1)
        iplGetAffineBound(src, matrix.rows, bound);
    if (caller.isOwn(src) && kind == 2)
        iplGetPerspectiveBound(src, matrix.rows, bound);
    if (!isSmall(bound) || !caller.isOwn(src))
        return;
    if (kind == 1)
        QUIBWarpAffine(src, &made, matrix.rows, interpolate);
    else
        QUIBWarpPerspective(src, &made, matrix.rows, caller.input.below(3), interpolate);
    caller.take(made);
}

void warpQuad(Caller& caller)
{
    IplImage* src = caller.handle();
    double quad[4][2];
    for (auto& corner : quad)
        for (double& coordinate : corner)
            coordinate = caller.input.below(80) * 0.5 - 4;
    double coefficients[3][3] = {};
    double corners[4][2];
    QUIBPerspectiveTransform(src, coefficients, quad);
    QUIBGetPerspectiveQuad(src, coefficients, corners);
    const int32_t interpolate = caller.input.below(20);
    const bool warpFlag = caller.input.choose(2);
    const bool byEngine = caller.input.choose(2);
    IplImage* const given = caller.input.choose(2) ? caller.handle() : nullptr;
    IplImage* out = given;
    if (byEngine)
        QUIBWarpPerspectiveQ_(src, &out, quad, interpolate, warpFlag);
    else
        QUIBWarpPerspectiveQ(src, &out, quad, interpolate, warpFlag);
    if (out != given)
        caller.take(out);
}

// --- Tone, gray, fields ------------------------------------------------------------------

void adjustTone(Caller& caller)
{
    IplImage* src = caller.handle();
    const int32_t first = caller.shift();
    const int32_t second = caller.shift();
    const bool contrast = caller.input.choose(2);
    const int32_t channel = caller.input.below(5);
    intoAny(caller, [&](IplImage** out) {
        if (out && *out && (!caller.isOwn(*out) || !caller.isOwn(src) || !hasRoom(*out, src)))
            out = nullptr;
        if (contrast)
            QuibBrightnessAndContrast(src, out, first, second, channel);
        else
            QuibHueAndSaturation(src, out, first, second);
    });
}

void makeGray(Caller& caller)
{
    IplImage* src = caller.handle();
    QuibColorConversion(src, caller.handle());
    const int32_t zero = caller.value();
    const int32_t one = caller.value();
    const bool bits = caller.input.choose(2);
    intoNew(caller, [&](IplImage** out) {
        if (bits)
            QuibBitonalToGray(src, out, zero, one);
        else
            QuibColorToGray(src, out);
    });
}

void mixFields(Caller& caller)
{
    IplImage* even = caller.handle();
    IplImage* odd = caller.handle();
    const uint32_t mode = caller.input.choose(6);
    QuibInterlace(even, mode == 2 || mode == 3 ? 9 : mode);
    intoAny(caller, [&](IplImage** out) { QuibUnInterlace(even, odd, out); });
}

// --- Pixel operations --------------------------------------------------------------------

void applyValue(Caller& caller)
{
    constexpr QuibStatus (*functions[])(const IplImage*, IplImage**, int32_t) = {
        QuibAddS, QuibMultiplyS, QuibMultiplySScale, QuibAndS, QuibOrS, QuibXorS};
    constexpr QuibStatus (*shifts[])(const IplImage*, IplImage**, uint32_t) = {QuibLShiftS,
                                                                               QuibRShiftS};
    const IplImage* src = caller.handle();
    const int32_t value = caller.value();
    const uint32_t function = caller.input.choose(8);
    intoNew(caller, [&](IplImage** out) {
        if (function < 6)
            functions[function](src, out, value);
        else
            shifts[function - 6](src, out, static_cast<uint32_t>(value));
    });
}

void applyToOne(Caller& caller)
{
    constexpr QuibStatus (*functions[])(const IplImage*, IplImage**) = {QuibSquare, QuibAbs,
                                                                        QuibNot};
    const IplImage* src = caller.handle();
    const uint32_t function = caller.input.choose(3);
    intoNew(caller, [&](IplImage** out) { functions[function](src, out); });
}

void applyToTwo(Caller& caller)
{
    constexpr QuibStatus (*functions[])(const IplImage*, const IplImage*, IplImage**) = {
        QuibAdd, QuibSubtract, QuibMultiply, QuibMultiplyScale, QuibAnd, QuibOr, QuibXor};
    const IplImage* srcA = caller.handle();
    const uint32_t function = caller.input.choose(7);
    // QuibAnd tests its second one for null only.
    const IplImage* srcB = functions[function] == QuibAnd ? caller.record() : caller.handle();
    intoNew(caller, [&](IplImage** out) { functions[function](srcA, srcB, out); });
}

// --- Filters -------------------------------------------------------------------------------

struct Kernel {
    Kernel(Caller& caller, int32_t nCols, int32_t nRows)
    {
        int32_t taps[25];
        int8_t bytes[25];
        for (int32_t i = 0; i < 25; ++i)
            taps[i] = bytes[i] = static_cast<int8_t>(caller.input.byte());
        const int32_t shift = caller.input.below(40) - 4;
        const int32_t x = caller.input.below(nCols);
        const int32_t y = caller.input.below(nRows);
        if (caller.input.choose(2))
            QuibCreateConvKernel(&kernel, nCols, nRows, x, y, taps, shift);
        else
            QuibCreateConvKernelChar(&kernel, nCols, nRows, x, y, bytes, shift);
        if (kernel)
            readBack(taps, bytes);
    }
    ~Kernel() { QuibDeleteConvKernel(kernel); }
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;

    void readBack(int32_t* taps, int8_t* bytes) const
    {
        int32_t numbers[5];
        QuibGetConvKernel(kernel, &numbers[0], &numbers[1], &numbers[2], &numbers[3], &taps,
                          &numbers[4]);
        QuibGetConvKernelChar(kernel, &numbers[0], &numbers[1], &numbers[2], &numbers[3], &bytes,
                              &numbers[4]);
    }

    OwnConvKernel* kernel = nullptr;
};

void convolve(Caller& caller)
{
    const IplImage* src = caller.handle();
    const bool separable = caller.input.choose(2);
    const int32_t nCols = 1 + caller.input.below(5);
    const int32_t nRows = 1 + caller.input.below(5);
    const Kernel first(caller, nCols, separable ? 1 : nRows);
    const Kernel second(caller, separable ? 1 : nCols, nRows);
    OwnConvKernel* const kernels[] = {first.kernel, second.kernel, nullptr};
    const int32_t count = caller.input.below(4);
    const int32_t method = caller.input.below(6);
    intoNew(caller, [&](IplImage** out) {
        if (separable)
            QuibConvolveSep2D(src, out, first.kernel, second.kernel);
        else
            QuibConvolve2D(src, out, kernels, count, method);
    });
}

void filterWindow(Caller& caller)
{
    constexpr QuibStatus (*functions[])(const IplImage*, IplImage**, int32_t, int32_t, int32_t,
                                        int32_t) = {QuibMaxFilter, QuibMinFilter, QuibMedianFilter,
                                                    QuibColorMedianFilter, QuibBlur};
    const IplImage* src = caller.handle();
    const uint32_t function = caller.input.choose(5);
    const int32_t nCols = caller.input.below(7);
    const int32_t nRows = caller.input.below(7);
    const int32_t x = caller.input.rarely(8) ? caller.value() : nCols / 2;
    const int32_t y = caller.input.rarely(8) ? caller.value() : nRows / 2;
    intoNew(caller, [&](IplImage** out) { functions[function](src, out, nCols, nRows, x, y); });
}

void filterFixed(Caller& caller)
{
    const IplImage* src = caller.handle();
    const int32_t filter = caller.input.below(13) - 1;
    intoNew(caller, [&](IplImage** out) { QuibFixedFilter(src, out, filter); });
}

// A copy takes no heed of the destination's size.
void decimateBlur(Caller& caller)
{
    const IplImage* src = caller.slot();
    IplImage* dst = caller.slot();
    const int32_t xMask = caller.input.size(5);
    const int32_t yMask = caller.input.size(5);
    if (src && dst && (!hasRoom(dst, src) || xMask > 256 || yMask > 256))
        return;
    QuibDecimateBlur(src, dst, caller.input.below(4), xMask, yMask);
}

constexpr void (*operations[])(Caller& caller) = {
    create,       release,    inspect,      fill,          copy,
    clone,        giveRegion, setStatus,    replaceRecord, transfer,
    panAndZoom,   resize,     compose,      composeAt,     composeByEngine,
    setAlpha,     passDib,    passDibApart, loadBmp,       loadPsd,
    draw,         useSurface, flip,         rotate,        warp,
    warpQuad,     adjustTone, makeGray,     mixFields,     applyValue,
    applyToOne,   applyToTwo, convolve,     filterWindow,  filterFixed,
    decimateBlur, transfer,   giveRegion,   resize,        stretchPlane,
};

} // namespace

void runFuzzInput(const uint8_t* data, size_t size)
{
    constexpr int32_t mostCalls = 8;
    FuzzInput input(data, size);
    useLevelFrom(input);
    Caller caller(input);
    iplSetStatus(0);
    for (int32_t i = 0; i < mostCalls && input.restCount() > 0; ++i) {
        const auto operation = operations[input.choose(std::size(operations))];
        operation(caller);
        if (!input.rarely(4))
            iplSetStatus(0);
    }
}
