#include "tools/quib/files.h"

#include "tools/quib/formats.h"
#include "tools/quib/names.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace
{

struct Ending {
    const char* text;
    Format format;
};
constexpr Ending endings[] = {
    {".bmp", Format::bmp},   {".dib", Format::bmp}, {".png", Format::png}, {".jpg", Format::jpeg},
    {".jpeg", Format::jpeg}, {".psd", Format::psd}, {".psb", Format::psd}};
constexpr const char* maskSuffix = ":mask";

bool isBuiltIn(Format format)
{
#ifndef QUIB_WITH_PNG
    if (format == Format::png)
        return false;
#endif
#ifndef QUIB_WITH_JPEG
    if (format == Format::jpeg)
        return false;
#endif
    return format != Format::none;
}

Format formatOfBytes(const unsigned char (&head)[8], size_t size)
{
    const auto begins = [&](const char* magic, size_t length) {
        return size >= length && std::memcmp(head, magic, length) == 0;
    };
    if (begins("BM", 2))
        return Format::bmp;
    if (begins("\x89PNG\r\n\x1a\n", 8))
        return Format::png;
    if (begins("\xFF\xD8\xFF", 3))
        return Format::jpeg;
    if (begins("8BPS", 4))
        return Format::psd;
    return Format::none;
}

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

Problem loadPsd(const std::string& file, bool wantsMask, Picture* picture)
{
    IplImage* image = nullptr;
    IplImage* mask = nullptr;
    LibraryName name;
    const Problem problem = name.find(file);
    if (!problem.empty())
        return problem;
    const QuibStatus status = QuibLoadFramePsd2Bmp(name.get(), &image, &mask);
    Picture ownedImage(image), ownedMask(mask);
    if (status != QUIB_OK)
        return "no picture could be read from this PSD file; expected are two layers with pixels, "
               "both with a mask or transparency (" +
               explainStatus("QuibLoadFramePsd2Bmp", status) + ")";
    *picture = std::move(wantsMask ? ownedMask : ownedImage);
    return *picture ? Problem() : Problem("the PSD file has no such part");
}

Problem notBuiltIn(const char* format)
{
    return std::string(format) + " files are not part of this build of quib";
}

Problem loadAs(Format format, const std::string& name, [[maybe_unused]] std::FILE* file,
               Picture* picture)
{
    switch (format) {
    case Format::bmp:
        return loadBmp(name, picture);
    case Format::psd:
        return loadPsd(name, false, picture);
    case Format::png:
#ifdef QUIB_WITH_PNG
        return loadPng(file, picture);
#else
        return notBuiltIn("PNG");
#endif
    case Format::jpeg:
#ifdef QUIB_WITH_JPEG
        return loadJpeg(file, picture);
#else
        return notBuiltIn("JPEG");
#endif
    case Format::none:
        break;
    }
    return "this is no picture that can be read (BMP, PNG, JPEG or PSD)";
}

} // namespace

std::string systemReason()
{
    return std::strerror(errno);
}

Format formatOfName(const std::string& name)
{
    std::string ending = nameOf(pathOf(name).extension());
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const Ending& known : endings)
        if (ending == known.text)
            return known.format;
    return Format::none;
}

std::vector<std::string> readableEndings()
{
    std::vector<std::string> found;
    for (const Ending& known : endings)
        if (isBuiltIn(known.format))
            found.emplace_back(known.text);
    return found;
}

std::vector<std::string> writableEndings()
{
    std::vector<std::string> found;
    for (const Ending& known : endings)
        if (isBuiltIn(known.format) && known.format != Format::psd)
            found.emplace_back(known.text);
    return found;
}

Problem loadPicture(const std::string& file, Picture* picture)
{
    std::string name = file;
    const bool wantsMask = endsWith(name, maskSuffix);
    if (wantsMask)
        name.resize(name.size() - std::strlen(maskSuffix));
    std::error_code error;
    const std::filesystem::path path = pathOf(name);
    if (std::filesystem::is_directory(path, error))
        return "this is a folder, expected a picture file";
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
        return "this is no ordinary file";
    File opened(openFile(name, "rb"));
    if (!opened)
        return "the file cannot be opened: " + systemReason();
    unsigned char head[8] = {};
    const size_t size = std::fread(head, 1, sizeof head, opened.get());
    if (std::ferror(opened.get()))
        return "the file cannot be read: " + systemReason();
    if (size == 0)
        return "the file is empty";
    std::rewind(opened.get());
    const Format format = formatOfBytes(head, size);
    if (wantsMask && format != Format::psd)
        return "only PSD files have a part ':mask'";
    return wantsMask ? loadPsd(name, true, picture) : loadAs(format, name, opened.get(), picture);
}

Problem savePicture(const Picture& picture, Format format,
                    [[maybe_unused]] const SaveOptions& options, const std::string& file)
{
    File opened(openFile(file, "wb"));
    if (!opened)
        return "the file cannot be written: " + systemReason();
    Problem problem;
    switch (format) {
    case Format::bmp:
        problem = saveBmp(picture, opened.get());
        break;
#ifdef QUIB_WITH_PNG
    case Format::png:
        problem = savePng(picture, options, opened.get());
        break;
#endif
#ifdef QUIB_WITH_JPEG
    case Format::jpeg:
        problem = saveJpeg(picture, options, opened.get());
        break;
#endif
    default:
        problem = notBuiltIn("such");
    }
    const bool wasWritten = std::ferror(opened.get()) == 0;
    if (std::fclose(opened.release()) != 0 || !wasWritten)
        return "the file cannot be written: " + systemReason();
    return problem;
}

std::string libraryVersions()
{
    std::string text = "BMP and PSD by the library";
#ifdef QUIB_WITH_PNG
    text += "; PNG by " + pngVersion();
#else
    text += "; without PNG";
#endif
#ifdef QUIB_WITH_JPEG
    text += "; JPEG by " + jpegVersion();
#else
    text += "; without JPEG";
#endif
    return text;
}
