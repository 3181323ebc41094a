#include "tools/quib/plan.h"

#include "tools/quib/operations.h"

#include <algorithm>
#include <numeric>

namespace
{

class Parser // goes once over the words
{
public:
    Parser(const std::vector<std::string>& given, Plan* made) : words(given), plan(made) {}

    Problem run()
    {
        while (at < words.size()) {
            Problem problem = takeWord();
            if (!problem.empty())
                return problem;
        }
        return finish();
    }

private:
    Problem takeWord()
    {
        const std::string& word = words[at];
        if (onlyFiles)
            return takeFile();
        if (word == "--") {
            onlyFiles = true;
            ++at;
            return {};
        }
        if (word.size() > 1 && word[0] == '-')
            return takeOption();
        // The first word is a picture, whatever it is called.
        const Operation* operation = files.empty() ? nullptr : findOperation(word);
        return operation ? takeOperation(operation) : takeFile();
    }

    Problem takeFile()
    {
        const std::string& word = words[at++];
        if (word.empty())
            return "an empty word, expected a picture file or an operation";
        if (plan->steps.empty()) {
            files.push_back(word);
            return {};
        }
        if (!plan->output.empty())
            return misplaced(plan->output);
        plan->output = word;
        return {};
    }

    // Behind an operation, only the last word can be a file.
    static Problem misplaced(const std::string& word)
    {
        std::vector<std::string> names;
        for (const Operation& operation : allOperations())
            names.emplace_back(operation.name);
        const std::string nearest = nearestName(word, names);
        return "there is no operation " + inQuotes(word) +
               (nearest.empty() ? "; quib list shows all" : "; did you mean " + nearest + "?");
    }

    Problem takeOperation(const Operation* operation)
    {
        if (!plan->output.empty())
            return misplaced(plan->output);
        ++at;
        Step step{operation, std::vector<Value>(operation->parameters.size())};
        for (size_t i = 0; i < operation->parameters.size(); ++i) {
            Problem problem = takeArgument(operation->parameters[i], operation, &step.values[i]);
            if (!problem.empty())
                return problem;
        }
        plan->steps.push_back(std::move(step));
        return {};
    }

    // Its default first. An argument that may be left out is one if it reads as one.
    Problem takeArgument(const Parameter& parameter, const Operation* operation, Value* value)
    {
        if (parameter.fallback && *parameter.fallback) {
            Problem problem = parseValue(parameter, parameter.fallback, operation->name, value);
            value->isGiven = false;
            if (!problem.empty())
                return problem;
        }
        if (isOption(parameter))
            return {};
        if (parameter.fallback && (at == words.size() || !readsAsNumber(words[at])))
            return {};
        if (at == words.size() || words[at] == "--")
            return std::string(operation->name) + ": " + parameter.name + " is missing, expected " +
                   expectationOf(parameter);
        return parseValue(parameter, words[at++], operation->name, value);
    }

    static bool readsAsNumber(const std::string& word)
    {
        return word.find_first_of("0123456789") != std::string::npos &&
               word.find_first_not_of("+-0123456789") == std::string::npos;
    }

    Problem takeOption()
    {
        std::string name = words[at++];
        const size_t equals = name.find('=');
        const bool hasValue = equals != std::string::npos;
        std::string word = hasValue ? name.substr(equals + 1) : "";
        name.resize(std::min(name.size(), equals));
        Value* value = nullptr;
        std::string owner = "quib";
        const Parameter* parameter = findOption(name, &value, &owner);
        if (!parameter)
            return unknownOption(name);
        if (parameter->kind == Kind::flag && hasValue)
            return owner + ": " + name + " takes no value, and was given " + inQuotes(word);
        if (parameter->kind != Kind::flag && !hasValue) {
            if (at == words.size())
                return owner + ": " + name + " has no value, expected " + expectationOf(*parameter);
            word = words[at++];
        }
        return parseValue(*parameter, word, owner, value);
    }

    // Of the last operation, or else of the program.
    const Parameter* findOption(const std::string& name, Value** value, std::string* owner)
    {
        if (!plan->steps.empty()) {
            Step& step = plan->steps.back();
            const std::vector<Parameter>& parameters = step.operation->parameters;
            for (size_t i = 0; i < parameters.size(); ++i) {
                if (name != parameters[i].name || !isOption(parameters[i]))
                    continue;
                *value = &step.values[i];
                *owner = step.operation->name;
                return &parameters[i];
            }
        }
        const std::vector<Parameter>& settings = allSettings();
        for (size_t i = 0; i < settings.size(); ++i) {
            if (name != settings[i].name)
                continue;
            *value = &plan->settings[i];
            return &settings[i];
        }
        return nullptr;
    }

    Problem unknownOption(const std::string& name) const
    {
        std::vector<std::string> names;
        if (!plan->steps.empty())
            for (const Parameter& parameter : plan->steps.back().operation->parameters)
                if (isOption(parameter))
                    names.emplace_back(parameter.name);
        std::string own;
        for (const std::string& known : names)
            own += (own.empty() ? "" : ", ") + known;
        for (const Parameter& setting : allSettings())
            names.emplace_back(setting.name);
        const std::string nearest = nearestName(name, names);
        std::string text = "there is no option " + inQuotes(name);
        if (!plan->steps.empty())
            text += " here; " + std::string(plan->steps.back().operation->name) +
                    (own.empty() ? " takes none" : " takes " + own);
        return text + (nearest.empty() ? "" : "; did you mean " + nearest + "?");
    }

    Problem finish()
    {
        if (plan->steps.empty() && files.size() > 1) {
            plan->output = files.back();
            files.pop_back();
        }
        if (files.empty())
            return "no picture is given; the form is: quib INPUT... OPERATION... OUTPUT";
        if (plan->output.empty())
            return "no output is given; the form is: quib INPUT... OPERATION... OUTPUT";
        plan->inputs = std::move(files);
        return {};
    }

    const std::vector<std::string>& words;
    Plan* plan;
    std::vector<std::string> files;
    size_t at = 0;
    bool onlyFiles = false;
};

size_t distance(const std::string& a, const std::string& b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replaced = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

} // namespace

const std::vector<Parameter>& allSettings()
{
    static const std::vector<Parameter> table = {
        {"--format", Kind::choice, "what to write, in the place of what the output's ending says",
         0, 0, "bmp png jpeg", ""},
        {"--quality", Kind::integer, "of JPEG", 1, 100, "", "90"},
        {"--compression", Kind::integer, "of PNG; the pixels are the same", 0, 9, "", "6"},
        {"--background", Kind::colour, "what JPEG, which has no alpha, shows behind the picture", 0,
         0, "", "white"},
        {"--jobs", Kind::integer, "how many pictures at once; left out: one a processor", 1, 256,
         "", ""},
        {"--no-overwrite", Kind::flag, "fail where the output is there already", 0, 0, "", ""},
        {"--recursive", Kind::flag, "take the folders inside folders too", 0, 0, "", ""},
        {"--dry-run", Kind::flag, "say what would be done", 0, 0, "", ""},
        {"--memory", Kind::integer, "the most MiB that the pixels of one picture may take", 1, 2047,
         "", "1024"},
        {"--quiet", Kind::flag, "no progress and no summary", 0, 0, "", ""},
        {"--verbose", Kind::flag, "a line for each picture", 0, 0, "", ""},
        {"--help", Kind::flag, "show how it is used", 0, 0, "", ""},
        {"--version", Kind::flag, "show the version and the formats of this build", 0, 0, "", ""},
    };
    return table;
}

const Value& Plan::operator[](const char* setting) const
{
    static const Value none;
    const std::vector<Parameter>& table = allSettings();
    for (size_t i = 0; i < table.size(); ++i)
        if (std::string(table[i].name) == setting)
            return settings[i];
    return none;
}

Plan emptyPlan()
{
    Plan plan;
    for (const Parameter& setting : allSettings()) {
        Value value;
        if (setting.fallback && *setting.fallback)
            parseValue(setting, setting.fallback, "quib", &value);
        value.isGiven = false;
        plan.settings.push_back(value);
    }
    return plan;
}

Problem parsePlan(const std::vector<std::string>& words, Plan* plan)
{
    *plan = emptyPlan();
    return Parser(words, plan).run();
}

std::string nearestName(const std::string& word, const std::vector<std::string>& names)
{
    std::string nearest;
    size_t best = std::min<size_t>(word.size() / 2, 3) + 1;
    for (const std::string& name : names) {
        const size_t found = distance(word, name);
        if (found < best) {
            best = found;
            nearest = name;
        }
    }
    return nearest;
}

SaveOptions saveOptionsOf(const Plan& plan)
{
    SaveOptions options;
    options.quality = plan["--quality"].whole();
    options.compression = plan["--compression"].whole();
    options.background = wordOf(plan["--background"], 32);
    return options;
}
