#include "_Src/image/report.h"

void ownReport(const IplCaller& caller, int32_t status, const char* message, int32_t row)
{
    iplError(status, caller.functionName, message, caller.fileName, row);
}

bool ownImageIsGood(const IplCaller& caller, const IplImage* image, int32_t row)
{
    const int32_t status = iplCheckImage(image);
    if (status != IPL_StsOk)
        ownReport(caller, status, "Incorrect Image", row);
    return status == IPL_StsOk;
}

bool ownRequire(const IplCaller& caller, bool passed, const char* text, int32_t row)
{
    if (!passed)
        ownReport(caller, IPL_StsBadArg, text, row);
    return passed;
}

bool ownBackTrace(const IplCaller& caller, int32_t row)
{
    const bool failed = iplGetStatus() < 0;
    if (failed)
        ownReport(caller, IPL_StsBackTrace, "", row);
    return failed;
}
