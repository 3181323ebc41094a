#include "tools/quib/names.h"

#include "tools/quib/wide.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace fs = std::filesystem;

namespace
{

std::string encode(const std::wstring& text, UINT codePage)
{
    const int length = static_cast<int>(text.size());
    const int count =
        WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(count), '\0');
    WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), count, nullptr, nullptr);
    return bytes;
}

std::wstring decode(const std::string& bytes, UINT codePage)
{
    const int length = static_cast<int>(bytes.size());
    const int count = MultiByteToWideChar(codePage, 0, bytes.data(), length, nullptr, 0);
    std::wstring text(static_cast<size_t>(count), L'\0');
    MultiByteToWideChar(codePage, 0, bytes.data(), length, text.data(), count);
    return text;
}

// The name in the system's code page, if that has all of its characters.
bool isInCodePage(const std::wstring& name, std::string* text)
{
    *text = encode(name, CP_ACP);
    return decode(*text, CP_ACP) == name;
}

std::wstring shortName(const std::wstring& name)
{
    std::wstring made(GetShortPathNameW(name.c_str(), nullptr, 0), L'\0');
    made.resize(GetShortPathNameW(name.c_str(), made.data(), static_cast<DWORD>(made.size())));
    return made;
}

// An empty file with a name of its own; an empty name if there can be none.
std::wstring makeTemporary()
{
    std::array<wchar_t, MAX_PATH + 1> folder{};
    std::array<wchar_t, MAX_PATH + 1> name{};
    if (!GetTempPathW(MAX_PATH, folder.data()) ||
        !GetTempFileNameW(folder.data(), L"qui", 0, name.data()))
        return {};
    return name.data();
}

UINT consoleCodePage = 0;

void restoreConsole()
{
    SetConsoleOutputCP(consoleCodePage);
}

} // namespace

std::wstring toWide(const std::string& text)
{
    return decode(text, CP_UTF8);
}

std::string fromWide(const std::wstring& text)
{
    return encode(text, CP_UTF8);
}

std::vector<std::string> commandLine(int, char**)
{
    std::vector<std::string> words;
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; wide && i < count; ++i)
        words.push_back(fromWide(wide[i]));
    LocalFree(wide);
    return words;
}

// The runtime finds no folder whose name ends in a slash.
fs::path pathOf(const std::string& name)
{
    std::wstring text = toWide(name);
    const auto isSlash = [&](size_t i) { return text[i] == L'/' || text[i] == L'\\'; };
    while (text.size() > 1 && isSlash(text.size() - 1) && text[text.size() - 2] != L':')
        text.pop_back();
    return text;
}

std::string nameOf(const fs::path& path)
{
    return fromWide(path.wstring());
}

std::string keyOf(const std::string& name)
{
    std::wstring text = pathOf(name).lexically_normal().wstring();
    std::replace(text.begin(), text.end(), L'/', L'\\');
    CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return fromWide(text);
}

std::FILE* openFile(const std::string& name, const char* mode)
{
    return _wfopen(toWide(name).c_str(), toWide(mode).c_str());
}

LibraryName::~LibraryName()
{
    if (!copy.empty())
        DeleteFileW(copy.c_str());
}

Problem LibraryName::find(const std::string& name)
{
    const std::wstring wide = toWide(name);
    if (isInCodePage(wide, &text))
        return {};
    copy = makeTemporary();
    const bool isCopied = !copy.empty() && CopyFileW(wide.c_str(), copy.c_str(), FALSE);
    if (isCopied && (isInCodePage(copy, &text) || isInCodePage(shortName(copy), &text)))
        return {};
    return "the file's name is not in the system's code page, and no copy of it could be made in "
           "the folder for temporary files";
}

void prepareStreams()
{
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    consoleCodePage = GetConsoleOutputCP();
    if (consoleCodePage && SetConsoleOutputCP(CP_UTF8))
        std::atexit(restoreConsole);
}
