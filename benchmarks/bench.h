// What a benchmark of this project is: one operation of the library beside what
// a program would pick instead, on the same pixels in the same run.
#pragma once

#include <functional>
#include <string>

// What a case is to reach; zero members say nothing.
struct Limit {
    double ratio = 0;            // of the peer's time
    double microseconds = 0;     // for one call
    double microsecondsMore = 0; // than the peer, for one call
};

// The functions each run the operation once. `theirs` and `floor` may be empty;
// `floor` moves the same bytes by memcpy or memset.
struct Case {
    std::string operation;
    int width = 0;
    int height = 0;
    Limit limit;
    std::function<void()> ours;
    std::string peer;
    std::function<void()> theirs;
    std::function<void()> floor;
};

void addCase(Case benchmarkCase);

// Keeps the compiler from leaving out work whose result nobody reads.
inline void keep(const void* result)
{
    asm volatile("" : : "g"(result) : "memory");
}
