#include "_Src/colour/owncolor.h"

#include "_Src/image/report.h"

#include <cstdio>
#include <cstring>

namespace
{

constexpr IplCaller caller{"iplColorToGray", "owncolor"};

// Of the four characters that a record holds, as many as `text` has.
bool beginsWith(const char (&field)[4], const char* text)
{
    return std::memcmp(field, text, std::strlen(text)) == 0;
}

// Reports with the field's text in the place of %.4s.
bool requireField(bool passed, const char* format, const char (&field)[4])
{
    if (passed)
        return true;
    char text[80];
    std::snprintf(text, sizeof text, format, field);
    ownReport(caller, IPL_StsBadArg, text);
    return false;
}

} // namespace

bool ownIsColorToGray(const IplImage* src, const IplImage* dst)
{
    return requireField(beginsWith(src->colorModel, "RGB"),
                        "colorModel must be RGB instead of %.4s ", src->colorModel) &&
           requireField(beginsWith(src->channelSeq, "RGB") || beginsWith(src->channelSeq, "BGR"),
                        "channelSeq must be RGB or BGR instead of %.4s ", src->channelSeq) &&
           requireField(beginsWith(dst->colorModel, "Gra") || beginsWith(dst->colorModel, "GRA"),
                        "colorModel must be GRAY instead of %.4s ", dst->colorModel) &&
           requireField(beginsWith(dst->channelSeq, "G"), "channelSeq must be G instead of %.4s ",
                        dst->channelSeq) &&
           ownRequire(caller, dst->dataOrder != IPL_DATA_ORDER_PIXEL || dst->nChannels == 1,
                      "(dst-> dataOrder == IPL_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)") &&
           ownRequire(caller, src->origin == dst->origin, "src->origin != dst->origin");
}
