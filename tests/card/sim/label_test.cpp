// Label entries by label and end-of-stack, and the pool of their indices.
#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

using LabelTest = L3Test;

constexpr u32 kPointer = 200100u << 6;

TEST_F(LabelTest, EntriesAreKeptByLabelAndEndOfStack) {
    EXPECT_EQ(add(pop_lookup_label(24000, true)), 0u);
    EXPECT_EQ(add(pop_lookup_label(24000, false)), 0u);
    EXPECT_EQ(add(pop_lookup_label(24000, false)), 0u);
    EXPECT_EQ(used(Resource::label), 2u);
}

TEST_F(LabelTest, ADeleteNamesTheLabelAloneAndRemovesBothEntries) {
    EXPECT_EQ(add(pop_lookup_label(24000, true)), 0u);
    EXPECT_EQ(add(pop_lookup_label(24000, false)), 0u);
    EXPECT_EQ(add(pop_lookup_label(24001, false)), 0u);
    EXPECT_EQ(del(label_delete(24000)), 0u);
    EXPECT_EQ(used(Resource::label), 1u);
    EXPECT_EQ(del(label_delete(24000)), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(del(label_delete(24001)), 0u);
}

TEST_F(LabelTest, AModifyNeedsItsEntryOfThatEndOfStack) {
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_EQ(add(pop_lookup_label(55000, true)), 0u);
    EXPECT_EQ(mod(ldi_label(55000, false, kPointer)), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(mod(ldi_label(55000, true, kPointer, 9)), 0u);
    const LabelEntry &entry = *card.label.table.find(label_key(55000, true));
    EXPECT_EQ(entry.pointer, kPointer);
    EXPECT_EQ(entry.leaf_hw_idx, 9u);
    EXPECT_EQ(card.load_distribution.table.users(kPointer), 1u);
}

TEST_F(LabelTest, AnEntryThatPointsAtALoadDistributionEntryNeedsIt) {
    EXPECT_EQ(add(ldi_label(55000, true, kPointer)), CARD_ERROR_UNKNOWN_REFERENCE);
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_EQ(add(ldi_label(55000, true, kPointer)), 0u);
    EXPECT_EQ(add(ldi_label(55000, false, kPointer)), 0u);
    EXPECT_EQ(del(ldi(kPointer)), CARD_ERROR_IN_USE);
    EXPECT_EQ(del(label_delete(55000)), 0u);
    EXPECT_EQ(del(ldi(kPointer)), 0u);
}

TEST_F(LabelTest, ARecursiveEntryNamesAPointer) {
    zor_label_request request = pop_lookup_label(5, false);
    request.payload.flags0 = ZOR_LABEL_RECURSIVE;
    request.payload.flags2 = 0;
    request.payload.label_ptr_rec = 77;
    EXPECT_EQ(add(request), 0u);
    EXPECT_EQ(card.label.table.find(label_key(5, false))->recursive_pointer, 77u);
}

TEST_F(LabelTest, SpoiledRequestsAreRefused) {
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    const auto refused = [&](u32 code, auto spoil) {
        zor_label_request request = ldi_label(55000, true, kPointer);
        spoil(request);
        EXPECT_EQ(add(request), code);
        EXPECT_EQ(mod(request), code);
        EXPECT_EQ(used(Resource::label), 0u);
    };
    using R = zor_label_request;
    refused(CARD_ERROR_BAD_OWNER, [](R &r) { r.owner = 0; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.reserved4[0] = 1; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.reserved159[1964] = 1; });
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.key_len = 4; });
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.payload_len = 86; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.key.label = 0x100000; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.key.eos = 2; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.payload.flags1 = 0; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.payload.flags3 = 0; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.key.reserved5[2] = 1; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.payload.label_ptr_eos0 = 1; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.payload.reserved82[4] = 1; });
    refused(CARD_ERROR_BAD_KIND, [](R &r) { r.payload.flags0 = 0; });
    refused(CARD_ERROR_BAD_KIND, [](R &r) { r.payload.flags0 |= 1; });
    refused(CARD_ERROR_BAD_KIND, [](R &r) { r.payload.flags2 = ZOR_LABEL_POP_LOOKUP; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.payload.label_ptr_rec = 1; });
    zor_label_request pointer = pop_lookup_label(5, false);
    pointer.payload.label_ptr_eos0 = kPointer;
    EXPECT_EQ(add(pointer), CARD_ERROR_BAD_VALUE);
}

TEST_F(LabelTest, SpoiledDeletesAreRefused) {
    EXPECT_EQ(add(pop_lookup_label(5, true)), 0u);
    EXPECT_EQ(del(pop_lookup_label(5, true)), CARD_ERROR_BAD_LENGTH);
    zor_label_request request = label_delete(5);
    request.payload_len = 87;
    EXPECT_EQ(del(request), CARD_ERROR_BAD_LENGTH);
    EXPECT_EQ(used(Resource::label), 1u);
}

TEST_F(LabelTest, IndicesAreReservedAndReleased) {
    const u32 index = label_index();
    ASSERT_NE(index, 0u);
    EXPECT_EQ(used(Resource::label_index), 1u);
    EXPECT_EQ(release_label_index(index), 0u);
    EXPECT_EQ(used(Resource::label_index), 0u);
    EXPECT_EQ(release_label_index(index), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(release_label_index(0), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(release_label_index(index, 0), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(release_label_index(0xFFFFFFFF, 0xFFFFFFFF), CARD_ERROR_BAD_COUNT);
}

TEST_F(LabelTest, ABlockIsReleasedWholeOrNotAtAll) {
    const u32 block = label_index(3);
    EXPECT_EQ(release_label_index(block, 4), CARD_ERROR_NOT_RESERVED);
    EXPECT_EQ(used(Resource::label_index), 3u);
    EXPECT_EQ(release_label_index(block, 3), 0u);
    EXPECT_EQ(used(Resource::label_index), 0u);
}

TEST_F(LabelTest, AnIndexOfAnEntryIsNotReleased) {
    const u32 index = label_index();
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_EQ(add(ldi_label(55000, true, kPointer, index)), 0u);
    EXPECT_EQ(release_label_index(index), CARD_ERROR_IN_USE);
    EXPECT_EQ(del(label_delete(55000)), 0u);
    EXPECT_EQ(used(Resource::label_index), 1u);
    EXPECT_EQ(release_label_index(index), 0u);
}

TEST_F(LabelTest, APoolNeverHandsOutANamedIndex) {
    EXPECT_EQ(add(ldi(kPointer)), 0u);
    EXPECT_EQ(add(ldi_label(55000, true, kPointer, 1)), 0u);
    EXPECT_EQ(label_index(), 2u);
    EXPECT_EQ(del(label_delete(55000)), 0u);
    EXPECT_EQ(used(Resource::label_index), 1u);
}

TEST_F(LabelTest, StrangersAndNullRecordsAreRefused) {
    zor_label_request request = pop_lookup_label(5, true);
    for (auto *operation :
         {zor_vop_prm_srh_label_ufib_add, zor_vop_prm_srh_label_ufib_mod, zor_vop_prm_srh_label_ufib_del}) {
        EXPECT_EQ(operation(stranger(), &request), CARD_ERROR_BAD_HANDLE);
        EXPECT_EQ(operation(client, nullptr), CARD_ERROR_NULL_POINTER);
    }
    EXPECT_EQ(prm_srh_mpls_leaf_buddy_reserve(nullptr, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_mpls_leaf_buddy_release(nullptr, nullptr), CARD_ERROR_NULL_POINTER);
}

}  // namespace
}  // namespace sim
