#include "_Src/walk/tiles.h"

#include "tests/support/images.h"
#include "tests/support/tiles.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <utility>

namespace
{

struct Piece {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;

    bool operator==(const Piece&) const = default;
};

Piece pieceOf(const IplTileSide& side)
{
    return {side.roi.xOffset, side.roi.yOffset, side.roi.width, side.roi.height};
}

} // namespace

TEST(OwnTileWindow, CopiesTheShapeOfAnUntiledImage)
{
    const Image image = makeImage(20, 9, 3, IPL_DEPTH_8U);
    IplImage work = *image;
    work.width = 0;
    work.height = 0;
    work.imageData = nullptr;
    IplTileCursor cursor{};
    cursor.tiled = true;
    ownTileWindow(image.get(), &work, {3, 2, 5, 5}, &cursor);
    EXPECT_FALSE(cursor.tiled);
    EXPECT_EQ(work.width, 20);
    EXPECT_EQ(work.height, 9);
    EXPECT_EQ(work.imageData, image->imageData);
}

TEST(OwnTileWindow, GivesTheRecordTheTilesShapeInBothOrders)
{
    for (const int32_t order : {IPL_DATA_ORDER_PIXEL, IPL_DATA_ORDER_PLANE}) {
        const Image plain = makeImage(100, 50, 3, IPL_DEPTH_16U, order, 32);
        TiledImage tiled(plain.get(), 24, 8);
        IplImage work = *tiled.get();
        IplTileCursor cursor{};
        ownTileWindow(tiled.get(), &work, {50, 17, 9, 9}, &cursor);
        EXPECT_EQ(work.tileInfo, nullptr);
        EXPECT_EQ(work.width, 24);
        EXPECT_EQ(work.height, 8);
        // 48 bytes a channel, in rows of multiples of 32.
        EXPECT_EQ(work.widthStep, order == IPL_DATA_ORDER_PIXEL ? 160 : 64);
        EXPECT_EQ(work.imageSize, order == IPL_DATA_ORDER_PIXEL ? 160 * 8 : 64 * 8 * 3);
        EXPECT_TRUE(cursor.tiled);
        EXPECT_EQ(cursor.tileWidth, 24);
        EXPECT_EQ(cursor.tileHeight, 8);
        EXPECT_EQ(cursor.xIndex, 2);
        EXPECT_EQ(cursor.yIndex, 2);
        EXPECT_EQ(cursor.x, 48);
        EXPECT_EQ(cursor.y, 16);
        EXPECT_EQ(cursor.nextX, 72);
        EXPECT_EQ(cursor.nextY, 24);
    }
}

TEST(OwnTileWindow, CountsTilesPastThirtyOneBits)
{
    const Image plain = makeImage(8, 8, 1, IPL_DEPTH_8U);
    TiledImage tiled(plain.get(), 8, 8);
    tiled->tileInfo->width = 0x40000000;
    IplImage work = *tiled.get();
    IplTileCursor cursor{};
    ownTileWindow(tiled.get(), &work, {INT_MAX, 0, 1, 1}, &cursor);
    EXPECT_EQ(cursor.xIndex, 1);
    EXPECT_EQ(cursor.nextX, int64_t{0x80000000});
}

TEST(OwnWalkTiles, CutsAtTheTilesOfAllImages)
{
    const Image plain = makeImage(24, 16, 1, IPL_DEPTH_8U);
    TiledImage a(plain.get(), 8, 8);
    TiledImage b(plain.get(), 16, 16);
    setRoi(a.get(), 0, 5, 6, 11, 9);
    setRoi(b.get(), 0, 12, 0, 40, 40);
    IplTileSide sides[2] = {{a.get(), IPL_GET_TILE_TO_READ}, {b.get(), IPL_GET_TILE_TO_WRITE}};
    std::vector<Piece> piecesA;
    std::vector<Piece> piecesB;
    const IplTileFault fault = ownWalkTiles(sides, 2, INT_MAX, INT_MAX, [&] {
        piecesA.push_back(pieceOf(sides[0]));
        piecesB.push_back(pieceOf(sides[1]));
        EXPECT_EQ(sides[0].record.roi, &sides[0].roi);
        EXPECT_EQ(sides[0].record.imageData, a->tileInfo->tileData);
        EXPECT_EQ(sides[1].record.imageData, b->tileInfo->tileData);
    });
    EXPECT_EQ(fault.kind, IplTileFault::none);
    EXPECT_EQ(
        piecesA,
        (std::vector<Piece>{
            {5, 6, 3, 2}, {0, 6, 1, 2}, {1, 6, 7, 2}, {5, 0, 3, 7}, {0, 0, 1, 7}, {1, 0, 7, 7}}));
    EXPECT_EQ(piecesB, (std::vector<Piece>{{12, 0, 3, 2},
                                           {15, 0, 1, 2},
                                           {0, 0, 7, 2},
                                           {12, 2, 3, 7},
                                           {15, 2, 1, 7},
                                           {0, 2, 7, 7}}));
}

TEST(OwnWalkTiles, TakesTheTilesOfASideOnlyInItsMode)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage cut(plain.get(), 8, 8);
    TiledImage uncut(plain.get(), 8, 8);
    setRoi(uncut.get(), 1, 1, 2, 12, 3);
    IplTileSide sides[2] = {{cut.get(), IPL_GET_TILE_TO_READ}, {uncut.get(), 0}};
    std::vector<Piece> pieces;
    ownWalkTiles(sides, 2, INT_MAX, INT_MAX, [&] {
        pieces.push_back(pieceOf(sides[1]));
        EXPECT_EQ(sides[1].roi.coi, 1);
        EXPECT_EQ(sides[1].record.tileInfo, uncut->tileInfo);
    });
    EXPECT_EQ(pieces, (std::vector<Piece>{{1, 2, 8, 3}, {9, 2, 4, 3}}));
    EXPECT_EQ(uncut.log, std::vector<TileCall>{});
}

TEST(OwnWalkTiles, TakesNoMoreThanItIsGiven)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage tiled(plain.get(), 8, 8);
    IplTileSide sides[1] = {{tiled.get(), IPL_GET_TILE_TO_READ}};
    std::vector<Piece> pieces;
    const auto note = [&] { pieces.push_back(pieceOf(sides[0])); };
    ownWalkTiles(sides, 1, 3, 2, note);
    ownWalkTiles(sides, 1, 0, 2, note);
    ownWalkTiles(sides, 1, 3, -1, note);
    EXPECT_EQ(pieces, (std::vector<Piece>{{0, 0, 3, 2}}));
    EXPECT_EQ(tiled.log.size(), 2u);
}

TEST(OwnWalkTiles, TellsWhichSideFailed)
{
    const Image plain = makeImage(16, 8, 1, IPL_DEPTH_8U);
    TiledImage a(plain.get(), 8, 8);
    TiledImage b(plain.get(), 8, 8);
    const auto walk = [&](bool releaseClears) {
        IplTileSide sides[2] = {{a.get(), IPL_GET_TILE_TO_READ}, {b.get(), IPL_GET_TILE_TO_WRITE}};
        sides[1].releaseClears = releaseClears;
        return ownWalkTiles(sides, 2, INT_MAX, INT_MAX, [] {});
    };
    EXPECT_EQ(walk(true).kind, IplTileFault::none);
    b.log.clear();
    b.failFrom = 2;
    IplTileFault fault = walk(true);
    EXPECT_EQ(fault.kind, IplTileFault::notFetched);
    EXPECT_EQ(fault.side, 1);
    a.failFrom = 0;
    fault = walk(true);
    EXPECT_EQ(fault.kind, IplTileFault::notFetched);
    EXPECT_EQ(fault.side, 0);
    a.failFrom = INT_MAX;
    // A callback that never clears tileData.
    b->tileInfo->callBack = [](const IplImage* image, int32_t, int32_t, int32_t) {
        static char pixels[64];
        image->tileInfo->tileData = pixels;
    };
    EXPECT_EQ(walk(false).kind, IplTileFault::none);
    fault = walk(true);
    EXPECT_EQ(fault.kind, IplTileFault::notReleased);
    EXPECT_EQ(fault.side, 1);
}

// --- What callbacks hear ----------------------------------------------------------------

// A program may know its images by the addresses of their records.
TEST(TileCallbacks, HearOfTheProgramsOwnRecords)
{
    using Operation = std::function<void(IplImage*, IplImage*)>;
    const std::pair<const char*, Operation> operations[] = {
        {"not", [](IplImage* src, IplImage* dst) { iplNot(src, dst); }},
        {"zoom", [](IplImage* src, IplImage* dst) { iplZoom(src, dst, 2, 1, 2, 1, IPL_INTER_NN); }},
        {"decimate",
         [](IplImage* src, IplImage* dst) { iplDecimate(src, dst, 1, 2, 1, 2, IPL_INTER_SUPER); }},
        {"resize",
         [](IplImage* src, IplImage* dst) { iplResize(src, dst, 3, 2, 1, 2, IPL_INTER_LINEAR); }},
        {"mirror", [](IplImage* src, IplImage* dst) { iplMirror(src, dst, -1); }},
        {"maximum", [](IplImage* src, IplImage* dst) { iplMaxFilter(src, dst, 3, 3, 1, 1); }},
        {"median", [](IplImage* src, IplImage* dst) { iplMedianFilter(src, dst, 3, 3, 1, 1); }},
        {"blur", [](IplImage* src, IplImage* dst) { iplBlur(src, dst, 3, 3, 1, 1); }},
        {"fixed", [](IplImage* src, IplImage* dst) { iplFixedFilter(src, dst, 2); }},
        {"levels",
         [](IplImage* src, IplImage* dst) { iplReduceBits(src, dst, 0, IPL_DITHER_FS, 4); }},
    };
    const Image plain = makeImage(32, 24, 1, IPL_DEPTH_8U);
    for (const auto& [name, operation] : operations) {
        TiledImage src(plain.get(), 16, 8);
        TiledImage dst(plain.get(), 8, 16);
        operation(src.get(), dst.get());
        EXPECT_FALSE(src.log.empty() || dst.log.empty()) << name;
        EXPECT_EQ(src.strangers + dst.strangers, 0) << name;
    }
}

TEST(TileCallbacks, HearOfTheProgramsOwnRecordsInGray)
{
    const Image colour = makeImage(32, 24, 3, IPL_DEPTH_8U);
    const Image bits = makeImage(32, 24, 1, IPL_DEPTH_1U);
    const Image flipped =
        makeImage(32, 24, 1, IPL_DEPTH_1U, IPL_DATA_ORDER_PIXEL, 4, 0, IPL_ORIGIN_BL);
    const Image gray = makeImage(32, 24, 1, IPL_DEPTH_8U);
    for (const IplImage* from : {colour.get(), bits.get(), flipped.get()}) {
        TiledImage src(from, 16, 8);
        TiledImage dst(gray.get(), 8, 16);
        if (from == colour.get())
            iplColorToGray(src.get(), dst.get());
        else
            iplBitonalToGray(src.get(), dst.get(), 0, 255);
        EXPECT_FALSE(src.log.empty() || dst.log.empty());
        EXPECT_EQ(src.strangers + dst.strangers, 0);
    }
}
