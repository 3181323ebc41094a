// quib: the library's operations from the command line.
#include "tools/quib/batch.h"
#include "tools/quib/names.h"
#include "tools/quib/texts.h"

#include <cstdio>
#include <string>
#include <vector>

namespace
{

constexpr int wrongUsage = 2;

using Words = std::vector<std::string>;

int complain(const std::string& text)
{
    print(stderr, "quib: " + text + "\nquib --help shows how it is used.\n");
    return wrongUsage;
}

int answer(const std::string& text)
{
    return print(stdout, text) ? 0 : 1;
}

int help(const Words& words)
{
    if (words.size() == 1)
        return answer(usageText());
    std::string text;
    for (size_t i = 1; i < words.size(); ++i) {
        const Operation* operation = findOperation(words[i]);
        if (!operation)
            return complain("there is no operation " + inQuotes(words[i]) +
                            "; quib list shows all");
        text += (text.empty() ? "" : "\n") + helpText(*operation);
    }
    return answer(text);
}

int completion(const Words& words)
{
    const std::string text = words.size() == 2 ? completionText(words[1]) : "";
    return text.empty() ? complain("completion: SHELL is missing or none of bash, zsh, fish")
                        : answer(text);
}

// In a process of its own: files are loaded by the library.
int info(const Words& words)
{
    if (words.size() < 2)
        return complain("info: FILE is missing, expected picture files");
    int status = 0;
    for (size_t i = 1; i < words.size(); ++i) {
        Picture picture;
        const Problem problem = loadPicture(words[i], &picture);
        if (!problem.empty()) {
            print(stderr, "quib: " + printable(words[i]) + ": " + problem + "\n");
            status = 1;
            continue;
        }
        int32_t isBlack = 0;
        QuibIsBlack(picture.get(), 0, &isBlack);
        print(stdout, printable(words[i]) + ": " + sizeText(picture->width, picture->height) +
                          ", " + std::to_string(depthOf(picture)) + " bits" +
                          (isOpaque(picture) ? "" : ", with alpha") + (isBlack ? ", black" : "") +
                          "\n");
    }
    return status;
}

bool has(const Words& words, const char* option)
{
    for (const std::string& word : words) {
        if (word == "--")
            return false;
        if (word == option)
            return true;
    }
    return false;
}

void printJob(const Plan& plan, const Job& job)
{
    std::string text = printable(job.input);
    for (const Step& step : plan.steps)
        text += std::string(" | ") + step.operation->name;
    print(stdout, text + " > " + printable(job.output) + "\n");
}

int run(const Words& words)
{
    Plan plan;
    Problem problem = parsePlan(words, &plan);
    std::vector<Job> jobs;
    if (problem.empty())
        problem = listJobs(plan, &jobs);
    if (!problem.empty())
        return complain(problem);
    if (!plan["--dry-run"].isGiven)
        return runBatch(plan, words, jobs);
    for (const Job& job : jobs)
        printJob(plan, job);
    return 0;
}

int serve(const Words& words)
{
    Plan plan;
    const Problem problem = parsePlan(Words(words.begin() + 1, words.end()), &plan);
    return problem.empty() ? serveJobs(plan) : complain(problem);
}

int dispatch(const Words& words)
{
    if (words.empty()) {
        print(stderr, usageText());
        return wrongUsage;
    }
    const std::string& first = words[0];
    if (first == "--worker")
        return serve(words);
    if (has(words, "--help"))
        return answer(usageText());
    if (has(words, "--version"))
        return answer(versionText());
    if (first == "help")
        return help(words);
    if (first == "info")
        return info(words);
    if (first == "completion")
        return completion(words);
    if (first == "list" && words.size() == 1)
        return answer(listText());
    if (first == "manual" && words.size() == 1)
        return answer(manualText());
    return run(words);
}

} // namespace

int main(int argc, char** argv)
{
    prepareStreams();
    return dispatch(commandLine(argc, argv));
}
