#include "tools/quib/process.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

struct Process {
    pid_t id = -1;
    int to = -1;
    int from = -1;
    std::array<char, 4096> buffer{};
    size_t at = 0;
    size_t end = 0;
};

namespace
{

volatile std::sig_atomic_t wasInterrupted = 0;

void noteInterrupt(int)
{
    wasInterrupted = 1;
}

void closeIfOpen(int* descriptor)
{
    if (*descriptor >= 0)
        close(*descriptor);
    *descriptor = -1;
}

bool openPipes(int (&in)[2], int (&out)[2])
{
    if (pipe2(in, O_CLOEXEC) != 0)
        return false;
    if (pipe2(out, O_CLOEXEC) == 0)
        return true;
    close(in[0]);
    close(in[1]);
    return false;
}

int spawn(const std::vector<std::string>& arguments, int in, int out, pid_t* id)
{
    std::vector<char*> words;
    std::string name = "quib";
    words.push_back(name.data());
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in, 0);
    posix_spawn_file_actions_adddup2(&actions, out, 1);
    const int error = posix_spawn(id, "/proc/self/exe", &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

bool readMore(Process* process)
{
    ssize_t count = 0;
    do
        count = read(process->from, process->buffer.data(), process->buffer.size());
    while (count < 0 && errno == EINTR);
    process->at = 0;
    process->end = count > 0 ? static_cast<size_t>(count) : 0;
    return count > 0;
}

std::string describe(int status)
{
    if (WIFSIGNALED(status))
        return WTERMSIG(status) == SIGKILL
                   ? "it was killed, as happens when the machine has no more memory"
                   : std::string("it was stopped by a signal: ") + strsignal(WTERMSIG(status));
    return "it ended with status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

ProcessHandle startSelf(const std::vector<std::string>& arguments, std::string* reason)
{
    int in[2];
    int out[2];
    if (!openPipes(in, out)) {
        *reason = std::strerror(errno);
        return nullptr;
    }
    ProcessHandle process(new Process);
    process->to = in[1];
    process->from = out[0];
    const int error = spawn(arguments, in[0], out[1], &process->id);
    close(in[0]);
    close(out[1]);
    if (error == 0)
        return process;
    process->id = -1;
    *reason = std::strerror(error);
    return nullptr;
}

bool tell(Process* process, const std::string& bytes)
{
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = write(process->to, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR)
            return false;
        done += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return true;
}

bool hear(Process* process, std::string* message)
{
    message->clear();
    for (;;) {
        if (process->at == process->end && !readMore(process))
            return false;
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
    int status = 0;
    while (process->id >= 0 && waitpid(process->id, &status, 0) < 0 && errno == EINTR)
        continue;
    process->id = -1;
    return describe(status);
}

void ProcessEnder::operator()(Process* process) const
{
    awaitEnd(process);
    delete process;
}

// What asks for more memory than the machine has is refused, and so does not end others.
void prepareWorker()
{
#if !defined(__SANITIZE_ADDRESS__)
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageBytes = sysconf(_SC_PAGESIZE);
    if (sizeof(void*) < 8 || pages <= 0 || pageBytes <= 0)
        return;
    const rlim_t most = static_cast<rlim_t>(pages) * static_cast<rlim_t>(pageBytes);
    const rlimit limit{most, most};
    setrlimit(RLIMIT_AS, &limit);
#endif
}

void prepareMaster()
{
    std::signal(SIGPIPE, SIG_IGN);
    struct sigaction action {
    };
    action.sa_handler = noteInterrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool isInterrupted()
{
    return wasInterrupted != 0;
}

bool isTerminal(int descriptor)
{
    return isatty(descriptor) == 1;
}
