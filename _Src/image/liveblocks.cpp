#include "_Src/image/liveblocks.h"

#include <atomic>
#include <cstdint>

namespace
{

// A slot belongs to the block that took it until that is forgotten: only then
// do its words change. `start` is what makes `bytes` visible to other threads.
struct Slot {
    std::atomic<uintptr_t> start;
    std::atomic<size_t> bytes;
};

constexpr uintptr_t noBlock = 0;
constexpr uintptr_t beingTaken = 1;

// A block may lie in the slots of one set, a cache line, picked by its address.
// The table never grows and so never moves under a reader: of very many blocks
// at a time, some stay unknown.
constexpr size_t cacheLine = 64;
constexpr int setBits = 12;
struct alignas(cacheLine) Set {
    Slot slots[cacheLine / sizeof(Slot)];
};
constinit Set sets[size_t{1} << setBits];

Set& setOf(uintptr_t start)
{
    constexpr uint64_t golden = 0x9E3779B97F4A7C15u; // spreads the low bits upwards
    return sets[static_cast<size_t>((start * golden) >> (64 - setBits))];
}

Slot* findSlot(uintptr_t start)
{
    if (start == noBlock || start == beingTaken)
        return nullptr;
    for (Slot& slot : setOf(start).slots)
        if (slot.start.load(std::memory_order_acquire) == start)
            return &slot;
    return nullptr;
}

} // namespace

void ownRememberBlock(const void* block, size_t bytes)
{
    const uintptr_t start = reinterpret_cast<uintptr_t>(block);
    for (Slot& slot : setOf(start).slots) {
        uintptr_t expected = noBlock;
        if (!slot.start.compare_exchange_strong(expected, beingTaken, std::memory_order_acquire,
                                                std::memory_order_relaxed))
            continue;
        slot.bytes.store(bytes, std::memory_order_relaxed);
        slot.start.store(start, std::memory_order_release);
        return;
    }
}

void ownForgetBlock(const void* block)
{
    if (Slot* slot = findSlot(reinterpret_cast<uintptr_t>(block)))
        slot->start.store(noBlock, std::memory_order_release);
}

bool ownIsInLiveBlock(const void* block, const void* first, size_t bytes)
{
    const Slot* slot = findSlot(reinterpret_cast<uintptr_t>(block));
    if (!slot)
        return false;
    const size_t size = slot->bytes.load(std::memory_order_relaxed);
    // A byte before the block lies very far behind its start.
    const uintptr_t offset =
        reinterpret_cast<uintptr_t>(first) - reinterpret_cast<uintptr_t>(block);
    return offset <= size && bytes <= size - offset;
}
