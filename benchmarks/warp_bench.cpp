#include "benchmarks/families.h"

#include "_Src/ipl.h"
#include "benchmarks/bench.h"
#include "benchmarks/pixels.h"
#include "benchmarks/pixman_view.h"

#include <cmath>
#include <functional>
#include <memory>
#include <string>

namespace
{

constexpr int width = 1920;
constexpr int height = 1080;

const char* const modeNames[]{"nearest", "bilinear", "cubic"};

struct Matrix {
    double at[3][3];
};

// A turn by 17 degrees and a scale by 0.9, about the centre.
Matrix turned()
{
    const double angle = 17 * 0.017453292519943295;
    const double c = 0.9 * std::cos(angle);
    const double s = 0.9 * std::sin(angle);
    const double x = width / 2.0;
    const double y = height / 2.0;
    return {{{c, s, x - c * x - s * y}, {-s, c, y + s * x - c * y}, {0, 0, 1}}};
}

// Tilted, so that the far edge is 60 per cent of the near one.
Matrix tilted()
{
    const double right = width - 1;
    const double bottom = height - 1;
    const double quad[4][2]{{0.2 * right, 0}, {0.8 * right, 0}, {right, bottom}, {0, bottom}};
    IplImage* source = nullptr;
    QuibCreate0(width, height, 32, &source);
    Matrix matrix{};
    iplGetPerspectiveTransform(source, matrix.at, quad);
    QuibFree(&source);
    return matrix;
}

#if defined(QUIB_BENCH_PIXMAN)
// Up to a factor.
Matrix inverse(const Matrix& matrix)
{
    const auto& m = matrix.at;
    Matrix result{};
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column) {
            const int a = (column + 1) % 3;
            const int b = (column + 2) % 3;
            const int c = (row + 1) % 3;
            const int d = (row + 2) % 3;
            result.at[row][column] = m[a][c] * m[b][d] - m[a][d] * m[b][c];
        }
    return result;
}

// Scaled so that the last coefficient is 1: pixman keeps 16 fraction bits.
void compositeWarped(const Pixels& src, const Pixels& dst, const Matrix& matrix,
                     pixman_filter_t filter)
{
    const Matrix back = inverse(matrix);
    pixman_transform_t transform;
    for (int i = 0; i < 9; ++i)
        transform.matrix[i / 3][i % 3] =
            pixman_double_to_fixed(back.at[i / 3][i % 3] / back.at[2][2]);
    pixman_image_t* from = pixmanView(src.handle());
    pixman_image_t* to = pixmanView(dst.handle());
    pixman_image_set_transform(from, &transform);
    pixman_image_set_filter(from, filter, nullptr, 0);
    pixman_image_composite32(PIXMAN_OP_SRC, from, nullptr, to, 0, 0, 0, 0, 0, 0, width, height);
    pixman_image_unref(from);
    pixman_image_unref(to);
    keep(dst.data());
}
#endif

using Warp = std::function<void(IplImage* src, IplImage* dst, int mode)>;

void addWarp(const std::string& name, int mode, double limit, const Matrix& matrix,
             const Warp& warp)
{
    const auto src = std::make_shared<Pixels>(width, height, 32);
    const auto dst = std::make_shared<Pixels>(width, height, 32);
    Case warpCase{.operation = name + " " + modeNames[mode],
                  .width = width,
                  .height = height,
                  .limit = {.ratio = limit},
                  .ours = [=] { warp(src->handle(), dst->handle(), mode); },
                  .peer = "",
                  .theirs = {},
                  .floor = {}};
#if defined(QUIB_BENCH_PIXMAN)
    const bool nearest = mode == IPL_INTER_NN;
    warpCase.peer = std::string("pixman ") + (nearest ? "nearest" : "bilinear");
    warpCase.theirs = [=] {
        compositeWarped(*src, *dst, matrix,
                        nearest ? PIXMAN_FILTER_NEAREST : PIXMAN_FILTER_BILINEAR);
    };
#else
    static_cast<void>(matrix);
#endif
    addCase(warpCase);
}

} // namespace

void addWarpCases()
{
    const Matrix turn = turned();
    const Matrix tilt = tilted();
    const Warp affine = [turn](IplImage* src, IplImage* dst, int mode) {
        iplWarpAffine(src, dst, turn.at, mode);
    };
    const Warp perspective = [tilt](IplImage* src, IplImage* dst, int mode) {
        iplWarpPerspective(src, dst, tilt.at, 0, mode);
    };
    addWarp("iplWarpAffine", IPL_INTER_NN, 0.15, turn, affine);
    addWarp("iplWarpAffine", IPL_INTER_LINEAR, 0.11, turn, affine);
    addWarp("iplWarpAffine", IPL_INTER_CUBIC, 0.30, turn, affine);
    addWarp("iplWarpPerspective", IPL_INTER_NN, 0.15, tilt, perspective);
    addWarp("iplWarpPerspective", IPL_INTER_LINEAR, 0.12, tilt, perspective);
    addWarp("iplWarpPerspective", IPL_INTER_CUBIC, 0, tilt, perspective);
}
