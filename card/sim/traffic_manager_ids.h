// The ids that the traffic manager hands out, made of the numbers of its policies and queues.
#ifndef CARD_SIM_TRAFFIC_MANAGER_IDS_H
#define CARD_SIM_TRAFFIC_MANAGER_IDS_H

#include "prm_types.h"
#include "zor_vop_prm_tcam.h"

namespace sim {

// Every id derives from the number of the policy or queue it belongs to, so that it exists exactly as long.
// The policers below kFirstPolicy are the platform's own.

constexpr u32 kPlatformPolicers = 64;
constexpr u32 kFirstPolicy = kPlatformPolicers;
constexpr u32 kFirstQueue = 1;
constexpr u32 kMaxPolicies = 1u << 22;  // a policer id has 24 bits in a release
constexpr u32 kMaxQueues = 1u << 22;

// Statistics ids: four a number. Bit 29 is a flag, not part of the id.
constexpr u32 kPolicyStatistics = 0x01000000;
constexpr u32 kQueueStatistics = 0x04000000;
static_assert(kPolicyStatistics + 4 * (kFirstPolicy + kMaxPolicies) <= kQueueStatistics);
static_assert(kQueueStatistics + 4 * (kFirstQueue + kMaxQueues) < PRM_TCAM_QOS_STATS_FLAG);

enum class PolicyCounter : u32 { CONFORMING, EXCEEDING, VIOLATING };
enum class QueueCounter : u32 { STATISTICS, COMMITTED, DROPPED };
constexpr u32 kCounters = 3;  // of a policer, and of a queue; a policy without policer has the first alone

constexpr u32 statistics_of_policy(u32 number, PolicyCounter counter) {
    return kPolicyStatistics + 4 * number + static_cast<u32>(counter);
}
constexpr u32 statistics_of_queue(u32 number, QueueCounter counter) {
    return kQueueStatistics + 4 * number + static_cast<u32>(counter);
}

// Number and counter that an id of that range is made of.
struct CounterName {
    u32 number;
    u32 counter;
};
constexpr CounterName counter_of(u32 id, u32 range) {
    return {(id - range) / 4, (id - range) % 4};
}

// visit(table, number) of what a statistics id belongs to. The platform's own policers stand in no table:
// they are never released.
template <typename Queues, typename Policies, typename Visit>
void visit_counted(Queues &queues, Policies &policies, u32 id, Visit visit) {
    id &= ~PRM_TCAM_QOS_STATS_FLAG;
    if (id >= kQueueStatistics) {
        visit(queues, counter_of(id, kQueueStatistics).number);
    } else {
        visit(policies, counter_of(id, kPolicyStatistics).number);
    }
}

}  // namespace sim

#endif
