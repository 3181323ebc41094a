// The digests that are checked in: for each function a line with its name, the
// number of its cases and a digest of all their digests, then lines with the number
// of a case and the upper halves of the digests from it on.
#pragma once

#include "tests/sameness/corpus.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

struct FunctionDigests {
    uint64_t all = 0;
    std::vector<uint32_t> cases;

    bool operator==(const FunctionDigests&) const = default;
};

// Runs all cases of a function at the level in use.
FunctionDigests digestsOf(const CorpusFunction& function, uint8_t memory);

void writeDigests(std::ostream& out, const std::string& name, const FunctionDigests& digests);
std::map<std::string, FunctionDigests> readDigests(const std::string& fileName);
