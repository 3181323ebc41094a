// Runs each case of the benchmarks once under the counting plugin and prints, as
// columns between tabs, its name, its size, and how many instructions and lane moves
// a pixel took. An argument leaves out the cases whose names do not contain it.
#include "benchmarks/bench.h"
#include "benchmarks/families.h"
#include "benchmarks/instructions/counter.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <vips/vips.h>

// Peers are no part of this program: their functions give 0, save the one that
// decides whether their cases are there.
extern "C" int vips_version(int flag)
{
    return flag == 3 ? VIPS_LIBRARY_CURRENT : VIPS_LIBRARY_AGE;
}

namespace
{

std::vector<Case>& cases()
{
    static std::vector<Case> all;
    return all;
}

// 0 where no plugin answers.
uint64_t counted(int descriptor)
{
    uint64_t count = 0;
    keep(&count);
    if (write(descriptor, &count, sizeof count) > 0)
        std::fputs("The descriptor of a count is a file's.\n", stderr);
    keep(&count);
    return count;
}

void print(const Case& subject)
{
    subject.ours(); // what is made at the first call alone
    const uint64_t start = counted(INSTRUCTIONS_DESCRIPTOR);
    const uint64_t asking = counted(INSTRUCTIONS_DESCRIPTOR) - start;
    const uint64_t movesBefore = counted(LANE_MOVES_DESCRIPTOR);
    const uint64_t before = counted(INSTRUCTIONS_DESCRIPTOR);
    subject.ours();
    const uint64_t instructions = counted(INSTRUCTIONS_DESCRIPTOR) - before - asking;
    const uint64_t moves = counted(LANE_MOVES_DESCRIPTOR) - movesBefore;
    const double pixels = static_cast<double>(subject.width) * subject.height;
    std::printf("%s\t%dx%d\t%.2f\t%.2f\n", subject.operation.c_str(), subject.width, subject.height,
                static_cast<double>(instructions) / pixels, static_cast<double>(moves) / pixels);
    std::fflush(stdout);
}

} // namespace

void addCase(Case benchmarkCase)
{
    cases().push_back(std::move(benchmarkCase));
}

int main(int argc, char** argv)
{
    if (counted(INSTRUCTIONS_DESCRIPTOR) == 0) {
        std::fputs("No plugin counts.\n", stderr);
        return 1;
    }
    const std::string filter = argc > 1 ? argv[1] : "";
    addAllCases();
    for (const Case& subject : cases())
        if (subject.operation.find(filter) != std::string::npos)
            print(subject);
    return 0;
}
