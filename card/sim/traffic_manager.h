// The traffic manager behind the NP HAL wrapper: policies with their counters and policers, and queues: each
// port's default queue, and those of the classes of its strict-priority configuration.
#ifndef CARD_SIM_TRAFFIC_MANAGER_H
#define CARD_SIM_TRAFFIC_MANAGER_H

#include <array>
#include <bitset>
#include <optional>
#include <span>
#include <vector>

#include "card/sim/accounts.h"
#include "card/sim/counters.h"
#include "card/sim/index_pool.h"
#include "card/sim/inventory.h"
#include "card/sim/table.h"
#include "wyk_hal_records.h"

namespace sim {

// What the simulated card answers when it is asked for information of its traffic manager, in these words of
// its own at the response's start: what a card's own answer looks like is not known.
struct TmInfo {
    u32 ports;
    u32 default_queues;
    u32 class_queues;
    u32 policies;
};

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

    // Entries start, or stop, to name an id that was handed out: its policy or queue is not released before.
    void hold_statistics(u32 id);
    void release_statistics(u32 id);
    void hold_policer(u32 id) { policies_.hold(id); }
    void release_policer(u32 id) { policies_.release(id); }

    // A packet of that many bytes is counted by an id that was handed out; every id begins at 0.
    void count(u32 stats_id, u64 bytes);
    Count counted(u32 stats_id) const;
    // What went into a queue and neither left it nor was dropped.
    u32 depth(u32 fid0) const;

    // A policy as configured.
    struct Policy {
        u16 kind = 0;
        u32 mode_word = 0;
        u32 committed_rate = 0;
        u32 burst = 0;
    };
    // A queue as its class was configured; a default queue has no class, and its rate alone.
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

    // visit(port, default queue, queues of its classes) for every port that has any of them, in their order;
    // the default queue is 0 where there is none.
    template <typename Visit>
    void for_each_port(Visit visit) const {
        for (u32 i = 0; i < ports_.size(); ++i) {
            if (ports_[i].default_queue != 0 || !ports_[i].class_queues.empty())
                visit(i + 1, ports_[i].default_queue, class_queues(i + 1));
        }
    }
    // By policer id.
    const Table<u32, Policy> &policies() const { return policies_; }
    // The counters of a policer, of which a policy without has the first alone, and of a queue. Of each:
    // its name and its statistics id.
    struct NamedCounter {
        const char *name;
        u32 id;
    };
    static std::array<NamedCounter, 3> policer_counters(u32 policer_id);
    static std::array<NamedCounter, 3> queue_counters(u32 fid0);
    // The port shaper as it was configured; no field tells which port it is of.
    const std::optional<wyk_hal_port_shaper> &port_shaper() const { return port_shaper_; }
    TmInfo info() const;
    const std::bitset<64> &platform_policers() const { return platform_policers_; }

  private:
    struct Port {
        u32 default_queue = 0;          // 0: none
        std::vector<u32> class_queues;  // released from the front
    };

    u32 nps_;
    std::vector<Port> ports_;  // of port 1 and on
    // The numbers are no resources of their own: there are as many as the tables have room for.
    Account policy_number_account_, queue_number_account_;
    IndexPool policy_numbers_, queue_numbers_;
    Table<u32, Policy> policies_;
    Table<u32, Queue> queues_;
    Counters counters_;
    std::bitset<64> platform_policers_;  // asked for at least once
    std::optional<wyk_hal_port_shaper> port_shaper_;

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
    prm_status_t add_queue(u32 *fid0);
    void remove_queue(u32 fid0);
    const Port *port(u32 number) const;
    Port *port(u32 number);
};

}  // namespace sim

#endif
