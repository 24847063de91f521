// Cross-connect readers, steps and cases: every request, print and check, on success, with each call failing
// and without memory.
#include "prm_kiv_xconnect.h"

#include <string.h>

#include "prm_kiv_input.h"
#include "prm_kiv_tx_adj.h"
#include "prm_kiv_uidb.h"
#include "tests/suite/subif/subif_script.h"
#include "tests/suite/xconnect/rewrite_matrix.h"

namespace {

using standin::flash_file;
using standin::run;
using standin::transcript;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr char kFile[] = "prm/test/src/prm_kiv_xconnect";
constexpr char kTcsInput[] = "kiv_tcs_input_file";

constexpr char kUidbLines[] = "IFH:8000088,UIDB:40\nUIDB:41,IFH:0x80000c8\n";
constexpr char kSubifLines[] =
    "IFH:1a0,OVLAN:100,IVLAN:7,OTPID:8100,UIDB:40\n"
    "IFH:1a1,OVLAN:101,IVLAN:8,OTPID:88a8,UIDB:41\n";
constexpr char kRewriteLines[] =
    "IFH:1a0,OVLAN:100,IVLAN:7,OTPID:8100,UIDB:40,ROVLAN:200,RIVLAN:9,ROTPID:9100\n"
    "ROTPID:0x9200,RIVLAN:10,ROVLAN:201,UIDB:41,OTPID:88a8,IVLAN:8,OVLAN:101,IFH:1a1\n";

class XconnectTest : public SuiteTest {
  protected:
    void SetUp() override { start(nullptr); }
    static void start(const char *lines) {
        standin::reset();
        prm_async_handle = standin::kAsync;
        memset(ifh, 0, sizeof ifh);
        memset(uidb, 0, sizeof uidb);
        memset(&ovlan, 0, sizeof ovlan);
        memset(&ivlan, 0, sizeof ivlan);
        memset(&otpid, 0, sizeof otpid);
        memset(rovlan, 0, sizeof rovlan);
        memset(rivlan, 0, sizeof rivlan);
        memset(rotpid, 0, sizeof rotpid);
        if (lines != nullptr) flash_file(kTcsInput, lines);
    }
    static void read(void (*reader)()) {
        run([reader] {
            reader();
            return 0;
        });
    }

    static void run_with_every_call_failing(kiv_function_t function, const char *lines,
                                            const std::function<int(Script &)> &flow,
                                            LineNumbers numbers = LineNumbers::compared) {
        ::run_with_every_call_failing(
            function, kFile, [=] { start(lines); }, flow, numbers);
    }
};

int as_int(prm_status_t rc) {
    return static_cast<int>(rc);
}

// --- Readers ---

TEST_F(XconnectTest, UidbReaderFillsAndPrintsEveryItem) {
    flash_file(kTcsInput, kUidbLines);
    read(kiv_util_read_xconnect_uidbs);
    EXPECT_THAT(ifh, ElementsAre(0x8000088u, 0x80000C8u));
    EXPECT_THAT(uidb, ElementsAre(40u, 41u));
    EXPECT_THAT(transcript(),
                ElementsAre("print \" token = IFH, value = 8000088\\n\"", "print \"ifhandle = 0x8000088\\n\"",
                            "print \" token = UIDB, value = 40\\n\\n\"",  // the line's newline
                            "print \"uidb = 40\\n\"", "print \" token = UIDB, value = 41\\n\"",
                            "print \"uidb = 41\\n\"", "print \" token = IFH, value = 0x80000c8\\n\\n\"",
                            "print \"ifhandle = 0x80000C8\\n\""));
}

TEST_F(XconnectTest, UidbReaderPrintsUnknownNamesAndSkipsFieldsWithoutValue) {
    flash_file(kTcsInput, "IFHX:1,uidb:2\nIFH,UIDB:4294967295\n");
    read(kiv_util_read_xconnect_uidbs);
    EXPECT_THAT(ifh, ElementsAre(0u, 0u));
    EXPECT_THAT(uidb, ElementsAre(0u, 4294967295u));
    EXPECT_THAT(
        transcript(),
        ElementsAre("print \" token = IFHX, value = 1\\n\"", "print \" token = uidb, value = 2\\n\\n\"",
                    "print \" token = UIDB, value = 4294967295\\n\\n\"", "print \"uidb = -1\\n\""));
}

TEST_F(XconnectTest, UidbReaderLooksAtTwoItemsOnly) {
    flash_file(kTcsInput, "OVLAN:1,IVLAN:2,IFH:3\n");
    read(kiv_util_read_xconnect_uidbs);
    EXPECT_EQ(ifh[0], 0u);
    EXPECT_EQ(standin::log().size(), 2u);
}

TEST_F(XconnectTest, SubInterfaceReaderFillsTheFirstTwoSlots) {
    flash_file(kTcsInput, kSubifLines);
    read(kiv_util_read_xconnect_subifs);
    EXPECT_THAT(ifh, ElementsAre(0x1A0u, 0x1A1u));
    EXPECT_THAT(uidb, ElementsAre(40u, 41u));
    EXPECT_THAT(ovlan.slot, ElementsAre(100, 101, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(ivlan.slot, ElementsAre(7, 8, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(otpid.slot, ElementsAre(0x8100, 0x88A8, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(rovlan, ElementsAre(0, 0));
    EXPECT_THAT(transcript(), IsEmpty());
}

TEST_F(XconnectTest, SubInterfaceReaderDoesNotKnowTheRewriteTokens) {
    flash_file(kTcsInput, "ROVLAN:1,RIVLAN:2,ROTPID:3,IFH:4,UIDB:5\n");
    read(kiv_util_read_xconnect_subifs);
    EXPECT_EQ(rovlan[0], 0);
    EXPECT_EQ(ifh[0], 4u);
    EXPECT_EQ(uidb[0], 5u);
}

TEST_F(XconnectTest, RewriteReaderFillsEverythingInAnyOrder) {
    flash_file(kTcsInput, kRewriteLines);
    read(kiv_util_read_xconnect_rewrites);
    EXPECT_THAT(ifh, ElementsAre(0x1A0u, 0x1A1u));
    EXPECT_THAT(uidb, ElementsAre(40u, 41u));
    EXPECT_EQ(ovlan.slot[1], 101);
    EXPECT_EQ(ivlan.slot[1], 8);
    EXPECT_EQ(otpid.slot[1], 0x88A8);
    EXPECT_THAT(rovlan, ElementsAre(200, 201));
    EXPECT_THAT(rivlan, ElementsAre(9, 10));
    EXPECT_THAT(rotpid, ElementsAre(0x9100, 0x9200));
    EXPECT_THAT(transcript(), IsEmpty());
    EXPECT_STREQ(token_rotpid, "0x9200");
    EXPECT_STREQ(token_rivlan, "10");
    EXPECT_STREQ(token_rovlan, "201");
}

TEST_F(XconnectTest, NumbersAreCutToSixteenBits) {
    flash_file(kTcsInput, "OVLAN:65537,IVLAN:70000,OTPID:18100,ROVLAN:65538,RIVLAN:65539,ROTPID:19100\n");
    read(kiv_util_read_xconnect_rewrites);
    EXPECT_EQ(ovlan.slot[0], 1);
    EXPECT_EQ(ivlan.slot[0], 70000 - 65536);
    EXPECT_EQ(otpid.slot[0], 0x8100);
    EXPECT_EQ(rovlan[0], 2);
    EXPECT_EQ(rivlan[0], 3);
    EXPECT_EQ(rotpid[0], 0x9100);
}

TEST_F(XconnectTest, MissingItemsAndLinesKeepTheEarlierValues) {
    flash_file(kTcsInput, kRewriteLines);
    read(kiv_util_read_xconnect_rewrites);
    flash_file(kTcsInput, "IFH:77,OVLAN,IVLAN:\n");
    read(kiv_util_read_xconnect_rewrites);
    EXPECT_THAT(ifh, ElementsAre(0x77u, 0x1A1u));
    EXPECT_EQ(ovlan.slot[0], 100);
    EXPECT_EQ(uidb[0], 40u);
    EXPECT_THAT(rotpid, ElementsAre(0x9100, 0x9200));
}

TEST_F(XconnectTest, ReadersReportAMissingFileAndKeepEverything) {
    for (auto reader :
         {kiv_util_read_xconnect_uidbs, kiv_util_read_xconnect_subifs, kiv_util_read_xconnect_rewrites}) {
        start(nullptr);
        ifh[0] = 5;
        read(reader);
        EXPECT_THAT(transcript(), ElementsAre("stderr \"kiv_tcs_input_file: No such file or directory\\n\""));
        EXPECT_EQ(ifh[0], 5u);
    }
}

// --- Requests ---

struct Rewrite {
    uint32_t handle, outer_vlan, inner_vlan, outer_tpid, to_outer_vlan, to_inner_vlan, to_outer_tpid;
};
constexpr Rewrite kRewrites[2] = {{0x1A0, 100, 7, 0x8100, 200, 9, 0x9100},
                                  {0x1A1, 101, 8, 0x88A8, 201, 10, 0x9200}};

uint32_t expect_rewrite(Script &script, const Rewrite &r, uint32_t op) {
    standin::RecordBuilder record(424);
    record.u32_at(0, r.handle).u16_at(4, 8).u16_at(6, 416);
    const std::pair<uint32_t, uint32_t> features[] = {
        {156, 1},  {518, r.to_outer_tpid}, {519, r.to_outer_vlan}, {521, r.to_inner_vlan},
        {314, op}, {514, r.outer_tpid},    {515, r.outer_vlan},    {517, r.inner_vlan}};
    size_t at = 8;
    for (const auto &[id, value] : features) {
        record.u32_at(at + 8, id).u32_at(at + 12, value);
        at += 52;
    }
    script.print("Call UIDB Set feature\n");
    const uint32_t rc = script.call("uidb_set_feature(0x12123434, " + shown(record) + ")");
    script.check(rc, "kiv_util_add_subif_rewrite", 277);
    return rc;
}

uint32_t expect_join(Script &script, uint32_t uidb1, uint32_t uidb2) {
    script.print("inside kiv_util_prm_srh_xconnect_add");
    return script.call(
        "prm_srh_xid_add(async, " +
        shown(standin::RecordBuilder(2124).u32_at(0, 10).u32_at(222, uidb1).u32_at(230, uidb2)) + ")");
}

uint32_t expect_part(Script &script, uint32_t uidb1) {
    script.print("inside kiv_util_prm_srh_xconnect_remove");
    return script.call("prm_srh_xid_del(async, " +
                       shown(standin::RecordBuilder(2124).u32_at(0, 10).u32_at(222, uidb1)) + ")");
}

TEST_F(XconnectTest, StepsSendWholeWords) {
    Script script(kFile);
    expect_join(script, 0x11223344, 0x55667788);
    expect_part(script, 0x99AABBCC);
    run([] {
        kiv_util_prm_srh_xconnect_add(0x11223344, 0x55667788);
        return as_int(kiv_util_prm_srh_xconnect_remove(0x99AABBCC));
    });
    EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
}

TEST_F(XconnectTest, RewriteStepSendsItsArgumentsUncut) {
    Script script(kFile);
    const Rewrite r{0x11111111, 0x22222222, 0x33333333, 0x44444444, 0x66666666, 0x77777777, 0x88888888};
    expect_rewrite(script, r, 0xFF);
    run([&] {
        return as_int(kiv_util_add_subif_rewrite(r.handle, r.outer_vlan, r.inner_vlan, r.outer_tpid, 0xFF,
                                                 r.to_outer_vlan, r.to_inner_vlan, r.to_outer_tpid));
    });
    EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
}

TEST_F(XconnectTest, RewriteStepWithoutMemoryEndsTheProcess) {
    start(kRewriteLines);
    standin::fail_allocation(1);
    run(tc_kiv_xconnect_add_locsw_with_push1_rw);
    EXPECT_TRUE(standin::aborted());
    Script script(kFile);
    script.print("Malloc Failed for uidb_client_data \n");
    script.no_memory("kiv_util_add_subif_rewrite", 221);
    EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
}

// --- Local switching ---

void expect_uidb_lines(Script &script) {
    script.print(" token = IFH, value = 8000088\n");
    script.print("ifhandle = 0x8000088\n");
    script.print(" token = UIDB, value = 40\n\n");
    script.print("uidb = 40\n");
    script.print(" token = UIDB, value = 41\n");
    script.print("uidb = 41\n");
    script.print(" token = IFH, value = 0x80000c8\n\n");
    script.print("ifhandle = 0x80000C8\n");
}

TEST_F(XconnectTest, AddJoinsTheTwoUidbs) {
    run_with_every_call_failing(tc_kiv_xconnect_add_locsw, kUidbLines, [](Script &script) {
        script.print("calling kiv_util_prm_srh_xconnect_add now \n");
        expect_uidb_lines(script);
        return script.check(expect_join(script, 40, 41), "tc_kiv_xconnect_add_locsw", 409);
    });
}

TEST_F(XconnectTest, EncapsulationChangesAreAllOnTheFirstSubInterface) {
    run_with_every_call_failing(tc_kiv_xconnect_encap_chg_locsw, kSubifLines, [](Script &script) {
        const std::string name = "tc_kiv_xconnect_encap_chg_locsw";
        Subif cleared;
        cleared.handle = 0x1A0;
        cleared.l2 = true;
        script.check(expect_chg_encap(script, cleared), name, 420);
        script.check(expect_chg_encap(script, cleared), name, 424);
        Subif changed = cleared;
        changed.outer_vlan = 100;
        changed.inner_vlan = 7;
        changed.outer_tpid = 0x8100;
        script.check(expect_chg_encap(script, changed), name, 428);
        return script.check(expect_join(script, 40, 41), name, 431);
    });
}

TEST_F(XconnectTest, RemoveNamesEitherEnd) {
    run_with_every_call_failing(tc_kiv_xconnect_remove_locsw, kUidbLines, [](Script &script) {
        expect_uidb_lines(script);
        script.check(expect_part(script, 40), "tc_kiv_xconnect_remove_locsw", 856);
        return script.check(expect_part(script, 41), "tc_kiv_xconnect_remove_locsw", 859);
    });
}

TEST_F(XconnectTest, AddWithARewriteJoinsEvenWhenTheRewriteFails) {
    struct {
        kiv_function_t function;
        const char *name;
        uint32_t op;
        int rewrite_line, add_line;
    } const rows[] = {
        {tc_kiv_xconnect_add_locsw_with_push1_rw, "tc_kiv_xconnect_add_locsw_with_push1_rw", 16, 444, 447},
        {tc_kiv_xconnect_add_locsw_with_pop1_rw, "tc_kiv_xconnect_add_locsw_with_pop1_rw", 4, 460, 463},
        {tc_kiv_xconnect_add_locsw_with_swap11_rw, "tc_kiv_xconnect_add_locsw_with_swap11_rw", 1, 476, 479}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        run_with_every_call_failing(row.function, kRewriteLines, [&row](Script &script) {
            script.check(expect_rewrite(script, kRewrites[0], row.op), row.name, row.rewrite_line);
            return script.check(expect_join(script, 40, 41), row.name, row.add_line);
        });
    }
}

TEST_F(XconnectTest, CasesGoOnWithEarlierValuesWithoutTheFile) {
    uidb[0] = 3;
    uidb[1] = 4;
    Script script(kFile);
    script.print("calling kiv_util_prm_srh_xconnect_add now \n");
    script.include({"stderr \"kiv_tcs_input_file: No such file or directory\\n\""});
    script.check(expect_join(script, 3, 4), "tc_kiv_xconnect_add_locsw", 409);
    EXPECT_EQ(run(tc_kiv_xconnect_add_locsw), 1);
    EXPECT_THAT(transcript(), ElementsAreArray(script.lines()));
}

// --- Rewrite matrix ---

class RewriteMatrixTest : public XconnectTest, public testing::WithParamInterface<MatrixCase> {};

TEST_P(RewriteMatrixTest, SetsBothRewritesAndJoinsOrStopsAtTheFirstFailure) {
    const MatrixCase &row = GetParam();
    run_with_every_call_failing(row.function, kRewriteLines, [&row](Script &script) {
        uint32_t rc = expect_rewrite(script, kRewrites[0], row.source);
        if (rc == 0) rc = expect_rewrite(script, kRewrites[1], row.destination);
        if (rc == 0) rc = expect_join(script, 40, 41);
        return script.check(rc, row.name, row.line);
    });
}

INSTANTIATE_TEST_SUITE_P(Cases, RewriteMatrixTest, testing::ValuesIn(kRewriteMatrix),
                         [](const auto &param) { return std::string(param.param.name); });

// --- Port to pseudowire ---

constexpr uint32_t kPort = 0x8000038;

standin::Bytes pseudowire(uint32_t key, uint32_t next_hop, uint32_t tunnel) {
    return standin::RecordBuilder(2124)
        .u32_at(0, 10)
        .u32_at(12, 8)
        .u32_at(20, 32768)
        .u32_at(68, 188)
        .u32_at(100, 3)
        .u32_at(222, key)
        .u32_at(230, 16020)
        .u32_at(234, 24007)
        .u32_at(238, next_hop)
        .u32_at(242, tunnel);
}

// What a step of another area does by itself, with the same call failing.
std::vector<std::string> transcript_of(const Script &script, const std::function<int()> &step) {
    standin::reset();
    prm_async_handle = standin::kAsync;
    standin::fail_call(std::max(0, script.calls_until_failure()), kScriptFailure);
    run(step);
    return transcript();
}

uint32_t expect_l2_flag(Script &script, bool enable) {
    uint32_t rc = 0;
    script.include(transcript_of(script, [&] {
        rc = enable ? kiv_util_uidb_l2_enable(kPort) : kiv_util_uidb_l2_disable(kPort);
        return 0;
    }));
    return rc;
}

TEST_F(XconnectTest, PseudowireAddTakesNextHopAndTunnelFromTheAdjacency) {
    run_with_every_call_failing(
        tc_kiv_xconnect_add_l2p_x_pw, nullptr,
        [](Script &script) {
            const std::string name = "tc_kiv_xconnect_add_l2p_x_pw";
            if (const uint32_t rc = expect_l2_flag(script, true); rc != 0) {
                script.print(name +
                             formatted(":ERROR:kiv_util_uidb_l2_enable failed.ifh=0x%x rc=0x%x", kPort, rc));
                return 0;
            }
            script.print("\n calling kiv_prm_srh_eompls_xconnect_add() with AC = 6 & PW = 32768");
            script.print("inside kiv_util_prm_srh_eompls_xconnect_add");
            script.print("\n calling tc_kiv_eompls_tx_adj_add() to reserve NH and tunnel\n");
            u32 next_hop = 0, tunnel = 0;
            script.include(
                transcript_of(script, [&] { return as_int(tc_kiv_eompls_tx_adj_add(&next_hop, &tunnel)); }));
            const uint32_t rc =
                script.call("prm_srh_xid_add(async, " + shown(pseudowire(6, next_hop, tunnel)) + ")");
            if (rc != 0) {
                script.print("FAIL:" + name + " failed uidb_index1=6, pw_xid=0x8000\n");
                return 0;
            }
            script.print("SUCCESS:" + name + " completed\n uidb_index1=6, pw_xid=0x8000");
            return 1;
        },
        LineNumbers::cut);
}

TEST_F(XconnectTest, PseudowireAddSendsZeroForWhatWasNotReserved) {
    standin::on("prm_srh_tx_adj_buddy_reserve").returns(kScriptFailure);
    standin::on("prm_srh_l3_intf_buddy_reserve").returns(kScriptFailure);
    run(tc_kiv_xconnect_add_l2p_x_pw);
    EXPECT_EQ(standin::calls("prm_srh_xid_add").at(0).record(), pseudowire(6, 0, 0));
}

TEST_F(XconnectTest, PseudowireAddCarriesTheReservedIndices) {
    run(tc_kiv_xconnect_add_l2p_x_pw);
    EXPECT_EQ(standin::calls("prm_srh_xid_add").at(0).record(), pseudowire(6, 1001, 1002));
}

TEST_F(XconnectTest, PseudowireRemoveDeletesTheAdjacencyBeforeAndAfter) {
    run_with_every_call_failing(
        tc_kiv_xconnect_remove_l2p_x_pw, nullptr,
        [](Script &script) {
            const u32 next_hop = 100053, tunnel = 4198;
            script.print("inside kiv_util_prm_srh_eompls_xconnect_remove");
            script.print("\nfirst call to prm_bcm_tx_adj_del()\n");
            script.include(transcript_of(
                script, [&] { return as_int(tc_kiv_eompls_tx_adj_del(&next_hop, &tunnel, 1, 1)); }));
            // The handle stands where the add had the uidb index; the status is not looked at.
            script.call("prm_srh_xid_del(async, " + shown(pseudowire(kPort, 100053, 4198)) + ")");
            script.print("\nSecond call to prm_bcm_tx_adj_del\n");
            script.include(transcript_of(
                script, [&] { return as_int(tc_kiv_eompls_tx_adj_del(&next_hop, &tunnel, 0, 1)); }));
            if (const uint32_t rc = expect_l2_flag(script, false); rc != 0) {
                script.print(
                    "FAIL:tc_kiv_xconnect_remove_l2p_x_pw  for ifh=0x8000038, pw_xid=0x8000, rc=0x1234");
                return 0;
            }
            script.print("SUCCESS:tc_kiv_xconnect_remove_l2p_x_pw done for ifh=0x8000038, pw_xid=0x8000");
            return 1;
        },
        LineNumbers::cut);
}

TEST_F(XconnectTest, PseudowireStepsReturnTheCrossConnectsStatusAlone) {
    for (const char *other : {"prm_srh_tx_adj_add", "prm_srh_tx_adj_del"}) {
        start(nullptr);
        standin::on(other).returns(kScriptFailure);
        EXPECT_EQ(run([] { return as_int(kiv_util_prm_srh_eompls_xconnect_add(1, 2)); }), 0);
        EXPECT_EQ(run([] { return as_int(kiv_util_prm_srh_eompls_xconnect_remove(1, 2)); }), 0);
    }
    start(nullptr);
    standin::on("prm_srh_xid_add").returns(kScriptFailure);
    standin::on("prm_srh_xid_del").returns(kScriptFailure);
    EXPECT_EQ(run([] { return as_int(kiv_util_prm_srh_eompls_xconnect_add(1, 2)); }), 0x1234);
    EXPECT_EQ(run([] { return as_int(kiv_util_prm_srh_eompls_xconnect_remove(1, 2)); }), 0x1234);
}

TEST_F(XconnectTest, PseudowireXidFillsTheLowWordOnly) {
    run([] { return as_int(kiv_util_prm_srh_eompls_xconnect_add(1, 0xFFFFFFFF)); });
    EXPECT_EQ(standin::calls("prm_srh_xid_add").at(0).field<uint64_t>(20), 0xFFFFFFFFu);
}

TEST_F(XconnectTest, PseudowireAddStopsWithoutMemoryForTheLayer2Flag) {
    standin::fail_allocation(1);
    EXPECT_EQ(run(tc_kiv_xconnect_add_l2p_x_pw), 0);
    EXPECT_THAT(standin::calls(), IsEmpty());
    EXPECT_EQ(transcript().back(),
              "print \"tc_kiv_xconnect_add_l2p_x_pw:ERROR:kiv_util_uidb_l2_enable failed.ifh=0x8000038 "
              "rc=0x16\"");
}

TEST_F(XconnectTest, PseudowireRemoveReportsMissingMemoryForTheLayer2Flag) {
    standin::fail_allocation(1);
    EXPECT_EQ(run(tc_kiv_xconnect_remove_l2p_x_pw), 0);
    EXPECT_EQ(standin::calls().size(), 3u);
    EXPECT_EQ(transcript().back(),
              "print \"FAIL:tc_kiv_xconnect_remove_l2p_x_pw  for ifh=0x8000038, pw_xid=0x8000, rc=0x16\"");
}

TEST_F(XconnectTest, VplsCasesDoNothing) {
    run(tc_kiv_vpls_xconnect_add_l2p_x_pw);
    run(tc_kiv_vpls_xconnect_remove_l2p_x_pw);
    EXPECT_THAT(transcript(), IsEmpty());
}

}  // namespace
