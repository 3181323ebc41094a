#include "examples/viewer/corners.h"

#include "examples/viewer/edits.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{

constexpr double reach = 24; // frame pixels between the mouse and a knob
constexpr double largestSide = 8192;
constexpr int32_t interpolations[] = {IPL_INTER_NN, IPL_INTER_LINEAR, IPL_INTER_CUBIC};

void takePictureCorners(View* view)
{
    const double right = view->picture->width - 1;
    const double bottom = view->picture->height - 1;
    const double quad[4][2] = {{0, 0}, {right, 0}, {right, bottom}, {0, bottom}};
    std::memcpy(view->corners.quad, quad, sizeof quad);
}

void drawKnob(IplImage* frame, double x, double y, int32_t half, uint32_t color)
{
    // One that lies outside is refused.
    const double limit = 1e6;
    const int32_t left = static_cast<int32_t>(std::clamp(std::round(x), -limit, limit));
    const int32_t top = static_cast<int32_t>(std::clamp(std::round(y), -limit, limit));
    QuibRect knob{left - half, top - half, left + half + 1, top + half + 1};
    QuibFillColor(frame, color, &knob);
}

// The warp as a picture of its own, as large as the quadrangle's box.
void keepWarp(View* view)
{
    double low[2], high[2], quad[4][2];
    for (int axis = 0; axis < 2; ++axis) {
        low[axis] = high[axis] = view->corners.quad[0][axis];
        for (const auto& corner : view->corners.quad) {
            low[axis] = std::min(low[axis], corner[axis]);
            high[axis] = std::max(high[axis], corner[axis]);
        }
    }
    if (high[0] - low[0] > largestSide || high[1] - low[1] > largestSide)
        return;
    for (int i = 0; i < 4; ++i)
        for (int axis = 0; axis < 2; ++axis)
            quad[i][axis] = view->corners.quad[i][axis] - low[axis];
    const int32_t width = static_cast<int32_t>(std::ceil(high[0] - low[0])) + 1;
    const int32_t height = static_cast<int32_t>(std::ceil(high[1] - low[1])) + 1;
    IplImage* warped = nullptr;
    if (QuibCreate(width, height, 32, &warped, 0xFF000000u) != QUIB_OK)
        return;
    QUIBWarpPerspectiveQ(view->picture.get(), &warped, quad, interpolations[view->mode], false);
    view->x -= low[0];
    view->y -= low[1];
    keepEdit(view, Handle(warped), "WARPED");
}

} // namespace

void toggleCorners(View* view)
{
    // A warp needs two columns and rows.
    if (view->picture->width < 2 || view->picture->height < 2)
        return;
    if (!view->corners.areShown) {
        takePictureCorners(view);
        view->corners.areShown = true;
        // Room around them.
        fitPicture(view);
        turnWheel(view, -1, view->frame->width / 2.0, view->frame->height / 2.0);
        return;
    }
    const Corners before = view->corners;
    takePictureCorners(view);
    const bool moved = std::memcmp(before.quad, view->corners.quad, sizeof before.quad) != 0;
    view->corners = before;
    view->corners.areShown = false;
    if (moved)
        keepWarp(view);
}

bool isConvex(const Corners& corners)
{
    int left = 0;
    int right = 0;
    for (int i = 0; i < 4; ++i) {
        const double* a = corners.quad[i];
        const double* b = corners.quad[(i + 1) % 4];
        const double* c = corners.quad[(i + 2) % 4];
        const double turn = (b[0] - a[0]) * (c[1] - b[1]) - (b[1] - a[1]) * (c[0] - b[0]);
        left += turn < 0;
        right += turn > 0;
    }
    return left == 4 || right == 4;
}

int cornerAt(const View& view, double frameX, double frameY)
{
    int nearest = -1;
    double least = reach;
    for (int i = 0; i < 4; ++i) {
        const double right = (view.corners.quad[i][0] - view.x) * view.zoom - frameX;
        const double down = (view.corners.quad[i][1] - view.y) * view.zoom - frameY;
        if (std::hypot(right, down) <= least) {
            least = std::hypot(right, down);
            nearest = i;
        }
    }
    return nearest;
}

void moveCorner(View* view, double right, double down)
{
    const double width = view->picture->width;
    const double height = view->picture->height;
    double* corner = view->corners.quad[view->corners.held];
    corner[0] = std::clamp(corner[0] + right, -width, 2 * width);
    corner[1] = std::clamp(corner[1] + down, -height, 2 * height);
}

void drawCorners(View* view)
{
    double quad[4][2];
    for (int i = 0; i < 4; ++i) {
        quad[i][0] = (view->corners.quad[i][0] - view->x) * view->zoom;
        quad[i][1] = (view->corners.quad[i][1] - view->y) * view->zoom;
    }
    IplImage* frame = view->frame.get();
    QUIBWarpPerspectiveQ(view->picture.get(), &frame, quad, interpolations[view->mode], false);
    for (const auto& corner : quad) {
        drawKnob(frame, corner[0], corner[1], 6, 0xFFFFFFFFu);
        drawKnob(frame, corner[0], corner[1], 4, 0xFF3050C8u);
    }
}
