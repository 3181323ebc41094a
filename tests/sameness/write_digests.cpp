// Writes the digests of the corpus to standard output, and fails if the levels of
// this processor do not agree on them.
#include "tests/sameness/digestfile.h"
#include "tests/support/levels.h"

#include <cstdio>
#include <iostream>

namespace
{

// The first case that another level, or other bytes in new memory, make something
// else of.
bool isSame(const CorpusFunction& function, const FunctionDigests& digests, const char* level,
            uint8_t memory)
{
    const FunctionDigests others = digestsOf(function, memory);
    if (others == digests)
        return true;
    size_t number = 0;
    while (number + 1 < digests.cases.size() && others.cases[number] == digests.cases[number])
        ++number;
    const std::string arguments =
        runCorpusCase(function, static_cast<int32_t>(number), memory).arguments;
    std::fprintf(stderr, "%s, case %d differs at %s, in memory of %d: %s\n", function.name,
                 static_cast<int>(number), level, memory, arguments.c_str());
    return false;
}

} // namespace

int main()
{
    bool areSame = true;
    std::cout << "# Digests of the corpus of calls; CONTRIBUTING.md says when they may change.\n";
    for (const CorpusFunction& function : corpusFunctions()) {
        quib::useKernelLevel(quib::KernelLevel::base);
        const FunctionDigests digests = digestsOf(function, 0);
        uint8_t memory = 0;
        for (const quib::Kernels* table : availableLevels()) {
            quib::useKernelLevel(table->level);
            memory += 0x55;
            areSame = isSame(function, digests, table->levelName, memory) && areSame;
        }
        writeDigests(std::cout, function.name, digests);
    }
    return areSame ? 0 : 1;
}
