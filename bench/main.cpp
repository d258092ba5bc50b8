// Measures the hot paths as ratios: quarn_bench [--check] [--benchmark_filter=...]
//
// --check makes a missed goal an exit status of 1. All other options are the benchmark library's.

#include "bench/Compare.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <limits>
#include <map>
#include <regex>
#include <sstream>
#include <utility>
#include <vector>

namespace bench {

namespace {

struct Figure {
    std::string what;
    std::string against;
    double goal;
    std::function<double()> ratio; // empty: timed
};

std::vector<Figure>& Figures() {
    static std::vector<Figure> figures;
    return figures;
}

std::string SubjectName(std::string const& what) {
    return what + "/subject";
}
std::string ReferenceName(std::string const& what) {
    return what + "/reference";
}

/// Keeps the fastest repetition of every benchmark.
class FastestReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(Context const&) override { return true; }

    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.iterations == 0) {
                continue;
            }
            double const seconds = run.real_accumulated_time / static_cast<double>(run.iterations);
            auto const entry = m_fastest.emplace(run.run_name.function_name, seconds).first;
            entry->second = std::min(entry->second, seconds);
        }
    }

    /// Seconds an iteration, NaN when it did not run.
    double Seconds(std::string const& name) const {
        auto const entry = m_fastest.find(name);
        return entry == m_fastest.end() ? std::numeric_limits<double>::quiet_NaN() : entry->second;
    }

private:
    std::map<std::string, double> m_fastest;
};

/// @return how many goals were missed
int PrintTable(FastestReporter const& reporter) {
    int missed = 0;
    std::string const wanted = benchmark::GetBenchmarkFilter();
    std::regex const filter(wanted == "all" ? "" : wanted);
    std::printf("%-62s %-52s %8s %8s\n", "what", "against", "ratio", "goal");
    for (Figure const& figure : Figures()) {
        if (figure.ratio && !std::regex_search(figure.what, filter)) {
            continue;
        }
        double const ratio = figure.ratio ? figure.ratio()
                                          : reporter.Seconds(SubjectName(figure.what)) /
                                                reporter.Seconds(ReferenceName(figure.what));
        if (!(ratio == ratio)) {
            continue; // left out by a filter
        }
        bool const met = ratio <= figure.goal;
        missed += met ? 0 : 1;
        std::printf(
            "%-62s %-52s %8.2f %8.2f%s\n",
            figure.what.c_str(),
            figure.against.c_str(),
            ratio,
            figure.goal,
            met ? "" : "  MISSED");
    }
    return missed;
}

} // namespace

void Compare(
    std::string const& what,
    std::string const& against,
    double goal,
    std::function<void(benchmark::State&)> subject,
    std::function<void(benchmark::State&)> reference) {
    Figures().push_back({what, against, goal, {}});
    for (auto& [name, function] :
         {std::pair(SubjectName(what), std::move(subject)),
          std::pair(ReferenceName(what), std::move(reference))}) {
        benchmark::RegisterBenchmark(name.c_str(), function)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime()
            ->Repetitions(7)
            ->MinTime(0.1);
    }
}

void Report(
    std::string const& what,
    std::string const& against,
    double goal,
    std::function<double()> ratio) {
    Figures().push_back({what, against, goal, std::move(ratio)});
}

} // namespace bench

int main(int argc, char** argv) {
    bool check = false;
    std::vector<char*> arguments;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "--check") == 0) {
            check = true;
        } else {
            arguments.push_back(argv[i]);
        }
    }
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleave);
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);

    bench::RegisterWindowFigures();
    bench::RegisterImageFigures();
    bench::RegisterPanelFigures();
    bench::RegisterCameraFigures();
    bench::RegisterGadgetFigures();
    bench::RegisterAnnotationFigures();
    bench::RegisterRasterFigures();
#ifdef QUARN_BENCH_SDL
    bench::RegisterSdlFigures();
#endif
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    // The library tells of every plugin and event; the table is all that is wanted here.
    std::ostringstream silence;
    std::streambuf* const console = std::cout.rdbuf(silence.rdbuf());
    bench::FastestReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::cout.rdbuf(console);

    int const missed = bench::PrintTable(reporter);
    std::printf("%d of the goals missed\n", missed);
    return check && missed != 0 ? 1 : 0;
}
