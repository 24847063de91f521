// Runs the same cases under every framework and prints one table: wall and processor time, time per case,
// ratio to the floor, peak memory; and what each has to show after a case that aborts or hangs.
//
//   framework_bench [ROUNDS]    rounds of every measurement, the best of which counts (default 5)
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int kManyCases = 100'000;
constexpr int kPassingChecks = 10'000'000;
constexpr int kFailingCases = 1000, kFailingChecks = 100;
constexpr int kCrashCases = 20;
constexpr int kSlowCases = 2000;  // where 100,000 would take minutes
// Seconds: how often a measurement is done in a round, and whether in a later one, goes by its best time.
constexpr double kShort = 0.05, kLong = 1.0, kVeryLong = 5.0;
constexpr int kRepeatsOfShort = 5;
constexpr unsigned kPatience = 10;  // seconds until a program that hangs is ended
constexpr unsigned kMuchPatience = 120;

std::string scratch;

std::string in_scratch(const char *name) {
    return scratch + "/" + name;
}

double now() {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double seconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

struct Cost {
    double wall = 1e9, processor = 1e9;  // seconds
    double peak = 0;                     // MiB, of the largest of the program's processes
};

// One program with its arguments; "{}" in an argument is the directory of what it writes.
struct Command {
    const char *program;
    std::vector<std::string> arguments;
    std::vector<std::string> environment;  // NAME=VALUE
};

std::string filled_in(std::string text) {
    const size_t at = text.find("{}");
    return at == std::string::npos ? text : text.replace(at, 2, scratch);
}

bool is_built(const char *program) {
    return access((std::string(BENCH_PROGRAMS "/") + program).c_str(), X_OK) == 0;
}

// Runs the command with its output in a file. False when it had to be ended.
bool run(const Command &command, unsigned patience, Cost *cost) {
    const std::string path = std::string(BENCH_PROGRAMS "/") + command.program;
    std::vector<std::string> words = {path};
    for (const std::string &argument : command.arguments) words.push_back(filled_in(argument));
    std::vector<char *> argv;
    for (std::string &word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    std::vector<std::string> variables;
    for (const std::string &variable : command.environment) variables.push_back(filled_in(variable));
    const std::string output = in_scratch("console");

    const double begin = now();
    const pid_t child = fork();
    if (child == 0) {
        setpgid(0, 0);
        for (std::string &variable : variables) putenv(variable.data());
        const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        const int nothing = open("/dev/null", O_RDONLY);
        dup2(nothing, STDIN_FILENO);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        close(file);
        close(nothing);
        alarm(patience);  // survives the exec: a program that hangs is ended by it
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child) {
        perror("framework_bench: fork or wait");
        exit(1);
    }
    cost->wall = now() - begin;
    cost->processor = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    cost->peak = static_cast<double>(usage.ru_maxrss) / 1024;
    kill(-child, SIGKILL);  // what it left behind
    return !(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM);
}

// How often a text stands in a file. Reads in pieces: the memory of this program is the least that its
// children's peaks can show.
size_t count_in(const std::string &path, const std::string &text) {
    FILE *const file = fopen(path.c_str(), "r");
    if (file == nullptr) return 0;
    static char buffer[1 << 16];
    size_t count = 0, kept = 0;
    while (const size_t got = fread(buffer + kept, 1, sizeof buffer - kept, file)) {
        const size_t size = kept + got;
        const char *at = buffer, *const end = buffer + size;
        while (const void *found = memmem(at, static_cast<size_t>(end - at), text.data(), text.size())) {
            ++count;
            at = static_cast<const char *>(found) + text.size();
        }
        kept = std::min(text.size() - 1, static_cast<size_t>(end - at));
        memmove(buffer, end - kept, kept);
    }
    fclose(file);
    return count;
}

// ---- The measured part.

struct Entry {
    const char *name;
    Command command;
    int units;             // that the time is divided by
    std::string expected;  // stands in its output or its report when it did the work
    const char *note = "";
    Cost best{};
    bool failed = false;
};

struct Row {
    const char *title;
    const char *unit;
    std::vector<Entry> entries;  // the floor first
};

bool did_the_work(const Entry &entry) {
    for (const char *file : {"console", "report.xml", "report.tap"})
        if (count_in(in_scratch(file), entry.expected) > 0) return true;
    return false;
}

void measure(Entry &entry) {
    for (const char *file : {"console", "report.xml", "report.tap", "report.json", "report.html"})
        unlink(in_scratch(file).c_str());
    Cost cost;
    if (!run(entry.command, kMuchPatience, &cost) || !did_the_work(entry)) {
        entry.failed = true;
        return;
    }
    entry.best.wall = std::min(entry.best.wall, cost.wall);
    entry.best.processor = std::min(entry.best.processor, cost.processor);
    entry.best.peak = std::max(entry.best.peak, cost.peak);
}

std::string time_text(double seconds) {
    char text[32];
    if (seconds < 1e-6)
        snprintf(text, sizeof text, "%.2f ns", seconds * 1e9);
    else if (seconds < 1e-3)
        snprintf(text, sizeof text, "%.2f us", seconds * 1e6);
    else
        snprintf(text, sizeof text, "%.2f ms", seconds * 1e3);
    return text;
}

void print(const Row &row) {
    const Entry &floor = row.entries[0];
    printf("\n%s\n  %-26s %12s %12s %12s %10s %10s %9s\n", row.title, "", "wall", "processor", row.unit,
           "ratio", "processor", "peak MiB");
    for (const Entry &entry : row.entries) {
        if (entry.failed) {
            printf("  %-26s did not do what was expected\n", entry.name);
            continue;
        }
        const double scale = static_cast<double>(floor.units) / entry.units;
        printf("  %-26s %12s %12s %12s %10.2f %10.2f %9.1f%s%s\n", entry.name,
               time_text(entry.best.wall).c_str(), time_text(entry.best.processor).c_str(),
               time_text(entry.best.wall / entry.units).c_str(), scale * entry.best.wall / floor.best.wall,
               scale * entry.best.processor / floor.best.processor, entry.best.peak, *entry.note ? "  " : "",
               entry.note);
    }
    fflush(stdout);
}

int repeats(const Entry &entry, int round) {
    if (entry.failed) return 0;
    if (round > 0 && entry.best.wall < kShort) return kRepeatsOfShort;
    return entry.best.wall < kLong || round == 0 || (round == 1 && entry.best.wall < kVeryLong) ? 1 : 0;
}

// Every round runs all entries, so that a busy machine is busy for all of them.
bool measure(Row &row, int rounds) {
    std::erase_if(row.entries, [](const Entry &entry) {
        if (is_built(entry.command.program)) return false;
        printf("\n%s is not built: its package is not installed\n", entry.command.program);
        return true;
    });
    for (int round = 0; round < rounds; ++round)
        for (Entry &entry : row.entries)
            for (int i = 0; i < repeats(entry, round); ++i) measure(entry);
    print(row);
    return std::none_of(row.entries.begin(), row.entries.end(),
                        [](const Entry &entry) { return entry.failed; });
}

const std::string kOut = "--out={}/kiv-out";

Command kiv(const char *program, std::vector<std::string> arguments, std::vector<std::string> environment) {
    arguments.push_back(kOut);
    return {program, std::move(arguments), std::move(environment)};
}

std::vector<Row> rows() {
    const std::string many = "BENCH_LOAD=" + std::to_string(kManyCases);
    const std::string slow = "BENCH_LOAD=" + std::to_string(kSlowCases);
    const std::string junit = "--junit={}/report.xml", tap = "--tap={}/report.tap",
                      json = "--json={}/report.json", html = "--html={}/report.html";
    const std::string gtest_xml = "--gtest_output=xml:{}/report.xml";
    const std::vector<std::string> doctest_junit = {"-r=junit", "-o={}/report.xml"};
    const std::vector<std::string> catch2_junit = {"-r", "junit", "-o", "{}/report.xml"};
    const std::string criterion_xml = "--xml={}/report.xml";
    const std::string check_xml = "CK_XML_LOG_FILE_NAME={}/report.xml";
    const char *const few = "2,000 cases";
    const char *const fewer = "240 cases";
    const char *const in_a_process = "a process a case";
    const int failing = kFailingCases * kFailingChecks;

    return {
        {"Start-up and list of 240 cases",
         "per case",
         {{"floor", {"floor_240", {"--list"}, {}}, 240, "case_239"},
          {"kiv", kiv("kiv_240", {"--list"}, {}), 240, "case_239"},
          {"kiv, shared C++ library", kiv("kiv_shared_240", {"--list"}, {}), 240, "case_239"},
          {"GoogleTest", {"gtest_240", {"--gtest_list_tests"}, {}}, 240, "case_239"},
          {"doctest", {"doctest_240", {"-ltc"}, {}}, 240, "case_239"},
          {"Catch2", {"catch2_240", {"-l"}, {}}, 240, "case_239"},
          {"Criterion", {"criterion_240", {"--list"}, {}}, 240, "case_239"}}},
        {"Start-up and run of 240 trivial cases",
         "per case",
         {{"floor", {"floor_240", {}, {}}, 240, "240 cases"},
          {"kiv, supervised", kiv("kiv_240", {}, {}), 240, "240 passed"},
          {"kiv --no-fork", kiv("kiv_240", {"--no-fork"}, {}), 240, "240 passed"},
          {"GoogleTest", {"gtest_240", {}, {}}, 240, "[  PASSED  ] 240 tests"},
          {"doctest", {"doctest_240", {}, {}}, 240, "240 passed"},
          {"Catch2", {"catch2_240", {}, {}}, 240, "in 240 test cases"},
          {"Check", {"check_240", {}, {}}, 240, "Checks: 240", in_a_process},
          {"Criterion", {"criterion_240", {}, {}}, 240, "Passing: ", in_a_process}}},
        {"100,000 trivial cases",
         "per case",
         {{"floor", {"floor_load", {}, {many}}, kManyCases, "100000 cases"},
          {"kiv, supervised", kiv("kiv_load", {}, {many}), kManyCases, "100000 passed"},
          {"kiv --no-fork", kiv("kiv_load", {"--no-fork"}, {many}), kManyCases, "100000 passed"},
          {"GoogleTest", {"gtest_load", {}, {many}}, kManyCases, "[  PASSED  ] 100000 tests"},
          {"doctest", {"doctest_load", {}, {many}}, kManyCases, "100000 passed"},
          {"Catch2", {"catch2_load", {}, {many}}, kManyCases, "in 100000 test cases"},
          {"Check", {"check_load", {}, {slow}}, kSlowCases, "Checks: 2000", few}}},
        {"10 million passing checks in one case",
         "per check",
         {{"floor", {"floor_load", {}, {"BENCH_LOAD=passing"}}, kPassingChecks, "1 cases"},
          {"kiv, supervised", kiv("kiv_load", {}, {"BENCH_LOAD=passing"}), kPassingChecks, "10000000"},
          {"GoogleTest", {"gtest_load", {}, {"BENCH_LOAD=passing"}}, kPassingChecks, "[  PASSED  ] 1 test"},
          {"doctest", {"doctest_load", {}, {"BENCH_LOAD=passing"}}, kPassingChecks, "10000000 passed"},
          {"Catch2", {"catch2_load", {}, {"BENCH_LOAD=passing"}}, kPassingChecks, "10000000 assertions"},
          {"Check", {"check_load", {}, {"BENCH_LOAD=passing"}}, kPassingChecks, "100%: Checks: 1"},
          {"Criterion", {"criterion_load", {"--filter=passing/*"}, {}}, kPassingChecks, "Passing: "}}},
        {"100,000 failing checks, 100 a case, all of them shown",
         "per check",
         {{"floor", {"floor_load", {}, {"BENCH_LOAD=failing"}}, failing, "check 100000"},
          {"kiv, supervised", kiv("kiv_load", {}, {"BENCH_LOAD=failing"}), failing, "100000"},
          {"GoogleTest", {"gtest_load", {}, {"BENCH_LOAD=failing"}}, failing, "1000 FAILED TESTS"},
          {"doctest", {"doctest_load", {}, {"BENCH_LOAD=failing"}}, failing, "100000 failed"},
          {"Catch2", {"catch2_load", {}, {"BENCH_LOAD=failing"}}, failing, "100000 failed"},
          {"Criterion",
           {"criterion_load", {"--filter=failing/*"}, {}},
           kFailingChecks,
           "Failing: ",
           "one case of 100 checks"}}},
        {"240 trivial cases with reports",
         "per case",
         {{"floor, none", {"floor_240", {}, {}}, 240, "240 cases"},
          {"kiv, all four", kiv("kiv_240", {junit, json, tap, html}, {}), 240, "240 passed"},
          {"kiv, JUnit", kiv("kiv_240", {junit}, {}), 240, "240 passed"},
          {"GoogleTest, XML", {"gtest_240", {gtest_xml}, {}}, 240, "<testsuites tests=\"240\""},
          {"doctest, JUnit", {"doctest_240", doctest_junit, {}}, 240, "tests=\"240\""},
          {"Catch2, JUnit", {"catch2_240", catch2_junit, {}}, 240, "tests=\"240\""},
          {"Check, XML", {"check_240", {}, {check_xml}}, 240, "case_239", in_a_process},
          {"Criterion, XML", {"criterion_240", {criterion_xml}, {}}, 240, "case_239", in_a_process}}},
        {"100,000 trivial cases with reports",
         "per case",
         {{"floor, none", {"floor_load", {}, {many}}, kManyCases, "100000 cases"},
          {"kiv, all four", kiv("kiv_load", {junit, json, tap, html}, {many}), kManyCases, "100000 passed"},
          {"kiv, JUnit and events", kiv("kiv_load", {junit, json}, {many}), kManyCases, "100000 passed"},
          {"kiv, JUnit", kiv("kiv_load", {junit}, {many}), kManyCases, "100000 passed"},
          {"GoogleTest, XML",
           {"gtest_load", {gtest_xml}, {many}},
           kManyCases,
           "<testsuites tests=\"100000\""},
          {"doctest, JUnit", {"doctest_load", doctest_junit, {many}}, kManyCases, "tests=\"100000\""},
          {"Catch2, JUnit", {"catch2_load", catch2_junit, {many}}, kManyCases, "tests=\"100000\""},
          {"Check, XML", {"check_load", {}, {slow, check_xml}}, kSlowCases, "Checks: 2000", few},
          {"Criterion, XML", {"criterion_240", {criterion_xml}, {}}, 240, "case_239", fewer}}},
    };
}

// ---- What is left after a case that ends its process, or never ends.

// A results file, or the console, with what stands there once a result.
struct Place {
    const char *file;
    std::vector<const char *> marks;
    std::vector<const char *> not_results;  // taken off again: cases that were reported as not run
};

struct Survivor {
    const char *name;
    Command command;  // its BENCH_LOAD is added
    Place report;
    Place console;
};

size_t results_in(const Place &place) {
    size_t count = 0, off = 0;
    for (const char *mark : place.marks) count += count_in(in_scratch(place.file), mark);
    for (const char *mark : place.not_results) off += count_in(in_scratch(place.file), mark);
    return count - std::min(off, count);
}

void print_survivors() {
    const Survivor survivors[] = {
        {"kiv",
         kiv("kiv_load", {"-v", "--timeout=1", "--on-crash=next-case", "--junit={}/report.xml"}, {}),
         {"report.xml", {"<testcase "}, {"<skipped"}},
         {"console", {"bench/case_"}, {}}},
        {"GoogleTest",
         {"gtest_load", {"--gtest_output=xml:{}/report.xml"}, {}},
         {"report.xml", {"<testcase "}, {}},
         {"console", {"[       OK ]", "[  FAILED  ]"}, {}}},
        {"doctest",
         {"doctest_load", {"-r=junit", "-o={}/report.xml"}, {}},
         {"report.xml", {"<testcase "}, {}},
         {"console", {}, {}}},
        {"Catch2",
         {"catch2_load", {"-r", "junit", "-o", "{}/report.xml"}, {}},
         {"report.xml", {"<testcase "}, {}},
         {"console", {}, {}}},
        {"Check",
         {"check_load", {}, {"CK_VERBOSITY=verbose", "CK_XML_LOG_FILE_NAME={}/report.xml"}},
         {"report.xml", {"<test result="}, {}},
         {"console", {":P:", ":E:", ":F:"}, {}}},
        {"Criterion",
         {"criterion_load", {"--xml={}/report.xml", "--verbose"}, {}},
         {"report.xml", {"<testcase "}, {"<skipped"}},
         {"console", {}, {}}},
    };
    printf(
        "\nResults of %d cases, the tenth of which ends badly (in the report; wall time)\n  %-26s %26s "
        "%26s\n",
        kCrashCases, "", "aborts", "hangs");
    for (const Survivor &survivor : survivors) {
        if (!is_built(survivor.command.program)) continue;
        printf("  %-26s", survivor.name);
        for (const char *how : {"abort", "hang"}) {
            for (const char *file : {"console", "report.xml"}) unlink(in_scratch(file).c_str());
            Command command = survivor.command;
            command.environment.push_back(std::string("BENCH_LOAD=") + how);
            if (strcmp(survivor.name, "Criterion") == 0)
                command.arguments.push_back(std::string("--filter=") + how + "ing/*");
            Cost cost;
            const bool ended = run(command, kPatience, &cost);
            char text[64];
            snprintf(text, sizeof text, "%zu, %s%s", results_in(survivor.report),
                     time_text(cost.wall).c_str(), ended ? "" : " until ended");
            printf(" %26s", text);
            if (getenv("BENCH_DEBUG")) printf(" [console %zu]", results_in(survivor.console));
        }
        printf("\n");
        fflush(stdout);
    }
}

}  // namespace

int main(int argc, char **argv) {
    const int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 5;
    char directory[] = "/tmp/framework_bench.XXXXXX";
    if (mkdtemp(directory) == nullptr) {
        perror(directory);
        return 1;
    }
    scratch = directory;
    rusage own{};
    getrusage(RUSAGE_SELF, &own);
    printf(
        "Best of %d rounds, fewer where one takes over a second; console output in a file. Ratios, of\n"
        "wall and of processor time, are to the floor. Peaks are of a program's largest process, and\n"
        "not below the %.1f MiB of this one, which starts it.\n",
        rounds, static_cast<double>(own.ru_maxrss) / 1024);
    bool good = true;
    for (Row &row : rows()) good = measure(row, rounds) && good;
    print_survivors();
    std::error_code ignored;
    std::filesystem::remove_all(scratch, ignored);
    return good ? 0 : 1;
}
