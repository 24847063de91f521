// A history of nights of 240 cases: runs stored a second, and every question answered, beside the bare loops
// over SQLite that do the same.
//
//   history_bench [RUNS]    default 1000; the questions are asked of so many runs
#include <sqlite3.h>
#include <stdlib.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "kiv/files.h"
#include "kiv/reports/report_list.h"
#include "kivctl/history/answers.h"
#include "kivctl/history/page.h"
#include "kivctl/history/store.h"

namespace {

using namespace kivctl;
using kiv::Verdict;

constexpr int kCases = 240;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// A night: some cases fail for months, some now and then, some get slower.
kiv::reports::RecordedRun night(int day) {
    kiv::reports::RecordedRun run;
    run.complete = true;
    run.info.program = "prm_kiv";
    run.info.host = "host";
    run.info.card = "sim";
    run.info.site = "site/sim";
    std::string time = history::time_text((int64_t{1767240000} + int64_t{86400} * day) * 1000000000);
    time[10] = 'T';
    run.info.started_at = time + "Z";
    run.info.selected_cases = kCases;
    for (int i = 0; i < kCases; ++i) {
        kiv::CaseResult result;
        result.folder = "folder" + std::to_string(i / 20);
        result.name = "tc_kiv_case_" + std::to_string(i);
        result.description = "what case " + std::to_string(i) + " does";
        result.mode = 1;
        result.checks = 3;
        const bool fails =
            (i % 17 == 3 && day % 1000 > 400 && day % 1000 < 700) || (i * 7919 + day * 104729) % 97 == 0;
        result.verdict = fails ? Verdict::failed : Verdict::passed;
        if (fails) {
            kiv::Check check;
            check.expected_name = "CERR_SUCCESS";
            check.status = 0x457c2a00;
            check.file = "prm/test/src/prm_kiv_case";
            check.function = result.name;
            check.line = i;
            result.failures = {check};
            result.failed_checks = 1;
        }
        result.output = "SUCCESS: " + result.name + "\n";
        result.duration =
            std::chrono::nanoseconds(std::llround(1e6 * (i + 1) * (1 + 0.2 * std::sin(day * 0.7 + i)) *
                                                  (i % 13 == 0 && day % 1000 > 800 ? 1.6 : 1)));
        ++run.summary.selected;
        run.summary.add(result);
        run.events.emplace_back(std::move(result));
    }
    return run;
}

void check(int code) {
    if (code != SQLITE_OK && code != SQLITE_DONE && code != SQLITE_ROW) {
        std::fprintf(stderr, "SQLite: %s\n", sqlite3_errstr(code));
        std::exit(1);
    }
}

// The bare loop: a row for each result, a transaction a run, the same settings.
class Bare {
  public:
    explicit Bare(const std::string &path) {
        check(sqlite3_open(path.c_str(), &handle_));
        execute("PRAGMA journal_mode = WAL");
        execute("PRAGMA synchronous = NORMAL");
        execute("CREATE TABLE run (id INTEGER PRIMARY KEY, started INTEGER)");
        execute(
            "CREATE TABLE result (name INTEGER, run INTEGER, verdict INTEGER, nanoseconds INTEGER, "
            "PRIMARY KEY (name, run)) WITHOUT ROWID");
        check(sqlite3_prepare_v2(handle_, "INSERT INTO result VALUES (?, ?, ?, ?)", -1, &add_, nullptr));
    }
    ~Bare() {
        sqlite3_finalize(add_);
        sqlite3_close(handle_);
    }
    Bare(const Bare &) = delete;
    Bare &operator=(const Bare &) = delete;

    void add(int number, const kiv::reports::RecordedRun &run) {
        execute("BEGIN IMMEDIATE");
        execute("INSERT INTO run (started) VALUES (0)");
        int name = 0;
        for (const kiv::CaseResult *const result : run.cases()) {
            sqlite3_bind_int(add_, 1, name++);
            sqlite3_bind_int(add_, 2, number);
            sqlite3_bind_int(add_, 3, static_cast<int>(result->verdict));
            sqlite3_bind_int64(add_, 4, result->duration.count());
            check(sqlite3_step(add_));
            check(sqlite3_reset(add_));
        }
        execute("COMMIT");
    }

  private:
    void execute(const char *sql) { check(sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr)); }
    sqlite3 *handle_ = nullptr;
    sqlite3_stmt *add_ = nullptr;
};

double best_of(int times, const std::function<void()> &act) {
    double best = 1e9;
    for (int i = 0; i < times; ++i) {
        const double before = now();
        act();
        best = std::min(best, now() - before);
    }
    return best;
}

std::string stream_of(const kiv::reports::RecordedRun &run, const std::string &path) {
    std::string error, text;
    {
        const auto report = kiv::open_report(kiv::make_json_reporter, path, &error);
        if (report != nullptr) run.replay(*report);
    }
    if (!error.empty() || !kiv::read_file(path, &text, &error)) std::fprintf(stderr, "%s\n", error.c_str());
    return text;
}

}  // namespace

int main(int argc, char **argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 1000;
    char directory[] = "/tmp/history-bench-XXXXXX";
    if (count < 1 || mkdtemp(directory) == nullptr) return 1;
    const std::string path = std::string(directory) + "/history.db",
                      bare_path = std::string(directory) + "/bare.db";
    double stored = 0, inserted = 0, read = 0;
    {
        history::Database database = history::Database::to_write(path, std::chrono::seconds(10));
        history::Store store(database);
        Bare bare(bare_path);
        const std::string stream = stream_of(night(0), std::string(directory) + "/run.json");
        for (int day = 0; day < count; ++day) {
            const kiv::reports::RecordedRun run = night(day);
            const double start = now();
            store.add(run, history::labels_of_run(run.info), {{"release", std::to_string(day / 100)}});
            const double middle = now();
            bare.add(day, run);
            stored += middle - start;
            inserted += now() - middle;
        }
        kiv::reports::RecordedRun again;
        std::string error;
        read = best_of(20, [&] { kiv::reports::read_run(stream, "run", &again, &error); });
        std::printf("%d runs of %d cases; an event stream of %.0f kB\n", count, kCases,
                    static_cast<double>(stream.size()) / 1e3);
    }
    std::printf("%-34s %9.0f runs/s\n", "stored", count / stored);
    std::printf("%-34s %9.0f runs/s   ratio %.2f\n", "bare loop, a row for each result", count / inserted,
                stored / inserted);
    std::printf("%-34s %9.0f runs/s\n", "stored, with reading its stream", 1 / (stored / count + read));

    sqlite3 *handle = nullptr;
    check(sqlite3_open(bare_path.c_str(), &handle));
    const auto scan = [&](const char *sql) {
        return best_of(3, [&] {
            sqlite3_stmt *all = nullptr;
            check(sqlite3_prepare_v2(handle, sql, -1, &all, nullptr));
            int64_t sum = 0;
            while (sqlite3_step(all) == SQLITE_ROW) sum += sqlite3_column_int64(all, 2);
            sqlite3_finalize(all);
            if (sum < 0) std::exit(1);
        });
    };
    const double all_rows = scan("SELECT name, run, verdict FROM result");
    const double one_case = scan("SELECT name, run, verdict FROM result WHERE name = 7");
    std::printf("%-34s %9.2f ms\n%-34s %9.2f ms\n", "bare loop over all results", all_rows * 1e3,
                "bare loop over those of one case", one_case * 1e3);
    sqlite3_close(handle);

    // Each from opening the file to the last letter of the answer.
    const auto ask = [&](const char *what, const std::function<std::string(const history::Asked &)> &answer,
                         const std::vector<std::string> &cases = {}) {
        const double time = best_of(3, [&] {
            history::Database database = history::Database::to_read(path, std::chrono::seconds(10));
            const history::History all(database, {});
            if (answer({all, false, all.select(cases)}).empty()) std::exit(1);
        });
        std::printf("%-34s %9.2f ms   ratio %.2f\n", what, time * 1e3, time / all_rows);
    };
    const std::vector<std::string> cards = {"card", "site"}, machines = {"card", "host", "site"};
    ask("history", [&](const history::Asked &asked) {
        const auto groups = asked.history.groups(cards);
        return tell_standings(asked, groups, standings(asked.history, groups), false);
    });
    ask("history CASE",
        [&](const history::Asked &asked) {
            const auto groups = asked.history.groups(cards);
            return tell_standings(asked, groups, standings(asked.history, groups), true);
        },
        {"tc_kiv_case_7"});
    ask("history flaky", [&](const history::Asked &asked) {
        return tell_flaky(asked, flaky(asked.history, asked.history.groups({}), 2));
    });
    ask("history slower", [&](const history::Asked &asked) {
        const auto groups = asked.history.groups(machines);
        return tell_slower(asked, groups, slower(asked.history, groups, {}));
    });
    ask("history new", [&](const history::Asked &asked) {
        return tell_fresh(asked, fresh(asked.history, asked.history.groups(cards)));
    });
    ask("history compare", [&](const history::Asked &asked) {
        return tell_differences(asked,
                                differences(asked.history, {{"release", "0"}}, {{"release", "1"}}, {}));
    });
    ask("history --html, the last 1,000", [&](const history::Asked &asked) { return page_of(asked); });
    return std::system(("rm -rf " + std::string(directory)).c_str()) == 0 ? 0 : 1;
}
