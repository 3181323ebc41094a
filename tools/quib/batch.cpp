#include "tools/quib/batch.h"

#include "tools/quib/names.h"
#include "tools/quib/process.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <random>
#include <thread>

namespace fs = std::filesystem;

namespace
{

constexpr int stderrDescriptor = 2;

// What the threads share. Each has a process of its own.
struct Batch {
    const Plan& plan;
    const std::vector<std::string>& words;
    const std::vector<Job>& jobs;
    std::string mark; // in the names of unfinished files
    std::atomic<size_t> next{0};
    std::mutex reporting{};
    size_t done = 0;
    size_t failed = 0;
    bool showsBar = false;
};

void drawBar(const Batch& batch)
{
    constexpr size_t width = 30;
    const size_t filled = batch.done * width / batch.jobs.size();
    std::string bar(filled, '#');
    bar.resize(width, '.');
    std::string text = "\r[" + bar + "] " + std::to_string(batch.done) + " of " +
                       std::to_string(batch.jobs.size());
    if (batch.failed)
        text += ", " + std::to_string(batch.failed) + " failed";
    print(stderr, text);
}

void clearBar(const Batch& batch)
{
    if (batch.showsBar)
        print(stderr, "\r\033[K");
}

void report(Batch* batch, const Job& job, const Problem& problem, double seconds)
{
    const std::lock_guard<std::mutex> lock(batch->reporting);
    ++batch->done;
    clearBar(*batch);
    if (!problem.empty()) {
        ++batch->failed;
        print(stderr, "quib: " + printable(job.input) + ": " + problem + "\n");
    } else if (batch->plan["--verbose"].isGiven) {
        char taken[32];
        std::snprintf(taken, sizeof taken, ", %.3f s\n", seconds);
        print(stdout, printable(job.input) + " -> " + printable(job.output) + taken);
    }
    if (batch->showsBar)
        drawBar(*batch);
}

// A link is written through. Only an ordinary file is replaced.
Problem findTarget(const Plan& plan, const std::string& output, fs::path* target)
{
    std::error_code error;
    *target = pathOf(output);
    const fs::file_status status = fs::status(*target, error);
    if (fs::is_directory(status))
        return inQuotes(output) + " is a folder";
    if (fs::exists(status) && !fs::is_regular_file(status))
        return inQuotes(output) + " is no ordinary file, and is not replaced";
    if (fs::exists(status) && plan["--no-overwrite"].isGiven)
        return inQuotes(output) + " is there already";
    if (fs::is_symlink(fs::symlink_status(*target, error))) {
        const fs::path real = fs::weakly_canonical(*target, error);
        if (!error)
            *target = real;
    }
    const fs::path folder = target->parent_path();
    if (!folder.empty())
        fs::create_directories(folder, error);
    if (!folder.empty() && !fs::is_directory(folder, error))
        return inQuotes(nameOf(folder)) + ": the folder cannot be made";
    return {};
}

// Asks the process; starts it first if there is none, and lets go of one that ended.
Problem ask(const Batch& batch, const Job& job, const fs::path& unfinished, ProcessHandle* process)
{
    std::string reason;
    if (!*process) {
        std::vector<std::string> words = {"--worker"};
        words.insert(words.end(), batch.words.begin(), batch.words.end());
        *process = startSelf(words, &reason);
    }
    if (!*process)
        return "no process could be started for it: " + reason;
    const std::string format = formatOfName(job.output) == Format::none ? "" : job.output;
    std::string request = job.input;
    for (const std::string& part : {format, nameOf(unfinished)})
        request += '\0' + part;
    request += '\0';
    std::string step = "loading", message;
    bool isThere = tell(process->get(), request);
    while (isThere && (isThere = hear(process->get(), &message)) && message[0] == 's')
        step = message.substr(1);
    if (isThere)
        return message.substr(1);
    const std::string how = awaitEnd(process->get());
    process->reset();
    return step +
           ": memory ran out, or the library refused what it was asked for: its process is "
           "gone (" +
           how + ")";
}

Problem runJob(const Batch& batch, size_t number, ProcessHandle* process)
{
    const Job& job = batch.jobs[number];
    fs::path target;
    Problem problem = findTarget(batch.plan, job.output, &target);
    if (!problem.empty())
        return problem;
    fs::path unfinished = target;
    unfinished.replace_filename("." + batch.mark + "-" + std::to_string(number) + ".part");
    problem = ask(batch, job, unfinished, process);
    std::error_code error;
    if (problem.empty())
        fs::rename(unfinished, target, error);
    if (error)
        problem = inQuotes(job.output) + " cannot be written: " + error.message();
    if (!problem.empty())
        fs::remove(unfinished, error);
    return problem;
}

void runThread(Batch* batch)
{
    ProcessHandle process;
    while (!isInterrupted()) {
        const size_t number = batch->next++;
        if (number >= batch->jobs.size())
            return;
        const auto start = std::chrono::steady_clock::now();
        const Problem problem = runJob(*batch, number, &process);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        if (!isInterrupted() || problem.empty())
            report(batch, batch->jobs[number], problem, taken.count());
    }
}

size_t threadsFor(const Plan& plan, size_t jobs)
{
    const Value& wanted = plan["--jobs"];
    const size_t most = wanted.isGiven ? static_cast<size_t>(wanted.whole())
                                       : std::max(std::thread::hardware_concurrency(), 1u);
    return std::min(most, jobs);
}

int summarise(const Batch& batch)
{
    clearBar(batch);
    if (batch.jobs.size() > 1 && !batch.plan["--quiet"].isGiven)
        print(stderr, "quib: " + std::to_string(batch.done - batch.failed) + " of " +
                          std::to_string(batch.jobs.size()) + " pictures written, " +
                          std::to_string(batch.failed) + " failed\n");
    if (isInterrupted()) {
        print(stderr, "quib: interrupted\n");
        return 130;
    }
    return batch.failed ? 1 : 0;
}

} // namespace

int runBatch(const Plan& plan, const std::vector<std::string>& words, const std::vector<Job>& jobs)
{
    prepareMaster();
    Batch batch{plan, words, jobs, "quib-" + std::to_string(std::random_device()())};
    batch.showsBar = jobs.size() > 1 && !plan["--quiet"].isGiven && isTerminal(stderrDescriptor);
    if (batch.showsBar)
        drawBar(batch);
    std::vector<std::thread> threads;
    for (size_t i = threadsFor(plan, jobs.size()); i > 0; --i)
        threads.emplace_back(runThread, &batch);
    for (std::thread& thread : threads)
        thread.join();
    return summarise(batch);
}
