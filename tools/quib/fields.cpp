// The fields of video frames.
#include "tools/quib/operations.h"

namespace
{

Problem applyFields(const Step& step, Picture* picture)
{
    const uint32_t mode = step["KEEP"].text == "odd" ? 0 : 1;
    return explainStatus("QuibInterlace", QuibInterlace(picture->get(), mode));
}

Problem applyWeave(const Step& step, Picture* picture)
{
    Picture odd;
    Problem problem = loadOther(step["FILE"].text, depthOf(*picture), &odd);
    if (!problem.empty())
        return problem;
    if (odd->width != (*picture)->width || odd->height != (*picture)->height)
        return "FILE is a picture of " + sizeText(odd->width, odd->height) +
               " pixels, expected the picture's " + sizeText((*picture)->width, (*picture)->height);
    IplImage* handle = picture->get();
    return explainStatus("QuibUnInterlace", QuibUnInterlace(handle, odd.get(), &handle));
}

} // namespace

void addFields(Operations* table)
{
    table->push_back(
        {"fields",
         "Fields",
         "QuibInterlace",
         "Overwrites the rows of one video field by those of the other.",
         "1 8 24 32",
         {{"KEEP", Kind::choice, "the rows that stay, counted from 0", 0, 0, "even odd"}},
         applyFields});
    table->push_back({"weave",
                      "Fields",
                      "QuibUnInterlace",
                      "Takes the odd rows from another picture.",
                      "1 8 24 32",
                      {{"FILE", Kind::file, "of the same size"}},
                      applyWeave});
}
