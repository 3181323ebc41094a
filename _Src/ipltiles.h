// Tiled images: private records that look at one tile, and the walk over the
// tiles under a region.
#pragma once

#include "_Src/iplregion.h"

// A piece of a region, cut at tile edges. The region's own corner is (0, 0).
struct IplPiece {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

// A private copy of a record for one piece of its region, with a region and a
// mask of its own and no tiles.
struct IplView {
    IplImage record;
    IplROI roi;
    IplImage mask;
    IplROI maskRoi;
};

// Points the view at a piece of an image.
void ownShowPiece(IplView* view, const IplImage* image, const IplPiece& piece);
// Gives the view this mask, or none, in the place of its image's own.
void ownShowMask(IplView* view, const IplImage* mask, const IplPiece& piece);
// The first in the tile that starts at (tileX, tileY) of a tiled image and lies
// at its tileData.
void ownShowTile(IplView* view, const IplImage* image, int32_t tileX, int32_t tileY,
                 const IplPiece& piece);

// Calls work(&view, piece) for each piece of the image's region of width x
// height pixels, with the tile fetched in `mode` and released afterwards.
// False, at once and with nothing released, when a tile did not come.
template<class Work>
bool ownWalkTiles(const IplImage* image, int32_t width, int32_t height, int32_t mode, Work work)
{
    const IplTileInfo* tiles = image->tileInfo;
    const int32_t left = ownRegionX(image);
    const int32_t top = ownRegionY(image);
    IplView view{};
    IplPiece piece{};
    for (piece.y = 0; piece.y < height; piece.y += piece.height) {
        const int32_t yIndex = (top + piece.y) / tiles->height;
        const int64_t tileBottom = (static_cast<int64_t>(yIndex) + 1) * tiles->height;
        piece.height =
            static_cast<int32_t>(std::min<int64_t>(tileBottom - top - piece.y, height - piece.y));
        for (piece.x = 0; piece.x < width; piece.x += piece.width) {
            const int32_t xIndex = (left + piece.x) / tiles->width;
            const int64_t tileRight = (static_cast<int64_t>(xIndex) + 1) * tiles->width;
            piece.width = static_cast<int32_t>(
                std::min<int64_t>(tileRight - left - piece.x, width - piece.x));
            tiles->callBack(image, xIndex, yIndex, mode);
            if (!tiles->tileData)
                return false;
            ownShowTile(&view, image, xIndex * tiles->width, yIndex * tiles->height, piece);
            work(&view, piece);
            tiles->callBack(image, xIndex, yIndex, IPL_RELEASE_TILE);
        }
    }
    return true;
}
