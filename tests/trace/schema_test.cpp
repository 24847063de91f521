// What this build says of its operations, records and codes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cerr.h"
#include "trace/call.h"

namespace {

TEST(Schema, HasEveryOperationWithItsHandles) {
    const trace::Schema &schema = trace::this_build();
    ASSERT_EQ(schema.operations.size(), card::kOperationCount);
    const trace::Operation *const open = schema.operation("prm_mgr_open");
    ASSERT_NE(open, nullptr);
    EXPECT_EQ(open->arguments[0], PRM_HANDLE_EVENT_MANAGER);
    EXPECT_EQ(open->arguments[6], PRM_HANDLE_CONNECTION);
    EXPECT_TRUE(open->row.answers_status);
    EXPECT_EQ(schema.operation("event_manager_create")->result, PRM_HANDLE_EVENT_MANAGER);
    EXPECT_EQ(schema.operation("prm_srh_vplag_buddy_reserve")->reserved, PRM_HANDLE_VPLAG);
    EXPECT_EQ(schema.operation("prm_srh"), nullptr);
}

TEST(Schema, KnowsRecordsAndCodes) {
    const trace::Schema &schema = trace::this_build();
    ASSERT_NE(schema.record("prm_bd_request"), nullptr);
    EXPECT_STREQ(schema.record("prm_bd_request")->name, "prm_bd_request");
    EXPECT_EQ(schema.record("bd"), nullptr);
    ASSERT_NE(schema.code(PRM_ERROR_BCM_E_BUSY), nullptr);
    EXPECT_EQ(schema.code(PRM_ERROR_BCM_E_BUSY)->name, "PRM_ERROR_BCM_E_BUSY");
    EXPECT_EQ(schema.code(CERR_SUCCESS)->text, "success");
    EXPECT_EQ(schema.code(1), nullptr);
}

}  // namespace
