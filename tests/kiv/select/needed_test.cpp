// What a selected case builds on, by the order of a plan.
#include "kiv/select/needed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kiv/registry.h"

namespace {

using testing::ElementsAre;

int nothing() {
    return 0;
}

class NeededTest : public testing::Test {
  protected:
    // 0 a/delete, 1 a/add, 2 a/modify, 3 b/x, 4 b/y, 5 a/spare
    NeededTest() {
        kiv_folder *const a = context_.add_folder(nullptr, "a", ""), *const b = context_.add_folder(nullptr,
                                                                                                    "b", "");
        for (const char *const name : {"delete", "add", "modify"})
            context_.add_case(a, name, "", nothing, KIV_MODE_AUTOMATIC);
        for (const char *const name : {"x", "y"}) context_.add_case(b, name, "", nothing, KIV_MODE_AUTOMATIC);
        context_.add_case(a, "spare", "", nothing, KIV_MODE_AUTOMATIC);
        context_.number_duplicates();
    }

    kiv_context context_;
    const std::vector<uint32_t> plan_ = {1, 3, 2, 4, 0};
};

TEST_F(NeededTest, CasesBeforeItInThePlanAndItsFolderComeAlong) {
    EXPECT_THAT(kiv::with_needed(context_, {2}, plan_), ElementsAre(1, 2));
    EXPECT_THAT(kiv::with_needed(context_, {1}, plan_), ElementsAre(1));
    EXPECT_THAT(kiv::with_needed(context_, {0, 1, 2}, plan_), ElementsAre(1, 2, 0));
}

TEST_F(NeededTest, FoldersKeepTheirOrderAndCasesOfNoPlanComeLast) {
    EXPECT_THAT(kiv::with_needed(context_, {4, 5, 2}, plan_), ElementsAre(3, 4, 1, 2, 5));
    EXPECT_THAT(kiv::with_needed(context_, {5}, plan_), ElementsAre(5));
}

TEST_F(NeededTest, AllCasesTakeTheOrderOfThePlan) {
    EXPECT_THAT(kiv::in_plan_order({0, 1, 2, 3, 4, 5}, plan_), ElementsAre(1, 3, 2, 4, 0, 5));
}

TEST_F(NeededTest, WhatIsMissingBeforeACaseIsTold) {
    EXPECT_EQ(kiv::told_needs(context_, {1, 2, 0}, plan_), "");
    EXPECT_EQ(kiv::told_needs(context_, {2}, plan_), "a/modify builds on a/add");
    EXPECT_EQ(kiv::told_needs(context_, {0}, plan_), "a/delete builds on a/modify and 1 more");
    EXPECT_EQ(kiv::told_needs(context_, {0, 1, 2, 4}, plan_),
              "a/delete builds on a/modify and 1 more, and 1 more case on others");
    EXPECT_EQ(kiv::told_needs(context_, {5}, plan_), "");
}

}  // namespace
