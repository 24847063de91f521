// QoS cases whose TCAM request is wrong on purpose.
#include "tests/suite/qos/qos_lines.h"

namespace {

using namespace qos_test;

struct Negative {
    kiv_function_t function;
    const char *operation;
    const char *record;  // null: a null request
    uint32_t expected;
    const char *success, *failure, *check;
    bool buffers;
};

const char kNullFailure[] =
    "Failure in tc_kiv_qos_tcam_null_prm_info_ptr.                     rc = ";  // 21 blanks
const char kFeaFailure[] = "Failure in tc_kiv_qos_tcam_invalid_fea_id. rc = ";
const char kVmrFailure[] = "Failure in tc_kiv_qos_tcam_invalid_vmr_id. rc = ";
const char kNullCheck[] = "tc_kiv_qos_tcam_null_prm_info_ptr";
const char kFeaCheck[] = "tc_kiv_qos_tcam_invalid_fea_id";
const char kVmrCheck[] = "tc_kiv_qos_tcam_invalid_vmr_id";
const char kFea[] = "Success while sending invalid feature id \\n";

// clang-format off
const Negative kNegatives[] = {
    {tc_kiv_qos_tcam_create_null_info_ptr, "create", nullptr, kInvalidArg,
     "Success while sending NULL prm_info ptr \\n", kNullFailure, kNullCheck, false},
    {tc_kiv_qos_tcam_destroy_null_info_ptr, "destroy", nullptr, kInvalidArg,
     "Success while sending NULL prm_info ptr \\n", kNullFailure, kNullCheck, false},
    {tc_kiv_qos_tcam_create_invalid_fea_id, "create", "0:07 4:01 292:07 312:01 314:01 318:01 320:5c 322:37", kInvalidArg,
     kFea, kFeaFailure, kFeaCheck, true},
    {tc_kiv_qos_tcam_destroy_invalid_vmr_id, "destroy", "0:06 4:01 264:02 312:01 314:01 318:01 320:5c 322:37", kInvalidArg,
     "Success while sending invalid vmr id \\n", kVmrFailure, kVmrCheck, true},
    {tc_kiv_qos_tcam_create_null_vmr_ptr, "create", "0:06 4:01 312:01 314:01 320:5c 322:37", kInvalidArg,
     "Success while sending NULL value, mask, result ptr \\n",
     "Failure in tc_kiv_qos_tcam_create_null_vmr_ptr. rc = ", "tc_kiv_qos_tcam_create_null_vmr_ptr", false},
    {tc_kiv_qos_tcam_create_invalid_port_num, "create", "0:06 4:01 312:01 315:01 318:01 320:5c 322:37", kInvalidArg,
     "Success while sending invalid port numbers as 100 \\n",
     "Failure in tc_kiv_qos_tcam_create_invalid_port_num. rc = ", "tc_kiv_qos_tcam_create_invalid_port_num", true},
    {tc_kiv_qos_tcam_create_invalid_value_mask_key_sz, "create", "0:06 4:01 312:01 314:01 322:37", kInvalidArg,
     "Success while sending invalid val, mask key size as 0\\n",
     "Failure in tc_kiv_qos_tcam_create_invalid_value_mask_key_sz. rc = ",
     "tc_kiv_qos_tcam_create_invalid_value_mask_key_sz", true},
    {tc_kiv_qos_tcam_create_invalid_result_key_sz, "create", "0:06 4:01 312:01 314:01 320:5c", kInvalidArg,
     "Success while sending invalid result key size as 0 \\n",
     "Failure in tc_kiv_qos_tcam_create_invalid_result_key_sz. rc = ",
     "tc_kiv_qos_tcam_create_invalid_result_key_sz", true},
    {tc_kiv_qos_tcam_create_invalid_nr_entries, "create", "0:06 4:01 312:01 314:01 320:5c 322:37", kInvalidArg,
     "Success while sending invalid number of ace entries as 0 \\n",
     "Failure in  tc_kiv_qos_tcam_create_invalid_nr_entries. rc = ",
     "tc_kiv_qos_tcam_create_invalid_nr_entries", true},
    {tc_kiv_qos_tcam_create_invalid_opcode, "create", "0:06 4:01 264:64 312:01 314:01 318:01 320:5c 322:37", kInvalidMsg,
     "Success while sending invalid operation code \\n",
     "Failure in tc_kiv_qos_tcam_create_invalid_opcode. rc = ", "tc_kiv_qos_tcam_create_invalid_opcode", true},
};
// clang-format on

class QosNegativeTest : public QosTest {};

TEST_F(QosNegativeTest, EveryCaseSendsItsRecordAndTellsWhetherTheCodeIsTheOneExpected) {
    for (const Negative &n : kNegatives) {
        for (uint32_t code : {kInvalidArg, kInvalidMsg, 0u, kFailure}) {
            SCOPED_TRACE(std::string(n.check) + " answered " + hex_text(code));
            fresh();
            standin::fail_call(1, code);
            EXPECT_EQ(run(n.function), code == n.expected ? 1 : 0);
            EXPECT_THAT(
                outline_without_lines(),
                ElementsAre(
                    std::string("call zor_vop_prm_tcam_vmr_") + n.operation,
                    print_text(code == n.expected ? n.success : n.failure + hex_text(code) + "\\n"),
                    check_text(code, n.expected,
                               n.expected == kInvalidMsg ? "PRM_ERROR_INVALID_MSG" : "PRM_ERROR_INVALID_ARG",
                               "prm_kiv_qos", n.check)));
            EXPECT_EQ(standin::live_blocks(), 0u);

            const standin::Event call = standin::calls().at(0);
            if (n.record == nullptr) {
                EXPECT_EQ(call.line_text(),
                          std::string("call zor_vop_prm_tcam_vmr_") + n.operation + "(async, 0)");
                continue;
            }
            EXPECT_EQ(call.arguments.at(1).shown, std::string("384{") + n.record + "}");
            EXPECT_EQ(call.field<uint64_t>(352) != 0, n.buffers);
        }
    }
}

TEST_F(QosNegativeTest, WithoutMemoryACaseEndsWithTheMessageAlone) {
    for (const Negative &n : kNegatives) {
        if (!n.buffers) continue;
        EXPECT_THAT(with_failing_allocation(n.function, 1), ElementsAreArray(line(kNoMemory))) << n.check;
    }
}

TEST_F(QosNegativeTest, FamiliesTellAnOperationTheyDoNotHave) {
    const std::vector<Family> families = {
        {tc_kiv_qos_tcam_null_prm_info_ptr, {1, 3, 4, 100}, kNullFailure, kNullCheck},
        {[](u32 opcode) { return tc_kiv_qos_tcam_invalid_fea_id(opcode, 5); },
         {1, 3, 4, 100},
         kFeaFailure,
         kFeaCheck},
        {tc_kiv_qos_tcam_invalid_vmr_id, {0, 1, 3, 4, 100}, kVmrFailure, kVmrCheck},
    };
    expect_to_tell_unsupported(families, "prm_kiv_qos");
}

// The destroy case of the feature family: the TCAM's create, the spoilt destroy, the plain destroy.
class QosDestroyInvalidFeatureTest : public QosTest {
  protected:
    static constexpr kiv_function_t kCase = tc_kiv_qos_tcam_destroy_invalid_fea_id;

    static Lines judged(uint32_t code) {
        return {"call zor_vop_prm_tcam_vmr_destroy",
                print_text(code == kInvalidArg ? kFea : kFeaFailure + hex_text(code) + "\\n"),
                check_text(code, kInvalidArg, "PRM_ERROR_INVALID_ARG", "prm_kiv_qos", kFeaCheck)};
    }
    const Lines create_call = {"call zor_vop_prm_tcam_vmr_create"};
};

TEST_F(QosDestroyInvalidFeatureTest, SpoilsTheHandleAndThenDestroysThePlainOne) {
    standin::on("zor_vop_prm_tcam_vmr_destroy").returns_on(1, kInvalidArg);
    EXPECT_EQ(run(kCase), 1);
    EXPECT_THAT(outline_without_lines(),
                ElementsAreArray(tm_create() + create_call + judged(kInvalidArg) + tcam_destroy()));
    EXPECT_EQ(standin::calls().at(0).line_text(),
              "call wyk_hal_wrapper_config_policy_in_tm(560{8:01 464:01}, 384{}, 1)");
    EXPECT_EQ(standin::calls().at(1).line_text(),
              "call zor_vop_prm_tcam_vmr_create(async, 384{0:06 4:01 312:01 314:01 318:01 320:5c 322:37}) "
              "value 92{} mask 92{} result 55{44:010a 47:20}");
    EXPECT_EQ(standin::calls().at(2).line_text(),
              "call zor_vop_prm_tcam_vmr_destroy(async, 384{0:07 4:01 264:02 288:8877665507ab 312:01 314:01 "
              "318:01 320:5c 322:37}) value 92{} mask 92{} result 55{}");
    EXPECT_EQ(standin::calls().at(3).line_text(),
              "call zor_vop_prm_tcam_vmr_destroy(async, 384{0:06 4:01 288:88776655 293:ab3412 312:01 314:01 "
              "318:01 320:5c 322:37}) value 0{} mask 0{} result 0{}");
    EXPECT_EQ(standin::live_bytes(), 239u);  // the create's key buffers stay
    EXPECT_EQ(g_tm_config_request, nullptr);
    EXPECT_EQ(g_tm_config_response, nullptr);
}

TEST_F(QosDestroyInvalidFeatureTest, GoesOnAsFarAsItsCallsAllow) {
    EXPECT_THAT(with_failing_call(kCase, 1), ElementsAreArray(tm_create(kFailure) + line(kNoPolicy)));
    EXPECT_EQ(standin::live_blocks(), 3u);
    EXPECT_THAT(with_failing_call(kCase, 2), ElementsAreArray(tm_create() + create_call));
    EXPECT_EQ(standin::live_bytes(), 239u);
    EXPECT_EQ(g_tm_config_request, nullptr);
    EXPECT_THAT(with_failing_call(kCase, 3),
                ElementsAreArray(tm_create() + create_call + judged(kFailure) + tcam_destroy()));
    EXPECT_THAT(with_failing_call(kCase, 4),
                ElementsAreArray(tm_create() + create_call + judged(0) + tcam_destroy(kFailure)));
}

TEST_F(QosDestroyInvalidFeatureTest, WithoutMemory) {
    EXPECT_THAT(with_failing_allocation(kCase, 1), ElementsAreArray(line(kNoMemory)));
    EXPECT_THAT(with_failing_allocation(kCase, 2), ElementsAreArray(line(kNoRequest) + line(kNoPolicy)));
    EXPECT_THAT(with_failing_allocation(kCase, 3), ElementsAreArray(line(kNoResponse) + line(kNoPolicy)));
    EXPECT_EQ(standin::live_bytes(), 239u);
    EXPECT_THAT(with_failing_allocation(kCase, 4),
                ElementsAreArray(tm_create() + create_call + line(kNoMemory) + tcam_destroy()));
}

}  // namespace
