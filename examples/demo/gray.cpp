// Gray of colours and of bits.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

void showGray(Demo& demo)
{
    beginSection(demo, "gray", "Make gray of it",
                 "Colours become gray by weights of 18, 183 and 54 in 256; bits take the two grays "
                 "that they are given.");
    beginRow(demo, "", Cards::normal);
    IplImage* image = demo.image.get();
    IplImage* gray = nullptr;
    showMade(demo, "From colours", &gray, CALL(QuibColorToGray(image, &gray)));
    const Handle oneBit = bitsOf(image);
    IplImage* bits = oneBit.get();
    showMade(demo, "From bits", &gray, CALL(QuibBitonalToGray(bits, &gray, 0, 255)));
    showMade(demo, "In soft grays", &gray, CALL(QuibBitonalToGray(bits, &gray, 70, 210)));
    showMade(demo, "Reversed", &gray, CALL(QuibBitonalToGray(bits, &gray, 255, 0)));
}
