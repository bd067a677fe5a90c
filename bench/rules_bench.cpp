// A rules file of a million rules and a hundred thousand repeats, in no order: how long reading it
// into a store takes against `LC_ALL=C sort -u` of the same file in the same run, and what it takes
// in memory; likewise `vosselctl rules format` as a whole process; writing it back; a filter's
// keystroke; adding rules one by one. Everything lies in memory (/dev/shm) where that is there, so
// that no disk is measured. Run from a release build.

#include "rules/store/rule_manager.h"
#include "support/temporary_directory.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vossel;

constexpr std::size_t distinctRules = 1'000'000;
constexpr std::size_t repeats = 100'000;
constexpr std::size_t applications = 20'000;
constexpr std::size_t rounds = 9;
constexpr std::size_t added = 10'000;

// What must hold; the program ends with status 1 where it does not.
constexpr double maxReading = 1; // of sort -u
constexpr double maxFormat = 1.5; // of sort -u
constexpr double maxMemory = 3; // times the file
constexpr double maxWriting = 0.5; // of reading
constexpr double maxKeystroke = 0.3; // seconds, ASCII
constexpr double maxGrowth = 3; // of the time for twice as many additions

double seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double timeOf(const std::function<void()>& work)
{
    const auto start = seconds();
    work();
    return seconds() - start;
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

std::string lineOf(std::size_t number, std::mt19937_64& random)
{
    constexpr std::array classes = {"allow", "deny"};
    constexpr std::array types = {"prefix", "path", "suffix"};
    constexpr std::array operations = {"r", "w", "rw", "rwc", "x", "rx"};
    constexpr std::array names = {"Editor", "Player", "Mail", "Browser", "Sync", "Backup"};
    const auto application = random() % applications;
    const auto* name = names[application % names.size()];
    std::string line;
    line.append(classes[random() % classes.size()])
        .append(" ")
        .append(types[random() % types.size()])
        .append(" \"/Users/")
        .append(std::to_string(random() % 500))
        .append("/Library/Application Support/")
        .append(std::to_string(random() % 10'000))
        // Every twentieth file has a name beyond ASCII.
        .append(number % 20 == 0 ? "/Schön-" : "/file-")
        .append(std::to_string(number))
        .append("\" \"/Applications/")
        .append(name)
        .append(" ")
        .append(std::to_string(application))
        .append(".app/Contents/MacOS/")
        .append(name)
        .append("\" ")
        .append(operations[random() % operations.size()])
        .append(" \"tag")
        .append(std::to_string(number % 97))
        .append("\" \"\" \"")
        .append(std::to_string(1'500'000'000 + number))
        .append("\"\n");
    return line;
}

void generate(const std::string& path)
{
    std::mt19937_64 random(20'261'122);
    std::vector<std::string> lines;
    lines.reserve(distinctRules + repeats);
    for (std::size_t i = 0; i < distinctRules; ++i)
        lines.push_back(lineOf(i, random));
    for (std::size_t i = 0; i < repeats; ++i)
        lines.push_back(lines[random() % distinctRules]);
    std::shuffle(lines.begin(), lines.end(), random);
    std::ofstream file(path, std::ios::binary);
    for (const auto& line : lines)
        file << line;
    if (!file.flush()) {
        std::fprintf(stderr, "%s cannot be written\n", path.c_str());
        std::exit(2);
    }
}

// In a process of its own: what it leaves behind in memory would be there for those that measure.
void generateInChild(const std::string& path)
{
    const pid_t child = ::fork();
    if (child == 0) {
        generate(path);
        std::_Exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (status != 0)
        std::exit(2);
}

// What a child measured; it says so through a pipe, so that each measurement has memory of its own.
struct Reading {
    double reading = 0;
    double lists = 0;
    double writing = 0;
    std::size_t rules = 0;
    long maxMemory = 0; // KiB, before the writing
};

Reading readInChild(const std::string& path, const std::string& copy)
{
    int ends[2];
    if (::pipe(ends) != 0)
        std::exit(2);
    const pid_t child = ::fork();
    if (child == 0) {
        Reading result;
        RuleManager store;
        result.reading = timeOf([&] { store.addFileContents(path, false); });
        result.lists = timeOf([&] {
            store.rebuildRulesCache();
            result.rules = store.policyRules().size();
        });
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        result.maxMemory = usage.ru_maxrss;
        result.writing = timeOf([&] { store.writeToFile(copy); });
        const bool sent = ::write(ends[1], &result, sizeof result) == sizeof result;
        std::_Exit(sent ? 0 : 1);
    }
    ::close(ends[1]);
    Reading result;
    const bool received = ::read(ends[0], &result, sizeof result) == sizeof result;
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!received || result.rules != distinctRules) {
        std::fprintf(stderr, "reading gave %zu rules\n", result.rules);
        std::exit(2);
    }
    return result;
}

// From its start to its end. What it says goes nowhere.
double timeOfProgram(std::vector<std::string> words)
{
    return timeOf([&words] {
        const pid_t child = ::fork();
        if (child == 0) {
            ::setenv("LC_ALL", "C", 1);
            if (std::freopen("/dev/null", "w", stdout) == nullptr)
                std::_Exit(127);
            std::vector<char*> arguments;
            for (auto& word : words)
                arguments.push_back(word.data());
            arguments.push_back(nullptr);
            ::execvp(arguments[0], arguments.data());
            std::_Exit(127);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        if (status != 0) {
            std::fprintf(stderr, "%s failed\n", words[0].c_str());
            std::exit(2);
        }
    });
}

double additions(RuleManager& store, std::size_t count)
{
    std::size_t total = 0;
    const auto time = timeOf([&] {
        for (std::size_t i = 0; i < count; ++i) {
            PolicyRule rule;
            rule.setPath("/added/" + std::to_string(i));
            rule.setProcessName("/Applications/Added " + std::to_string(i % 100));
            store.addPolicyRule(rule);
            total = store.totalRules(true) + store.totalRules(false);
        }
    });
    return total > 0 ? time : 0;
}

class Report {
public:
    void bounded(const char* what, double value, double bound, const char* unit)
    {
        const bool holds = value <= bound;
        kept_ = kept_ && holds;
        std::printf("%-62s %8.3f %s (at most %g)%s\n", what, value, unit, bound,
            holds ? "" : "  NOT REACHED");
    }
    void plain(const char* what, double value, const char* unit)
    {
        std::printf("%-62s %8.3f %s\n", what, value, unit);
    }
    [[nodiscard]] int status() const { return kept_ ? 0 : 1; }

private:
    bool kept_ = true;
};

}

int main()
{
    // Children would print again what a buffer still holds.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    if (::access("/dev/shm", W_OK) == 0)
        ::setenv("TMPDIR", "/dev/shm", 0);
    const test::TemporaryDirectory folder;
    const auto file = folder / "rules.rc";
    generateInChild(file);
    const auto size = static_cast<double>(std::filesystem::file_size(file));
    Report report;
    report.plain("the file", size / 1e6, "MB");

    std::vector<double> sorting;
    std::vector<double> formatting;
    std::vector<double> reading;
    std::vector<double> lists;
    std::vector<double> writing;
    long memory = 0;
    for (std::size_t i = 0; i < rounds; ++i) {
        sorting.push_back(timeOfProgram({"sort", "-u", file, "-o", "/dev/null"}));
        formatting.push_back(timeOfProgram({VOSSELCTL, "rules", "format", file}));
        const auto read = readInChild(file, folder / "copy.rc");
        reading.push_back(read.reading + read.lists);
        lists.push_back(read.lists);
        writing.push_back(read.writing);
        memory = std::max(memory, read.maxMemory);
    }
    report.plain("LC_ALL=C sort -u", median(sorting), "s");
    report.plain("vosselctl rules format, the whole process", median(formatting), "s");
    report.plain("reading, groups and lists ready", median(reading), "s");
    report.plain("  of which the lists", median(lists), "s");
    report.plain("writing it back", median(writing), "s");
    report.bounded("reading / sort", median(reading) / median(sorting), maxReading, "");
    report.bounded("format / sort", median(formatting) / median(sorting), maxFormat, "");
    report.bounded("writing / reading", median(writing) / median(reading), maxWriting, "");
    report.bounded(
        "most memory / file", 1024.0 * static_cast<double>(memory) / size, maxMemory, "");

    RuleManager store;
    store.addFileContents(file, false);
    store.rebuildRulesCache();
    for (const auto& [what, text, bound] : {
             std::tuple{"a keystroke that finds every rule: \"a\"", "a", maxKeystroke},
             std::tuple{"one that finds a few: \"FILE-999\"", "FILE-999", maxKeystroke},
             std::tuple{"one that finds none: \"zzz\"", "zzz", maxKeystroke},
             std::tuple{"one beyond ASCII: \"SCHÖN-99\"", "SCHÖN-99", maxKeystroke},
         }) {
        std::size_t found = 0;
        const auto time = timeOf([&] {
            store.applyFilterWithString(text);
            found = store.totalRules(true);
        });
        report.bounded(what, time, bound, "s");
        std::printf("    %zu rules\n", found);
    }
    store.applyFilterWithString("");
    (void)store.totalRules(true);
    const auto once = additions(store, added);
    const auto twice = additions(store, 2 * added);
    report.plain("10,000 rules added one by one, counts read after each", once, "s");
    report.bounded("20,000 / 10,000 of them", twice / once, maxGrowth, "");
    return report.status();
}
