// A corpus of calls: every exported function and every one of the engine's, with
// arguments made from a seed, and a digest of all that each call leaves.
//
// A case is told by its function's name and its number alone, so that functions and
// cases can be added without a change to the digests of others. Reports come back to
// the function that makes them, and belong to the result. Each choice stands in a
// statement of its own: compilers differ in the order of a call's arguments.
#pragma once

#include "tests/sameness/digest.h"
#include "tests/support/random.h"

#include <cstddef>
#include <string>
#include <vector>

// A case under way: what its arguments are chosen by, the choices in words, and the
// digest of what came of them.
class Call
{
public:
    explicit Call(uint64_t seed) : random(seed) {}

    // From low to high, both inclusive; a name goes into the words.
    int32_t choose(const char* name, int32_t low, int32_t high)
    {
        return note(name, random.between(low, high));
    }
    template<class T, size_t count>
    T oneOf(const char* name, const T (&values)[count])
    {
        return note(name, values[random.between(0, static_cast<int32_t>(count) - 1)]);
    }
    // A sixteenth's multiple.
    double sixteenths(const char* name, int32_t low, int32_t high)
    {
        return note(name, random.between(low * 16, high * 16) / 16.0);
    }
    // One time in so many.
    bool oneIn(int32_t times) { return random.between(1, times) == 1; }

    template<class T>
    T note(const char* name, T value)
    {
        words += std::string(words.empty() ? "" : ", ") + name + " " + std::to_string(value);
        return value;
    }
    void say(const std::string& more) { words += more; }

    Random random;
    Digest digest;
    std::string words;
};

struct CorpusFunction {
    const char* name;
    void (*run)(Call& call);
    int32_t cases = 96;
};

// All functions, those that are exported first, each in the order of the names.
std::vector<CorpusFunction> corpusFunctions();
std::vector<CorpusFunction> corpusOfSurface();
std::vector<CorpusFunction> corpusOfFiles();
std::vector<CorpusFunction> corpusOfEngine();

// What a case gives at the level in use. New blocks of memory are filled with
// `memory`, on which nothing must depend.
struct CorpusResult {
    uint64_t digest;
    std::string arguments;
};
CorpusResult runCorpusCase(const CorpusFunction& function, int32_t number, uint8_t memory);
