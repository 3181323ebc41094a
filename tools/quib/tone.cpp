// Brightness, colours, grays and depths.
#include "tools/quib/operations.h"

namespace
{

Problem adjust(Picture* picture, int32_t brightness, int32_t contrast, int32_t channel)
{
    IplImage* handle = picture->get();
    return explainStatus("QuibBrightnessAndContrast",
                         QuibBrightnessAndContrast(handle, &handle, brightness, contrast, channel));
}

Problem applyBrightness(const Step& step, Picture* picture)
{
    return adjust(picture, step["BRIGHTNESS"].whole(), step["CONTRAST"].whole(),
                  choiceOf(step, "--channel"));
}

Problem applyContrast(const Step& step, Picture* picture)
{
    return adjust(picture, 0, step["CONTRAST"].whole(), choiceOf(step, "--channel"));
}

Problem turn(Picture* picture, int32_t hue, int32_t saturation)
{
    if (hue == 0 && saturation == 0)
        return {};
    IplImage* handle = picture->get();
    return explainStatus("QuibHueAndSaturation",
                         QuibHueAndSaturation(handle, &handle, hue, saturation));
}

Problem applyHue(const Step& step, Picture* picture)
{
    return turn(picture, step["DEGREES"].whole(), step["SATURATION"].whole());
}

Problem applySaturation(const Step& step, Picture* picture)
{
    return turn(picture, 0, step["PERCENT"].whole());
}

Problem applyGray(const Step& step, Picture* picture)
{
    if (depthOf(*picture) != 1)
        return changeDepth(8, picture);
    IplImage* gray = nullptr;
    const QuibStatus status =
        QuibBitonalToGray(picture->get(), &gray, step["--zero"].whole(), step["--one"].whole());
    return takeResult("QuibBitonalToGray", status, gray, picture);
}

// What reaches the level saturates, becomes 1 as all else becomes 0, and then 255.
Problem applyThreshold(const Step& step, Picture* picture)
{
    Problem problem = changeDepth(8, picture);
    const struct {
        QuibStatus (*function)(const IplImage*, IplImage**, int32_t);
        int32_t value;
    } calls[] = {{QuibAddS, 255 - step["LEVEL"].whole()}, {QuibAddS, -254}, {QuibMultiplyS, 255}};
    for (const auto& [function, value] : calls) {
        if (!problem.empty())
            return problem;
        IplImage* result = nullptr;
        const QuibStatus status = function(picture->get(), &result, value);
        problem = takeResult("QuibAddS", status, result, picture);
    }
    return problem;
}

Problem applyDepth(const Step& step, Picture* picture)
{
    return changeDepth(std::stoi(step["BITS"].text), picture);
}

Parameter channelOption()
{
    return {"--channel", Kind::choice, "which colours", 0, 0, "all red green blue", "all"};
}

void addDepths(Operations* table)
{
    table->push_back(
        {"gray",
         "Tone",
         "QuibColorToGray QuibBitonalToGray",
         "Makes an 8-bit picture of the colours' gray; white becomes 254.",
         "1 8 24 32",
         {{"--zero", Kind::integer, "the gray of a clear bit in a 1-bit picture", 0, 255, "", "0"},
          {"--one", Kind::integer, "the gray of a set bit", 0, 255, "", "255"}},
         applyGray});
    table->push_back({"threshold",
                      "Tone",
                      "QuibAddS QuibMultiplyS",
                      "Makes an 8-bit picture, 255 where the gray reaches a level, else 0.",
                      "1 8 24 32",
                      {{"LEVEL", Kind::integer, "0 makes all white", 0, 255}},
                      applyThreshold});
    table->push_back({"depth",
                      "Tone",
                      "QuibColorToGray QuibBitonalToGray",
                      "Changes the bits per pixel.",
                      "1 8 24 32",
                      {{"BITS", Kind::choice, "1 sets the bits where the gray is 128 or more", 0, 0,
                        "1 8 24 32"}},
                      applyDepth,
                      "Grays become colours of three equal parts; 24 bits have no alpha, and 32 "
                      "made of fewer are opaque."});
}

} // namespace

void addTone(Operations* table)
{
    table->push_back({"brightness",
                      "Tone",
                      "QuibBrightnessAndContrast",
                      "Shifts the brightness and stretches the contrast.",
                      "32",
                      {{"BRIGHTNESS", Kind::integer, "what is added", -128, 127},
                       {"CONTRAST", Kind::integer, "above 0 more, below less", -128, 127, "", "0"},
                       channelOption()},
                      applyBrightness});
    table->push_back(
        {"contrast",
         "Tone",
         "QuibBrightnessAndContrast",
         "Stretches the contrast.",
         "32",
         {{"CONTRAST", Kind::integer, "above 0 more, below less", -128, 127}, channelOption()},
         applyContrast});
    table->push_back({"hue",
                      "Tone",
                      "QuibHueAndSaturation",
                      "Turns the hue, and may change the saturation.",
                      "32",
                      {{"DEGREES", Kind::integer, "120 makes green of red", -360, 360},
                       {"SATURATION", Kind::integer, "400 gives full saturation, -100 gray", -100,
                        400, "", "0"}},
                      applyHue});
    table->push_back(
        {"saturation",
         "Tone",
         "QuibHueAndSaturation",
         "Changes the saturation.",
         "32",
         {{"PERCENT", Kind::integer, "400 gives full saturation, -100 gray", -100, 400}},
         applySaturation});
    addDepths(table);
}
