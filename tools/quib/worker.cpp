// One picture after the other, in a process that may end.
#include "tools/quib/batch.h"

#include "tools/quib/process.h"

#include <cstdio>

namespace
{

// A text that ends in 0; false at the input's end.
bool readText(std::string* text)
{
    text->clear();
    for (int c = std::getchar(); c != EOF; c = std::getchar()) {
        if (c == 0)
            return true;
        *text += static_cast<char>(c);
    }
    return false;
}

void answer(char kind, const std::string& text)
{
    std::fputc(kind, stdout);
    std::fwrite(text.c_str(), 1, text.size() + 1, stdout);
    std::fflush(stdout);
}

void tellStep(const char* step)
{
    answer('s', step);
}

} // namespace

Problem work(const Plan& plan, const std::string& input, Format format, const std::string& output,
             void (*tell)(const char* step))
{
    Picture picture;
    tell("loading");
    Problem problem = loadPicture(input, &picture);
    if (!problem.empty())
        return problem;
    for (const Step& step : plan.steps) {
        tell(step.operation->name);
        problem = applyStep(step, &picture);
        if (!problem.empty())
            return std::string(step.operation->name) + ": " + problem;
    }
    tell("saving");
    return savePicture(picture, format, saveOptionsOf(plan), output);
}

int serveJobs(const Plan& plan)
{
    prepareWorker();
    limitPictures(static_cast<uint64_t>(plan["--memory"].whole()) << 20);
    const std::string& named = plan["--format"].text;
    std::string input, name, output;
    while (readText(&input) && readText(&name) && readText(&output)) {
        const Format format = formatOfName(named.empty() ? name : "x." + named);
        const Problem problem = work(plan, input, format, output, tellStep);
        answer('p', problem);
    }
    return 0;
}
