// Wraps every operation of the simulated card: records and accounts are compared before and after the call.
#include "tests/card/sim/watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <cstring>
#include <type_traits>
#include <vector>

#include "card/boundary/operation.h"
#include "card/sim/backend.h"
#include "prm_srh_l2.h"
#include "prm_srh_lpts.h"
#include "prm_srh_mpls_leaf.h"
#include "prm_srh_nr_ldi.h"
#include "prm_srh_span.h"
#include "prm_srh_tx_adj.h"
#include "zor_vop_prm_label.h"
#include "zor_vop_prm_leaf.h"
#include "zor_vop_prm_tcam.h"

namespace sim {
namespace {

using card::Direction;
using card::OperationId;
using card::OperationRow;

// Which of its row's resources an operation was seen to charge or free.
std::bitset<4> charged[card::kOperationCount];

void compare_accounts(OperationId id, const Accounts &before, const Accounts &after) {
    const OperationRow &row = card::row(id);
    for (size_t i = 0; i < std::size(before.rows); ++i) {
        if (before.rows[i].account.used == after.rows[i].account.used) continue;
        const auto at =
            std::find(row.resources.begin(), row.resources.end(), std::string_view(before.rows[i].name));
        ASSERT_NE(at, row.resources.end()) << row.name << " charged " << before.rows[i].name;
        charged[static_cast<size_t>(id)].set(static_cast<size_t>(at - row.resources.begin()));
    }
}

// What a pointer that is IN led to before the call; nothing for what comes without a size, and for any other
// parameter.
template <typename Argument>
std::vector<u8> bytes_behind(const Argument &argument, Direction direction) {
    using Pointee = std::remove_cv_t<std::remove_pointer_t<Argument>>;
    if constexpr (std::is_pointer_v<Argument> && !std::is_void_v<Pointee> && !std::is_function_v<Pointee>) {
        if (argument == nullptr || direction != Direction::IN) return {};
        const u8 *const bytes = reinterpret_cast<const u8 *>(argument);
        return std::vector<u8>(bytes, bytes + sizeof(Pointee));
    } else {
        return {};
    }
}

template <auto Entry, OperationId id,
          typename Signature =
              std::remove_reference_t<decltype(std::declval<const card::Backend &>().*Entry)>>
struct Watched;

template <auto Entry, OperationId id, typename Result, typename... Arguments>
struct Watched<Entry, id, Result (*const)(Arguments...)> {
    static Result call(Arguments... arguments) {
        if (current_card() == nullptr) return (backend().*Entry)(arguments...);
        const Accounts accounts = current_card()->accounts;
        const std::vector<std::vector<u8>> before = bytes_of(arguments...);
        if constexpr (std::is_void_v<Result>) {
            (backend().*Entry)(arguments...);
            compare_accounts(id, accounts, current_card()->accounts);
        } else {
            const Result result = (backend().*Entry)(arguments...);
            compare_accounts(id, accounts, current_card()->accounts);
            EXPECT_TRUE(before == bytes_of(arguments...)) << card::row(id).name << " changed what is IN";
            return result;
        }
    }

    static std::vector<std::vector<u8>> bytes_of(Arguments... arguments) {
        [[maybe_unused]] size_t i = 0;
        return {bytes_behind(arguments, card::row(id).parameters[i++].direction)...};
    }
};

// At the end of a run of all tests: a row names no account that its operation never charges besides its own.
class EveryResourceIsCharged : public ::testing::Environment {
    void TearDown() override {
        const auto &all = *::testing::UnitTest::GetInstance();
        if (all.test_to_run_count() != all.total_test_count() || !all.Passed()) return;
        for (size_t id = 0; id < card::kOperationCount; ++id) {
            const OperationRow &row = card::kOperations[id];
            for (size_t i = 1; i < row.resources.size(); ++i) {
                EXPECT_TRUE(charged[id].test(i))
                    << "no test saw " << row.name << " charge " << row.resources[i];
            }
        }
    }
};

[[maybe_unused]] const auto *const environment =
    ::testing::AddGlobalTestEnvironment(new EveryResourceIsCharged);

}  // namespace

const card::Backend &watched_backend() {
    static const card::Backend watched = {
#define OPERATION(family, result, name, parameters, arguments, ...) \
    .name = &Watched<&card::Backend::name, OperationId::name>::call,
#include "card/operations.def"
    };
    return watched;
}

}  // namespace sim
