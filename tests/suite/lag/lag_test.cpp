// Bundle steps and cases: every request, print and check, on success, with each call failing and without
// memory. The lines of this area's checks are its source's own and are not compared.
#include "prm_kiv_lag.h"

#include <string.h>

#include "prm_kiv_input.h"
#include "tests/suite/subif/subif_script.h"

namespace {

using standin::flash_file;
using standin::run;
using standin::transcript;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kFile[] = "prm/test/src/prm_kiv_lag";
constexpr uint32_t kBundle = 0x8000040;
constexpr uint32_t kLag = 9;
constexpr uint32_t kPorts[2] = {0x104, 0x105};  // the first sub-interfaces' ports are 4 and 5

constexpr char kBundleParameters[] = "BDL_IFH:8000040,LAG_ID:9\n";
constexpr char kSubifParameters[] =
    "SUB_IFH:1a0,OVLAN:100,IVLAN:0,OTPID:8100,BDL_IFH:8000040,LAG_ID:9\n"
    "LAG_ID:10,SUB_IFH:1a1,OTPID:88a8,BDL_IFH:8000041,IVLAN:7,OVLAN:0\n";

// The bundle update as the client gets it.
std::string update(uint32_t operation, uint32_t lag, const std::vector<uint32_t> &ports) {
    standin::RecordBuilder record(76);
    record.u8_at(0, lag).u8_at(66, static_cast<uint32_t>(ports.size())).u32_at(68, operation);
    for (size_t i = 0; i < ports.size(); ++i) record.u16_at(2 + 2 * i, ports[i]);
    return "uidb_update_lag(0x12123434, " + shown(record) + ")";
}

class LagTest : public SuiteTest {
  protected:
    void SetUp() override { start(kBundleParameters); }
    static void start(const char *parameters) {
        standin::reset();
        prm_async_handle = standin::kAsync;
        memset(&port, 0, sizeof port);
        memset(create_ifh, 0, sizeof create_ifh);
        memset(parent_ifh, 0, sizeof parent_ifh);
        memset(sub_lag_id, 0, sizeof sub_lag_id);
        memset(&ovlan, 0, sizeof ovlan);
        memset(&ivlan, 0, sizeof ivlan);
        memset(&otpid, 0, sizeof otpid);
        bdl_ifh = 0;
        lag_id = 0;
        flash_file("kiv_input_file", "INTF_NAME:Gi0,NP_PORT:260,MAIN_IFH:1c0\nNP_PORT:261,INTF_NAME:Gi1\n");
        flash_file("kiv_tcs_input_file", parameters);
    }

    static void run_with_every_call_failing(kiv_function_t function, const char *parameters,
                                            const std::function<int(Script &)> &flow) {
        ::run_with_every_call_failing(
            function, kFile, [=] { start(parameters); }, flow, LineNumbers::cut);
    }
};

// --- Steps ---

int as_int(prm_status_t rc) {
    return static_cast<int>(rc);
}

TEST_F(LagTest, UpdateStepsFillOperationBundleAndMembers) {
    const u16 ports[] = {7, 0x1234, 9};
    const auto expect_update = [](const std::function<int()> &step, const std::string &call) {
        standin::reset();
        EXPECT_EQ(run(step), 0);
        EXPECT_THAT(transcript(), testing::ElementsAre("call " + call));
    };
    expect_update([&] { return as_int(kiv_util_lag_create(2, ports, 0x105)); }, update(0, 5, {7, 0x1234}));
    expect_update([&] { return as_int(kiv_util_lag_set_members(3, ports, 1)); },
                  update(1, 1, {7, 0x1234, 9}));
    expect_update([] { return as_int(kiv_util_lag_delete(3)); }, update(2, 3, {}));
    expect_update([] { return as_int(kiv_util_lag_member_cfg(0x12345, 3, 5)); }, update(3, 3, {0x2345}));
    expect_update([] { return as_int(kiv_util_lag_member_cfg(8, 3, 0)); }, update(4, 3, {8}));
}

TEST_F(LagTest, CountOfZeroAndOf256CopiesNoPorts) {
    for (u32 count : {0u, 256u}) {
        standin::reset();
        run([count] { return as_int(kiv_util_lag_create(count, nullptr, 1)); });
        EXPECT_THAT(transcript(), testing::ElementsAre("call " + update(0, 1, {})));
    }
}

TEST_F(LagTest, AtMost32PortsAreCopied) {
    std::vector<u16> ports(40);
    for (size_t i = 0; i < ports.size(); ++i) ports[i] = static_cast<u16>(i + 1);
    run([&] { return as_int(kiv_util_lag_create(40, ports.data(), 1)); });
    const standin::Event call = standin::calls().at(0);
    EXPECT_EQ(call.field<uint16_t>(2 + 2 * 31), 32);
    EXPECT_EQ(call.field<uint8_t>(66), 40);
    EXPECT_EQ(call.field<uint8_t>(67), 0);
}

TEST_F(LagTest, CallStatusWinsOverTheOperationsOwn) {
    const auto own_result = [](standin::Call &call) { call.put<uint32_t>(1, 72, 0x77); };
    standin::on("uidb_update_lag").does(own_result).returns_on(1, kScriptFailure);
    EXPECT_EQ(run([] { return as_int(kiv_util_lag_delete(1)); }), 0x1234);
    EXPECT_EQ(run([] { return as_int(kiv_util_lag_delete(1)); }), 0x77);
}

// --- Main interface ---

uint32_t expect_main_interface(Script &script, uint32_t l2_flag, uint32_t lag, uint32_t bundle,
                               const std::vector<uint32_t> &members) {
    const std::string step = "kiv_util_cfg_bdl_main_if";
    script.print(formatted("if_handle = 0x%X\n iftype = %u \n", bundle, 3));
    script.print("Calling uidb_create_single_interface\n");
    uint32_t rc = script.call("uidb_create_interface_batch(0x12123434, " +
                              shown(standin::RecordBuilder(108).u32_at(8, bundle).u32_at(16, 3)) + ", 1)");
    script.check(rc, step, 0);
    script.print("Bdl uidb creation successful\n");

    script.print("Call UIDB Set feature\n");
    rc = script.call("uidb_set_feature(0x12123434, " +
                     shown(standin::RecordBuilder(112)
                               .u32_at(0, bundle)
                               .u16_at(4, 2)
                               .u16_at(6, 104)
                               .u32_at(8 + 8, 156)
                               .u32_at(8 + 12, l2_flag)
                               .u32_at(60 + 8, 155)
                               .u32_at(60 + 12, lag)) +
                     ")");
    script.check(rc, step, 0);

    script.print("Setting src mac\n");
    rc = script.call("uidb_set_port_feature(0x12123434, " +
                     shown(standin::RecordBuilder(28)
                               .u16_at(8, lag & 255)
                               .u32_at(12, 468)
                               .bytes_at(16, {0x12, 0x12, 0x34, 0x34, 0x12, 0x12})
                               .u32_at(24, 1)) +
                     ")");
    script.check(rc, step, 0);
    script.print("MAc Address Set Successful\n");

    script.check(script.call(update(3, lag, {members[0]})), step, 0);
    rc = script.call(update(0, lag, members));
    script.check(rc, step, 0);
    script.print("Trunk create Successful\n");
    return rc;
}

TEST_F(LagTest, CreateConfiguresTheFirstMemberAndThenFormsTheTrunkOfIt) {
    run_with_every_call_failing(tc_kiv_create_bdl_l2_main_if, kBundleParameters, [](Script &script) {
        return script.check(expect_main_interface(script, 1, kLag, kBundle, {kPorts[0]}),
                            "tc_kiv_create_bdl_l2_main_if", 0);
    });
    run_with_every_call_failing(tc_kiv_create_bdl_l3_main_if, kBundleParameters, [](Script &script) {
        return script.check(expect_main_interface(script, 0, kLag, kBundle, {kPorts[0]}),
                            "tc_kiv_create_bdl_l3_main_if", 0);
    });
}

TEST_F(LagTest, CreateStepTakesItsMembersFromTheCaller) {
    const u16 ports[] = {11, 12};
    Script script(kFile);
    expect_main_interface(script, 1, 5, 0x77, {11, 12});
    EXPECT_EQ(run([&] { return as_int(kiv_util_cfg_bdl_main_if(5, 0x77, 1, 2, ports)); }), 0);
    EXPECT_THAT(without_line_numbers(transcript()), ElementsAreArray(without_line_numbers(script.lines())));
}

TEST_F(LagTest, CreateReportsTheOperationsOwnResultToo) {
    standin::on("uidb_update_lag").does([](standin::Call &call) { call.put<uint32_t>(1, 72, 0x77); });
    EXPECT_EQ(run(tc_kiv_create_bdl_l2_main_if), 0);
    std::vector<uint32_t> statuses;
    for (const standin::Event &check : standin::checks()) statuses.push_back(check.status);
    EXPECT_THAT(statuses, testing::ElementsAre(0, 0, 0, 0x77, 0x77, 0x77));
}

TEST_F(LagTest, CreateWithoutMemoryForTheInterfaceGoesOnWithCode22) {
    standin::fail_allocation(1);
    EXPECT_EQ(run(tc_kiv_create_bdl_l2_main_if), 1);
    const std::vector<std::string> lines = without_line_numbers(transcript());
    EXPECT_EQ(lines[0], "print \"Could not allocate uidb_create_msg\\n\"");
    EXPECT_EQ(lines[1], "check 0x16 0x0 \"CERR_SUCCESS\" prm/test/src/prm_kiv_lag kiv_util_cfg_bdl_main_if");
    EXPECT_EQ(lines[2], "print \"Bdl uidb creation successful\\n\"");
    EXPECT_EQ(standin::calls().size(), 4u);
}

TEST_F(LagTest, CreateWithoutMemoryForTheFeaturesEndsTheProcess) {
    standin::fail_allocation(2);
    run(tc_kiv_create_bdl_l3_main_if);
    EXPECT_TRUE(standin::aborted());
    EXPECT_EQ(standin::calls().size(), 1u);
    const standin::Event check = standin::checks().back();
    EXPECT_EQ(check.condition_text, "kiv_fail()");
    EXPECT_EQ(check.text, "Memory allocation failed");
    EXPECT_EQ(check.file, kFile);
    EXPECT_EQ(check.function, "kiv_util_cfg_bdl_main_if");
    EXPECT_THAT(standin::printed(), testing::EndsWith("Malloc Failed for uidb_client_data \n"));
}

TEST_F(LagTest, DeleteTakesTheTrunkFirstThenItsMemberThenTheInterface) {
    run_with_every_call_failing(tc_kiv_delete_bdl_main_if, kBundleParameters, [](Script &script) {
        const std::string name = "tc_kiv_delete_bdl_main_if";
        script.check(script.call(update(2, kLag, {})), name, 0);
        script.print("Trunk Deletion Successful\n");
        script.check(script.call(update(4, kLag, {kPorts[0]})), name, 0);
        const int result = script.check(script.call("uidb_delete_interface(0x12123434, 0x8000040)"), name, 0);
        script.print("Deleting Main Bdl interface successful\n");
        return result;
    });
}

// --- Members ---

struct MemberCase {
    kiv_function_t function;
    const char *name;
    uint32_t operation;
    std::vector<uint32_t> members;
    const char *before;
    const char *after;
};

class LagMemberTest : public LagTest, public testing::WithParamInterface<MemberCase> {};

TEST_P(LagMemberTest, TellsUpdatesChecksAndTells) {
    run_with_every_call_failing(GetParam().function, kBundleParameters, [](Script &script) {
        script.print(GetParam().before);
        const int result = script.check(script.call(update(GetParam().operation, kLag, GetParam().members)),
                                        GetParam().name, 0);
        script.print(GetParam().after);
        return result;
    });
}

INSTANTIATE_TEST_SUITE_P(Cases, LagMemberTest,
                         testing::Values(MemberCase{tc_kiv_cfg_bdl_member,
                                                    "tc_kiv_cfg_bdl_member",
                                                    3,
                                                    {kPorts[1]},
                                                    "Configure one trunk member\n",
                                                    "Adding members to trunk successful\n"},
                                         MemberCase{tc_kiv_uncfg_bdl_member,
                                                    "tc_kiv_uncfg_bdl_member",
                                                    4,
                                                    {kPorts[1]},
                                                    "Configure one trunk member\n",
                                                    "Adding members to trunk successful\n"},
                                         MemberCase{tc_kiv_add_bdl_members,
                                                    "tc_kiv_add_bdl_members",
                                                    1,
                                                    {kPorts[0], kPorts[1]},
                                                    "Add 1 trunk member\n",
                                                    "Adding members to trunk successful\n"},
                                         MemberCase{tc_kiv_remove_bdl_members,
                                                    "tc_kiv_remove_bdl_members",
                                                    1,
                                                    {kPorts[0]},
                                                    "Remove 1 trunk member\n",
                                                    "Removing members to trunk successful\n"}),
                         [](const auto &param) { return std::string(param.param.name); });

TEST_F(LagTest, MissingFilesAreToldAndTheEarlierValuesUsed) {
    standin::reset();
    lag_id = 3;
    port.number[1] = 8;
    EXPECT_EQ(run(tc_kiv_cfg_bdl_member), 1);
    const std::string errors = standin::log().front().text;
    EXPECT_THAT(errors, testing::StartsWith("kiv_input_file: "));
    EXPECT_THAT(errors, testing::HasSubstr("\nkiv_tcs_input_file: "));
    EXPECT_EQ(transcript()[2], "call " + update(3, 3, {8}));
}

// --- Sub-interfaces ---

std::vector<Subif> bundle_subifs() {
    std::vector<Subif> result = {{kBundle, 0x1A0, 4, 9, 100, 0, 0x8100},
                                 {kBundle + 1, 0x1A1, 5, 10, 0, 7, 0x88A8}};
    for (Subif &s : result) s.in_bundle = true;
    return result;
}

void expect_subif_reader(Script &script) {
    script.print("otpid = 33024\n");
    script.print("otpid = 34984\n");
}

TEST_F(LagTest, SubInterfaceCreateUsesThePortsOfAnEarlierCase) {
    run_with_every_call_failing(
        // The earlier case's values, set here because each run starts afresh.
        [] {
            port.number[0] = kPorts[0];
            port.number[1] = kPorts[1];
            return tc_kiv_create_bdl_sub_interfaces();
        },
        kSubifParameters,
        [](Script &script) {
            expect_subif_reader(script);
            int result = 0, granted = 0;
            for (const Subif &s : bundle_subifs())
                result =
                    script.check(expect_cfg_subif(script, s, granted), "tc_kiv_create_bdl_sub_interfaces", 0);
            return result;
        });
    for (const standin::Event &event : standin::log()) EXPECT_NE(event.kind, standin::Kind::err);
}

TEST_F(LagTest, SubInterfaceModifyClearsUncheckedAndSetsAgain) {
    run_with_every_call_failing(tc_kiv_modify_bdl_sub_interfaces, kSubifParameters, [](Script &script) {
        expect_subif_reader(script);
        int result = 0;
        for (const Subif &s : bundle_subifs()) {
            Subif cleared;
            cleared.handle = s.handle;
            expect_chg_encap(script, cleared);
            result = script.check(expect_chg_encap(script, s), "tc_kiv_modify_bdl_sub_interfaces", 0);
        }
        return result;
    });
}

TEST_F(LagTest, SubInterfaceDeleteChecksBothAndTellsOnce) {
    run_with_every_call_failing(tc_kiv_delete_bdl_subifs, kSubifParameters, [](Script &script) {
        expect_subif_reader(script);
        script.check(script.call("uidb_delete_interface(0x12123434, 0x1a0)"), "tc_kiv_delete_bdl_subifs", 0);
        const int result = script.check(script.call("uidb_delete_interface(0x12123434, 0x1a1)"),
                                        "tc_kiv_delete_bdl_subifs", 0);
        script.print("Deleting sub interface successful\n");
        return result;
    });
}

struct PortCase {
    kiv_function_t function;
    const char *name;
    uint32_t add;
};

class LagPortTest : public LagTest, public testing::WithParamInterface<PortCase> {};

TEST_P(LagPortTest, NamesTheSecondPortOnBothSubInterfaces) {
    run_with_every_call_failing(GetParam().function, kSubifParameters, [](Script &script) {
        expect_subif_reader(script);
        script.print("Call UIDB Set feature batch\n");
        standin::RecordBuilder record(160);
        record.u32_at(20, 2).u32_at(24, 120);
        for (size_t i = 0; i < 2; ++i)
            record.u32_at(40 + 60 * i, 0x1A0 + static_cast<uint32_t>(i))
                .u32_at(48 + 60 * i + 8, 638)
                .u8_at(48 + 60 * i + 12, kPorts[1] & 255)
                .u32_at(48 + 60 * i + 44, GetParam().add)
                .u8_at(48 + 60 * i + 48, 1);
        const uint32_t rc = script.call("uidb_set_feature_batch(0x12123434, " + shown(record) + ")");
        return script.check(rc, GetParam().name, 0);
    });
}

TEST_P(LagPortTest, EndsTheProcessWithoutMemory) {
    start(kSubifParameters);
    standin::fail_allocation(1);
    run(GetParam().function);
    EXPECT_TRUE(standin::aborted());
    EXPECT_THAT(standin::calls(), IsEmpty());
    const standin::Event check = standin::checks().at(0);
    EXPECT_EQ(check.condition_text, "kiv_fail()");
    EXPECT_EQ(check.text, "Memory allocation failed");
    EXPECT_EQ(check.function, GetParam().name);
    EXPECT_THAT(standin::printed(),
                testing::EndsWith(std::string(GetParam().name) + " " + std::to_string(check.line) +
                                  " Memory allocation failed\n"));
}

INSTANTIATE_TEST_SUITE_P(Cases, LagPortTest,
                         testing::Values(PortCase{tc_kiv_add_bdl_subif_port, "tc_kiv_add_bdl_subif_port", 1},
                                         PortCase{tc_kiv_remove_bdl_subif_port,
                                                  "tc_kiv_remove_bdl_subif_port", 0}),
                         [](const auto &param) { return std::string(param.param.name); });

// --- MTU ---

struct MtuCase {
    kiv_function_t function;
    const char *name;
    uint32_t handle, mtu;
    const char *after;
};

class LagMtuTest : public LagTest, public testing::WithParamInterface<MtuCase> {};

TEST_P(LagMtuTest, SetsTheMtuOfAFixedHandle) {
    run_with_every_call_failing(GetParam().function, kBundleParameters, [](Script &script) {
        script.print("Call UIDB Set feature to set IP MTU\n");
        const uint32_t rc = script.call("uidb_set_feature(0x12123434, " +
                                        shown(standin::RecordBuilder(60)
                                                  .u32_at(0, GetParam().handle)
                                                  .u16_at(4, 1)
                                                  .u16_at(6, 52)
                                                  .u16_at(8, 2)
                                                  .u32_at(16, 123)
                                                  .u32_at(20, GetParam().mtu)) +
                                        ")");
        const int result = script.check(rc, GetParam().name, 0);
        script.print(GetParam().after);
        return result;
    });
}

TEST_P(LagMtuTest, EndsTheProcessWithoutMemory) {
    standin::fail_allocation(1);
    run(GetParam().function);
    EXPECT_TRUE(standin::aborted());
    EXPECT_THAT(standin::calls(), IsEmpty());
    EXPECT_EQ(standin::printed(), "Malloc Failed for uidb_client_data \n");
    const standin::Event check = standin::checks().at(0);
    EXPECT_EQ(check.condition_text, "kiv_fail()");
    EXPECT_EQ(check.text, "Memory allocation failed");
    EXPECT_EQ(check.file, kFile);
    EXPECT_EQ(check.function, GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Cases, LagMtuTest,
                         testing::Values(MtuCase{tc_kiv_update_bdl_mtu, "tc_kiv_update_bdl_mtu", 0x800A000,
                                                 1000, "Bundle mainif MTU set Successfully\n"},
                                         MtuCase{tc_kiv_update_bdl_subif_mtu, "tc_kiv_update_bdl_subif_mtu",
                                                 0x800A110, 500, "Bundle Subif MTU set Successfully\n"}),
                         [](const auto &param) { return std::string(param.param.name); });

}  // namespace
