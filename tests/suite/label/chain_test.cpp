// Forwarding chains: what each case sends and tells, on success and with each of its calls failing in turn.
//
// The expected course of a chain is built by a model of its own, which is told the call that fails.
#include "prm_kiv_label.h"
#include "tests/standin/script.h"

namespace {

using standin::Bytes;
using standin::RecordBuilder;
using standin::run;

constexpr char kFile[] = "prm/test/src/prm_kiv_label";

// Writes down the course of a chain while handing out indices as the stand-in does: 1001 and on, one for each
// reservation that succeeds. The lines of this area's checks are its source's own.
class Course {
  public:
    Course(const char *function, Script &script) : function_(function), script_(script) {}

    // Adds a call; its status.
    uint32_t call(const char *operation, const char *handle, const Bytes &record) {
        return script_.call(std::string(operation) + "(" + handle + ", " + shown(record) + ")");
    }
    void check(uint32_t status) { result_ = script_.check(status, function_, 0); }
    template <class... Numbers>
    void print(const char *format, Numbers... numbers) {
        script_.print(formatted(format, numbers...));
    }
    uint32_t hand_out(uint32_t status) { return status == 0 ? 1000 + ++handed_out_ : 0; }

    // --- Links ---

    uint32_t reserve_next_hop(bool mpls = false) {
        const uint32_t rc = call("prm_srh_tx_adj_buddy_reserve", "0", RecordBuilder(2352).u32_at(4, 1));
        const uint32_t nh = hand_out(rc);
        if (rc != 0)
            print("ERROR: Buddy Reserve failed. rc = 0x%x ", rc);
        else if (mpls)
            print("SUCCESS: Buddy Reserve MPLS Index: 0x%x", nh);
        else
            print("SUCCESS: Buddy Reserve Index: 0x%x", nh);
        return nh;
    }
    void add_adjacency(uint32_t nh, uint32_t mpls_nh, bool labelled) {
        RecordBuilder record(2124);
        record.u32_at(20, nh).u8_at(72, 0x10).u16_at(80, 10).bytes_at(88, {0, 0, 0xB0, 0x10, 0x10, 1});
        if (labelled) record.u8_at(74, 0x06).u32_at(96, mpls_nh).u32_at(100, 55002).u32_at(104, 55003);
        const uint32_t rc = call("prm_srh_tx_adj_add", "async", record);
        if (rc != 0)
            print("ERROR: Tx Adj ADD failed. rc = 0x%x ", rc);
        else
            print("SUCCESS: Tx Adj ADD completed. rc = 0x%x ", 0u);
    }
    uint32_t reserve_label_index() {
        print("Call MPLS_LEAF_BUDDY_RESERVE\n");
        const uint32_t rc =
            call("prm_srh_mpls_leaf_buddy_reserve", "0", RecordBuilder(2352).u32_at(0, 10).u32_at(4, 1));
        const uint32_t index = hand_out(rc);
        check(rc);
        print("Call MPLS_LEAF_BUDDY_RESERVE sucessfull: Reserved index %u\n", index);
        return index;
    }
    uint32_t send_label(const char *operation, uint32_t label, uint32_t eos, uint32_t pointer,
                        uint32_t index) {
        return call(operation, "async",
                    RecordBuilder(2124)
                        .u32_at(0, 10)
                        .u32_at(12, 8)
                        .u32_at(20, label)
                        .u8_at(24, eos)
                        .u32_at(68, 87)
                        .u8_at(72, 0x80)
                        .u8_at(73, 0x80)
                        .u8_at(75, eos ? 0x10 : 0)
                        .u32_at(72 + 8 + 5 * eos, pointer)
                        .u32_at(72 + 78, index));
    }
    void add_label(uint32_t label, uint32_t eos, uint32_t pointer, uint32_t index) {
        const uint32_t rc = send_label("zor_vop_prm_srh_label_ufib_add", label, eos, pointer, index);
        check(rc);
        print("kiv_util_vop_prm_srh_mpls_leaf_add called rc: 0x%x\n", rc);
    }

    // --- Chains ---

    uint32_t nh = 0, mpls_nh = 0, pointer = 0, index = 0;

    void pop(uint32_t eos) {
        nh = reserve_next_hop();
        add_adjacency(nh, 0, false);
        print("Call NR_LDI_BUDDY_RESERVE\n");
        uint32_t rc =
            call("prm_srh_nr_ldi_buddy_reserve", "0", RecordBuilder(2352).u32_at(0, 10).u32_at(4, 1));
        pointer = hand_out(rc);
        check(rc);
        print("Call NR_LDI_BUDDY_RESERVE sucessfull\n");
        rc = call("prm_srh_nr_ldi_add", "async",
                  RecordBuilder(2124)
                      .u32_at(0, 10)
                      .u32_at(12, 4)
                      .u32_at(16, 3)
                      .u32_at(20, pointer)
                      .u32_at(68, 130)
                      .u32_at(72 + 53, nh));
        check(rc);
        print("NR_LDI_ADD API call is sucessfull\n");
        index = reserve_label_index();
        print("\nldi_ptr in create pop: 0x%x", pointer);
        add_label(55000, eos, pointer, index);
    }
    void swap(uint32_t eos) {
        nh = reserve_next_hop();
        mpls_nh = reserve_next_hop();
        add_adjacency(nh, 0, false);
        add_adjacency(nh, mpls_nh, true);
        uint32_t rc = call("prm_srh_nr_ldi_buddy_reserve", "0",
                           RecordBuilder(2352).u32_at(0, 10).u32_at(4, 1).u32_at(36, 55003).u8_at(296, 1));
        pointer = hand_out(rc);
        check(rc);
        print("Call NR_LDI_BUDDY_RESERVE sucessfull ldi_ptr %u nh_index_mpls %u\n", pointer, mpls_nh);
        rc = call("prm_srh_nr_ldi_add", "async",
                  RecordBuilder(2124)
                      .u32_at(0, 10)
                      .u32_at(12, 4)
                      .u32_at(20, pointer)
                      .u32_at(68, 130)
                      .u8_at(72, 0x03)
                      .u32_at(72 + 5, 55002)
                      .u32_at(72 + 9, 55003)
                      .u32_at(72 + 53, nh)
                      .u32_at(72 + 61, mpls_nh));
        check(rc);
        print("NR_LDI_ADD API call is sucessfull\n");
        index = reserve_label_index();
        add_label(55002, eos, pointer, index);
    }
    void push_leaf(const char *operation) {
        call(operation, "async",
             RecordBuilder(188)
                 .u32_at(0, 10)
                 .u32_at(16, 8)
                 .u32_at(20, 0x01010102)
                 .u32_at(100, 32)
                 .u32_at(104, 4)
                 .u32_at(108, 1024)
                 .u32_at(112, 4)
                 .u32_at(116, 1024)
                 .u32_at(120, 55)
                 .u8_at(124, 0x01)
                 .u8_at(125, 0x08)
                 .u32_at(132, nh)
                 .u32_at(136, mpls_nh));
    }

    int result() const { return result_; }

  private:
    const char *function_;
    Script &script_;
    uint32_t handed_out_ = 0;
    int result_ = 0;
};

void pop_case(Course &course, uint32_t eos) {
    course.pop(eos);
    course.print("SUCCESS: call to create pop nh_index: 0x%x", course.nh);
}
void swap_case(Course &course, uint32_t eos) {
    course.swap(eos);
    course.print("SUCCESS: call to create swap nh_index: 0x%x nh_mpls_index: 0x%x leaf_hw_idx: 0x%x",
                 course.nh, course.mpls_nh, course.index);
}
void push_case(Course &course, uint32_t eos) {
    course.swap(eos);
    course.print("SUCCESS: call to create swap nh_index: 0x%x nh_mpls_index: 0x%x leaf_hw_index: 0x%x",
                 course.nh, course.mpls_nh, course.index);
    course.push_leaf("zor_vop_prm_srh_ipv4_leaf_add");
    course.push_leaf("zor_vop_prm_srh_ipv4_leaf_mod");
}
void pop_to_swap_case(Course &course, uint32_t) {
    course.pop(1);
    course.print("SUCCESS: call create_pop nh_idx: 0x%x leaf_hw_idx: 0x%x ldi_ptr: 0x%x", course.nh,
                 course.index, course.pointer);
    course.mpls_nh = course.reserve_next_hop(true);
    course.add_adjacency(course.nh, course.mpls_nh, true);
    course.send_label("zor_vop_prm_srh_label_ufib_mod", 55000, 1, course.pointer, course.index);
}
void swap_to_pop_case(Course &course, uint32_t) {
    course.swap(1);
    course.print(
        "SUCCESS: call to create swap nh_index: 0x%x nh_mpls_index: 0x%xldi_ptr: 0x%x leaf_hw_idx: 0x%x",
        course.nh, course.mpls_nh, course.pointer, course.index);
    course.send_label("zor_vop_prm_srh_label_ufib_mod", 55000, 1, course.pointer, course.index);
}

struct ChainCase {
    kiv_function_t function;
    const char *name;
    void (*expect)(Course &, uint32_t eos);
    uint32_t eos;
    int calls;
};

const ChainCase kChainCases[] = {
    {tc_mpls_fwding_chain_create_pop, "tc_mpls_fwding_chain_create_pop", pop_case, 1, 6},
    {tc_mpls_fwding_chain_create_swap, "tc_mpls_fwding_chain_create_swap", swap_case, 1, 8},
    {tc_mpls_fwding_chain_create_push, "tc_mpls_fwding_chain_create_push", push_case, 1, 10},
    {tc_mpls_fwding_chain_create_pop_eos0, "tc_mpls_fwding_chain_create_pop_eos0", pop_case, 0, 6},
    {tc_mpls_fwding_chain_create_swap_eos0, "tc_mpls_fwding_chain_create_swap_eos0", swap_case, 0, 8},
    {tc_mpls_fwding_chain_create_push_eos0, "tc_mpls_fwding_chain_create_push_eos0", push_case, 0, 10},
    {tc_mpls_fwding_chain_create_pop_to_swap, "tc_mpls_fwding_chain_create_pop_to_swap", pop_to_swap_case, 1,
     9},
    {tc_mpls_fwding_chain_create_swap_to_pop, "tc_mpls_fwding_chain_create_swap_to_pop", swap_to_pop_case, 1,
     9},
};

class ChainTest : public SuiteTest {
  protected:
    // With the n-th call failing; none of them where it is 0.
    static void expect_course(const ChainCase &c, int failing) {
        SCOPED_TRACE(c.name);
        const int calls = compare_with_flow(
            c.function, kFile, failing, fresh_standin,
            [&](Script &script) {
                Course course(c.name, script);
                c.expect(course, c.eos);
                return course.result();
            },
            LineNumbers::cut);
        EXPECT_EQ(calls, c.calls);
        EXPECT_EQ(standin::allocations(), 0);
    }
};

TEST_F(ChainTest, EveryChainBuildsItsLinksInOrder) {
    for (const ChainCase &c : kChainCases) expect_course(c, 0);
}

TEST_F(ChainTest, EveryChainGoesOnAfterEachFailingCall) {
    for (const ChainCase &c : kChainCases)
        for (int nth = 1; nth <= c.calls; ++nth) expect_course(c, nth);
}

TEST_F(ChainTest, ThePopEntryIsClearedAfterItsLabelsWereSet) {
    run(tc_mpls_fwding_chain_create_pop);
    const auto entry = standin::calls("prm_srh_nr_ldi_add").at(0);
    EXPECT_EQ(entry.field<uint8_t>(72), 0);
    EXPECT_EQ(entry.field<uint32_t>(72 + 5), 0u);
    EXPECT_EQ(entry.field<uint32_t>(72 + 9), 0u);
    EXPECT_EQ(entry.field<uint32_t>(72 + 53), 1001u);
}

TEST_F(ChainTest, TheSwapEntryKeepsItsLabels) {
    run(tc_mpls_fwding_chain_create_swap);
    const auto entry = standin::calls("prm_srh_nr_ldi_add").at(0);
    EXPECT_EQ(entry.field<uint8_t>(72), 3);
    EXPECT_EQ(entry.field<uint32_t>(72 + 5), 55002u);
    EXPECT_EQ(entry.field<uint32_t>(72 + 9), 55003u);
}

TEST_F(ChainTest, SwapToPopModifiesThePopLabelNotTheSwapLabel) {
    run(tc_mpls_fwding_chain_create_swap_to_pop);
    EXPECT_EQ(standin::calls("zor_vop_prm_srh_label_ufib_add").at(0).field<uint32_t>(20), 55002u);
    EXPECT_EQ(standin::calls("zor_vop_prm_srh_label_ufib_mod").at(0).field<uint32_t>(20), 55000u);
}

TEST_F(ChainTest, ThePushLeafIsSentAgainAsAModify) {
    run(tc_mpls_fwding_chain_create_push);
    EXPECT_EQ(standin::calls("zor_vop_prm_srh_ipv4_leaf_add").at(0).record(),
              standin::calls("zor_vop_prm_srh_ipv4_leaf_mod").at(0).record());
}

TEST_F(ChainTest, ChecksOfOneChainStandOnDifferentLines) {
    run(tc_mpls_fwding_chain_create_pop);
    const auto checks = standin::checks();
    ASSERT_EQ(checks.size(), 4u);
    for (size_t i = 1; i < checks.size(); ++i) EXPECT_NE(checks[i].line, checks[i - 1].line);
}

}  // namespace
