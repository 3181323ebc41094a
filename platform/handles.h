// The live handles of one kind, each with the object behind it. A handle that
// comes from outside is looked up here before anything behind it is touched,
// so a bad one is a miss and never a fault. Callers hold a lock of their own.
#pragma once

#include <cstddef>

namespace quib
{

struct HandleEntry {
    const void* handle; // null in a free slot
    void* object;
};

// An open hash table, all zero when empty; its slots are a power of two.
struct HandleTable {
    HandleEntry* slots;
    size_t capacity;
    size_t count;
};

// False, with nothing changed, if memory runs out. `handle` is not null and
// not in the table.
bool addHandle(HandleTable& table, const void* handle, void* object);
// The object, or null for a handle that is not in the table.
void* findHandle(const HandleTable& table, const void* handle);
// Takes the handle out and gives its object, or null if it was not in.
void* removeHandle(HandleTable& table, const void* handle);

} // namespace quib
