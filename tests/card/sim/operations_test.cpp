// What the table of operations says of each, held against what the simulated card does.
#include "card/boundary/operation.h"
#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

TEST(OperationsTest, EveryResourceIsAnAccountOfTheSimulatedCard) {
    Accounts accounts;
    for (const card::OperationRow &row : card::kOperations) {
        EXPECT_TRUE(row.resource == "none" || accounts.find(row.resource) != nullptr) << row.name;
    }
}

}  // namespace
}  // namespace sim
