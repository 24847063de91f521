// The case that destroys mirror sessions while they have sources: its whole flow, ended at every call.
#include <string.h>

#include <map>
#include <memory>

#include "tests/suite/span/span_script.h"

namespace {

using standin::run;
using standin::transcript;
using testing::ElementsAreArray;

// --- Destroying a busy session ---

constexpr char kBusyCase[] = "prm_kiv_span_session_destroy_when_port_present";
constexpr char kBusyText[] = "rc == PRM_ERROR_BCM_E_BUSY";

// How a card answers the case: a destroy is refused while the session has sources.
void answer_like_a_card() {
    const auto sources = std::make_shared<std::map<uint32_t, int>>();  // by session
    standin::on("uidb_set_feature").does([sources](standin::Call &call) {
        uint32_t value;
        memcpy(&value, call.pointer<uint8_t>(1) + 20, sizeof value);
        if (call.answer == 0) (*sources)[value & 0x7FFFFFFF] += (value & 0x80000000) != 0 ? -1 : 1;
    });
    standin::on("prm_srh_span_fwd_del").does([sources](standin::Call &call) {
        const uint32_t session = call.pointer<prm_span_request>(1)->session_id;
        if (call.answer == 0 && (*sources)[session] != 0) call.answer = kBusy;
    });
}

// The flow of the case; each step tells whether the process goes on. With `prefixed` messages begin with the
// check's line.
struct BusyFlow {
    Script &script;

    static std::string message(int line, const char *prefix, const std::string &text) {
        if (prefix == nullptr) return text;
        std::string result = prefix;
        return result.replace(result.find("%d"), 2, std::to_string(line)) + text;
    }
    static std::string number(uint32_t value) { return std::to_string(static_cast<int32_t>(value)); }

    bool create(uint32_t i, int line, const char *prefix) {
        const uint32_t rc = script.call(create_call(i, 10 + i));
        return script.condition(
            rc == 0, "rc == EOK", kBusyCase, line,
            message(line, prefix, "Failed to create session " + number(i) + " rc " + number(rc)));
    }
    bool source(uint32_t handle, uint32_t i, int direction, bool add, int line, const char *prefix) {
        const uint32_t rc = expect_source(script, handle, i, direction, add);
        return script.condition(rc == 0, "rc == EOK", kBusyCase, line,
                                message(line, prefix,
                                        std::string("Failed to ") + (add ? "enable" : "disable") +
                                            formatted(" span on ifh 0x%x", handle) + " session " + number(i) +
                                            " rc " + number(rc)));
    }
    bool refused(uint32_t i, int line, const char *prefix) {
        const uint32_t scripted = script.call(destroy_call(i, 10 + i));
        const uint32_t rc = scripted != 0 ? scripted : kBusy;
        return script.condition(rc == kBusy, kBusyText, kBusyCase, line,
                                message(line, prefix, "rc is not E_BUSY rc " + number(rc) + "\n"));
    }
    bool destroy(uint32_t i, int line, const char *prefix) {
        const uint32_t rc = script.call(destroy_call(i, 10 + i));
        return script.condition(
            rc == 0, "rc == EOK", kBusyCase, line,
            message(line, prefix, "Failed to destroy session " + number(i) + " rc " + number(rc)));
    }

    bool all(const std::vector<uint32_t> &handles) {
        for (uint32_t handle : handles) {
            script.print(formatted("ifhandle is 0x%x\n", handle));
            script.check(0, kBusyCase, 356);
            script.print(formatted("357: ifh is 0x%x", handle));
        }
        for (uint32_t i = 0; i < 4; ++i)
            for (int d = 0; d < 3; ++d)
                if (!(create(i, 368, nullptr) && source(handles[0], i, d, true, 372, nullptr) &&
                      refused(i, 377, nullptr) && source(handles[0], i, d, false, 381, nullptr) &&
                      destroy(i, 387, nullptr)))
                    return false;
        for (uint32_t i = 0; i < 4; ++i)
            if (!create(i, 399, "Line %d: ")) return false;
        for (uint32_t i : {3, 2, 1, 0}) {
            for (int d = 0; d < 3; ++d) {
                if (!source(handles[0], i, d, true, 406, "Line %d: ")) return false;
                script.print(std::to_string(i) + ": trying to delete session %\n");
                if (!(refused(i, 412, "%d: ") && source(handles[0], i, d, false, 416, "%d: "))) return false;
            }
        }
        for (uint32_t i = 0; i < 4; ++i)
            if (!destroy(i, 424, "%d: ")) return false;
        for (int d = 0; d < 2; ++d) {
            for (uint32_t i = 0; i < 4; ++i)
                if (!(create(i, 437, "Line %d: ") && source(handles[i], i, d, true, 441, "Line %d: ")))
                    return false;
            for (uint32_t i = 0; i < 4; ++i)
                if (!refused(i, 448, "%d: ")) return false;
            for (uint32_t i = 0; i < 4; ++i)
                if (!(source(handles[i], i, d, false, 453, "%d: ") && destroy(i, 459, "%d: "))) return false;
        }
        return true;
    }
};

TEST_F(SpanTest, DestroyWhileBusyEndsTheProcessAtTheFirstUnexpectedCode) {
    int calls = 1;
    for (int n = 0; n <= calls; ++n) {
        SCOPED_TRACE("failing call " + std::to_string(n));
        start("8000088\n80000c8\n0x1a0\n1a1\n");
        answer_like_a_card();
        standin::fail_call(n, kScriptFailure);
        Script script(kSpanFile, n);
        const bool through = BusyFlow{script}.all({0x8000088, 0x80000C8, 0x1A0, 0x1A1});
        const int result = run(prm_kiv_span_session_destroy_when_port_present);
        EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
        EXPECT_EQ(standin::aborted(), !through);
        EXPECT_EQ(through, n == 0);
        if (n == 0) {
            EXPECT_EQ(result, 1);
            EXPECT_EQ(script.calls(), 4 * 3 * 5 + 4 + 4 * 3 * 3 + 4 + 2 * 4 * 5);
            calls = script.calls();
        }
    }
}

TEST_F(SpanTest, DestroyOfABusySessionMustNotSucceed) {
    start("1\n2\n3\n4\n");
    run(prm_kiv_span_session_destroy_when_port_present);
    EXPECT_TRUE(standin::aborted());
    const standin::Event last = standin::checks().back();
    EXPECT_EQ(last.line, 377);
    EXPECT_EQ(last.condition_text, kBusyText);
    EXPECT_EQ(last.text, "rc is not E_BUSY rc 0\n");
}

TEST_F(SpanTest, StatusesInMessagesAreSigned) {
    start("1\n2\n3\n4\n");
    standin::on("prm_srh_span_fwd_add").returns(kPortError);
    run(prm_kiv_span_session_destroy_when_port_present);
    EXPECT_EQ(standin::checks().back().text, "Failed to create session 0 rc -1464294912");
}

TEST_F(SpanTest, BusyCaseWithoutMemoryReportsCode22) {
    start("8000088\n");
    standin::fail_allocation(1);
    run(prm_kiv_span_session_destroy_when_port_present);
    EXPECT_TRUE(standin::aborted());
    EXPECT_EQ(standin::checks().back().line, 372);
    EXPECT_EQ(standin::checks().back().text, "Failed to enable span on ifh 0x8000088 session 0 rc 22");
}

}  // namespace
