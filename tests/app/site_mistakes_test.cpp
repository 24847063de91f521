// Typical mistakes in a site's files: a run names each, and no pipeline takes the run for good.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <functional>

#include "tests/kiv/temporary.h"

namespace {

using kiv_test::read_text;
using kiv_test::TemporaryDirectory;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

using Edit = std::function<std::string(std::string)>;

Edit replace(const std::string &from, const std::string &to) {
    return [=](std::string text) {
        const size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from << " is not there";
        return at == std::string::npos ? text : text.replace(at, from.size(), to);
    };
}

Edit everywhere(const std::string &from, const std::string &to) {
    return [=](std::string text) {
        for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
            text.replace(at, from.size(), to);
        return text;
    };
}

Edit before_all(const std::string &text) {
    return [=](const std::string &rest) { return text + rest; };
}

Edit nothing_left() {
    return [](const std::string &) { return std::string(); };
}

constexpr const char *kMark = "\xEF\xBB\xBF";
constexpr const char *kL2 = "cases/prm-kiv-l2/kiv_tcs_input_file";
constexpr const char *kSubs = "cases/prm-kiv-subif/kiv_tcs_input_file";
constexpr const char *kPorts = "disk0/kiv_input_file";
constexpr const char *kSpan = "cases/span/port/prm_kiv_span_port_add_delete/stdin";

struct Mistake {
    const char *name;
    const char *file;
    Edit edit;            // none: the file is taken away
    const char *warning;  // behind the file's name
    size_t problems;      // that the run counts; 0: nothing can be run
};

const Mistake kMistakes[] = {
    {"an unknown token", kL2, replace("OVLAN", "OVLN"),
     ":1: \"OVLN\": no reader of prm-kiv-l2 knows this name", 3},
    {"a blank", kL2, replace(",OVLAN", ", OVLAN"), ":1: \" OVLAN\": the blank before the name", 3},
    {"a blank before a value", kL2, replace("OVLAN:310", "OVLAN: 310"),
     ":1: OVLAN: \" 310\" has a blank in it", 1},
    {"a tab", kL2, replace(",OVLAN", ",\tOVLAN"), ":1: \"\\x09OVLAN\": a tab makes it another name", 3},
    {"too few fields", kL2, replace(",RIVLAN:1410,ROTPID:88a8", ""),
     ":1: ROTPID: missing: the rewrite reader wants it (6 of 8 fields are there)", 2},
    {"a number out of range", kPorts, replace("NP_PORT:1,", "NP_PORT:300,"),
     ":1: NP_PORT: 300 does not fit 8 bits: it is cut to 44", 2},
    {"0x in a decimal field", kL2, replace("OVLAN:310", "OVLAN:0x310"),
     ":1: OVLAN: 0x310 is hexadecimal where a decimal number belongs", 1},
    {"text where a number belongs", kSubs, replace("OVLAN:120", "OVLAN:ten"),
     ":2: OVLAN: \"ten\" is not a decimal number and is read as 0", 1},
    {"a missing line", kSubs, replace("SUB_IFH:8010140,OVLAN:140,IVLAN:40,OTPID:8100\n", ""),
     ":4: missing: the sub-interface reader reads 4 lines", 1},
    {"a missing file", kSubs, nullptr, ": missing: tc_kiv_create_sub_interfaces and 2 more cases read it", 1},
    {"an empty file", kSubs, nothing_left(), ": the file is empty", 1},
    {"an empty script", kSpan, nothing_left(), ": the file is empty", 1},
    {"CRLF", kSubs, everywhere("\n", "\r\n"), ": CRLF: 4 lines end with a carriage return", 1},
    {"a byte-order mark", kSubs, before_all(kMark), ": a byte-order mark: it becomes part of the first name",
     1},
    {"a comment", kSubs, before_all("# sub-interfaces\n"), ":1: input files have no comments", 2},
    {"a trailing comma", kSubs, replace("OTPID:8100\n", "OTPID:8100,\n"),
     ":1: a comma at the end of the line", 1},
    {"a duplicate handle", kSubs, replace("8010120", "8010110"),
     ":2: SUB_IFH: 0x8010110 stands in line 1 already", 1},
    {"a VLAN out of range", kSubs, replace("OVLAN:110", "OVLAN:4095"),
     ":1: OVLAN: 4095 is no VLAN: 0 (none) to 4094 are", 1},
    {"a uidb of another interface", kL2, replace("UIDB:20", "UIDB:21"),
     ":1: UIDB: 21 does not belong to 0x800f210, whose uidb is 20 in the inventory (card.toml)", 1},
    {"a handle that does not exist", kL2, replace("800f210", "800f21a"),
     ":1: IFH: 0x800f21a is neither in the inventory (card.toml) nor made by a case", 1},
    {"a misspelt case", "cases/prm-kiv-l2/tc_kiv_xconect_add_locsw/kiv_tcs_input_file", before_all("x"),
     "cases/prm-kiv-l2/tc_kiv_xconect_add_locsw: no case of prm-kiv-l2 that reads anything has this name", 1},
    {"a typo in the plan", "plan", replace("prm-lpts", "prm-ltps"),
     ":16: no folder or case is called \"prm-ltps\"; did you mean prm-lpts?", 1},
    {"a byte-order mark in the plan", "plan", before_all(kMark),
     ":1: a byte-order mark: write the file without it", 1},
    {"an unknown key", "card.toml", replace("ports = 64", "prots = 64"), ":19: card.prots: unknown field", 0},
    {"an unknown section", "card.toml", replace("[limits]", "[limit]"), ":24: limit: unknown section", 0},
    {"a duplicate handle in the inventory", "card.toml", replace("handle = 0x80000c8", "handle = 0x8000088"),
     ".handle: 0x8000088 is there twice", 0},
    {"a parent that does not exist", "card.toml", replace("parent = 0x8000088", "parent = 0x8000089"),
     ".parent: 0x8000089 is no main or bundle interface above it", 0},
    {"a missing inventory", "card.toml", nullptr,
     ": missing: without it the simulated card has no interfaces", 0},
};

class SiteMistakesTest : public testing::TestWithParam<Mistake> {
  protected:
    void SetUp() override {
        fs::copy(DEFAULT_SITE, site(), fs::copy_options::recursive);
        const Mistake &mistake = GetParam();
        const std::string path = site(mistake.file);
        if (!mistake.edit) {
            fs::remove(path);
            return;
        }
        const std::string text = fs::exists(path) ? read_text(path) : "";
        directory_.write("site/" + std::string(mistake.file), mistake.edit(text));
    }

    std::string site(const std::string &name = "") const {
        return directory_.path() + "/site" + (name.empty() ? "" : "/" + name);
    }

    // A shell command: its output, and its exit status.
    std::string shell(const std::string &command, int *status) {
        const std::string out = directory_.path() + "/out";
        const int ended = std::system(("cd " + directory_.path() +
                                       " && unset CI KIV_EXIT_STATUS "
                                       "CTEST_INTERACTIVE_DEBUG_MODE DASHBOARD_TEST_FROM_CTEST; " +
                                       command + " >" + out + " 2>&1 </dev/null")
                                          .c_str());
        *status = WIFEXITED(ended) ? WEXITSTATUS(ended) : -1;
        return read_text(out);
    }

    TemporaryDirectory directory_;
};

// Counts how often `what` stands in `text`.
size_t count(const std::string &text, const std::string &what) {
    size_t found = 0;
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += what.size()) ++found;
    return found;
}

TEST_P(SiteMistakesTest, IsNamedCountedAndNoPass) {
    const Mistake &mistake = GetParam();
    const std::string warning = std::string(mistake.warning).starts_with("cases/")
                                    ? site(mistake.warning)
                                    : std::string(mistake.warning);
    // The case has nothing to do with any of it.
    const std::string run = PRM_KIV " --site " + site() +
                            " --json run.json --junit run.xml --tap run.tap --html "
                            "run.html prm-lpts";
    int status;
    const std::string out = shell(run, &status);
    EXPECT_THAT(out, HasSubstr(warning));
    EXPECT_EQ(count(out, warning), 1u) << out;
    int gated;
    shell(KIVCTL " gate run.json", &gated);
    if (mistake.problems == 0) {
        EXPECT_EQ(status, 2);
        EXPECT_EQ(gated, 2);
        return;
    }
    EXPECT_EQ(status, 0);
    EXPECT_EQ(gated, 1);
    const std::string counted = std::to_string(mistake.problems) +
                                (mistake.problems == 1 ? " problem" : " problems") + " in the site's files";
    EXPECT_THAT(out, HasSubstr("        " + counted + "\n")) << out;
    EXPECT_EQ(count(out, "warning: "), mistake.problems);
    EXPECT_THAT(read_text(directory_.path() + "/run.xml"),
                HasSubstr("name=\"site-problems\" value=\"" + std::to_string(mistake.problems)));
    EXPECT_THAT(read_text(directory_.path() + "/run.tap"), HasSubstr("# " + counted + "\n"));
    for (const char *const report : {"/run.json", "/run.html"})
        EXPECT_THAT(read_text(directory_.path() + report), HasSubstr("\"SiteProblems\":["));
    shell(KIVCTL " gate --allow-site-problems run.json", &gated);
    EXPECT_EQ(gated, 0);

    // Where nobody looks at warnings nothing is run.
    for (const char *const strict : {"--strict-site", "--quiet"}) {
        const std::string refused = shell("CI=true " + run + " " + strict, &status);
        EXPECT_EQ(status, 2);
        EXPECT_THAT(refused, HasSubstr("prm_kiv: " + counted));
        EXPECT_THAT(refused, Not(HasSubstr("PASSED")));
        shell(KIVCTL " gate run.json", &gated);
        EXPECT_EQ(gated, 2);
    }
}

INSTANTIATE_TEST_SUITE_P(Typical, SiteMistakesTest, testing::ValuesIn(kMistakes),
                         [](const testing::TestParamInfo<Mistake> &mistake) {
                             std::string name = mistake.param.name;
                             for (char &c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

}  // namespace
