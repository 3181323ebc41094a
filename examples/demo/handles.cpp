// Handles: made, filled, written by hand, copied, asked.
#include "examples/demo/families.h"
#include "examples/demo/tools.h"

namespace
{

// What a program does between QuibLockData and QuibUnlockData.
void writeGradient(void* data, const QuibInfo& info)
{
    for (int y = 0; y < info.height; ++y) {
        uint8_t* row = static_cast<uint8_t*>(data) + static_cast<ptrdiff_t>(y) * info.widthStep;
        for (int x = 0; x < info.width; ++x) {
            row[x * 4] = static_cast<uint8_t>(80 + 120 * y / info.height);
            row[x * 4 + 1] = static_cast<uint8_t>(200 * x / info.width);
            row[x * 4 + 2] = static_cast<uint8_t>(220 - 160 * y / info.height);
            row[x * 4 + 3] = 255;
        }
    }
}

// The same call as one that shows nothing of its own.
Call writeRows(const IplImage* image)
{
    return {"/* rows are info.widthStep bytes apart */", [image] {
                writeGradient(rowOf(image, 0), infoOf(image));
                return QUIB_OK;
            }};
}

// Calls that tell something.
void showQuestions(Demo& demo)
{
    IplImage* photograph = demo.image.get();
    IplImage* other = demo.backdrop.get();
    int32_t black = 0;
    const Call isBlack = CALL(QuibIsBlack(photograph, 16, &black));
    double taken = timed(isBlack);
    show(demo, photograph, black ? "Is it black? Yes" : "Is it black? No", isBlack.text, taken);

    const QuibInfo info = infoOf(photograph);
    const Handle dark = create(info.width, info.height, 32);
    IplImage* night = dark.get();
    const Call isNight = CALL(QuibIsBlack(night, 16, &black));
    taken = timed(isNight);
    show(demo, night, black ? "Is this one? Yes" : "Is this one? No", isNight.text, taken);

    const Call sameSize = CALL(QuibColorConversion(photograph, other));
    taken = timed(sameSize);
    show(demo, other, "Are two of one size? Yes, or it fails", sameSize.text, taken);

    IplImage* copy = nullptr;
    const Call freed = CALL(QuibClone(photograph, &copy)) + CALL(QuibFree(&copy));
    taken = timed(freed);
    show(demo, photograph, "A copy made and freed", freed.text, taken);
}

} // namespace

void showHandles(Demo& demo)
{
    beginSection(demo, "handles", "Make, fill and copy handles",
                 "A handle is the address of an image record of 1, 8, 24 or 32 bits a pixel. The "
                 "program owns it until QuibFree, and may write its pixels itself.");
    beginRow(demo, "", Cards::normal);
    const QuibInfo size = infoOf(demo.image.get());
    const int width = size.width;
    const int height = size.height;
    IplImage* made = nullptr;
    showMade(demo, "Filled with a colour", &made,
             CALL(QuibCreate(width, height, 32, &made, 0xFF3050C8u))
                 .with("width", width)
                 .with("height", height));

    const Handle owner = create(width, height, 32);
    IplImage* image = owner.get();
    QuibInfo info{};
    void* data = nullptr;
    showWritten(demo, "Written by the program", image,
                CALL(QuibGetInfo(image, &info)) + CALL(QuibLockData(image, &data)) +
                    writeRows(image) + CALL(QuibUnlockData(image)),
                Look::exact);

    QuibRect rect{width / 6, height / 5, width / 2, height * 4 / 5};
    showWritten(demo, "A rectangle of it filled", image,
                CALL(QuibFillColor(image, 0xFFF0F2F8u, &rect)), Look::exact);
    const IplImage* photograph = demo.image.get();
    IplImage* copy = nullptr;
    showMade(demo, "Copied into a new handle", &copy, CALL(QuibClone(photograph, &copy)));

    showMade(
        demo, "Copied into a handle of undefined pixels", &copy,
        CALL(QuibCreate0(width, height, 32, &copy)).with("width", width).with("height", height) +
            CALL(QuibCopy(photograph, &copy)));
    showQuestions(demo);
}
