#include "tests/sameness/corpus.h"

#include "_Src/ipl.h"
#include "fuzz/leaks.h"
#include "quibtool/handle.h"
#include "quibtool/startup.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/recorded_reports.h"

#include <algorithm>
#include <cstring>

namespace
{

// A case's numbers follow from its function's name and its own number.
uint64_t seedOf(const char* name, int32_t number)
{
    Digest digest;
    digest.text(name);
    digest.integer(number);
    return digest.get();
}

// What is read from the processor at load, and what a call may leave behind.
class KnownState
{
public:
    explicit KnownState(bool hasMmx)
        : mmx(quibHasMMX), flag(quibProcessorFlag), enabled(engineQuadWarpEnabled)
    {
        quibHasMMX = hasMmx ? 0x00800000u : 0;
        quibProcessorFlag = hasMmx ? 1 : 0;
        engineQuadWarpEnabled = 1;
        std::memset(quibLastError, 0, sizeof quibLastError);
    }
    ~KnownState()
    {
        quibHasMMX = mmx;
        quibProcessorFlag = flag;
        engineQuadWarpEnabled = enabled;
    }
    KnownState(const KnownState&) = delete;
    KnownState& operator=(const KnownState&) = delete;

private:
    uint32_t mmx;
    int32_t flag;
    int32_t enabled;
};

void seeReports(Call& call, const std::vector<Report>& reports)
{
    call.digest.number(reports.size());
    for (const Report& report : reports) {
        call.digest.integer(report.status);
        call.digest.text(report.functionName);
        call.digest.text(report.message);
        call.digest.text(report.fileName);
    }
    call.digest.integer(iplErrorState.status);
    // The text's row is one of the library's sources.
    call.digest.integer(quibLastError[0] != '\0');
}

} // namespace

std::vector<CorpusFunction> corpusFunctions()
{
    std::vector<CorpusFunction> all;
    for (const auto& part : {corpusOfSurface(), corpusOfFiles(), corpusOfEngine()})
        all.insert(all.end(), part.begin(), part.end());
    std::sort(all.begin(), all.end(), [](const CorpusFunction& a, const CorpusFunction& b) {
        return std::strcmp(a.name, b.name) < 0;
    });
    return all;
}

CorpusResult runCorpusCase(const CorpusFunction& function, int32_t number, uint8_t memory)
{
    Call call(seedOf(function.name, number));
    const KnownState known(!call.oneIn(8));
    const RecordedReports reports;
    // Ends of the process, which a report that comes back does not bring, free nothing.
    const LeaksAllowed leaks;
    const FilledMemory filled(memory);
    function.run(call);
    seeReports(call, reports.all());
    return {call.digest.get(), call.words};
}
