// Files that live as long as a test's object.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

// A file of these bytes, of a name of its own.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::vector<uint8_t>& bytes) : path(freePath())
    {
        std::FILE* file = std::fopen(path.c_str(), "wb");
        EXPECT_NE(file, nullptr);
        if (!bytes.empty()) {
            EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
        }
        std::fclose(file);
    }
    ~TemporaryFile() { std::remove(path.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const char* name() const { return path.c_str(); }

private:
    static std::string freePath()
    {
        std::random_device random;
        const std::string name =
            "quib_" + std::to_string(random()) + "_" + std::to_string(random()) + ".tmp";
        return (std::filesystem::temp_directory_path() / name).string();
    }

    std::string path;
};
