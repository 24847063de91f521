// Who listens to the boundary is told of each call that failed, and of nothing else.
#include "card/boundary/failures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "card/boundary/backend.h"

namespace card {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> failures_told;
prm_status_t answer;

class Failures : public ::testing::Test {
  protected:
    Failures() {
        static Backend backend = [] {
            Backend answers = kNothingSupported;
            answers.prm_srh_bd_add = [](prm_handle_t, prm_bd_request *) { return answer; };
            answers.uidb_delete_interface = [](uintptr_t, u32) { return answer; };
            answers.platform_get_my_card_type = [](void *) { return u32{7}; };
            answers.is_veltora_family = [] { return 1; };
            answers.event_manager_create = [](u32, u32, u32, u32) { return prm_handle_t{}; };
            return answers;
        }();
        failures_told.clear();
        use_backend(&backend);
        tell_failures([](const OperationRow &operation, prm_status_t status) {
            failures_told.push_back(std::string(operation.name) + " " + std::to_string(status));
        });
    }
    ~Failures() override {
        tell_failures(nullptr);
        use_backend(nullptr);
    }
};

TEST_F(Failures, AreToldWithOperationAndCode) {
    answer = 22;
    EXPECT_EQ(prm_srh_bd_add(nullptr, nullptr), 22u);
    EXPECT_EQ(uidb_delete_interface(1, 2), 22u);
    answer = PRM_ERROR_BCM_E_BUSY;
    EXPECT_EQ(prm_srh_bd_add(nullptr, nullptr), PRM_ERROR_BCM_E_BUSY);
    EXPECT_THAT(failures_told,
                ElementsAre("prm_srh_bd_add 22", "uidb_delete_interface 22", "prm_srh_bd_add 2830668288"));
}

TEST_F(Failures, SuccessIsNone) {
    answer = CERR_SUCCESS;
    EXPECT_EQ(prm_srh_bd_add(nullptr, nullptr), CERR_SUCCESS);
    EXPECT_THAT(failures_told, IsEmpty());
}

// A number that is no status, a handle, nothing at all.
TEST_F(Failures, OperationsWithoutAStatusHaveNone) {
    EXPECT_EQ(platform_get_my_card_type(), 7u);
    EXPECT_EQ(is_veltora_family(), 1);
    EXPECT_EQ(event_manager_create(0, 0, 14, 0), nullptr);
    event_manager_destroy(nullptr);
    cerr_strerror(1);
    EXPECT_THAT(failures_told, IsEmpty());
    for (const OperationRow &row : kOperations)
        EXPECT_EQ(row.answers_status && row.family == "platform", false);
    EXPECT_TRUE(row(OperationId::wyk_hal_wrapper_engine_op).answers_status);
    EXPECT_FALSE(row(OperationId::event_manager_create).answers_status);
}

TEST_F(Failures, NobodyNeedsToListen) {
    tell_failures(nullptr);
    answer = 22;
    EXPECT_EQ(prm_srh_bd_add(nullptr, nullptr), 22u);
}

}  // namespace
}  // namespace card
