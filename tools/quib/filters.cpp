// Filters with a window.
#include "tools/quib/operations.h"

namespace
{

constexpr const char* allDepths = "1 8 24 32";
constexpr double mostWindow = 1001;
constexpr double mostVectorWindow = 15; // its time grows with the window's square
constexpr int32_t mostKernelSide = 255;
constexpr size_t mostKernels = 10;

Parameter borderOption()
{
    return {"--border",
            Kind::choice,
            "what the window reads outside the picture",
            0,
            0,
            "replicate reflect wrap constant",
            "replicate"};
}

Parameter borderValueOption()
{
    return {"--border-value", Kind::integer, "with --border constant", 0, 255, "", "0"};
}

Parameter anchorOption()
{
    return {"--anchor",
            Kind::place,
            "the pixel's own place in the window, from 0; left out: the "
            "middle",
            0,
            0,
            "",
            ""};
}

void setBorder(const Step& step, const Picture& picture)
{
    static const int32_t codes[] = {IPL_BORDER_REPLICATE, IPL_BORDER_REFLECT, IPL_BORDER_WRAP,
                                    IPL_BORDER_CONSTANT};
    std::fill_n(picture->BorderMode, 4, codes[choiceOf(step, "--border")]);
    std::fill_n(picture->BorderConst, 4, step["--border-value"].whole());
}

struct Window {
    int32_t columns;
    int32_t rows;
    int32_t x;
    int32_t y;
};

Problem anchor(const Value& place, Window* window)
{
    window->x = place.isGiven ? place.whole(0) : window->columns / 2;
    window->y = place.isGiven ? place.whole(1) : window->rows / 2;
    if (window->x >= 0 && window->x < window->columns && window->y >= 0 && window->y < window->rows)
        return {};
    return "--anchor is " + std::to_string(window->x) + "," + std::to_string(window->y) +
           ", expected a place inside the window of " + sizeText(window->columns, window->rows);
}

using Filter = QuibStatus (*)(const IplImage*, IplImage**, int32_t, int32_t, int32_t, int32_t);

template<Filter filter>
Problem applyWindow(const Step& step, Picture* picture)
{
    Window window{step["WINDOW"].whole(0), step["WINDOW"].whole(1), 0, 0};
    Problem problem = anchor(step["--anchor"], &window);
    if (!problem.empty())
        return problem;
    setBorder(step, *picture);
    IplImage* result = nullptr;
    const QuibStatus status =
        filter(picture->get(), &result, window.columns, window.rows, window.x, window.y);
    return finishStep(step, status, result, picture);
}

// Four channels go through it with the last declared to be alpha.
QuibStatus colorMedian(const IplImage* src, IplImage** out, int32_t columns, int32_t rows,
                       int32_t x, int32_t y)
{
    IplImage* declared = const_cast<IplImage*>(src);
    declared->alphaChannel = src->nChannels == 4 ? 4 : 0;
    const QuibStatus status = QuibColorMedianFilter(src, out, columns, rows, x, y);
    declared->alphaChannel = 0;
    return status;
}

Problem applyDecimateBlur(const Step& step, Picture* picture)
{
    Picture result;
    Problem problem =
        makePicture((*picture)->width, (*picture)->height, depthOf(*picture), 0, &result);
    if (!problem.empty())
        return problem;
    setBorder(step, *picture);
    const QuibStatus status =
        QuibDecimateBlur(picture->get(), result.get(), choiceOf(step, "--mode"),
                         step["WINDOW"].whole(0), step["WINDOW"].whole(1));
    return finishStep(step, status, result.release(), picture);
}

Problem applyFixed(const Step& step, Picture* picture)
{
    setBorder(step, *picture);
    IplImage* result = nullptr;
    const QuibStatus status = QuibFixedFilter(picture->get(), &result, choiceOf(step, "NAME"));
    return finishStep(step, status, result, picture);
}

struct KernelDeleter {
    void operator()(OwnConvKernel* kernel) const { QuibDeleteConvKernel(kernel); }
};
using Kernel = std::unique_ptr<OwnConvKernel, KernelDeleter>;

Problem makeKernel(const KernelTaps& taps, const Value& place, int32_t shift, Kernel* kernel)
{
    const auto rows = static_cast<int32_t>(taps.taps.size()) / taps.columns;
    if (taps.columns > mostKernelSide || rows > mostKernelSide)
        return "a kernel has " + sizeText(taps.columns, rows) + " taps, expected at most " +
               std::to_string(mostKernelSide) + " on a side";
    Window window{taps.columns, rows, 0, 0};
    Problem problem = anchor(place, &window);
    if (!problem.empty())
        return problem;
    OwnConvKernel* made = nullptr;
    const QuibStatus status = QuibCreateConvKernel(&made, window.columns, window.rows, window.x,
                                                   window.y, taps.taps.data(), shift);
    kernel->reset(made);
    return explainStatus("QuibCreateConvKernel", status);
}

Problem applyConvolve(const Step& step, Picture* picture)
{
    const std::vector<KernelTaps>& taps = step["KERNELS"].kernels;
    if (taps.size() > mostKernels)
        return "KERNELS are " + std::to_string(taps.size()) + " kernels, expected at most " +
               std::to_string(mostKernels);
    std::vector<Kernel> kernels(taps.size());
    std::vector<OwnConvKernel*> addresses;
    for (size_t i = 0; i < taps.size(); ++i) {
        Problem problem =
            makeKernel(taps[i], step["--anchor"], step["--shift"].whole(), &kernels[i]);
        if (!problem.empty())
            return problem;
        addresses.push_back(kernels[i].get());
    }
    setBorder(step, *picture);
    IplImage* result = nullptr;
    const QuibStatus status =
        QuibConvolve2D(picture->get(), &result, addresses.data(),
                       static_cast<int32_t>(addresses.size()), choiceOf(step, "--combine"));
    return finishStep(step, status, result, picture);
}

// The one kernel of an argument: a row of taps, which stands upright for a column.
Problem makeLine(const Step& step, const char* name, size_t axis, Kernel* kernel)
{
    const std::vector<KernelTaps>& given = step[name].kernels;
    if (given.size() != 1 || given[0].columns != static_cast<int32_t>(given[0].taps.size()) ||
        given[0].columns < 2)
        return std::string(name) + " is no row of taps, expected two or more, as 1,2,1";
    KernelTaps taps = given[0];
    if (axis == 1)
        taps.columns = 1;
    return makeKernel(taps, {}, step["--shift"].whole(axis), kernel);
}

Problem applySeparable(const Step& step, Picture* picture)
{
    Kernel row, column;
    Problem problem = makeLine(step, "ROW", 0, &row);
    if (problem.empty())
        problem = makeLine(step, "COLUMN", 1, &column);
    if (!problem.empty())
        return problem;
    setBorder(step, *picture);
    IplImage* result = nullptr;
    const QuibStatus status = QuibConvolveSep2D(picture->get(), &result, row.get(), column.get());
    return finishStep(step, status, result, picture);
}

using Apply = Problem (*)(const Step&, Picture*);

void addWindow(Operations* table, const char* name, const char* function, const char* summary,
               Apply apply)
{
    table->push_back({name,
                      "Filters",
                      function,
                      summary,
                      allDepths,
                      {{"WINDOW", Kind::window, "its size", 1, mostWindow},
                       anchorOption(),
                       borderOption(),
                       borderValueOption(),
                       alphaOption("change")},
                      apply});
}

void addConvolutions(Operations* table)
{
    table->push_back(
        {"convolve",
         "Filters",
         "QuibConvolve2D QuibCreateConvKernel",
         "Convolves with one to ten kernels and makes one value of their results.",
         allDepths,
         {{"KERNELS", Kind::kernels, "rows parted by : or ;, kernels by /"},
          {"--shift", Kind::integer, "shift sums right by so many bits", 0, 31, "", "0"},
          {"--combine", Kind::choice, "what is made of several kernels' results", 0, 0,
           "sum squares root largest smallest", "sum"},
          anchorOption(),
          borderOption(),
          borderValueOption(),
          alphaOption("keep")},
         applyConvolve});
    table->push_back({"separable",
                      "Filters",
                      "QuibConvolveSep2D QuibCreateConvKernel",
                      "Convolves with a row of taps, and then with a column.",
                      allDepths,
                      {{"ROW", Kind::kernels, "two taps or more"},
                       {"COLUMN", Kind::kernels, "two taps or more, from the top down"},
                       {"--shift", Kind::pair, "shift the sums of both right by so many bits", 0,
                        31, "", "0", 0, true},
                       borderOption(),
                       borderValueOption(),
                       alphaOption("keep")},
                      applySeparable});
    table->push_back(
        {"filter",
         "Filters",
         "QuibFixedFilter",
         "One of eleven filters with a window of their own.",
         allDepths,
         {{"NAME", Kind::choice, "which", 0, 0,
           "prewitt-horizontal prewitt-vertical sobel-horizontal sobel-vertical laplacian-3x3 "
           "laplacian-5x5 gaussian-3x3 gaussian-5x5 highpass-3x3 highpass-5x5 sharpen"},
          borderOption(),
          borderValueOption(),
          alphaOption("keep")},
         applyFixed});
}

} // namespace

void addFilters(Operations* table)
{
    addWindow(table, "blur", "QuibBlur", "Takes the mean of a window.", applyWindow<QuibBlur>);
    addWindow(table, "median", "QuibMedianFilter", "Takes the median of a window.",
              applyWindow<QuibMedianFilter>);
    addWindow(table, "max", "QuibMaxFilter", "Takes the largest value of a window.",
              applyWindow<QuibMaxFilter>);
    addWindow(table, "min", "QuibMinFilter", "Takes the smallest value of a window.",
              applyWindow<QuibMinFilter>);
    table->push_back({"colour-median",
                      "Filters",
                      "QuibColorMedianFilter",
                      "Takes the pixel of a window whose colours differ least from all its others.",
                      "24 32",
                      {{"WINDOW", Kind::window, "its size", 1, mostVectorWindow},
                       anchorOption(),
                       borderOption(),
                       borderValueOption(),
                       alphaOption("keep")},
                      applyWindow<colorMedian>});
    table->push_back({"decimate-blur",
                      "Filters",
                      "QuibDecimateBlur",
                      "Blurs by a window of at most half the picture.",
                      allDepths,
                      {{"WINDOW", Kind::window, "its size; 0 copies", 0, mostPixels},
                       {"--mode", Kind::choice, "which makes no difference", 0, 0,
                        "nearest linear cubic", "nearest"},
                       borderOption(),
                       borderValueOption(),
                       alphaOption("change")},
                      applyDecimateBlur});
    addConvolutions(table);
}
