#include "tools/quib/texts.h"

#include "tools/quib/files.h"
#include "tools/quib/plan.h"

#include <algorithm>

namespace
{

struct Sentence {
    const char* function;
    const char* text;
};
constexpr Sentence sentences[] = {
#include "sentences.inc"
};

std::string padded(std::string text, size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

// The text in lines of at most 78 characters, each after `indent` blanks.
std::string wrapped(const std::string& text, size_t indent)
{
    constexpr size_t width = 78;
    std::string lines, line(indent, ' ');
    for (const std::string& word : wordsOf(text.c_str())) {
        const bool isFirst = line.size() == indent;
        if (!isFirst && line.size() + 1 + word.size() > width) {
            lines += line + "\n";
            line.assign(indent, ' ');
            line += word;
            continue;
        }
        line += (isFirst ? "" : " ") + word;
    }
    return lines + line + "\n";
}

std::string describe(const Parameter& parameter)
{
    std::string text = parameter.help;
    if (parameter.kind != Kind::flag)
        text += ": " + expectationOf(parameter);
    if (parameter.fallback && *parameter.fallback)
        text += std::string("; left out: ") + parameter.fallback;
    return text + ".";
}

std::string parameterLines(const std::vector<Parameter>& parameters)
{
    std::string text;
    for (const Parameter& parameter : parameters)
        text += "  " + usageOf(parameter) + "\n" + wrapped(describe(parameter), 8);
    return text;
}

std::string endingsText()
{
    std::string text;
    for (const std::string& ending : readableEndings())
        text += (text.empty() ? "" : " ") + ending;
    return text;
}

} // namespace

std::string sentenceOf(const std::string& function)
{
    for (const Sentence& sentence : sentences)
        if (function == sentence.function)
            return sentence.text;
    return {};
}

std::string depthsText(const Operation& operation)
{
    const std::vector<std::string> depths = wordsOf(operation.depths);
    if (depths.size() == 4)
        return "1, 8, 24 and 32 bits per pixel, as they are.";
    std::string text = depths.front();
    if (depths.size() == 1)
        return text + " bits per pixel; others are brought to them first.";
    for (size_t i = 1; i < depths.size(); ++i)
        text += (i + 1 == depths.size() ? " and " : ", ") + depths[i];
    text += " bits per pixel; of others,";
    std::string separator = " ";
    for (const char* depth : {"1", "8", "24"}) {
        if (std::find(depths.begin(), depths.end(), depth) != depths.end())
            continue;
        const auto next = std::find_if(depths.begin(), depths.end(), [&](const std::string& other) {
            return std::stoi(other) > std::stoi(depth);
        });
        text += separator + depth + " become " + *next;
        separator = ", ";
    }
    return text + ".";
}

std::string formOf(const Operation& operation)
{
    std::string form = operation.name;
    for (const Parameter& parameter : operation.parameters)
        form += isOption(parameter) ? " [" + usageOf(parameter) + "]" : " " + usageOf(parameter);
    return form;
}

std::string versionText()
{
    return "quib " QUIB_TOOL_VERSION "\n" + libraryVersions() + "\n";
}

std::string usageText()
{
    return "usage: quib [OPTION...] INPUT... [OPERATION [ARGUMENT...] [OPTION...]]... OUTPUT\n"
           "       quib list | help OPERATION | info FILE... | completion SHELL | manual\n\n"
           "Works on pictures: each operation in the order given, on each input. An input is a\n"
           "file, a folder or a pattern in quotes; several go to a folder, or to names made of\n"
           "{name}, {number} and {ext}.\n\n"
           "  quib in.png resize 640x480 --mode smooth blur 5 over logo.png@10,10 out.png\n"
           "  quib photos/ resize 1600x1600 --fit inside small/\n"
           "  quib 'scans/*.bmp' gray threshold 128 'bits/{name}.png'\n\n"
           "Options:\n" +
           parameterLines(allSettings()) + "\nFiles: " + endingsText() +
           "; FILE.psd:mask is the upper layer's mask.\n"
           "Exit status: 0 all went well, 1 some pictures failed, 2 wrong usage.\n"
           "quib list shows the operations.\n";
}

std::string listText()
{
    std::string text;
    std::string family;
    for (const Operation& operation : allOperations()) {
        if (family != operation.family)
            text += (text.empty() ? "" : "\n") + std::string(operation.family) + "\n";
        family = operation.family;
        text += "  " + padded(operation.name, 16) + operation.summary + "\n";
    }
    return text + "\nquib help OPERATION tells more.\n";
}

std::string helpText(const Operation& operation)
{
    std::string text = wrapped(formOf(operation), 0) + "\n" + wrapped(operation.summary, 0);
    if (*operation.note)
        text += "\n" + wrapped(operation.note, 0);
    if (!operation.parameters.empty())
        text += "\n" + parameterLines(operation.parameters);
    text += "\n" + wrapped("Depths: " + depthsText(operation), 0);
    text += "\nIn the library:\n";
    for (const std::string& function : wordsOf(operation.functions))
        text += wrapped(function + ": " + sentenceOf(function), 2);
    return text;
}
