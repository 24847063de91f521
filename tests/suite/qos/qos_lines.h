// Fixture and expected lines that the tests of the QoS classification share.
#ifndef TESTS_SUITE_QOS_QOS_LINES_H
#define TESTS_SUITE_QOS_QOS_LINES_H

#include "prm_kiv_qos.h"

#include "tests/suite/tcam_hardware.h"

namespace qos_test {

using standin::Bytes;
using standin::RecordBuilder;
using standin::run;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr uint64_t kVmrId = 0x1234AB0055667788;
constexpr uint32_t kPolicerId = 0x5A, kStatsId = 0x20000A01;  // the flag of the statistics id is set
constexpr uint16_t kProfile = 0x8001;
constexpr uint32_t kInvalidArg = 0x457C2A00, kInvalidMsg = 0x457C2C00;

inline const char *const kNoMemory =
    "Error!!! Memory Allocation Failure under tc_kiv_tcam_allocate_and_offset_vmr \\n";
inline const char *const kNoRequest = "Memory allocation failure for g_tm_config_request!!!\\n";
inline const char *const kNoResponse = "Memory allocation failure for g_tm_config_response!!!\\n";
inline const char *const kNoPolicy = "Failed in creating stats/policers";

inline Lines line(const std::string &text) {
    return {print_text(text)};
}

inline std::string none(uint32_t code, const std::string &function) {
    return none_text(code, "prm_kiv_qos", function);
}

inline Lines tm_create(uint32_t code = 0) {
    if (code != 0) return {"call wyk_hal_wrapper_config_policy_in_tm", none(code, "tc_kiv_qos_tm_create")};
    return {"call wyk_hal_wrapper_config_policy_in_tm", print_text("stats id : 0x20000a01\\n"),
            print_text("police id : 0x5a 8001\\n"), none(0, "tc_kiv_qos_tm_create")};
}
inline Lines tm_destroy(uint32_t code = 0) {
    return {
        "call wyk_hal_wrapper_deallocate_nodes",
        print_text(code == 0 ? "Success in Deleting Stats/Policers \\n"
                             : "Failure in Deleting Stats/Policers rc: " + hex_text(code) + " Status: 1\\n"),
        none(code, "tc_kiv_qos_tm_destroy")};
}
inline Lines tcam_destroy(uint32_t code = 0) {
    return {"call zor_vop_prm_tcam_vmr_destroy",
            print_text(code == 0 ? "Success in QoS TCAM Destroy \\n"
                                 : "Failure in tc_kiv_qos_tcam_destroy. rc = " + hex_text(code) + "\\n"),
            none(code, "tc_kiv_qos_tcam_destroy")};
}

class QosTest : public TcamCaseTest {
  protected:
    // A stand-in that hands out a policy and a TCAM, releases nodes and reads back what was created.
    void fresh() override {
        standin::reset();
        g_tm_config_request = nullptr;
        g_tm_config_response = nullptr;
        hardware = TcamHardware();
        hardware.install(kVmrId);
        standin::on("wyk_hal_wrapper_config_policy_in_tm").does([](standin::Call &call) {
            if (call.answer != 0) return;
            for (size_t i = 0; i < call.arguments.at(2); ++i) {
                call.put<uint32_t>(1, 124 + 260 * i + 156, kPolicerId + static_cast<uint32_t>(i));
                call.put<uint32_t>(1, 124 + 260 * i + 160, kStatsId + static_cast<uint32_t>(i));
                call.put<uint16_t>(1, 124 + 260 * i + 176, kProfile);
            }
        });
        standin::on("wyk_hal_wrapper_deallocate_nodes").does([](standin::Call &call) {
            *call.pointer<uint32_t>(1) = 1;
        });
    }
};

}  // namespace qos_test

#endif
