// SPAN sources on sessions that exist, and the cases whose sources must be refused.
#include "tests/suite/span/span_script.h"

namespace {

using standin::run;
using standin::transcript;
using testing::ElementsAreArray;
using testing::HasSubstr;

// --- Folder "port" ---

TEST_F(SpanTest, SourcesGoRoundTheSessionsAndAreRemoved) {
    const std::vector<uint32_t> handles = {0x1A0, 0x1A1, 0x1A2, 0x1A3, 0x1A4};
    run_with_every_call_failing(
        prm_kiv_span_port_add_delete, "5\n1a0\n1a1\n0x1a2\n1a3\n1a4\n", [&handles](Script &script) {
            const char *const name = "prm_kiv_span_port_add_delete";
            expect_count(script, name, 534, 5);
            for (uint32_t k = 0; k < 5; ++k) {
                script.print(formatted("input set %u\n", k));
                script.print(formatted("ifhandle is 0x%x\n", handles[k]));
                script.check(0, name, 540);
            }
            int result = 0;
            for (int direction = 0; direction < 3; ++direction) {
                for (bool add : {true, false}) {
                    const int line = direction == 2 ? (add ? 563 : 567) : (add ? 551 : 556);
                    for (uint32_t k = 0; k < 5; ++k)
                        result = script.check(
                            expect_source(script, handles[k], k % (direction == 2 ? 2 : 4), direction, add),
                            name, line);
                }
            }
            return result;
        });
}

struct Attempt {
    bool add;
    std::vector<int> directions;
    int line;
};

// A case whose every attempt to set a source must be refused.
struct RefusedCase {
    kiv_function_t function;
    const char *name;
    int read_line;  // 0: nothing is read
    bool tells_handle;
    uint32_t session;
    std::vector<Attempt> attempts;
    const char *message;
    const char *status_line;  // null: none
    bool tells_end;
};

class SpanRefusedTest : public SpanTest, public testing::WithParamInterface<RefusedCase> {
  protected:
    // Attempts up to the one that is accepted (counted from 1; 0 for none).
    static void expect(Script &script, int accepted) {
        const RefusedCase &row = GetParam();
        const uint32_t handle = row.read_line != 0 ? 0x1A0 : 0xDEADBEEF;
        if (row.read_line != 0) {
            script.print("ifhandle is 0x1a0\n");
            script.check(0, row.name, row.read_line);
        }
        if (row.tells_handle) script.print(std::string(row.name) + ": ifh is 0x1a0");
        int attempt = 0;
        for (const Attempt &round : row.attempts) {
            for (int direction : round.directions) {
                const uint32_t answer = ++attempt == accepted ? 0 : kBadId;
                const uint32_t rc = expect_source(script, handle, row.session, direction, round.add, answer);
                if (!script.condition(rc != 0, "rc != EOK", row.name, round.line, row.message)) return;
                if (row.status_line != nullptr) script.print(formatted(row.status_line, rc));
            }
        }
        if (row.tells_end) script.print(std::string(row.name) + ":kiv_util_uidb_set_feature called");
    }
};

TEST_P(SpanRefusedTest, GoesThroughWhenEverythingIsRefused) {
    start("1a0\n");
    standin::on("uidb_set_feature").returns(kBadId);
    Script script(kSpanFile);
    expect(script, 0);
    EXPECT_EQ(run(GetParam().function), 1);
    EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_P(SpanRefusedTest, EndsTheProcessAtTheFirstThatIsAccepted) {
    int attempts = 0;
    for (const Attempt &round : GetParam().attempts) attempts += static_cast<int>(round.directions.size());
    for (int accepted = 1; accepted <= attempts; ++accepted) {
        start("1a0\n");
        standin::on("uidb_set_feature").returns(kBadId).returns_on(accepted, 0);
        Script script(kSpanFile);
        expect(script, accepted);
        run(GetParam().function);
        EXPECT_TRUE(standin::aborted());
        EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
    }
}

TEST_P(SpanRefusedTest, MissingMemoryCountsAsARefusal) {
    start("1a0\n");
    standin::on("uidb_set_feature").returns(kBadId);
    standin::fail_allocation(1);
    EXPECT_EQ(run(GetParam().function), 1);
    EXPECT_THAT(standin::printed(), HasSubstr("Malloc Failed for uidb_client_data \n"));
    if (GetParam().status_line != nullptr) {
        EXPECT_THAT(standin::printed(), HasSubstr(formatted(GetParam().status_line, 22)));
    }
}

const std::vector<int> kValid = {0, 1, 2}, kInvalid = {-1, 3};

INSTANTIATE_TEST_SUITE_P(Cases, SpanRefusedTest,
                         testing::Values(RefusedCase{prm_kiv_span_port_add_invalid_session,
                                                     "prm_kiv_span_port_add_invalid_session",
                                                     579,
                                                     true,
                                                     5,
                                                     {{true, kValid, 585}},
                                                     "Expected a failure\n",
                                                     "rx rc is 0x%x\n",
                                                     true},
                                         RefusedCase{prm_kiv_span_port_delete_invalid_session,
                                                     "prm_kiv_span_port_delete_invalid_session",
                                                     600,
                                                     true,
                                                     5,
                                                     {{false, kValid, 606}},
                                                     "Expected a failure\n",
                                                     "rx rc is 0x%x\n",
                                                     true},
                                         RefusedCase{prm_kiv_span_port_add_delete_invalid_ifh,
                                                     "prm_kiv_span_port_add_delete_invalid_ifh",
                                                     0,
                                                     false,
                                                     1,
                                                     {{true, kValid, 666}, {false, kValid, 674}},
                                                     "Expected failure\n",
                                                     "rc is 0x%x\n",
                                                     false},
                                         RefusedCase{prm_kiv_span_port_add_delete_invalid_dir,
                                                     "prm_kiv_span_port_add_delete_invalid_dir",
                                                     688,
                                                     true,
                                                     1,
                                                     {{true, kInvalid, 695}, {false, kInvalid, 703}},
                                                     "Expected failure\n",
                                                     "rc is 0x%x\n",
                                                     false},
                                         RefusedCase{prm_kiv_span_port_add_delete_l3_subintf,
                                                     "prm_kiv_span_port_add_delete_l3_subintf",
                                                     717,
                                                     false,
                                                     1,
                                                     {{true, kValid, 723}, {false, kValid, 730}},
                                                     "Expected failure\n",
                                                     nullptr,
                                                     false},
                                         RefusedCase{prm_kiv_span_port_add_valid_but_nonexistent_session,
                                                     "prm_kiv_span_port_add_valid_but_nonexistent_session",
                                                     621,
                                                     false,
                                                     1,
                                                     {{true, kValid, 627}},
                                                     "Expected a failure\n",
                                                     "rx rc is 0x%x\n",
                                                     true},
                                         RefusedCase{prm_kiv_span_port_delete_valid_but_nonexistent_session,
                                                     "prm_kiv_span_port_delete_valid_but_nonexistent_session",
                                                     642,
                                                     false,
                                                     1,
                                                     {{false, kValid, 648}},
                                                     "Expected a failure\n",
                                                     "rx rc is 0x%x\n",
                                                     true}),
                         [](const auto &param) { return std::string(param.param.name); });

}  // namespace
