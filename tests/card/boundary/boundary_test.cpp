// The exported operations, the choice of who answers them, codes and texts.
#include <map>
#include <set>
#include <string>

#include "card/boundary/operation.h"
#include "prm_srh_l2.h"
#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

TEST(OperationTableTest, HasOneRowPerOperation) {
    std::set<std::string_view> names;
    for (const card::OperationRow &row : card::kOperations) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_EQ(row.direction == card::Direction::NONE,
                  row.record == "void" && row.family != "traffic_manager")
            << row.name;
    }
    EXPECT_EQ(card::kOperationCount, 78u);
    EXPECT_EQ(card::row(card::OperationId::prm_srh_bd_add).record, "prm_bd_request");
}

TEST(OperationTableTest, EveryResourceIsAnAccountOfTheSimulatedCard) {
    Accounts accounts;
    for (const card::OperationRow &row : card::kOperations) {
        EXPECT_TRUE(row.resource == "none" || accounts.find(row.resource) != nullptr) << row.name;
    }
}

class NoBackend : public ::testing::Test {
  protected:
    NoBackend() { card::use_backend(nullptr); }
};

TEST_F(NoBackend, EveryOperationAnswersNotSupported) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(prm_srh_bd_add(nullptr, nullptr), CARD_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(uidb_delete_interface(0, 1), CARD_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(wyk_hal_wrapper_get_stats(nullptr, nullptr), CARD_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(event_manager_create(0, 0, 0, 0), nullptr);
    event_manager_destroy(nullptr);
    // What returns no status answers nothing.
    EXPECT_EQ(platform_get_my_card_type(), 0u);
    EXPECT_EQ(is_veltora_family(), 0);
    EXPECT_EQ(wyk_np_info_num_local_ports(0), 0);
    EXPECT_THAT(::testing::internal::GetCapturedStderr(),
                ::testing::HasSubstr("card: is_veltora_family is not supported\n"));
}

TEST_F(NoBackend, SaysSoOncePerOperation) {
    ::testing::internal::CaptureStderr();
    prm_srh_span_enable(nullptr, nullptr);
    prm_srh_span_enable(nullptr, nullptr);
    prm_srh_span_disable(nullptr, nullptr);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "card: prm_srh_span_enable is not supported\ncard: prm_srh_span_disable is not supported\n");
}

TEST_F(NoBackend, StillKnowsTheTextsOfCodes) {
    EXPECT_STREQ(cerr_strerror(CARD_ERROR_NOT_SUPPORTED), "operation not supported");
}

TEST(SimulatedCardTest, WithoutACardEveryOperationIsRefused) {
    set_current_card(nullptr);
    card::use_backend(&backend());
    EXPECT_EQ(prm_srh_bd_add(nullptr, nullptr), CARD_ERROR_NO_CARD);
    EXPECT_EQ(prm_mgr_close(nullptr), CARD_ERROR_NO_CARD);
    EXPECT_EQ(event_manager_create(0, 0, 0, 0), nullptr);
    EXPECT_EQ(platform_get_my_card_type(), 0u);
    EXPECT_EQ(is_veltora_family(), 0);
    card::use_backend(nullptr);
}

TEST(SimulatedCardTest, OperationsActOnTheCurrentCard) {
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

TEST(SimulatedCardTest, AnswersPlatformQueriesFromTheInventory) {
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

TEST(CodesTest, NumbersAndTextsAreUnique) {
    std::map<u32, std::string> codes;
    std::set<std::string> texts;
#define CODE(name, number, text)                                \
    EXPECT_TRUE(codes.emplace(CARD_ERROR_##name, text).second); \
    EXPECT_TRUE(texts.insert(text).second) << text;
#include "card/sim/codes.def"
    for (const auto &[code, text] : codes) {
        EXPECT_EQ(cerr_strerror(code), text);
        EXPECT_EQ(code & 0x1FF, 0u);
    }
}

TEST(CodesTest, RequiredCodesHaveTextsAndUnknownOnesAFixedOne) {
    Card card;
    CurrentCard use(card);
    EXPECT_STREQ(cerr_strerror(CERR_SUCCESS), "success");
    EXPECT_STREQ(cerr_strerror(PRM_ERROR_INVALID_ARG), "invalid argument");
    EXPECT_STREQ(cerr_strerror(PRM_ERROR_INVALID_MSG), "invalid message");
    EXPECT_STREQ(cerr_strerror(PRM_ERROR_BCM_E_BUSY), "operation still running or resource busy");
    EXPECT_STREQ(cerr_strerror(PRM_ERROR_BCM_E_BADID), "identifier out of range");
    EXPECT_STREQ(cerr_strerror(PRM_ERROR_BCM_E_PORT), "invalid port");
    EXPECT_STREQ(cerr_strerror(0xDEADBEEF), "unknown code");
    EXPECT_EQ(cerr_strerror(0xDEADBEEF), cerr_strerror(0x12345678));
    EXPECT_STREQ(code_name(PRM_ERROR_BCM_E_PORT), "PRM_ERROR_BCM_E_PORT");
    EXPECT_EQ(code_name(0xDEADBEEF), nullptr);
}

}  // namespace
}  // namespace sim
