// The pictures of a plan, and where their results go.
#include "tools/quib/batch.h"

#include "tools/quib/names.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>

namespace fs = std::filesystem;

namespace
{

// A file, and its folder below the folder that was given, which the output keeps.
struct Found {
    fs::path file;
    fs::path below;
};

bool isPattern(const std::string& text)
{
    return text.find_first_of("*?") != std::string::npos;
}

bool matches(const char* pattern, const char* name)
{
    if (*pattern == '*')
        return matches(pattern + 1, name) || (*name && matches(pattern, name + 1));
    if (!*pattern || !*name)
        return *pattern == *name;
    return (*pattern == '?' || *pattern == *name) && matches(pattern + 1, name + 1);
}

bool isReadable(const fs::path& file)
{
    return formatOfName(nameOf(file)) != Format::none;
}

Problem listFolder(const fs::path& folder, bool isRecursive, std::vector<Found>* found)
{
    std::error_code error;
    std::vector<Found> files;
    const auto take = [&](const fs::directory_entry& entry) {
        std::error_code ignored;
        if (entry.is_regular_file(ignored) && isReadable(entry.path()))
            files.push_back({entry.path(), entry.path().parent_path().lexically_relative(folder)});
    };
    if (isRecursive) {
        constexpr auto options = fs::directory_options::skip_permission_denied;
        for (fs::recursive_directory_iterator i(folder, options, error), end; !error && i != end;
             i.increment(error))
            take(*i);
    } else {
        for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
            take(*i);
    }
    if (error)
        return inQuotes(nameOf(folder)) + ": the folder cannot be read: " + error.message();
    if (files.empty())
        return inQuotes(nameOf(folder)) + ": there are no pictures in this folder";
    std::sort(files.begin(), files.end(),
              [](const Found& a, const Found& b) { return a.file < b.file; });
    found->insert(found->end(), files.begin(), files.end());
    return {};
}

Problem listPattern(const std::string& pattern, std::vector<Found>* found)
{
    const fs::path path = pathOf(pattern);
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const std::string name = keyOf(nameOf(path.filename()));
    std::error_code error;
    std::vector<Found> files;
    for (fs::directory_iterator i(folder, error), end; !error && i != end; i.increment(error))
        if (matches(name.c_str(), keyOf(nameOf(i->path().filename())).c_str()))
            files.push_back({i->path(), {}});
    if (files.empty())
        return inQuotes(pattern) + ": no file has such a name";
    std::sort(files.begin(), files.end(),
              [](const Found& a, const Found& b) { return a.file < b.file; });
    found->insert(found->end(), files.begin(), files.end());
    return {};
}

Problem listInputs(const Plan& plan, std::vector<Found>* found)
{
    for (const std::string& input : plan.inputs) {
        std::error_code error;
        Problem problem;
        const fs::path path = pathOf(input);
        if (fs::is_directory(path, error))
            problem = listFolder(path, plan["--recursive"].isGiven, found);
        else if (isPattern(input) && !fs::exists(path, error))
            problem = listPattern(input, found);
        else
            found->push_back({path, {}});
        if (!problem.empty())
            return problem;
    }
    return {};
}

bool isFolderName(const std::string& text)
{
    std::error_code error;
    return text.back() == '/' || (text.back() == '\\' && fs::path::preferred_separator == '\\') ||
           fs::is_directory(pathOf(text), error);
}

std::string endingOfOthers()
{
    const std::vector<std::string> endings = writableEndings();
    return std::find(endings.begin(), endings.end(), ".png") == endings.end() ? ".bmp" : ".png";
}

std::string endingOf(const Plan& plan, const fs::path& file)
{
    const std::string& format = plan["--format"].text;
    if (!format.empty())
        return format == "jpeg" ? ".jpg" : "." + format;
    const std::string ending = nameOf(file.extension());
    // Layers are not written.
    const Format own = formatOfName(nameOf(file));
    return own == Format::psd || own == Format::none ? endingOfOthers() : ending;
}

// In the place of {name}, {number} and {ext}.
std::string fillIn(std::string text, const std::map<std::string, std::string>& values)
{
    for (const auto& [key, value] : values)
        for (size_t at = text.find(key); at != std::string::npos;
             at = text.find(key, at + value.size()))
            text.replace(at, key.size(), value);
    return text;
}

// The mask of a PSD file is named by its file.
fs::path withoutPart(const fs::path& file)
{
    const std::string text = nameOf(file);
    const size_t at = text.rfind(":mask");
    return at != std::string::npos && at + 5 == text.size() ? pathOf(text.substr(0, at)) : file;
}

std::string outputFor(const Plan& plan, const Found& found, size_t number)
{
    const fs::path file = withoutPart(found.file);
    const std::string ending = endingOf(plan, file);
    if (plan.output.find('{') != std::string::npos)
        return fillIn(plan.output, {{"{name}", nameOf(file.stem())},
                                    {"{number}", std::to_string(number)},
                                    {"{ext}", ending.substr(1)}});
    if (isFolderName(plan.output))
        return nameOf((pathOf(plan.output) / found.below / pathOf(nameOf(file.stem()) + ending))
                          .lexically_normal());
    return plan.output;
}

Problem checkOutputs(const Plan& plan, const std::vector<Job>& jobs)
{
    std::map<std::string, std::string> seen;
    for (const Job& job : jobs) {
        if (plan["--format"].text.empty()) {
            const Format format = formatOfName(job.output);
            if (format == Format::none)
                return inQuotes(job.output) +
                       ": the output's ending tells no format; expected .bmp, "
                       ".png, .jpg or --format";
            if (format == Format::psd)
                return inQuotes(job.output) + ": PSD files are only read";
        }
        const auto [place, isNew] = seen.emplace(keyOf(job.output), job.input);
        if (!isNew)
            return inQuotes(place->second) + " and " + inQuotes(job.input) +
                   " would both be written to " + inQuotes(job.output);
    }
    return {};
}

Problem checkBuild(const Plan& plan, const std::vector<Job>& jobs)
{
    std::set<std::string> writable;
    for (const std::string& ending : writableEndings())
        writable.insert(ending);
    for (const Job& job : jobs) {
        const std::string& named = plan["--format"].text;
        const Format format = named.empty() ? formatOfName(job.output) : formatOfName("x." + named);
        const char* ending = format == Format::png    ? ".png"
                             : format == Format::jpeg ? ".jpg"
                                                      : ".bmp";
        if (!writable.count(ending))
            return inQuotes(job.output) + ": this build of quib writes no " + (ending + 1) +
                   " files; quib --version tells what it has";
    }
    return {};
}

} // namespace

Problem listJobs(const Plan& plan, std::vector<Job>* jobs)
{
    std::vector<Found> found;
    Problem problem = listInputs(plan, &found);
    if (!problem.empty())
        return problem;
    const bool isForMany = isFolderName(plan.output) || plan.output.find('{') != std::string::npos;
    if (found.size() > 1 && !isForMany)
        return std::to_string(found.size()) + " pictures need a folder to go to, and " +
               inQuotes(plan.output) +
               " is none; one that is to be made ends in a slash, and {name}, {number} and {ext} "
               "make a name for each";
    for (size_t i = 0; i < found.size(); ++i)
        jobs->push_back({nameOf(found[i].file), outputFor(plan, found[i], i + 1)});
    problem = checkOutputs(plan, *jobs);
    return problem.empty() ? checkBuild(plan, *jobs) : problem;
}
