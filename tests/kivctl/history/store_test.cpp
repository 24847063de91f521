// What a history keeps of a run, and what it refuses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "kivctl/history/schema.h"
#include "tests/kivctl/history/runs.h"

namespace kivctl::history::test {
namespace {

using kiv::Verdict;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

int64_t count(Database &database, const std::string &table) {
    return database.number(("SELECT count(*) FROM " + table).c_str());
}

std::string message(const std::function<void()> &act) {
    try {
        act();
    } catch (const DatabaseError &error) {
        return error.what();
    }
    return "";
}

void sql(const std::string &path, const char *statements) {
    sqlite3 *handle = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &handle), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(handle, statements, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(handle);
}

TEST(Store, ARunReadBackIsTheRun) {
    Kept kept;
    kept.add(run_of(0, {{"f", "b", Verdict::failed, 1.5}, {"f", "a"}, {"g", "c", Verdict::not_run, 0}}),
             {{"release", "7.3"}});
    Database database = kept.open();
    const History history(database, {});
    ASSERT_EQ(history.runs.size(), 1u);
    const auto &run = history.runs[0];
    EXPECT_EQ(run.program, "prm_kiv");
    EXPECT_EQ(run.started, 1767240000 * int64_t{1000000000});
    EXPECT_THAT(run.labels, ElementsAre(Pair("release", "7.3")));
    EXPECT_EQ(run.verdicts, "fp-");
    EXPECT_THAT(history.durations(run), ElementsAre(1500000, 20000000, 0));
    ASSERT_EQ(history.lineups[run.lineup].size(), 3u);
    EXPECT_EQ(history.subjects[history.lineups[run.lineup][0]].shown(), "f/b");
    const auto failures = history.failures(run);
    ASSERT_EQ(failures.size(), 1u) << "a case that did not run has not failed";
    EXPECT_EQ(history.text(failures[0].output), "ERROR: <b>\n");
    EXPECT_THAT(history.text(failures[0].details), HasSubstr("expected CERR_SUCCESS"));
    EXPECT_THAT(history.headline(run, 0),
                HasSubstr("failed: prm/test/src/prm_kiv_f:7: b: expected CERR_SUCCESS"));
    EXPECT_EQ(history.headline(run, 1), "");
}

TEST(Store, EveryVerdictHasALetterOfItsOwn) {
    Kept kept;
    std::vector<Play> plays;
    for (int i = 0; i < 8; ++i) plays.push_back({"f", "case" + std::to_string(i), static_cast<Verdict>(i)});
    kept.add(run_of(0, plays));
    Database database = kept.open();
    const History history(database, {});
    EXPECT_EQ(history.runs[0].verdicts, "pfactue-");
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(History::is_bad(history.runs[0].verdicts[static_cast<size_t>(i)]),
                  !verdict_is_good(static_cast<Verdict>(i)) && static_cast<Verdict>(i) != Verdict::not_run);
    Statement view(database, "SELECT verdict FROM result ORDER BY name");
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(view.step());
        EXPECT_EQ(view.text(0), verdict_text(static_cast<Verdict>(i)));
    }
}

TEST(Store, ARunStoredTwiceIsOneRun) {
    Kept kept;
    const auto run = run_of(0, {{"f", "a", Verdict::failed}});
    Database database = kept.open();
    Store store(database);
    EXPECT_EQ(store.add(run, {{"host", "h"}}, {{"release", "7.3"}}), Store::Outcome::added);
    EXPECT_EQ(store.add(run, {{"host", "other"}}, {{"release", "7.4"}, {"card", "lc1"}}),
              Store::Outcome::known);
    Store another(database);
    EXPECT_EQ(another.add(run, {}, {}), Store::Outcome::known);
    for (const char *const table : {"run", "duration", "failure", "lineup", "subject"})
        EXPECT_EQ(count(database, table), 1) << table;
    const History history(database, {});
    EXPECT_THAT(history.runs[0].labels,
                ElementsAre(Pair("card", "lc1"), Pair("host", "h"), Pair("release", "7.4")))
        << "labels that were asked for are taken over, others stay";
}

TEST(Store, RunsThatBeganTogetherAndDifferAreTwo) {
    Kept kept;
    kept.add(run_of(0, {{"f", "a"}}));
    kept.add(run_of(0, {{"f", "a", Verdict::passed, 21}}));
    auto elsewhere = run_of(0, {{"f", "a"}});
    elsewhere.info.host = "other";
    kept.add(elsewhere);
    Database database = kept.open();
    EXPECT_EQ(count(database, "run"), 3);
}

TEST(Store, EqualTextsAndLineUpsAreKeptOnce) {
    Kept kept;
    for (int day = 0; day < 5; ++day)
        kept.add(run_of(day, day % 2 == 0 ? std::vector<Play>{{"f", "a", Verdict::failed}, {"f", "b"}}
                                          : std::vector<Play>{{"f", "b"}, {"f", "a", Verdict::failed}}));
    Database database = kept.open();
    EXPECT_EQ(count(database, "lineup"), 1) << "shuffled runs have the cases in another order";
    EXPECT_EQ(count(database, "failure"), 5);
    EXPECT_EQ(count(database, "text"), 3) << "headline, details, output";
}

TEST(Store, LongTextsKeepTheirTellingEnd) {
    Kept kept;
    auto run = run_of(0, {{"f", "a", Verdict::failed}});
    std::get<kiv::CaseResult>(run.events[0]).output = std::string(50000, 'x') + "the end";
    kept.add(run);
    Database database = kept.open();
    const History history(database, {});
    const std::string output = history.text(history.failures(history.runs[0])[0].output);
    EXPECT_LT(output.size(), 20000u);
    EXPECT_TRUE(output.starts_with("[33623 bytes before this ...]\n")) << output.substr(0, 40);
    EXPECT_TRUE(output.ends_with("the end"));
}

TEST(Store, FixturesAreKeptBesideTheCases) {
    Kept kept;
    auto run = run_of(0, {{"span", "a"}});
    kiv::FixtureResult fixture;
    fixture.folder = "span";
    fixture.set_up = fixture.ran = true;
    fixture.verdict = Verdict::crashed;
    run.events.emplace_back(fixture);
    fixture = {};
    fixture.of_worker = fixture.ran = true;
    fixture.verdict = Verdict::crashed;
    run.events.emplace_back(fixture);
    kept.add(run);
    kept.add(run_of(1, {{"span", "a"}}));
    Database database = kept.open();
    const History history(database, {});
    std::vector<std::string> told;
    for (const auto &one : history.runs)
        history.outcomes(one, [&](uint32_t subject, bool bad) {
            told.push_back(history.subjects[subject].shown() + (bad ? " bad" : " good"));
        });
    EXPECT_THAT(told,
                ElementsAre("span/a good", "set-up of span bad", "worker bad", "span/a good", "worker good"))
        << "a worker that is not told of ended well";
}

TEST(Store, RunsThatCannotBeComparedAreUnfit) {
    auto run = run_of(0, {{"f", "a"}});
    EXPECT_EQ(unfit(run), "");
    run.complete = false;
    EXPECT_THAT(unfit(run), HasSubstr("the run did not tell of its end"));
    run = run_of(0, {{"f", "a"}});
    run.info.started_at = "";
    EXPECT_EQ(unfit(run), "Time: the run does not tell when it began");
    run = run_of(0, {{"f", "a"}});
    run.summary.selected = 2;
    EXPECT_EQ(unfit(run), "Selected: the summary says 2, the events tell of 1");
}

TEST(Database, AnotherProgramsDatabaseIsLeftAlone) {
    const kiv_test::TemporaryDirectory directory;
    const std::string path = directory.path("other.db");
    sql(path, "CREATE TABLE t (x)");
    const std::string before = kiv_test::read_text(path);
    const auto open = [&] { Database::to_write(path, {}); };
    EXPECT_EQ(message(open), path + ": a database, but no history of runs");
    EXPECT_EQ(kiv_test::read_text(path), before);
    EXPECT_EQ(message([&] { Database::to_read(path, {}); }), path + ": a database, but no history of runs");
}

TEST(Database, AFileOfSomethingElseIsLeftAlone) {
    const kiv_test::TemporaryDirectory directory;
    const std::string text = std::string(5000, 'x'), path = directory.write("notes", text);
    EXPECT_EQ(message([&] { Database::to_write(path, {}); }), path + ": no history of runs: not a database");
    EXPECT_EQ(kiv_test::read_text(path), text);
    EXPECT_EQ(
        message([&] { Database::to_read(directory.path(), {}); }).substr(0, directory.path().size() + 2),
        directory.path() + ": ");
}

TEST(Database, AHistoryOfALaterReleaseIsRefused) {
    Kept kept;
    kept.open();
    sql(kept.path(), "PRAGMA user_version = 77");
    const std::string known = std::to_string(schema().size());
    EXPECT_EQ(message([&] { kept.open(); }),
              kept.path() + ": written by a later release (schema 77, this one knows " + known + ")");
    EXPECT_THAT(message([&] { Database::to_read(kept.path(), {}); }),
                HasSubstr("written by a later release"));
}

TEST(Database, AHistoryOfAnEarlierReleaseIsBroughtForward) {
    Kept kept;
    kept.add(run_of(0, {{"f", "a"}}));
    std::vector<const char *> steps(schema().begin(), schema().end());
    steps.push_back("ALTER TABLE run ADD COLUMN weather TEXT NOT NULL DEFAULT 'dry'");
    steps.push_back("UPDATE run SET weather = 'wet'");
    Database database = kept.open();
    database.migrate(steps);
    EXPECT_EQ(database.number("PRAGMA user_version"), static_cast<int64_t>(schema().size() + 2));
    EXPECT_EQ(database.number("SELECT count(*) FROM run WHERE weather = 'wet'"), 1);
}

TEST(Database, AStepThatFailsLeavesTheHistoryAsItWas) {
    Kept kept;
    kept.add(run_of(0, {{"f", "a"}}));
    std::vector<const char *> steps(schema().begin(), schema().end());
    steps.push_back("ALTER TABLE run ADD COLUMN weather TEXT");
    steps.push_back("no such statement");
    Database database = kept.open();
    EXPECT_THAT(message([&] { database.migrate(steps); }), HasSubstr("syntax error"));
    EXPECT_EQ(database.number("PRAGMA user_version"), static_cast<int64_t>(schema().size()));
    EXPECT_EQ(database.number("SELECT count(*) FROM pragma_table_info('run') WHERE name = 'weather'"), 0);
}

TEST(Database, AWriterWaitsForAnotherAndThenSaysSo) {
    Kept kept;
    Database one = kept.open();
    const Transaction busy(one);
    Database other = Database::to_write(kept.path(), std::chrono::milliseconds(20));
    Store store(other);
    EXPECT_THAT(message([&] {
                    store.add(run_of(0, {{"f", "a"}}), {}, {});
                }),
                HasSubstr("history.db: another process is writing to it"));
    const History history(other, {});
    EXPECT_TRUE(history.runs.empty());
}

TEST(Database, WhatDidNotFitIsNotHalfThere) {
    Kept kept;
    Database database = kept.open();
    Store store(database);
    store.add(run_of(0, {{"f", "a"}}), {}, {});
    database.execute("PRAGMA max_page_count = 20");  // a disk with room for no more
    std::vector<Play> plays;
    for (int i = 0; i < 2000; ++i) plays.push_back({"f", "case" + std::to_string(i), Verdict::failed});
    EXPECT_THAT(message([&] { store.add(run_of(1, plays), {}, {}); }), HasSubstr("no space is left"));
    EXPECT_EQ(count(database, "run"), 1);
    EXPECT_EQ(count(database, "subject"), 1);
    database.execute("PRAGMA max_page_count = 100000");
    EXPECT_EQ(store.add(run_of(1, plays), {}, {}), Store::Outcome::added) << "with room again";
    EXPECT_EQ(count(database, "subject"), 2001);
    EXPECT_EQ(database.number("SELECT count(*) FROM pragma_foreign_key_check"), 0);
}

TEST(Database, WhatDoesNotFitTogetherIsSaid) {
    for (const char *const damage :
         {"UPDATE run SET verdicts = verdicts || 'p'", "UPDATE run SET verdicts = 'xx'",
          "UPDATE run SET lineup = 99", "UPDATE lineup SET subjects = '[1,77]'",
          "UPDATE lineup SET subjects = 'nonsense'", "UPDATE run SET lineup = 9223372036854775807"}) {
        Kept kept;
        kept.add(run_of(0, {{"f", "a"}, {"f", "b"}}));
        sql(kept.path(), damage);
        Database database = Database::to_read(kept.path(), {});
        EXPECT_THAT(message([&] { const History history(database, {}); }),
                    HasSubstr("the history is damaged: "))
            << damage;
    }
}

TEST(Database, ToReadThereMustBeOne) {
    Kept kept;
    EXPECT_THAT(message([&] { Database::to_read(kept.directory().path("none"), {}); }),
                HasSubstr("/none: No such file or directory (kivctl store makes a history)"));
    kept.directory().write("empty", "");
    EXPECT_THAT(message([&] { Database::to_read(kept.directory().path("empty"), {}); }),
                HasSubstr("no history of runs: the file is empty"));
}

}  // namespace
}  // namespace kivctl::history::test
