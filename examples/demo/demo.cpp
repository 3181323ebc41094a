#include "examples/demo/demo.h"

#include "examples/demo/picture.h"
#include "examples/demo/tools.h"

#include <iostream>
#include <regex>

Call Call::with(const std::string& variable, const std::string& value) const
{
    return {std::regex_replace(text, std::regex("\\b" + variable + "\\b"), value), run};
}

Call Call::with(const std::string& variable, int value) const
{
    return with(variable, std::to_string(value));
}

Call operator+(const Call& first, const Call& second)
{
    return {first.text + ";\n" + second.text, [first, second] {
                const QuibStatus status = first.run();
                return status == QUIB_OK ? second.run() : status;
            }};
}

void beginSection(Demo& demo, const std::string& id, const std::string& title,
                  const std::string& text)
{
    std::cout << "  " << title << std::endl;
    demo.page.sections.push_back({id, title, text, {}});
}

void beginRow(Demo& demo, const std::string& label, Cards cards)
{
    demo.page.sections.back().rows.push_back({label, cards, {}});
}

void show(Demo& demo, const IplImage* image, const std::string& title, const std::string& call,
          double milliseconds, Look look)
{
    const QuibInfo info = infoOf(image);
    const bool transparent = look == Look::cutOut || look == Look::alpha;
    const bool few = look == Look::plain || look == Look::cutOut;
    Figure figure{std::to_string(++demo.pictures) + ".png",
                  title,
                  call,
                  milliseconds,
                  info.width,
                  info.height,
                  transparent};
    const std::string file = demo.folder + "/" + figure.file;
    if (!writePng(image, file, transparent ? Alpha::show : Alpha::ignore,
                  few ? Colours::few : Colours::all))
        fail("cannot write " + file);
    demo.page.sections.back().rows.back().figures.push_back(std::move(figure));
}

void showMade(Demo& demo, const std::string& title, IplImage** result, const Call& call, Look look)
{
    const double taken = timed(call, [&] {
        if (*result)
            check(QuibFree(result), "QuibFree");
    });
    if (!*result)
        fail(call.text + " made nothing");
    show(demo, *result, title, call.text, taken, look);
    check(QuibFree(result), "QuibFree");
}

void showWritten(Demo& demo, const std::string& title, IplImage* target, const Call& call,
                 Look look, const std::function<void(IplImage*)>& finish)
{
    const Handle before = copyOf(target);
    const double taken = timed(call, [&] { check(QuibCopy(before.get(), &target), "QuibCopy"); });
    if (finish)
        finish(target);
    show(demo, target, title, call.text, taken, look);
}

void showDetail(Demo& demo, const IplImage* image, const std::string& title,
                const std::string& call, double milliseconds, int times)
{
    const QuibInfo info = infoOf(image);
    const Handle large = resized(image, info.width * times, info.height * times, STRETCH_NEAREST);
    show(demo, large.get(), title, call, milliseconds, Look::exact);
}
