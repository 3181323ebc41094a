// Pictures of another size.
#include "tools/quib/operations.h"

#include <cmath>

namespace
{

constexpr const char* allDepths = "1 8 24 32";

struct Size {
    int64_t width;
    int64_t height;
};

// One side; 0 if it is left to the other one.
int64_t sideOf(const Value& scale, size_t axis, int32_t side)
{
    const double given = scale.numbers[axis];
    if (given == 0)
        return 0;
    const double length = scale.isPercent[axis] ? side * given / 100 : given;
    return std::max<int64_t>(std::llround(std::min(length, mostPixels + 1)), 1);
}

int64_t scaled(int64_t side, int64_t part, int64_t whole)
{
    return std::max<int64_t>((side * part + whole / 2) / whole, 1);
}

Size targetOf(const Value& scale, const Picture& picture)
{
    Size size{sideOf(scale, 0, picture->width), sideOf(scale, 1, picture->height)};
    if (size.width == 0)
        size.width = scaled(picture->width, size.height, picture->height);
    if (size.height == 0)
        size.height = scaled(picture->height, size.width, picture->width);
    return size;
}

// Keeps the picture's proportions: just inside the size, or just covering it.
Size fit(const Size& size, const Picture& picture, const std::string& how)
{
    const int64_t width = picture->width;
    const int64_t height = picture->height;
    const bool isWider = width * size.height > height * size.width;
    if (how == "exact")
        return size;
    if (isWider == (how == "inside"))
        return {size.width, scaled(height, size.width, width)};
    return {scaled(width, size.height, height), size.height};
}

Problem cut(const Size& size, Picture* picture)
{
    Picture result;
    Problem problem = makePicture(size.width, size.height, depthOf(*picture), 0, &result);
    if (!problem.empty())
        return problem;
    const auto width = static_cast<int32_t>(size.width);
    const auto height = static_cast<int32_t>(size.height);
    const int32_t left = ((*picture)->width - width) / 2;
    const int32_t top = ((*picture)->height - height) / 2;
    const QuibStatus status = QuibBlt(picture->get(), left, top, left + width, top + height,
                                      result.get(), 0, 0, width, height, 0);
    *picture = std::move(result);
    return explainStatus("QuibBlt", status);
}

using Resizer = QuibStatus (*)(IplImage*, IplImage*, int32_t);

Problem resizeBy(Resizer resizer, const char* function, const Size& size, int32_t mode,
                 Picture* picture)
{
    if (mode == IPL_INTER_SUPER &&
        (size.width > (*picture)->width || size.height > (*picture)->height))
        return "--mode is 'area', which only reduces, and " + sizeText(size.width, size.height) +
               " is larger than the picture's " + sizeText((*picture)->width, (*picture)->height);
    Picture result;
    Problem problem = makePicture(size.width, size.height, depthOf(*picture), 0, &result);
    if (!problem.empty())
        return problem;
    const QuibStatus status = resizer(picture->get(), result.get(), mode);
    *picture = std::move(result);
    return explainStatus(function, status);
}

// Of a 32-bit picture that was made of a gray one, which has no other colours.
Problem takeGrayBack(Picture* picture)
{
    Picture gray;
    Problem problem = makePicture((*picture)->width, (*picture)->height, 8, 0, &gray);
    if (!problem.empty())
        return problem;
    for (int32_t y = 0; y < gray->height; ++y) {
        const uint8_t* from = rowOf(picture->get(), y);
        uint8_t* to = rowOf(gray.get(), y);
        for (int32_t x = 0; x < gray->width; ++x)
            to[x] = from[4 * static_cast<ptrdiff_t>(x)];
    }
    *picture = std::move(gray);
    return {};
}

Problem checkFields(const Size& size, const Picture& picture)
{
    if (size.height % 2 == 0 && picture->height % 2 == 0)
        return {};
    return "--mode is one of fields, which needs even heights, and they are " +
           std::to_string(picture->height) + " and " + std::to_string(size.height);
}

// The modes that only the stretch of 32-bit pictures has.
Problem stretch(const Size& size, int32_t mode, Picture* picture)
{
    if (mode >= STRETCH_PAIRS_NEAREST) {
        Problem problem = checkFields(size, *picture);
        if (!problem.empty())
            return problem;
    }
    const bool isGray = depthOf(*picture) <= 8;
    Problem problem = changeDepth(32, picture);
    if (problem.empty())
        problem = resizeBy(QuibResize, "QuibResize", size, mode, picture);
    return problem.empty() && isGray ? takeGrayBack(picture) : problem;
}

Problem resizeTo(const std::string& mode, const Size& size, Picture* picture)
{
    if (mode == "nearest")
        return resizeBy(QuibResize, "QuibResize", size, STRETCH_NEAREST, picture);
    if (mode == "smooth")
        return stretch(size, STRETCH_SMOOTH, picture);
    if (mode == "fields-nearest")
        return stretch(size, STRETCH_PAIRS_NEAREST, picture);
    if (mode == "fields-linear")
        return stretch(size, STRETCH_PAIRS_LINEAR, picture);
    if (depthOf(*picture) == 1) {
        Problem problem = changeDepth(8, picture);
        if (!problem.empty())
            return problem;
    }
    if (mode == "cubic")
        return resizeBy(QuibResizeFit, "QuibResizeFit", size, IPL_INTER_CUBIC, picture);
    if (mode == "area")
        return resizeBy(QuibResize, "QuibResize", size, IPL_INTER_SUPER, picture);
    // The library's resize takes the nearest pixel of every 8-bit picture.
    if (depthOf(*picture) == 32)
        return resizeBy(QuibResize, "QuibResize", size, STRETCH_LINEAR, picture);
    return resizeBy(QuibResizeFit, "QuibResizeFit", size, IPL_INTER_LINEAR, picture);
}

Problem applyResize(const Step& step, Picture* picture)
{
    const Size frame = targetOf(step["SIZE"], *picture);
    const std::string& how = step["--fit"].text;
    const Size size = fit(frame, *picture, how);
    // Bits cannot be cut out.
    if (how == "cover" && depthOf(*picture) == 1) {
        Problem problem = changeDepth(8, picture);
        if (!problem.empty())
            return problem;
    }
    Problem problem = resizeTo(step["--mode"].text, size, picture);
    return problem.empty() && how == "cover" ? cut(frame, picture) : problem;
}

Problem applyZoom(const Step& step, Picture* picture)
{
    const Size size = targetOf(step["SIZE"], *picture);
    return resizeBy(QuibResizeFit, "QuibResizeFit", size, choiceOf(step, "--mode"), picture);
}

Problem checkView(const Step& step, const Picture& picture, double width, double height)
{
    const Value& origin = step["ORIGIN"];
    const Value& pace = step["STEP"];
    const double spans[2] = {width, height};
    const int32_t sides[2] = {picture->width, picture->height};
    for (size_t axis = 0; axis < 2; ++axis) {
        const double start = origin.numbers[axis];
        const double span = spans[axis] * pace.numbers[axis];
        if (spans[axis] < 2 || span <= 1 || std::trunc(start + span) - std::trunc(start) < 1)
            return "STEP and --size make a view of one pixel or less, expected more";
        if (std::trunc(start + span) <= 0 || std::trunc(start) >= sides[axis])
            return "ORIGIN and STEP make a view outside the picture, which is " +
                   sizeText(picture->width, picture->height) + " pixels";
        if (std::fabs(start + span) > mostPixels)
            return "STEP and --size make a view that reaches to " +
                   std::to_string(static_cast<int64_t>(start + span)) + ", expected at most " +
                   std::to_string(static_cast<int64_t>(mostPixels));
    }
    return {};
}

Problem applyPanZoom(const Step& step, Picture* picture)
{
    const Value& size = step["--size"];
    const int32_t width = size.isGiven ? size.whole(0) : (*picture)->width;
    const int32_t height = size.isGiven ? size.whole(1) : (*picture)->height;
    Problem problem = checkView(step, *picture, width, height);
    Picture result;
    if (problem.empty())
        problem = makePicture(width, height, 32, 0, &result);
    if (!problem.empty())
        return problem;
    const Value& origin = step["ORIGIN"];
    const Value& pace = step["STEP"];
    const QuibStatus status = QuibBlt_PANZOOM(picture->get(), origin.numbers[0], pace.numbers[0],
                                              origin.numbers[1], pace.numbers[1], result.get(), 0,
                                              width, 0, height, choiceOf(step, "--mode"));
    *picture = std::move(result);
    return explainStatus("QuibBlt_PANZOOM", status);
}

} // namespace

void addSizes(Operations* table)
{
    table->push_back(
        {"resize",
         "Size",
         "QuibResize QuibResizeFit",
         "Scales the picture to a size.",
         allDepths,
         {{"SIZE", Kind::scale, "the new size; a side left out keeps the proportions"},
          {"--mode", Kind::choice, "how pixels are made", 0, 0,
           "nearest linear smooth cubic area fields-nearest fields-linear", "linear"},
          {"--fit", Kind::choice,
           "exact: to the very size; inside: in proportion, the largest that fits; cover: in "
           "proportion, what exceeds the size cut off evenly",
           0, 0, "exact inside cover", "exact"}},
         applyResize,
         "1 bit: modes other than nearest, smooth and fields make it 8 bits, and those two are "
         "made by way of 32 and end at 8. 8 bits stay 8 in every mode; linear is then that of "
         "zoom. 24 bits become 32 in the modes smooth and fields. area only reduces; fields "
         "keep the rows of two video fields apart and need even heights."});
    table->push_back({"zoom",
                      "Size",
                      "QuibResizeFit",
                      "Scales the picture to a size by the engine, at every depth.",
                      allDepths,
                      {{"SIZE", Kind::scale, "the new size; a side left out keeps the proportions"},
                       {"--mode", Kind::choice, "how pixels are made; area only reduces", 0, 0,
                        "nearest linear cubic area", "linear"}},
                      applyZoom});
    table->push_back(
        {"pan-zoom",
         "Size",
         "QuibBlt_PANZOOM",
         "Shows a view of the picture from a fractional place at a fractional scale.",
         "32",
         {{"ORIGIN", Kind::point, "the place in the picture that comes to the corner", -mostPixels,
           mostPixels},
          {"STEP", Kind::pair, "pixels of the picture for each pixel of the view", 1e-6,
           mostPixels},
          {"--size", Kind::size, "of the view; left out: the picture's", 1, mostPixels, "", ""},
          {"--mode", Kind::choice, "how pixels are made", 0, 0, "nearest linear smooth", "linear"}},
         applyPanZoom});
}
