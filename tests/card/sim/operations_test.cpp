// What the table of operations says of each, held against what the simulated card does.
#include "card/boundary/operation.h"
#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

TEST(OperationsTest, EveryResourceIsAnAccountOfTheSimulatedCard) {
    Accounts accounts;
    for (const card::OperationRow &row : card::kOperations) {
        for (const std::string_view resource : row.resources) {
            EXPECT_NE(accounts.find(resource), nullptr) << row.name << " " << resource;
        }
    }
}

}  // namespace
}  // namespace sim
