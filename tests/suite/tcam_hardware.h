// What the TCAM's hardware would hand back, for tests of cases that read an entry back; and the check lines
// of the classification and QoS cases.
#ifndef TESTS_SUITE_TCAM_HARDWARE_H
#define TESTS_SUITE_TCAM_HARDWARE_H

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/standin/suite_test.h"
#include "zor_vop_prm_tcam.h"

// Keeps the first entry of the last create and answers a read with it: addresses and ports swapped, addresses
// of QoS key type 1 at the plain places, statistics id of a QoS entry without its flag.
struct TcamHardware {
    standin::Bytes value = standin::Bytes(92), mask = standin::Bytes(92), result = standin::Bytes(55);

    // Takes part in create and read. The create hands out `vmr_id`.
    void install(uint64_t vmr_id) {
        standin::on("zor_vop_prm_tcam_vmr_create").does([this, vmr_id](standin::Call &call) {
            prm_info *const info = call.pointer<prm_info>(1);
            if (info == nullptr || call.answer != 0) return;
            if (info->value != nullptr) {
                std::copy_n(info->value, 92, value.begin());
                std::copy_n(info->mask, 92, mask.begin());
                std::copy_n(info->result, 55, result.begin());
            }
            info->vmr_id = vmr_id;
        });
        standin::on("zor_vop_prm_tcam_vmr_read").does([this](standin::Call &call) {
            prm_info *const info = call.pointer<prm_info>(1);
            const bool qos = info->fea_id == 6;
            standin::Bytes v = value, m = mask, r = result;
            if (qos && v[3] == 1) {
                std::copy_n(v.begin() + 58, 4, v.begin() + 46);
                std::copy_n(m.begin() + 58, 4, m.begin() + 46);
                std::copy_n(v.begin() + 74, 4, v.begin() + 62);
                std::copy_n(m.begin() + 74, 4, m.begin() + 62);
            }
            for (size_t address : {46, 62}) std::reverse(v.begin() + address, v.begin() + address + 4);
            for (size_t port : {40, 43}) std::swap(v[port], v[port + 1]);
            if (qos) r[47] &= 0xDF;
            std::copy(v.begin(), v.end(), info->value);
            std::copy(m.begin(), m.end(), info->mask);
            std::copy(r.begin(), r.end(), info->result);
        });
    }
};

// Names of the invocations in order, prints and checks as they are without line numbers.
inline Lines outline_without_lines() {
    return without_line_numbers(standin::outline());
}

inline std::string hex_text(uint32_t value) {
    return formatted("0x%x", value);
}

// A check line without its number, as without_line_numbers leaves it.
inline std::string check_text(uint32_t status, uint32_t expected, const std::string &name,
                              const std::string &source, const std::string &function) {
    return check_without_line(status, expected, name, "prm/test/src/" + source, function);
}
inline std::string none_text(uint32_t status, const std::string &source, const std::string &function) {
    return check_text(status, 0, "PRM_ERROR_NONE", source, function);
}

inline std::string print_text(const std::string &shown) {
    return "print \"" + shown + "\"";
}

inline constexpr uint32_t kFailure = 0x1234;  // of a call that is told to fail

// Fixture for cases that create a TCAM: each run starts from fresh().
class TcamCaseTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        fresh();
    }
    // A fresh stand-in that answers as the cases need it.
    virtual void fresh() = 0;

    // The outline of a case whose n-th platform call fails.
    Lines with_failing_call(kiv_function_t function, int nth) {
        fresh();
        standin::fail_call(nth, kFailure);
        standin::run(function);
        return outline_without_lines();
    }
    Lines with_failing_allocation(kiv_function_t function, int nth) {
        fresh();
        standin::fail_allocation(nth);
        standin::run(function);
        return outline_without_lines();
    }

    // A family of negative cases, and the operations that it has none for.
    struct Family {
        std::function<int(u32)> function;
        std::vector<uint32_t> unsupported;
        const char *failure, *check;
    };
    // The family says so of each, and its check fails: an invalid argument was expected.
    void expect_to_tell_unsupported(const std::vector<Family> &families, const char *source) {
        for (const Family &family : families) {
            for (uint32_t opcode : family.unsupported) {
                fresh();
                EXPECT_EQ(standin::run([&] { return family.function(opcode); }), 0);
                EXPECT_THAT(outline_without_lines(),
                            testing::ElementsAre(
                                print_text("Error!!! Invalid opcode \\n"),
                                print_text(family.failure + std::string("0x0\\n")),
                                check_text(0, 0x457C2A00, "PRM_ERROR_INVALID_ARG", source, family.check)));
                EXPECT_EQ(standin::live_blocks(), 0u);
            }
        }
    }

    TcamHardware hardware;
};

#endif
