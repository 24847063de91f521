// Statistics pointers on the simulated card: one pool per class and direction.
#include "card/sim/statistics.h"

#include <iterator>

#include "card/sim/backend.h"

namespace sim {
namespace {

// First pointer of a pool: class and direction stand in the upper bits, so that pools never overlap.
constexpr u32 first_pointer(u32 stats_class, u32 direction) {
    return stats_class << 24 | (direction == PRM_STATS_EGRESS ? 1u << 23 : 0);
}

// One pool hands out at most what fits below the next one.
u32 pool_size(const Accounts &accounts) {
    const u32 limit = accounts[Resource::statistics].limit;
    return limit < 1u << 23 ? limit : 1u << 23;
}

prm_status_t allocate(Card &card, prm_handle_t client, u32 direction, u32 stats_class, u32, u32 *count,
                      u32 *pointer) {
    if (!card.connection.is_client(client)) return CARD_ERROR_BAD_HANDLE;
    if (count == nullptr || pointer == nullptr) return CARD_ERROR_NULL_POINTER;
    if (direction != PRM_STATS_INGRESS && direction != PRM_STATS_EGRESS) return CARD_ERROR_BAD_DIRECTION;
    IndexPool *const pool = card.statistics.pool(stats_class, direction);
    if (pool == nullptr) return CARD_ERROR_BAD_STATISTICS_CLASS;
    u32 first = 0;
    if (const prm_status_t status = pool->reserve(*count, &first)) return status;
    card.statistics.set_owner(first, *count, reinterpret_cast<uintptr_t>(client));
    card.statistics.counters.start(first, *count);
    *pointer = first;
    return CERR_SUCCESS;
}

}  // namespace

StatisticsState::StatisticsState(Accounts &accounts, const Inventory &)
    : interface_ingress(accounts[Resource::statistics],
                        first_pointer(PRM_STATS_CLASS_INTERFACE, PRM_STATS_INGRESS), pool_size(accounts)),
      interface_egress(accounts[Resource::statistics],
                       first_pointer(PRM_STATS_CLASS_INTERFACE, PRM_STATS_EGRESS), pool_size(accounts)),
      mpls_ingress(accounts[Resource::statistics], first_pointer(PRM_STATS_CLASS_MPLS, PRM_STATS_INGRESS),
                   pool_size(accounts)),
      mpls_egress(accounts[Resource::statistics], first_pointer(PRM_STATS_CLASS_MPLS, PRM_STATS_EGRESS),
                  pool_size(accounts)) {}

IndexPool *StatisticsState::pool(u32 stats_class, u32 direction) {
    const bool egress = direction == PRM_STATS_EGRESS;
    switch (stats_class) {
        case PRM_STATS_CLASS_INTERFACE:
            return egress ? &interface_egress : &interface_ingress;
        case PRM_STATS_CLASS_MPLS:
            return egress ? &mpls_egress : &mpls_ingress;
        default:
            return nullptr;
    }
}

bool StatisticsState::is_allocated(u32 stats_class, u32 direction, u32 pointer) {
    const IndexPool *const its = pool(stats_class, direction);
    return its != nullptr && its->in_use(pointer);
}

uintptr_t StatisticsState::owner(u32 pointer) const {
    auto behind = owned_.upper_bound(pointer);
    if (behind == owned_.begin()) return 0;
    const auto &[first, owned] = *--behind;
    return pointer - first < owned.count ? owned.client : 0;
}

// What one client allocates piece by piece is one piece here.
void StatisticsState::set_owner(u32 first, u32 count, uintptr_t client) {
    const auto behind = owned_.upper_bound(first);
    if (behind != owned_.begin()) {
        auto &[before, owned] = *std::prev(behind);
        if (owned.client == client && before + owned.count == first) {
            owned.count += count;
            return;
        }
    }
    owned_[first] = {count, client};
}

void install_statistics(card::Backend &backend) {
    backend.prm_stats_cl_alloc = on_card<allocate>;
}

}  // namespace sim
