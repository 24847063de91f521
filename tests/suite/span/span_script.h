// What the SPAN areas' tests share: requests as transcripts show them, and the flow of the source step.
#ifndef TESTS_SUITE_SPAN_SPAN_SCRIPT_H
#define TESTS_SUITE_SPAN_SPAN_SCRIPT_H

#include "prm_kiv_span.h"
#include "tests/standin/script.h"

inline constexpr char kSpanFile[] = "prm/test/src/prm_kiv_span";
inline constexpr uint32_t kBusy = 0xA8B89200, kBadId = 0xA8B89800, kPortError = 0xA8B8A200;
inline constexpr uint32_t kPorts[4] = {20, 33, 3, 0};

inline std::string session_call(const char *operation, uint32_t session, uint32_t dest_port) {
    return std::string("prm_srh_span_") + operation + "(async, " +
           shown(standin::RecordBuilder(2116).u32_at(12, session).u32_at(68, dest_port)) + ")";
}

inline std::string create_call(uint32_t session, uint32_t dest_port) {
    return session_call("fwd_add", session, dest_port);
}
inline std::string destroy_call(uint32_t session, uint32_t dest_port) {
    return session_call("fwd_del", session, dest_port);
}

inline std::string text_of(const char *pattern, uint32_t number) {
    char text[256];
    snprintf(text, sizeof text, pattern, number);
    return text;
}

// The step that sets a source, whatever the stand-in answers: `status` when it is not 0, else as scripted.
inline uint32_t expect_source(Script &script, uint32_t handle, uint32_t session, int direction, bool add,
                              uint32_t status = 0) {
    script.print("Call UIDB Set feature\n");
    const uint32_t scripted = script.call("uidb_set_feature(0, " +
                                          shown(standin::RecordBuilder(60)
                                                    .u32_at(0, handle)
                                                    .u16_at(4, 1)
                                                    .u16_at(6, 52)
                                                    .u16_at(8, static_cast<uint16_t>(direction))
                                                    .u32_at(16, 455)
                                                    .u32_at(20, add ? session : session | 0x80000000)) +
                                          ")");
    const uint32_t rc = scripted != 0 ? scripted : status;
    script.print(text_of("kiv_util_uidb_set_feature returned error is 0x%x\n", rc));
    return rc;
}

class SpanTest : public SuiteTest {
  protected:
    static void start(const std::string &input) {
        standin::reset();
        prm_async_handle = standin::kAsync;
        standin::standard_input(input);
    }

    // Runs a case with each of its calls failing in turn (and none), and compares all it did with the flow
    // written down. The flow ends where the process does, with any result.
    template <class Flow>
    static void run_with_every_call_failing(kiv_function_t function, const std::string &input, Flow flow) {
        int calls = 1;
        for (int n = 0; n <= calls; ++n) {
            SCOPED_TRACE("failing call " + std::to_string(n));
            start(input);
            standin::fail_call(n, kScriptFailure);
            Script script(kSpanFile, n);
            const int expected = flow(script);
            const int result = standin::run(function);
            EXPECT_THAT(standin::transcript(), testing::ElementsAreArray(script.lines()));
            EXPECT_EQ(standin::aborted(), script.lines().back() == "abort");
            if (!standin::aborted()) {
                EXPECT_EQ(result, expected);
            }
            EXPECT_EQ(standin::live_blocks(), 0u);
            if (n == 0) calls = script.calls();
        }
    }
};

inline constexpr char kLimit[] = "(num >= 1) && (num <= ZOR_SPAN_MAX_SRC_INTFS)";
inline constexpr char kLimitMessage[] = "Totatl number of interfaces has to be between 1 and 400";

inline void expect_count(Script &script, const char *name, int line, uint32_t count) {
    script.condition(true, kLimit, name, line, kLimitMessage);
    script.print(text_of("Total number of inputs is %u\n", count));
}

#endif
