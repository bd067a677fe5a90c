// How long the path choices of a prompt take, beside the least that any implementation must do:
// cutting the path at each slash and keeping a copy of each prefix. Exit status 1 when the choices
// take longer than a prompt can spare; only a release build says anything. Processor time counts,
// so that what else runs on the machine does not.

#include "prompting/path_hierarchy.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int folders = 200;
constexpr std::size_t pathBytes = 900;
constexpr double allowedNanoseconds = 50'000;

// 200 folders, of names of three or four bytes, and a file: 900 bytes.
std::string longPath()
{
    std::string path = "/";
    const std::size_t file = 5; // "f.txt"
    for (int folder = 0; folder < folders; ++folder) {
        const auto left = static_cast<std::size_t>(folders - folder);
        const auto room = (pathBytes - file - path.size()) / left;
        path.append(room - 1, static_cast<char>('a' + folder % 26)).append("/");
    }
    return path.append("f.txt");
}

vossel::policy_query query()
{
    vossel::policy_query query{};
    query.operation = vossel::OPERATION_READ;
    vossel::storeText(query.path, longPath());
    return query;
}

void cutAtEachSlash(benchmark::State& state)
{
    const auto asked = query();
    for (auto _ : state) {
        const auto path = vossel::textOf(asked.path);
        std::vector<std::string> prefixes;
        for (auto slash = path.rfind('/'); slash != std::string_view::npos;
             slash = slash > 0 ? path.rfind('/', slash - 1) : std::string_view::npos)
            prefixes.emplace_back(path.substr(0, slash + 1));
        benchmark::DoNotOptimize(prefixes.data());
    }
}
BENCHMARK(cutAtEachSlash);

void pathChoices(benchmark::State& state)
{
    const auto asked = query();
    for (auto _ : state) {
        auto hierarchy = vossel::constructPathHierarchy(asked, {"/Users/ann", true, false});
        benchmark::DoNotOptimize(hierarchy.choices.data());
    }
}
BENCHMARK(pathChoices);

class CollectingReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const auto& run : runs)
            nanoseconds[run.benchmark_name()] = run.GetAdjustedCPUTime();
        ConsoleReporter::ReportRuns(runs);
    }

    std::map<std::string, double> nanoseconds;
};

}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv) || longPath().size() != pathBytes)
        return 2;
    CollectingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const auto choices = reporter.nanoseconds["pathChoices"];
    const auto least = reporter.nanoseconds["cutAtEachSlash"];
    if (choices <= 0 || least <= 0)
        return 2; // one of the two was filtered out
    std::printf(
        "path choices, %zu bytes in %d folders: %.1f us of %.0f us, %.2f times the cutting alone\n",
        pathBytes, folders, choices / 1000, allowedNanoseconds / 1000, choices / least);
    return choices <= allowedNanoseconds ? 0 : 1;
}
