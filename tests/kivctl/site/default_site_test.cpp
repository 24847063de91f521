// The check as a runner links it, without the command: of the default site it has nothing to say.
#include <gtest/gtest.h>

#include "kivctl/site/check.h"

namespace kivctl::test {
namespace {

TEST(DefaultSiteTest, HasNoProblems) {
    SiteCheck check;
    std::string error;
    ASSERT_TRUE(check_site(SOURCES "/site/sim", &check, &error)) << error;
    for (const Problem &problem : check.problems) ADD_FAILURE() << problem.message();
}

}  // namespace
}  // namespace kivctl::test
