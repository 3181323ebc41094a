#include "examples/viewer/view.h"

#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

namespace
{

// A view of a random picture, at 1:1 and nearest.
View makeView(int32_t width, int32_t height, int32_t frameWidth, int32_t frameHeight)
{
    View view;
    IplImage* picture = nullptr;
    QuibCreate0(width, height, 32, &picture);
    Random random(1);
    randomise(picture, random);
    QuibSetAlphaS(picture, nullptr, 255);
    view.picture.reset(picture);
    resizeFrame(&view, frameWidth, frameHeight);
    placeView(&view, 0, 0, 1);
    view.mode = 0;
    return view;
}

uint32_t pixel(const Handle& handle, int32_t x, int32_t y)
{
    uint32_t word = 0;
    std::memcpy(&word, rowOf(handle.get(), y) + x * 4, 4);
    return word;
}

bool isUnderPanel(const View& view, int32_t x, int32_t y)
{
    return x >= 12 && y >= 12 && x < 12 + view.panel.pixels->width &&
           y < 12 + view.panel.pixels->height;
}

// Expects the frame to show picture pixel (x + dx, y + dy) / zoom.
void expectPicture(const View& view, int32_t dx, int32_t dy, int32_t zoom)
{
    for (int32_t y = 0; y < view.frame->height; ++y)
        for (int32_t x = 0; x < view.frame->width; ++x)
            if (!isUnderPanel(view, x, y)) {
                ASSERT_EQ(pixel(view.frame, x, y),
                          pixel(view.picture, (x + dx) / zoom, (y + dy) / zoom))
                    << x << ", " << y;
            }
}

std::string scratchFile(const char* name)
{
    return testing::TempDir() + name;
}

} // namespace

TEST(View, ShowsThePicturesPixelsAtOneToOne)
{
    View view = makeView(500, 400, 300, 200);
    renderFrame(&view);
    expectPicture(view, 0, 0, 1);
}

TEST(View, MovesWithTheHand)
{
    View view = makeView(500, 400, 300, 200);
    pan(&view, -30, -21);
    renderFrame(&view);
    expectPicture(view, 30, 21, 1);
}

TEST(View, ShowsEveryLastColumnAndRowInWholePixelsWhenMagnified)
{
    // 301 columns of 8 frame pixels do not end where the frame does.
    View view = makeView(500, 400, 301, 203);
    placeView(&view, 7, 9, 8);
    renderFrame(&view);
    expectPicture(view, 7 * 8, 9 * 8, 8);
}

TEST(View, LeavesABackdropAroundASmallPicture)
{
    View view = makeView(40, 30, 300, 200);
    fitPicture(&view);
    EXPECT_DOUBLE_EQ(view.zoom, 200.0 / 30);
    placeView(&view, -140, -95, 1);
    renderFrame(&view);
    for (int32_t y = 0; y < 200; ++y) {
        for (int32_t x = 0; x < 300; ++x) {
            const bool inside = x >= 140 && x < 180 && y >= 95 && y < 125;
            if (isUnderPanel(view, x, y))
                continue;
            ASSERT_EQ(pixel(view.frame, x, y),
                      inside ? pixel(view.picture, x - 140, y - 95) : 0xFF302C28u);
        }
    }
}

TEST(View, KeepsThePointUnderTheMouseWhenTheWheelTurns)
{
    View view = makeView(500, 400, 300, 200);
    placeView(&view, 30.25, 40.5, 1.5);
    const double x = view.x + 120 / view.zoom;
    const double y = view.y + 70 / view.zoom;
    for (const double notches : {1.0, 2.0, -4.0, 0.5}) {
        turnWheel(&view, notches, 120, 70);
        EXPECT_NEAR(view.x + 120 / view.zoom, x, 1e-9);
        EXPECT_NEAR(view.y + 70 / view.zoom, y, 1e-9);
    }
    EXPECT_NEAR(view.zoom, 1.5 * std::pow(1.25, -0.5), 1e-9);
}

TEST(View, NeverLosesSightOfThePicture)
{
    View view = makeView(500, 400, 300, 200);
    pan(&view, 1e9, 1e9);
    EXPECT_DOUBLE_EQ(view.x, -150);
    EXPECT_DOUBLE_EQ(view.y, -100);
    pan(&view, -1e9, -1e9);
    EXPECT_DOUBLE_EQ(view.x, 350);
    EXPECT_DOUBLE_EQ(view.y, 300);
    for (int turn = 0; turn < 100; ++turn)
        turnWheel(&view, 1, 0, 0);
    EXPECT_DOUBLE_EQ(view.zoom, 32);
    renderFrame(&view);
    for (int turn = 0; turn < 100; ++turn)
        turnWheel(&view, -1, 0, 0);
    EXPECT_DOUBLE_EQ(view.zoom, 1.0 / 32);
    renderFrame(&view);
}

TEST(View, KeepsItsMiddleWhenTheWindowChanges)
{
    View view = makeView(500, 400, 300, 200);
    placeView(&view, 50, 60, 2);
    resizeFrame(&view, 200, 300);
    EXPECT_DOUBLE_EQ(view.x, 75);
    EXPECT_DOUBLE_EQ(view.y, 35);
    renderFrame(&view);
    EXPECT_EQ(view.frame->width, 200);
    EXPECT_EQ(view.frame->height, 300);
}

TEST(View, GoesThroughTheModesAndDrawsEachDifferently)
{
    View view = makeView(500, 400, 300, 200);
    placeView(&view, 10.3, 20.7, 1.37);
    std::vector<std::vector<uint8_t>> frames;
    for (const int32_t mode : {0, 1, 2}) {
        EXPECT_EQ(view.mode, mode);
        renderFrame(&view);
        frames.push_back(bytesOf(view.frame.get()));
        nextMode(&view);
    }
    EXPECT_EQ(view.mode, 0);
    EXPECT_NE(frames[0], frames[1]);
    EXPECT_NE(frames[1], frames[2]);
}

TEST(View, LetsThePictureShowThroughThePanel)
{
    View view = makeView(500, 400, 300, 200);
    renderFrame(&view);
    const int32_t middleX = 12 + view.panel.pixels->width - 8;
    const int32_t middleY = 12 + view.panel.pixels->height / 2;
    const uint32_t below = pixel(view.picture, middleX, middleY);
    const uint32_t shown = pixel(view.frame, middleX, middleY);
    EXPECT_NE(shown, below);
    EXPECT_NE(shown & 0xFFFFFFu, 0x281C10u);
    // Seventy percent of 255 over an opaque pixel.
    for (int c = 0; c < 3; ++c) {
        const int d = static_cast<int>(below >> (8 * c) & 255);
        const int s = static_cast<int>(0x281C10u >> (8 * c) & 255);
        EXPECT_NEAR(static_cast<int>(shown >> (8 * c) & 255), d + (s - d) * 0.7, 2.5);
    }
    // The corners are round.
    EXPECT_EQ(pixel(view.frame, 12, 12), pixel(view.picture, 12, 12));
}

TEST(View, TellsHowLongTheFrameBeforeTook)
{
    View view = makeView(500, 400, 300, 200);
    renderFrame(&view);
    EXPECT_GT(view.milliseconds, 0);
    const std::vector<uint8_t> first = bytesOf(view.panel.pixels.get());
    view.milliseconds = 77.77;
    renderFrame(&view);
    EXPECT_NE(bytesOf(view.panel.pixels.get()), first);
}

TEST(View, OpensAPictureAndSavesItsFrame)
{
    const std::string file = scratchFile("quib_view_frame.bmp");
    View view = makeView(500, 400, 301, 200);
    renderFrame(&view);
    ASSERT_TRUE(saveFrame(view, file));
    View opened;
    std::string problem;
    ASSERT_TRUE(openPicture(&opened, file, &problem)) << problem;
    EXPECT_EQ(bytesOf(opened.picture.get()), bytesOf(view.frame.get()));
    std::remove(file.c_str());
}

TEST(View, SaysWhyItCannotOpenAFile)
{
    View view;
    std::string problem;
    EXPECT_FALSE(openPicture(&view, scratchFile("quib_no_such_file.bmp"), &problem));
    EXPECT_NE(problem.find("quib_no_such_file.bmp"), std::string::npos);
    const std::string file = scratchFile("quib_no_picture.bmp");
    std::FILE* out = std::fopen(file.c_str(), "wb");
    ASSERT_NE(out, nullptr);
    std::fputs("This is no picture.", out);
    std::fclose(out);
    EXPECT_FALSE(openPicture(&view, file, &problem));
    EXPECT_FALSE(saveFrame(makeView(9, 9, 9, 9), scratchFile("no/such/folder/frame.bmp")));
    std::remove(file.c_str());
}
