#include "examples/viewer/edits.h"

#include <utility>

namespace
{

constexpr size_t mostUndone = 16;
constexpr double turnStep = 10;

// Windows at the picture's edges read its nearest pixel, and it is opaque.
void settle(IplImage* picture)
{
    for (int32_t& mode : picture->BorderMode)
        mode = IPL_BORDER_REPLICATE;
    QuibSetAlphaS(picture, nullptr, 255);
}

// Gives the picture before. The same point of it stays in the frame's middle.
Handle takePicture(View* view, Handle picture)
{
    view->x += (picture->width - view->picture->width) / 2.0;
    view->y += (picture->height - view->picture->height) / 2.0;
    settle(picture.get());
    std::swap(view->picture, picture);
    return picture;
}

Handle copyOf(const Handle& picture)
{
    IplImage* copy = nullptr;
    QuibClone(picture.get(), &copy);
    return Handle(copy);
}

// By nKernels kernels of 3 x 3 taps each.
QuibStatus convolve(IplImage* picture, IplImage** result, const int8_t (*taps)[9], int32_t nKernels,
                    int32_t method)
{
    OwnConvKernel* kernels[2] = {};
    QuibStatus status = QUIB_OK;
    for (int32_t i = 0; i < nKernels && status == QUIB_OK; ++i)
        status = QuibCreateConvKernelChar(&kernels[i], 3, 3, 1, 1, taps[i], 0);
    if (status == QUIB_OK)
        status = QuibConvolve2D(picture, result, kernels, nKernels, method);
    for (OwnConvKernel* kernel : kernels)
        if (kernel)
            QuibDeleteConvKernel(kernel);
    return status;
}

QuibStatus flip(IplImage* picture, IplImage** result, int32_t axis)
{
    const QuibStatus status = QuibClone(picture, result);
    return status == QUIB_OK ? QuibFlip(picture, *result, axis) : status;
}

QuibStatus turnInFrame(IplImage* picture, IplImage** result, double angle)
{
    const QuibStatus status = QuibCreate(picture->width, picture->height, 32, result, 0xFF000000u);
    if (status != QUIB_OK)
        return status;
    return QuibRotate(picture, *result, angle, picture->width / 2, picture->height / 2,
                      IPL_INTER_LINEAR);
}

} // namespace

void keepEdit(View* view, Handle picture, const std::string& name)
{
    if (view->past.size() == mostUndone)
        view->past.erase(view->past.begin());
    view->past.push_back(takePicture(view, std::move(picture)));
    view->turn = {};
    view->edit = name;
}

void applyEdit(View* view, Edit edit, const std::string& name)
{
    settle(view->picture.get());
    IplImage* result = nullptr;
    const QuibStatus status = edit(view->picture.get(), &result);
    Handle edited(result);
    if (status == QUIB_OK && edited)
        keepEdit(view, std::move(edited), name);
}

void undoEdit(View* view)
{
    if (view->past.empty())
        return;
    takePicture(view, std::move(view->past.back()));
    view->past.pop_back();
    view->turn = {};
    view->edit = "UNDONE";
}

void turnPicture(View* view, int32_t axis)
{
    if (view->picture->width < 2 || view->picture->height < 2)
        return;
    const bool goesOn = view->turn.start && view->turn.axis == axis;
    Turn turn = goesOn ? std::move(view->turn) : Turn{copyOf(view->picture), axis, 0};
    turn.angle += turnStep;
    IplImage* result = nullptr;
    const QuibStatus status = axis == 0 ? turnInFrame(turn.start.get(), &result, turn.angle)
                                        : QUIBRotate3D(turn.angle, turn.start.get(), &result, axis);
    Handle turned(result);
    if (status != QUIB_OK || !turned)
        return;
    const std::string name = "TURNED " + std::to_string(static_cast<int>(turn.angle));
    if (goesOn)
        takePicture(view, std::move(turned));
    else
        keepEdit(view, std::move(turned), name);
    view->turn = std::move(turn);
    view->edit = name;
}

QuibStatus mirrorColumns(IplImage* picture, IplImage** result)
{
    return flip(picture, result, 1);
}

QuibStatus mirrorRows(IplImage* picture, IplImage** result)
{
    return flip(picture, result, 0);
}

QuibStatus sharpen(IplImage* picture, IplImage** result)
{
    const int8_t taps[1][9] = {{0, -1, 0, -1, 5, -1, 0, -1, 0}};
    return convolve(picture, result, taps, 1, 0);
}

// The length of the gradient.
QuibStatus findEdges(IplImage* picture, IplImage** result)
{
    const int8_t taps[2][9] = {{-1, 0, 1, -2, 0, 2, -1, 0, 1}, {-1, -2, -1, 0, 0, 0, 1, 2, 1}};
    return convolve(picture, result, taps, 2, 2);
}

QuibStatus emboss(IplImage* picture, IplImage** result)
{
    const int8_t taps[1][9] = {{2, 1, 0, 1, 1, -1, 0, -1, -2}};
    return convolve(picture, result, taps, 1, 0);
}

QuibStatus soften(IplImage* picture, IplImage** result)
{
    const int32_t taps[] = {1, 6, 15, 20, 15, 6, 1};
    OwnConvKernel* row = nullptr;
    OwnConvKernel* column = nullptr;
    QuibStatus status = QuibCreateConvKernel(&row, 7, 1, 3, 0, taps, 6);
    if (status == QUIB_OK)
        status = QuibCreateConvKernel(&column, 1, 7, 0, 3, taps, 6);
    if (status == QUIB_OK)
        status = QuibConvolveSep2D(picture, result, row, column);
    for (OwnConvKernel* kernel : {row, column})
        if (kernel)
            QuibDeleteConvKernel(kernel);
    return status;
}

QuibStatus takeMedian(IplImage* picture, IplImage** result)
{
    return QuibMedianFilter(picture, result, 5, 5, 2, 2);
}

// Four channels go through it if the last is declared to be alpha.
QuibStatus takeColorMedian(IplImage* picture, IplImage** result)
{
    picture->alphaChannel = 4;
    const QuibStatus status = QuibColorMedianFilter(picture, result, 5, 5, 2, 2);
    picture->alphaChannel = 0;
    return status;
}

QuibStatus takeLargest(IplImage* picture, IplImage** result)
{
    return QuibMaxFilter(picture, result, 5, 5, 2, 2);
}

QuibStatus takeSmallest(IplImage* picture, IplImage** result)
{
    return QuibMinFilter(picture, result, 5, 5, 2, 2);
}

QuibStatus blur(IplImage* picture, IplImage** result)
{
    return QuibBlur(picture, result, 9, 9, 4, 4);
}

QuibStatus blurInto(IplImage* picture, IplImage** result)
{
    const QuibStatus status = QuibClone(picture, result);
    return status == QUIB_OK ? QuibDecimateBlur(picture, *result, IPL_INTER_LINEAR, 5, 5) : status;
}

// The Laplacian of 3 x 3.
QuibStatus findSpots(IplImage* picture, IplImage** result)
{
    return QuibFixedFilter(picture, result, 4);
}

QuibStatus brighten(IplImage* picture, IplImage** result)
{
    return QuibBrightnessAndContrast(picture, result, 15, 0, 0);
}

QuibStatus darken(IplImage* picture, IplImage** result)
{
    return QuibBrightnessAndContrast(picture, result, -15, 0, 0);
}

QuibStatus addContrast(IplImage* picture, IplImage** result)
{
    return QuibBrightnessAndContrast(picture, result, 0, 15, 0);
}

QuibStatus turnHue(IplImage* picture, IplImage** result)
{
    return QuibHueAndSaturation(picture, result, 30, 0);
}

QuibStatus saturate(IplImage* picture, IplImage** result)
{
    return QuibHueAndSaturation(picture, result, 0, 60);
}

QuibStatus desaturate(IplImage* picture, IplImage** result)
{
    return QuibHueAndSaturation(picture, result, 0, -100);
}

QuibStatus invert(IplImage* picture, IplImage** result)
{
    return QuibNot(picture, result);
}

QuibStatus repeatRows(IplImage* picture, IplImage** result)
{
    const QuibStatus status = QuibClone(picture, result);
    return status == QUIB_OK ? QuibInterlace(*result, 1) : status;
}
