// Warps, turns and mirrors.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

#include <algorithm>
#include <cmath>

namespace
{

using Quad = double[4][2];

// A knob at each corner, as a program draws that lets a hand drag them.
void drawKnobs(IplImage* image, const double (*quad)[2])
{
    for (int i = 0; i < 4; ++i)
        for (const int half : {6, 4}) {
            const int x = static_cast<int>(std::lround(quad[i][0]));
            const int y = static_cast<int>(std::lround(quad[i][1]));
            QuibRect knob{x - half, y - half, x + half, y + half};
            check(QuibFillColor(image, half == 6 ? 0xFFFFFFFFu : 0xFF3050C8u, &knob),
                  "QuibFillColor");
        }
}

// A corner of the lying frame dragged step by step towards the opposite one.
void showDrag(Demo& demo)
{
    beginRow(demo, "One corner dragged, until the quadrangle is concave", Cards::normal);
    IplImage* image = demo.image.get();
    const double width = infoOf(image).width;
    const double height = infoOf(image).height;
    const Handle target = emptyLike(image);
    IplImage* result = target.get();
    const char* const titles[] = {"As it was laid", "Dragged inwards", "Nearly flat",
                                  "Past the diagonal: concave"};
    const double places[] = {0.94, 0.74, 0.56, 0.36};
    for (int step = 0; step < 4; ++step) {
        const Quad quad = {{width * 0.06, height * 0.08},
                           {width * 0.92, height * 0.06},
                           {width * places[step], height * places[step]},
                           {width * 0.08, height * 0.93}};
        check(QuibFillColor(result, 0, nullptr), "QuibFillColor");
        showWritten(demo, titles[step], result,
                    CALL(QUIBWarpPerspectiveQ(image, &result, quad, IPL_INTER_LINEAR, false)),
                    Look::cutOut, [&](IplImage* drawn) { drawKnobs(drawn, quad); });
    }
}

// A part of the warped picture, enlarged: interpolations differ in detail.
void showInterpolations(Demo& demo)
{
    beginRow(demo, "Details of a warp, four times as large", Cards::detail);
    IplImage* image = demo.image.get();
    const QuibInfo info = infoOf(image);
    const Handle target = create(90, 60, 32);
    IplImage* result = target.get();
    const QuibRect at = detailOf(image, 30, 20);
    // Three times as large, a little turned, with the detail under the frame.
    const double left = -3.0 * at.left;
    const double top = -3.0 * at.top;
    const Quad quad = {{left + 20, top - 30},
                       {left + 3.0 * info.width, top + 10},
                       {left + 3.0 * info.width - 40, top + 3.0 * info.height},
                       {left - 20, top + 3.0 * info.height}};
    const auto shown = [&](const char* title, const Call& call) {
        const double taken = timed(call);
        showDetail(demo, result, title, call.text, taken, 4);
    };
    shown("Nearest", CALL(QUIBWarpPerspectiveQ(image, &result, quad, IPL_INTER_NN, false)));
    shown("Linear", CALL(QUIBWarpPerspectiveQ(image, &result, quad, IPL_INTER_LINEAR, false)));
    shown("Cubic", CALL(QUIBWarpPerspectiveQ(image, &result, quad, IPL_INTER_CUBIC, false)));
}

// A shape's edge on the backdrop, with and without smoothing.
void showEdges(Demo& demo)
{
    IplImage* image = demo.tile.get();
    const QuibInfo info = infoOf(image);
    const double width = info.width;
    const double height = info.height;
    const Quad quad = {{-width, 24}, {width, -6}, {width, height}, {-width, height}};
    const Handle plain = create(90, 60, 32);
    check(QuibFillColor(plain.get(), 0xFFF4F4F4u, nullptr), "QuibFillColor");
    const Handle target = copyOf(plain.get());
    IplImage* result = target.get();
    const auto shown = [&](const char* title, const Call& call) {
        const double taken =
            timed(call, [&] { check(QuibCopy(plain.get(), &result), "QuibCopy"); });
        showDetail(demo, result, title, call.text, taken, 4);
    };
    shown("A smooth edge", CALL(QUIBWarpPerspectiveQ(image, &result, quad,
                                                     IPL_INTER_LINEAR | IPL_SMOOTH_EDGE, false)));
}

} // namespace

void showCorners(Demo& demo)
{
    beginSection(
        demo, "corners", "Drag its corners",
        "The picture goes onto any quadrangle. Where a perspective exists it is drawn by "
        "that; a concave one is filled by scanlines. In the viewer, W lets the mouse drag the "
        "corners.");
    showDrag(demo);
    showInterpolations(demo);
    showEdges(demo);
}

void showCoefficients(Demo& demo)
{
    beginSection(demo, "coefficients", "Warp it by coefficients",
                 "Affine maps are two rows of three coefficients, perspective ones three. They "
                 "come from a quadrangle, tell where the corners go, and straighten what was taken "
                 "from the side.");
    beginRow(demo, "", Cards::normal);
    IplImage* image = demo.image.get();
    const QuibInfo info = infoOf(image);
    const double width = info.width;
    const double height = info.height;
    IplImage* result = nullptr;
    const double shear[2][3] = {{0.8, 0.25, 0}, {0.1, 0.8, 0}};
    showMade(demo, "Affine: a shear", &result,
             CALL(QUIBWarpAffine(image, &result, shear, IPL_INTER_LINEAR | IPL_SMOOTH_EDGE)),
             Look::alpha);

    const Quad away = {{width * 0.2, height * 0.1},
                       {width * 0.8, height * 0.1},
                       {width * 0.96, height * 0.92},
                       {width * 0.04, height * 0.92}};
    double coeffs[3][3];
    showMade(demo, "The far edge at 60 per cent", &result,
             CALL(QUIBPerspectiveTransform(image, coeffs, away)) +
                 CALL(QUIBWarpPerspective(image, &result, coeffs, 0, IPL_INTER_LINEAR)),
             Look::cutOut);

    double corners[4][2];
    const Handle marked = emptyLike(image);
    IplImage* frame = marked.get();
    showWritten(demo, "Where the corners went", frame,
                CALL(QUIBGetPerspectiveQuad(image, coeffs, corners)) +
                    CALL(QUIBWarpPerspectiveQ_(image, &frame, corners, IPL_INTER_CUBIC, false)),
                Look::cutOut, [&](IplImage* drawn) { drawKnobs(drawn, corners); });

    const Handle tilted = emptyLike(image);
    IplImage* seen = tilted.get();
    check(QUIBWarpPerspectiveQ(image, &seen, away, IPL_INTER_CUBIC, false), "QUIBWarpPerspectiveQ");
    const Handle target = emptyLike(image);
    IplImage* straight = target.get();
    showWritten(demo, "And back: the quadrangle onto the frame", straight,
                CALL(QUIBWarpPerspectiveQ(seen, &straight, away, IPL_INTER_CUBIC, true)));
}

void showTurns(Demo& demo)
{
    beginSection(demo, "turns", "Turn and mirror it",
                 "About an axis in space, by any angle in its plane, or along its rows and "
                 "columns; quarter turns and mirrors move pixels as they are.");
    beginRow(demo, "In space", Cards::small);
    IplImage* tile = demo.tile.get();
    IplImage* result = nullptr;
    for (const int axis : {1, 2, 3})
        for (const int angle : {30, 65}) {
            const char* const names[] = {"the horizontal axis", "the vertical axis", "its middle"};
            showMade(demo, std::to_string(angle) + "° about " + names[axis - 1], &result,
                     CALL(QUIBRotate3D(angle, tile, &result, axis))
                         .with("angle", angle)
                         .with("axis", axis),
                     Look::cutOut);
        }

    IplImage* image = demo.image.get();
    const QuibInfo info = infoOf(image);
    const int x = info.width / 2;
    const int y = info.height / 2;
    const Handle target = emptyLike(image);
    IplImage* turned = target.get();
    beginRow(demo, "In the plane", Cards::normal);
    for (const int angle : {17, 45, 90, 180}) {
        check(QuibFillColor(turned, 0, nullptr), "QuibFillColor");
        showWritten(demo, std::to_string(angle) + "°", turned,
                    CALL(QuibRotate(image, turned, angle, x, y, IPL_INTER_LINEAR))
                        .with("angle", angle)
                        .with("x", x)
                        .with("y", y),
                    Look::cutOut);
    }

    beginRow(demo, "Mirrored", Cards::normal);
    showWritten(demo, "Top and bottom", turned, CALL(QuibFlip(image, turned, 0)));
    showWritten(demo, "Left and right", turned, CALL(QuibFlip(image, turned, 1)));
    showWritten(demo, "Both", turned, CALL(QuibFlip(image, turned, -1)));
    const Handle copy = copyOf(image);
    IplImage* itself = copy.get();
    showWritten(demo, "In place", itself, CALL(QuibFlip(itself, itself, 1)));
}
