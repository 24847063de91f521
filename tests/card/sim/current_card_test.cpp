// Which card answers the operations, and what it says of itself.
#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

TEST(CurrentCardTest, WithoutACardEveryOperationIsRefused) {
    set_current_card(nullptr);
    card::use_backend(&backend());
    EXPECT_EQ(prm_srh_bd_add(nullptr, nullptr), CARD_ERROR_NO_CARD);
    EXPECT_EQ(prm_mgr_close(nullptr), CARD_ERROR_NO_CARD);
    EXPECT_EQ(event_manager_create(0, 0, 0, 0), nullptr);
    EXPECT_EQ(platform_get_my_card_type(), 0u);
    EXPECT_EQ(is_veltora_family(), 0);
    card::use_backend(nullptr);
}

TEST(CurrentCardTest, OperationsActOnTheCurrentCard) {
    Card one, other;
    CurrentCard use_one(one);
    ASSERT_NE(event_manager_create(0, 0, 0, 0), nullptr);
    {
        CurrentCard use_other(other);
        ASSERT_NE(event_manager_create(0, 0, 0, 0), nullptr);
        ASSERT_NE(event_manager_create(0, 0, 0, 0), nullptr);
    }
    EXPECT_EQ(current_card(), &one);
    EXPECT_EQ(one.accounts[Resource::event_manager].used, 1u);
    EXPECT_EQ(other.accounts[Resource::event_manager].used, 2u);
}

TEST(CurrentCardTest, TextsOfCodesNeedNoCard) {
    set_current_card(nullptr);
    card::use_backend(&backend());
    EXPECT_STREQ(cerr_strerror(PRM_ERROR_BCM_E_PORT), "invalid port");
    card::use_backend(nullptr);
}

TEST(CurrentCardTest, AnswersPlatformQueriesFromTheInventory) {
    Inventory inventory;
    inventory.card_type = PLATFORM_CARD_TYPE_A;
    inventory.veltora_family = true;
    inventory.np_local_ports = {48, 12};
    Card card(inventory);
    CurrentCard use(card);
    u32 buffer[4] = {};
    EXPECT_EQ(platform_get_my_card_type(buffer), PLATFORM_CARD_TYPE_A);
    EXPECT_EQ(buffer[0], PLATFORM_CARD_TYPE_A);
    EXPECT_EQ(platform_get_my_card_type(), PLATFORM_CARD_TYPE_A);
    EXPECT_EQ(is_veltora_family(), 1);
    EXPECT_EQ(wyk_np_info_num_local_ports(0), 48);
    EXPECT_EQ(wyk_np_info_num_local_ports(1), 12);
    EXPECT_EQ(wyk_np_info_num_local_ports(2), 0);
}

}  // namespace
}  // namespace sim
