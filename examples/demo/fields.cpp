// The two fields of a video frame.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

void showFields(Demo& demo)
{
    beginSection(demo, "fields", "Weave and unweave fields",
                 "Two moments of a moving picture are woven into one frame, row by row. Repeating "
                 "either field takes the comb away again.");
    beginRow(demo, "", Cards::normal);
    IplImage* even = demo.image.get();
    const QuibInfo info = infoOf(even);
    const int shift = info.width / 30;
    const Handle later = copyOf(even);
    IplImage* odd = later.get();
    check(QuibBlt(even, 0, 0, info.width - shift, info.height, odd, shift, 0, info.width,
                  info.height, 0),
          "QuibBlt");
    const Handle target = emptyLike(even);
    IplImage* frame = target.get();
    showWritten(demo, "Woven", frame, CALL(QuibUnInterlace(even, odd, &frame)));

    const QuibRect at = detailOf(frame, info.width / 6, info.height / 6);
    showDetail(demo, cropped(frame, at.left, at.top, at.right - at.left, at.bottom - at.top).get(),
               "A detail of it", "QuibUnInterlace(even, odd, &frame)", -1, 6);
    const Handle woven = copyOf(frame);
    showWritten(demo, "Odd rows repeated", frame, CALL(QuibInterlace(frame, 0)));
    check(QuibCopy(woven.get(), &frame), "QuibCopy");
    showWritten(demo, "Even rows repeated", frame, CALL(QuibInterlace(frame, 1)));
}
