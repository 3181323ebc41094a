// Reports that come back to the reporting function, kept for the test to read.
#pragma once

#include "_Src/ipl.h"

#include <string>
#include <vector>

struct Report {
    int32_t status;
    std::string functionName;
    std::string message;
    std::string fileName;

    bool operator==(const Report&) const = default;
};

// While it lives, reports are recorded instead of ending the process. The error
// state is as it was before, afterwards.
class RecordedReports
{
public:
    RecordedReports() : saved(iplErrorState)
    {
        iplErrorState = {0, 1, record};
        list().clear();
    }
    ~RecordedReports() { iplErrorState = saved; }
    RecordedReports(const RecordedReports&) = delete;
    RecordedReports& operator=(const RecordedReports&) = delete;

    const std::vector<Report>& all() const { return list(); }

private:
    static std::vector<Report>& list()
    {
        static std::vector<Report> reports;
        return reports;
    }
    static int32_t record(int32_t status, const char* functionName, const char* message,
                          const char* fileName, int32_t)
    {
        list().push_back({status, functionName, message, fileName});
        return status;
    }

    IplErrorState saved;
};
