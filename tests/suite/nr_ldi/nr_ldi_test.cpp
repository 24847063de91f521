// Load-distribution entries: requests, prints and checks of the cases, on success and on failure.
#include "prm_kiv_nr_ldi.h"

#include "tests/standin/suite_test.h"

namespace {

using standin::RecordBuilder;
using standin::run;
using standin::transcript;
using testing::ElementsAre;

constexpr uint32_t kFailure = 0x1234;
const char kFile[] = "prm/test/src/prm_kiv_nr_ldi";
const char kLine[] = "print \"NR_LDI_ADD API call is sucessfull\\n\"";

standin::Bytes plain_add() {
    return RecordBuilder(2124)
        .u32_at(0, 10)
        .u32_at(12, 4)
        .u32_at(16, 0)
        .u32_at(20, 0xC36900)
        .u32_at(68, 260)
        .u32_at(72 + 4, 100005)
        .u32_at(2120, 1);
}

standin::Bytes plain_delete() {
    return RecordBuilder(2124)
        .u32_at(0, 10)
        .u32_at(12, 4)
        .u32_at(16, 3)
        .u32_at(20, 0xC36900)
        .u32_at(68, 130)
        .u32_at(72 + 53, 100005);
}

class NrLdiTest : public SuiteTest {};

struct EntryCase {
    kiv_function_t function;
    const char *name;
    int line;
    const char *operation;
    standin::Bytes record;
};

const std::vector<EntryCase> &entry_cases() {
    static const std::vector<EntryCase> cases = {
        {tc_kiv_nr_ldi_add, "tc_kiv_nr_ldi_add", 102, "prm_srh_nr_ldi_add", plain_add()},
        {tc_kiv_nr_ldi_del, "tc_kiv_nr_ldi_del", 132, "prm_srh_nr_ldi_del", plain_delete()},
        {tc_kiv_nr_ldi_add_mpls, "tc_kiv_nr_ldi_add_mpls", 174, "prm_srh_nr_ldi_add", plain_delete()},
        {tc_kiv_nr_ldi_del_mpls, "tc_kiv_nr_ldi_del_mpls", 216, "prm_srh_nr_ldi_del", plain_delete()},
    };
    return cases;
}

TEST_F(NrLdiTest, EveryCaseSendsItsRecordChecksAndPrintsTheAddText) {
    for (const EntryCase &c : entry_cases()) {
        standin::reset();
        EXPECT_EQ(run(c.function), 1) << c.name;
        EXPECT_THAT(standin::outline(),
                    ElementsAre(std::string("call ") + c.operation,
                                check_line(0, 0, "CERR_SUCCESS", kFile, c.name, c.line), kLine));
        EXPECT_EQ(standin::calls().at(0).record(), c.record) << c.name;
        EXPECT_EQ(standin::calls().at(0).arguments.at(0).number, reinterpret_cast<uint64_t>(standin::kAsync));
        EXPECT_EQ(standin::allocations(), 0);
    }
}

TEST_F(NrLdiTest, AFailureShowsInTheCheckAndTheLineStillSaysSuccess) {
    for (const EntryCase &c : entry_cases()) {
        standin::reset();
        standin::fail_call(1, kFailure);
        EXPECT_EQ(run(c.function), 0) << c.name;
        EXPECT_THAT(standin::outline(),
                    ElementsAre(std::string("call ") + c.operation,
                                check_line(kFailure, 0, "CERR_SUCCESS", kFile, c.name, c.line), kLine));
    }
}

TEST_F(NrLdiTest, TheDeletePrintsTheAddText) {
    run(tc_kiv_nr_ldi_del);
    EXPECT_EQ(standin::printed(), "NR_LDI_ADD API call is sucessfull\n");
}

TEST_F(NrLdiTest, TheMplsPathBlockIsClearedAfterItsMplsPartWasSet) {
    run(tc_kiv_nr_ldi_add_mpls);
    const auto entry = standin::calls().at(0).as<prm_nr_ldi>();
    EXPECT_EQ(entry.block.flags, 0);
    EXPECT_EQ(entry.block.mpls_nh_idx, 0u);
    EXPECT_EQ(entry.block.nh_idx, 100005u);
}

TEST_F(NrLdiTest, TheMplsFormsSendTheBytesOfThePlainDelete) {
    for (kiv_function_t function : {tc_kiv_nr_ldi_del, tc_kiv_nr_ldi_add_mpls, tc_kiv_nr_ldi_del_mpls})
        run(function);
    const auto sent = standin::calls();
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[1].record(), sent[0].record());
    EXPECT_EQ(sent[2].record(), sent[0].record());
}

TEST_F(NrLdiTest, AddAndDeleteNameTheNextHopAtDifferentPlaces) {
    run(tc_kiv_nr_ldi_add);
    run(tc_kiv_nr_ldi_del);
    const auto added = standin::calls().at(0), deleted = standin::calls().at(1);
    EXPECT_EQ(added.field<uint32_t>(72 + 4), 100005u);
    EXPECT_EQ(added.field<uint32_t>(72 + 53), 0u);
    EXPECT_EQ(deleted.field<uint32_t>(72 + 4), 0u);
    EXPECT_EQ(deleted.field<uint32_t>(72 + 53), 100005u);
}

TEST_F(NrLdiTest, ReserveAsksForThreeWithoutAHandle) {
    EXPECT_EQ(run(tc_kiv_nr_ldi_buddy_reserve), 1);
    EXPECT_THAT(transcript(),
                ElementsAre("print \"Call NR_LDI_BUDDY_RESERVE\\n\"",
                            "call prm_srh_nr_ldi_buddy_reserve(0, 2352{0:0a 4:03})",
                            check_line(0, 0, "CERR_SUCCESS", kFile, "tc_kiv_nr_ldi_buddy_reserve", 47),
                            "print \"Call NR_LDI_BUDDY_RESERVE sucessfull\\n\""));
}

TEST_F(NrLdiTest, AFailedReserveStillSaysSuccessful) {
    standin::fail_call(1, kFailure);
    EXPECT_EQ(run(tc_kiv_nr_ldi_buddy_reserve), 0);
    EXPECT_THAT(transcript(),
                ElementsAre("print \"Call NR_LDI_BUDDY_RESERVE\\n\"",
                            "call prm_srh_nr_ldi_buddy_reserve(0, 2352{0:0a 4:03})",
                            check_line(kFailure, 0, "CERR_SUCCESS", kFile, "tc_kiv_nr_ldi_buddy_reserve", 47),
                            "print \"Call NR_LDI_BUDDY_RESERVE sucessfull\\n\""));
}

TEST_F(NrLdiTest, StepsPassTheirArgumentsThrough) {
    prm_nr_ldi entry = {};
    prm_buddy_reserve request = {};
    standin::on("prm_srh_nr_ldi_add").returns(1);
    standin::on("prm_srh_nr_ldi_del").returns(2);
    standin::on("prm_srh_nr_ldi_buddy_reserve").returns(3);
    EXPECT_EQ(kiv_util_nr_ldi_add(standin::kMgr, &entry), 1u);
    EXPECT_EQ(kiv_util_nr_ldi_del(standin::kMgr, &entry), 2u);
    EXPECT_EQ(kiv_util_nr_ldi_buddy_reserve(standin::kMgr, &request), 3u);
    for (const auto &call : standin::calls())
        EXPECT_EQ(call.arguments.at(0).number, reinterpret_cast<uint64_t>(standin::kMgr));
    EXPECT_EQ(standin::calls().at(0).arguments.at(1).number, reinterpret_cast<uint64_t>(&entry));
    EXPECT_EQ(standin::calls().at(2).arguments.at(1).number, reinterpret_cast<uint64_t>(&request));
}

}  // namespace
