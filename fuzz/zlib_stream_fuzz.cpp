// A compressed stream of any content. The first two bytes are the length that is
// asked for; in their place stands a good header.
#include "fuzz/fuzz.h"

#include "zxdll/inflate.h"

void runFuzzInput(const uint8_t* data, size_t size)
{
    constexpr size_t headBytes = 2;
    if (size < headBytes)
        return;
    const size_t length = data[0] | static_cast<size_t>(data[1]) << 8;
    const FuzzBlock stream(data, size);
    uint8_t* start = stream.data();
    start[0] = 0x78;
    start[1] = 0x01;
    uint8_t* out = static_cast<uint8_t*>(malloc(length));
    zx::inflateZlib(start, size, out, length);
    free(out);
}
