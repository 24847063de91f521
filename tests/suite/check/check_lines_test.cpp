// The suite's checks as its sources spell them: a check with a fixed line is given a number, one of the place
// where it stands is given __LINE__, and none goes past prm_kiv_check.h.
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

namespace {

using Lists = std::vector<std::string>;

std::string text_of(const std::filesystem::path &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The argument lists, as written, of the calls whose name ends so.
Lists arguments_of(const std::string &text, const std::string &name_end) {
    Lists lists;
    const std::string opening = name_end + "(";
    for (size_t at = text.find(opening); at != std::string::npos; at = text.find(opening, at + 1)) {
        const size_t begin = at + opening.size();
        size_t end = begin;
        for (int depth = 1; depth > 0; ++end) depth += text.at(end) == '(' ? 1 : text.at(end) == ')' ? -1 : 0;
        lists.push_back(text.substr(begin, end - begin - 1));
    }
    return lists;
}

class CheckLinesTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const auto &entry : std::filesystem::directory_iterator(SUITE_SOURCES))
            if (entry.path().extension() == ".cpp") sources_.push_back(text_of(entry.path()));
        ASSERT_EQ(sources_.size(), 26u);
    }
    Lists in_all_sources(const std::string &name_end) const {
        Lists all;
        for (const std::string &text : sources_)
            for (const std::string &arguments : arguments_of(text, name_end)) all.push_back(arguments);
        return all;
    }
    Lists sources_;
};

TEST_F(CheckLinesTest, AFixedLineIsNeverThatOfTheSource) {
    for (const char *name_end : {"_fixed", "_FIXED"}) {
        const Lists lists = in_all_sources(name_end);
        EXPECT_THAT(lists, testing::Each(testing::Not(testing::HasSubstr("__LINE__"))));
        EXPECT_THAT(lists, testing::Each(testing::Not(testing::EndsWith(" here"))));
        EXPECT_GT(lists.size(), 15u);
    }
}

TEST_F(CheckLinesTest, ACheckNamedHereIsGivenTheLineOfTheSource) {
    const Lists lists = in_all_sources("_here");
    EXPECT_THAT(lists,
                testing::Each(testing::AnyOf(testing::EndsWith(" __LINE__"), testing::EndsWith(" here"))));
    EXPECT_GT(lists.size(), 50u);
}

TEST_F(CheckLinesTest, EveryCheckSaysWhichKindItsLineIs) {
    EXPECT_THAT(in_all_sources("kiv_jyx_check_cerrno_"), testing::IsEmpty());
    EXPECT_THAT(in_all_sources("kiv_check__"), testing::IsEmpty());
}

}  // namespace
