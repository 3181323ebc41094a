#include "examples/viewer/corners.h"
#include "examples/viewer/edits.h"
#include "examples/viewer/keys.h"
#include "examples/viewer/view.h"

#include "quibtool/startup.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

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

TEST(View, EditsByKeyAndTakesThemBackOneByOne)
{
    View view = makeView(60, 50, 300, 200);
    std::vector<std::vector<uint8_t>> pictures;
    const std::string edits = "1234567890JBDCTSGNIHVXYZR";
    for (const char key : edits) {
        pictures.push_back(bytesOf(view.picture.get()));
        ASSERT_TRUE(pressKey(&view, key)) << key;
        EXPECT_NE(bytesOf(view.picture.get()), pictures.back()) << key;
        renderFrame(&view);
        // The last sixteen are kept.
        if (pictures.size() == 8) {
            for (; !pictures.empty(); pictures.pop_back()) {
                pressKey(&view, 'U');
                EXPECT_EQ(bytesOf(view.picture.get()), pictures.back());
            }
        }
    }
    EXPECT_FALSE(pressKey(&view, 'Q'));
    EXPECT_FALSE(pressKey(&view, '\r'));
}

TEST(View, UndoesNothingWhenThereIsNothing)
{
    View view = makeView(20, 20, 300, 200);
    const std::vector<uint8_t> before = bytesOf(view.picture.get());
    pressKey(&view, 'U');
    EXPECT_EQ(bytesOf(view.picture.get()), before);
    for (int edit = 0; edit < 20; ++edit)
        pressKey(&view, 'N');
    for (int undone = 0; undone < 20; ++undone)
        pressKey(&view, 'U');
    EXPECT_EQ(view.past.size(), 0u);
}

TEST(View, EditsTheSmallestPictures)
{
    for (const int32_t size : {1, 2, 3, 4, 5})
        for (const char key : std::string("1234567890JBDCTSGNIHVXYZRWMFKU")) {
            View view = makeView(size, size, 64, 48);
            pressKey(&view, key);
            renderFrame(&view);
            EXPECT_GE(view.picture->width, 1) << key << size;
        }
}

TEST(View, TurnsFromWhereItStarted)
{
    View view = makeView(60, 50, 300, 200);
    IplImage* expected = nullptr;
    ASSERT_EQ(QUIBRotate3D(30, view.picture.get(), &expected, 2), QUIB_OK);
    const Handle owner(expected);
    QuibSetAlphaS(expected, nullptr, 255);
    for (int turn = 0; turn < 3; ++turn)
        pressKey(&view, 'Y');
    EXPECT_EQ(bytesOf(view.picture.get()), bytesOf(expected));
    // One turn is one edit.
    pressKey(&view, 'U');
    EXPECT_EQ(view.picture->width, 60);
    EXPECT_TRUE(view.past.empty());
}

TEST(View, WarpsOntoDraggedCorners)
{
    View view = makeView(240, 160, 300, 200);
    pressKey(&view, 'W');
    // Fitted, and then a notch further away: 240 by 160 pixels of the frame.
    EXPECT_DOUBLE_EQ(view.zoom, 1);
    renderFrame(&view);
    // Other processors get all quadrangles by scanlines, which repeat and skip pixels.
    if (quibProcessorFlag) {
        EXPECT_EQ(pixel(view.frame, 250, 100), pixel(view.picture, 220, 80));
    }
    EXPECT_EQ(pixel(view.frame, 269, 179), 0xFF3050C8u) << "the knob";
    pressMouse(&view, 270, 181);
    EXPECT_TRUE(moveMouse(&view, 220, 151));
    EXPECT_FALSE(moveMouse(&view, 220, 151));
    releaseMouse(&view);
    EXPECT_FALSE(moveMouse(&view, 10, 10)) << "let go";
    EXPECT_DOUBLE_EQ(view.corners.quad[2][0], 239 - 50);
    EXPECT_DOUBLE_EQ(view.corners.quad[2][1], 159 - 30);
    EXPECT_TRUE(isConvex(view.corners));
    renderFrame(&view);
    EXPECT_EQ(pixel(view.frame, 269, 179), 0xFF302C28u) << "the backdrop";
    EXPECT_EQ(pixel(view.frame, 219, 149), 0xFF3050C8u) << "the knob";
    std::vector<std::vector<uint8_t>> frames;
    for (int mode = 0; mode < 3; ++mode, nextMode(&view)) {
        renderFrame(&view);
        frames.push_back(bytesOf(view.frame.get()));
    }
    EXPECT_NE(frames[0], frames[1]);
    EXPECT_NE(frames[1], frames[2]);
}

TEST(View, FillsConcaveCornersAndKeepsTheWarp)
{
    View view = makeView(240, 160, 300, 200);
    const std::vector<uint8_t> before = bytesOf(view.picture.get());
    pressKey(&view, 'W');
    pressKey(&view, 'W');
    EXPECT_EQ(bytesOf(view.picture.get()), before) << "nothing was moved";
    EXPECT_TRUE(view.past.empty());
    pressKey(&view, 'W');
    pressMouse(&view, 269, 179);
    moveMouse(&view, 269 - 170, 179 - 110);
    releaseMouse(&view);
    EXPECT_FALSE(isConvex(view.corners));
    renderFrame(&view);
    EXPECT_EQ(pixel(view.frame, 260, 170), 0xFF302C28u) << "the backdrop";
    pressKey(&view, 'W');
    EXPECT_EQ(view.picture->width, 240);
    EXPECT_EQ(pixel(view.picture, 230, 150), 0xFF000000u) << "outside the warp";
    pressKey(&view, 'U');
    EXPECT_EQ(bytesOf(view.picture.get()), before);
}

TEST(View, HoldsCornersInReach)
{
    View view = makeView(240, 160, 300, 200);
    pressKey(&view, 'W');
    pressMouse(&view, 30, 20);
    moveMouse(&view, -1e9, 1e9);
    EXPECT_DOUBLE_EQ(view.corners.quad[0][0], -240);
    EXPECT_DOUBLE_EQ(view.corners.quad[0][1], 320);
    renderFrame(&view);
}

TEST(View, DrawsCornersAnywhere)
{
    Random random(7);
    View view = makeView(37, 29, 90, 70);
    pressKey(&view, 'W');
    const double places[] = {0, 36, 28, -37, 0.5, 36.5, 100, 18, 14, 28.000001};
    for (int turn = 0; turn < 3000; ++turn) {
        for (auto& corner : view.corners.quad)
            for (double& place : corner)
                place = places[random.between(0, static_cast<int32_t>(std::size(places)) - 1)];
        renderFrame(&view);
        nextMode(&view);
    }
    EXPECT_TRUE(view.corners.areShown);
}

TEST(View, TellsTheKeysInItsPanel)
{
    View view = makeView(500, 400, 300, 200);
    renderFrame(&view);
    const int32_t low = view.panel.pixels->height;
    pressKey(&view, 'K');
    renderFrame(&view);
    EXPECT_GT(view.panel.pixels->height, low);
    std::string all;
    for (const std::string& line : keyLines(view))
        all += line + "\n";
    for (const char* text :
         {"DRAG MOVE", "WHEEL ZOOM", "M>MODE", "W CORNERS", "U UNDO", "ESC LEAVE"})
        EXPECT_NE(all.find(text), std::string::npos) << text;
    pressKey(&view, 'K');
    renderFrame(&view);
    EXPECT_EQ(view.panel.pixels->height, low);
}

TEST(View, DoesWhatIsChosenInTheListOfKeys)
{
    View view = makeView(60, 50, 300, 200);
    View plain = makeView(60, 50, 300, 200);
    EXPECT_FALSE(pressKey(&view, downKey));
    pressKey(&view, 'K');
    const auto chosen = [&](const std::string& text) {
        for (const std::string& line : keyLines(view))
            if (line.find(text) != std::string::npos)
                return true;
        return false;
    };
    ASSERT_TRUE(pressKey(&view, upKey));
    EXPECT_TRUE(chosen("I>ONE FIELD"));
    ASSERT_TRUE(pressKey(&view, upKey));
    EXPECT_TRUE(chosen("N>NEGATIVE"));
    EXPECT_FALSE(chosen("I>"));
    ASSERT_TRUE(pressKey(&view, enterKey));
    pressKey(&plain, 'N');
    EXPECT_EQ(bytesOf(view.picture.get()), bytesOf(plain.picture.get()));
    for (int i = 0; i < 2; ++i)
        pressKey(&view, downKey);
    EXPECT_TRUE(chosen("M>MODE"));
    pressKey(&view, enterKey);
    EXPECT_NE(view.mode, plain.mode);
    pressKey(&view, 'K');
    EXPECT_FALSE(pressKey(&view, enterKey));
}
