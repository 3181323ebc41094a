// Files to read, as bytes, of any length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace quib
{

class File
{
public:
    explicit File(const char* name) : stream(std::fopen(name, "rb")) {}
    ~File()
    {
        if (stream)
            std::fclose(stream);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // Nothing else may be asked of a file that is not.
    bool isOpen() const { return stream != nullptr; }
    // How many bytes there were, at most `count`.
    size_t read(void* bytes, size_t count) const { return std::fread(bytes, 1, count, stream); }
    // How many bytes there are from here to the end; 0 for what has no end.
    uint64_t left() const
    {
        const int64_t here = tell();
        if (here < 0 || !seek(0, SEEK_END))
            return 0;
        const int64_t end = tell();
        return seek(here, SEEK_SET) && end > here ? static_cast<uint64_t>(end - here) : 0;
    }
    bool skip(uint64_t count) const
    {
        return count <= left() && seek(static_cast<int64_t>(count), SEEK_CUR);
    }

private:
#if defined(_WIN32)
    int64_t tell() const
    {
        return _ftelli64(stream);
    }
    bool seek(int64_t offset, int origin) const
    {
        return _fseeki64(stream, offset, origin) == 0;
    }
#else
    int64_t tell() const
    {
        return ftello(stream);
    }
    bool seek(int64_t offset, int origin) const
    {
        return fseeko(stream, static_cast<off_t>(offset), origin) == 0;
    }
#endif

    std::FILE* stream;
};

} // namespace quib
