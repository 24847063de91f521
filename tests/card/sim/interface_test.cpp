// The interface database: what the inventory provides, creating, deleting, cookies.
#include "tests/card/sim/interface_test.h"
#include "tests/card/sim/forwarding_requests.h"

namespace sim {
namespace {

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
    ASSERT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5, &uidb), 0u);
    EXPECT_EQ(at(kNewSub).kind, InterfaceKind::SUB);
    EXPECT_EQ(at(kNewSub).parent, kMainA);
    EXPECT_EQ(at(kNewSub).np_port, 5);
    EXPECT_EQ(at(kNewSub).uidb, uidb);
    EXPECT_EQ(at(kNewSub).features, 0u);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(card.interfaces.handle_of_uidb(uidb), 0u);
    EXPECT_EQ(card.interfaces.find_by_uidb(uidb), nullptr);
    EXPECT_EQ(at(kMainA).sub_interfaces, 2u);
    u16 again = 0;
    ASSERT_EQ(create(kNewSub + 1, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5, &again), 0u);
    EXPECT_NE(again, uidb) << "its index comes last";
}

TEST_F(InterfaceTest, AnAdjacencyKeepsTheInterfaceThatItGoesOutBy) {
    u16 uidb = 0;
    ASSERT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5, &uidb), 0u);
    ASSERT_EQ(create(kBvi, UIDB_IFTYPE_BVI, 0, 0), 0u);
    const struct {
        u32 if_handle;
        u16 uidb;
    } rows[] = {{kNewSub, uidb}, {kBvi, UIDB_BVI_INDEX}};
    for (const auto &row : rows) {
        prm_tx_adj out = adjacency(7), other = adjacency(7), removal = adjacency_delete(7);
        out.uidb = row.uidb;
        ASSERT_EQ(prm_srh_tx_adj_add(client, &out), 0u);
        EXPECT_EQ(uidb_delete_interface(kCookie, row.if_handle), CARD_ERROR_IN_USE);
        ASSERT_EQ(prm_srh_tx_adj_mod(client, &other), 0u);
        ASSERT_EQ(prm_srh_tx_adj_mod(client, &out), 0u);
        EXPECT_EQ(uidb_delete_interface(kCookie, row.if_handle), CARD_ERROR_IN_USE);
        ASSERT_EQ(prm_srh_tx_adj_del(client, &removal), 0u);
        EXPECT_EQ(uidb_delete_interface(kCookie, row.if_handle), 0u);
    }
}

// It would go out by an interface that its programmer never meant.
TEST_F(InterfaceTest, NoInterfaceGetsAnIndexThatAnAdjacencyNames) {
    prm_tx_adj out = adjacency(7), nowhere = adjacency(8);
    out.uidb = 2;
    nowhere.uidb = 0xFFFF;
    ASSERT_EQ(prm_srh_tx_adj_add(client, &out), 0u);
    ASSERT_EQ(prm_srh_tx_adj_add(client, &nowhere), 0u);
    for (u32 i = 0; i < 10; ++i) {
        u16 uidb = 0;
        ASSERT_EQ(create(kNewSub + i, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5, &uidb), 0u);
        EXPECT_NE(uidb, 2);
    }
}

TEST_F(InterfaceTest, WithoutAFreeIndexNothingIsCreated) {
    Card full(limited(small_inventory(), {{Resource::interface, 70000}}));
    CurrentCard use_full(full);
    u32 created = 0;
    u32 status;
    while ((status = create(0x9000000 + created, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 5)) == 0) ++created;
    EXPECT_EQ(status, CARD_ERROR_POOL_EXHAUSTED);
    EXPECT_EQ(created, 0xFFFEu - small_inventory().interfaces.size() - 1) << "one is the BVI's";
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
    ASSERT_EQ(create(kNewSub, UIDB_IFTYPE_SUB_INTERFACE, kMainA, 0xFF05), 0u);
    EXPECT_EQ(at(kNewSub).np_port, 5);
}

TEST_F(InterfaceTest, BatchCreatesAllOrNothing) {
    uidb_create_msg messages[] = {create_message(kNewSub, 2, kMainA, 5),
                                  create_message(kNewSub + 1, 2, kMainA, 5),
                                  create_message(kNewSub, 2, kMainA, 5)};
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 3), CARD_ERROR_INTERFACE_EXISTS);
    EXPECT_EQ(messages[0].uidb_index, 0) << "a refused request is as it was sent";
    EXPECT_FALSE(card.interfaces.table.contains(kNewSub));
    EXPECT_FALSE(card.interfaces.table.contains(kNewSub + 1));
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 2), 0u);
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 0), CARD_ERROR_BAD_COUNT);
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 0xFFFFFFFF), CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(uidb_create_interface_batch(kCookie, nullptr, 1), CARD_ERROR_NULL_POINTER);
}

TEST_F(InterfaceTest, ABatchMayCreateAnInterfaceAndItsSubInterfacesInAnyOrder) {
    uidb_create_msg messages[] = {create_message(kNewSub, 2, kNewBundle, 5),
                                  create_message(kNewBundle, 3, 0, 0),
                                  create_message(kNewSub + 1, 2, kNewBundle, 6)};
    EXPECT_EQ(uidb_create_interface_batch(kCookie, messages, 3), 0u);
    EXPECT_EQ(at(kNewBundle).sub_interfaces, 2u);
    uidb_create_msg under_a_sub[] = {create_message(kNewSub + 2, 2, kMainA, 5),
                                     create_message(kNewSub + 3, 2, kNewSub + 2, 5)};
    EXPECT_EQ(uidb_create_interface_batch(kCookie, under_a_sub, 2), CARD_ERROR_BAD_PARENT);
    uidb_create_msg bvis[] = {create_message(kBvi, 6, 0, 0), create_message(kBvi + 1, 6, 0, 0)};
    EXPECT_EQ(uidb_create_interface_batch(kCookie, bvis, 2), CARD_ERROR_IN_USE);
    EXPECT_FALSE(card.interfaces.table.contains(kBvi));
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
    ASSERT_EQ(set(kNewSub, {feature(UIDB_FEATURE_STATS_POINTER, allocate_statistics(PRM_STATS_INGRESS), 0),
                            feature(UIDB_FEATURE_STATS_POINTER, allocate_statistics(PRM_STATS_EGRESS), 1),
                            feature(UIDB_FEATURE_VRF, 3), feature(UIDB_FEATURE_OUTER_VLAN, 7)}),
              0u);
    EXPECT_EQ(used(Resource::feature), features + 4);
    EXPECT_EQ(used(Resource::statistics), pointers + 2);
    ASSERT_EQ(uidb_delete_interface(kCookie, kNewSub), 0u);
    EXPECT_EQ(used(Resource::interface), interfaces);
    EXPECT_EQ(used(Resource::feature), features);
    EXPECT_EQ(used(Resource::statistics), pointers + 2) << "statistics pointers are the client's";
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

}  // namespace
}  // namespace sim
