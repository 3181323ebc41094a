#include "tools/quib/process.h"

#include "tools/quib/wide.h"

#include <array>
#include <cstdio>
#include <mutex>

#include <windows.h>

#include <fcntl.h>
#include <io.h>

struct Process {
    HANDLE id = nullptr;
    HANDLE to = nullptr;
    HANDLE from = nullptr;
    std::array<char, 4096> buffer{};
    DWORD at = 0;
    DWORD end = 0;
};

namespace
{

volatile LONG wasInterrupted = 0;
// A process inherits every handle that can be: those of another start must not be there yet.
std::mutex starting;

BOOL WINAPI noteInterrupt(DWORD)
{
    InterlockedExchange(&wasInterrupted, 1);
    return TRUE;
}

LONG WINAPI endAtFault(EXCEPTION_POINTERS* fault)
{
    TerminateProcess(GetCurrentProcess(), fault->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

void closeIfOpen(HANDLE* handle)
{
    if (*handle)
        CloseHandle(*handle);
    *handle = nullptr;
}

// As the program that reads the line takes it apart: a backslash counts as such unless a
// quote follows.
void appendQuoted(const std::wstring& word, std::wstring* line)
{
    *line += L' ';
    const bool needsQuotes = word.empty() || word.find_first_of(L" \t\"") != std::wstring::npos;
    size_t slashes = 0;
    if (needsQuotes)
        *line += L'"';
    for (const wchar_t c : word) {
        if (c == L'"')
            line->append(slashes + 1, L'\\');
        slashes = c == L'\\' ? slashes + 1 : 0;
        *line += c;
    }
    if (needsQuotes)
        line->append(slashes, L'\\') += L'"';
}

std::wstring ownFile()
{
    std::wstring name(MAX_PATH, L'\0');
    for (;;) {
        const DWORD size = static_cast<DWORD>(name.size());
        const DWORD length = GetModuleFileNameW(nullptr, name.data(), size);
        name.resize(length < size ? length : 2 * name.size());
        if (length < size)
            return name;
    }
}

bool spawn(std::wstring line, HANDLE in, HANDLE out, HANDLE* id)
{
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = in;
    start.hStdOutput = out;
    start.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION made{};
    // Wine refuses one in some thousands of new processes for no reason.
    for (int attempt = 1; !CreateProcessW(ownFile().c_str(), line.data(), nullptr, nullptr, TRUE, 0,
                                          nullptr, nullptr, &start, &made);
         ++attempt)
        if (GetLastError() != ERROR_INTERNAL_ERROR || attempt == 3)
            return false;
    CloseHandle(made.hThread);
    *id = made.hProcess;
    return true;
}

std::string describe(DWORD status)
{
    char text[64];
    const bool isException = status >= 0xC0000000;
    std::snprintf(
        text, sizeof text,
        isException ? "it was stopped by the exception %08lx" : "it ended with status %lu", status);
    return text;
}

} // namespace

ProcessHandle startSelf(const std::vector<std::string>& arguments, std::string* reason)
{
    std::wstring line = L"quib";
    for (const std::string& argument : arguments)
        appendQuoted(toWide(argument), &line);
    ProcessHandle process(new Process);
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    HANDLE in = nullptr;
    HANDLE out = nullptr;
    const std::lock_guard<std::mutex> lock(starting);
    const bool isStarted = CreatePipe(&in, &process->to, &inherited, 0) &&
                           CreatePipe(&process->from, &out, &inherited, 0) &&
                           SetHandleInformation(process->to, HANDLE_FLAG_INHERIT, 0) &&
                           SetHandleInformation(process->from, HANDLE_FLAG_INHERIT, 0) &&
                           spawn(line, in, out, &process->id);
    if (!isStarted)
        *reason = "error " + std::to_string(GetLastError()) + " of the system";
    closeIfOpen(&in);
    closeIfOpen(&out);
    return isStarted ? std::move(process) : nullptr;
}

bool tell(Process* process, const std::string& bytes)
{
    DWORD done = 0;
    return WriteFile(process->to, bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr) &&
           done == bytes.size();
}

bool hear(Process* process, std::string* message)
{
    message->clear();
    for (;;) {
        if (process->at == process->end) {
            process->at = 0;
            process->end = 0;
            const DWORD most = static_cast<DWORD>(process->buffer.size());
            if (!ReadFile(process->from, process->buffer.data(), most, &process->end, nullptr) ||
                process->end == 0)
                return false;
        }
        const char c = process->buffer[process->at++];
        if (c == '\0')
            return true;
        *message += c;
    }
}

std::string awaitEnd(Process* process)
{
    closeIfOpen(&process->to);
    closeIfOpen(&process->from);
    DWORD status = 0;
    if (process->id) {
        WaitForSingleObject(process->id, INFINITE);
        GetExitCodeProcess(process->id, &status);
    }
    closeIfOpen(&process->id);
    return describe(status);
}

void ProcessEnder::operator()(Process* process) const
{
    awaitEnd(process);
    delete process;
}

// A request for more memory than the system has is refused by the system itself. A fault
// brings no window or debugger that waits for somebody.
void prepareWorker()
{
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(endAtFault);
    _setmode(_fileno(stdin), _O_BINARY);
}

void prepareMaster()
{
    SetConsoleCtrlHandler(noteInterrupt, TRUE);
}

bool isInterrupted()
{
    return wasInterrupted != 0;
}

// A console that takes the sequences which clear a line, as all do since Windows 10.
bool isTerminal(int descriptor)
{
    const auto console = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) &&
           SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}
