// A fixture with a small simulated card behind the platform operations, and a registered client.
#ifndef TESTS_CARD_SIM_CARD_TEST_H
#define TESTS_CARD_SIM_CARD_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

#include "card/sim/backend.h"
#include "card/sim/card.h"
#include "tests/card/sim/watch.h"

namespace sim {

inline constexpr u32 kMainA = 0x8000088;      // port 5, layer 3
inline constexpr u32 kMainB = 0x8000090;      // port 6
inline constexpr u32 kBundleIfh = 0x800A000;  // bundle 9
inline constexpr u32 kL2Sub = 0x8001010;      // layer-2 sub-interface of kMainA, uidb 41
inline constexpr u32 kL2SubB = 0x8001020;     // layer-2 sub-interface of kMainB, uidb 42
inline constexpr u32 kL3Sub = 0x8001030;      // layer-3 sub-interface of kMainA, uidb 43

inline Inventory small_inventory() {
    Inventory inventory;
    inventory.interfaces = {
        {.handle = kMainA, .kind = InterfaceKind::MAIN, .np_port = 5, .uidb = 40},
        {.handle = kMainB, .kind = InterfaceKind::MAIN, .np_port = 6},
        {.handle = kBundleIfh, .kind = InterfaceKind::BUNDLE, .in_bundle = true, .lag_id = 9},
        {.handle = kL2Sub,
         .kind = InterfaceKind::SUB,
         .parent = kMainA,
         .np_port = 5,
         .uidb = 41,
         .layer2 = true,
         .outer_vlan = 100},
        {.handle = kL2SubB,
         .kind = InterfaceKind::SUB,
         .parent = kMainB,
         .np_port = 6,
         .uidb = 42,
         .layer2 = true,
         .outer_vlan = 101},
        {.handle = kL3Sub,
         .kind = InterfaceKind::SUB,
         .parent = kMainA,
         .np_port = 5,
         .uidb = 43,
         .outer_vlan = 102},
    };
    return inventory;
}

// An inventory with these limits.
inline Inventory limited(Inventory inventory, std::initializer_list<std::pair<Resource, u32>> limits) {
    for (const auto &[resource, limit] : limits) inventory.limits[resource].limit = limit;
    return inventory;
}

inline void ignore_notification() {}

class CardTest : public ::testing::Test {
  protected:
    explicit CardTest(Inventory inventory = small_inventory()) : card(std::move(inventory)), use(card) {
        card::use_backend(&watched_backend());
    }

    void SetUp() override {
        evm = event_manager_create(0, 0, 14, 0);
        ASSERT_EQ(prm_mgr_open(evm, 0, "client", ignore_notification, 7, 0, &connection), 0u);
        ASSERT_EQ(prm_srh_register(&client, 1, evm, ignore_notification), 0u);
        ASSERT_EQ(prm_srh_set_name(client, "client"), 0u);
    }

    u32 used(Resource resource) const { return card.accounts[resource].used; }

    Card card;
    CurrentCard use;
    void *evm = nullptr;
    prm_handle_t connection = nullptr;
    prm_handle_t client = nullptr;
};

// Any handle that is no client's.
inline prm_handle_t stranger() {
    return reinterpret_cast<prm_handle_t>(uintptr_t{0x1234});
}

}  // namespace sim

#endif
