// Every text that the suite prints, and what a line that begins with it tells: suite_texts.golden has them
// all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "kiv/supervise/outcome.h"

namespace {

using kiv::Outcome;

std::string read_text(const std::filesystem::path &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

// The string literals of a source as they stand there, adjacent ones joined.
class Literals {
  public:
    explicit Literals(const std::string &source) : text_(source) {
        while (at_ < text_.size()) step();
        end_literal();
    }
    const std::vector<std::string> &all() const { return all_; }

  private:
    void step() {
        const char c = text_[at_];
        if (text_.compare(at_, 2, "//") == 0) {
            at_ = std::min(text_.find('\n', at_), text_.size());
        } else if (text_.compare(at_, 8, "#include") == 0) {
            end_literal();
            at_ = std::min(text_.find('\n', at_), text_.size());
        } else if (c == '"' || c == '\'') {
            const size_t begin = at_ + 1;
            skip_quoted(c);
            if (c == '"') {
                literal_ += text_.substr(begin, at_ - begin - 1);
                open_ = true;
            } else {
                end_literal();
            }
        } else {
            if (!isspace(static_cast<unsigned char>(c)) && c != '\\') end_literal();
            ++at_;
        }
    }
    void skip_quoted(char quote) {
        for (++at_; text_[at_] != quote; ++at_)
            if (text_[at_] == '\\') ++at_;
        ++at_;
    }
    void end_literal() {
        if (open_) all_.push_back(literal_);
        literal_.clear();
        open_ = false;
    }

    const std::string &text_;
    size_t at_ = 0;
    bool open_ = false;
    std::string literal_;
    std::vector<std::string> all_;
};

// Paths and single words are no lines; the registration's names and titles are not printed by cases.
std::set<std::string> texts_of_the_suite() {
    std::set<std::string> texts;
    for (const char *folder : {"src", "include"}) {
        for (const auto &entry : std::filesystem::directory_iterator(std::string(SUITE) + "/" + folder)) {
            const std::string name = entry.path().filename().string();
            if (!name.starts_with("prm_kiv_") || name.find("registry") != name.npos) continue;
            const std::string source = read_text(entry.path());
            const Literals literals(source);
            for (const std::string &text : literals.all())
                if (text.find_first_of(" :") != text.npos || text.find("\\n") != text.npos)
                    texts.insert(text);
        }
    }
    return texts;
}

// The golden list: text by text what it tells, in its own words.
std::map<std::string, std::string> listed() {
    std::map<std::string, std::string> texts;
    std::istringstream lines(read_text(TEXTS));
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        const size_t quote = line.find('"');
        texts[line.substr(quote + 1, line.rfind('"') - quote - 1)] =
            line.substr(0, line.find_last_not_of(' ', quote - 1) + 1);
    }
    return texts;
}

// As it comes out: escapes resolved, a name for every text of its arguments and 1 for every number.
std::string printed(const std::string &text) {
    std::string out;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\\') {
            ++at;
            out += text[at] == 'n' ? '\n' : text[at];
        } else if (text[at] == '%' && text.compare(at, 3, "%\\n") != 0) {
            at = text.find_first_of("sdiuxX", at);
            out += text[at] == 's' ? "kiv_util_name" : "1";
        } else {
            out += text[at];
        }
    }
    return out;
}

std::string told_by(const std::string &text) {
    kiv::OutcomeScanner scanner;
    scanner.print(text);
    scanner.finish();
    if (scanner.failures() > 0) return "failure";
    if (scanner.told_failures() > 0) return "expected failure";
    return scanner.successes() > 0 ? "success" : "none";
}

TEST(SuiteTexts, EveryTextOfTheSourcesIsListed) {
    std::set<std::string> list;
    for (const auto &[text, outcome] : listed()) list.insert(text);
    std::vector<std::string> missing, gone;
    const std::set<std::string> texts = texts_of_the_suite();
    std::set_difference(texts.begin(), texts.end(), list.begin(), list.end(), std::back_inserter(missing));
    std::set_difference(list.begin(), list.end(), texts.begin(), texts.end(), std::back_inserter(gone));
    EXPECT_THAT(missing, testing::IsEmpty()) << "say in the list what they tell";
    EXPECT_THAT(gone, testing::IsEmpty()) << "no source has them any more";
    EXPECT_GT(texts.size(), 400u);
}

TEST(SuiteTexts, EveryTextTellsWhatItIsListedFor) {
    std::map<std::string, int> counts;
    for (const auto &[text, outcome] : listed()) {
        ++counts[outcome];
        if (outcome == "not printed") continue;
        EXPECT_EQ(told_by(printed(text)), outcome) << text;
    }
    EXPECT_THAT(counts, testing::SizeIs(5)) << "an unknown word";
    EXPECT_EQ(counts["expected failure"], 3);
    EXPECT_GT(counts["failure"], 150);
}

// What perror and the framework itself print for a case.
const char *const kFromElsewhere[] = {
    "kiv_input_file: No such file or directory",
    "kiv_tcs_input_file: No such file or directory",
    "kiv_tcs_output_file: Read-only file system",
    "kiv_tcs_cleanup_file: Read-only file system",
    "FAIL: a check failed in a child process: f, c, line 1",
    "ERROR: cannot stage the input files: /disk: No space left on device",
};

TEST(SuiteTexts, WhatCasesLeaveToOthersToPrintIsAFailureToo) {
    for (const char *text : kFromElsewhere) EXPECT_EQ(told_by(text), "failure") << text;
}

// A row that no text fits is an invention. The two that no text of the suite fits are for other suites.
TEST(SuiteTexts, EveryRowOfTheTableIsNeeded) {
    std::set<const kiv::OutcomeText *> needed;
    const auto fit = [&](const std::string &text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            if (const kiv::OutcomeText *const row = kiv::outcome_text_of(line)) needed.insert(row);
    };
    for (const auto &[text, outcome] : listed())
        if (outcome != "not printed") fit(printed(text));
    for (const char *text : kFromElsewhere) fit(text);
    fit("Success in sending what must fail");
    fit("Success while sending what must fail");
    fit("12 checks, 1 failed");
    // Codes of the simulated card: no such entry, in use, any other.
    fit(" kiv_util_tx_adj_del call 1 failed with rc=0x5ca01000");
    for (const char *code : {"0x5ca01000", "0x5ca01200", "0x5ca01400"})
        fit(std::string(" prm_srh_xid_del call 1 failed with rc=") + code);
    for (const kiv::OutcomeText &row : kiv::outcome_texts()) {
        EXPECT_TRUE(needed.contains(&row)) << row.text;
        EXPECT_FALSE(row.why.empty()) << row.text;
    }
}

}  // namespace
