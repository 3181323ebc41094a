// Convolutions with kernels of the program's own.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

#include <memory>

namespace
{

struct KernelDeleter {
    void operator()(OwnConvKernel* kernel) const { QuibDeleteConvKernel(kernel); }
};
using Kernel = std::unique_ptr<OwnConvKernel, KernelDeleter>;

Kernel makeKernel(int columns, int rows, const int32_t* values, int shift)
{
    OwnConvKernel* kernel = nullptr;
    check(QuibCreateConvKernel(&kernel, columns, rows, columns / 2, rows / 2, values, shift),
          "QuibCreateConvKernel");
    return Kernel(kernel);
}

Handle grayOf(IplImage* image)
{
    IplImage* gray = nullptr;
    check(QuibColorToGray(image, &gray), "QuibColorToGray");
    replicateBorder(gray);
    return Handle(gray);
}

} // namespace

void showConvolution(Demo& demo)
{
    beginSection(demo, "convolution", "Convolve it",
                 "Kernels of any size, up to ten at a time; their results are added, squared and "
                 "added, or the larger or smaller taken. Long kernels go faster as a row and a "
                 "column.");
    beginRow(demo, "", Cards::normal);
    const Handle owner = copyOf(demo.image.get());
    IplImage* image = owner.get();
    replicateBorder(image);
    IplImage* result = nullptr;

    const int8_t sharpen[] = {0, -1, 0, -1, 5, -1, 0, -1, 0};
    OwnConvKernel* kernel = nullptr;
    showMade(demo, "Sharpened by 3 × 3 signed bytes", &result,
             CALL(QuibCreateConvKernelChar(&kernel, 3, 3, 1, 1, sharpen, 0)) +
                 CALL(QuibConvolve2D(image, &result, &kernel, 1, 0)) +
                 CALL(QuibDeleteConvKernel(kernel)));

    const int32_t across[] = {-1, 0, 1, -2, 0, 2, -1, 0, 1};
    const int32_t down[] = {-1, -2, -1, 0, 0, 0, 1, 2, 1};
    const Kernel first = makeKernel(3, 3, across, 0);
    const Kernel second = makeKernel(3, 3, down, 0);
    OwnConvKernel* const both[] = {first.get(), second.get()};
    const Handle plane = grayOf(image);
    const IplImage* gray = plane.get();
    showMade(demo, "The gradient's length, of two kernels", &result,
             CALL(QuibConvolve2D(gray, &result, both, 2, 2)));

    const int32_t binomial[] = {1, 6, 15, 20, 15, 6, 1};
    OwnConvKernel* row = nullptr;
    OwnConvKernel* column = nullptr;
    check(QuibCreateConvKernel(&row, 7, 1, 3, 0, binomial, 6), "QuibCreateConvKernel");
    check(QuibCreateConvKernel(&column, 1, 7, 0, 3, binomial, 6), "QuibCreateConvKernel");
    const Kernel rowOwner(row);
    const Kernel columnOwner(column);
    showMade(demo, "A row and a column of seven", &result,
             CALL(QuibConvolveSep2D(image, &result, row, column)));

    // What a kernel was made of, turned half round.
    int32_t taps[9];
    int8_t bytes[9];
    int32_t* values = taps;
    int8_t* chars = bytes;
    int32_t columns = 0, rows = 0, x = 0, y = 0, shift = 0;
    const OwnConvKernel* sobel = first.get();
    const Call get = CALL(QuibGetConvKernel(sobel, &columns, &rows, &x, &y, &values, &shift)) +
                     CALL(QuibGetConvKernelChar(sobel, &columns, &rows, &x, &y, &chars, &shift)) +
                     CALL(QuibCreateConvKernel(&kernel, columns, rows, x, y, values, shift)) +
                     CALL(QuibConvolve2D(gray, &result, &kernel, 1, 0)) +
                     CALL(QuibDeleteConvKernel(kernel));
    showMade(demo, "A kernel asked and made again", &result, get);
}
