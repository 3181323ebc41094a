#include "tools/quib/operations.h"

#include "tools/quib/files.h"

Parameter alphaOption(const char* fallback)
{
    return {"--alpha",
            Kind::choice,
            "keep: the alphas of a 32-bit picture stay; change: they are treated as the colours",
            0,
            0,
            "keep change",
            fallback};
}

std::string functionOf(const Step& step)
{
    return wordsOf(step.operation->functions).front();
}

Problem finishStep(const Step& step, QuibStatus status, IplImage* result, Picture* picture)
{
    Picture before = std::move(*picture);
    Problem problem = takeResult(functionOf(step).c_str(), status, result, picture);
    if (!problem.empty())
        return problem;
    std::fill_n((*picture)->BorderMode, 4, IPL_BORDER_CONSTANT);
    std::fill_n((*picture)->BorderConst, 4, 0);
    return step["--alpha"].text == "keep" ? restoreAlpha(before, *picture) : Problem();
}

Problem loadOther(const std::string& file, int depth, Picture* other)
{
    Problem problem = loadPicture(file, other);
    if (!problem.empty())
        return inQuotes(file) + ": " + problem;
    return changeDepth(depth, other);
}

uint32_t wordOf(const Value& colour, int depth)
{
    const auto part = [&](size_t i) { return static_cast<uint32_t>(colour.numbers[i]); };
    if (depth >= 24)
        return part(2) | part(1) << 8 | part(0) << 16 | part(3) << 24;
    const bool isGray = part(0) == part(1) && part(1) == part(2);
    const uint32_t gray = isGray ? part(0) : (18 * part(2) + 183 * part(1) + 54 * part(0)) / 256;
    return depth == 1 ? uint32_t{gray >= 128} : gray;
}

int32_t choiceOf(const Step& step, const char* parameter)
{
    for (const Parameter& candidate : step.operation->parameters) {
        if (std::string(candidate.name) != parameter)
            continue;
        const std::vector<std::string> choices = wordsOf(candidate.choices);
        const auto found = std::find(choices.begin(), choices.end(), step[parameter].text);
        return static_cast<int32_t>(found - choices.begin());
    }
    return 0;
}

Box boxOf(const Value& rectangle)
{
    const auto number = [&](size_t i) { return static_cast<int64_t>(rectangle.numbers[i]); };
    return {number(2), number(3), number(2) + number(0), number(3) + number(1)};
}

Box clip(const Box& box, const Picture& picture)
{
    return {std::max<int64_t>(box.left, 0), std::max<int64_t>(box.top, 0),
            std::min<int64_t>(box.right, picture->width),
            std::min<int64_t>(box.bottom, picture->height)};
}

Problem checkSides(const Picture& picture, int32_t most)
{
    if (picture->width <= most && picture->height <= most)
        return {};
    return "the picture is " + sizeText(picture->width, picture->height) +
           " pixels, expected at most " + std::to_string(most) + " on a side";
}

const std::vector<Operation>& allOperations()
{
    static const Operations table = [] {
        Operations made;
        addSizes(&made);
        addTransfers(&made);
        addWarps(&made);
        addComposites(&made);
        addArithmetic(&made);
        addTone(&made);
        addFilters(&made);
        addFields(&made);
        return made;
    }();
    return table;
}

const Operation* findOperation(const std::string& name)
{
    for (const Operation& operation : allOperations())
        if (name == operation.name)
            return &operation;
    return nullptr;
}

Problem applyStep(const Step& step, Picture* picture)
{
    const int depth = depthOf(*picture);
    for (const std::string& word : wordsOf(step.operation->depths)) {
        const int accepted = std::stoi(word);
        if (accepted < depth)
            continue;
        Problem problem = changeDepth(accepted, picture);
        return problem.empty() ? step.operation->apply(step, picture) : problem;
    }
    return "a picture of " + std::to_string(depth) + " bits per pixel, expected one of " +
           step.operation->depths;
}
