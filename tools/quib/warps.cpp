// Pictures turned and warped.
#include "tools/quib/operations.h"

#include <cmath>

namespace
{

constexpr double pi = 3.14159265358979323846;
constexpr const char* modes = "nearest linear cubic";

struct Point {
    double x;
    double y;
};

struct Bound {
    double left = 1e300;
    double top = 1e300;
    double right = -1e300;
    double bottom = -1e300;

    void take(const Point& point)
    {
        left = std::min(left, point.x);
        top = std::min(top, point.y);
        right = std::max(right, point.x);
        bottom = std::max(bottom, point.y);
    }
};

Parameter modeOption()
{
    return {"--mode", Kind::choice, "how pixels are made", 0, 0, modes, "linear"};
}

Parameter edgeOption()
{
    return {"--soft-edge", Kind::flag, "soften the edges of the shape", 0, 0, "", ""};
}

int32_t interpolationOf(const Step& step)
{
    return choiceOf(step, "--mode") + (step["--soft-edge"].isGiven ? IPL_SMOOTH_EDGE : 0);
}

Problem checkWarped(const Picture& picture)
{
    if (picture->width < 2 || picture->height < 2)
        return "the picture is " + sizeText(picture->width, picture->height) +
               " pixels, expected two columns and rows or more";
    return checkSides(picture, mostWarpSide);
}

Problem checkBound(const Bound& bound)
{
    const double width = bound.right - bound.left + 1;
    const double height = bound.bottom - bound.top + 1;
    const double far_ = std::max({std::fabs(bound.left), std::fabs(bound.top),
                                  std::fabs(bound.right), std::fabs(bound.bottom)});
    // Comparisons that no number fails, infinities and what is none included.
    if (width <= mostWarpSide && height <= mostWarpSide && far_ <= mostWarpSide)
        return checkSize(static_cast<int64_t>(width), static_cast<int64_t>(height), 32);
    return "the picture would reach " + std::to_string(far_) +
           " pixels from the corner, expected "
           "at most " +
           std::to_string(mostWarpSide);
}

Problem applyFlip(const Step& step, Picture* picture)
{
    const std::string& axis = step["AXIS"].text;
    const int32_t code = axis == "vertical" ? 0 : axis == "horizontal" ? 1 : -1;
    return explainStatus("QuibFlip", QuibFlip(picture->get(), picture->get(), code));
}

// The places of the corner pixels, turned about the centre; right angles are exact.
Bound turnedBound(const Box& box, int32_t centerX, int32_t centerY, double angle)
{
    const double turns = std::fmod(angle, 360) / 90;
    const bool isRight = turns == std::floor(turns);
    const double cosine =
        isRight ? std::round(std::cos(angle * pi / 180)) : std::cos(angle * pi / 180);
    const double sine =
        isRight ? std::round(std::sin(angle * pi / 180)) : std::sin(angle * pi / 180);
    Bound bound;
    for (const int64_t x : {box.left, box.right - 1})
        for (const int64_t y : {box.top, box.bottom - 1}) {
            const auto dx = static_cast<double>(x - centerX);
            const auto dy = static_cast<double>(y - centerY);
            bound.take({centerX + cosine * dx + sine * dy, centerY - sine * dx + cosine * dy});
        }
    return bound;
}

QuibStatus copyWhole(const Picture& from, const Picture& to, int32_t x, int32_t y)
{
    return QuibBlt(from.get(), 0, 0, from->width, from->height, to.get(), x, y, x + from->width,
                   y + from->height, 0);
}

// Around a centre, into a picture that holds all of the turned one: the picture is first
// laid on a canvas with room for both, and the turned one then cut out.
Problem turnWhole(const Step& step, Picture* picture)
{
    const double angle = step["ANGLE"].numbers[0];
    const int depth = depthOf(*picture);
    const int32_t width = (*picture)->width;
    const int32_t height = (*picture)->height;
    const Bound bound = turnedBound({0, 0, width, height}, width / 2, height / 2, angle);
    const auto left = static_cast<int32_t>(std::floor(bound.left + 1e-6));
    const auto top = static_cast<int32_t>(std::floor(bound.top + 1e-6));
    const auto right = static_cast<int32_t>(std::ceil(bound.right - 1e-6)) + 1;
    const auto bottom = static_cast<int32_t>(std::ceil(bound.bottom - 1e-6)) + 1;
    const int32_t x = std::max(-left, 0);
    const int32_t y = std::max(-top, 0);
    const uint32_t word = wordOf(step["--colour"], depth);
    Picture canvas, turned, result;
    Problem problem =
        makePicture(std::max(right, width) + x, std::max(bottom, height) + y, depth, word, &canvas);
    if (problem.empty())
        problem = copyPicture(canvas, &turned);
    if (problem.empty())
        problem = makePicture(right - left, bottom - top, depth, 0, &result);
    if (problem.empty())
        problem = checkSides(canvas, mostWarpSide);
    if (!problem.empty())
        return problem;
    QuibStatus status = copyWhole(*picture, canvas, x, y);
    if (status == QUIB_OK)
        status = QuibRotate(canvas.get(), turned.get(), angle, x + width / 2, y + height / 2,
                            interpolationOf(step));
    if (status == QUIB_OK)
        status = QuibBlt(turned.get(), left + x, top + y, right + x, bottom + y, result.get(), 0, 0,
                         result->width, result->height, 0);
    *picture = std::move(result);
    return explainStatus("QuibRotate", status);
}

Problem applyRotate(const Step& step, Picture* picture)
{
    Problem problem = checkWarped(*picture);
    if (!problem.empty())
        return problem;
    const int depth = depthOf(*picture);
    if (step["--whole"].isGiven) {
        problem = depth == 1 ? changeDepth(8, picture) : Problem();
        return problem.empty() ? turnWhole(step, picture) : problem;
    }
    const Value& center = step["--center"];
    const int32_t x = center.isGiven ? center.whole(0) : (*picture)->width / 2;
    const int32_t y = center.isGiven ? center.whole(1) : (*picture)->height / 2;
    Picture result;
    problem = makePicture((*picture)->width, (*picture)->height, depth,
                          wordOf(step["--colour"], depth), &result);
    if (!problem.empty())
        return problem;
    const QuibStatus status = QuibRotate(picture->get(), result.get(), step["ANGLE"].numbers[0], x,
                                         y, interpolationOf(step));
    *picture = std::move(result);
    return explainStatus("QuibRotate", status);
}

Problem applyRotate3d(const Step& step, Picture* picture)
{
    Problem problem = checkWarped(*picture);
    const double diagonal = std::hypot((*picture)->width, (*picture)->height) + 2;
    if (problem.empty())
        problem = checkBound({0, 0, diagonal, diagonal});
    if (!problem.empty())
        return problem;
    IplImage* result = nullptr;
    const QuibStatus status =
        QUIBRotate3D(step["ANGLE"].numbers[0], picture->get(), &result, choiceOf(step, "AXIS") + 1);
    return finishStep(step, status, result, picture);
}

Problem applyAffine(const Step& step, Picture* picture)
{
    double c[2][3];
    for (size_t i = 0; i < 6; ++i)
        c[i / 3][i % 3] = step["COEFFICIENTS"].numbers[i];
    if (!(std::fabs(c[0][0] * c[1][1] - c[1][0] * c[0][1]) > 1e-7))
        return "COEFFICIENTS flatten the picture: C0 x C4 - C1 x C3 is "
               "not above 0.0000001 in magnitude";
    Problem problem = checkWarped(*picture);
    if (!problem.empty())
        return problem;
    Bound bound;
    for (const double x : {0.0, (*picture)->width - 1.0})
        for (const double y : {0.0, (*picture)->height - 1.0})
            bound.take({c[0][0] * x + c[0][1] * y + c[0][2], c[1][0] * x + c[1][1] * y + c[1][2]});
    problem = checkBound(bound);
    if (!problem.empty())
        return problem;
    if (step["--whole"].isGiven) {
        c[0][2] -= bound.left;
        c[1][2] -= bound.top;
    }
    IplImage* result = nullptr;
    const QuibStatus status = QUIBWarpAffine(picture->get(), &result, c, interpolationOf(step));
    return finishStep(step, status, result, picture);
}

// No corner is straight or turns the other way.
bool isConvex(const Point (&quad)[4])
{
    int left = 0;
    int right = 0;
    for (size_t i = 0; i < 4; ++i) {
        const Point& a = quad[i];
        const Point& b = quad[(i + 1) % 4];
        const Point& c = quad[(i + 2) % 4];
        const double cross = (b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x);
        left += cross > 0.1;
        right += cross < -0.1;
    }
    return left == 4 || right == 4;
}

// Where the coefficients take the corners of a picture of that size.
Problem mapCorners(const double (&c)[3][3], int64_t width, int64_t height, Bound* bound)
{
    const auto right = static_cast<double>(width - 1);
    const auto bottom = static_cast<double>(height - 1);
    const Point corners[4] = {{0, 0}, {right, 0}, {right, bottom}, {0, bottom}};
    Point quad[4];
    int behind = 0;
    for (size_t i = 0; i < 4; ++i) {
        const auto& [x, y] = corners[i];
        const double w = c[2][0] * x + c[2][1] * y + c[2][2];
        behind += w < 0;
        if (!(std::fabs(w) > 1e-9))
            return "COEFFICIENTS take a corner of the picture to infinity";
        quad[i] = {(c[0][0] * x + c[0][1] * y + c[0][2]) / w,
                   (c[1][0] * x + c[1][1] * y + c[1][2]) / w};
        bound->take(quad[i]);
    }
    if (behind % 4 != 0 || !isConvex(quad))
        return "COEFFICIENTS make no convex quadrangle of the picture";
    return checkBound(*bound);
}

Problem applyHomography(const Step& step, Picture* picture)
{
    double c[3][3];
    for (size_t i = 0; i < 9; ++i)
        c[i / 3][i % 3] = step["COEFFICIENTS"].numbers[i];
    const bool isInverse = step["--inverse"].isGiven;
    Problem problem = checkWarped(*picture);
    Bound bound;
    if (problem.empty())
        problem = mapCorners(c, (*picture)->width, (*picture)->height, &bound);
    if (!problem.empty())
        return problem;
    const auto width = static_cast<int64_t>(bound.right - bound.left) + 1;
    const auto height = static_cast<int64_t>(bound.bottom - bound.top) + 1;
    Bound seen;
    if (isInverse && (width < 2 || height < 2))
        return "COEFFICIENTS make a picture of one column or row, expected more";
    if (isInverse)
        problem = mapCorners(c, width, height, &seen);
    if (!problem.empty())
        return problem;
    IplImage* result = nullptr;
    const QuibStatus status =
        QUIBWarpPerspective(picture->get(), &result, c, isInverse ? 1 : 0, interpolationOf(step));
    return finishStep(step, status, result, picture);
}

Problem makeTarget(const Step& step, const Bound& bound, const Picture& picture, Picture* target)
{
    const Value& size = step["--size"];
    if (size.isGiven)
        return makePicture(size.whole(0), size.whole(1), 32, 0, target);
    if (step["--inverse"].isGiven)
        return makePicture(picture->width, picture->height, 32, 0, target);
    return makePicture(std::max<int64_t>(static_cast<int64_t>(bound.right) + 1, 1),
                       std::max<int64_t>(static_cast<int64_t>(bound.bottom) + 1, 1), 32, 0, target);
}

Problem applyPerspective(const Step& step, Picture* picture)
{
    double quad[4][2];
    Point corners[4];
    Bound bound;
    static const char* const names[] = {"LEFT-TOP", "RIGHT-TOP", "RIGHT-BOTTOM", "LEFT-BOTTOM"};
    for (size_t i = 0; i < 4; ++i) {
        corners[i] = {step[names[i]].numbers[0], step[names[i]].numbers[1]};
        quad[i][0] = corners[i].x;
        quad[i][1] = corners[i].y;
        bound.take(corners[i]);
    }
    const bool isInverse = step["--inverse"].isGiven;
    if (isInverse && !isConvex(corners))
        return "the corners make no convex quadrangle, which --inverse needs";
    Problem problem = checkWarped(*picture);
    if (problem.empty())
        problem = checkBound(bound);
    Picture target;
    if (problem.empty())
        problem = makeTarget(step, bound, *picture, &target);
    if (problem.empty())
        problem = checkWarped(target);
    if (!problem.empty())
        return problem;
    IplImage* handle = target.get();
    const QuibStatus status =
        QUIBWarpPerspectiveQ(picture->get(), &handle, quad, interpolationOf(step), isInverse);
    *picture = std::move(target);
    return explainStatus("QUIBWarpPerspectiveQ", status);
}

void addTurns(Operations* table)
{
    table->push_back({"flip",
                      "Geometry",
                      "QuibFlip",
                      "Turns the picture over.",
                      "1 8 24 32",
                      {{"AXIS", Kind::choice, "vertical: top and bottom change places", 0, 0,
                        "vertical horizontal both"}},
                      applyFlip});
    table->push_back(
        {"rotate",
         "Geometry",
         "QuibRotate",
         "Turns the picture counter-clockwise; right angles move pixels as they are.",
         "1 8 24 32",
         {{"ANGLE", Kind::real, "in degrees", -3600, 3600},
          {"--center", Kind::place, "stays where it is; left out: the middle", 0, 0, "", ""},
          {"--whole", Kind::flag, "make room for all of the turned picture; 1 bit becomes 8", 0, 0,
           "", ""},
          {"--colour", Kind::colour, "of what is not covered; black at 24 bits", 0, 0, "",
           "transparent"},
          modeOption(),
          edgeOption()},
         applyRotate});
    table->push_back({"rotate3d",
                      "Geometry",
                      "QUIBRotate3D",
                      "Turns the picture about an axis in space, without perspective.",
                      "32",
                      {{"AXIS", Kind::choice,
                        "x: the horizontal axis; y: the vertical one; z: in "
                        "the picture's plane",
                        0, 0, "x y z"},
                       {"ANGLE", Kind::real, "in degrees; multiples of 90 gain one", -3600, 3600}},
                      applyRotate3d});
}

} // namespace

void addWarps(Operations* table)
{
    constexpr double most = mostWarpSide;
    addTurns(table);
    table->push_back({"affine",
                      "Geometry",
                      "QUIBWarpAffine",
                      "Takes pixel (x, y) to (C0 x + C1 y + C2, C3 x + C4 y + C5).",
                      "32",
                      {{"COEFFICIENTS", Kind::reals, "C0 to C5", -1e6, 1e6, "", nullptr, 6},
                       {"--whole", Kind::flag,
                        "shift the result so that nothing is lost left and above", 0, 0, "", ""},
                       modeOption(),
                       edgeOption()},
                      applyAffine});
    table->push_back(
        {"homography",
         "Geometry",
         "QUIBWarpPerspective",
         "Takes pixel (x, y) to (C0 x + C1 y + C2, C3 x + C4 y + C5) over C6 x + C7 y + C8.",
         "32",
         {{"COEFFICIENTS", Kind::reals, "C0 to C8", -1e6, 1e6, "", nullptr, 9},
          {"--inverse", Kind::flag, "they take pixels of the result to places of the picture", 0, 0,
           "", ""},
          modeOption(),
          edgeOption()},
         applyHomography});
    table->push_back({"perspective",
                      "Geometry",
                      "QUIBWarpPerspectiveQ",
                      "Draws the picture onto a quadrangle, given by the places of its corners.",
                      "32",
                      {{"LEFT-TOP", Kind::point, "where that corner goes", -most, most},
                       {"RIGHT-TOP", Kind::point, "where that corner goes", -most, most},
                       {"RIGHT-BOTTOM", Kind::point, "where that corner goes", -most, most},
                       {"LEFT-BOTTOM", Kind::point, "where that corner goes", -most, most},
                       {"--size", Kind::size,
                        "of the result; left out: down to the lowest and rightmost corner, or with "
                        "--inverse the "
                        "picture's",
                        1, most, "", ""},
                       {"--inverse", Kind::flag,
                        "draw the quadrangle of the picture onto all of the result", 0, 0, "", ""},
                       modeOption(),
                       edgeOption()},
                      applyPerspective,
                      "A concave quadrangle is drawn row by row, of nearest pixels."});
}
