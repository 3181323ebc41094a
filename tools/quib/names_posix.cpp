#include "tools/quib/names.h"

namespace fs = std::filesystem;

std::vector<std::string> commandLine(int argc, char** argv)
{
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

fs::path pathOf(const std::string& name)
{
    return name;
}

std::string nameOf(const fs::path& path)
{
    return path.string();
}

std::string keyOf(const std::string& name)
{
    return name;
}

std::FILE* openFile(const std::string& name, const char* mode)
{
    return std::fopen(name.c_str(), mode);
}

LibraryName::~LibraryName() = default;

Problem LibraryName::find(const std::string& name)
{
    text = name;
    return {};
}

void prepareStreams() {}
