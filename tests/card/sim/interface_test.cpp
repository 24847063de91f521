// The interface database: creating, features, bundles, deleting, and everything it refuses.
#include <cstring>
#include <string>
#include <vector>

#include "prm_srh_span.h"
#include "tests/card/sim/card_test.h"
#include "tests/card/sim/interface_requests.h"

namespace sim {
namespace {

constexpr u32 kNewSub = 0x8002010, kNewBundle = 0x800B000, kBvi = 0x800004C;
constexpr uintptr_t kCookie = UIDB_CLIENT_COOKIE;

class InterfaceTest : public CardTest {
  protected:
    using CardTest::CardTest;

    u32 create(u32 if_handle, u32 iftype, u32 parent, u32 port, u16 *uidb = nullptr) {
        uidb_create_msg message = create_message(if_handle, iftype, parent, port);
        const u32 status = uidb_create_interface(kCookie, &message);
        if (uidb != nullptr) *uidb = message.uidb_index;
        return status;
    }
    u32 create_sub(u32 if_handle = kNewSub, u32 parent = kMainA) {
        return create(if_handle, UIDB_IFTYPE_SUB_INTERFACE, parent, 5);
    }

    u32 set(u32 if_handle, const std::vector<uidb_feature> &records) {
        return set_features(if_handle, records);
    }
    u32 set(u32 if_handle, u32 id, u32 value, u16 qualifier = 0) {
        return set(if_handle, {feature(id, value, qualifier)});
    }
    u32 lag(u32 op, u8 lag_id, std::vector<u16> ports, u32 *call_status = nullptr) {
        uidb_lag_update update = {};
        update.lag_id = lag_id;
        update.lag_op = op;
        update.lag_status = 0xAAAAAAAA;
        update.member_count = static_cast<u8>(ports.size());
        for (size_t i = 0; i < ports.size() && i < UIDB_LAG_MAX_MEMBERS; ++i) update.members[i] = ports[i];
        const u32 status = uidb_update_lag(kCookie, &update);
        if (call_status != nullptr) *call_status = status;
        return status != 0 ? status : update.lag_status;
    }
    u32 statistics(u32 direction) {
        u32 count = 1, pointer = 0;
        EXPECT_EQ(prm_stats_cl_alloc(client, direction, PRM_STATS_CLASS_INTERFACE, 2, &count, &pointer), 0u);
        return pointer;
    }
    const Interface &at(u32 if_handle) const { return *card.interfaces.table.find(if_handle); }
};

// ---- Creating and deleting.

TEST_F(InterfaceTest, TheInventoryIsProvidedAsItIsDescribed) {
    constexpr u32 kBundleSub = 0x800A010, kDoubleTagged = 0x8001040;
    Inventory inventory = small_inventory();
    inventory.interfaces.push_back({.handle = kBundleSub,
                                    .kind = InterfaceKind::SUB,
                                    .parent = kBundleIfh,
                                    .outer_vlan = 7,
                                    .in_bundle = true,
                                    .lag_id = 9});
    inventory.interfaces.push_back({.handle = kDoubleTagged,
                                    .kind = InterfaceKind::SUB,
                                    .parent = kMainB,
                                    .np_port = 6,
                                    .outer_vlan = 8,
                                    .inner_vlan = 9});
    Card described(inventory);
    CurrentCard use_described(described);
    const auto its = [&](u32 if_handle) -> const Interface & {
        return *described.interfaces.table.find(if_handle);
    };
    EXPECT_EQ(its(kMainA).kind, InterfaceKind::MAIN);
    EXPECT_EQ(its(kMainA).np_port, 5);
    EXPECT_EQ(its(kMainA).value(Feature::NP_PORT), 5u);
    EXPECT_EQ(its(kMainA).uidb, 40);
    EXPECT_EQ(its(kMainA).parent, 0u);
    EXPECT_EQ(its(kMainA).sub_interfaces, 2u);
    EXPECT_FALSE(its(kMainA).is_layer2());
    EXPECT_FALSE(its(kMainA).has(Feature::VLAN_TAGS));
    EXPECT_NE(its(kMainB).uidb, 0) << "the card picks one";
    EXPECT_EQ(described.interfaces.find_by_uidb(its(kMainB).uidb), &its(kMainB));
    EXPECT_EQ(its(kL2Sub).parent, kMainA);
    EXPECT_TRUE(its(kL2Sub).is_layer2());
    EXPECT_EQ(its(kL2Sub).value(Feature::OUTER_VLAN), 100u);
    EXPECT_EQ(its(kL2Sub).value(Feature::VLAN_TAGS), 1u);
    EXPECT_EQ(its(kDoubleTagged).value(Feature::INNER_VLAN), 9u);
    EXPECT_EQ(its(kDoubleTagged).value(Feature::VLAN_TAGS), 2u);
    EXPECT_EQ(its(kBundleIfh).value(Feature::LAG_ID), 9u);
    EXPECT_FALSE(its(kBundleIfh).has(Feature::NP_PORT));
    EXPECT_TRUE(described.interfaces.bundles.contains(9));
    EXPECT_EQ(described.interfaces.bundle_interfaces.at(9), kBundleIfh);
    EXPECT_EQ(its(kBundleSub).value(Feature::LAG_ID), 9u);
    EXPECT_EQ(described.interfaces.bundles.users(9), 1u);

    // They go as those that were created later do: the parent is free once they are gone.
    EXPECT_EQ(uidb_delete_interface(0, kBundleIfh), CARD_ERROR_HAS_SUB_INTERFACES);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 9, {}), CARD_ERROR_IN_USE);
    EXPECT_EQ(uidb_delete_interface(0, kBundleSub), 0u);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 9, {}), 0u);
    EXPECT_EQ(uidb_delete_interface(0, kBundleIfh), 0u);
    EXPECT_EQ(uidb_delete_interface(0, kL3Sub), 0u);
    EXPECT_EQ(its(kMainA).sub_interfaces, 1u);
    // What is left of the account is what the inventory gave: two each to main interfaces, five to others.
    EXPECT_EQ(described.accounts[Resource::feature].used, 2 * 2 + 5 * 3);
}

TEST_F(InterfaceTest, WhatIsCreatedIsKeptAsItWasAskedFor) {
    u16 uidb = 0;
    ASSERT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 7, &uidb), 0u);
    EXPECT_EQ(at(kNewSub).kind, InterfaceKind::SUB);
    EXPECT_EQ(at(kNewSub).parent, kMainA);
    EXPECT_EQ(at(kNewSub).np_port, 7);
    EXPECT_EQ(at(kNewSub).uidb, uidb);
    EXPECT_EQ(at(kNewSub).features, 0u);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(card.interfaces.handle_of_uidb(uidb), 0u);
    EXPECT_EQ(card.interfaces.find_by_uidb(uidb), nullptr);
    EXPECT_EQ(at(kMainA).sub_interfaces, 2u);
    u16 again = 0;
    ASSERT_EQ(create(kNewSub + 1, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 7, &again), 0u);
    EXPECT_EQ(again, uidb) << "its index is free";
}

TEST_F(InterfaceTest, WithoutAFreeIndexNothingIsCreated) {
    Card full(limited(small_inventory(), {{Resource::interface, 70000}}));
    CurrentCard use_full(full);
    u32 created = 0;
    u32 status;
    while ((status = create(0x9000000 + created, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5)) == 0) ++created;
    EXPECT_EQ(status, CARD_ERROR_POOL_EXHAUSTED);
    EXPECT_EQ(created, 0xFFFFu - small_inventory().interfaces.size() - 1) << "one is the BVI's";
    EXPECT_FALSE(full.interfaces.table.contains(0x9000000 + created));
    EXPECT_EQ(full.interfaces.table.find(kMainA)->sub_interfaces, created + 2);
    EXPECT_EQ(full.accounts[Resource::interface].used, created + small_inventory().interfaces.size());
}

TEST_F(InterfaceTest, CreateWritesTheIndexBack) {
    u16 uidb = 0, other = 0;
    ASSERT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5, &uidb), 0u);
    ASSERT_EQ(create(kNewSub + 1, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5, &other), 0u);
    EXPECT_NE(uidb, 0);
    EXPECT_NE(uidb, other);
    EXPECT_EQ(card.interfaces.handle_of_uidb(uidb), kNewSub);
    EXPECT_EQ(at(kMainA).sub_interfaces, 4u);
    EXPECT_EQ(used(Resource::interface), 8u);
}

TEST_F(InterfaceTest, CreateRefusesWhatItCannotMake) {
    EXPECT_EQ(create_sub(kMainB), CARD_ERROR_INTERFACE_EXISTS);
    EXPECT_EQ(create_sub(0), CARD_ERROR_BAD_VALUE);
    EXPECT_EQ(create_sub(kNewSub, 0x999), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(create_sub(kNewSub, kL3Sub), CARD_ERROR_BAD_PARENT);
    EXPECT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 64), CARD_ERROR_UNKNOWN_PORT);
    EXPECT_EQ(create(kNewSub, 1, 0, 5), CARD_ERROR_BAD_INTERFACE_TYPE);
    EXPECT_EQ(create(kNewSub, 99, 0, 5), CARD_ERROR_BAD_INTERFACE_TYPE);
    EXPECT_EQ(create(kNewBundle, UIDB_IFTYPE_BUNDLE_MAIN, kMainA, 0), CARD_ERROR_BAD_PARENT);
    EXPECT_EQ(create(kBvi, UIDB_IFTYPE_BVI, kMainA, 0), CARD_ERROR_BAD_PARENT);
    EXPECT_EQ(used(Resource::interface), 6u);
}

TEST_F(InterfaceTest, OnlyTheLowByteOfTheChannelMapIsThePort) {
    ASSERT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 0xFF07), 0u);
    EXPECT_EQ(at(kNewSub).np_port, 7);
}

TEST_F(InterfaceTest, BatchCreatesAllOrNothing) {
    uidb_create_msg messages[] = {create_message(kNewSub, 2, kMainA, 5),
                                  create_message(kNewSub + 1, 2, kMainA, 5),
                                  create_message(kNewSub, 2, kMainA, 5)};
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 3), CARD_ERROR_INTERFACE_EXISTS);
    EXPECT_FALSE(card.interfaces.table.contains(kNewSub));
    EXPECT_FALSE(card.interfaces.table.contains(kNewSub + 1));
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 2), 0u);
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 0), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 0xFFFFFFFF), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(uidb_create_interface_batch(kCookie, nullptr, 1), CARD_ERROR_NULL_POINTER);
}

TEST_F(InterfaceTest, ABatchMayCreateAnInterfaceAndItsSubInterface) {
    uidb_create_msg messages[] = {create_message(kNewBundle, 3, 0, 0),
                                  create_message(kNewSub, 2, kNewBundle, 5)};
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 2), 0u);
    EXPECT_EQ(at(kNewBundle).sub_interfaces, 1u);
}

TEST_F(InterfaceTest, AFullTableRefusesAndDeletingMakesRoom) {
    Card full(limited(small_inventory(), {{Resource::interface, 7}}));
    CurrentCard use_full(full);
    ASSERT_EQ(create_sub(), 0u);
    EXPECT_EQ(create_sub(kNewSub + 1), CARD_ERROR_TABLE_FULL);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(create_sub(kNewSub + 1), 0u);
}

TEST_F(InterfaceTest, ABviHasTheIndexOfItsCardType) {
    const struct {
        u32 type;
        bool veltora;
        u32 status;
        u16 uidb;
    } rows[] = {
        {PLATFORM_CARD_TYPE_A, false, 0, 4064},  {PLATFORM_CARD_TYPE_B, false, 0, 4064},
        {PLATFORM_CARD_TYPE_B, true, 0, 2016},   {0x1E1003, true, 0, 2016},
        {0x1E1003, false, CARD_ERROR_NO_BVI, 0},
    };
    for (const auto &row : rows) {
        Inventory inventory;
        inventory.card_type = row.type;
        inventory.veltora_family = row.veltora;
        Card its(inventory);
        CurrentCard use_its(its);
        u16 uidb = 0;
        EXPECT_EQ(create(kBvi, UIDB_IFTYPE_BVI, 0, 0, &uidb), row.status);
        EXPECT_EQ(uidb, row.uidb);
    }
}

TEST_F(InterfaceTest, ThereIsOneBviAtATime) {
    ASSERT_EQ(create(kBvi, UIDB_IFTYPE_BVI, 0, 0), 0u);
    EXPECT_EQ(create(kBvi + 1, UIDB_IFTYPE_BVI, 0, 0), CARD_ERROR_IN_USE);
    ASSERT_EQ(uidb_delete_interface(kCookie, kBvi), 0u);
    EXPECT_EQ(create(kBvi + 1, UIDB_IFTYPE_BVI, 0, 0), 0u);
}

TEST_F(InterfaceTest, NoOtherInterfaceGetsTheIndexOfTheBvi) {
    Card wide(limited(small_inventory(), {{Resource::interface, 5000}}));
    CurrentCard use_wide(wide);
    for (u32 i = 0; i < 4100; ++i) {
        u16 uidb = 0;
        ASSERT_EQ(create(0x9000000 + i, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5, &uidb), 0u);
        ASSERT_NE(uidb, 4064);
    }
}

TEST_F(InterfaceTest, DeleteRefusesWhatIsStillNeeded) {
    EXPECT_EQ(uidb_delete_interface(kCookie, 0x999), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(uidb_delete_interface(kCookie, kMainB), CARD_ERROR_FIXED_INTERFACE);
    ASSERT_EQ(create(kNewBundle, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0), 0u);
    ASSERT_EQ(create_sub(kNewSub, kNewBundle), 0u);
    EXPECT_EQ(uidb_delete_interface(kCookie, kNewBundle), CARD_ERROR_HAS_SUB_INTERFACES);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(uidb_delete_interface(kCookie, kNewBundle), 0u);
    EXPECT_EQ(uidb_delete_interface(kCookie, kNewBundle), CARD_ERROR_UNKNOWN_INTERFACE);
    card.interfaces.table.hold(kL3Sub);
    EXPECT_EQ(uidb_delete_interface(kCookie, kL3Sub), CARD_ERROR_IN_USE);
}

TEST_F(InterfaceTest, DeletingGivesEverythingBack) {
    const u32 interfaces = used(Resource::interface), features = used(Resource::feature),
              pointers = used(Resource::statistics);
    ASSERT_EQ(create_sub(), 0u);
    ASSERT_EQ(set(kNewSub, {feature(UIDB_FEATURE_STATS_POINTER, statistics(PRM_STATS_INGRESS), 0),
                            feature(UIDB_FEATURE_STATS_POINTER, statistics(PRM_STATS_EGRESS), 1),
                            feature(UIDB_FEATURE_VRF, 3), feature(UIDB_FEATURE_OUTER_VLAN, 7)}),
              0u);
    EXPECT_EQ(used(Resource::feature), features + 4);
    EXPECT_EQ(used(Resource::statistics), pointers + 2);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(used(Resource::interface), interfaces);
    EXPECT_EQ(used(Resource::feature), features);
    EXPECT_EQ(used(Resource::statistics), pointers);
}

// ---- Cookies.

TEST_F(InterfaceTest, AcceptsNoCookieTheClientCookieAndAClientsHandle) {
    uidb_create_msg message = create_message(kNewSub, 2, kMainA, 5);
    for (uintptr_t cookie : {uintptr_t{0}, uintptr_t{kCookie}, reinterpret_cast<uintptr_t>(client)}) {
        EXPECT_EQ(uidb_create_interface_batch(cookie, &message, 1), 0u);
        EXPECT_EQ(uidb_delete_interface(cookie, kNewSub), 0u);
    }
}

TEST_F(InterfaceTest, RefusesEveryOtherCookieBeforeAnythingElse) {
    std::vector<uintptr_t> wrong = {1, kCookie + 1, uintptr_t{kCookie} << 32 | kCookie,
                                    reinterpret_cast<uintptr_t>(connection)};
    ASSERT_EQ(prm_srh_unregister("client", 0), 0u);
    wrong.push_back(reinterpret_cast<uintptr_t>(client));
    for (uintptr_t cookie : wrong) {
        EXPECT_EQ(uidb_create_interface_batch(cookie, nullptr, 1), CARD_ERROR_BAD_COOKIE);
        EXPECT_EQ(uidb_create_interface(cookie, nullptr), CARD_ERROR_BAD_COOKIE);
        EXPECT_EQ(uidb_set_feature(cookie, nullptr), CARD_ERROR_BAD_COOKIE);
        EXPECT_EQ(uidb_set_feature_batch(cookie, nullptr), CARD_ERROR_BAD_COOKIE);
        EXPECT_EQ(uidb_set_port_feature(cookie, nullptr), CARD_ERROR_BAD_COOKIE);
        EXPECT_EQ(uidb_update_lag(cookie, nullptr), CARD_ERROR_BAD_COOKIE);
        EXPECT_EQ(uidb_delete_interface(cookie, kL3Sub), CARD_ERROR_BAD_COOKIE);
    }
}

TEST_F(InterfaceTest, NullRecordsAreRefused) {
    EXPECT_EQ(uidb_create_interface(kCookie, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(uidb_set_feature(kCookie, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(uidb_set_feature_batch(kCookie, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(uidb_set_port_feature(kCookie, nullptr), CARD_ERROR_NULL_POINTER);
    EXPECT_EQ(uidb_update_lag(kCookie, nullptr), CARD_ERROR_NULL_POINTER);
}

// ---- Features.

TEST_F(InterfaceTest, KeepsTheValuesOfFeatures) {
    ASSERT_EQ(set(kL3Sub, {feature(UIDB_FEATURE_IP_MTU, 1500, 2), feature(UIDB_FEATURE_VLAN_TAGS, 2),
                           feature(UIDB_FEATURE_OUTER_TPID, 0x88A8), feature(UIDB_FEATURE_INNER_VLAN, 4095)}),
              0u);
    EXPECT_EQ(at(kL3Sub).value(Feature::IP_MTU), 1500u);
    EXPECT_EQ(at(kL3Sub).value(Feature::VLAN_TAGS), 2u);
    EXPECT_EQ(at(kL3Sub).value(Feature::OUTER_TPID), 0x88A8u);
    EXPECT_EQ(at(kL3Sub).value(Feature::INNER_VLAN), 4095u);
    const u32 features = used(Resource::feature);
    ASSERT_EQ(set(kL3Sub, UIDB_FEATURE_IP_MTU, 500, 2), 0u);
    EXPECT_EQ(at(kL3Sub).value(Feature::IP_MTU), 500u);
    EXPECT_EQ(used(Resource::feature), features) << "a value that is replaced counts once";
}

TEST_F(InterfaceTest, KeepsTheMac) {
    uidb_feature record = feature(UIDB_FEATURE_MAC, 0);
    const u8 mac[6] = {2, 0x5E, 0x3B, 0xA7, 0x38, 0x31};
    std::memcpy(record.mac, mac, 6);
    ASSERT_EQ(create(kBvi, UIDB_IFTYPE_BVI, 0, 0), 0u);
    ASSERT_EQ(set(kBvi, {record, feature(UIDB_FEATURE_VRF, 1)}), 0u);
    EXPECT_EQ(std::memcmp(at(kBvi).mac, mac, 6), 0);
}

TEST_F(InterfaceTest, RefusesFeaturesItDoesNotKnowOrThatDoNotApply) {
    EXPECT_EQ(set(0x999, UIDB_FEATURE_VRF, 1), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_EQ(set(kMainA, 1, 1), CARD_ERROR_UNKNOWN_FEATURE);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_IP_MTU, 1500, 0), CARD_ERROR_BAD_QUALIFIER);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_VRF, 1, 1), CARD_ERROR_BAD_QUALIFIER);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, 1, 2), CARD_ERROR_BAD_QUALIFIER);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_OUTER_VLAN, 1), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    EXPECT_EQ(set(kBundleIfh, UIDB_FEATURE_NP_PORT, 1), CARD_ERROR_FEATURE_NOT_APPLICABLE);
}

TEST_F(InterfaceTest, RefusesValuesOutOfRange) {
    const struct {
        u32 id, value, status;
        u16 qualifier;
    } rows[] = {
        {UIDB_FEATURE_IP_MTU, 63, CARD_ERROR_BAD_VALUE, 2},
        {UIDB_FEATURE_IP_MTU, 64, 0, 2},
        {UIDB_FEATURE_IP_MTU, 16385, CARD_ERROR_BAD_VALUE, 2},
        {UIDB_FEATURE_L2, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_MPLS_ENABLE, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_IPV4_ENABLE, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_VRF, 0x10000, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_VLAN_TAGS, 3, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_OUTER_VLAN, 4096, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_INNER_VLAN, 4096, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_OUTER_TPID, 0x10000, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OP, 2, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OUTER_VLAN, 4096, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_INNER_VLAN, 4096, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_REWRITE_OUTER_TPID, 0x10000, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_NP_PORT, 63, 0, 0},
        {UIDB_FEATURE_NP_PORT, 64, CARD_ERROR_UNKNOWN_PORT, 0},
        {UIDB_FEATURE_LAG_ID, 256, CARD_ERROR_BAD_VALUE, 0},
        {UIDB_FEATURE_LAG_ID, 77, CARD_ERROR_UNKNOWN_BUNDLE, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(set(kL3Sub, row.id, row.value, row.qualifier), row.status) << row.id << " " << row.value;
    }
}

// Kinds that a feature applies to, and its largest value; beyond either it is refused.
TEST_F(InterfaceTest, EveryFeatureHasItsKindsAndItsLargestValue) {
    constexpr u32 kNone = 0xFFFFFFFF;  // every value is one
    const u32 interfaces[] = {kMainB, kL3Sub, kBundleIfh, kBvi};
    const struct {
        u32 id;
        u16 qualifier;
        bool main, sub, bundle, bvi;
        u32 largest;
    } rows[] = {
        {UIDB_FEATURE_IP_MTU, 2, true, true, true, true, 16384},
        {UIDB_FEATURE_NP_PORT, 0, true, true, false, false, 63},
        {UIDB_FEATURE_L2, 0, true, true, true, false, 1},
        {UIDB_FEATURE_MPLS_ENABLE, 0, true, true, true, true, 1},
        {UIDB_FEATURE_VRF, 0, true, true, true, true, 0xFFFF},
        {UIDB_FEATURE_IPV4_ENABLE, 0, true, true, true, true, 1},
        {UIDB_FEATURE_MAC, 0, true, true, true, true, kNone},
        {UIDB_FEATURE_VLAN_TAGS, 0, false, true, false, false, 2},
        {UIDB_FEATURE_OUTER_TPID, 0, false, true, false, false, 0xFFFF},
        {UIDB_FEATURE_OUTER_VLAN, 0, false, true, false, false, 4095},
        {UIDB_FEATURE_INNER_VLAN, 0, false, true, false, false, 4095},
        {UIDB_FEATURE_REWRITE_OUTER_TPID, 0, true, true, true, false, 0xFFFF},
        {UIDB_FEATURE_REWRITE_OUTER_VLAN, 0, true, true, true, false, 4095},
        {UIDB_FEATURE_REWRITE_INNER_VLAN, 0, true, true, true, false, 4095},
    };
    ASSERT_EQ(create(kBvi, UIDB_IFTYPE_BVI, 0, 0), 0u);
    for (const auto &row : rows) {
        const bool applies[] = {row.main, row.sub, row.bundle, row.bvi};
        for (size_t i = 0; i < std::size(interfaces); ++i) {
            const u32 if_handle = interfaces[i];
            const u32 beyond =
                row.id == UIDB_FEATURE_NP_PORT ? CARD_ERROR_UNKNOWN_PORT : CARD_ERROR_BAD_VALUE;
            if (!applies[i]) {
                EXPECT_EQ(set(if_handle, row.id, 1, row.qualifier), CARD_ERROR_FEATURE_NOT_APPLICABLE)
                    << row.id << " " << i;
                continue;
            }
            EXPECT_EQ(set(if_handle, row.id, row.largest, row.qualifier), 0u) << row.id << " " << i;
            if (row.largest != kNone) {
                EXPECT_EQ(set(if_handle, row.id, row.largest + 1, row.qualifier), beyond) << row.id;
            }
            EXPECT_EQ(set(if_handle, row.id, 1, static_cast<u16>(row.qualifier + 1)),
                      CARD_ERROR_BAD_QUALIFIER);
        }
    }
    EXPECT_EQ(set(kBvi, UIDB_FEATURE_REWRITE_OP, 0), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    EXPECT_EQ(set(kBvi, UIDB_FEATURE_LAG_ID, 9), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_LAG_ID, 9), 0u);
    EXPECT_EQ(set(kBvi, UIDB_FEATURE_STATS_POINTER, statistics(PRM_STATS_INGRESS)), 0u);
    EXPECT_EQ(set(kBundleIfh, UIDB_FEATURE_STATS_POINTER, statistics(PRM_STATS_INGRESS)), 0u);
}

TEST_F(InterfaceTest, EveryFeatureKeepsItsValueInAPlaceOfItsOwn) {
    const struct {
        u32 id;
        Feature feature;
    } rows[] = {
        {UIDB_FEATURE_NP_PORT, Feature::NP_PORT},
        {UIDB_FEATURE_MPLS_ENABLE, Feature::MPLS_ENABLE},
        {UIDB_FEATURE_VRF, Feature::VRF},
        {UIDB_FEATURE_IPV4_ENABLE, Feature::IPV4_ENABLE},
        {UIDB_FEATURE_REWRITE_OP, Feature::REWRITE_OP},
        {UIDB_FEATURE_VLAN_TAGS, Feature::VLAN_TAGS},
        {UIDB_FEATURE_OUTER_TPID, Feature::OUTER_TPID},
        {UIDB_FEATURE_INNER_VLAN, Feature::INNER_VLAN},
        {UIDB_FEATURE_REWRITE_OUTER_TPID, Feature::REWRITE_OUTER_TPID},
        {UIDB_FEATURE_REWRITE_OUTER_VLAN, Feature::REWRITE_OUTER_VLAN},
        {UIDB_FEATURE_REWRITE_INNER_VLAN, Feature::REWRITE_INNER_VLAN},
    };
    for (const auto &row : rows) {
        Interface before = at(kL3Sub);
        ASSERT_EQ(set(kL3Sub, row.id, 1), 0u) << row.id;
        EXPECT_TRUE(at(kL3Sub).has(row.feature)) << row.id;
        EXPECT_EQ(at(kL3Sub).value(row.feature), 1u) << row.id;
        before.values[static_cast<size_t>(row.feature)] = 1;
        EXPECT_EQ(std::memcmp(before.values, at(kL3Sub).values, sizeof before.values), 0) << row.id;
    }
}

TEST_F(InterfaceTest, AMessageIsCheckedBeforeAnyOfItIsSet) {
    EXPECT_EQ(set(kL3Sub, {feature(UIDB_FEATURE_VRF, 9), feature(UIDB_FEATURE_OUTER_VLAN, 9999)}),
              CARD_ERROR_BAD_VALUE);
    EXPECT_FALSE(at(kL3Sub).has(Feature::VRF));
}

TEST_F(InterfaceTest, LengthsMustAgree) {
    uidb_client_data_of<2> message = {};
    message.head = {kL3Sub, 2, 104};
    message.features[0] = feature(UIDB_FEATURE_VRF, 1);
    message.features[1] = feature(UIDB_FEATURE_IPV4_ENABLE, 1);
    EXPECT_EQ(uidb_set_feature(kCookie, &message.head), 0u);
    for (u16 length : {0, 52, 103, 105, 156}) {
        message.head.features_len = length;
        EXPECT_EQ(uidb_set_feature(kCookie, &message.head), CARD_ERROR_BAD_LENGTH) << length;
    }
    message.head = {kL3Sub, 0, 0};
    EXPECT_EQ(uidb_set_feature(kCookie, &message.head), CARD_ERROR_BAD_LENGTH);

    uidb_feature_batch_of<2> batch = {};
    batch.head.nr_entries = 2;
    batch.head.entries_len = 120;
    for (uidb_batch_entry &entry : batch.entries) {
        entry.if_handle = kL3Sub;
        entry.feature = feature(UIDB_FEATURE_VRF, 1);
    }
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), 0u);
    for (u32 length : {0u, 60u, 104u, 121u}) {
        batch.head.entries_len = length;
        EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_BAD_LENGTH) << length;
    }
    batch.head.nr_entries = 0;
    batch.head.entries_len = 0;
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_BAD_LENGTH);
    batch.head.nr_entries = 0x4000000;
    batch.head.entries_len = 0x4000000 * 60u;
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_BAD_COUNT);
}

TEST_F(InterfaceTest, ABatchSetsFeaturesOfSeveralInterfacesOrOfNone) {
    uidb_feature_batch_of<2> batch = {};
    batch.head.nr_entries = 2;
    batch.head.entries_len = 120;
    batch.entries[0].if_handle = kMainA;
    batch.entries[0].feature = feature(UIDB_FEATURE_IPV4_ENABLE, 1);
    batch.entries[1].if_handle = 0x999;
    batch.entries[1].feature = feature(UIDB_FEATURE_IPV4_ENABLE, 1);
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_FALSE(at(kMainA).has(Feature::IPV4_ENABLE));
    std::swap(batch.entries[0], batch.entries[1]);
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), CARD_ERROR_UNKNOWN_INTERFACE);
    EXPECT_FALSE(at(kMainA).has(Feature::IPV4_ENABLE));
    batch.entries[0].if_handle = kMainA;
    batch.entries[1].if_handle = kMainB;
    EXPECT_EQ(uidb_set_feature_batch(kCookie, &batch.head), 0u);
    EXPECT_EQ(at(kMainA).value(Feature::IPV4_ENABLE), 1u);
    EXPECT_EQ(at(kMainB).value(Feature::IPV4_ENABLE), 1u);
}

TEST_F(InterfaceTest, ARewriteTakesNoMoreTagsThanThereAre) {
    const struct {
        u32 operation, inner_vlan, status;
    } rows[] = {
        {0, 0, 0},
        {1, 0, 0},
        {4, 0, 0},
        {16, 0, 0},
        {18, 0, 0},
        {32, 0, 0},
        {3, 0, CARD_ERROR_TOO_FEW_TAGS},
        {5, 0, CARD_ERROR_TOO_FEW_TAGS},
        {3, 7, 0},
        {5, 7, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(set(kL2Sub,
                      {feature(UIDB_FEATURE_REWRITE_OP, row.operation), feature(UIDB_FEATURE_OUTER_VLAN, 100),
                       feature(UIDB_FEATURE_INNER_VLAN, row.inner_vlan)}),
                  row.status)
            << row.operation << " " << row.inner_vlan;
    }
    EXPECT_EQ(set(kL2Sub, {feature(UIDB_FEATURE_OUTER_VLAN, 0), feature(UIDB_FEATURE_INNER_VLAN, 0)}), 0u);
    EXPECT_EQ(set(kL2Sub, UIDB_FEATURE_REWRITE_OP, 4), CARD_ERROR_TOO_FEW_TAGS);
}

TEST_F(InterfaceTest, StatisticsPointersComeFromTheirPoolAndCountForOneInterface) {
    const u32 ingress = statistics(PRM_STATS_INGRESS), egress = statistics(PRM_STATS_EGRESS);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress + 1, 0), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, 0, 0), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress, 1), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress, 0), 0u);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, ingress, 0), 0u) << "the same again";
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_STATS_POINTER, ingress, 0), CARD_ERROR_IN_USE);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, egress, 1), 0u);
    // A new pointer takes the old one's place, which goes back.
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_STATS_POINTER, statistics(PRM_STATS_INGRESS), 0), 0u);
    EXPECT_EQ(set(kMainB, UIDB_FEATURE_STATS_POINTER, ingress, 0), CARD_ERROR_UNKNOWN_STATISTICS);
    EXPECT_EQ(used(Resource::statistics), 2u);
}

TEST_F(InterfaceTest, ABatchTakesStatisticsPointersAndMirrorSourcesToo) {
    const u32 pointer = statistics(PRM_STATS_INGRESS);
    prm_span_request session = {};
    ASSERT_EQ(prm_srh_span_fwd_add(client, &session), 0u);
    uidb_feature_batch_of<3> batch = {};
    batch.head.nr_entries = 3;
    batch.head.entries_len = sizeof batch.entries;
    for (uidb_batch_entry &entry : batch.entries) entry.if_handle = kMainA;
    batch.entries[0].feature = feature(UIDB_FEATURE_STATS_POINTER, pointer, UIDB_QUALIFIER_INGRESS);
    batch.entries[1].feature = feature(UIDB_FEATURE_SPAN_SOURCE, 0);
    // The pointer's place is taken by another, and it goes back.
    batch.entries[2].feature = feature(UIDB_FEATURE_STATS_POINTER, statistics(PRM_STATS_INGRESS));
    ASSERT_EQ(uidb_set_feature_batch(kCookie, &batch.head), 0u);
    EXPECT_EQ(used(Resource::mirror_source), 1u);
    EXPECT_EQ(used(Resource::statistics), 1u);
    EXPECT_EQ(at(kMainA).value(Feature::STATS_INGRESS), batch.entries[2].feature.value);
}

TEST_F(InterfaceTest, AFullFeatureAccountRefusesNewFeaturesOnly) {
    card.accounts[Resource::feature].limit = used(Resource::feature) + 1;
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_VRF, 1), 0u);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_IPV4_ENABLE, 1), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(set(kMainA, UIDB_FEATURE_VRF, 2), 0u);
}

// ---- Bundles.

class BundleTest : public InterfaceTest {
  protected:
    void SetUp() override {
        InterfaceTest::SetUp();
        ASSERT_EQ(create(kNewBundle, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0), 0u);
        ASSERT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 21), 0u);
    }
    void form(std::vector<u16> ports) {
        for (u16 port : ports) ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {port}), 0u);
        ASSERT_EQ(lag(UIDB_LAG_CREATE, 21, ports), 0u);
    }
};

TEST_F(BundleTest, IsFormedChangedAndTakenApart) {
    form({1});
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {2}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 21, {1, 2}), 0u);
    EXPECT_EQ(card.interfaces.bundles.find(21)->members.count(), 2u);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {2}), CARD_ERROR_ACTIVE_MEMBER);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 21, {1}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {2}), 0u);
    EXPECT_EQ(uidb_delete_interface(kCookie, kNewBundle), CARD_ERROR_IN_USE) << "its bundle is formed";
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {1}), 0u);
    EXPECT_EQ(uidb_delete_interface(kCookie, kNewBundle), 0u);
    EXPECT_EQ(used(Resource::bundle), 1u) << "the inventory's";
}

TEST_F(BundleTest, TheOperationsOwnResultStandsInTheRecord) {
    u32 call_status = 1;
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 21, {1}, &call_status), CARD_ERROR_NOT_CONFIGURED);
    EXPECT_EQ(call_status, 0u);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 21, {}, &call_status), CARD_ERROR_UNKNOWN_BUNDLE);
    EXPECT_EQ(call_status, 0u);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}, &call_status), CARD_ERROR_UNKNOWN_BUNDLE);
    EXPECT_EQ(call_status, 0u);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {1}, &call_status), CARD_ERROR_NOT_CONFIGURED);
    EXPECT_EQ(call_status, 0u);
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 9, {}, &call_status), CARD_ERROR_BUNDLE_EXISTS);
    EXPECT_EQ(call_status, 0u);
}

TEST_F(BundleTest, ARecordThatMakesNoSenseFailsTheCall) {
    u32 call_status;
    EXPECT_EQ(lag(5, 21, {}, &call_status), CARD_ERROR_BAD_KIND);
    EXPECT_EQ(call_status, CARD_ERROR_BAD_KIND);
    EXPECT_EQ(lag(UIDB_LAG_CREATE, 21, std::vector<u16>(33, 1), &call_status), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(call_status, CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {64}, &call_status), CARD_ERROR_UNKNOWN_PORT);
    EXPECT_EQ(call_status, CARD_ERROR_UNKNOWN_PORT);
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {1, 2}), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 21, {}), CARD_ERROR_BAD_COUNT);
}

TEST_F(BundleTest, APortIsAMemberOfOneBundle) {
    ASSERT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {1}), 0u);
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 21, {1}), 0u) << "the same again";
    EXPECT_EQ(lag(UIDB_LAG_CONFIG_MEMBER, 9, {1}), CARD_ERROR_MEMBER_OF_ANOTHER);
    EXPECT_EQ(lag(UIDB_LAG_UNCONFIG_MEMBER, 9, {1}), CARD_ERROR_NOT_CONFIGURED);
    EXPECT_EQ(lag(UIDB_LAG_SET_MEMBERS, 9, {1}), CARD_ERROR_MEMBER_OF_ANOTHER);
}

TEST_F(BundleTest, OneInterfacePerBundle) {
    ASSERT_EQ(create(kNewBundle + 0x1000, UIDB_IFTYPE_BUNDLE_MAIN, 0, 0), 0u);
    EXPECT_EQ(set(kNewBundle + 0x1000, UIDB_FEATURE_LAG_ID, 21), CARD_ERROR_BUNDLE_EXISTS);
    EXPECT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 21), 0u) << "its own again";
    // Another number frees this one.
    EXPECT_EQ(set(kNewBundle, UIDB_FEATURE_LAG_ID, 22), 0u);
    EXPECT_EQ(set(kNewBundle + 0x1000, UIDB_FEATURE_LAG_ID, 21), 0u);
}

TEST_F(BundleTest, SubInterfacesHoldTheBundle) {
    ASSERT_EQ(create_sub(kNewSub, kNewBundle), 0u);
    EXPECT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 21), CARD_ERROR_UNKNOWN_BUNDLE) << "not formed yet";
    form({1});
    ASSERT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 21), 0u);
    ASSERT_EQ(set(kNewSub, UIDB_FEATURE_LAG_ID, 21), 0u);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}), CARD_ERROR_IN_USE);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(lag(UIDB_LAG_DELETE, 21, {}), 0u);
}

TEST_F(BundleTest, SubInterfacesHaveMemberPorts) {
    ASSERT_EQ(create_sub(kNewSub, kNewBundle), 0u);
    uidb_feature record = feature(UIDB_FEATURE_BUNDLE_SUBIF_PORT, 2);
    record.member_valid = 1;
    record.member_add = 0;
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_NOT_FOUND);
    record.member_add = 1;
    EXPECT_EQ(set(kNewSub, {record}), 0u);
    EXPECT_EQ(set(kNewSub, {record}), 0u);
    EXPECT_EQ(card.interfaces.subif_ports.at(kNewSub).count(), 1u);
    EXPECT_EQ(set(kL3Sub, {record}), CARD_ERROR_FEATURE_NOT_APPLICABLE) << "not in a bundle";
    EXPECT_EQ(set(kMainA, {record}), CARD_ERROR_FEATURE_NOT_APPLICABLE);
    record.qualifier = 1;
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_BAD_QUALIFIER);
    record.qualifier = 0;
    record.member_add = 2;
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_BAD_VALUE);
    record.value_byte = 64;
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_UNKNOWN_PORT);
    record.value_byte = 2;
    record.member_add = 0;
    EXPECT_EQ(set(kNewSub, {record}), 0u);
    EXPECT_EQ(set(kNewSub, {record}), CARD_ERROR_NOT_FOUND);
}

TEST_F(BundleTest, TheSourceMacIsThatOfTheBundlesInterface) {
    uidb_port_feature record = {};
    record.port = 21;
    record.feature_id = UIDB_PORT_FEATURE_SOURCE_MAC;
    record.enable = 1;
    std::memset(record.mac, 0x12, 6);
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), 0u);
    EXPECT_TRUE(at(kNewBundle).has(Feature::MAC));
    EXPECT_EQ(at(kNewBundle).mac[5], 0x12);
    record.enable = 0;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), 0u);
    EXPECT_FALSE(at(kNewBundle).has(Feature::MAC));
    record.port = 22;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_UNKNOWN_BUNDLE);
    record.port = 277;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_BAD_VALUE);
    record.port = 21;
    record.enable = 2;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_BAD_VALUE);
    record.feature_id = 469;
    EXPECT_EQ(uidb_set_port_feature(kCookie, &record), CARD_ERROR_UNKNOWN_FEATURE);
}

}  // namespace
}  // namespace sim
