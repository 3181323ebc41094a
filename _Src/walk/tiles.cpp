#include "_Src/walk/tiles.h"

#include "_Src/image/pitch.h"

void ownTileWindow(const IplImage* image, IplImage* workRecord, const IplRect& rectangle,
                   IplTileCursor* tileCursor)
{
    const IplTileInfo* tiles = image->tileInfo;
    tileCursor->tiled = tiles != nullptr;
    if (!tiles) {
        workRecord->width = image->width;
        workRecord->height = image->height;
        workRecord->imageData = image->imageData;
        return;
    }
    const int32_t xIndex = rectangle.x / tiles->width;
    const int32_t yIndex = rectangle.y / tiles->height;
    const int64_t x = static_cast<int64_t>(xIndex) * tiles->width;
    const int64_t y = static_cast<int64_t>(yIndex) * tiles->height;
    *tileCursor = {true, tiles->width,     tiles->height,    xIndex, yIndex, x,
                   y,    x + tiles->width, y + tiles->height};
    workRecord->tileInfo = nullptr;
    workRecord->width = tiles->width;
    workRecord->height = tiles->height;
    workRecord->widthStep = ownWidthStep(image, tiles->width);
    workRecord->imageSize = static_cast<int32_t>(static_cast<uint32_t>(workRecord->widthStep) *
                                                 static_cast<uint32_t>(tiles->height) *
                                                 static_cast<uint32_t>(ownPlaneCount(image)));
}

namespace
{

void callBack(const IplTileSide& side, int32_t mode)
{
    side.image->tileInfo->callBack(side.image, side.cursor.xIndex, side.cursor.yIndex, mode);
}

// Fetches the cursor's tile; false if it did not come.
bool fetchTile(IplTileSide* side)
{
    const IplTileInfo* tiles = side->image->tileInfo;
    callBack(*side, side->mode);
    side->record.imageData = tiles->tileData;
    return tiles->tileData != nullptr;
}

// False if the tile did not go.
bool releaseTile(const IplTileSide& side)
{
    callBack(side, IPL_RELEASE_TILE);
    return !side.releaseClears || !side.image->tileInfo->tileData;
}

// Puts the cursor back at the left end of the stripe at y, in the tile row that
// y lies in, which is this one or the next.
void moveToStripe(IplTileCursor* cursor, int32_t left, int64_t y)
{
    if (y >= cursor->nextY) {
        ++cursor->yIndex;
        cursor->y = cursor->nextY;
        cursor->nextY += cursor->tileHeight;
    }
    cursor->xIndex = left / cursor->tileWidth;
    cursor->x = static_cast<int64_t>(cursor->xIndex) * cursor->tileWidth;
    cursor->nextX = cursor->x + cursor->tileWidth;
}

void moveRight(IplTileCursor* cursor)
{
    ++cursor->xIndex;
    cursor->x = cursor->nextX;
    cursor->nextX += cursor->tileWidth;
}

bool enterTile(IplTileSide* side, int64_t x, int32_t index, IplTileFault* fault)
{
    if (x < side->cursor.nextX)
        return true;
    if (!releaseTile(*side)) {
        *fault = {IplTileFault::notReleased, index};
        return false;
    }
    moveRight(&side->cursor);
    if (!fetchTile(side)) {
        *fault = {IplTileFault::notFetched, index};
        return false;
    }
    return true;
}

} // namespace

void ownStartWalk(IplTileSide* sides, int32_t count, int32_t* width, int32_t* height)
{
    for (IplTileSide* side = sides; side != sides + count; ++side) {
        const IplROI* region = side->region ? side->region : side->image->roi;
        side->record = *side->image;
        side->roi = region ? *region : ownWhole(side->image);
        side->record.roi = &side->roi;
        ownClipROI(&side->record, &side->rectangle);
        *width = std::min(*width, side->rectangle.width);
        *height = std::min(*height, side->rectangle.height);
        if (side->mode != 0)
            ownTileWindow(side->image, &side->record, side->rectangle, &side->cursor);
        else
            side->cursor.tiled = false;
    }
    // No tile is asked for in vain.
    if (*width <= 0)
        *height = 0;
}

int32_t ownEnterStripe(IplTileSide* sides, int32_t count, int32_t offset, int32_t height,
                       IplTileFault* fault)
{
    int64_t stripe = height - offset;
    for (int32_t i = 0; i < count; ++i) {
        IplTileSide& side = sides[i];
        const int64_t y = static_cast<int64_t>(side.rectangle.y) + offset;
        if (side.cursor.tiled) {
            moveToStripe(&side.cursor, side.rectangle.x, y);
            if (!fetchTile(&side)) {
                *fault = {IplTileFault::notFetched, i};
                return 0;
            }
            stripe = std::min(stripe, side.cursor.nextY - y);
        }
        side.roi.yOffset = static_cast<int32_t>(side.cursor.tiled ? y - side.cursor.y : y);
    }
    for (int32_t i = 0; i < count; ++i)
        sides[i].roi.height = static_cast<int32_t>(stripe);
    return static_cast<int32_t>(stripe);
}

int32_t ownEnterPiece(IplTileSide* sides, int32_t count, int32_t offset, int32_t width,
                      IplTileFault* fault)
{
    int64_t piece = width - offset;
    for (int32_t i = 0; i < count; ++i) {
        IplTileSide& side = sides[i];
        const int64_t x = static_cast<int64_t>(side.rectangle.x) + offset;
        if (side.cursor.tiled) {
            if (!enterTile(&side, x, i, fault))
                return 0;
            piece = std::min(piece, side.cursor.nextX - x);
        }
        side.roi.xOffset = static_cast<int32_t>(side.cursor.tiled ? x - side.cursor.x : x);
    }
    for (int32_t i = 0; i < count; ++i)
        sides[i].roi.width = static_cast<int32_t>(piece);
    return static_cast<int32_t>(piece);
}

bool ownLeaveStripe(IplTileSide* sides, int32_t count, IplTileFault* fault)
{
    for (int32_t i = 0; i < count; ++i) {
        if (sides[i].cursor.tiled && !releaseTile(sides[i])) {
            *fault = {IplTileFault::notReleased, i};
            return false;
        }
    }
    return true;
}

// --- By role -----------------------------------------------------------------------

int32_t ownSetSides(const IplTileRole* roles, int32_t count, const IplImage* mask,
                    IplTileSide* sides, const IplImage** records)
{
    int32_t sideCount = 0;
    for (int32_t role = 0; role < count; ++role) {
        if (!roles[role].image || roles[role].servedBy != role)
            continue;
        IplTileSide& side = sides[sideCount++];
        side.image = roles[role].image;
        side.mode = roles[role].mode;
        side.releaseClears = roles[role].releaseClears;
        side.role = role;
        records[role] = &side.record;
    }
    for (int32_t role = 0; role < count; ++role)
        if (roles[role].image)
            records[role] = records[roles[role].servedBy];
    if (mask) {
        IplTileSide& side = sides[sideCount++];
        side.image = mask;
        side.role = count;
        records[count] = &side.record;
    }
    return sideCount;
}

bool ownAnyIsTiled(const IplImage* const* images, int32_t count)
{
    return std::any_of(images, images + count,
                       [](const IplImage* image) { return image && image->tileInfo; });
}
