// The forms in which engine functions report.
#pragma once

#include "_Src/ipl.h"

// Whom a report names. The members of a family share code and differ in this.
struct IplCaller {
    const char* functionName;
    const char* fileName;
};

void ownReport(const IplCaller& caller, int32_t status, const char* message,
               int32_t row = __builtin_LINE());

// Checks a record and reports a failure with its own status; true if it passed.
bool ownImageIsGood(const IplCaller& caller, const IplImage* image, int32_t row = __builtin_LINE());

// Reports -5 with the test's text if it failed; gives `passed` back.
bool ownRequire(const IplCaller& caller, bool passed, const char* text,
                int32_t row = __builtin_LINE());

// After an inner call: passes a recorded failure on as a back-trace report;
// true if there was one.
bool ownBackTrace(const IplCaller& caller, int32_t row = __builtin_LINE());
