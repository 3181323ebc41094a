// Tiled images, whose pixels come tile by tile through a callback: the walk over
// the tiles under the regions of several images at once.
#pragma once

#include "_Src/walk/region.h"

// Which of an image's tiles a walk stands in.
struct IplTileCursor {
    bool tiled;
    int32_t tileWidth;
    int32_t tileHeight;
    int32_t xIndex;
    int32_t yIndex;
    int64_t x; // where this tile starts in the image
    int64_t y;
    int64_t nextX; // and where the next ones do
    int64_t nextY;
};

// Makes a copy of the image's record look at one tile, and sets the cursor to
// the tile of the rectangle's corner. The tile is not fetched yet.
void ownTileWindow(const IplImage* image, IplImage* workRecord, const IplRect& rectangle,
                   IplTileCursor* tileCursor);

// One of the images that are walked in step. The walk sets everything from
// `record` on; the record points into the struct, which must stay in place.
struct IplTileSide {
    const IplImage* image = nullptr; // the program's own record, of which callbacks hear
    int32_t mode = 0;                // how its tiles are fetched; 0: it is not cut at its tiles
    int32_t role = 0;                // what it plays in its operation
    const IplROI* region = nullptr;  // what is walked, where it is not the image's region
    IplImage record{};               // the piece, as the work sees it
    IplROI roi{};
    IplRect rectangle{};
    bool releaseClears = false; // whether a tile that is given back must leave tileData null
    IplTileCursor cursor{};
};

// How a walk ended: at the end, or where a callback failed.
struct IplTileFault {
    enum { none, notFetched, notReleased } kind;
    int32_t side;
};

// The steps of the walk below. They give the height of the stripe, or the width
// of the piece, at an offset from the regions' corners; 0 after a fault.
int32_t ownEnterStripe(IplTileSide* sides, int32_t count, int32_t offset, int32_t height,
                       IplTileFault* fault);
int32_t ownEnterPiece(IplTileSide* sides, int32_t count, int32_t offset, int32_t width,
                      IplTileFault* fault);
bool ownLeaveStripe(IplTileSide* sides, int32_t count, IplTileFault* fault);
void ownStartWalk(IplTileSide* sides, int32_t count, int32_t* width, int32_t* height);

// Cuts the common region of the images, not more than width x height pixels, at
// all tile edges, top stripe first, and calls work() for each piece, with each
// side's record looking at it. In every stripe each image's tiles are fetched
// anew from the first on, and one is given back before the next is fetched.
// Nothing is given back after a fault.
template<class Work>
IplTileFault ownWalkTiles(IplTileSide* sides, int32_t count, int32_t width, int32_t height,
                          Work work)
{
    IplTileFault fault{IplTileFault::none, 0};
    ownStartWalk(sides, count, &width, &height);
    for (int32_t y = 0; y < height;) {
        const int32_t stripe = ownEnterStripe(sides, count, y, height, &fault);
        if (stripe == 0)
            return fault;
        for (int32_t x = 0; x < width;) {
            const int32_t piece = ownEnterPiece(sides, count, x, width, &fault);
            if (piece == 0)
                return fault;
            work();
            x += piece;
        }
        if (!ownLeaveStripe(sides, count, &fault))
            return fault;
        y += stripe;
    }
    return fault;
}

// --- By role -----------------------------------------------------------------------

// What an operation's image in one of its roles is to the walk.
struct IplTileRole {
    const IplImage* image; // null: nobody plays it
    int32_t mode;
    bool releaseClears;
    int32_t servedBy; // the role whose pieces it gets: its own, or that of the same image
};

// Sets up a side for each role that is played by an image of its own, and one for
// the mask, which may be null; gives their number. The records are what each role
// looks at, the mask's last.
int32_t ownSetSides(const IplTileRole* roles, int32_t count, const IplImage* mask,
                    IplTileSide* sides, const IplImage** records);

// Walks the common region of the images and the mask, and calls work(records,
// mask) for each piece. A fault names the role.
template<int32_t count, class Work>
IplTileFault ownWalkRoles(const IplTileRole (&roles)[count], const IplImage* mask, Work work)
{
    IplTileSide sides[count + 1];
    const IplImage* records[count + 1] = {};
    const int32_t sideCount = ownSetSides(roles, count, mask, sides, records);
    IplTileFault fault = ownWalkTiles(sides, sideCount, INT32_MAX, INT32_MAX,
                                      [&] { work(records, records[count]); });
    fault.side = sides[fault.side].role;
    return fault;
}

// Whether any of the images, which may be null, comes by tiles.
bool ownAnyIsTiled(const IplImage* const* images, int32_t count);
