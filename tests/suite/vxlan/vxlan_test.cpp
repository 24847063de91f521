// VXLAN, EVPN and split-horizon entries: the handlers' requests and the sixteen cases, on success and on
// failure.
#include "prm_kiv_vxlan.h"

#include <string.h>

#include "tests/standin/suite_test.h"

namespace {

using standin::calls;
using standin::fail_call;
using standin::on;
using standin::outline;
using standin::RecordBuilder;
using standin::run;
using standin::standard_input;
using standin::transcript;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint32_t kFailure = 0x1234;
constexpr char kFile[] = "prm/test/src/prm_kiv_vxlan";

class VxlanTest : public SuiteTest {
  protected:
    // Runs a handler on a fresh log and returns its status.
    template <class Step, class... Arguments>
    int send(Step step, Arguments... arguments) {
        SetUp();
        return run([=] { return static_cast<int>(step(arguments...)); });
    }
    template <class Step, class... Arguments>
    int send_failing(u32 nth, Step step, Arguments... arguments) {
        SetUp();
        fail_call(static_cast<int>(nth), kFailure);
        return run([=] { return static_cast<int>(step(arguments...)); });
    }
    static standin::Bytes sent() { return calls().back().record(); }
};

// --- bridge domains ---

TEST_F(VxlanTest, BridgeDomainAddCarriesVniAndSourceVtep) {
    EXPECT_EQ(send(prm_kiv_util_vxlan_bd_oper, 5u, 0xAB123456u, 0x0A000001u, 0), 0);
    EXPECT_THAT(outline(), ElementsAre(print("prm_kiv_util_vxlan_bd_oper: bd_id 5 vni_id -1424870314 s_vtep "
                                             "0x0a000001 oper 0\n"),
                                       "call prm_srh_bd_add"));
    RecordBuilder expected(2124);
    expected.u32_at(0, 10).u32_at(12, 4).u32_at(20, 5).u32_at(68, 144).u8_at(74, 0x10);
    expected.u16_at(136, 0x3456).u8_at(138, 0x12).u32_at(140, 0x0A000001);  // the VNI has 24 bits
    EXPECT_EQ(sent(), expected.bytes());
}

TEST_F(VxlanTest, BridgeDomainDeleteCarriesTheIdAlone) {
    EXPECT_EQ(send(prm_kiv_util_vxlan_bd_oper, 5u, 100u, 0x0A000001u, 1), 0);
    EXPECT_EQ(calls().back().name, "prm_srh_bd_del");
    EXPECT_EQ(sent(), RecordBuilder(2124).u32_at(0, 10).u32_at(12, 4).u32_at(20, 5).u32_at(68, 144).bytes());
}

TEST_F(VxlanTest, BridgeDomainFailures) {
    EXPECT_EQ(send_failing(1, prm_kiv_util_vxlan_bd_oper, 5u, 1u, 1u, 0), int{kFailure});
    EXPECT_EQ(outline().back(), print("add failed"));
    EXPECT_EQ(send_failing(1, prm_kiv_util_vxlan_bd_oper, 5u, 1u, 1u, 1), int{kFailure});
    EXPECT_EQ(outline().back(), print("del failed"));
}

TEST_F(VxlanTest, BridgeDomainCannotBeModified) {
    EXPECT_EQ(send(prm_kiv_util_vxlan_bd_oper, 5u, 1u, 1u, 5), 0);
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(outline().back(), print("\nInvalid Oper\n"));
}

// --- circuits ---

RecordBuilder circuit(u32 bd, u32 uidb) {
    RecordBuilder record(2124);
    record.u32_at(0, 10).u32_at(12, 8).u32_at(68, 188).bytes_at(88, {0x04, 0x40}).u32_at(96, 1);
    return record.u32_at(209, bd).u32_at(222, uidb);
}

struct Texts {
    int op;
    const char *call, *calling, *failure;
};
constexpr Texts kAcTexts[] = {
    {0, "prm_srh_xid_add", "\ncalling prm_srh_xid_add for AC BIND\n", "prm_srh_xid_add failed for AC bind"},
    {1, "prm_srh_xid_del", "\ncalling prm_srh_xid_del for AC UNBIND\n",
     "prm_srh_xid_del failed for AC unbind"},
    {5, "prm_srh_xid_mod", "\ncalling prm_srh_xid_mod for AC Modify\n",
     "prm_srh_xid_mod failed for AC modify"},
};

TEST_F(VxlanTest, CircuitOperations) {
    for (const Texts &texts : kAcTexts) {
        const std::string op = std::to_string(texts.op);
        const Lines told = {print("bd_id 5 uidb_index 65535 oper " + op + "\n"), print(texts.calling),
                            std::string("call ") + texts.call};
        EXPECT_EQ(send(prm_kiv_util_vxlan_ac_oper, 5u, u16{0xFFFF}, texts.op), 0);
        EXPECT_EQ(outline(), told);
        EXPECT_EQ(sent(), circuit(5, 0xFFFF).bytes());
        EXPECT_EQ(send_failing(1, prm_kiv_util_vxlan_ac_oper, 5u, u16{0xFFFF}, texts.op), int{kFailure});
        EXPECT_EQ(outline().back(), print(texts.failure));
    }
    EXPECT_EQ(send(prm_kiv_util_vxlan_ac_oper, 5u, u16{1}, 2), 0);
    EXPECT_THAT(transcript(), ElementsAre(print("bd_id 5 uidb_index 1 oper 2\n"), print("\nInvalid Oper\n")));
}

TEST_F(VxlanTest, VspCircuitOperations) {
    for (const Texts &texts : kAcTexts) {
        const std::string op = std::to_string(texts.op);
        const Lines told = {print("VSP AC BIND: bd_id 5 ac_xid 32784 uidb_index 7 oper " + op + "\n"),
                            print(texts.calling), std::string("call ") + texts.call};
        EXPECT_EQ(send(prm_kiv_util_vxlan_vsp_ac_oper, 5u, 0x8010u, u16{7}, texts.op), 0);
        EXPECT_EQ(outline(), told);
        EXPECT_EQ(sent(), circuit(5, 7).u8_at(92, 0x04).u32_at(116, 0x8010).u32_at(258, 4000).bytes());
        EXPECT_EQ(send_failing(1, prm_kiv_util_vxlan_vsp_ac_oper, 5u, 0x8010u, u16{7}, texts.op),
                  int{kFailure});
        EXPECT_EQ(outline().back(), print(texts.failure));
    }
    EXPECT_EQ(send(prm_kiv_util_vxlan_vsp_ac_oper, 5u, 1u, u16{1}, -1), 0);
    EXPECT_EQ(outline().back(), print("\nInvalid Oper\n"));
    EXPECT_THAT(calls(), IsEmpty());
}

// --- vplag ---

class VplagTest : public VxlanTest {
  protected:
    VplagTest() : record_(2124) {
        memset(&info_, 0, sizeof info_);
        record_.u32_at(0, 10).u32_at(68, 8);
        const u8 *const bytes = reinterpret_cast<const u8 *>(&info_);
        for (size_t i = 0; i < sizeof info_; ++i) reinterpret_cast<u8 *>(&info_)[i] = static_cast<u8>(i + 1);
        for (size_t i = 0; i < sizeof info_; ++i) record_.u8_at(72 + i, bytes[i]);
    }
    prm_vplag_info info_;
    RecordBuilder record_;
};

TEST_F(VplagTest, AddReservesTheIdAndPutsItInPlaceOfTheGivenOne) {
    const prm_vplag_info given = info_;
    EXPECT_EQ(send(prm_kiv_util_vplag_oper, &info_, 0), 0);
    EXPECT_THAT(outline(),
                ElementsAre(print("\n reserving bitlist for vplag\n"), "call prm_srh_vplag_buddy_reserve",
                            print("Got vplag id 1001\n"), print("\ncalling prm_srh_l2_ecmp_add \n"),
                            "call prm_srh_l2_ecmp_add"));
    EXPECT_EQ(calls()[0].arguments[0].shown, "async");
    EXPECT_EQ(calls()[0].record(), standin::Bytes(2352));
    EXPECT_EQ(sent(), record_.u32_at(76, 1001).bytes());
    EXPECT_EQ(memcmp(&info_, &given, sizeof given), 0);
}

TEST_F(VplagTest, DeleteAndModifySendTheEntryAsGiven) {
    EXPECT_EQ(send(prm_kiv_util_vplag_oper, &info_, 1), 0);
    EXPECT_THAT(outline(),
                ElementsAre(print("\ncalling prm_srh_l2_ecmp_del \n"), "call prm_srh_l2_ecmp_del"));
    EXPECT_EQ(sent(), record_.bytes());
    EXPECT_EQ(send(prm_kiv_util_vplag_oper, &info_, 5), 0);
    EXPECT_THAT(outline(), ElementsAre(print("\ncalling prm_srh_bd_mod \n"), "call prm_srh_l2_ecmp_mod"));
    EXPECT_EQ(sent(), record_.bytes());
}

TEST_F(VplagTest, Failures) {
    EXPECT_EQ(send_failing(1, prm_kiv_util_vplag_oper, &info_, 0), int{kFailure});
    EXPECT_THAT(outline(),
                ElementsAre(print("\n reserving bitlist for vplag\n"), "call prm_srh_vplag_buddy_reserve",
                            print("vplag buddy reserve failed \n")));
    EXPECT_EQ(send_failing(2, prm_kiv_util_vplag_oper, &info_, 0), int{kFailure});
    EXPECT_EQ(outline().back(), print("prm_srh_l2_ecmp_add failed"));
    EXPECT_EQ(send_failing(1, prm_kiv_util_vplag_oper, &info_, 1), int{kFailure});
    EXPECT_EQ(outline().back(), print("prm_srh_l2_ecmp_del failed"));
    EXPECT_EQ(send_failing(1, prm_kiv_util_vplag_oper, &info_, 5), int{kFailure});
    EXPECT_EQ(outline().back(), print("prm_srh_bd_mod failed"));
    EXPECT_EQ(send(prm_kiv_util_vplag_oper, &info_, 2), 0);
    EXPECT_THAT(transcript(), ElementsAre(print("\nInvalid Oper\n")));
}

// --- split-horizon and EVPN MAC entries ---

TEST_F(VxlanTest, SplitHorizonEntries) {
    const prm_shg_df_entry entry = {0x0A000001, 0x8000038, 1};
    RecordBuilder expected(2124);
    expected.u32_at(0, 10).u32_at(12, 8).u32_at(20, 0x0A000001).u32_at(24, 0x8000038).u32_at(28, 1);
    const Texts rows[] = {{0, "prm_srh_fpem_shg_df_entry_add", "\ncalling prm_shg_df_entry_add\n",
                           "prm_kiv_util_fpem_shg_df_oper add failed"},
                          {1, "prm_srh_fpem_shg_df_entry_del", "\ncalling prm_shg_df_entry_del\n",
                           " prm_kiv_util_fpem_shg_df_oper del failed"}};
    for (const Texts &texts : rows) {
        EXPECT_EQ(send(prm_kiv_util_fpem_shg_df_oper, &entry, texts.op), 0);
        EXPECT_THAT(outline(), ElementsAre(print(texts.calling), std::string("call ") + texts.call));
        EXPECT_EQ(sent(), expected.bytes());
        EXPECT_EQ(send_failing(1, prm_kiv_util_fpem_shg_df_oper, &entry, texts.op), int{kFailure});
        EXPECT_EQ(outline().back(), print(texts.failure));
    }
    EXPECT_EQ(send(prm_kiv_util_fpem_shg_df_oper, &entry, 5), 0);
    EXPECT_THAT(transcript(), ElementsAre(print("\nUnsupported Oper\n")));
}

TEST_F(VxlanTest, EvpnMacEntries) {
    const prm_evpn_mac_entry entry = {5, {1, 2, 3, 4, 5, 6}, 0, 0x01020304, 0x0A0B0C0D};
    RecordBuilder expected(2124);
    expected.u32_at(0, 10).u32_at(12, 8).u32_at(20, 5).bytes_at(24, {1, 2, 3, 4, 5, 6});
    expected.u32_at(31, 0x01020304).u32_at(35, 0x0A0B0C0D);
    const Texts rows[] = {{0, "prm_srh_evpn_mac_install_add", "\ncalling prm_srh_evpn_mac_install_add \n",
                           "prm_srh_evpn_mac_install_add failed"},
                          {1, "prm_srh_evpn_mac_install_del", "\ncalling prm_srh_evpn_mac_install_del \n",
                           "prm_srh_evpn_mac_install_del failed"}};
    for (const Texts &texts : rows) {
        EXPECT_EQ(send(prm_kiv_util_evpn_mac_oper, &entry, texts.op), 0);
        EXPECT_THAT(outline(), ElementsAre(print(texts.calling), std::string("call ") + texts.call));
        EXPECT_EQ(sent(), expected.bytes());
        EXPECT_EQ(send_failing(1, prm_kiv_util_evpn_mac_oper, &entry, texts.op), int{kFailure});
        EXPECT_EQ(outline().back(), print(texts.failure));
    }
    EXPECT_EQ(send(prm_kiv_util_evpn_mac_oper, &entry, 5), 0);
    EXPECT_THAT(transcript(), ElementsAre(print("\nUnsupported Oper\n")));
}

// --- cases ---

struct VxlanCase {
    const char *name;
    kiv_function_t function;
    int line;
    const char *input;   // one line
    const char *second;  // another
    const char *reader;  // that tells its status; null for the one that does not
    const char *index;   // behind "NAME index 1" for the first line
    const char *call;    // made for each line, the last one where there are two
    const char *record;  // that it carries for the first line
    int calls_per_line;
    const char *end;  // printed at the end, or null
};

void PrintTo(const VxlanCase &vxlan_case, std::ostream *out) {
    *out << vxlan_case.name;
}

class VxlanCaseTest : public VxlanTest, public testing::WithParamInterface<VxlanCase> {
  protected:
    // Lines of the transcript that belong to the loop: calls by name, checks, the case's own prints.
    Lines loop() const {
        Lines lines;
        const std::string name = GetParam().name;
        for (const standin::Event &event : standin::log()) {
            if (event.kind == standin::Kind::call) lines.push_back("call " + event.name);
            if (event.kind == standin::Kind::check) lines.push_back(event.line_text());
            if (event.kind == standin::Kind::print && event.text.find(name + " ") != std::string::npos)
                lines.push_back(event.line_text());
        }
        return lines;
    }
    std::string index(int n, const std::string &more) const {
        return print(std::string(GetParam().name) + " index " + std::to_string(n) + more + "\n");
    }
    std::string check(u32 status) const {
        return check_line(status, 0, "CERR_SUCCESS", kFile, GetParam().name, GetParam().line);
    }
};

TEST_P(VxlanCaseTest, SendsTheLineAndChecks) {
    const VxlanCase &vxlan_case = GetParam();
    standard_input(std::string(vxlan_case.input) + "\n");
    EXPECT_EQ(run(vxlan_case.function), 0);
    ASSERT_EQ(calls().size(), static_cast<size_t>(vxlan_case.calls_per_line));
    EXPECT_EQ(calls().back().line_text(),
              std::string("call ") + vxlan_case.call + "(async, " + vxlan_case.record + ")");
    Lines expected = {index(1, vxlan_case.index)};
    if (vxlan_case.calls_per_line == 2) expected.push_back("call prm_srh_vplag_buddy_reserve");
    expected.push_back(std::string("call ") + vxlan_case.call);
    expected.push_back(check(0));
    if (vxlan_case.end != nullptr) expected.push_back(print(vxlan_case.end));
    EXPECT_EQ(loop(), expected);
    EXPECT_EQ(standin::allocations(), 0);
}

TEST_P(VxlanCaseTest, EndOfInputSendsNothing) {
    EXPECT_EQ(run(GetParam().function), 0);
    Lines expected;
    if (GetParam().reader != nullptr)
        expected.push_back(print(std::string(GetParam().reader) + " status 0\n"));
    if (GetParam().end != nullptr) expected.push_back(print(GetParam().end));
    EXPECT_EQ(transcript(), expected);
}

TEST_P(VxlanCaseTest, EmptyLinesAreSkippedAndNotCounted) {
    standard_input(std::string("\n") + GetParam().input + "\n \t\n" + GetParam().second);
    EXPECT_EQ(run(GetParam().function), 0);
    EXPECT_EQ(calls(GetParam().call).size(), 2u);
    const std::string told = standin::printed(), name = GetParam().name;
    EXPECT_NE(told.find(name + " index 1"), std::string::npos);
    EXPECT_NE(told.find(name + " index 2"), std::string::npos);
    EXPECT_EQ(told.find(name + " index 3"), std::string::npos);
    if (GetParam().reader != nullptr) {
        EXPECT_NE(told.find(std::string(GetParam().reader) + " status -1\n"), std::string::npos);
    }
}

TEST_P(VxlanCaseTest, FailureIsCheckedAndTheLoopGoesOn) {
    const int per_line = GetParam().calls_per_line;
    for (int failing = 1; failing <= per_line; ++failing) {
        SetUp();
        standard_input(std::string(GetParam().input) + "\n" + GetParam().second + "\n");
        fail_call(failing, kFailure);
        EXPECT_EQ(run(GetParam().function), 0);
        std::vector<u32> statuses;
        for (const standin::Event &event : standin::checks())
            if (event.kind == standin::Kind::check) statuses.push_back(event.status);
        EXPECT_THAT(statuses, ElementsAre(kFailure, 0u));
        if (GetParam().end != nullptr) {
            EXPECT_EQ(transcript().back(), print(GetParam().end));
        }
    }
}

TEST_P(VxlanCaseTest, LineOfSeparatorsKeepsWhatTheEarlierLineSet) {
    standard_input(std::string(GetParam().input) + "\n,;,\n");
    if (std::string(GetParam().name).find("vplag") != std::string::npos) return;  // its lists must be there
    EXPECT_EQ(run(GetParam().function), 0);
    const std::vector<standin::Event> made = calls(GetParam().call);
    ASSERT_EQ(made.size(), 2u);
    // ";" is a field of its own where "," separates, and a number of 0.
    EXPECT_NE(made[0].record(), made[1].record());
    SetUp();
    standard_input(std::string(GetParam().input) + "\n,,,\n");
    run(GetParam().function);
    EXPECT_EQ(calls()[0].record(), calls()[1].record());
}

constexpr char kBdLine[] = "5,74565,0a010203";
constexpr char kAcLine[] = "5,65537";  // cut to 16 bits
constexpr char kVspLine[] = "5,8010,7";
constexpr char kOleLine[] = "5,0a010204,100053";
constexpr char kVplagLine[] = "0a010203;3;2;100,101;0a010205,0x0a010206";
constexpr char kMacLine[] = "02:5e:3b:a7:38:31,5,1,1f";
constexpr char kShgLine[] = "0a010203,8000038,1";

constexpr char kAcRecord[] = "2124{0:0a 12:08 68:bc 88:0440 96:01 209:05 222:01}";
constexpr char kVspRecord[] = "2124{0:0a 12:08 68:bc 88:0440 92:04 96:01 116:1080 209:05 222:07 258:a00f}";
constexpr char kOleRecord[] = "2124{20:01 24:d58601 32:05 36:0402010a}";
constexpr char kVplagRecord[] = "2124{0:0a 68:08 72:0302010a03 80:02 84:64 88:65 148:0502010a0602010a}";
constexpr char kMacRecord[] = "2124{0:0a 12:08 20:05 24:025e3ba73831 31:01 35:1f}";
constexpr char kShgRecord[] = "2124{0:0a 12:08 20:0302010a38 27:0801}";
constexpr char kOleIndex[] = " bd 5 r_vtep 0x0a010204 nh 100053";

const char *const kAcReader = "prm_kiv_util_get_ac_params";
const char *const kVspReader = "prm_kiv_util_get_vsp_ac_params";
const char *const kOleReader = "prm_kiv_util_get_ole_params";
const char *const kVplagReader = "prm_kiv_util_get_vplag_params";
const char *const kMacReader = "prm_kiv_util_get_mac_params";
const char *const kShgReader = "prm_kiv_util_get_shg_df_params";

#define CASE(function) #function, function
INSTANTIATE_TEST_SUITE_P(
    Cases, VxlanCaseTest,
    testing::Values(
        VxlanCase{CASE(tc_kiv_vxlan_bd_add), 650, kBdLine, "6,1,2", nullptr, "", "prm_srh_bd_add",
                  "2124{0:0a 12:04 20:05 68:90 74:10 136:452301 140:0302010a}", 1, nullptr},
        VxlanCase{CASE(tc_kiv_vxlan_bd_del), 673, kBdLine, "6,1,2", nullptr, "", "prm_srh_bd_del",
                  "2124{0:0a 12:04 20:05 68:90}", 1, nullptr},
        VxlanCase{CASE(tc_kiv_vxlan_ac_bind), 696, kAcLine, "6,8", kAcReader, "", "prm_srh_xid_add",
                  kAcRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_vxlan_vsp_ac_bind), 720, kVspLine, "6,8,9", kVspReader, "", "prm_srh_xid_add",
                  kVspRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_vxlan_ac_unbind), 743, kAcLine, "6,8", kAcReader, "", "prm_srh_xid_del",
                  kAcRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_vxlan_vsp_ac_unbind), 766, kVspLine, "6,8,9", kVspReader, "", "prm_srh_xid_del",
                  kVspRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_vxlan_ole_add), 801, kOleLine, "6,1,2", kOleReader, kOleIndex,
                  "prm_srh_vxlan_ole_add", kOleRecord, 1, "\n tc_kiv_vxlan_ole_add call SUCCEEDED\n"},
        VxlanCase{CASE(tc_kiv_vxlan_ole_mod), 839, kOleLine, "6,1,2", kOleReader, kOleIndex,
                  "prm_srh_vxlan_ole_mod", kOleRecord, 1, "\n tc_kiv_vxlan_ole_mod call SUCCEEDED\n"},
        VxlanCase{CASE(tc_kiv_vxlan_ole_del), 876, kOleLine, "6,1,2", kOleReader, kOleIndex,
                  "prm_srh_vxlan_ole_del", kOleRecord, 1, "\n tc_kiv_vxlan_ole_del call SUCCEEDED\n"},
        VxlanCase{CASE(tc_kiv_vxlan_vplag_add), 899, kVplagLine, "1;2;0", kVplagReader, "",
                  "prm_srh_l2_ecmp_add",
                  "2124{0:0a 68:08 72:0302010ae903 80:02 84:64 88:65 148:0502010a0602010a}", 2, nullptr},
        VxlanCase{CASE(tc_kiv_vxlan_vplag_member_set), 921, kVplagLine, "1;2;0", kVplagReader, "",
                  "prm_srh_l2_ecmp_mod", kVplagRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_vxlan_vplag_del), 943, kVplagLine, "1;2;0", kVplagReader, "",
                  "prm_srh_l2_ecmp_del", kVplagRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_evpn_mac_install), 964, kMacLine, "1,2,3,4", kMacReader, "",
                  "prm_srh_evpn_mac_install_add", kMacRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_evpn_mac_uninstall), 985, kMacLine, "1,2,3,4", kMacReader, "",
                  "prm_srh_evpn_mac_install_del", kMacRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_fpem_shg_df_del), 1006, kShgLine, "1,2,0", kShgReader, "",
                  "prm_srh_fpem_shg_df_entry_del", kShgRecord, 1, nullptr},
        VxlanCase{CASE(tc_kiv_fpem_shg_df_add), 1026, kShgLine, "1,2,0", kShgReader, "",
                  "prm_srh_fpem_shg_df_entry_add", kShgRecord, 1, nullptr}),
    [](const auto &vxlan_case) { return std::string(vxlan_case.param.name); });

TEST_F(VxlanTest, WholeTranscriptOfACircuitLine) {
    standard_input("5,7\n");
    EXPECT_EQ(run(tc_kiv_vxlan_ac_bind), 0);
    EXPECT_THAT(outline(),
                ElementsAre(print("prm_kiv_util_get_ac_params status 1\n"),
                            print("prm_kiv_util_get_ac_params: bd 5  uidb_index 7\n"),
                            print("tc_kiv_vxlan_ac_bind index 1\n"), print("bd_id 5 uidb_index 7 oper 0\n"),
                            print("\ncalling prm_srh_xid_add for AC BIND\n"), "call prm_srh_xid_add",
                            check_line(0, 0, "CERR_SUCCESS", kFile, "tc_kiv_vxlan_ac_bind", 696),
                            print("prm_kiv_util_get_ac_params status 0\n")));
}

TEST_F(VxlanTest, ManyLinesAllocateNothing) {
    std::string lines;
    for (int i = 0; i < 2000; ++i) lines += std::to_string(i) + "," + std::to_string(i) + ",a000001\n";
    standard_input(lines);
    EXPECT_EQ(run(tc_kiv_vxlan_bd_add), 0);
    EXPECT_EQ(calls().size(), 2000u);
    EXPECT_EQ(standin::allocations(), 0);
}

TEST_F(VxlanTest, EveryCaseStartsCleared) {
    standard_input("5,7\n");
    run(tc_kiv_vxlan_ac_bind);
    standard_input(",\n");
    run(tc_kiv_vxlan_ac_bind);
    EXPECT_EQ(calls()[1].field<u32>(209), 0u);
    EXPECT_EQ(calls()[1].field<u32>(222), 0u);
}

TEST_F(VxlanTest, FailedVplagLineEndsTheCase) {
    standard_input("1;2;3;4;5\n1;2;0\n");
    run(tc_kiv_vxlan_vplag_del);
    EXPECT_TRUE(standin::aborted());
    EXPECT_THAT(calls(), IsEmpty());
}

}  // namespace
