// Console output as usual, keeping each benchmark's median real and CPU
// time (keyed by name, with arguments) for the ratio lines printed at the
// end of every benchmark program.
#ifndef UTK_BENCH_MEDIANREPORTER_H
#define UTK_BENCH_MEDIANREPORTER_H

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

class MedianReporter : public benchmark::ConsoleReporter {
public:
    struct Median {
        double real = 0;
        double cpu = 0;
    };
    std::map<std::string, Median> medians;

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& r : runs) {
            if (r.aggregate_name != "median")
                continue;
            std::string name = r.run_name.function_name;
            if (!r.run_name.args.empty())
                name += "/" + r.run_name.args;
            medians[name] = {r.GetAdjustedRealTime(), r.GetAdjustedCPUTime()};
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // Prints "what / ref" on CPU time (steadier than wall time on a shared
    // machine) and on real time, when both medians exist.
    void ratio(const std::string& what, const std::string& ref, FILE* out = stdout) const
    {
        auto a = medians.find(what);
        auto b = medians.find(ref);
        if (a == medians.end() || b == medians.end() || b->second.cpu <= 0 || b->second.real <= 0)
            return;
        std::fprintf(out, "%-26s vs %-26s CPU %10.1f / %10.1f ns = %6.2f   real %10.1f / %10.1f ns = %6.2f\n",
                     what.c_str(), ref.c_str(), a->second.cpu, b->second.cpu,
                     a->second.cpu / b->second.cpu, a->second.real, b->second.real,
                     a->second.real / b->second.real);
    }
};

// The main() of a benchmark program: runs the selected benchmarks, then
// prints one ratio line for each (benchmark, reference) pair.
inline int runBenchmarksWithRatios(int argc, char** argv,
                                   const std::vector<std::pair<std::string, std::string>>& pairs)
{
    benchmark::Initialize(&argc, argv);
    MedianReporter rep;
    benchmark::RunSpecifiedBenchmarks(&rep);
    std::printf("\n");
    for (const auto& p : pairs)
        rep.ratio(p.first, p.second);
    benchmark::Shutdown();
    return 0;
}

#endif
