// Tests of engine reports: each ends the process with exit code 1, so they are
// death tests. In the child, a handler prints what the reporter got before the
// default handler ends the process.
#pragma once

#include "_Src/ipl.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

inline int32_t printReport(int32_t status, const char* functionName, const char* message,
                           const char* fileName, int32_t row)
{
    std::fprintf(stderr, "[report %d|%s|%s|%s]\n", static_cast<int>(status), functionName, message,
                 fileName);
    std::fflush(stderr);
    return iplDefaultErrorHandler(status, functionName, message, fileName, row);
}

// A pattern for the printed report, with the text's own characters taken
// literally.
inline std::string reportPattern(int32_t status, const std::string& functionName,
                                 const std::string& message, const std::string& fileName)
{
    const std::string line = "[report " + std::to_string(status) + "|" + functionName + "|" +
                             message + "|" + fileName + "]";
    std::string pattern;
    for (const char c : line) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos)
            pattern += '\\';
        pattern += c;
    }
    return pattern;
}

// Expects the statement to report exactly this and the process to end with
// exit code 1.
#define EXPECT_REPORT(statement, status, functionName, message, fileName)                          \
    EXPECT_EXIT(                                                                                   \
        {                                                                                          \
            iplErrorState.handler = printReport;                                                   \
            statement;                                                                             \
        },                                                                                         \
        ::testing::ExitedWithCode(1), reportPattern(status, functionName, message, fileName))

// While it lives, reports come back to the reporting function.
struct ReportsReturn {
    ReportsReturn() : saved(iplErrorState)
    {
        iplErrorState.mode = 1;
        iplErrorState.status = 0;
    }
    ~ReportsReturn() { iplErrorState = saved; }
    ReportsReturn(const ReportsReturn&) = delete;
    ReportsReturn& operator=(const ReportsReturn&) = delete;

    IplErrorState saved;
};

// Clears the status word before and after a test that leaves one behind.
struct CleanStatus {
    CleanStatus() { iplSetStatus(0); }
    ~CleanStatus() { iplSetStatus(0); }
    CleanStatus(const CleanStatus&) = delete;
    CleanStatus& operator=(const CleanStatus&) = delete;
};
