#include "_Src/ipl.h"

#include <cstdlib>

constinit IplErrorState iplErrorState{0, 0, iplDefaultErrorHandler};
constinit IplExitAct iplBeforeExit = nullptr;

int32_t iplError(int32_t status, const char* functionName, const char* message,
                 const char* fileName, int32_t row)
{
    // A back-trace must not replace the status that started the chain.
    if (status != IPL_StsBackTrace && status != IPL_StsAutoTrace) {
        iplSetStatus(status);
        if (status == IPL_StsOk)
            return 0;
    }
    return iplErrorState.handler(status, functionName, message, fileName, row);
}

int32_t iplDefaultErrorHandler(int32_t status, const char*, const char*, const char*, int32_t)
{
    if (iplErrorState.mode != 0)
        return status;
    if (iplBeforeExit)
        iplBeforeExit();
    std::exit(1);
}

int32_t iplGetStatus()
{
    return iplErrorState.status;
}

void iplSetStatus(int32_t newStatus)
{
    iplErrorState.status = newStatus;
}

int32_t iplGetErrorMode()
{
    return iplErrorState.mode;
}

namespace
{

// Each text is stored once, with the prefix of its mask form; the plain form
// skips the prefix.
constexpr int32_t maskPrefixLength = 6;
constexpr const char* unknownStatus = "Unknown error or status code";

constexpr const char* statusTexts[32] = {
    "No Error",
    "Backtrace",
    nullptr,
    "Internal error (bad state)",
    "Insufficient memory",
    "Bad argument",
    "Unsupported function",
    "Iteration convergence failed",
    "Autotrace call",
    "Mask. Null pointer to an image header",
    "Mask. Incorrect image size",
    "Mask. Incorrect offset of ROI of the image",
    "Mask. Image must be tiled or must have nonzero data pointer",
    "Mask. Incorrect widthStep of the image",
    "Mask. Incorrect Color model or channel sequence of the image",
    "Mask. Incorrect number of channels in the image",
    "Mask. Number of channels for 1U depth image must be one",
    "Mask. Incorrect depth value in the image header",
    "Mask. Incorrect alpha channel number in the image header",
    "Mask. Incorrect data order value in the image header",
    "Mask. Incorrect data origin value in the image header",
    "Mask. Incorrect data alignment value in the image header",
    "Null pointer to callback function",
    "Incorrect size of the tile",
    "Mask. Incorrect COI of the image",
    "Mask. Incorrect size of ROI in the image header",
    "Mask image is taled",
    "Null pointer",
    "Incorrect vector length",
    "Incorrect filter structure content",
    "Incorrect transform kernel content",
    "Incorrect filter ofset value",
};

bool hasMaskForm(int32_t index)
{
    return (index >= 9 && index <= 21) || index == 24 || index == 25;
}

} // namespace

const char* iplStatusText(int32_t status)
{
    if (status <= 0 && status > -32) {
        const int32_t index = -status;
        if (!statusTexts[index])
            return unknownStatus;
        return statusTexts[index] + (hasMaskForm(index) ? maskPrefixLength : 0);
    }
    if (status <= -110 && status >= -125) {
        const int32_t index = -status - 100;
        // -116 has a stored text and does not use it.
        if (hasMaskForm(index) && index != 16)
            return statusTexts[index];
    }
    return unknownStatus;
}
