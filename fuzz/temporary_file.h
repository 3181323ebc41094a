// The file that a fuzz target hands to the library by name.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

class TemporaryFile
{
public:
    TemporaryFile()
        : path((std::filesystem::temp_directory_path() /
                ("quib_fuzz_" + std::to_string(std::random_device()())))
                   .string())
    {
    }
    ~TemporaryFile() { std::remove(path.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const char* write(const uint8_t* data, size_t size) const
    {
        std::FILE* file = std::fopen(path.c_str(), "wb");
        if (!file)
            std::abort();
        if (size > 0 && std::fwrite(data, 1, size, file) != size)
            std::abort();
        std::fclose(file);
        return path.c_str();
    }

private:
    std::string path;
};
