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
    script.print(formatted("kiv_util_uidb_set_feature returned error is 0x%x\n", rc));
    return rc;
}

class SpanTest : public SuiteTest {
  protected:
    static void start(const std::string &input) {
        standin::reset();
        prm_async_handle = standin::kAsync;
        standin::standard_input(input);
    }

    static void run_with_every_call_failing(kiv_function_t function, const std::string &input,
                                            const std::function<int(Script &)> &flow) {
        ::run_with_every_call_failing(
            function, kSpanFile, [&] { start(input); }, flow);
    }
};

inline constexpr char kLimit[] = "(num >= 1) && (num <= ZOR_SPAN_MAX_SRC_INTFS)";
inline constexpr char kLimitMessage[] = "Totatl number of interfaces has to be between 1 and 400";

inline void expect_count(Script &script, const char *name, int line, uint32_t count) {
    script.condition(true, kLimit, name, line, kLimitMessage);
    script.print(formatted("Total number of inputs is %u\n", count));
}

#endif
