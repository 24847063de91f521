// The table of operations, and the exported operations while nobody answers them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "card/boundary/backend.h"
#include "card/boundary/operation.h"
#include "card/codes.h"

namespace card {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> told(OperationId id) {
    static constexpr const char *kDirections[] = {"", "in ", "out ", "inout "};
    std::vector<std::string> parameters;
    for (const Parameter &each : row(id).parameters) {
        parameters.push_back(kDirections[static_cast<size_t>(each.direction)] + std::string(each.type) +
                             " | " + std::string(each.name));
    }
    return parameters;
}

TEST(OperationTableTest, HasOneRowPerOperation) {
    std::set<std::string_view> names;
    for (const OperationRow &row : kOperations) EXPECT_TRUE(names.insert(row.name).second) << row.name;
    EXPECT_EQ(kOperationCount, 78u);
    EXPECT_EQ(row(OperationId::prm_srh_bd_add).name, "prm_srh_bd_add");
    EXPECT_EQ(row(OperationId::prm_srh_bd_add).family, "l2");
}

TEST(OperationTableTest, TellsTypesNamesAndDirectionsOfParameters) {
    EXPECT_THAT(told(OperationId::prm_srh_bd_add),
                ElementsAre("prm_handle_t | client", "in prm_bd_request * | record"));
    EXPECT_THAT(
        told(OperationId::prm_mgr_open),
        ElementsAre("prm_handle_t | manager", "u32 | word", "in const char * | name", "prm_notify_t | notify",
                    "u32 | flags", "u32 | word2", "out prm_handle_t * | out"));
    EXPECT_THAT(told(OperationId::uidb_create_interface_batch),
                ElementsAre("uintptr_t | cookie", "inout uidb_create_msg * | record", "u32 | count"));
    EXPECT_THAT(told(OperationId::wyk_hal_wrapper_get_result),
                ElementsAre("in void * | request", "out void * | response"));
    EXPECT_THAT(told(OperationId::is_veltora_family), IsEmpty());
}

TEST(OperationTableTest, TellsTheResourcesOfAnOperationItsOwnFirst) {
    EXPECT_THAT(row(OperationId::prm_srh_nr_ldi_add).resources,
                ElementsAre("nr_ldi", "nr_ldi_index", "next_hop"));
    EXPECT_THAT(row(OperationId::prm_srh_bd_mod).resources, ElementsAre("bridge_domain"));
    EXPECT_THAT(row(OperationId::prm_srh_span_enable).resources, IsEmpty());
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
