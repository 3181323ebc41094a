// Names of files and words of the command line: UTF-8 in this program on Windows, and
// elsewhere the bytes that the system has.
#pragma once

#include "tools/quib/problem.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

// The words behind the program's name.
std::vector<std::string> commandLine(int argc, char** argv);

std::filesystem::path pathOf(const std::string& name);
std::string nameOf(const std::filesystem::path& path);

// The same for two names exactly if the system would take them for one.
std::string keyOf(const std::string& name);

// As fopen does.
std::FILE* openFile(const std::string& name, const char* mode);

// A name for the library, whose functions take what fopen takes. On Windows that has the
// characters of the system's code page alone: a file with others in its name is copied
// aside for as long as this record lives.
class LibraryName
{
public:
    LibraryName() = default;
    ~LibraryName();
    LibraryName(const LibraryName&) = delete;
    LibraryName& operator=(const LibraryName&) = delete;

    Problem find(const std::string& name);
    const char* get() const { return text.c_str(); }

private:
    std::string text;
    std::filesystem::path copy;
};

// Streams take bytes as they are and, on a console, as UTF-8.
void prepareStreams();
