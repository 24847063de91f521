// LPTS entries: identifiers, read-back and refusals.
#include <algorithm>
#include <set>

#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

class LptsTest : public L3Test {
  protected:
    u32 add_entry(prm_lpts_id *id, prm_lpts_request request = lpts_add_request()) {
        const u32 status = prm_srh_lpts_add(client, &request);
        if (status == CERR_SUCCESS) *id = request.id;
        return status;
    }
    u32 get(const prm_lpts_id &id, prm_lpts_entry *entry = nullptr) {
        prm_lpts_request request = lpts_id_request(id);
        const u32 status = prm_srh_lpts_get(client, &request, PRM_LPTS_GET_WORD);
        if (status == CERR_SUCCESS && entry != nullptr) *entry = request.entry;
        return status;
    }
    u32 remove(const prm_lpts_id &id) {
        prm_lpts_request request = lpts_id_request(id);
        return prm_srh_lpts_del(client, &request);
    }
};

TEST_F(LptsTest, AnEntryIsReadBackAsProgrammedUntilItIsDeleted) {
    prm_lpts_id id = {};
    ASSERT_EQ(add_entry(&id), 0u);
    prm_lpts_entry read = {};
    EXPECT_EQ(get(id, &read), 0u);
    const prm_lpts_entry programmed = lpts_add_request().entry;
    EXPECT_EQ(std::memcmp(&read, &programmed, sizeof read), 0);
    EXPECT_EQ(used(Resource::lpts), 1u);
    EXPECT_EQ(remove(id), 0u);
    EXPECT_EQ(used(Resource::lpts), 0u);
    EXPECT_EQ(used(Resource::lpts_index), 0u);
    EXPECT_EQ(get(id), CARD_ERROR_NOT_FOUND);
    EXPECT_EQ(remove(id), CARD_ERROR_NOT_FOUND);
}

TEST_F(LptsTest, EachEntryHasIdsOfItsOwn) {
    std::set<u32> entries, policers, statistics;
    for (int i = 0; i < 100; ++i) {
        prm_lpts_id id = {};
        ASSERT_EQ(add_entry(&id), 0u);
        entries.insert(id.entry);
        policers.insert(id.policer);
        statistics.insert(id.statistics);
        EXPECT_NE(id.group, 0u);
    }
    EXPECT_EQ(entries.size(), 100u);
    EXPECT_EQ(policers.size(), 100u);
    EXPECT_EQ(statistics.size(), 100u);
}

TEST_F(LptsTest, TheGroupIsThatOfTheAddressFamily) {
    prm_lpts_request request = lpts_add_request();
    prm_lpts_id id4 = {}, id6 = {};
    EXPECT_EQ(add_entry(&id4), 0u);
    request.entry.l3_proto = PRM_LPTS_PROTO_IPV6;
    request.entry.local_plen = 128;
    request.entry.local_addr.v6[15] = 1;
    EXPECT_EQ(add_entry(&id6, request), 0u);
    EXPECT_NE(id4.group, id6.group);
}

TEST_F(LptsTest, AnIdentifierWithAForeignPartIsRefused) {
    prm_lpts_id id = {};
    EXPECT_EQ(add_entry(&id), 0u);
    for (u32 prm_lpts_id::*part :
         {&prm_lpts_id::group, &prm_lpts_id::entry, &prm_lpts_id::policer, &prm_lpts_id::statistics}) {
        prm_lpts_id wrong = id;
        wrong.*part += 1;
        EXPECT_EQ(get(wrong), CARD_ERROR_NOT_FOUND);
        EXPECT_EQ(remove(wrong), CARD_ERROR_NOT_FOUND);
    }
    id.word16 = 99;  // not used
    EXPECT_EQ(get(id), 0u);
}

TEST_F(LptsTest, EntryId65518NeverExistsHoweverFullTheTable) {
    prm_lpts_id id = {};
    u32 last = 0;
    while (add_entry(&id) == CERR_SUCCESS) last = std::max<u32>(last, id.entry);
    EXPECT_EQ(last, 65517u);
    EXPECT_EQ(add_entry(&id), CARD_ERROR_POOL_EXHAUSTED);
    id.entry = 65518;
    EXPECT_EQ(get(id), CARD_ERROR_NOT_FOUND);
}

TEST_F(LptsTest, SpoiledRequestsAreRefused) {
    const auto refused = [&](u32 code, auto spoil) {
        prm_lpts_request request = lpts_add_request();
        spoil(request);
        EXPECT_EQ(prm_srh_lpts_add(client, &request), code);
        EXPECT_EQ(used(Resource::lpts), 0u);
    };
    using R = prm_lpts_request;
    refused(CARD_ERROR_BAD_OWNER, [](R &r) { r.owner = 0; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.reserved4[55] = 1; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.word64 = 1; });
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.data_len = 129; });
    refused(CARD_ERROR_BAD_LENGTH, [](R &r) { r.data_len = 0xFFFFFFFF; });
    refused(CARD_ERROR_BAD_KIND, [](R &r) { r.entry.lpts_type = 0; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.entry.lpts_mask1 = 0; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.entry.lpts_valid = 0; });
    refused(CARD_ERROR_BAD_KIND, [](R &r) { r.entry.l3_proto = 3; });
    refused(CARD_ERROR_BAD_VALUE, [](R &r) { r.entry.local_plen = 33; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.entry.local_addr.v6[15] = 1; });
    refused(CARD_ERROR_RESERVED_BYTES, [](R &r) { r.entry.reserved118[9] = 1; });
    prm_lpts_id id = {};
    EXPECT_EQ(add_entry(&id), 0u);
    prm_lpts_request read = lpts_id_request(id);
    EXPECT_EQ(prm_srh_lpts_get(client, &read, 2), CARD_ERROR_BAD_VALUE);
    read.data_len = 128;
    EXPECT_EQ(prm_srh_lpts_get(client, &read, 1), CARD_ERROR_BAD_LENGTH);
    EXPECT_EQ(prm_srh_lpts_del(client, &read), CARD_ERROR_BAD_LENGTH);
    EXPECT_EQ(prm_srh_lpts_get(client, nullptr, 1), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(prm_srh_lpts_add(nullptr, &read), CARD_ERROR_BAD_HANDLE);
}

}  // namespace
}  // namespace sim
