#include "benchmarks/families.h"

#include "_Src/ipl.h"
#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#include <cstdlib>
#include <cstring>

#if defined(QUIB_BENCH_LIBYUV)
#include <libyuv/planar_functions.h>
#endif

namespace
{

struct Size {
    int width;
    int height;
};

// The large picture of the limits, and a small one that shows what a call costs.
constexpr Size sizes[] = {{1920, 1080}, {64, 64}};

// Two 32-bit pictures of a size.
struct Sources {
    explicit Sources(Size size) : a(size.width, size.height, 32), b(size.width, size.height, 32) {}
    Pixels a;
    Pixels b;
};

const Sources& sourcesOf(const Size& size)
{
    static const Sources all[] = {Sources(sizes[0]), Sources(sizes[1])};
    return all[&size - sizes];
}

// What a wrapper allocates besides its header, written by `work`.
template<class Work>
std::function<void()> intoFreshBlock(size_t bytes, Work work)
{
    return [bytes, work] {
        uint8_t* block = static_cast<uint8_t*>(std::malloc(bytes + 3));
        work(block);
        keep(block);
        std::free(block);
    };
}

std::function<void()> freshCopy(const Pixels& source)
{
    return intoFreshBlock(source.bytes(), [&source](uint8_t* block) {
        std::memcpy(block, source.data(), source.bytes());
    });
}

using PairWrapper = QuibStatus (*)(const IplImage*, const IplImage*, IplImage**);
using YuvPair = int (*)(const uint8_t*, int, const uint8_t*, int, uint8_t*, int, int, int);

std::function<void()> yuvPair(const Pixels& a, const Pixels& b, Size size, YuvPair pair)
{
    return intoFreshBlock(a.bytes(), [&a, &b, size, pair](uint8_t* block) {
        const int step = size.width * 4;
        pair(a.data(), step, b.data(), step, block, step, size.width, size.height);
    });
}

// A case of each size; `limit` is for the large one.
template<class MakeCase>
void addSizes(const std::string& name, double limit, MakeCase makeCase)
{
    for (const Size& size : sizes) {
        Case sized = makeCase(sourcesOf(size), size);
        sized.operation = name;
        sized.width = size.width;
        sized.height = size.height;
        sized.limit.ratio = &size == sizes ? limit : 0;
        addCase(sized);
    }
}

void addPair(const std::string& name, double limit, PairWrapper wrapper, const std::string& peer,
             YuvPair pair)
{
    addSizes(name, limit, [&](const Sources& sources, Size size) {
        const auto ours = [wrapper, &sources] {
            IplImage* out = nullptr;
            wrapper(sources.a.handle(), sources.b.handle(), &out);
            QuibFree(&out);
        };
        return Case{.ours = ours,
                    .peer = peer,
                    .theirs = yuvPair(sources.a, sources.b, size, pair),
                    .floor = freshCopy(sources.a)};
    });
}

void addSingle(const std::string& name, double limit, QuibStatus (*wrapper)(IplImage*, IplImage**))
{
    addSizes(name, limit, [&](const Sources& sources, Size) {
        const auto ours = [wrapper, &sources] {
            IplImage* out = nullptr;
            wrapper(sources.a.handle(), &out);
            QuibFree(&out);
        };
        return Case{.ours = ours, .peer = "memcpy", .theirs = freshCopy(sources.a)};
    });
}

// The engine's AND of 1-bit images that start at three different bits, beside
// the same number of bytes, read and written, in one piece.
void addBits()
{
    constexpr int width = 1912;
    constexpr int height = 1080;
    static const Pixels a(1920, height, 1);
    static const Pixels b(1920, height, 1);
    static const Pixels dst(1920, height, 1);
    static std::vector<uint8_t> from(a.bytes() * 3 / 2);
    static std::vector<uint8_t> to(from.size());
    int x = 1;
    for (const Pixels* image : {&a, &b, &dst}) {
        image->handle()->roi = iplCreateROI(0, x, 0, width, height);
        x += 2;
    }
    addCase({.operation = "iplAnd 1-bit",
             .width = width,
             .height = height,
             .limit = {.ratio = 3.00},
             .ours = [] { iplAnd(a.handle(), b.handle(), dst.handle()); },
             .peer = "memcpy",
             .theirs =
                 [] {
                     std::memcpy(to.data(), from.data(), from.size());
                     keep(to.data());
                 },
             .floor = {}});
}

} // namespace

void addPixelCases()
{
#if defined(QUIB_BENCH_LIBYUV)
    addPair("QuibAdd", 1.00, QuibAdd, "libyuv ARGBAdd", libyuv::ARGBAdd);
    addPair("QuibSubtract", 1.00, QuibSubtract, "libyuv ARGBSubtract", libyuv::ARGBSubtract);
    addPair("QuibAnd", 1.00, QuibAnd, "libyuv ARGBAdd", libyuv::ARGBAdd);
    addPair("QuibOr", 1.00, QuibOr, "libyuv ARGBAdd", libyuv::ARGBAdd);
    addPair("QuibXor", 1.00, QuibXor, "libyuv ARGBAdd", libyuv::ARGBAdd);
    addPair("QuibMultiplyScale", 1.00, QuibMultiplyScale, "libyuv ARGBMultiply",
            libyuv::ARGBMultiply);
    addPair("QuibMultiply", 1.10, QuibMultiply, "libyuv ARGBMultiply", libyuv::ARGBMultiply);
    addPair(
        "QuibSquare", 1.10,
        [](const IplImage* a, const IplImage*, IplImage** out) { return QuibSquare(a, out); },
        "libyuv ARGBMultiply", libyuv::ARGBMultiply);
#endif
    addSingle("QuibAddS", 1.20, [](IplImage* a, IplImage** out) { return QuibAddS(a, out, 60); });
    addSingle("QuibAndS", 1.20, [](IplImage* a, IplImage** out) { return QuibAndS(a, out, 0x3C); });
    addSingle("QuibNot", 1.20, [](IplImage* a, IplImage** out) { return QuibNot(a, out); });
    addSingle("QuibLShiftS", 1.20,
              [](IplImage* a, IplImage** out) { return QuibLShiftS(a, out, 3); });
    addSingle("QuibMultiplyS", 1.20,
              [](IplImage* a, IplImage** out) { return QuibMultiplyS(a, out, 3); });
    addBits();
}
