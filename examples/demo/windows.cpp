// Filters with windows of their own: means, fixed taps, ranks.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

#include <algorithm>

namespace
{

// The photograph with a pixel in twelve black or white, for medians to mend.
Handle speckled(const IplImage* image)
{
    const QuibInfo info = infoOf(image);
    Handle noisy = copyOf(image);
    uint32_t state = 1;
    for (int y = 0; y < info.height; ++y) {
        uint8_t* row = rowOf(noisy.get(), y);
        for (int x = 0; x < info.width; ++x) {
            state = state * 1664525u + 1013904223u;
            if ((state >> 24) % 12 == 0)
                std::fill_n(row + x * 4, 3, static_cast<uint8_t>(state >> 23 & 1 ? 255 : 0));
        }
    }
    replicateBorder(noisy.get());
    return noisy;
}

void showMeans(Demo& demo, const IplImage* image)
{
    IplImage* result = nullptr;
    beginRow(demo, "Means", Cards::normal);
    showMade(demo, "Mean of 5 × 5", &result, CALL(QuibBlur(image, &result, 5, 5, 2, 2)));
    showMade(demo, "Mean of 15 × 15", &result, CALL(QuibBlur(image, &result, 15, 15, 7, 7)));
    showMade(demo, "Mean of 31 × 1", &result, CALL(QuibBlur(image, &result, 31, 1, 15, 0)));
    showMade(demo, "Mean of 1 × 31", &result, CALL(QuibBlur(image, &result, 1, 31, 0, 15)));
}

void showFixed(Demo& demo)
{
    const Handle owner = copyOf(demo.tile.get());
    replicateBorder(owner.get());
    const IplImage* tile = owner.get();
    IplImage* result = nullptr;
    beginRow(demo, "Windows that are fixed", Cards::small);
    const char* const names[] = {"Prewitt, across",    "Prewitt, down",   "Sobel, across",
                                 "Sobel, down",        "Laplacian 3 × 3", "Laplacian 5 × 5",
                                 "Gaussian 3 × 3",     "Gaussian 5 × 5",  "Less its mean of 3",
                                 "Less its mean of 5", "Sharpened"};
    show(demo, tile, "The photograph", "", -1);
    for (int filter = 0; filter <= 10; ++filter)
        showMade(demo, names[filter], &result,
                 CALL(QuibFixedFilter(tile, &result, filter)).with("filter", filter));
}

void showRanks(Demo& demo, const IplImage* image)
{
    IplImage* result = nullptr;
    beginRow(demo, "Ranks", Cards::normal);
    showMade(demo, "Largest of 7 × 7", &result, CALL(QuibMaxFilter(image, &result, 7, 7, 3, 3)));
    showMade(demo, "Smallest of 7 × 7", &result, CALL(QuibMinFilter(image, &result, 7, 7, 3, 3)));
    showMade(demo, "Median of 9 × 9", &result, CALL(QuibMedianFilter(image, &result, 9, 9, 4, 4)));
    showMade(demo, "Largest of 21 × 1", &result, CALL(QuibMaxFilter(image, &result, 21, 1, 10, 0)));
}

void showMedians(Demo& demo)
{
    IplImage* result = nullptr;
    beginRow(demo, "Specks mended", Cards::normal);
    const Handle noisy = speckled(demo.image.get());
    const Handle noisyColour = dropAlpha(noisy.get());
    replicateBorder(noisyColour.get());
    const IplImage* specks = noisy.get();
    const IplImage* colour = noisyColour.get();
    show(demo, specks, "A pixel in twelve spoilt", "", -1);
    showMade(demo, "Median of 3 × 3", &result, CALL(QuibMedianFilter(specks, &result, 3, 3, 1, 1)));
    showMade(demo, "Median of 5 × 5", &result, CALL(QuibMedianFilter(specks, &result, 5, 5, 2, 2)));
    showMade(demo, "Colour median of 3 × 3", &result,
             CALL(QuibColorMedianFilter(colour, &result, 3, 3, 1, 1)));
}

void showBlurredReduction(Demo& demo, IplImage* image)
{
    beginRow(demo, "Blurred before it is reduced to a fifth, and shown five times as large",
             Cards::detail);
    const QuibInfo info = infoOf(image);
    const Handle between = emptyLike(image);
    const Handle target = create(info.width / 5, info.height / 5, 32);
    IplImage* blurred = between.get();
    IplImage* smaller = target.get();
    const auto reduce = [&](const char* title, const Call& call) {
        const double taken = timed(call);
        showDetail(demo, smaller, title, call.text, taken, 5);
    };
    const Call resize = CALL(QuibResize(blurred, smaller, STRETCH_NEAREST));
    reduce("Not blurred", CALL(QuibResize(image, smaller, STRETCH_NEAREST)));
    reduce("By 3 × 3", CALL(QuibDecimateBlur(image, blurred, IPL_INTER_LINEAR, 3, 3)) + resize);
    reduce("By 5 × 5", CALL(QuibDecimateBlur(image, blurred, IPL_INTER_LINEAR, 5, 5)) + resize);
    reduce("By 11 × 11", CALL(QuibDecimateBlur(image, blurred, IPL_INTER_LINEAR, 11, 11)) + resize);
}

} // namespace

void showWindows(Demo& demo)
{
    beginSection(demo, "windows", "Filter it by windows",
                 "Means of any window, eleven windows with fixed taps, and the largest, smallest "
                 "and middle values; the colour median takes the pixel that differs least from all "
                 "others.");
    const Handle owner = copyOf(demo.image.get());
    replicateBorder(owner.get());
    showMeans(demo, owner.get());
    showFixed(demo);
    showRanks(demo, owner.get());
    showMedians(demo);
    showBlurredReduction(demo, owner.get());
}
