// Calls that may fault.
#pragma once

// Calls work(context). False if the platform raised an exception in it, which then
// ended the call where it was: what it holds stays allocated.
bool ownCallGuarded(void (*work)(void* context), void* context);
