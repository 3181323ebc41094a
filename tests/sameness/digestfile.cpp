#include "tests/sameness/digestfile.h"

#include <fstream>
#include <iomanip>
#include <ostream>
#include <sstream>

FunctionDigests digestsOf(const CorpusFunction& function, uint8_t memory)
{
    FunctionDigests digests;
    Digest all;
    for (int32_t i = 0; i < function.cases; ++i) {
        const uint64_t digest = runCorpusCase(function, i, memory).digest;
        all.number(digest);
        digests.cases.push_back(static_cast<uint32_t>(digest >> 32));
    }
    digests.all = all.get();
    return digests;
}

void writeDigests(std::ostream& out, const std::string& name, const FunctionDigests& digests)
{
    constexpr size_t inLine = 10;
    out << name << ' ' << std::dec << digests.cases.size() << ' ' << std::hex << std::setfill('0')
        << std::setw(16) << digests.all << '\n';
    for (size_t i = 0; i < digests.cases.size(); ++i) {
        if (i % inLine == 0)
            out << ' ' << std::dec << i << std::hex;
        out << ' ' << std::setw(8) << digests.cases[i];
        if (i % inLine == inLine - 1 || i + 1 == digests.cases.size())
            out << '\n';
    }
}

std::map<std::string, FunctionDigests> readDigests(const std::string& fileName)
{
    std::map<std::string, FunctionDigests> functions;
    std::ifstream file(fileName);
    std::string line;
    FunctionDigests* current = nullptr;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string first;
        size_t count = 0;
        if (line.empty() || line[0] == '#')
            continue;
        words >> first;
        if (line[0] != ' ') {
            current = &functions[first];
            words >> count >> std::hex >> current->all;
            continue;
        }
        uint32_t digest = 0;
        while (current && words >> std::hex >> digest)
            current->cases.push_back(digest);
    }
    return functions;
}
