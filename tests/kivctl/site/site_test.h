// A fresh site with example values for each test, and what a check says of it.
#ifndef TESTS_KIVCTL_SITE_SITE_TEST_H
#define TESTS_KIVCTL_SITE_SITE_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kivctl/site/check.h"
#include "kivctl/site/new.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {

class SiteTest : public testing::Test {
  protected:
    void SetUp() override {
        std::vector<std::string> written;
        std::string error;
        ASSERT_TRUE(new_site(path(), &written, &error)) << error;
    }

    std::string path(const std::string &name = "") const { return directory_.path("site/" + name); }
    void put(const std::string &name, const std::string &text) { directory_.write("site/" + name, text); }
    void remove(const std::string &name) { std::filesystem::remove_all(path(name)); }

    SiteCheck check() {
        SiteCheck check;
        std::string error;
        EXPECT_TRUE(check_site(directory_.path("site"), &check, &error)) << error;
        return check;
    }
    std::vector<std::string> problems() {
        std::vector<std::string> messages;
        for (const Problem &problem : check().problems) messages.push_back(problem.message());
        return messages;
    }

    TemporaryDirectory directory_;
};

}  // namespace kivctl::test

#endif
