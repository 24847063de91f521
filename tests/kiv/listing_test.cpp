// What --list prints: a plan, JSON, folders.
#include "kiv/listing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "kiv/select/plan.h"
#include "kiv/select/selection.h"
#include "tests/kiv/suite.h"
#include "tests/kiv/temporary.h"

namespace {

using kiv::ListKind;

class ListingTest : public testing::Test {
  protected:
    std::string list(ListKind kind) {
        kiv_context &context = suite_.context();
        std::vector<uint32_t> all(context.cases.size());
        for (uint32_t i = 0; i < all.size(); ++i) all[i] = i;
        return kiv::list_cases(context, all, kind);
    }
    void add(kiv_folder *folder, const char *name, const char *description, int mode = KIV_MODE_AUTOMATIC) {
        kiv_create_test_case(folder->context, folder, name, description, kiv_test::does_nothing, mode);
    }
    kiv_test::Suite suite_;
    kiv_test::TemporaryDirectory directory_;
};

TEST_F(ListingTest, DescriptionsStandInAColumnAndNeverTouchTheName) {
    kiv_folder *folder = suite_.folder("f");
    for (const size_t width : {1, 40, 41, 42, 60}) add(folder, std::string(width, 'x').c_str(), "What");
    std::string expected;
    for (const size_t width : {1, 40, 41, 42, 60})
        expected +=
            "f/" + std::string(width, 'x') + std::string(width < 42 ? 42 - width : 1, ' ') + "# What\n";
    EXPECT_EQ(list(ListKind::plain), expected);
}

TEST_F(ListingTest, JsonEscapesWhatItMust) {
    add(suite_.folder("f"), "a\"b", "back\\slash, tab\t, blank and \x1f", KIV_MODE_MANUAL);
    const nlohmann::json listed = nlohmann::json::parse(list(ListKind::json));
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]["folder"], "f");
    EXPECT_EQ(listed[0]["name"], "a\"b");
    EXPECT_EQ(listed[0]["selector"], "f/a\"b");
    EXPECT_EQ(listed[0]["description"], "back\\slash, tab\t, blank and \x1f");
    EXPECT_EQ(listed[0]["mode"], 4);
    EXPECT_EQ(listed[0]["manual"], true);
}

TEST_F(ListingTest, EmptyJsonIsAList) {
    EXPECT_EQ(list(ListKind::json), "[\n]\n");
}

TEST_F(ListingTest, EachFolderIsListedOnceInTheOrderOfItsFirstCase) {
    kiv_folder *one = suite_.folder("one"), *two = suite_.folder("two");
    add(two, "a", "");
    add(one, "a", "");
    add(two, "b", "");
    EXPECT_EQ(list(ListKind::folders), "two\none\n");
}

TEST_F(ListingTest, JsonIsTextWhateverBytesTheNamesHold) {
    add(suite_.folder("f"), "a\"b\\c\n\x01\xFF", "");
    EXPECT_EQ(
        list(ListKind::json),
        "[\n{\"folder\":\"f\",\"name\":\"a\\\"b\\\\c\\n\\u0001\xEF\xBF\xBD\",\"nameBase64\":\"YSJiXGMKAf8=\","
        "\"selector\":\"f/a\\\"b\\\\c\\n\\u0001\xEF\xBF\xBD\",\"selectorBase64\":\"Zi9hImJcYwoB/w==\","
        "\"description\":\"\",\"mode\":1,\"manual\":false}\n]\n");
}

// What a plan cannot hold is listed as a pattern that selects it.
TEST_F(ListingTest, EveryLineIsASelectorOfItsCase) {
    for (const char *name :
         {"plain", "two words", "line\nbreak", "-dash", "#hash", "array[x]", "a*b", "tab\t[1]"})
        add(suite_.folder(name), name, "says\nmuch");
    std::vector<uint32_t> all(suite_.context().cases.size());
    for (uint32_t i = 0; i < all.size(); ++i) all[i] = i;
    const std::string plan =
        directory_.write("plan", kiv::list_cases(suite_.context(), all, ListKind::plain));
    kiv::SelectionRequest request;
    std::string error;
    ASSERT_TRUE(kiv::read_plan(plan, &request.selectors, &error)) << error;
    std::vector<uint32_t> selected;
    ASSERT_TRUE(kiv::select_cases(suite_.context(), request, &selected, &error)) << error;
    EXPECT_EQ(selected, all);
    const std::string folders =
        directory_.write("folders", kiv::list_cases(suite_.context(), all, ListKind::folders));
    request.selectors.clear();
    ASSERT_TRUE(kiv::read_plan(folders, &request.selectors, &error)) << error;
    ASSERT_TRUE(kiv::select_cases(suite_.context(), request, &selected, &error)) << error;
    EXPECT_EQ(selected, all);
}

}  // namespace
