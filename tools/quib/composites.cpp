// Pictures over one another, and alphas.
#include "tools/quib/operations.h"

namespace
{

Problem setOpacity(const Picture& picture, int32_t percent)
{
    if (percent == 100)
        return {};
    return explainStatus("QuibSetAlpha",
                         QuibSetAlpha(picture.get(), nullptr, static_cast<uint32_t>(percent)));
}

// In the library's coordinates y grows upwards.
Problem layOver(const Picture& over, const Picture& under, const Value& place)
{
    const QuibPoint position{place.whole(0), -place.whole(1)};
    return explainStatus("QuibComposition4",
                         QuibComposition4(over.get(), under.get(), &position, nullptr));
}

Problem applyOver(const Step& step, Picture* picture)
{
    Picture over;
    Problem problem = loadOther(step["FILE"].text, 32, &over);
    if (problem.empty())
        problem = setOpacity(over, step["--opacity"].whole());
    return problem.empty() ? layOver(over, *picture, step["FILE"]) : problem;
}

Problem applyUnder(const Step& step, Picture* picture)
{
    Picture under;
    Problem problem = loadOther(step["FILE"].text, 32, &under);
    if (problem.empty())
        problem = setOpacity(*picture, step["--opacity"].whole());
    if (problem.empty())
        problem = layOver(*picture, under, step["FILE"]);
    if (problem.empty())
        *picture = std::move(under);
    return problem;
}

Problem applyBlend(const Step& step, Picture* picture)
{
    Picture over;
    Problem problem = loadOther(step["FILE"].text, 32, &over);
    if (!problem.empty())
        return problem;
    return explainStatus("QuibComposition_s",
                         QuibComposition_s(over.get(), picture->get(), nullptr));
}

Problem applyComposite(const Step& step, Picture* picture)
{
    Picture other;
    Problem problem = loadOther(step["FILE"].text, 32, &other);
    if (!problem.empty())
        return problem;
    const Value& alphas = step["--alphas"];
    const int32_t type = choiceOf(step, "TYPE");
    IplImage* result = nullptr;
    QuibStatus status = QUIB_OK;
    if (alphas.isGiven)
        status = QuibComposition2(
            other.get(), picture->get(), static_cast<uint32_t>(alphas.whole(0)),
            static_cast<uint32_t>(alphas.whole(1)), &result, nullptr, nullptr, nullptr, type);
    else
        status = QuibComposition1(other.get(), picture->get(), &result, nullptr, nullptr, nullptr,
                                  type, step["--premultiplied"].isGiven ? 1 : 0,
                                  step["--result"].text == "straight" ? 1 : 0);
    return finishStep(step, status, result, picture);
}

Problem applyOpacity(const Step& step, Picture* picture)
{
    return explainStatus(
        "QuibSetAlpha",
        QuibSetAlpha(picture->get(), nullptr, static_cast<uint32_t>(step["PERCENT"].whole())));
}

Problem applyAlpha(const Step& step, Picture* picture)
{
    return explainStatus(
        "QuibSetAlphaS",
        QuibSetAlphaS(picture->get(), nullptr, static_cast<uint32_t>(step["VALUE"].whole())));
}

Problem applyMask(const Step& step, Picture* picture)
{
    Picture mask;
    Problem problem = loadOther(step["FILE"].text, 8, &mask);
    if (!problem.empty())
        return problem;
    if (mask->width < (*picture)->width || mask->height < (*picture)->height)
        return "FILE is a picture of " + sizeText(mask->width, mask->height) +
               " pixels, expected at least the picture's " +
               sizeText((*picture)->width, (*picture)->height);
    return explainStatus(
        "QuibSetAlpha",
        QuibSetAlpha(picture->get(), mask.get(), static_cast<uint32_t>(step["--opacity"].whole())));
}

Parameter opacityOption(const char* help)
{
    return {"--opacity", Kind::integer, help, 0, 100, "", "100"};
}

void addAlphas(Operations* table)
{
    table->push_back({"opacity",
                      "Composition",
                      "QuibSetAlpha",
                      "Makes all alphas a percentage of what they are.",
                      "32",
                      {{"PERCENT", Kind::integer, "100 changes nothing", 0, 100}},
                      applyOpacity});
    table->push_back({"alpha",
                      "Composition",
                      "QuibSetAlphaS",
                      "Gives all pixels one alpha.",
                      "32",
                      {{"VALUE", Kind::integer, "255 is opaque", 0, 255}},
                      applyAlpha});
    table->push_back({"mask",
                      "Composition",
                      "QuibSetAlpha",
                      "Takes the alphas from the gray of another picture.",
                      "32",
                      {{"FILE", Kind::file, "at least as large"},
                       opacityOption("a percentage of what the mask says")},
                      applyMask});
}

} // namespace

void addComposites(Operations* table)
{
    const char* const where =
        "the other picture; @X,Y: where its corner lies, negative numbers included";
    table->push_back({"over",
                      "Composition",
                      "QuibComposition4",
                      "Lays another picture over this one.",
                      "32",
                      {{"FILE", Kind::placed, where}, opacityOption("of the other picture")},
                      applyOver});
    table->push_back(
        {"under",
         "Composition",
         "QuibComposition4",
         "Lays this picture over another one, whose size the result has.",
         "32",
         {{"FILE", Kind::placed, "the other picture; @X,Y: where this one's corner lies"},
          opacityOption("of this picture")},
         applyUnder});
    table->push_back({"blend",
                      "Composition",
                      "QuibComposition_s",
                      "Blends another picture in by its alphas alone; the result is opaque.",
                      "32",
                      {{"FILE", Kind::file, "the other picture, from the corner on"}},
                      applyBlend});
    table->push_back(
        {"composite",
         "Composition",
         "QuibComposition1 QuibComposition2",
         "Composes another picture, A, with this one, B, by Porter and Duff.",
         "32",
         {{"TYPE", Kind::choice, "how", 0, 0, "over in out atop xor plus"},
          {"FILE", Kind::file, "the picture A; from the corner on, as far as both reach"},
          {"--premultiplied", Kind::flag, "the colours carry their alphas already", 0, 0, "", ""},
          {"--result", Kind::choice, "straight: each colour is divided by the alpha again", 0, 0,
           "straight premultiplied", "straight"},
          {"--alphas", Kind::pair,
           "of A and B in the place of their pixels' own; the result keeps "
           "the alphas of B",
           0, 255, "", "", 0, true}},
         applyComposite});
    addAlphas(table);
}
