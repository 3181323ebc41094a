// What the keys do to the picture: an edit takes it and gives another.
#pragma once

#include "examples/viewer/view.h"

using Edit = QuibStatus (*)(IplImage* picture, IplImage** result);

// Puts another picture in place of the present one, which can be taken back.
void keepEdit(View* view, Handle picture, const std::string& name);

// Edits the picture; nothing happens if the edit fails.
void applyEdit(View* view, Edit edit, const std::string& name);

// Takes the last edit back.
void undoEdit(View* view);

// Turns the picture further about an axis of QUIBRotate3D, or, of axis 0, in its
// frame.
void turnPicture(View* view, int32_t axis);

// An edit for each filter, tone and mirror.
QuibStatus mirrorColumns(IplImage* picture, IplImage** result);
QuibStatus mirrorRows(IplImage* picture, IplImage** result);
QuibStatus sharpen(IplImage* picture, IplImage** result);
QuibStatus findEdges(IplImage* picture, IplImage** result);
QuibStatus emboss(IplImage* picture, IplImage** result);
QuibStatus soften(IplImage* picture, IplImage** result);
QuibStatus takeMedian(IplImage* picture, IplImage** result);
QuibStatus takeColorMedian(IplImage* picture, IplImage** result);
QuibStatus takeLargest(IplImage* picture, IplImage** result);
QuibStatus takeSmallest(IplImage* picture, IplImage** result);
QuibStatus blur(IplImage* picture, IplImage** result);
QuibStatus blurInto(IplImage* picture, IplImage** result);
QuibStatus findSpots(IplImage* picture, IplImage** result);
QuibStatus brighten(IplImage* picture, IplImage** result);
QuibStatus darken(IplImage* picture, IplImage** result);
QuibStatus addContrast(IplImage* picture, IplImage** result);
QuibStatus turnHue(IplImage* picture, IplImage** result);
QuibStatus saturate(IplImage* picture, IplImage** result);
QuibStatus desaturate(IplImage* picture, IplImage** result);
QuibStatus invert(IplImage* picture, IplImage** result);
QuibStatus repeatRows(IplImage* picture, IplImage** result);
