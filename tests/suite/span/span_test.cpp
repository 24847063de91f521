// SPAN steps, standard input, switching and sessions: every request, print and check, on success, with each
// call failing, without memory and with odd input.
#include <string.h>

#include "tests/suite/span/span_script.h"

namespace {

using standin::run;
using standin::transcript;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

int as_int(prm_status_t rc) {
    return static_cast<int>(rc);
}

// --- Steps ---

TEST_F(SpanTest, OperationsGoToTheirCalls) {
    const std::pair<uint32_t, const char *> rows[] = {
        {0, "fwd_add"}, {1, "fwd_del"}, {12, "enable"}, {13, "disable"}};
    for (const auto &[operation, name] : rows) {
        start("");
        standin::fail_call(1, kScriptFailure);
        EXPECT_EQ(run([op = operation] { return as_int(kiv_span_session_op(0x11223344, 0x55667788, op)); }),
                  0x1234);
        EXPECT_THAT(transcript(), ElementsAre("call " + session_call(name, 0x11223344, 0x55667788)));
    }
}

TEST_F(SpanTest, OtherOperationsAreToldAndAreNoError) {
    for (uint32_t operation : {2u, 11u, 14u, 0xFFFFFFFFu}) {
        start("");
        EXPECT_EQ(run([operation] { return as_int(kiv_span_session_op(0, 0, operation)); }), 0);
        EXPECT_THAT(transcript(), ElementsAre("print \"Invalid Event\""));
    }
}

TEST_F(SpanTest, OperationSendsTheRecordAsItIs) {
    prm_span_request request;
    memset(&request, 0x5A, sizeof request);
    run([&] { return as_int(kiv_span_op(&request, 12)); });
    EXPECT_EQ(standin::calls().at(0).record(), standin::Bytes(2116, 0x5A));
}

TEST_F(SpanTest, SourceRemovalSetsTheTopBitAndDirectionsAreSixteenBits) {
    for (int direction : {-1, 0, 2, 3, 0x12345}) {
        for (bool add : {true, false}) {
            start("");
            Script script(kSpanFile);
            expect_source(script, 0xDEADBEEF, 3, direction, add);
            EXPECT_EQ(run([&] { return as_int(kiv_span_src_set(0xDEADBEEF, 3, direction, add ? 7 : 0)); }),
                      0);
            EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
            EXPECT_EQ(standin::live_blocks(), 0u);
        }
    }
}

TEST_F(SpanTest, SourceStepReturnsTheStatusOr22WithoutMemory) {
    standin::fail_call(1, kScriptFailure);
    EXPECT_EQ(run([] { return as_int(kiv_span_src_set(1, 2, 0, 1)); }), 0x1234);
    start("");
    standin::fail_allocation(1);
    EXPECT_EQ(run([] { return as_int(kiv_span_src_set(1, 2, 0, 1)); }), 22);
    EXPECT_THAT(transcript(), ElementsAre("print \"Malloc Failed for uidb_client_data \\n\""));
}

// --- Standard input ---

struct Input {
    u32 handle = 0x77, session = 0x99;
    int direction = 0x88;

    void read() {
        run([this] { return kiv_span_read_input(&handle, &direction, &session); });
    }
};

TEST_F(SpanTest, InputIsHandleThenDirectionThenSession) {
    start("0x1a0\n-1\n12\n");
    Input input;
    input.read();
    EXPECT_EQ(input.handle, 0x1A0u);
    EXPECT_EQ(input.direction, -1);
    EXPECT_EQ(input.session, 12u);
    EXPECT_THAT(transcript(), ElementsAre("print \"ifhandle is 0x1a0\\n\"", "print \"direction is -1\\n\"",
                                          "print \"session id is 0xc\\n\""));
}

TEST_F(SpanTest, InputReadsALineOnlyForAPointerGiven) {
    start("5\n6\n");
    Input input;
    EXPECT_EQ(run([&] { return kiv_span_read_input(nullptr, &input.direction, nullptr); }), 0);
    EXPECT_EQ(input.direction, 5);
    start("5\n6\n");
    EXPECT_EQ(run([&] { return kiv_span_read_input(&input.handle, nullptr, &input.session); }), 0);
    EXPECT_EQ(input.handle, 5u);
    EXPECT_EQ(input.session, 6u);
    start("5\n");
    EXPECT_EQ(run([] { return kiv_span_read_input(nullptr, nullptr, nullptr); }), 0);
    EXPECT_THAT(transcript(), IsEmpty());
}

TEST_F(SpanTest, InputThatIsNoNumberIsZero) {
    start("ghost\n\n \n");
    Input input;
    input.read();
    EXPECT_EQ(input.handle, 0u);
    EXPECT_EQ(input.direction, 0);
    EXPECT_EQ(input.session, 0u);
}

TEST_F(SpanTest, InputIgnoresWhatFollowsTheDigits) {
    start(" 8000088 # first\n2,3\n3x\n");
    Input input;
    input.read();
    EXPECT_EQ(input.handle, 0x8000088u);
    EXPECT_EQ(input.direction, 2);
    EXPECT_EQ(input.session, 3u);
}

TEST_F(SpanTest, InputThatIsMissingLeavesItsTargetAndIsTold) {
    start("1a0\n");
    Input input;
    input.read();
    EXPECT_EQ(input.handle, 0x1A0u);
    EXPECT_EQ(input.direction, 0x88);
    EXPECT_EQ(input.session, 0x99u);
    EXPECT_THAT(transcript(), ElementsAre("print \"ifhandle is 0x1a0\\n\"", "print \"direction is 136\\n\"",
                                          "print \"session id is 0x99\\n\""));
}

TEST_F(SpanTest, InputLineHolds99CharactersAndTheRestIsTheNextLine) {
    start(std::string(98, '0') + "12\n");
    Input input;
    input.read();
    EXPECT_EQ(input.handle, 1u);
    EXPECT_EQ(input.direction, 2);
    EXPECT_EQ(input.session, 0x99u);
}

TEST_F(SpanTest, InputNumbersTooLargeEndAtTheLargest) {
    start("123456789abcdef0123\n4294967296\n4294967297\n");
    Input input;
    input.read();
    EXPECT_EQ(input.handle, 0xFFFFFFFFu);
    EXPECT_EQ(input.direction, 0);
    EXPECT_EQ(input.session, 1u);
}

// --- Folder "manual", and the fixtures ---

struct SwitchCase {
    kiv_function_t function;
    const char *name, *operation;
    int line;
};

TEST_F(SpanTest, SwitchingSendsAnEmptyRecord) {
    const SwitchCase rows[] = {{prm_kiv_span_enable, "prm_kiv_span_enable", "enable", 173},
                               {prm_kiv_span_disable, "prm_kiv_span_disable", "disable", 188}};
    for (const SwitchCase &row : rows) {
        run_with_every_call_failing(row.function, "", [&row](Script &script) {
            script.print(std::string("Entered ") + row.name + "\n");
            return script.check(script.call(session_call(row.operation, 0, 0)), row.name, row.line);
        });
    }
}

TEST_F(SpanTest, PlainSessionIsSessionZeroAtPort3) {
    run_with_every_call_failing(prm_kiv_span_session_create, "", [](Script &script) {
        return script.check(script.call(create_call(0, 3)), "prm_kiv_span_session_create", 211);
    });
    run_with_every_call_failing(prm_kiv_span_session_destroy, "", [](Script &script) {
        return script.check(script.call(destroy_call(0, 0)), "prm_kiv_span_session_destroy", 229);
    });
}

// All four sessions of the fixed table, created or destroyed, in order or in reverse.
int expect_all(Script &script, bool create, bool reverse, const char *name, int line) {
    int result = 0;
    for (uint32_t k = 0; k < 4; ++k) {
        const uint32_t i = reverse ? 3 - k : k;
        result = script.check(script.call(create ? create_call(i, kPorts[i]) : destroy_call(i, kPorts[i])),
                              name, line);
    }
    return result;
}

TEST_F(SpanTest, AllSessionsHaveTheirOwnPortsAtDestroyToo) {
    run_with_every_call_failing(prm_kiv_span_all_sessions_create, "", [](Script &script) {
        return expect_all(script, true, false, "prm_kiv_span_all_sessions_create", 242);
    });
    run_with_every_call_failing(prm_kiv_span_all_sessions_destroy, "", [](Script &script) {
        return expect_all(script, false, false, "prm_kiv_span_all_sessions_destroy", 259);
    });
}

struct SourcesCase {
    kiv_function_t function;
    const char *name;
    bool add;
    int count_line, read_line, set_line;
};
const SourcesCase kSourcesCases[] = {
    {prm_kiv_span_port_add, "prm_kiv_span_port_add", true, 477, 485, 488},
    {prm_kiv_span_port_delete, "prm_kiv_span_port_delete", false, 506, 512, 515}};

int expect_set(Script &script, const SourcesCase &row, uint32_t k, uint32_t handle, int direction,
               uint32_t session) {
    script.print(formatted("input set %u\n", k));
    script.print(formatted("ifhandle is 0x%x\n", handle));
    script.print("direction is " + std::to_string(direction) + "\n");
    script.print(formatted("session id is 0x%x\n", session));
    script.check(0, row.name, row.read_line);
    return script.check(expect_source(script, handle, session, direction, row.add), row.name, row.set_line);
}

TEST_F(SpanTest, SourcesReadAreAddedOrRemoved) {
    for (const SourcesCase &row : kSourcesCases) {
        run_with_every_call_failing(row.function, "2\n1a0\n1\n3\n0x1a1\n-1\n12\n", [&row](Script &script) {
            expect_count(script, row.name, row.count_line, 2);
            expect_set(script, row, 0, 0x1A0, 1, 3);
            return expect_set(script, row, 1, 0x1A1, -1, 12);
        });
    }
}

TEST_F(SpanTest, SetThatIsMissingIsZeros) {
    for (const SourcesCase &row : kSourcesCases) {
        start("2\n1a0\n1\n3\n");
        Script script(kSpanFile);
        expect_count(script, row.name, row.count_line, 2);
        expect_set(script, row, 0, 0x1A0, 1, 3);
        expect_set(script, row, 1, 0, 0, 0);
        run(row.function);
        EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
    }
}

TEST_F(SpanTest, CountOutsideTheLimitsEndsTheProcess) {
    struct {
        kiv_function_t function;
        const char *name;
        int line;
    } const cases[] = {{prm_kiv_span_port_add, "prm_kiv_span_port_add", 477},
                       {prm_kiv_span_port_delete, "prm_kiv_span_port_delete", 506},
                       {prm_kiv_span_port_add_delete, "prm_kiv_span_port_add_delete", 534}};
    for (const auto &row : cases) {
        for (const char *input : {"0\n", "401\n", "-1\n", "junk\n", "\n", "", "4294967297\n",
                                  "99999999999999999999999\n", "-99999999999999999999999\n"}) {
            SCOPED_TRACE(std::string(row.name) + " " + input);
            start(input);
            Script script(kSpanFile);
            script.condition(false, kLimit, row.name, row.line, kLimitMessage);
            run(row.function);
            EXPECT_TRUE(standin::aborted());
            EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
        }
    }
}

TEST_F(SpanTest, CountOf400IsAccepted) {
    std::string input = "400\n";
    for (int k = 0; k < 400; ++k) input += std::to_string(k + 1) + "\n";
    start(input);
    EXPECT_EQ(run(prm_kiv_span_port_add_delete), 1);
    EXPECT_EQ(standin::calls().size(), 400u * 6u);
    EXPECT_EQ(standin::calls().back().field<uint32_t>(0), 0x400u);
    for (const SourcesCase &row : kSourcesCases) {
        start("400\n");
        EXPECT_EQ(run(row.function), 1);
        EXPECT_EQ(standin::calls().size(), 400u);
    }
}

// --- Folder "session" ---

TEST_F(SpanTest, CreateDestroyGoesThroughFourOrders) {
    run_with_every_call_failing(prm_kiv_span_session_create_destroy, "", [](Script &script) {
        const char *const name = "prm_kiv_span_session_create_destroy";
        for (uint32_t i = 0; i < 4; ++i) {
            script.check(script.call(create_call(i, kPorts[i])), name, 280);
            script.check(script.call(destroy_call(i, kPorts[i])), name, 283);
        }
        expect_all(script, true, false, name, 290);
        expect_all(script, false, false, name, 295);
        expect_all(script, true, false, name, 302);
        expect_all(script, false, true, name, 307);
        expect_all(script, true, true, name, 314);
        return expect_all(script, false, false, name, 319);
    });
}

struct RejectionCase {
    kiv_function_t function;
    const char *name;
    uint32_t session, dest_port, code;
    const char *code_name;
    int line;
};

TEST_F(SpanTest, InvalidSessionAndPortAreCheckedAgainstTheirCodes) {
    const RejectionCase rows[] = {
        {prm_kiv_span_invalid_session_valid_dest_port, "prm_kiv_span_invalid_session_valid_dest_port", 4, 1,
         kBadId, "PRM_ERROR_BCM_E_BADID", 331},
        {prm_kiv_span_valid_session_invalid_dest_port, "prm_kiv_span_valid_session_invalid_dest_port", 0, 500,
         kPortError, "PRM_ERROR_BCM_E_PORT", 342}};
    for (const RejectionCase &row : rows) {
        for (uint32_t answer : {row.code, 0u, kScriptFailure}) {
            start("");
            standin::on("prm_srh_span_fwd_add").returns(answer);
            EXPECT_EQ(run(row.function), answer == row.code ? 1 : 0);
            EXPECT_THAT(transcript(), ElementsAre("call " + create_call(row.session, row.dest_port),
                                                  check_line(answer, row.code, row.code_name, kSpanFile,
                                                             row.name, row.line)));
        }
    }
}

}  // namespace
