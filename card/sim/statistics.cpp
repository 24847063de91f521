// Statistics pointers on the simulated card: one pool per class and direction.
#include "card/sim/statistics.h"

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
    return pool->reserve(*count, pointer);
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

prm_status_t StatisticsState::check_attach(u32 stats_class, u32 direction, u32 pointer) {
    const IndexPool *const its = pool(stats_class, direction);
    if (its == nullptr || !its->in_use(pointer)) return CARD_ERROR_UNKNOWN_STATISTICS;
    return success_if(!attached.contains(pointer), CARD_ERROR_IN_USE);
}

prm_status_t StatisticsState::attach(u32 stats_class, u32 direction, u32 pointer) {
    const prm_status_t status = check_attach(stats_class, direction, pointer);
    if (status == CERR_SUCCESS) attached.insert(pointer);
    return status;
}

void StatisticsState::detach_and_free(u32 stats_class, u32 direction, u32 pointer) {
    attached.erase(pointer);
    if (IndexPool *const its = pool(stats_class, direction)) its->release(pointer);
}

void install_statistics(card::Backend &backend) {
    backend.prm_stats_cl_alloc = on_card<allocate>;
}

}  // namespace sim
