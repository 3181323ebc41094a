#include "benchmarks/families.h"

#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"

#include <cstring>

void addBlockCases()
{
    static const Pixels target(1920, 1080, 32);
    static const Pixels source(1920, 1080, 32);
    static IplImage* targetHandle = target.handle();
    const size_t bytes = target.bytes();

    addCase({.operation = "QuibFillColor 32-bit",
             .width = 1920,
             .height = 1080,
             .limit = {.ratio = 1.10},
             .ours = [] { QuibFillColor(targetHandle, 0xFF102030u, nullptr); },
             .peer = "memset",
             .theirs =
                 [bytes] {
                     std::memset(targetHandle->imageData, 0x55, bytes);
                     keep(targetHandle->imageData);
                 },
             .floor = {}});
    addCase({.operation = "QuibCopy 32-bit",
             .width = 1920,
             .height = 1080,
             .limit = {.ratio = 1.10},
             .ours = [] { QuibCopy(source.handle(), &targetHandle); },
             .peer = "memcpy",
             .theirs =
                 [bytes] {
                     std::memcpy(targetHandle->imageData, source.handle()->imageData, bytes);
                     keep(targetHandle->imageData);
                 },
             .floor = {}});
    addCase({.operation = "QuibGetInfo",
             .width = 1,
             .height = 1,
             .limit = {.microseconds = 1.0},
             .ours =
                 [] {
                     QuibInfo info{};
                     QuibGetInfo(source.handle(), &info);
                     keep(&info);
                 },
             .peer = "",
             .theirs = {},
             .floor = {}});
}
