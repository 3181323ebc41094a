// Parts of pictures.
#include "tools/quib/operations.h"

namespace
{

constexpr const char* wholeBytes = "8 24 32";

// Equal depths, no scaling; the rectangle lies inside both.
QuibStatus copyBox(const Picture& from, const Box& box, const Picture& to, int64_t x, int64_t y)
{
    const auto word = [](int64_t number) { return static_cast<int32_t>(number); };
    return QuibBlt(from.get(), word(box.left), word(box.top), word(box.right), word(box.bottom),
                   to.get(), word(x), word(y), word(x + box.right - box.left),
                   word(y + box.bottom - box.top), 0);
}

Problem applyCrop(const Step& step, Picture* picture)
{
    const Box box = clip(boxOf(step["RECTANGLE"]), *picture);
    if (box.isEmpty())
        return "RECTANGLE misses the picture, which is " +
               sizeText((*picture)->width, (*picture)->height) + " pixels";
    Picture result;
    Problem problem =
        makePicture(box.right - box.left, box.bottom - box.top, depthOf(*picture), 0, &result);
    if (!problem.empty())
        return problem;
    const QuibStatus status = copyBox(*picture, box, result, 0, 0);
    *picture = std::move(result);
    return explainStatus("QuibBlt", status);
}

// Copies as much of `from` as comes to lie inside `to`.
Problem lay(const Picture& from, const Picture& to, int64_t x, int64_t y)
{
    const Box target = clip({x, y, x + from->width, y + from->height}, to);
    if (target.isEmpty())
        return {};
    const Box box{target.left - x, target.top - y, target.right - x, target.bottom - y};
    return explainStatus("QuibBlt", copyBox(from, box, to, target.left, target.top));
}

Problem applyCanvas(const Step& step, Picture* picture)
{
    const Value& size = step["SIZE"];
    const int depth = depthOf(*picture);
    const int64_t width = size.whole(0);
    const int64_t height = size.whole(1);
    Picture result;
    Problem problem = makePicture(width, height, depth, wordOf(step["--colour"], depth), &result);
    if (!problem.empty())
        return problem;
    const Value& place = step["--place"];
    const int64_t x = place.isGiven ? place.whole(0) : (width - (*picture)->width) / 2;
    const int64_t y = place.isGiven ? place.whole(1) : (height - (*picture)->height) / 2;
    problem = lay(*picture, result, x, y);
    *picture = std::move(result);
    return problem;
}

Problem applyPaste(const Step& step, Picture* picture)
{
    const Value& file = step["FILE"];
    const Value& size = step["--size"];
    Picture other;
    Problem problem = loadOther(file.text, depthOf(*picture), &other);
    if (!problem.empty())
        return problem;
    const int32_t x = file.whole(0);
    const int32_t y = file.whole(1);
    if (!size.isGiven)
        return lay(other, *picture, x, y);
    const Box box{x, y, int64_t{x} + size.whole(0), int64_t{y} + size.whole(1)};
    if (box.left < 0 || box.top < 0 || box.right > (*picture)->width ||
        box.bottom > (*picture)->height)
        return "--size and the place of FILE reach out of the picture, which is " +
               sizeText((*picture)->width, (*picture)->height) + " pixels";
    const QuibStatus status =
        QuibBlt(other.get(), 0, 0, other->width, other->height, picture->get(), x, y,
                static_cast<int32_t>(box.right), static_cast<int32_t>(box.bottom), 1);
    return explainStatus("QuibBlt", status);
}

Problem applyFill(const Step& step, Picture* picture)
{
    const uint32_t word = wordOf(step["COLOUR"], depthOf(*picture));
    const Value& inside = step["--in"];
    if (!inside.isGiven)
        return explainStatus("QuibFillColor", QuibFillColor(picture->get(), word, nullptr));
    const Box box = clip(boxOf(inside), *picture);
    if (box.isEmpty())
        return "--in misses the picture, which is " +
               sizeText((*picture)->width, (*picture)->height) + " pixels";
    QuibRect rect{static_cast<int32_t>(box.left), static_cast<int32_t>(box.top),
                  static_cast<int32_t>(box.right), static_cast<int32_t>(box.bottom)};
    return explainStatus("QuibFillColor", QuibFillColor(picture->get(), word, &rect));
}

} // namespace

void addTransfers(Operations* table)
{
    table->push_back({"crop",
                      "Parts",
                      "QuibBlt",
                      "Keeps a rectangle of the picture, as far as it lies inside.",
                      wholeBytes,
                      {{"RECTANGLE", Kind::rectangle, "what to keep", 1, mostPixels}},
                      applyCrop});
    table->push_back(
        {"canvas",
         "Parts",
         "QuibCreate QuibBlt",
         "Lays the picture on a canvas of another size, and cuts off what exceeds it.",
         wholeBytes,
         {{"SIZE", Kind::size, "of the canvas", 1, mostPixels},
          {"--place", Kind::place, "of the picture's corner; left out: in the middle", 0, 0, "",
           ""},
          {"--colour", Kind::colour, "of the canvas; black at 24 bits", 0, 0, "", "transparent"}},
         applyCanvas});
    table->push_back(
        {"paste",
         "Parts",
         "QuibBlt",
         "Copies another picture into this one, alphas included.",
         wholeBytes,
         {{"FILE", Kind::placed, "the other picture, brought to this one's depth"},
          {"--size", Kind::size, "scale it to that size, by nearest pixels; it is to lie inside", 1,
           mostPixels, "", ""}},
         applyPaste});
    table->push_back({"fill",
                      "Parts",
                      "QuibFillColor",
                      "Fills the picture, or a rectangle of it, with a colour.",
                      "1 8 32",
                      {{"COLOUR", Kind::colour, "its gray is taken at 1 and 8 bits"},
                       {"--in", Kind::rectangle, "the rectangle, as far as it lies inside", 1,
                        mostPixels, "", ""}},
                      applyFill});
}
