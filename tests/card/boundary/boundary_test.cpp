// The table of operations, and the exported operations while nobody answers them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "card/boundary/backend.h"
#include "card/boundary/operation.h"
#include "card/codes.h"

namespace card {
namespace {

TEST(OperationTableTest, HasOneRowPerOperation) {
    std::set<std::string_view> names;
    for (const OperationRow &row : kOperations) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_EQ(row.direction == Direction::NONE, row.record == "void" && row.family != "traffic_manager")
            << row.name;
    }
    EXPECT_EQ(kOperationCount, 78u);
    EXPECT_EQ(row(OperationId::prm_srh_bd_add).record, "prm_bd_request");
}

class NoBackend : public ::testing::Test {
  protected:
    NoBackend() { use_backend(nullptr); }
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

}  // namespace
}  // namespace card
