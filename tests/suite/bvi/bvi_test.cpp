// BVI: the reader, the interface steps, the decision table of the handlers and the four cases.
#include "prm_kiv_bvi.h"

#include <string.h>

#include "platform_info.h"
#include "prm_kiv_input.h"
#include "prm_kiv_tx_adj.h"
#include "prm_kiv_vpls.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::calls;
using standin::fail_call;
using standin::flash_file;
using standin::on;
using standin::outline;
using standin::printed;
using standin::RecordBuilder;
using standin::run;
using standin::transcript;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kTcsInput[] = "kiv_tcs_input_file";
constexpr char kGoodInput[] = "IFH:8000038,UIDB:70000";
constexpr uint32_t kFailure = 0x1234;

// A status that the step under test returns.
int status_of(prm_status_t (*step)(int), int argument) {
    return run([=] { return static_cast<int>(step(argument)); });
}
int xid_status(int kind, int op) {
    return run([=] { return static_cast<int>(prm_kiv_util_prm_srh_xid_handler(kind, op)); });
}

class BviTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        bd_id = 1;
        bvi_uidb = 0;
        ifh[0] = 0x8000038;
        uidb[0] = 70000;
        on("platform_get_my_card_type").returns(PLATFORM_CARD_TYPE_A);
    }
    static std::string check(const char *name, int line) {
        return check_line(0, 0, "CERR_SUCCESS", "prm/test/src/prm_kiv_bvi", name, line);
    }
};

RecordBuilder member(u32 kind, u32 uidb_index) {
    RecordBuilder record(2124);
    record.u32_at(0, 10).u32_at(12, 8).u32_at(68, 188).u8_at(89, 0x40).u32_at(96, kind);
    return record.u32_at(209, 1).u32_at(222, uidb_index);
}

// --- globals and reader ---

TEST_F(BviTest, GlobalsStartAsTheSiteExpects) {
    EXPECT_EQ(bvi_ifh, 0x800004Cu);
    EXPECT_THAT(bvi_mac, ElementsAre(0x02, 0x5E, 0x3B, 0xA7, 0x38, 0x31));
    EXPECT_THAT(bvi_mac_2, ElementsAre(0x02, 0x5E, 0x3B, 0xA7, 0x38, 0x32));
    EXPECT_EQ(bvi_vrf, 1u);
    EXPECT_EQ(bvi_vrf_2, 2u);
}

TEST_F(BviTest, ReaderStoresAndPrintsHandleAndUidb) {
    flash_file(kTcsInput, "UIDB:17,IFH:0x800004c\n");
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_read_bvi_input()); }), 0);
    EXPECT_THAT(transcript(),
                ElementsAre(print("\nNUM_INTF = 1\n"), print(" token = UIDB, value = 17\n"),
                            print("uidb = 17\n"), print(" token = IFH, value = 0x800004c\n\n"),
                            print("ifhandle = 0x800004C\n"), print("\nifh :0x 800004C, UIDB : 17\n")));
    EXPECT_EQ(ifh[0], 0x800004Cu);
    EXPECT_EQ(uidb[0], 17u);
}

TEST_F(BviTest, ReaderLooksAtTwoFieldsOnly) {
    flash_file(kTcsInput, "X:1,IFH:5,UIDB:6\nUIDB:7\n");
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_read_bvi_input()); }), 0);
    EXPECT_EQ(ifh[0], 5u);
    EXPECT_EQ(uidb[0], 70000u);
}

TEST_F(BviTest, FieldsWithoutValueLeaveTheGlobalsAlone) {
    flash_file(kTcsInput, "IFH,UIDB:");
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_read_bvi_input()); }), 0);
    EXPECT_THAT(transcript(),
                ElementsAre(print("\nNUM_INTF = 1\n"), print("\nifh :0x 8000038, UIDB : 70000\n")));
}

TEST_F(BviTest, MissingFileIsToldTwice) {
    EXPECT_EQ(run([] { return static_cast<int>(kiv_util_read_bvi_input()); }), 22);
    EXPECT_THAT(transcript(), ElementsAre(print("Error reading file"),
                                          "stderr \"kiv_tcs_input_file: No such file or directory\\n\""));
}

// --- interface steps ---

TEST_F(BviTest, InterfaceIsCreatedAndItsIndexTold) {
    on("uidb_create_interface").does([](standin::Call &call) { call.put<u16>(1, 22, 4064); });
    EXPECT_EQ(run([] { return static_cast<int>(prm_kiv_util_bvi_interface_create()); }), 0);
    EXPECT_THAT(
        transcript(),
        ElementsAre(print("channel_map = 0\n if_handle = 0x800004C iftype = 6     parent_ifh = 0x0\n"),
                    "call uidb_create_interface(0x12123434, 108{8:4c 11:08 16:06})",
                    print("UIDB Allocated = 4064")));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(BviTest, FailedCreateTellsTheIndexFirst) {
    fail_call(1, kFailure);
    EXPECT_EQ(run([] { return static_cast<int>(prm_kiv_util_bvi_interface_create()); }), int{kFailure});
    EXPECT_EQ(outline().at(2), print("UIDB Allocated = 0"));
    EXPECT_EQ(outline().at(3), print("\nuidb_create_interface failed\n"));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(BviTest, CreateWithoutMemorySendsNothing) {
    standin::fail_allocation(1);
    EXPECT_EQ(run([] { return static_cast<int>(prm_kiv_util_bvi_interface_create()); }), 22);
    EXPECT_THAT(transcript(), ElementsAre(print("\nCould not allocate uidb_create_msg\n")));
}

TEST_F(BviTest, FeatureSetSendsMacAndVrf) {
    EXPECT_EQ(status_of(prm_kiv_util_bvi_interface_feature_set, 1), 0);
    EXPECT_THAT(transcript(), ElementsAre(print("Call UIDB Set feature to set IP BVI MAC and VRF\n"),
                                          testing::StartsWith("call uidb_set_feature(0x12123434, 112{"),
                                          check("prm_kiv_util_bvi_interface_feature_set", 230),
                                          print("BVI MAC handling Succesfull\n")));
    RecordBuilder expected(112);
    expected.u32_at(0, 0x800004C).u16_at(4, 2).u16_at(6, 104);
    expected.u32_at(16, 465).bytes_at(20, {0x02, 0x5E, 0x3B, 0xA7, 0x38, 0x31}).u32_at(68, 259).u32_at(72, 1);
    EXPECT_EQ(calls()[0].record(), expected.bytes());
    EXPECT_EQ(standin::live_blocks(), 0u);

    EXPECT_EQ(status_of(prm_kiv_util_bvi_interface_feature_set, 0), 0);
    EXPECT_EQ(calls()[1].record(), expected.u8_at(25, 0x32).u32_at(72, 2).bytes());
}

TEST_F(BviTest, FailedFeatureSetIsToldAndNotChecked) {
    fail_call(1, kFailure);
    EXPECT_EQ(status_of(prm_kiv_util_bvi_interface_feature_set, 1), int{kFailure});
    EXPECT_EQ(outline().back(), print("\nuidb_set_feature failed\n"));
    EXPECT_THAT(standin::checks(), IsEmpty());
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_F(BviTest, FeatureSetWithoutMemoryAborts) {
    standin::fail_allocation(1);
    status_of(prm_kiv_util_bvi_interface_feature_set, 1);
    EXPECT_TRUE(standin::aborted());
    EXPECT_THAT(transcript(),
                ElementsAre(print("Malloc Failed for uidb_client_data \n"),
                            "condition false \"kiv_fail()\" prm/test/src/prm_kiv_bvi "
                            "prm_kiv_util_bvi_interface_feature_set 194 \"Memory allocation failed\"",
                            "abort"));
}

// --- bridge-domain handler ---

TEST_F(BviTest, BridgeDomainCarriesTheBviBit) {
    bd_id = 9;
    const standin::Bytes expected =
        RecordBuilder(2124).u32_at(0, 10).u32_at(12, 4).u32_at(20, 9).u32_at(68, 144).u8_at(73, 2);
    EXPECT_EQ(status_of(prm_kiv_util_prm_srh_bd_handler, 0), 0);
    EXPECT_EQ(status_of(prm_kiv_util_prm_srh_bd_handler, 1), 0);
    EXPECT_THAT(outline(), ElementsAre("call prm_srh_bd_add", "call prm_srh_bd_del"));
    EXPECT_EQ(calls()[0].record(), expected);
    EXPECT_EQ(calls()[1].record(), expected);
}

TEST_F(BviTest, BridgeDomainFailureAndUnknownOperation) {
    on("prm_srh_bd_add").returns(kFailure);
    on("prm_srh_bd_del").returns(kFailure);
    EXPECT_EQ(status_of(prm_kiv_util_prm_srh_bd_handler, 0), int{kFailure});
    EXPECT_EQ(status_of(prm_kiv_util_prm_srh_bd_handler, 1), int{kFailure});
    EXPECT_EQ(status_of(prm_kiv_util_prm_srh_bd_handler, 5), 28);
    EXPECT_THAT(outline(),
                ElementsAre("call prm_srh_bd_add", print("\nprm_srh_bd_add failed\n"), "call prm_srh_bd_del",
                            print("\nprm_srh_bd_del failed\n"), print("unsupported OP type")));
}

// --- decision table ---

const Lines kCardType = {"call platform_get_my_card_type", "call is_veltora_family"};

Lines l2_enable(u32 status) {
    char text[96];
    snprintf(text, sizeof text, "kiv_util_uidb_l2_enable:kiv_util_uidb_set_feature called rc=0x%x", status);
    return {
        print("Call UIDB Set feature\n"), "call uidb_set_feature",
        check_line(status, 0, "CERR_SUCCESS", "prm/test/src/prm_kiv_uidb", "kiv_util_uidb_set_feature", 0),
        print(text)};
}

Lines outline_without_lines() {
    Lines lines = outline();
    for (std::string &line : lines)
        if (line.rfind("check ", 0) == 0 && line.find("prm_kiv_uidb ") != std::string::npos)
            line = line.substr(0, line.rfind(' ')) + " 0";
    return lines;
}

TEST_F(BviTest, CircuitBindEnablesLayer2ThenAdds) {
    EXPECT_EQ(xid_status(1, 0), 0);
    EXPECT_EQ(outline_without_lines(), (Lines{print("\nFor AC\n"), print("\nADD case\n")} + l2_enable(0) +
                                        Lines{"call prm_srh_xid_add"}));
    EXPECT_EQ(calls()[0].as<uidb_client_data>().if_handle, 0x8000038u);
    EXPECT_EQ(calls().back().record(), member(1, 70000).bytes());  // 32 bits, as read
}

TEST_F(BviTest, CircuitBindStopsWhenLayer2CannotBeEnabled) {
    on("uidb_set_feature").returns(kFailure);
    EXPECT_EQ(xid_status(1, 0), int{kFailure});
    EXPECT_EQ(outline_without_lines(),
              (Lines{print("\nFor AC\n"), print("\nADD case\n")} + l2_enable(kFailure) +
               Lines{print("\nCan't enable l2transport on interface\n")}));
}

TEST_F(BviTest, CircuitRequestsAndTheirFailures) {
    on("prm_srh_xid_add").returns(kFailure);
    on("prm_srh_xid_del").returns(kFailure);
    on("prm_srh_xid_mod").returns(kFailure);
    EXPECT_EQ(xid_status(1, 0), int{kFailure});
    EXPECT_EQ(outline().back(), print("\nprm_srh_xid_add failed for AC bind\n"));

    EXPECT_EQ(xid_status(1, 1), int{kFailure});
    Lines lines = outline();
    EXPECT_EQ(Lines(lines.end() - 4, lines.end()),
              (Lines{print("\nFor AC\n"), print("\nDEL case\n"), "call prm_srh_xid_del",
                     print("\nprm_srh_xid_mod failed for AC update\n")}));
    EXPECT_EQ(calls().back().record(), member(1, 70000).bytes());

    EXPECT_EQ(xid_status(1, 5), int{kFailure});
    lines = outline();
    EXPECT_EQ(Lines(lines.end() - 4, lines.end()),
              (Lines{print("\nFor AC\n"), print("\nMOD case\n"), "call prm_srh_xid_mod",
                     print("\nprm_srh_xid_mod failed for AC update\n")}));
    EXPECT_EQ(calls().back().record(), member(1, 70000).u8_at(90, 0x40).u8_at(91, 0x80).bytes());
}

TEST_F(BviTest, CircuitHasNoOtherOperation) {
    for (const int op : {2, 3, 4, 6, -1}) {
        standin::reset();
        EXPECT_EQ(xid_status(1, op), 28);
        EXPECT_THAT(transcript(), ElementsAre(print("\nFor AC\n"), print("Invalid Operation Requested")));
    }
}

TEST_F(BviTest, BviBindCreatesSetsFindsAndAdds) {
    EXPECT_EQ(xid_status(7, 0), 0);
    EXPECT_EQ(
        outline(),
        (Lines{print("\nFor BVI\n"),
               print("channel_map = 0\n if_handle = 0x800004C iftype = 6     parent_ifh = 0x0\n"),
               "call uidb_create_interface", print("UIDB Allocated = 0"),
               print("Call UIDB Set feature to set IP BVI MAC and VRF\n"), "call uidb_set_feature",
               check("prm_kiv_util_bvi_interface_feature_set", 230), print("BVI MAC handling Succesfull\n")} +
         kCardType + Lines{print("\nbvi_uidb extracted = 4064\n"), "call prm_srh_xid_add"}));
    EXPECT_EQ(bvi_uidb, 4064u);
    EXPECT_EQ(calls().back().record(), member(7, 4064).bytes());
    EXPECT_EQ(calls()[1].field<u8>(25), 0x31);  // the first MAC address
}

TEST_F(BviTest, BviBindStopsAtTheFirstFailure) {
    on("uidb_create_interface").returns(kFailure);
    EXPECT_EQ(xid_status(7, 0), int{kFailure});
    EXPECT_EQ(outline().back(), print("\nbvi_interface_create failed\n"));
    EXPECT_EQ(calls().size(), 1u);

    SetUp();
    on("uidb_set_feature").returns(kFailure);
    EXPECT_EQ(xid_status(7, 0), int{kFailure});
    EXPECT_EQ(outline().back(), print("\nbvi_interface_feature_set failed\n"));

    SetUp();
    on("platform_get_my_card_type").returns(0x77);
    bvi_uidb = 3;
    EXPECT_EQ(xid_status(7, 0), 22);
    EXPECT_EQ(outline().back(), print("Failed to read BVI_UIDB"));
    EXPECT_EQ(bvi_uidb, 3u);
    EXPECT_THAT(calls("prm_srh_xid_add"), IsEmpty());

    SetUp();
    on("prm_srh_xid_add").returns(kFailure);
    EXPECT_EQ(xid_status(7, 0), int{kFailure});
    EXPECT_EQ(outline().back(), print("\nprm_srh_xid_add failed for BVI bind\n"));

    SetUp();
    standin::fail_allocation(1);
    EXPECT_EQ(xid_status(7, 0), 22);
    EXPECT_EQ(outline().back(), print("\nbvi_interface_create failed\n"));

    SetUp();
    standin::fail_allocation(2);
    xid_status(7, 0);
    EXPECT_TRUE(standin::aborted());
}

TEST_F(BviTest, BviUnbindFindsTheIndexFirst) {
    on("is_veltora_family").returns(1);
    EXPECT_EQ(xid_status(7, 1), 0);
    EXPECT_EQ(outline(), kCardType + (Lines{print("\nBvi_uidb extracted = 2016\n"), "call prm_srh_xid_del"}));
    EXPECT_EQ(calls().back().record(), member(7, 2016).bytes());

    on("prm_srh_xid_del").returns(kFailure);
    EXPECT_EQ(xid_status(7, 1), int{kFailure});
    EXPECT_EQ(outline().back(), print("\nprm_srh_xid_del failed for BVI delete\n"));

    SetUp();
    on("platform_get_my_card_type").returns(0x77);
    EXPECT_EQ(xid_status(7, 1), 22);
    EXPECT_EQ(outline(),
              kCardType + (Lines{print("\nINVALID CARD TYPE\n"), print("\nFailed to read BVI_UIDB\n")}));
}

TEST_F(BviTest, OtherBviOperationsAndKindsSendNothing) {
    for (const int op : {5, 2, -1}) {
        standin::reset();
        EXPECT_EQ(xid_status(7, op), 28);
        EXPECT_THAT(transcript(), ElementsAre(print("\nUnsupported operation\n")));
    }
    for (const int kind : {0, 2, 6, 8, -1}) {
        for (const int op : {0, 1, 5, -1}) {
            standin::reset();
            EXPECT_EQ(xid_status(kind, op), 22);
            EXPECT_THAT(transcript(), ElementsAre(print("Unknown/Unsupported xid type")));
        }
    }
}

// --- cases ---

struct BviCase {
    const char *name;
    kiv_function_t function;
    int line;
    Lines calls;  // of the successful run
    // For each call: the case's last print when it fails; empty where its failure stops nothing.
    std::vector<std::string> failures;
};

const Lines kCleanupCalls = {"prm_srh_xid_del",   "platform_get_my_card_type",
                             "is_veltora_family", "prm_srh_xid_del",
                             "prm_srh_bd_del",    "uidb_delete_interface"};

Lines names_of(const std::vector<standin::Event> &events) {
    Lines names;
    for (const standin::Event &event : events) names.push_back(event.name);
    return names;
}

void PrintTo(const BviCase &bvi_case, std::ostream *out) {
    *out << bvi_case.name;
}

class BviCaseTest : public BviTest, public testing::WithParamInterface<BviCase> {};

TEST_P(BviCaseTest, SuccessMakesItsCallsAndOneCheckOfItsOwn) {
    flash_file(kTcsInput, kGoodInput);
    EXPECT_EQ(run(GetParam().function), 1);
    EXPECT_EQ(names_of(calls()), GetParam().calls);
    EXPECT_EQ(transcript().back(), check(GetParam().name, GetParam().line));
    EXPECT_EQ(standin::live_blocks(), 0u);
}

TEST_P(BviCaseTest, MissingFileEndsTheCaseUnchecked) {
    EXPECT_EQ(run(GetParam().function), 0);
    EXPECT_EQ(outline().back(), print("\nFailed to read input file\n"));
    EXPECT_THAT(standin::checks(), IsEmpty());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_P(BviCaseTest, FirstFailingStepEndsTheCaseWithItsText) {
    const BviCase &bvi_case = GetParam();
    ASSERT_EQ(bvi_case.failures.size(), bvi_case.calls.size());
    for (size_t i = 0; i < bvi_case.calls.size(); ++i) {
        // A card type of nothing known is what makes the index unreadable; it answers no status.
        const bool family = bvi_case.calls[i] == "is_veltora_family";
        SetUp();
        flash_file(kTcsInput, kGoodInput);
        fail_call(static_cast<int>(i + 1), family ? 1 : kFailure);
        const int result = run(bvi_case.function);
        SCOPED_TRACE(bvi_case.calls[i] + " is call " + std::to_string(i + 1));
        if (bvi_case.failures[i].empty()) {
            EXPECT_EQ(result, 1);
            EXPECT_EQ(transcript().back(), check(bvi_case.name, bvi_case.line));
        } else {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(outline().back(), print(bvi_case.failures[i]));
            EXPECT_EQ(calls().size(), family ? i + 1 : calls().size());
            for (const standin::Event &event : standin::checks()) EXPECT_NE(event.function, bvi_case.name);
        }
        EXPECT_EQ(standin::live_blocks(), 0u);
    }
}

constexpr char kBdFailed[] = "\nprm_kiv_util_prm_srh_bd_handler failed\n";
constexpr char kBviFailed[] = "\nprm_kiv_util_prm_srh_xid_handler failed for BVI\n";
constexpr char kAcFailed[] = "\nprm_kiv_util_prm_srh_xid_handler failed for AC\n";
constexpr char kFirstAcFailed[] = "\nprm_kiv_util_prm_srh_xid_handler 1 for AC failed\n";

INSTANTIATE_TEST_SUITE_P(
    Cases, BviCaseTest,
    testing::Values(
        BviCase{"tc_kiv_bvI_with_ac_main_port_in_bd_bvi_bind_first",
                tc_kiv_bvI_with_ac_main_port_in_bd_bvi_bind_first,
                475,
                {"prm_srh_bd_add", "uidb_create_interface", "uidb_set_feature", "platform_get_my_card_type",
                 "is_veltora_family", "prm_srh_xid_add", "uidb_set_feature", "prm_srh_xid_add"},
                {kBdFailed, kBviFailed, kBviFailed, kBviFailed, "", kBviFailed, kAcFailed, kAcFailed}},
        // The cleanup comes first and its failures are ignored.
        BviCase{
            "tc_kiv_bvI_with_ac_main_port_in_bd_ac_bind_first",
            tc_kiv_bvI_with_ac_main_port_in_bd_ac_bind_first,
            528,
            kCleanupCalls + Lines{"prm_srh_bd_add", "uidb_set_feature", "prm_srh_xid_add",
                                  "uidb_create_interface", "uidb_set_feature", "platform_get_my_card_type",
                                  "is_veltora_family", "prm_srh_xid_add", "prm_srh_xid_mod"},
            {"", "", "", "", "", "", kBdFailed, kFirstAcFailed, kFirstAcFailed, kBviFailed, kBviFailed,
             kBviFailed, "", kBviFailed, "\nprm_kiv_util_prm_srh_xid_add_mod 2 for AC failed\n"}},
        BviCase{
            "tc_kiv_bvi_vrf_and_mac_modify",
            tc_kiv_bvi_vrf_and_mac_modify,
            562,
            {"uidb_set_feature", "prm_srh_xid_mod"},
            {"\nbvi_interface_feature_set failed\n", "\nprm_kiv_util_prm_srh_xid_handler for AC failed\n"}},
        BviCase{"tc_kiv_bvi_cleanup",
                tc_kiv_bvi_cleanup,
                613,
                kCleanupCalls,
                {"\nxid_handler for AC Delete failed\n", "\nxid_handler failed for BVI Delete failed\n", "",
                 "\nxid_handler failed for BVI Delete failed\n", "\nbd_handler failed for BVI Delete\n",
                 "\nFailed to delete BVI interface\n"}}),
    [](const auto &bvi_case) { return std::string(bvi_case.param.name); });

TEST_F(BviTest, ModifyCaseSendsTheSecondMacAndVrfAndTheModifyBits) {
    flash_file(kTcsInput, kGoodInput);
    EXPECT_EQ(run(tc_kiv_bvi_vrf_and_mac_modify), 1);
    EXPECT_EQ(calls()[0].field<u8>(25), 0x32);
    EXPECT_EQ(calls()[0].field<u32>(72), 2u);
    EXPECT_EQ(calls()[1].record(), member(1, 70000).u8_at(90, 0x40).u8_at(91, 0x80).bytes());
}

TEST_F(BviTest, CleanupNamesTheInterfaceToDelete) {
    flash_file(kTcsInput, kGoodInput);
    EXPECT_EQ(run(tc_kiv_bvi_cleanup), 1);
    EXPECT_EQ(transcript().at(transcript().size() - 2), "call uidb_delete_interface(0x12123434, 0x800004c)");
}

}  // namespace
