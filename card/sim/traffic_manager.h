// The traffic manager behind the NP HAL wrapper: policies with their counters and policers, and queues: each
// port's default queue, and those of the eight classes of its strict-priority configuration.
#ifndef CARD_SIM_TRAFFIC_MANAGER_H
#define CARD_SIM_TRAFFIC_MANAGER_H

#include <array>
#include <bitset>
#include <span>
#include <vector>

#include "card/sim/accounts.h"
#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"
#include "card/sim/table.h"
#include "wyk_hal_records.h"

namespace sim {

// Requests and responses come without a size. Each operation therefore looks at the head first, refuses a
// count whose block would not fit the 16-bit sizes that these blocks are made with, and then touches exactly
// the bytes that its form has for that count. A block that the form has and that is null is refused with
// CARD_ERROR_NULL_POINTER. A refused request changes nothing.
class TrafficManagerState {
  public:
    TrafficManagerState(Accounts &accounts, const Inventory &inventory);

    prm_status_t engine_op(u32 hal_type, const void *request, void *response);
    // Handles of a port's default queue, or of one of the platform's own policers.
    prm_status_t get_result(const void *request, void *response);
    // With a count: policies (counters, policers). Without: the strict-priority classes of a port, whose head
    // carries the count, and whose refusal stands in the response's status word.
    prm_status_t config_policy_in_tm(const void *request, void *response, u32 policies);
    prm_status_t get_stats(const void *request, void *response) const;
    prm_status_t get_queue_depth(const void *request, void *response) const;
    prm_status_t get_config(const void *request, void *response) const;
    // Releases all nodes of the request or, when one is wrong, none.
    prm_status_t deallocate_nodes(const void *request, u32 *status_word);

    // Whether an id was handed out and is still in use. Statistics ids count with and without
    // PRM_TCAM_QOS_STATS_FLAG.
    bool has_statistics(u32 id) const;
    bool has_queue(u32 fid0) const;
    bool has_policer(u32 id) const;

    // A policy as configured.
    struct Policy {
        u16 kind = 0;
        u32 mode_word = 0;
        u32 committed_rate = 0;
        u32 burst = 0;
    };
    // A queue as its class was configured; a default queue has no class.
    struct Queue {
        u16 qos_group = 0;
        u32 priority = 0;
        u32 shaper_word = 0;
        u32 bandwidth_mode = 0;
        u16 weight = 0;
        u32 rate = 0;
    };
    // Null when there is none.
    const Policy *policy(u32 stats_id) const;
    const Queue *queue(u32 fid0) const { return queues_.find(fid0); }
    // The queues of a port's classes that are not released.
    std::span<const u32> class_queues(u32 port) const;

  private:
    struct Port {
        u32 default_queue = 0;  // 0: none
        u32 class_count = 0;    // configured and not yet released; released from the front
        std::array<u32, WYK_HAL_CLASSES> class_queues{};
    };

    u32 nps_;
    std::vector<Port> ports_;  // of port 1 and on
    // The numbers are no resources of their own: there are as many as the tables have room for.
    Account policy_number_account_, queue_number_account_;
    IndexPool policy_numbers_, queue_numbers_;
    Table<u32, Policy> policies_;
    Table<u32, Queue> queues_;
    std::bitset<64> platform_policers_;  // asked for at least once

    prm_status_t allocate_default_queue(const wyk_hal_default_queue &request);
    prm_status_t release_default_queue(const wyk_hal_default_queue &request);
    prm_status_t validate(const wyk_hal_result_item &item) const;
    void hand_out(const wyk_hal_result_item &item, wyk_hal_ids *ids);
    prm_status_t configure_policies(const wyk_hal_policy_request &head, const wyk_hal_policy *policies,
                                    u32 count, wyk_hal_ids *ids);
    bool acceptable_head(const wyk_hal_policy_request &head) const;
    bool acceptable(const wyk_hal_policy_request &head, const wyk_hal_policy *classes) const;
    prm_status_t configure_classes(const wyk_hal_policy_request &head, const wyk_hal_policy *classes,
                                   wyk_hal_ids *ids);
    const Port *port(u32 number) const;
    Port *port(u32 number);
};

}  // namespace sim

#endif
