// Tone: brightness, contrast, hue and saturation.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

namespace
{

std::string stepText(int step)
{
    return (step > 0 ? "+" : step < 0 ? "−" : "") + std::to_string(step < 0 ? -step : step);
}

void showBrightness(Demo& demo)
{
    IplImage* image = demo.tile.get();
    IplImage* result = nullptr;
    beginRow(demo, "Brightness", Cards::small);
    for (const int step : {-90, -60, -30, 30, 60, 90})
        showMade(demo, stepText(step), &result,
                 CALL(QuibBrightnessAndContrast(image, &result, step, 0, 0)).with("step", step));
    beginRow(demo, "Contrast", Cards::small);
    for (const int step : {-110, -70, -35, 35, 70, 110})
        showMade(demo, stepText(step), &result,
                 CALL(QuibBrightnessAndContrast(image, &result, 0, step, 0)).with("step", step));
    beginRow(demo, "One channel", Cards::small);
    const char* const names[] = {"Red", "Green", "Blue"};
    for (const int step : {-50, 50})
        for (const int channel : {1, 2, 3})
            showMade(demo, std::string(names[channel - 1]) + " " + stepText(step), &result,
                     CALL(QuibBrightnessAndContrast(image, &result, step, 0, channel))
                         .with("step", step)
                         .with("channel", channel));
}

void showHue(Demo& demo)
{
    IplImage* image = demo.tile.get();
    IplImage* result = nullptr;
    beginRow(demo, "Hue", Cards::small);
    for (const int degrees : {30, 60, 120, 180, 240, 300})
        showMade(demo, std::to_string(degrees) + "°", &result,
                 CALL(QuibHueAndSaturation(image, &result, degrees, 0)).with("degrees", degrees));
    beginRow(demo, "Saturation", Cards::small);
    for (const int step : {-100, -50, 50, 100, 200, 400})
        showMade(demo, stepText(step), &result,
                 CALL(QuibHueAndSaturation(image, &result, 0, step)).with("step", step));
}

} // namespace

void showTone(Demo& demo)
{
    beginSection(demo, "tone", "Change its tone",
                 "Brightness shifts and contrast stretches all colours or one; hue turns the "
                 "colours, and saturation moves the smallest channel away from the largest.");
    showBrightness(demo);
    showHue(demo);
}
