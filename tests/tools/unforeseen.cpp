// In the place of the operations on fields: one that the library's engine refuses, or that
// faults, and that the tool does not foresee. It is for pictures 13 pixels wide; others it
// leaves alone.
#include "tools/quib/operations.h"

namespace
{

Problem applyUnforeseen(const Step& step, Picture* picture)
{
    if ((*picture)->width != 13)
        return {};
    if (step["HOW"].text == "fault")
        __builtin_trap();
    IplImage* result = nullptr;
    return takeResult("QuibBlur", QuibBlur(picture->get(), &result, 3, 3, 9, 9), result, picture);
}

} // namespace

void addFields(Operations* table)
{
    table->push_back({"unforeseen",
                      "Fields",
                      "QuibBlur",
                      "Fails.",
                      "1 8 24 32",
                      {{"HOW", Kind::choice, "how", 0, 0, "refusal fault"}},
                      applyUnforeseen});
}
