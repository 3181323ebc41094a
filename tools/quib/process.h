// Other processes of this program, with a pipe in each direction.
#pragma once

#include <memory>
#include <string>
#include <vector>

struct Process;
struct ProcessEnder {
    void operator()(Process* process) const;
};
using ProcessHandle = std::unique_ptr<Process, ProcessEnder>; // ends and awaits it

// Starts this program with arguments; null, with the reason, if it cannot be.
ProcessHandle startSelf(const std::vector<std::string>& arguments, std::string* reason);

// False if it is gone.
bool tell(Process* process, const std::string& bytes);

// The bytes up to the next 0; false if it is gone.
bool hear(Process* process, std::string* message);

// Awaits a process that is gone; says how it went.
std::string awaitEnd(Process* process);

// What this process does at its own start, as one that was started, and as one that starts.
void prepareWorker();
void prepareMaster();

// An interrupt has been asked for.
bool isInterrupted();

bool isTerminal(int descriptor);
