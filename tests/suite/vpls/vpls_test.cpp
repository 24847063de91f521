// VPLS: the parameter reader, the two handlers and the five cases, on success and on failure.
#include "prm_kiv_vpls.h"

#include "prm_kiv_input.h"
#include "prm_kiv_tx_adj.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::calls;
using standin::fail_call;
using standin::flash_file;
using standin::outline;
using standin::printed;
using standin::RecordBuilder;
using standin::run;
using standin::transcript;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kTcsInput[] = "kiv_tcs_input_file";
constexpr uint32_t kFailure = 0x1234;

class VplsTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        ifh[0] = ifh[1] = uidb[0] = uidb[1] = 0;
        bd_id = mac_learn_enable = 1;
        ing_dis = egr_dis = mac_move_sec_enabled = mac_move_sec_action = stp_state_changed = tokens = 0;
    }
    static void read(const std::string &line) {
        flash_file(kTcsInput, line);
        read_file();
    }
    static void read_file() {
        void (*const reader)() = kiv_util_read_bd_params;
        run([reader] {
            reader();
            return 0;
        });
    }
    static standin::Bytes sent_circuit(u32 ac_uidb, u32 domain, int op) {
        run([=] { return static_cast<int>(kiv_util_ac_handler(ac_uidb, domain, op)); });
        return calls().back().record();
    }
    static std::string check(u32 status, const char *name, int line) {
        return check_line(status, 0, "CERR_SUCCESS", "prm/test/src/prm_kiv_vpls", name, line);
    }
};

// A circuit of domain 5 with uidb 17 that learns MAC addresses.
RecordBuilder circuit(u32 domain = 5, u32 ac_uidb = 17) {
    RecordBuilder record(2124);
    record.u32_at(0, 10).u32_at(12, 8).u32_at(68, 188).u8_at(88, 0x04).u8_at(89, 0x40).u32_at(96, 1);
    return record.u32_at(209, domain).u32_at(222, ac_uidb);
}

// --- reader ---

TEST_F(VplsTest, ReaderStoresAndPrintsEveryParameter) {
    read(
        "IFH:800004c,UIDB:17,BD-ID:5,ING-DIS:1,EGR-DIS:3,MAC_MOVE_SEC_ENABLED:1,MAC_MOVE_SEC_ACTION:2,"
        "MAC_LEARN_ENABLE:0");
    EXPECT_THAT(
        transcript(),
        ElementsAre(
            "print \" token = IFH, value = 800004c\\n\"", "print \"ifhandle = 0x800004C\\n\"",
            "print \" token = UIDB, value = 17\\n\"", "print \"uidb = 17\\n\"",
            "print \" token = BD-ID, value = 5\\n\"", "print \"bd_id = 5\\n\"",
            "print \" token = ING-DIS, value = 1\\n\"", "print \"ing_dis = 1 1\\n\"",
            "print \" token = EGR-DIS, value = 3\\n\"", "print \"egr_dis = 3 1\\n\"",
            "print \" token = MAC_MOVE_SEC_ENABLED, value = 1\\n\"", "print \"mac_move_sec_enabled = 1\\n\"",
            "print \" token = MAC_MOVE_SEC_ACTION, value = 2\\n\"", "print \"mac_move_sec_action = 2\\n\"",
            "print \" token = MAC_LEARN_ENABLE, value = 0\\n\"", "print \"mac_learn_enable = 0\\n\""));
    EXPECT_EQ(ifh[0], 0x800004Cu);
    EXPECT_EQ(uidb[0], 17u);
    EXPECT_EQ(bd_id, 5u);
    EXPECT_EQ(ing_dis, 1u);
    EXPECT_EQ(egr_dis, 3u);
    EXPECT_EQ(mac_move_sec_enabled, 1u);
    EXPECT_EQ(mac_move_sec_action, 2u);
    EXPECT_EQ(mac_learn_enable, 0u);
    EXPECT_EQ(tokens, 8u);
}

TEST_F(VplsTest, ReaderKeepsTheTextOfEveryValue) {
    read(
        "IFH:a,UIDB:1,BD-ID:2,ING-DIS:3,EGR-DIS:4,MAC_MOVE_SEC_ENABLED:5,MAC_MOVE_SEC_ACTION:6,"
        "MAC_LEARN_ENABLE:7\n");
    EXPECT_STREQ(token_ifh, "a");
    EXPECT_STREQ(token_uidb, "1");
    EXPECT_STREQ(token_bd, "2");
    EXPECT_STREQ(token_ing_dis, "3");
    EXPECT_STREQ(token_egr_dis, "4");
    EXPECT_STREQ(token_mac_move_sec_enabled, "5");
    EXPECT_STREQ(token_mac_move_sec_action, "6");
    EXPECT_STREQ(token_mac_learn_enable, "7\n");
}

TEST_F(VplsTest, NewlineBelongsToTheLastValue) {
    read("BD-ID:5\n");
    EXPECT_EQ(printed(), " token = BD-ID, value = 5\n\nbd_id = 5\n");
}

TEST_F(VplsTest, NoDisableTokenLeavesTheSpanningTreeStateUnchanged) {
    read("UIDB:17,BD-ID:5\n");
    EXPECT_EQ(stp_state_changed, 0u);
}

TEST_F(VplsTest, DisableTokenOfZeroStillChangesTheSpanningTreeStateForGood) {
    read("EGR-DIS:0\n");
    EXPECT_EQ(printed(), " token = EGR-DIS, value = 0\n\negr_dis = 0 1\n");
    EXPECT_EQ(stp_state_changed, 1u);
    read("BD-ID:5\n");
    EXPECT_EQ(stp_state_changed, 1u);
}

TEST_F(VplsTest, UnknownNamesArePrintedAndOtherwiseIgnored) {
    read("IFHX:1,bd-id:9,BD-ID :9, BD-ID:9\n");
    EXPECT_EQ(printed(),
              " token = IFHX, value = 1\n token = bd-id, value = 9\n token = BD-ID , value = 9\n"
              " token =  BD-ID, value = 9\n\n");
    EXPECT_EQ(bd_id, 1u);
    EXPECT_EQ(tokens, 4u);
}

TEST_F(VplsTest, FieldWithoutValuePrintsAndChangesNothing) {
    read("BD-ID,ING-DIS:,:7,UIDB:3\n");
    EXPECT_EQ(printed(), " token = UIDB, value = 3\n\nuidb = 3\n");
    EXPECT_EQ(bd_id, 1u);
    EXPECT_EQ(stp_state_changed, 0u);
    EXPECT_EQ(tokens, 4u);
}

TEST_F(VplsTest, LastOfDuplicateNamesWins) {
    read("BD-ID:3,BD-ID:4");
    EXPECT_EQ(bd_id, 4u);
}

TEST_F(VplsTest, NumbersAreCutToThirtyTwoBitsAndPrintSigned) {
    read("BD-ID:4294967295,UIDB:4294967297,ING-DIS:junk");
    EXPECT_EQ(printed(),
              " token = BD-ID, value = 4294967295\nbd_id = -1\n token = UIDB, value = 4294967297\nuidb = 1\n"
              " token = ING-DIS, value = junk\ning_dis = 0 1\n");
}

TEST_F(VplsTest, EmptyLineHasNoItems) {
    tokens = 7;
    read("\n");
    EXPECT_EQ(tokens, 0u);
    EXPECT_THAT(transcript(), IsEmpty());
    tokens = 7;
    read("");
    EXPECT_EQ(tokens, 0u);
    tokens = 7;
    read(",\n");
    EXPECT_EQ(tokens, 1u);  // the newline is an item behind a separator
}

TEST_F(VplsTest, MissingFileKeepsTheCountAndTheParameters) {
    tokens = 7;
    bd_id = 9;
    read_file();
    EXPECT_THAT(transcript(), ElementsAre("stderr \"kiv_tcs_input_file: No such file or directory\\n\""));
    EXPECT_EQ(tokens, 7u);
    EXPECT_EQ(bd_id, 9u);
}

TEST_F(VplsTest, ItemsPastTheTenthAreDropped) {
    read("A:1,B:2,C:3,D:4,E:5,F:6,G:7,H:8,I:9,BD-ID:10,UIDB:11,IFH:12\n");
    EXPECT_EQ(tokens, 10u);
    EXPECT_EQ(bd_id, 10u);
    EXPECT_EQ(uidb[0], 0u);
}

TEST_F(VplsTest, SecondLineIsNotRead) {
    read("BD-ID:5\nBD-ID:6\n");
    EXPECT_EQ(bd_id, 5u);
}

TEST_F(VplsTest, GlobalsHaveTheirSizes) {
    static_assert(sizeof bd_id == 4 && sizeof ing_dis == 4 && sizeof egr_dis == 4 && sizeof tokens == 4);
    static_assert(sizeof mac_move_sec_enabled == 4 && sizeof mac_move_sec_action == 4);
    static_assert(sizeof mac_learn_enable == 4 && sizeof stp_state_changed == 4);
}

// --- bridge-domain handler ---

TEST_F(VplsTest, BridgeDomainRequestNamesTheDomain) {
    const standin::Bytes expected =
        RecordBuilder(2124).u32_at(0, 10).u32_at(12, 4).u32_at(20, 0xAABBCCDD).u32_at(68, 144);
    for (const int op : {0, 1, 5}) {
        EXPECT_EQ(run([op] { return static_cast<int>(kiv_util_bd_handler(0xAABBCCDD, op)); }), 0);
        EXPECT_EQ(calls().back().record(), expected);
    }
    EXPECT_THAT(outline(), ElementsAre("print \"\\ncalling prm_srh_bd_add \\n\"", "call prm_srh_bd_add",
                                       "print \"\\ncalling prm_srh_bd_del \\n\"", "call prm_srh_bd_del",
                                       "print \"\\ncalling prm_srh_bd_mod \\n\"", "call prm_srh_bd_mod"));
    EXPECT_EQ(calls().back().arguments[0].shown, "async");
}

TEST_F(VplsTest, BridgeDomainFailureIsTold) {
    const struct {
        int op;
        const char *name;
    } rows[] = {{0, "prm_srh_bd_add"}, {1, "prm_srh_bd_del"}, {5, "prm_srh_bd_mod"}};
    for (const auto &row : rows) {
        standin::reset();
        fail_call(1, kFailure);
        EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_bd_handler(1, row.op)); }), int{kFailure});
        const std::string name = row.name;
        EXPECT_THAT(outline(), ElementsAre("print \"\\ncalling " + name + " \\n\"", "call " + name,
                                           "print \"" + name + " failed\""));
    }
}

TEST_F(VplsTest, UnknownOperationSucceedsWithoutARequest) {
    for (const int op : {2, 3, 4, 6, -1}) {
        standin::reset();
        EXPECT_EQ(run([op] { return static_cast<int>(kiv_util_bd_handler(1, op)); }), 0);
        EXPECT_EQ(run([op] { return static_cast<int>(kiv_util_ac_handler(1, 1, op)); }), 0);
        EXPECT_THAT(transcript(),
                    ElementsAre("print \"\\nInvalid Oper\\n\"", "print \"\\nInvalid Oper\\n\""));
    }
}

// --- attachment-circuit handler ---

TEST_F(VplsTest, BindUnbindAndModifySendTheSameRequest) {
    for (const int op : {0, 1, 5}) EXPECT_EQ(sent_circuit(17, 5, op), circuit().bytes());
    EXPECT_THAT(outline(),
                ElementsAre("print \"\\ncalling prm_srh_xid_add for AC BIND\\n\"", "call prm_srh_xid_add",
                            "print \"\\ncalling prm_srh_xid_del for AC UNBIND\\n\"", "call prm_srh_xid_del",
                            "print \"\\ncalling prm_srh_xid_mod for AC Modify\\n\"", "call prm_srh_xid_mod"));
}

TEST_F(VplsTest, CircuitFailureIsTold) {
    const struct {
        int op;
        const char *failure;
    } rows[] = {{0, "print \"prm_srh_xid_add failed for AC bind\""},
                {1, "print \"prm_srh_xid_del failed for AC unbind\""},
                {5, "print \"prm_srh_xid_mod failed for AC modify\""}};
    for (const auto &row : rows) {
        standin::reset();
        fail_call(1, kFailure);
        EXPECT_EQ(run([&] { return static_cast<int>(kiv_util_ac_handler(17, 5, row.op)); }), int{kFailure});
        EXPECT_EQ(outline().back(), row.failure);
    }
}

TEST_F(VplsTest, LowSixteenBitsOfTheUidbCount) {
    EXPECT_EQ(sent_circuit(0xABCD1234, 0x01020304, 0), circuit(0x01020304, 0x1234).bytes());
}

TEST_F(VplsTest, EachParameterHasItsBits) {
    const struct {
        u32 *parameter;
        u32 value;
        size_t byte;
        u8 bits;
    } rows[] = {
        {&mac_move_sec_enabled, 1, 90, 0x02},
        {&mac_move_sec_enabled, 0xFFFFFFFF, 90, 0x02},
        {&mac_move_sec_enabled, 2, 90, 0},
        {&mac_move_sec_action, 1, 90, 0x04},
        {&mac_move_sec_action, 2, 90, 0x08},
        {&mac_move_sec_action, 3, 90, 0x0C},
        {&mac_move_sec_action, 4, 90, 0},
        {&mac_move_sec_action, 0xFFFFFFFF, 90, 0x0C},
        {&ing_dis, 1, 91, 0x08},
        {&ing_dis, 3, 91, 0x08},
        {&ing_dis, 2, 91, 0},
        {&egr_dis, 1, 91, 0x10},
        {&egr_dis, 0xFFFFFFFF, 91, 0x10},
        {&stp_state_changed, 1, 92, 0x01},
    };
    for (const auto &row : rows) {
        *row.parameter = row.value;
        EXPECT_EQ(sent_circuit(17, 5, 0), circuit().u8_at(row.byte, row.bits).bytes())
            << row.byte << ' ' << row.value;
        *row.parameter = 0;
    }
    mac_learn_enable = 2;
    EXPECT_EQ(sent_circuit(17, 5, 0), circuit().u8_at(88, 0).bytes());
}

TEST_F(VplsTest, AllParametersTogether) {
    mac_move_sec_enabled = mac_move_sec_action = ing_dis = egr_dis = stp_state_changed = 0xFFFFFFFF;
    EXPECT_EQ(sent_circuit(17, 5, 5), circuit().bytes_at(88, {0x04, 0x40, 0x0E, 0x18, 0x01}).bytes());
}

// --- cases ---

struct VplsCase {
    const char *name;
    kiv_function_t function;
    std::vector<std::pair<std::string, int>> checked;  // operation and the line of its check, in order
};

void PrintTo(const VplsCase &vpls_case, std::ostream *out) {
    *out << vpls_case.name;
}

class VplsCaseTest : public VplsTest, public testing::WithParamInterface<VplsCase> {};

// The file is read again by every case; a failing call is reported by its check alone and stops nothing.
TEST_P(VplsCaseTest, ReadsThenSendsAndChecks) {
    const VplsCase &vpls_case = GetParam();
    for (size_t failing = 0; failing <= vpls_case.checked.size(); ++failing) {
        SetUp();
        flash_file(kTcsInput, "BD-ID:5,UIDB:17");
        fail_call(static_cast<int>(failing), kFailure);
        const size_t last = vpls_case.checked.size();
        EXPECT_EQ(run(vpls_case.function), failing == last ? 0 : 1);
        std::vector<std::string> expected = {
            "print \" token = BD-ID, value = 5\\n\"", "print \"bd_id = 5\\n\"",
            "print \" token = UIDB, value = 17\\n\"", "print \"uidb = 17\\n\""};
        std::vector<std::string> seen = outline();
        ASSERT_GE(seen.size(), expected.size());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), seen.begin()));
        std::vector<std::string> steps;
        for (const standin::Event &event : standin::log()) {
            if (event.kind == standin::Kind::call) steps.push_back("call " + event.name);
            if (event.kind == standin::Kind::check) steps.push_back(event.line_text());
        }
        std::vector<std::string> expected_steps;
        for (size_t i = 0; i < last; ++i) {
            const auto &[operation, line] = vpls_case.checked[i];
            expected_steps.push_back("call " + operation);
            expected_steps.push_back(check(i + 1 == failing ? kFailure : 0, vpls_case.name, line));
        }
        EXPECT_EQ(steps, expected_steps) << "failing call " << failing;
        for (const standin::Event &event : calls()) {
            const standin::Bytes domain =
                RecordBuilder(2124).u32_at(0, 10).u32_at(12, 4).u32_at(20, 5).u32_at(68, 144);
            EXPECT_EQ(event.record(),
                      event.name.find("_bd_") != std::string::npos ? domain : circuit().bytes());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, VplsCaseTest,
    testing::Values(VplsCase{"tc_kiv_vpls_create_bd_with_ac",
                             tc_kiv_vpls_create_bd_with_ac,
                             {{"prm_srh_bd_add", 246}, {"prm_srh_xid_add", 249}}},
                    VplsCase{"tc_kiv_vpls_add_ac", tc_kiv_vpls_add_ac, {{"prm_srh_xid_add", 260}}},
                    VplsCase{"tc_kiv_vpls_mod_ac", tc_kiv_vpls_mod_ac, {{"prm_srh_xid_mod", 271}}},
                    VplsCase{"tc_kiv_vpls_del_ac", tc_kiv_vpls_del_ac, {{"prm_srh_xid_del", 282}}},
                    VplsCase{"tc_kiv_vpls_del_bd_with_ac",
                             tc_kiv_vpls_del_bd_with_ac,
                             {{"prm_srh_xid_del", 293}, {"prm_srh_bd_del", 296}}}),
    [](const auto &vpls_case) { return std::string(vpls_case.param.name); });

TEST_F(VplsTest, WholeTranscriptOfTheCreateCase) {
    flash_file(kTcsInput, "BD-ID:5,UIDB:17");
    EXPECT_EQ(run(tc_kiv_vpls_create_bd_with_ac), 1);
    EXPECT_THAT(transcript(),
                ElementsAre("print \" token = BD-ID, value = 5\\n\"", "print \"bd_id = 5\\n\"",
                            "print \" token = UIDB, value = 17\\n\"", "print \"uidb = 17\\n\"",
                            "print \"\\ncalling prm_srh_bd_add \\n\"",
                            "call prm_srh_bd_add(async, 2124{0:0a 12:04 20:05 68:90})",
                            check(0, "tc_kiv_vpls_create_bd_with_ac", 246),
                            "print \"\\ncalling prm_srh_xid_add for AC BIND\\n\"",
                            "call prm_srh_xid_add(async, 2124{0:0a 12:08 68:bc 88:0440 96:01 209:05 222:11})",
                            check(0, "tc_kiv_vpls_create_bd_with_ac", 249)));
    EXPECT_EQ(standin::allocations(), 0);
}

TEST_F(VplsTest, CaseWithoutAFileGoesOnWithWhatTheGlobalsHold) {
    uidb[0] = 9;
    EXPECT_EQ(run(tc_kiv_vpls_add_ac), 1);
    EXPECT_EQ(outline().front(), "stderr \"kiv_tcs_input_file: No such file or directory\\n\"");
    EXPECT_EQ(calls().back().record(), circuit(1, 9).bytes());
}

}  // namespace
