// The file that a fuzz target hands to the library by name.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#else
#include <filesystem>
#include <random>
#endif

class TemporaryFile
{
public:
#if defined(__linux__)
    // It lies in memory: it is written and read thousands of times a second.
    TemporaryFile()
        : descriptor(memfd_create("quib_fuzz", MFD_CLOEXEC)),
          path("/proc/self/fd/" + std::to_string(descriptor))
    {
    }
    ~TemporaryFile()
    {
        close(descriptor);
    }

    const char* write(const uint8_t* data, size_t size) const
    {
        const ssize_t all = static_cast<ssize_t>(size);
        if (ftruncate(descriptor, 0) != 0 || pwrite(descriptor, data, size, 0) != all)
            std::abort();
        return path.c_str();
    }
#else
    TemporaryFile()
        : path((std::filesystem::temp_directory_path() /
                ("quib_fuzz_" + std::to_string(std::random_device()())))
                   .string())
    {
    }
    ~TemporaryFile()
    {
        std::remove(path.c_str());
    }

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
#endif
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

private:
#if defined(__linux__)
    int descriptor;
#endif
    std::string path;
};
