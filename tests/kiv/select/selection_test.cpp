// Which cases selectors select, in which order, and what is said of a selector that names nothing.
#include "kiv/select/selection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "kiv/listing.h"
#include "kiv/select/schedule.h"
#include "tests/kiv/suite.h"

namespace {

using kiv::SelectionRequest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SelectionTest : public testing::Test {
  protected:
    SelectionTest() {
        kiv_folder *acl = suite_.folder("acl");
        suite_.test(acl, "create");
        suite_.test(acl, "delete");
        kiv_folder *span = suite_.folder("span");
        kiv_folder *manual = suite_.folder("manual", span);
        suite_.test(manual, "enable", KIV_MODE_MANUAL);
        kiv_folder *port = suite_.folder("port", span);
        suite_.test(port, "add");
        suite_.test(port, "remove");
        suite_.test(acl, "create");  // registered late, and a second time
    }

    std::vector<std::string> select(const std::vector<std::string> &words, bool all = false) {
        SelectionRequest request;
        for (const std::string &word : words) request.selectors.push_back(kiv::make_selector(word));
        request.all = all;
        std::vector<uint32_t> selected;
        error_.clear();
        if (!kiv::select_cases(suite_.context(), request, &selected, &error_)) return {"error"};
        return suite_.names(selected);
    }

    kiv_test::Suite suite_;
    std::string error_;
};

TEST_F(SelectionTest, NothingSelectsAutomaticCasesInRegistrationOrder) {
    EXPECT_THAT(select({}),
                ElementsAre("acl/create", "acl/delete", "span/port/add", "span/port/remove", "acl/create#2"));
}

TEST_F(SelectionTest, AllSelectsManualCasesToo) {
    EXPECT_EQ(select({}, true).size(), 6u);
}

TEST_F(SelectionTest, FolderSelectsEverythingBelowItManualCasesToo) {
    EXPECT_THAT(select({"span"}), ElementsAre("span/manual/enable", "span/port/add", "span/port/remove"));
    EXPECT_THAT(select({"span/port/"}), ElementsAre("span/port/add", "span/port/remove"));
}

TEST_F(SelectionTest, SelectorsKeepTheirOrderAndEachRegistrationOrder) {
    EXPECT_THAT(select({"span/port/remove", "acl"}),
                ElementsAre("span/port/remove", "acl/create", "acl/delete", "acl/create#2"));
}

TEST_F(SelectionTest, CaseSelectedTwiceRunsOnceAtItsFirstPlace) {
    EXPECT_THAT(select({"acl/delete", "acl"}), ElementsAre("acl/delete", "acl/create", "acl/create#2"));
}

TEST_F(SelectionTest, NumberNamesTheRepeatedCase) {
    EXPECT_THAT(select({"acl/create#2"}), ElementsAre("acl/create#2"));
    EXPECT_THAT(select({"acl/create"}), ElementsAre("acl/create"));
}

TEST_F(SelectionTest, PatternsMatchWholeSelectors) {
    EXPECT_THAT(select({"*/port/*"}), ElementsAre("span/port/add", "span/port/remove"));
    EXPECT_THAT(select({"acl/c?eate"}), ElementsAre("acl/create"));
    EXPECT_THAT(select({"*/[ad]*"}), ElementsAre("acl/delete", "span/port/add"));
    EXPECT_THAT(select({"s*n"}), ElementsAre("span/manual/enable", "span/port/add", "span/port/remove"));
    EXPECT_THAT(select({"add"}), ElementsAre("error"));
}

TEST_F(SelectionTest, PatternOfAFolderSelectsWhatIsBelow) {
    EXPECT_THAT(select({"span/p*t"}), ElementsAre("span/port/add", "span/port/remove"));
}

TEST_F(SelectionTest, ExcludesHoldWhereverTheyStand) {
    EXPECT_THAT(select({"-acl/delete", "acl", "span/port"}),
                ElementsAre("acl/create", "acl/create#2", "span/port/add", "span/port/remove"));
    EXPECT_THAT(select({"acl", "-acl/*#2", "-acl/d*"}), ElementsAre("acl/create"));
}

TEST_F(SelectionTest, ExcludesAloneTakeFromTheAutomaticCases) {
    EXPECT_THAT(select({"-acl"}), ElementsAre("span/port/add", "span/port/remove"));
}

TEST_F(SelectionTest, UnknownSelectorIsNamedWithItsNearestNames) {
    select({"acl/craete"});
    EXPECT_EQ(error_, "no folder or case is called \"acl/craete\"; did you mean acl/create?");
    select({"acl/elete"});
    EXPECT_EQ(error_, "no folder or case is called \"acl/elete\"; did you mean acl/delete?");
    select({"acl/zzzzzzzz"});
    EXPECT_EQ(error_,
              "no folder or case is called \"acl/zzzzzzzz\"; acl has 3 cases, which --list acl shows");
    select({"spam/port/add"});  // the case is right
    EXPECT_EQ(error_, "no folder or case is called \"spam/port/add\"; did you mean span/port/add?");
    select({"span/prot/add"});
    EXPECT_EQ(error_, "no folder or case is called \"span/prot/add\"; did you mean span/port/add?");
    select({"ACL"});
    EXPECT_EQ(error_, "no folder or case is called \"ACL\"; did you mean acl?");
    select({"acl/CREATE"});
    EXPECT_THAT(error_, HasSubstr("; did you mean acl/create"));
    select({"span/porte/*"});
    EXPECT_EQ(error_,
              "no folder or case is called \"span/porte/*\" (as a pattern, it matches none); there is no "
              "folder span/porte; did you mean span/port?");
    select({"acl/*zzz"});
    EXPECT_EQ(error_, "no folder or case is called \"acl/*zzz\" (as a pattern, it matches none)");
    select({"spam"});
    EXPECT_THAT(error_, HasSubstr("did you mean span"));
    select({"delete"});
    EXPECT_THAT(error_, HasSubstr("did you mean acl/delete?"));
    select({"zzzzzzzz"});
    EXPECT_EQ(error_, "no folder or case is called \"zzzzzzzz\"");
    select({"-aclx"});
    EXPECT_THAT(error_, HasSubstr("\"aclx\""));
    select({"x*"});
    EXPECT_THAT(error_, HasSubstr("as a pattern, it matches none"));
}

TEST_F(SelectionTest, UnknownSelectorSelectsNothing) {
    for (const std::vector<std::string> &words : std::vector<std::vector<std::string>>{
             {"zzzzzzzz"}, {"acl", "zzzzzzzz"}, {"-aclx"}, {"acl", "-aclx"}})
        EXPECT_THAT(select(words), ElementsAre("error")) << words.back();
}

TEST_F(SelectionTest, UnknownSelectorOfAPlanIsNamedWithItsLine) {
    SelectionRequest request;
    kiv::Selector selector = kiv::make_selector("acl/creat");
    selector.file = "night.plan";
    selector.line = 12;
    request.selectors.push_back(selector);
    std::vector<uint32_t> selected;
    EXPECT_FALSE(kiv::select_cases(suite_.context(), request, &selected, &error_));
    EXPECT_THAT(error_, testing::StartsWith("night.plan:12: no folder or case is called \"acl/creat\""));
}

TEST_F(SelectionTest, ShuffleKeepsFoldersTogetherAndRepeatsWithItsSeed) {
    std::vector<uint32_t> all = {0, 1, 2, 3, 4, 5};
    std::vector<uint32_t> first = all, again = all;
    kiv::shuffle_cases(suite_.context(), 7, &first);
    kiv::shuffle_cases(suite_.context(), 7, &again);
    EXPECT_EQ(first, again);
    EXPECT_THAT(first, testing::UnorderedElementsAreArray(all));
    bool differs = false;
    for (uint32_t seed = 1; seed < 20; ++seed) {
        std::vector<uint32_t> order = all;
        kiv::shuffle_cases(suite_.context(), seed, &order);
        differs = differs || order != first;
        // Cases of one folder stand together, and folders below one parent too.
        std::vector<std::string> tops;
        for (const std::string &name : suite_.names(order)) {
            const std::string top = name.substr(0, name.find('/'));
            if (tops.empty() || tops.back() != top) tops.push_back(top);
        }
        EXPECT_EQ(tops.size(), 2u);
    }
    EXPECT_TRUE(differs);
}

TEST_F(SelectionTest, ShardsKeepFoldersWholeAndCoverEverythingOnce) {
    std::vector<uint32_t> together;
    for (int index = 0; index < 3; ++index) {
        std::vector<uint32_t> part = {0, 1, 2, 3, 4, 5};
        kiv::shard_cases(suite_.context(), index, 3, &part);
        EXPECT_FALSE(part.empty());
        together.insert(together.end(), part.begin(), part.end());
        if (std::find(part.begin(), part.end(), 0u) != part.end()) {
            EXPECT_THAT(suite_.names(part), ElementsAre("acl/create", "acl/delete", "acl/create#2"));
        }
    }
    EXPECT_THAT(together, testing::UnorderedElementsAre(0u, 1u, 2u, 3u, 4u, 5u));
}

TEST(Shards, BiggestFolderGoesFirstToTheLeastLoadedShard) {
    kiv_test::Suite suite;
    std::vector<uint32_t> all;
    for (const auto &[name, cases] : {std::pair("one", 1), std::pair("two", 2), std::pair("five", 5)}) {
        kiv_folder *folder = suite.folder(name);
        for (int i = 0; i < cases; ++i) {
            all.push_back(static_cast<uint32_t>(all.size()));
            suite.test(folder, "case");
        }
    }
    std::vector<uint32_t> first = all, second = all;
    kiv::shard_cases(suite.context(), 0, 2, &first);
    kiv::shard_cases(suite.context(), 1, 2, &second);
    EXPECT_EQ(first.size(), 5u);
    EXPECT_THAT(suite.names(second), ElementsAre("one/case", "two/case", "two/case#2"));
}

TEST_F(SelectionTest, PatternMayMeanAFolderWithoutCases) {
    suite_.folder("empty");
    EXPECT_THAT(select({"emp*"}), IsEmpty());
    EXPECT_EQ(error_, "");
}

TEST_F(SelectionTest, ShardsBeyondTheFoldersAreEmpty) {
    std::vector<uint32_t> part = {0, 1, 5};
    kiv::shard_cases(suite_.context(), 1, 2, &part);
    EXPECT_THAT(part, IsEmpty());
}

TEST_F(SelectionTest, ScheduleCutsRunsOfOneFolder) {
    const kiv::Schedule schedule(suite_.context(), {0, 1, 3, 4, 5}, 2, false, 0);
    EXPECT_EQ(schedule.size(), 10u);
    EXPECT_EQ(schedule.group_at(0).count, 2u);
    EXPECT_EQ(schedule.group_at(1).count, 1u);
    EXPECT_EQ(schedule.group_at(2).folder->path, "span/port");
    EXPECT_EQ(schedule.group_at(4).count,
              1u);  // the next pass is not of this run, though its folder is the same
    EXPECT_EQ(schedule.group_at(5).pass, 1);
    EXPECT_EQ(schedule.case_at(9).selector(), "acl/create#2");
}

TEST_F(SelectionTest, ShuffledPassesDiffer) {
    std::vector<uint32_t> all = {0, 1, 2, 3, 4, 5};
    const kiv::Schedule schedule(suite_.context(), all, 20, true, 3);
    std::vector<std::vector<uint32_t>> passes(20);
    for (uint64_t at = 0; at < schedule.size(); ++at) passes[at / 6].push_back(schedule.case_index(at));
    std::sort(passes.begin(), passes.end());
    EXPECT_GT(std::unique(passes.begin(), passes.end()) - passes.begin(), 3);
}

TEST(RegistryTest, SecondOfANameGetsANumberThatNoOtherHas) {
    kiv_test::Suite suite;
    kiv_folder *folder = suite.folder("f");
    for (const char *name : {"a", "a#2", "a", "b", "a"}) suite.test(folder, name);
    suite.context();
    EXPECT_THAT(suite.names({0, 1, 2, 3, 4}), ElementsAre("f/a", "f/a#2", "f/a#3", "f/b", "f/a#4"));
}

TEST(RegistryTest, FolderOfATakenNameGetsANumber) {
    kiv_test::Suite suite;
    suite.folder("f");
    EXPECT_EQ(suite.folder("f")->path, "f#2");
    EXPECT_EQ(suite.folder("f", suite.folder("g"))->path, "g/f");
}

TEST(RegistryTest, TextsAreCopied) {
    kiv_test::Suite suite;
    kiv_folder *folder = suite.folder("f");
    char name[] = "short-lived", description[] = "trailing blank ";
    kiv_context &context = suite.context();
    context.add_case(folder, name, description, kiv_test::does_nothing, 4);
    name[0] = description[0] = 'X';
    EXPECT_EQ(context.cases[0].name(), "short-lived");
    EXPECT_STREQ(context.cases[0].description(), "trailing blank ");
}

TEST(RegistryTest, TextsOfAnyLengthHaveRoom) {
    kiv_test::Suite suite;
    kiv_folder *folder = suite.folder("f");
    const std::string text(200'000, 'x');
    for (int i = 0; i < 3; ++i)
        kiv_create_test_case(folder->context, folder, "name", text.c_str(), kiv_test::does_nothing, 1);
    for (int i = 0; i < 10'000; ++i) suite.test(folder, ("short" + std::to_string(i)).c_str());
    const kiv_context &context = suite.context();
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(context.cases[i].description(), text);
    for (int i = 0; i < 10'000; ++i)
        ASSERT_EQ(context.cases[static_cast<size_t>(3 + i)].name(), "short" + std::to_string(i));
}

TEST(RegistryTest, FoldersHaveTitlesAndPlaces) {
    kiv_test::Suite suite;
    kiv_folder *outer = suite.folder("outer");
    kiv_folder *inner = kiv_create_test_folder(outer->context, outer, "inner", "A title");
    kiv_folder *bare = kiv_create_test_folder(outer->context, nullptr, nullptr, nullptr);
    EXPECT_EQ(inner->title, "A title");
    EXPECT_EQ(bare->title, "");
    EXPECT_EQ(bare->path, "unnamed");
    EXPECT_TRUE(inner->is_below(outer));
    EXPECT_TRUE(outer->is_below(outer));
    EXPECT_FALSE(outer->is_below(inner));
    EXPECT_FALSE(bare->is_below(outer));
}

TEST(RegistryTest, MissingTextsAndFoldersAreTolerated) {
    kiv_test::Suite suite;
    kiv_context &context = suite.context();
    context.add_case(nullptr, nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(context.cases[0].selector(), "cases/unnamed");
}

TEST(ShardTest, MorePartsThanFoldersCostNothing) {
    kiv_test::Suite suite;
    for (const char *name : {"a", "b", "c"}) suite.test(suite.folder(name), "case");
    const auto part = [&](int index) {
        std::vector<uint32_t> cases = {0, 1, 2};
        kiv::shard_cases(suite.context(), index, 2'000'000'000, &cases);
        return suite.names(cases);
    };
    EXPECT_THAT(part(0), ElementsAre("a/case"));
    EXPECT_THAT(part(2), ElementsAre("c/case"));
    EXPECT_THAT(part(3), ElementsAre());
    EXPECT_THAT(part(1'999'999'999), ElementsAre());
}

TEST(SelectedName, ThatLooksLikeAPatternIsTakenAsItStands) {
    kiv_test::Suite suite;
    kiv_folder *folder = suite.folder("f");
    for (const char *name : {"array[x]", "arrayx", "a*", "ab"}) suite.test(folder, name);
    const auto selected_by = [&](const char *text) {
        kiv::SelectionRequest request;
        request.selectors = {kiv::make_selector(text)};
        std::vector<uint32_t> selected;
        std::string error;
        EXPECT_TRUE(kiv::select_cases(suite.context(), request, &selected, &error)) << error;
        return suite.names(selected);
    };
    EXPECT_THAT(selected_by("f/array[x]"), ElementsAre("f/array[x]"));
    EXPECT_THAT(selected_by("f/array[xy]"), ElementsAre("f/arrayx"));
    EXPECT_THAT(selected_by("f/a*"), ElementsAre("f/a*"));
    EXPECT_THAT(selected_by("f/a?"), ElementsAre("f/a*", "f/ab"));
}

// Time of this process: a busy machine takes none of it.
TEST(RegistryTest, HundredThousandFoldersAreNoMatterOfMinutes) {
    const clock_t begin = clock();
    kiv_test::Suite suite;
    for (int i = 0; i < 100'000; ++i) {
        kiv_folder *folder = suite.folder(i % 2 == 0 ? "same" : std::to_string(i).c_str());
        suite.test(folder, "case");
    }
    kiv_context &context = suite.context();
    EXPECT_EQ(context.folders.back().path, "99999");
    EXPECT_EQ(context.folders[99'998].path, "same#50000");
    EXPECT_EQ(context.find_folder("same#50000"), &context.folders[99'998]);
    EXPECT_EQ(context.find_folder("same#50001"), nullptr);
    std::vector<uint32_t> all(context.cases.size());
    for (uint32_t i = 0; i < all.size(); ++i) all[i] = i;
    EXPECT_GT(kiv::list_cases(context, all, kiv::ListKind::folders).size(), 500'000u);
    EXPECT_LT((clock() - begin) / CLOCKS_PER_SEC, 10);
}

}  // namespace
