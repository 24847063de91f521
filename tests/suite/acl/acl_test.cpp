// ACL cases: requests, prints and checks in order, on success, with every call and every allocation failing,
// and every request that is wrong on purpose.
#include "prm_kiv_acl.h"

#include "tests/suite/tcam_hardware.h"

namespace {

using standin::run;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr uint64_t kVmrId = 0x1234AB0055667788;
constexpr uint32_t kStatsId = 0x77;
constexpr uint32_t kInvalidArg = 0x457C2A00, kInvalidMsg = 0x457C2C00;

const char *const kNoMemory =
    "Error!!! Memory Allocation Failure under tc_kiv_tcam_allocate_and_offset_vmr \\n";
const char *const kNullValue = "Error!!! info_p->value is NULL in free_vmr \\n";

// One step: call, line, check.
Lines step(const std::string &operation, uint32_t code, const std::string &success,
           const std::string &failure, const std::string &function) {
    return {"call zor_vop_prm_tcam_vmr_" + operation,
            print_text(code == 0 ? success : failure + hex_text(code) + "\\n"),
            none_text(code, "prm_kiv_acl", function)};
}

Lines stats_create(uint32_t code = 0) {
    const std::string check = none_text(code, "prm_kiv_acl", "tc_kiv_acl_stats_create");
    if (code == 0)
        return {"call zor_vop_prm_tcam_vmr_stats_alloc", print_text("Success in ACL Stats Create 119 \\n"),
                check};
    return {"call zor_vop_prm_tcam_vmr_stats_alloc", "call cerr_strerror",
            print_text("Failure in tc_kiv_acl_stats_create. rc = error " + hex_text(code) + "\\n"), check};
}
Lines create(uint32_t code = 0) {
    return step("create", code, "Success in ACL Create \\n",
                "Failure in tc_kiv_acl_tcam_create. rc = ", "tc_kiv_tcam_create");
}
Lines insert(uint32_t code = 0) {
    return step("insert", code, "Success in ACL Insert \\n",
                "Failure in tc_kiv_acl_tcam_insert. rc = ", "tc_kiv_acl_tcam_insert");
}
Lines remove(uint32_t code = 0) {
    return step("delete", code, "Success in ACL Delete \\n",
                "Failure in tc_kiv_acl_tcam_delete. rc = ", "tc_kiv_acl_tcam_delete");
}
Lines destroy(uint32_t code = 0) {
    return step("destroy", code, "Success in ACL Destroy \\n",
                "Failure in tc_kiv_acl_tcam_destroy. rc = ", "tc_kiv_acl_tcam_destroy");
}
Lines stats_destroy(uint32_t code = 0) {
    return step("stats_dealloc", code, "Success in ACL Stats Destroy \\n",
                "Failure in tc_kiv_acl_stats_destroy. rc = ", "tc_kiv_acl_stats_destroy");
}
Lines read_back() {
    return {"call zor_vop_prm_tcam_vmr_read",
            none_text(0, "prm_kiv_tcam", "tc_kiv_tcam_verify"),
            print_text("SrcIP inserted correctly\\n"),
            print_text("DstIP inserted correctly\\n"),
            print_text("TTL inserted correctly\\n"),
            print_text("ClassID inserted correctly\\n"),
            print_text("ACL Stats ID inserted correctly\\n"),
            check_text(1, 1, "TRUE", "prm_kiv_tcam", "tc_kiv_tcam_validate_vmr")};
}
Lines failed_read() {
    return {"call zor_vop_prm_tcam_vmr_read",
            print_text("tc_kiv_tcam_verify: Failure in getting info from h/w\\n")};
}
Lines line(const char *text) {
    return {print_text(text)};
}

class AclTest : public TcamCaseTest {
  protected:
    // A stand-in that hands out a statistics id and a TCAM, and reads back what was created.
    void fresh() override {
        standin::reset();
        standin::on("zor_vop_prm_tcam_vmr_stats_alloc").does([](standin::Call &call) {
            if (call.answer == 0) call.pointer<prm_info>(1)->stats_id = kStatsId;
        });
        hardware = TcamHardware();
        hardware.install(kVmrId);
    }
};

// --- Positive cases

const char *const kHandle = "288:88776655 293:ab3412";
const char *const kNoKeys = " value 0{} mask 0{} result 0{}";

std::string call_text(const char *operation, const std::string &record, const std::string &keys = kNoKeys) {
    return std::string("call zor_vop_prm_tcam_vmr_") + operation + "(async, 384{" + record + "})" + keys;
}

TEST_F(AclTest, CreateSendsTheFirstEntryAndTakesEverythingAway) {
    EXPECT_EQ(run(tc_kiv_acl_tcam_create), 1);
    EXPECT_THAT(outline_without_lines(),
                ElementsAreArray(stats_create() + create() + read_back() + destroy() + stats_destroy()));
    Lines calls;
    for (const standin::Event &event : standin::calls()) calls.push_back(event.line_text());
    EXPECT_THAT(calls, ElementsAre(call_text("stats_alloc", "264:0c"),
                                   call_text("create", "4:01 312:01 314:01 318:01 320:5c 322:37",
                                             " value 92{2:02 31:64 46:01010101 62:02020202}"
                                             " mask 92{31:ff 46:ffffffff 62:ffffffff} result 55{2:01 7:77}"),
                                   call_text("read", std::string(kHandle) + " 318:01 320:5c 322:37",
                                             " value 92{} mask 92{} result 55{}"),
                                   call_text("destroy", std::string("4:01 264:02 ") + kHandle +
                                                            " 312:01 314:01 318:01 320:5c 322:37"),
                                   call_text("stats_dealloc", std::string("264:0d ") + kHandle + " 324:77")));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(AclTest, CreateGoesOnAsFarAsItsCallsAllow) {
    const auto failing = [&](int nth) { return with_failing_call(tc_kiv_acl_tcam_create, nth); };
    EXPECT_THAT(failing(1), ElementsAreArray(stats_create(kFailure)));
    EXPECT_THAT(failing(2), ElementsAreArray(stats_create() + create(kFailure)));
    EXPECT_EQ(standin::live_blocks(), 0u);
    EXPECT_THAT(failing(3),
                ElementsAreArray(stats_create() + create() + failed_read() + destroy() + stats_destroy()));
    EXPECT_THAT(failing(4), ElementsAreArray(stats_create() + create() + read_back() + destroy(kFailure) +
                                             stats_destroy()));
    EXPECT_THAT(failing(5), ElementsAreArray(stats_create() + create() + read_back() + destroy() +
                                             stats_destroy(kFailure)));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(AclTest, CreateReturnsTheResultOfItsLastCheck) {
    const int expected[] = {0, 0, 1, 1, 0};
    for (int nth = 1; nth <= 5; ++nth) {
        fresh();
        standin::fail_call(nth, kFailure);
        EXPECT_EQ(run(tc_kiv_acl_tcam_create), expected[nth - 1]) << nth;
    }
}

TEST_F(AclTest, CreateWithoutMemoryKeepsTheStatistics) {
    EXPECT_THAT(with_failing_allocation(tc_kiv_acl_tcam_create, 1),
                ElementsAreArray(stats_create() + line(kNoMemory) + line(kNullValue)));
    EXPECT_THAT(with_failing_allocation(tc_kiv_acl_tcam_create, 2),
                ElementsAreArray(stats_create() + create() + line(kNoMemory) + destroy() + stats_destroy()));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(AclTest, ModifyInsertsASecondEntryAndReadsTheFirstBack) {
    EXPECT_EQ(run(tc_kiv_acl_tcam_modify), 1);
    EXPECT_THAT(outline_without_lines(), ElementsAreArray(stats_create() + create() + insert() + read_back() +
                                                          remove() + destroy() + stats_destroy()));
    EXPECT_EQ(standin::calls("zor_vop_prm_tcam_vmr_insert").at(0).line_text(),
              call_text("insert",
                        std::string("4:01 264:03 ") + kHandle + " 312:01 314:01 316:01 318:01 320:5c 322:37",
                        " value 92{2:02 46:03030303 62:04040404} mask 92{46:ffffffff 62:ffffffff}"
                        " result 55{2:01 7:77}"));
    EXPECT_EQ(standin::calls("zor_vop_prm_tcam_vmr_read").at(0).line_text(),
              call_text("read", std::string(kHandle) + " 318:01 320:5c 322:37",
                        " value 92{} mask 92{} result 55{}"));
    EXPECT_EQ(standin::calls("zor_vop_prm_tcam_vmr_delete").at(0).line_text(),
              call_text("delete", std::string("4:01 264:04 ") + kHandle +
                                      " 312:01 314:01 316:01 318:01 320:5c 322:37"));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(AclTest, ModifyGoesOnAsFarAsItsCallsAllow) {
    const auto failing = [&](int nth) { return with_failing_call(tc_kiv_acl_tcam_modify, nth); };
    const Lines made = stats_create() + create(), gone = destroy() + stats_destroy();
    EXPECT_THAT(failing(1), ElementsAreArray(stats_create(kFailure)));
    EXPECT_THAT(failing(2), ElementsAreArray(stats_create() + create(kFailure)));
    EXPECT_THAT(failing(3), ElementsAreArray(made + insert(kFailure) + gone));
    EXPECT_THAT(failing(4), ElementsAreArray(made + insert() + failed_read() + remove() + gone));
    EXPECT_THAT(failing(5), ElementsAreArray(made + insert() + read_back() + remove(kFailure) + gone));
    EXPECT_THAT(failing(6), ElementsAreArray(made + insert() + read_back() + remove() + destroy(kFailure) +
                                             stats_destroy()));
    EXPECT_THAT(failing(7), ElementsAreArray(made + insert() + read_back() + remove() + destroy() +
                                             stats_destroy(kFailure)));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(AclTest, ModifyWithoutMemoryGoesOnAsFarAsItCan) {
    const auto failing = [&](int nth) { return with_failing_allocation(tc_kiv_acl_tcam_modify, nth); };
    const Lines made = stats_create() + create(), gone = destroy() + stats_destroy();
    EXPECT_THAT(failing(1), ElementsAreArray(stats_create() + line(kNoMemory) + line(kNullValue)));
    EXPECT_THAT(failing(2), ElementsAreArray(made + line(kNoMemory) + gone));
    EXPECT_THAT(failing(3), ElementsAreArray(made + insert() + line(kNoMemory) + remove() + gone));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(AclTest, AnInsertThatOverwritesTheFirstEntryIsFound) {
    standin::on("zor_vop_prm_tcam_vmr_insert").does([this](standin::Call &call) {
        std::copy_n(call.pointer<prm_info>(1)->value, 92, hardware.value.begin());
    });
    run(tc_kiv_acl_tcam_modify);
    EXPECT_THAT(outline_without_lines(),
                testing::Contains(check_text(0, 1, "TRUE", "prm_kiv_tcam", "tc_kiv_tcam_validate_vmr")));
}

// --- Negative cases

// A case, the operation it calls and the record it sends, and what it tells.
struct Negative {
    kiv_function_t function;
    const char *operation;
    const char *record;  // null: a null request
    uint32_t expected;
    const char *success, *failure;
    const char *check;
    bool buffers;
    bool tcam;  // a TCAM is made first and destroyed last
    std::string spoilt_handle = {};
};

#define H "288:88776655 293:ab3412 "
#define H7 "288:8877665507ab "
const char *const kCleared = " value 92{} mask 92{} result 55{}";

const char kNullInfo[] = "Success while sending NULL prm_info ptr \\n";
const char kNullInfoFailure[] = "Failure in tc_kiv_acl_tcam_null_prm_info_ptr. rc = ";
const char kNullInfoCheck[] = "tc_kiv_acl_tcam_null_prm_info_ptr";
const char kVmr[] = "Success while sending invalid vmr id \\n";
const char kVmrFailure[] = "Failure in tc_kiv_acl_tcam_invalid_vmr_id. rc = ";
const char kVmrCheck[] = "tc_kiv_acl_tcam_invalid_vmr_id";
const char kFea[] = "Success while sending invalid feature id \\n";
const char kFeaFailure[] = "Failure in tc_kiv_acl_tcam_invalid_fea_id. rc = ";
const char kFeaCheck[] = "tc_kiv_acl_tcam_invalid_fea_id";
const char kPort[] = "Success while sending invalid port numbers as 256 \\n";
const char kNullVmr[] = "Success while sending NULL value, mask, result ptr \\n";
const char kOpcode[] = "Success while sending invalid operation code \\n";
const char kEntries[] = "Success while sending invalid no. of ace entries as 0 \\n";
const char kIndex[] = "Success while sending invalid index \\n";

#define CASE(name) tc_kiv_acl_tcam_##name

const std::vector<Negative> &negatives() {
    // clang-format off
    static const std::vector<Negative> rows = {
        {CASE(create_null_info_ptr), "create", nullptr, kInvalidArg, kNullInfo, kNullInfoFailure, kNullInfoCheck, false, false},
        {CASE(insert_null_info_ptr), "insert", nullptr, kInvalidArg, kNullInfo, kNullInfoFailure, kNullInfoCheck, false, false},
        {CASE(delete_null_info_ptr), "delete", nullptr, kInvalidArg, kNullInfo, kNullInfoFailure, kNullInfoCheck, false, false},
        {CASE(destroy_null_info_ptr), "destroy", nullptr, kInvalidArg, kNullInfo, kNullInfoFailure, kNullInfoCheck, false, false},

        {CASE(insert_invalid_vmr_id), "insert", "4:01 264:03 312:01 314:01 318:01 320:5c 322:37", kInvalidArg, kVmr, kVmrFailure, kVmrCheck, true, false},
        {CASE(delete_invalid_vmr_id), "delete", "4:01 264:04 312:01 314:01 318:01 320:5c 322:37", kInvalidArg, kVmr, kVmrFailure, kVmrCheck, true, false},
        {CASE(destroy_invalid_vmr_id), "destroy", "4:01 264:02 312:01 314:01 318:01 320:5c 322:37", kInvalidArg, kVmr, kVmrFailure, kVmrCheck, true, false},

        {CASE(create_invalid_fea_id), "create", "0:07 4:01 292:07 312:01 314:01 318:01 320:5c 322:37", kInvalidArg, kFea, kFeaFailure, kFeaCheck, true, false},
        {CASE(insert_invalid_fea_id), "insert", "0:07 4:01 264:03 " H7 "312:01 314:01 318:01 320:5c 322:37", kInvalidArg, kFea, kFeaFailure, kFeaCheck, true, true, "288:8877665507ab"},
        {CASE(delete_invalid_fea_id), "delete", "0:07 4:01 264:04 " H7 "312:01 314:01 318:01 320:5c 322:37", kInvalidArg, kFea, kFeaFailure, kFeaCheck, true, true, "288:8877665507ab"},
        {CASE(destroy_invalid_fea_id), "destroy", "0:07 4:01 264:02 " H7 "312:01 314:01 318:01 320:5c 322:37", kInvalidArg, kFea, kFeaFailure, kFeaCheck, true, true, "288:8877665507ab"},

        {CASE(create_null_vmr_ptr), "create", "4:01 312:01 314:01 320:5c 322:37", kInvalidArg, kNullVmr,
         "Failure in tc_kiv_acl_tcam_create_null_vmr_ptr rc = ", "tc_kiv_acl_tcam_create_null_vmr_ptr", false, false},
        {CASE(create_invalid_port_num), "create", "4:01 312:01 315:01 318:01 320:5c 322:37", kInvalidArg, kPort,
         "Failure in tc_kiv_acl_tcam_create_invalid_port_num. rc = ", "tc_kiv_acl_tcam_create_invalid_port_num", true, false},
        {CASE(create_invalid_value_mask_key_sz), "create", "4:01 312:01 314:01 322:37", kInvalidArg,
         "Success while sending invalid value & mask key size as 0 \\n",
         "Failure in tc_kiv_acl_tcam_create_invalid_value_mask_key_sz. rc = ", "tc_kiv_acl_tcam_create_invalid_value_mask_key_sz", true, false},
        {CASE(create_invalid_result_key_sz), "create", "4:01 312:01 314:01 320:5c", kInvalidArg,
         "Success while sending invalid result key size as 0 \\n",
         "Failure in tc_kiv_acl_tcam_create_invalid_result_key_sz. rc = ", "tc_kiv_acl_tcam_create_invalid_result_key_sz", true, false},
        {CASE(create_invalid_nr_entries), "create", "4:01 312:01 314:01 320:5c 322:37", kInvalidArg,
         "Success while sending invalid number of ace entries as 0 \\n",
         "Failure in  tc_kiv_acl_tcam_create_invalid_nr_entries. rc = ", "tc_kiv_acl_tcam_create_invalid_nr_entries", true, false},
        {CASE(create_invalid_opcode), "create", "4:01 264:64 312:01 314:01 318:01 320:5c 322:37", kInvalidMsg, kOpcode,
         "Failure in tc_kiv_acl_tcam_create_invalid_opcode. rc = ", "tc_kiv_acl_tcam_create_invalid_opcode", true, false},
        {CASE(insert_null_vmr_ptr), "insert", "4:01 264:03 312:01 314:01 316:01 320:5c 322:37", kInvalidArg, kNullVmr,
         "Failure in tc_kiv_acl_tcam_insert_null_vmr_ptr. rc = ", "tc_kiv_acl_tcam_insert_null_vmr_ptr", false, false},
        {CASE(insert_invalid_port_num), "insert", "4:01 264:03 " H "312:01 315:0101 318:01 320:5c 322:37", kInvalidArg, kPort,
         "Failure in tc_kiv_acl_tcam_insert_invalid_port_num. rc = ", "tc_kiv_acl_tcam_insert_invalid_port_num", true, true},
        {CASE(insert_invalid_nr_entries), "insert", "4:01 264:03 " H "312:01 314:01 316:01 320:5c 322:37", kInvalidArg, kEntries,
         "Failure in tc_kiv_acl_tcam_insert_invalid_nr_entries. rc = ", "tc_kiv_acl_tcam_insert_invalid_nr_entries", true, true},
        {CASE(insert_invalid_opcode), "insert", "4:01 264:64 " H "312:01 314:01 316:01 318:01 320:5c 322:37", kInvalidMsg, kOpcode,
         "Failure in tc_kiv_acl_tcam_insert_invalid_opcode. rc = ", "tc_kiv_acl_tcam_insert_invalid_opcode", true, true},
        {CASE(insert_invalid_ace_index), "insert", "4:01 264:03 " H "312:01 314:01 316:010801 320:5c 322:37", kInvalidArg, kIndex,
         "Failure in tc_kiv_acl_tcam_insert_invalid_index. rc = ", "tc_kiv_acl_tcam_insert_invalid_ace_index", true, true},
        {CASE(delete_invalid_port_num), "delete", "4:01 264:04 " H "312:01 315:0101 318:01 320:5c 322:37", kInvalidArg, kPort,
         "Failure in tc_kiv_acl_tcam_delete_invalid_port_num. rc = ", "tc_kiv_acl_tcam_delete_invalid_port_num", true, true},
        {CASE(delete_invalid_nr_entries), "delete", "4:01 264:04 " H "312:01 314:01 316:01 320:5c 322:37", kInvalidArg, kEntries,
         "Failure in tc_kiv_acl_tcam_delete_invalid_nr_entries. rc = ", "tc_kiv_acl_tcam_delete_invalid_nr_entries", true, true},
        {CASE(delete_invalid_ace_index), "delete", "4:01 264:04 " H "312:01 314:01 316:010801 320:5c 322:37", kInvalidArg, kIndex,
         "Failure in tc_kiv_acl_tcam_delete_invalid_index. rc = ", "tc_kiv_acl_tcam_delete_invalid_ace_index", true, true},
    };
    // clang-format on
    return rows;
}

std::string expected_name(uint32_t code) {
    return code == kInvalidMsg ? "PRM_ERROR_INVALID_MSG" : "PRM_ERROR_INVALID_ARG";
}

// The spoilt call and what is told of its answer.
Lines judged(const Negative &n, uint32_t code, bool called = true) {
    Lines lines;
    if (called) lines.push_back(std::string("call zor_vop_prm_tcam_vmr_") + n.operation);
    lines.push_back(print_text(code == n.expected ? n.success : n.failure + hex_text(code) + "\\n"));
    lines.push_back(check_text(code, n.expected, expected_name(n.expected), "prm_kiv_acl", n.check));
    return lines;
}

bool is_family_c(const Negative &n) {
    return n.check == kFeaCheck;
}

class AclNegativeTest : public AclTest {
  protected:
    // The spoilt call is the third where a TCAM is made, else the first.
    void answer_spoilt_call(const Negative &n, uint32_t code) {
        fresh();
        standin::fail_call(n.tcam ? 3 : 1, code);
    }
};

TEST_F(AclNegativeTest, EveryCaseTellsWhetherTheCodeIsTheOneExpected) {
    EXPECT_EQ(negatives().size(), 25u);
    for (const Negative &n : negatives()) {
        for (uint32_t code : {kInvalidArg, kInvalidMsg, 0u, kFailure}) {
            SCOPED_TRACE(std::string(n.operation) + " " + n.check + " answered " + hex_text(code));
            answer_spoilt_call(n, code);
            const int result = run(n.function);
            Lines expected = judged(n, code);
            if (n.tcam) expected = stats_create() + create() + expected + destroy() + stats_destroy();
            EXPECT_THAT(outline_without_lines(), ElementsAreArray(expected));
            EXPECT_EQ(result, n.tcam || code == n.expected ? 1 : 0);
            EXPECT_EQ(standin::live_blocks(), 0u);
        }
    }
}

TEST_F(AclNegativeTest, EveryCaseSendsItsRecord) {
    for (const Negative &n : negatives()) {
        SCOPED_TRACE(std::string(n.operation) + " " + n.check);
        answer_spoilt_call(n, n.expected);
        run(n.function);
        const std::vector<standin::Event> calls = standin::calls();
        const standin::Event &spoilt = calls.at(n.tcam ? 2 : 0);
        if (n.record == nullptr) {
            EXPECT_EQ(spoilt.line_text(),
                      std::string("call zor_vop_prm_tcam_vmr_") + n.operation + "(async, 0)");
            continue;
        }
        EXPECT_EQ(spoilt.line_text().rfind(call_text(n.operation, n.record, ""), 0), 0u)
            << spoilt.line_text();
        uint64_t value = 0;
        std::memcpy(&value, spoilt.record().data() + 352, sizeof value);
        EXPECT_EQ(value != 0, n.buffers);
        for (const standin::Bytes &key : spoilt.keys) EXPECT_EQ(key, standin::Bytes(key.size()));
        if (!n.tcam) continue;
        EXPECT_EQ(calls.at(3).line_text(), call_text("destroy", std::string("4:01 264:02 ") + kHandle +
                                                                    " 312:01 314:01 318:01 320:5c 322:37"));
        // The family of the feature gives the statistics back under the spoilt handle.
        EXPECT_EQ(calls.at(4).line_text(),
                  call_text("stats_dealloc",
                            "264:0d " + (n.spoilt_handle.empty() ? kHandle : n.spoilt_handle) + " 324:77"));
    }
}

TEST_F(AclNegativeTest, WithoutStatisticsNothingElseHappens) {
    for (const Negative &n : negatives()) {
        if (!n.tcam) continue;
        EXPECT_THAT(with_failing_call(n.function, 1), ElementsAreArray(stats_create(kFailure))) << n.check;
    }
}

TEST_F(AclNegativeTest, WithoutATcamOnlyTheFeatureFamilyTellsAndCleansUp) {
    for (const Negative &n : negatives()) {
        if (!n.tcam) continue;
        SCOPED_TRACE(n.check);
        Lines expected = stats_create() + create(kFailure);
        if (is_family_c(n))
            expected = expected + judged(n, 0, false) + destroy() + stats_destroy() + line(kNullValue);
        EXPECT_THAT(with_failing_call(n.function, 2), ElementsAreArray(expected));
        EXPECT_EQ(standin::live_blocks(), 0u);
        if (!is_family_c(n)) continue;
        EXPECT_EQ(standin::calls("zor_vop_prm_tcam_vmr_destroy").at(0).line_text(),
                  call_text("destroy", "4:01 264:02 312:01 314:01 318:01 320:5c 322:37"));
        EXPECT_EQ(standin::calls("zor_vop_prm_tcam_vmr_stats_dealloc").at(0).line_text(),
                  call_text("stats_dealloc", "264:0d 324:77"));
    }
}

TEST_F(AclNegativeTest, FailingCleanUpIsToldAndChecked) {
    for (const Negative &n : negatives()) {
        if (!n.tcam) continue;
        SCOPED_TRACE(n.check);
        const Lines before = stats_create() + create() + judged(n, 0);
        EXPECT_THAT(with_failing_call(n.function, 4),
                    ElementsAreArray(before + destroy(kFailure) + stats_destroy()));
        EXPECT_THAT(with_failing_call(n.function, 5),
                    ElementsAreArray(before + destroy() + stats_destroy(kFailure)));
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

// The family of the feature releases the record that it could not allocate, too.
TEST_F(AclNegativeTest, WithoutMemoryACaseThatTookNothingEndsWithTheMessageAndOnlyTheFeatureFamilyReleases) {
    for (const Negative &n : negatives()) {
        if (n.tcam || !n.buffers) continue;
        Lines expected = line(kNoMemory);
        if (is_family_c(n)) expected = expected + line(kNullValue);
        EXPECT_THAT(with_failing_allocation(n.function, 1), ElementsAreArray(expected)) << n.check;
        EXPECT_TRUE(standin::calls().empty()) << n.check;
    }
}

TEST_F(AclNegativeTest, WithoutMemoryTheFeatureFamilyReleasesForAnOperationItDoesNotHave) {
    EXPECT_THAT(with_failing_allocation([] { return tc_kiv_acl_tcam_invalid_fea_id(100); }, 1),
                ElementsAreArray(line(kNoMemory) + line(kNullValue)));
}

TEST_F(AclNegativeTest, WithoutMemoryForTheTcam) {
    for (const Negative &n : negatives()) {
        if (!n.tcam) continue;
        SCOPED_TRACE(n.check);
        Lines expected = stats_create() + line(kNoMemory) + line(kNullValue);
        if (is_family_c(n))
            expected = expected + judged(n, 0, false) + destroy() + stats_destroy() + line(kNullValue);
        EXPECT_THAT(with_failing_allocation(n.function, 1), ElementsAreArray(expected));
    }
}

TEST_F(AclNegativeTest, WithoutMemoryForTheSpoiltRequestTheCleanUpStillRuns) {
    for (const Negative &n : negatives()) {
        if (!n.tcam) continue;
        SCOPED_TRACE(n.check);
        EXPECT_THAT(with_failing_allocation(n.function, 2),
                    ElementsAreArray(stats_create() + create() + line(kNoMemory) + destroy() +
                                     stats_destroy() + line(kNullValue)));
        EXPECT_EQ(standin::calls("zor_vop_prm_tcam_vmr_stats_dealloc").at(0).line_text(),
                  call_text("stats_dealloc", std::string("264:0d ") + kHandle + " 324:77"));
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

TEST_F(AclNegativeTest, FamiliesTellAnOperationTheyDoNotHave) {
    const std::vector<Family> families = {
        {tc_kiv_acl_tcam_null_prm_info_ptr, {1, 12, 100}, kNullInfoFailure, kNullInfoCheck},
        {tc_kiv_acl_tcam_invalid_vmr_id, {0, 1, 12, 100}, kVmrFailure, kVmrCheck},
        {tc_kiv_acl_tcam_invalid_fea_id, {1, 12, 100}, kFeaFailure, kFeaCheck},
    };
    expect_to_tell_unsupported(families, "prm_kiv_acl");
}

}  // namespace
