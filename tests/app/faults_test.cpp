// Faults from outside: the examples of docs/faults.md, what a run says of its rules, and rows of the table of
// the sweep.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>

#include "tests/kiv/temporary.h"

namespace {

using kiv_test::read_text;
using kiv_test::TemporaryDirectory;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

struct Ran {
    std::string out;
    int status = -1;
};

// Standard output and standard error of a shell command.
Ran shell(const std::string &command) {
    Ran ran;
    FILE *const pipe = popen(("unset CI; { " + command + "\n} 2>&1 </dev/null").c_str(), "r");
    if (pipe == nullptr) return ran;
    char bytes[4096];
    for (size_t size; (size = fread(bytes, 1, sizeof bytes, pipe)) != 0;) ran.out.append(bytes, size);
    const int status = pclose(pipe);
    ran.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return ran;
}

class FaultsTest : public testing::Test {
  protected:
    Ran run(const std::string &arguments) {
        return shell(PRM_KIV " --site " DEFAULT_SITE " --quiet --color never --out " +
                     directory_.path("out") + " " + arguments);
    }
    TemporaryDirectory directory_;
};

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

TEST_F(FaultsTest, EveryExampleOfTheDocumentationFires) {
    const std::regex example("^prm_kiv (--fault '([^']+)'( --timeout 1)?) ");
    size_t examples = 0;
    for (const std::string &line : lines_of(read_text(DOCUMENTATION))) {
        std::smatch found;
        if (!std::regex_search(line, found, example)) continue;
        ++examples;
        EXPECT_THAT(run(found[1].str() + " --grace 1").out,
                    HasSubstr("fault \"" + found[2].str() + "\" fired "));
    }
    EXPECT_GE(examples, 11u);
}

TEST_F(FaultsTest, AMistakeIsToldAsDocumentedAndNothingRuns) {
    const Ran ran = run("--fault 'prm_srh_bd_add if bd_idd=3: undone'");
    EXPECT_EQ(ran.status, 2);
    const std::string message = lines_of(ran.out).at(0);
    EXPECT_THAT(message, HasSubstr("column 19"));
    EXPECT_THAT(read_text(DOCUMENTATION), HasSubstr(message.substr(message.find("--fault"))));
}

TEST_F(FaultsTest, ARuleThatFiredClearsItselfAlsoWhenItsWorkerDied) {
    const Ran ran = run(
        "prm-kiv-l2-vpls prm-kiv-vxlan --fault 'prm_srh_bd_add@1: die=SEGV' --fault 'prm_srh_bd_add@1000: "
        "hang'");
    EXPECT_THAT(ran.out, HasSubstr("1 crashed"));
    EXPECT_THAT(ran.out, HasSubstr("fault \"prm_srh_bd_add@1: die=SEGV\" fired once, in prm-kiv-l2-vpls/"));
    EXPECT_THAT(ran.out, HasSubstr("fault \"prm_srh_bd_add@1000: hang\" never fired: "));
}

TEST_F(FaultsTest, AHangIsEndedByTheTimeLimit) {
    const Ran ran = run("acl --timeout 0.3 --grace 0.3 --fault 'zor_vop_prm_tcam_vmr_create@1: hang'");
    EXPECT_THAT(ran.out, HasSubstr("1 timed out"));
    EXPECT_THAT(ran.out, HasSubstr("fired once, in acl/"));
}

TEST_F(FaultsTest, FaultsStandInTheEventStream) {
    const std::string stream = directory_.path("run.jsonl");
    run("acl --json " + stream + " --fault 'zor_vop_prm_tcam_vmr_create@1: status=22'");
    EXPECT_THAT(read_text(stream),
                HasSubstr("zor_vop_prm_tcam_vmr_create@1: status=22\\\" fired once, in acl/"));
}

TEST_F(FaultsTest, TheListNamesFaultsOperationsAndFields) {
    const Ran ran = run("--list-faults");
    EXPECT_EQ(ran.status, 0);
    for (const char *const text :
         {"status=CODE", "die[=SIGNAL]", "family:l2", "\n  prm_srh_bd_add:", " bd_id"})
        EXPECT_THAT(ran.out, HasSubstr(text));
    EXPECT_THAT(ran.out, Not(HasSubstr("cerr_strerror")));
}

TEST_F(FaultsTest, TheCallsThatRulesCanChooseAreWritten) {
    const std::string file = directory_.path("calls.jsonl");
    run("acl --fault-calls " + file);
    const auto lines = lines_of(read_text(file));
    EXPECT_THAT(lines,
                Contains(AllOf(HasSubstr("\"Operation\":\"zor_vop_prm_tcam_vmr_create\",\"Call\":1,"),
                               HasSubstr("\"Place\":\"acl/"), HasSubstr("\"StatusName\":\"CERR_SUCCESS\""),
                               HasSubstr("\"Answer\":[\"vmr_id\""))));
    const Ran ran = run("acl --fault-calls " + directory_.path("none/calls"));
    EXPECT_EQ(ran.status, 2);
    EXPECT_THAT(ran.out, HasSubstr("--fault-calls"));
}

Ran sweep(const std::string &arguments) {
    return shell(KIVCTL " sweep --program " PRM_KIV " --site " DEFAULT_SITE " --jobs 2 " + arguments);
}

// The whole plan with each fault, for operations of few calls; rows are compared to the last figure.
TEST(Sweep, RowsOfTheDocumentationAreTrue) {
    std::set<std::string> documented;
    for (const std::string &line : lines_of(read_text(DOCUMENTATION))) documented.insert(line);
    size_t rows = 0;
    for (const char *const operation : {"prm_srh_vxlan_ole_*", "prm_srh_mpls_leaf_buddy_re*"}) {
        const Ran ran = sweep(std::string("--operation '") + operation + "'");
        EXPECT_EQ(ran.status, 0) << ran.out;
        for (const std::string &line : lines_of(ran.out)) {
            if (line.starts_with("| all |")) continue;
            EXPECT_TRUE(documented.contains(line)) << line;
            ++rows;
        }
    }
    EXPECT_GT(rows, 12u);
}

TEST(Sweep, TellsHowAFaultWasNoticed) {
    EXPECT_THAT(
        sweep("acl --operation zor_vop_prm_tcam_vmr_create --fault refused --fault dies --sample 1").out,
        AllOf(HasSubstr("| zor_vop_prm_tcam_vmr_create | refused | 1 | 1 | 0 | 0 | 0 | 0 |"),
              HasSubstr("| zor_vop_prm_tcam_vmr_create | dies | 1 | 0 | 0 | 0 | 1 | 0 |")));
    EXPECT_THAT(sweep("acl --operation zor_vop_prm_tcam_vmr_create --fault delayed --sample 1 --json").out,
                AllOf(HasSubstr("\"Rule\": \"zor_vop_prm_tcam_vmr_create@1: delay=1ms\""),
                      HasSubstr("\"Noticed\": \"nothing\"")));
}

TEST(Sweep, SaysWhatItCannotDo) {
    EXPECT_THAT(sweep("--operation prm_none").out, HasSubstr("no call of the run can have such a fault"));
    EXPECT_EQ(sweep("--operation prm_none").status, 2);
    EXPECT_EQ(sweep("--fault broken").status, 2);
    EXPECT_EQ(sweep("nothing-of-this-name").status, 2);
    EXPECT_THAT(shell(KIVCTL " sweep --program /none").out, HasSubstr("--program /none: No such file"));
}

}  // namespace
