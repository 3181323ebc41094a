// Runs the cases and prints their times and ratios; see usage().
#include "benchmarks/bench.h"
#include "benchmarks/families.h"
#include "kernels/kernels.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace
{

std::vector<Case>& cases()
{
    static std::vector<Case> all;
    return all;
}

struct Options {
    std::string filter;
    std::string jsonFile;
    std::string markdownFile;
    std::string level;
    int repetitions = 15;
};

struct Row {
    const Case* subject;
    std::string level;
    double ours = 0; // nanoseconds a call
    double theirs = 0;
    double floor = 0;
};

// Collects the time of every repetition by benchmark name.
class Collector : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration)
                times[run.benchmark_name()].push_back(run.GetAdjustedCPUTime());
    }
    double median(const std::string& name) const
    {
        for (const auto& [key, values] : times) {
            if (key.rfind(name, 0) != 0)
                continue;
            std::vector<double> sorted = values;
            std::sort(sorted.begin(), sorted.end());
            const size_t n = sorted.size();
            return n % 2 ? sorted[n / 2] : (sorted[n / 2 - 1] + sorted[n / 2]) / 2;
        }
        return 0;
    }

private:
    std::map<std::string, std::vector<double>> times;
};

void registerRun(const std::string& name, const std::function<void()>& work)
{
    if (!work)
        return;
    const auto run = [&work](benchmark::State& state) {
        for (auto _ : state)
            work();
    };
    // A peer may work in a thread of its own.
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->MeasureProcessCPUTime()
        ->Unit(benchmark::kNanosecond);
}

// The three programs of a case run interleaved, so that a slow moment of the
// machine does not fall on one of them alone.
Row measure(const Case& subject, const std::string& level)
{
    benchmark::ClearRegisteredBenchmarks();
    registerRun("ours", subject.ours);
    registerRun("theirs", subject.theirs);
    registerRun("floor", subject.floor);
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector, "all");
    return {&subject, level, collector.median("ours"), collector.median("theirs"),
            collector.median("floor")};
}

double ratio(double a, double b)
{
    return b > 0 ? a / b : 0;
}

std::string number(double value, int digits)
{
    if (value <= 0)
        return "";
    std::ostringstream out;
    out.setf(std::ios::fixed);
    out.precision(digits);
    out << value;
    return out.str();
}

double perPixel(const Row& row, double nanoseconds)
{
    return nanoseconds / (static_cast<double>(row.subject->width) * row.subject->height);
}

std::string limitText(const Limit& limit)
{
    if (limit.ratio > 0)
        return number(limit.ratio, 2);
    if (limit.microseconds > 0)
        return number(limit.microseconds, 1) + " us";
    if (limit.microsecondsMore > 0)
        return "peer and " + number(limit.microsecondsMore, 1) + " us";
    return "";
}

bool holds(const Row& row)
{
    const Limit& limit = row.subject->limit;
    if (limit.ratio > 0)
        return row.theirs > 0 && ratio(row.ours, row.theirs) <= limit.ratio;
    if (limit.microseconds > 0)
        return row.ours <= limit.microseconds * 1000;
    if (limit.microsecondsMore > 0)
        return row.ours - row.theirs <= limit.microsecondsMore * 1000;
    return true;
}

std::string tableHead()
{
    return "| operation | size | level | us a call | ns a pixel | peer | peer's us | ratio to peer "
           "| at most | holds | ratio to floor |\n"
           "|---|---|---|---|---|---|---|---|---|---|---|\n";
}

std::string tableLine(const Row& row)
{
    const Case& c = *row.subject;
    const std::string limit = limitText(c.limit);
    std::ostringstream out;
    out << "| " << c.operation << " | " << c.width << " x " << c.height << " | " << row.level
        << " | " << number(row.ours / 1000, 2) << " | " << number(perPixel(row, row.ours), 3)
        << " | " << c.peer << " | " << number(row.theirs / 1000, 2) << " | "
        << number(ratio(row.ours, row.theirs), 2) << " | " << limit << " | "
        << (limit.empty() ? ""
            : holds(row)  ? "yes"
                          : "NO")
        << " | " << number(ratio(row.ours, row.floor), 2) << " |\n";
    return out.str();
}

std::string jsonNumber(double value)
{
    const std::string text = number(value, 4);
    return text.empty() ? "null" : text;
}

void writeJson(const std::string& file, const std::vector<Row>& rows)
{
    std::ofstream out(file);
    out << "[\n";
    for (size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        const Case& c = *row.subject;
        out << "  {\"operation\": \"" << c.operation << "\", \"size\": \"" << c.width << "x"
            << c.height << "\", \"level\": \"" << row.level
            << "\", \"ns_per_pixel\": " << jsonNumber(perPixel(row, row.ours)) << ", \"peer\": \""
            << c.peer << "\", \"peer_ns_per_pixel\": " << jsonNumber(perPixel(row, row.theirs))
            << ", \"ratio_to_peer\": " << jsonNumber(ratio(row.ours, row.theirs))
            << ", \"ratio_to_floor\": " << jsonNumber(ratio(row.ours, row.floor)) << "}"
            << (i + 1 < rows.size() ? ",\n" : "\n");
    }
    out << "]\n";
}

// ./bench shows the same file without building this program.
const char usageText[] =
#include "benchmarks/usage.inc"
    ;

[[noreturn]] void usage(int status)
{
    (status == 0 ? std::cout : std::cerr) << usageText + 1; // past the line's end
    std::exit(status);
}

Options readOptions(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--help")
            usage(0);
        if (i + 1 == argc)
            usage(2);
        const std::string value = argv[++i];
        if (option == "--filter")
            options.filter = value;
        else if (option == "--json")
            options.jsonFile = value;
        else if (option == "--markdown")
            options.markdownFile = value;
        else if (option == "--level")
            options.level = value;
        else if (option == "--repetitions")
            options.repetitions = std::atoi(value.c_str());
        else
            usage(2);
    }
    return options;
}

std::vector<const quib::Kernels*> levelsToRun(const std::string& wanted)
{
    if (wanted.empty())
        return {&quib::kernels()};
    std::vector<const quib::Kernels*> levels;
    for (const auto level :
         {quib::KernelLevel::base, quib::KernelLevel::avx2, quib::KernelLevel::avx512}) {
        const quib::Kernels* table = quib::kernelsOfLevel(level);
        if (table && (wanted == "all" || wanted == table->levelName))
            levels.push_back(table);
    }
    if (levels.empty()) {
        std::cerr << "bench: this processor has no level '" << wanted << "'\n";
        std::exit(2);
    }
    return levels;
}

void initialiseFramework(int repetitions)
{
    std::vector<std::string> arguments = {
        "bench", "--benchmark_repetitions=" + std::to_string(repetitions),
        "--benchmark_min_time=0.15", "--benchmark_enable_random_interleaving=true"};
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
}

} // namespace

void addCase(Case benchmarkCase)
{
    cases().push_back(std::move(benchmarkCase));
}

int main(int argc, char** argv)
{
    const Options options = readOptions(argc, argv);
    const std::vector<const quib::Kernels*> levels = levelsToRun(options.level);
    initialiseFramework(options.repetitions);
    addAllCases();
    std::vector<const Case*> wanted;
    for (const Case& subject : cases())
        if (subject.operation.find(options.filter) != std::string::npos)
            wanted.push_back(&subject);
    if (wanted.empty()) {
        std::cerr << "bench: no operation's name contains '" << options.filter << "'\n";
        return 2;
    }
    std::vector<Row> rows;
    std::string table = tableHead();
    std::cout << table << std::flush;
    for (const Case* subject : wanted) {
        for (const quib::Kernels* level : levels) {
            quib::useKernelLevel(level->level);
            rows.push_back(measure(*subject, level->levelName));
            const std::string line = tableLine(rows.back());
            std::cout << line << std::flush;
            table += line;
        }
    }
    if (!options.jsonFile.empty())
        writeJson(options.jsonFile, rows);
    if (!options.markdownFile.empty())
        std::ofstream(options.markdownFile) << table;
    return 0;
}
