#include "platform/handles.h"

#include <cstdint>
#include <cstdlib>

namespace quib
{

// Handles are addresses, whose low bits say little: multiply, take high bits.
static size_t homeSlot(const HandleTable& table, const void* handle)
{
    const uint64_t product = uint64_t{reinterpret_cast<uintptr_t>(handle)} * 0x9E3779B97F4A7C15u;
    return static_cast<size_t>(product >> 32) & (table.capacity - 1);
}

// The handle's slot, or the free slot where its search ends.
static size_t slotOf(const HandleTable& table, const void* handle)
{
    size_t slot = homeSlot(table, handle);
    while (table.slots[slot].handle && table.slots[slot].handle != handle)
        slot = (slot + 1) & (table.capacity - 1);
    return slot;
}

static bool grow(HandleTable& table)
{
    const size_t capacity = table.capacity ? table.capacity * 2 : 16;
    auto* slots = static_cast<HandleEntry*>(calloc(capacity, sizeof(HandleEntry)));
    if (!slots)
        return false;
    HandleTable larger = {slots, capacity, table.count};
    for (size_t i = 0; i < table.capacity; i++) {
        if (table.slots[i].handle)
            slots[slotOf(larger, table.slots[i].handle)] = table.slots[i];
    }
    free(table.slots);
    table = larger;
    return true;
}

bool addHandle(HandleTable& table, const void* handle, void* object)
{
    // Half empty at least, so that searches stay short and always end.
    if (table.count * 2 >= table.capacity && !grow(table))
        return false;
    table.slots[slotOf(table, handle)] = {handle, object};
    table.count++;
    return true;
}

void* findHandle(const HandleTable& table, const void* handle)
{
    if (!table.count || !handle)
        return nullptr;
    return table.slots[slotOf(table, handle)].object;
}

void* removeHandle(HandleTable& table, const void* handle)
{
    void* object = findHandle(table, handle);
    if (!object)
        return nullptr;
    size_t hole = slotOf(table, handle);
    // Move back what a search would no longer reach over the hole.
    const size_t mask = table.capacity - 1;
    for (size_t i = (hole + 1) & mask; table.slots[i].handle; i = (i + 1) & mask) {
        const size_t home = homeSlot(table, table.slots[i].handle);
        if (((i - home) & mask) >= ((i - hole) & mask)) {
            table.slots[hole] = table.slots[i];
            hole = i;
        }
    }
    table.slots[hole] = {};
    table.count--;
    return object;
}

} // namespace quib
