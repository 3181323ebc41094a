#include "_Src/ipltiles.h"

#include "_Src/iplpitch.h"

void ownShowPiece(IplView* view, const IplImage* image, const IplPiece& piece)
{
    view->record = *image;
    view->roi = {image->roi ? image->roi->coi : 0, ownRegionX(image) + piece.x,
                 ownRegionY(image) + piece.y, piece.width, piece.height};
    view->record.roi = &view->roi;
    ownShowMask(view, image->maskROI, piece);
}

void ownShowMask(IplView* view, const IplImage* mask, const IplPiece& piece)
{
    view->record.maskROI = nullptr;
    if (!mask)
        return;
    view->mask = *mask;
    view->maskRoi = {0, ownRegionX(mask) + piece.x, ownRegionY(mask) + piece.y, piece.width,
                     piece.height};
    view->mask.roi = &view->maskRoi;
    view->record.maskROI = &view->mask;
}

void ownShowTile(IplView* view, const IplImage* image, int32_t tileX, int32_t tileY,
                 const IplPiece& piece)
{
    ownShowPiece(view, image, piece);
    const IplTileInfo* tiles = image->tileInfo;
    view->roi.xOffset -= tileX;
    view->roi.yOffset -= tileY;
    view->record.tileInfo = nullptr;
    view->record.imageData = tiles->tileData;
    view->record.width = tiles->width;
    view->record.height = tiles->height;
    view->record.widthStep = ownWidthStep(image, tiles->width);
    view->record.imageSize = static_cast<int32_t>(static_cast<uint32_t>(view->record.widthStep) *
                                                  static_cast<uint32_t>(tiles->height) *
                                                  static_cast<uint32_t>(ownPlaneCount(image)));
}
