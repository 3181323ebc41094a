#include "tests/zxdll/counted_blocks.h"

#include "quibtool/platform.h"

namespace
{

int32_t failingBlock = INT32_MAX;
int32_t askedBlocks;
int32_t liveBlocks;
size_t askedBytes;

} // namespace

CountedBlocks::CountedBlocks(int32_t passing)
{
    failingBlock = passing;
    askedBlocks = 0;
    liveBlocks = 0;
    askedBytes = 0;
}

int32_t CountedBlocks::asked() const
{
    return askedBlocks;
}

int32_t CountedBlocks::live() const
{
    return liveBlocks;
}

size_t CountedBlocks::bytes() const
{
    return askedBytes;
}

#if !defined(_WIN32)
extern "C" {
HGLOBAL __real_GlobalAlloc(UINT flags, SIZE_T size);
HGLOBAL __real_GlobalFree(HGLOBAL block);

HGLOBAL __wrap_GlobalAlloc(UINT flags, SIZE_T size)
{
    askedBytes += size;
    const HGLOBAL block = askedBlocks++ == failingBlock ? nullptr : __real_GlobalAlloc(flags, size);
    liveBlocks += block != nullptr;
    return block;
}

HGLOBAL __wrap_GlobalFree(HGLOBAL block)
{
    const HGLOBAL result = __real_GlobalFree(block);
    liveBlocks -= block && !result;
    return result;
}
}
#endif
