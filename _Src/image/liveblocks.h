// Which of the library's records and pixel blocks live: they can be read, which
// is told here without asking the system. Right from any number of threads, as
// long as a block that one of them asks about is not being freed by another.
#pragma once

#include <cstddef>

// Between these two calls the block lives. Either takes no lock and cannot fail;
// where there is no room to remember a block, it counts as unknown.
void ownRememberBlock(const void* block, size_t bytes);
// A block that is unknown, or null, is left at that.
void ownForgetBlock(const void* block);

// Whether `block` is the start of a block that lives and holds the `bytes` bytes
// at `first`. False says nothing about them.
bool ownIsInLiveBlock(const void* block, const void* first, size_t bytes);
