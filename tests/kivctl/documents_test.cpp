// Man pages and shell completion: the pages render without a warning and name what the programs take; the
// completions answer what bash would offer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>

#include "kiv/reports/report_list.h"
#include "tests/kivctl/run.h"

namespace kivctl::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

std::string page(const std::string &name) {
    return SOURCES "/docs/man/" + name;
}

std::set<std::string> options_in(const std::string &text) {
    std::set<std::string> found;
    const std::regex option("--[a-z0-9][a-z0-9-]*");
    for (std::sregex_iterator it(text.begin(), text.end(), option), end; it != end; ++it)
        found.insert(it->str());
    return found;
}

std::string rendered(const std::string &name) {
    const Ran ran = shell("MANWIDTH=100 MANROFFOPT=-c LC_ALL=C.UTF-8 man --warnings=w -E UTF-8 -l " +
                          page(name) + " | col -bx");
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.err, IsEmpty()) << "a warning";
    return std::regex_replace(ran.out, std::regex("\u2010|\u2212"), "-");
}

TEST(ManPages, RenderWithoutWarnings) {
    EXPECT_THAT(rendered("kivctl.1"), HasSubstr("EXIT STATUS"));
    EXPECT_THAT(rendered("prm_kiv.1"), HasSubstr("EXIT STATUS"));
}

TEST(ManPages, NameEveryOptionOfKivctl) {
    const std::set<std::string> described = options_in(rendered("kivctl.1"));
    for (const char *const command :
         {"gate", "rerun", "merge", "compare", "report", "site check", "site new", "sweep", "store",
          "history", "history flaky", "history slower", "history new", "history compare", "history runs"})
        for (const std::string &option : options_in(kivctl(std::string(command) + " --help").out))
            EXPECT_TRUE(described.contains(option) || option == "--help") << command << " " << option;
}

TEST(ManPages, NameEveryOptionThatTheFrameworkDeclares) {
    const std::set<std::string> described = options_in(rendered("prm_kiv.1"));
    const std::string source = kiv_test::read_text(SOURCES "/kiv/options.cpp");
    const std::regex declared("add_(?:option|flag)\\(\\s*\"([^\"]*--[a-z0-9-]+)\"");
    size_t count = 0;
    for (std::sregex_iterator it(source.begin(), source.end(), declared), end; it != end; ++it, ++count)
        for (const std::string &option : options_in((*it)[1])) EXPECT_THAT(described, Contains(option));
    EXPECT_GT(count, 20u);
}

TEST(ManPages, NameEveryReportFormat) {
    const std::set<std::string> runner = options_in(rendered("prm_kiv.1")),
                                companion = options_in(rendered("kivctl.1"));
    const std::string reference = kiv_test::read_text(SOURCES "/docs/results.md");
    for (const kiv::ReportFormat &format : kiv::report_formats()) {
        const std::string option = std::string("--") + format.name;
        EXPECT_THAT(runner, Contains(option));
        EXPECT_THAT(companion, Contains(option));
        EXPECT_THAT(reference, HasSubstr("| `" + option + " FILE` |"));
    }
}

// What bash offers for the last of `words`; the others stand before it.
std::vector<std::string> complete(const std::string &script, const std::string &function,
                                  const std::string &program, const std::vector<std::string> &words,
                                  const std::string &directory = "/") {
    std::string line;
    for (const std::string &word : words) line += " '" + word + "'";
    const Ran ran = shell("cd " + directory + " && bash -c 'source " SOURCES "/completion/" + script +
                          "; COMP_WORDS=(\"$0\" \"$@\"); COMP_CWORD=$#; " + function +
                          " \"$0\"; printf \"%s\\n\" \"${COMPREPLY[@]}\"' " + program + line);
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_THAT(ran.err, IsEmpty());
    std::vector<std::string> offered;
    std::istringstream lines(ran.out);
    for (std::string one; std::getline(lines, one);)
        if (!one.empty()) offered.push_back(one);
    return offered;
}

std::vector<std::string> complete_kivctl(const std::vector<std::string> &words,
                                         const std::string &directory = "/") {
    return complete("kivctl.bash", "_kivctl", KIVCTL, words, directory);
}

TEST(Completion, KivctlOffersItsCommands) {
    EXPECT_THAT(complete_kivctl({""}), IsSupersetOf({"gate", "rerun", "merge", "compare", "report", "site"}));
    EXPECT_THAT(complete_kivctl({"re"}), ElementsAre("rerun", "report"));
    EXPECT_THAT(complete_kivctl({"site", ""}), ElementsAre("check", "new"));
    EXPECT_THAT(complete_kivctl({"history", ""}), ElementsAre("flaky", "slower", "new", "compare", "runs"));
    EXPECT_THAT(complete_kivctl({"history", "flaky", "--c"}), ElementsAre("--changes"));
}

TEST(Completion, KivctlOffersOptionsAndTheirWords) {
    EXPECT_THAT(complete_kivctl({"gate", "--un"}), ElementsAre("--unchecked"));
    EXPECT_THAT(complete_kivctl({"gate", "--unchecked", ""}), ElementsAre("fail", "ignore"));
    EXPECT_THAT(complete_kivctl({"gate", "--failed-calls", ""}), ElementsAre("fail", "ignore"));
    EXPECT_THAT(complete_kivctl({"report", "--"}), IsSupersetOf({"--junit", "--tap", "--html", "--json"}));
    EXPECT_THAT(complete_kivctl({"sweep", "--fault", "d"}), ElementsAre("dies", "delayed"));
    EXPECT_THAT(complete_kivctl({"compare", "--f"}), ElementsAre("--factor", "--fail-on-slower"));
}

TEST(Completion, KivctlOffersFilesAndDirectories) {
    const TemporaryDirectory directory;
    directory.write("run.jsonl", "");
    directory.write("site/plan", "");
    EXPECT_THAT(complete_kivctl({"gate", "ru"}, directory.path()), ElementsAre("run.jsonl"));
    EXPECT_THAT(complete_kivctl({"history", "--db", "ru"}, directory.path()), ElementsAre("run.jsonl"));
    EXPECT_THAT(complete_kivctl({"site", "check", ""}, directory.path()), ElementsAre("site"));
}

class PrmKivCompletion : public testing::Test {
  protected:
    void SetUp() override {
        // Lists as prm_kiv does.
        program_ = directory_.write(
            "prm_kiv",
            "#!/bin/sh\n"
            "case \"$*\" in\n"
            "  --list-folders) printf 'acl\\nspan/manual\\nspan/session\\n' ;;\n"
            "  '--all --list') printf 'acl/create\\nacl/modify\\nspan/session/a\\n"
            "span/session/b#2\\n' ;;\n"
            "  --list-faults) printf 'How\\nfamily:l2\\n  prm_srh_bd_add: bd_id\\n' ;;\n"
            "  --help) printf '  -l,--list   List\\n  --list-json  The same\\n  --plan FILE  A plan\\n"
            "  --site DIR   A site\\n  --timeout SECONDS\\n' ;;\n"
            "esac\n");
        std::filesystem::permissions(program_, std::filesystem::perms::owner_all);
    }
    std::vector<std::string> offered(const std::vector<std::string> &words) {
        return complete("prm_kiv.bash", "_prm_kiv", program_, words, directory_.path());
    }
    TemporaryDirectory directory_;
    std::string program_;
};

TEST_F(PrmKivCompletion, OffersFoldersThenCases) {
    EXPECT_THAT(offered({""}), ElementsAre("acl", "span/manual", "span/session"));
    EXPECT_THAT(offered({"ac"}), ElementsAre("acl", "acl/"));
    EXPECT_THAT(offered({"acl/"}), ElementsAre("acl/create", "acl/modify"));
    EXPECT_THAT(offered({"span/s"}), ElementsAre("span/session", "span/session/a", "span/session/b#2"));
    EXPECT_THAT(offered({"-acl/c"}), ElementsAre("-acl/create"));
    EXPECT_THAT(offered({"--exclude", "acl/m"}), ElementsAre("acl/modify"));
}

TEST_F(PrmKivCompletion, OffersOptionsAndTheirWords) {
    EXPECT_THAT(offered({"--l"}), ElementsAre("--list", "--list-json"));
    EXPECT_THAT(offered({"--on-crash", "next"}), ElementsAre("next-folder", "next-case"));
    EXPECT_THAT(offered({"--color", "a"}), ElementsAre("auto", "always"));
    EXPECT_THAT(offered({"--failed-calls", ""}), ElementsAre("fail", "ignore"));
    EXPECT_THAT(offered({"--fault", ""}), ElementsAre("family:l2", "prm_srh_bd_add"));
    EXPECT_THAT(offered({"--plan", "prm"}), ElementsAre("prm_kiv"));
    EXPECT_THAT(offered({"--plan", "none"}), IsEmpty());
    directory_.write("site/plan", "");
    EXPECT_THAT(offered({"--site", ""}), ElementsAre("site"));
    EXPECT_THAT(offered({"--list-json", "ac"}), ElementsAre("acl", "acl/")) << "a flag";
    EXPECT_THAT(offered({"--timeout", ""}), IsEmpty());
}

}  // namespace
}  // namespace kivctl::test
