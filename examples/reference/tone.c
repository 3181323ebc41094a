/* Brightness, contrast, hue and saturation. */
#include "examples/reference/gallery.h"

EXAMPLE(QuibBrightnessAndContrast)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    before(photo, "photo");
    /* shown */
    IplImage* result = copyOf(photo); /* an existing handle, which keeps its alpha */
    TRY(QuibBrightnessAndContrast(photo, &result, 40, 0, 0));
    /* end */
    after(result, "Brighter by 40");
    WROTE(result, "Darker by 60", QuibBrightnessAndContrast(photo, &result, -60, 0, 0));
    WROTE(result, "More contrast", QuibBrightnessAndContrast(photo, &result, 0, 60, 0));
    WROTE(result, "Less contrast", QuibBrightnessAndContrast(photo, &result, 0, -90, 0));
    WROTE(result, "Red alone", QuibBrightnessAndContrast(photo, &result, 60, 0, 1));
    WROTE(result, "Green alone", QuibBrightnessAndContrast(photo, &result, 60, 0, 2));
    WROTE(result, "Blue alone", QuibBrightnessAndContrast(photo, &result, 60, 0, 3));
    return QUIB_OK;
}

EXAMPLE(QuibHueAndSaturation)
{
    IplImage* photo = photograph("cat", 180, 120, 32);
    before(photo, "photo");
    /* shown */
    IplImage* result = NULL;
    TRY(QuibHueAndSaturation(photo, &result, 120, 0)); /* a new handle */
    /* end */
    after(keep(result), "Hue by 120 degrees");
    WROTE(result, "By 240 degrees", QuibHueAndSaturation(photo, &result, 240, 0));
    WROTE(result, "By -30 degrees", QuibHueAndSaturation(photo, &result, -30, 0));
    WROTE(result, "Saturation 100: a quarter", QuibHueAndSaturation(photo, &result, 0, 100));
    WROTE(result, "Saturation 400: all", QuibHueAndSaturation(photo, &result, 0, 400));
    WROTE(result, "Saturation -50", QuibHueAndSaturation(photo, &result, 0, -50));
    WROTE(result, "Saturation -100: gray", QuibHueAndSaturation(photo, &result, 0, -100));
    return QUIB_OK;
}
