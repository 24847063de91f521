// Sub-interface steps and cases: every request, print and check, on success, with each call failing and
// without memory.
#include "prm_kiv_subif.h"

#include <string.h>

#include "prm_kiv_input.h"
#include "tests/suite/subif/subif_script.h"

namespace {

using standin::flash_file;
using standin::run;
using standin::transcript;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kInterfaces[] =
    "INTF_NAME:Gi0,NP_PORT:300,MAIN_IFH:8000088\n"
    "MAIN_IFH:0x80000c8,NP_PORT:7,INTF_NAME:Gi1\n";
constexpr char kParameters[] =
    "SUB_IFH:1a0,OVLAN:100,IVLAN:0,OTPID:8100\n"
    "SUB_IFH:1a1,OVLAN:101,IVLAN:5,OTPID:88a8\n"
    "OTPID:8100,IVLAN:0,OVLAN:0,SUB_IFH:1a2\n"
    "SUB_IFH:1a3,OVLAN:0,IVLAN:9,OTPID:9100\n";

class SubifTest : public SuiteTest {
  protected:
    void SetUp() override { start(); }
    static void start() {
        standin::reset();
        zor_kiv_evm = standin::kEvm;
        prm_mgr_handle = standin::kMgr;
        prm_async_handle = standin::kAsync;
        memset(&port, 0, sizeof port);
        memset(create_ifh, 0, sizeof create_ifh);
        memset(parent_ifh, 0, sizeof parent_ifh);
        memset(&ovlan, 0, sizeof ovlan);
        memset(&ivlan, 0, sizeof ivlan);
        memset(&otpid, 0, sizeof otpid);
        flash_file("kiv_input_file", kInterfaces);
        flash_file("kiv_tcs_input_file", kParameters);
    }

    // The four sub-interfaces of the files above; 300 is cut to the byte 44.
    static std::vector<Subif> subifs(bool l2) {
        std::vector<Subif> result = {{0x8000088, 0x1A0, 44, 0, 100, 0, 0x8100},
                                     {0x8000088, 0x1A1, 44, 0, 101, 5, 0x88A8},
                                     {0x80000C8, 0x1A2, 7, 0, 0, 0, 0x8100},
                                     {0x80000C8, 0x1A3, 7, 0, 0, 9, 0x9100}};
        for (Subif &s : result) s.l2 = l2;
        return result;
    }
    static void expect_interface_lines(Script &script) {
        script.print(" token = INTF_NAME, value = Gi0\n");
        script.print(" token = NP_PORT, value = 300\n");
        script.print(" token = MAIN_IFH, value = 8000088\n\n");
        script.print(" token = MAIN_IFH, value = 0x80000c8\n");
        script.print(" token = NP_PORT, value = 7\n");
        script.print(" token = INTF_NAME, value = Gi1\n\n");
    }

    static void run_with_every_call_failing(kiv_function_t function,
                                            const std::function<int(Script &)> &flow) {
        ::run_with_every_call_failing(function, kSubifFile, start, flow);
    }
};

TEST_F(SubifTest, Layer3CreateSendsEveryStepForTheFourAndIpv4Last) {
    run_with_every_call_failing(tc_kiv_create_sub_interfaces, [](Script &script) {
        expect_interface_lines(script);
        int result = 0, granted = 0;
        for (const Subif &s : subifs(false))
            result = script.check(expect_cfg_subif(script, s, granted), "tc_kiv_create_sub_interfaces", 432);
        return result;
    });
    EXPECT_EQ(standin::calls().size(), 4u * 6u);
}

TEST_F(SubifTest, Layer2CreateEndsWithTheEncapsulation) {
    run_with_every_call_failing(tc_kiv_create_l2_sub_interfaces, [](Script &script) {
        expect_interface_lines(script);
        int result = 0, granted = 0;
        for (const Subif &s : subifs(true))
            result =
                script.check(expect_cfg_subif(script, s, granted), "tc_kiv_create_l2_sub_interfaces", 449);
        return result;
    });
    EXPECT_EQ(standin::calls().size(), 4u * 5u);
}

template <bool kL2>
int modify_flow(Script &script, const std::vector<Subif> &subifs, const char *function, int line) {
    int result = 0;
    for (const Subif &s : subifs) {
        Subif cleared;
        cleared.handle = s.handle;
        cleared.l2 = kL2;
        expect_chg_encap(script, cleared);
        result = script.check(expect_chg_encap(script, s), function, line);
    }
    return result;
}

TEST_F(SubifTest, ModifyClearsEachEncapsulationUncheckedAndSetsItAgain) {
    run_with_every_call_failing(tc_kiv_modify_sub_interfaces, [](Script &script) {
        return modify_flow<false>(script, subifs(false), "tc_kiv_modify_sub_interfaces", 485);
    });
}

TEST_F(SubifTest, Layer2ModifyKeepsTheLayer2FlagInBothRequests) {
    run_with_every_call_failing(tc_kiv_modify_l2_sub_interfaces, [](Script &script) {
        return modify_flow<true>(script, subifs(true), "tc_kiv_modify_l2_sub_interfaces", 502);
    });
}

TEST_F(SubifTest, DeleteGivesTheClientHandleInPlaceOfTheCookie) {
    run_with_every_call_failing(tc_kiv_delete_sub_interfaces, [](Script &script) {
        int result = 0;
        for (const Subif &s : subifs(false))
            result = script.check(script.call("uidb_delete_interface(async, " + shown(s.handle) + ")"),
                                  "tc_kiv_delete_sub_interfaces", 535);
        return result;
    });
}

TEST_F(SubifTest, ModifyAndDeleteReadTheParameterFileOnly) {
    for (kiv_function_t function :
         {tc_kiv_modify_sub_interfaces, tc_kiv_modify_l2_sub_interfaces, tc_kiv_delete_sub_interfaces}) {
        start();
        standin::flash_unopenable("kiv_input_file");
        run(function);
        for (const standin::Event &event : standin::log()) EXPECT_NE(event.kind, standin::Kind::err);
        EXPECT_EQ(parent_ifh[0], 0u);
    }
}

TEST_F(SubifTest, CasesGoOnWithTheEarlierValuesWhenTheFilesAreMissing) {
    standin::reset();
    prm_async_handle = standin::kAsync;
    EXPECT_EQ(run(tc_kiv_delete_sub_interfaces), 1);
    EXPECT_EQ(standin::calls().size(), 4u);
    EXPECT_EQ(standin::log().front().kind, standin::Kind::err);
    EXPECT_THAT(standin::log().front().text, testing::StartsWith("kiv_tcs_input_file: "));
    EXPECT_EQ(standin::calls()[0].arguments[1].number, 0u);
}

TEST_F(SubifTest, OuterVlanOfZeroIsOneTagAtCreationAndNoneAfterAChange) {
    const auto tags_of = [](const standin::Event &call) { return call.field<uint32_t>(216 + 12); };
    struct {
        uint32_t outer, inner, created, changed;
    } const rows[] = {{0, 0, 1, 0}, {0, 9, 2, 0}, {5, 0, 1, 1}, {5, 9, 2, 2}};
    for (const auto &row : rows) {
        start();
        run([&] { return static_cast<int>(kiv_util_cfg_subif(1, 2, 3, 0, row.outer, row.inner, 0, 1, 0)); });
        EXPECT_EQ(tags_of(standin::calls("uidb_set_feature").at(0)), row.created);
        start();
        run([&] { return static_cast<int>(kiv_util_chg_subif_encap(2, row.outer, row.inner, 0, 1)); });
        EXPECT_EQ(tags_of(standin::calls("uidb_set_feature").at(0)), row.changed);
    }
}

TEST_F(SubifTest, BundleSubInterfaceCarriesTheLowByteOfItsBundle) {
    Script script(kSubifFile);
    Subif s{0x10, 0x20, 0x1FF, 0x105, 1, 0, 0x8100};
    s.in_bundle = true;
    int granted = 0;
    expect_cfg_subif(script, s, granted);
    EXPECT_EQ(run([] {
                  return static_cast<int>(kiv_util_cfg_subif(0x10, 0x20, 0x1FF, 0x105, 1, 0, 0x8100, 0, 1));
              }),
              0);
    EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
}

TEST_F(SubifTest, StepReturnsTheStatusOfItsLastCallAlone) {
    const auto create = [](u32 l2) {
        return [l2] { return static_cast<int>(kiv_util_cfg_subif(1, 2, 3, 0, 4, 0, 5, l2, 0)); };
    };
    for (int n = 1; n <= 6; ++n) {
        start();
        standin::fail_call(n, kScriptFailure);
        EXPECT_EQ(run(create(0)), n == 6 ? 0x1234 : 0) << n;
    }
    for (int n = 1; n <= 5; ++n) {
        start();
        standin::fail_call(n, kScriptFailure);
        EXPECT_EQ(run(create(1)), n == 5 ? 0x1234 : 0) << n;
    }
}

TEST_F(SubifTest, FewerStatisticsThanAskedForAreToldAndUsed) {
    standin::on("prm_stats_cl_alloc").does([](standin::Call &call) { *call.pointer<uint32_t>(4) = 3; });
    run([] { return static_cast<int>(kiv_util_cfg_subif(1, 2, 3, 0, 4, 0, 5, 1, 0)); });
    EXPECT_THAT(transcript(), Contains("print \"Got 3 stats, asked for 1 Stats\\n\"").Times(2));
    EXPECT_EQ(standin::calls("uidb_set_feature_batch").at(0).field<uint32_t>(108 + 12), 0x5001u);
}

TEST_F(SubifTest, CreateWithoutMemoryForTheInterfaceGoesOnWithCode22) {
    standin::fail_allocation(1);
    run([] { return static_cast<int>(kiv_util_cfg_subif(1, 2, 3, 0, 4, 0, 5, 1, 0)); });
    EXPECT_FALSE(standin::aborted());
    const std::vector<std::string> lines = transcript();
    EXPECT_EQ(lines[0], "print \"Could not allocate uidb_create_msg\\n\"");
    EXPECT_EQ(lines[1], check_line(22, 0, "CERR_SUCCESS", kSubifFile, "kiv_util_cfg_subif", 48));
    EXPECT_EQ(lines[2], "print \"subif creation successful\\n\"");
    EXPECT_EQ(standin::calls().size(), 4u);
}

// The last lines of a run that ended without memory.
void expect_end(const std::string &print, const std::string &function, int line) {
    EXPECT_TRUE(standin::aborted());
    Script script(kSubifFile);
    script.print(print);
    script.no_memory(function, line);
    const std::vector<std::string> lines = transcript();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_THAT(std::vector<std::string>(lines.end() - 3, lines.end()), ElementsAreArray(script.lines()));
}

TEST_F(SubifTest, LaterAllocationsThatFailEndTheProcess) {
    struct {
        int allocation;
        const char *print;
        int line;
        size_t calls;
    } const rows[] = {{2, "kiv_util_cfg_subif 69 Memory allocation failed\n", 70, 3},
                      {3, "Malloc Failed for uidb_client_data \n", 127, 4},
                      {4, "kiv_util_cfg_subif 191 Memory allocation failed\n", 192, 5}};
    for (const auto &row : rows) {
        start();
        standin::fail_allocation(row.allocation);
        run(tc_kiv_create_sub_interfaces);
        expect_end(row.print, "kiv_util_cfg_subif", row.line);
        EXPECT_EQ(standin::calls().size(), row.calls);
    }
    start();
    standin::fail_allocation(1);
    run(tc_kiv_modify_sub_interfaces);
    expect_end("Malloc Failed for uidb_client_data \n", "kiv_util_chg_subif_encap", 242);
    EXPECT_THAT(standin::calls(), IsEmpty());
}

TEST_F(SubifTest, CasesAllocateExactlyTheirMessages) {
    run(tc_kiv_create_sub_interfaces);
    EXPECT_EQ(standin::allocations(), 4 * 4);
    run(tc_kiv_create_l2_sub_interfaces);
    EXPECT_EQ(standin::allocations(), 4 * 3);
    run(tc_kiv_modify_sub_interfaces);
    EXPECT_EQ(standin::allocations(), 4 * 2);
    run(tc_kiv_delete_sub_interfaces);
    EXPECT_EQ(standin::allocations(), 0);
}

class BviUidbTest : public SubifTest {
  protected:
    static int query(uint32_t family, uint32_t type, u32 *uidb) {
        start();
        standin::on("is_veltora_family").returns(family);
        standin::on("platform_get_my_card_type").returns(type);
        return run([uidb] { return static_cast<int>(kiv_util_get_bvi_uidb(uidb)); });
    }
};

TEST_F(BviUidbTest, FamilyDecidesBeforeTheType) {
    u32 uidb = 1;
    EXPECT_EQ(query(1, 0x1E1001, &uidb), 0);
    EXPECT_EQ(uidb, 2016u);
    EXPECT_THAT(transcript(), ElementsAre("call platform_get_my_card_type(0)", "call is_veltora_family()"));
}

TEST_F(BviUidbTest, KnownTypesOutsideTheFamilyShareAnIndex) {
    for (uint32_t type : {0x1E1001u, 0x1E1002u}) {
        u32 uidb = 1;
        EXPECT_EQ(query(0, type, &uidb), 0);
        EXPECT_EQ(uidb, 4064u);
    }
}

TEST_F(BviUidbTest, UnknownTypeIsToldAndLeavesTheIndex) {
    for (uint32_t type : {0u, 0x1E1000u, 0x1E1003u, 0xFFFFFFFFu}) {
        u32 uidb = 77;
        EXPECT_EQ(query(0, type, &uidb), 22);
        EXPECT_EQ(uidb, 77u);
        EXPECT_THAT(transcript(), ElementsAre("call platform_get_my_card_type(0)", "call is_veltora_family()",
                                              "print \"\\nINVALID CARD TYPE\\n\""));
    }
}

}  // namespace
