// The traffic manager: what requests must look like, and the operations.
#include "card/sim/traffic_manager.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <absl/container/inlined_vector.h>

#include <algorithm>
#include <cstring>

#include "card/sim/backend.h"
#include "card/sim/request.h"
#include "card/sim/traffic_manager_ids.h"
#include "zor_vop_prm_tcam.h"

namespace sim {
namespace {

// --- Blocks ------------------------------------------------------------------------------------------------

constexpr u32 kMaxBlock = 0xFFFF;
constexpr u32 items_within(u32 head, u32 item) {
    return (kMaxBlock - head) / item;
}
constexpr u32 kMaxRequestPolicies = items_within(sizeof(wyk_hal_policy_request), sizeof(wyk_hal_policy));
constexpr u32 kMaxResults = items_within(sizeof(wyk_hal_result_response), sizeof(wyk_hal_ids));
constexpr u32 kMaxNodes = items_within(sizeof(wyk_hal_release) + WYK_HAL_RELEASE_TAIL, sizeof(wyk_hal_node));
static_assert(kMaxRequestPolicies <= items_within(sizeof(wyk_hal_policy_response), sizeof(wyk_hal_ids)));
static_assert(kMaxResults <= items_within(sizeof(wyk_hal_result_request), sizeof(wyk_hal_result_item)));

template <typename Record>
const Record &as(const void *block) {
    return *static_cast<const Record *>(block);
}
template <typename Item, typename Record>
const Item *items_behind(const Record &head) {
    return reinterpret_cast<const Item *>(&head + 1);
}

// --- Nodes -------------------------------------------------------------------------------------------------

// Answers that are the wrapper's own.
constexpr prm_status_t kUnknownEngineOperation = 22;
constexpr u32 kStatusRefused = 21;    // of a strict-priority configuration
constexpr u32 kStatusConfigured = 1;  // of a configuration read back

constexpr u32 kMaxMqcLevel = 1;
constexpr u32 kLevels = 8;          // of priority, and more where there are more classes
constexpr u16 kSmallestWeight = 1;  // what the hardware makes of a weight of 0

enum class NodeForm { QUEUE, POLICER, COUNTER, NONE };

NodeForm form_of(const wyk_hal_node &node) {
    if ((node.type & WYK_HAL_NODE_TYPE) != WYK_HAL_NODE_TYPE_VALUE) return NodeForm::NONE;
    const bool queue = (node.type & WYK_HAL_NODE_QUEUE) != 0;
    const bool policer = (node.type & WYK_HAL_NODE_POLICER) != 0;
    const bool counter = (node.counter_flags & WYK_HAL_NODE_COUNTER_VALID) != 0;
    if (queue + policer + counter != 1) return NodeForm::NONE;
    return queue ? NodeForm::QUEUE : policer ? NodeForm::POLICER : NodeForm::COUNTER;
}

}  // namespace

TrafficManagerState::TrafficManagerState(Accounts &accounts, const Inventory &inventory)
    : nps_(static_cast<u32>(inventory.np_local_ports.size())),
      ports_(inventory.ports),
      policy_number_account_{std::min(accounts[Resource::policy].limit, kMaxPolicies)},
      queue_number_account_{std::min(accounts[Resource::queue].limit, kMaxQueues)},
      policy_numbers_(policy_number_account_, kFirstPolicy),
      queue_numbers_(queue_number_account_, kFirstQueue),
      policies_(accounts[Resource::policy]),
      queues_(accounts[Resource::queue]) {}

// The traffic manager counts the ports from 1.
const TrafficManagerState::Port *TrafficManagerState::port(u32 number) const {
    return number != 0 && number <= ports_.size() ? &ports_[number - 1] : nullptr;
}

TrafficManagerState::Port *TrafficManagerState::port(u32 number) {
    return number != 0 && number <= ports_.size() ? &ports_[number - 1] : nullptr;
}

std::array<TrafficManagerState::NamedCounter, kCounters> TrafficManagerState::policer_counters(
    u32 policer_id) {
    return {{{"conform", statistics_of_policy(policer_id, PolicyCounter::CONFORMING)},
             {"exceed", statistics_of_policy(policer_id, PolicyCounter::EXCEEDING)},
             {"violate", statistics_of_policy(policer_id, PolicyCounter::VIOLATING)}}};
}

std::array<TrafficManagerState::NamedCounter, kCounters> TrafficManagerState::queue_counters(u32 fid0) {
    return {{{"all", statistics_of_queue(fid0, QueueCounter::STATISTICS)},
             {"committed", statistics_of_queue(fid0, QueueCounter::COMMITTED)},
             {"dropped", statistics_of_queue(fid0, QueueCounter::DROPPED)}}};
}

bool TrafficManagerState::has_queue(u32 fid0) const {
    return queues_.contains(fid0);
}

bool TrafficManagerState::has_policer(u32 id) const {
    if (id < kPlatformPolicers) return platform_policers_[id];
    const Policy *const found = policies_.find(id);
    return found != nullptr && found->kind == WYK_HAL_POLICY_POLICER;
}

bool TrafficManagerState::has_statistics(u32 id) const {
    id &= ~PRM_TCAM_QOS_STATS_FLAG;
    if (id >= kQueueStatistics) {
        const CounterName c = counter_of(id, kQueueStatistics);
        return c.counter < kCounters && has_queue(c.number);
    }
    if (id < kPolicyStatistics) return false;
    const CounterName c = counter_of(id, kPolicyStatistics);
    if (has_policer(c.number)) return c.counter < kCounters;
    return c.counter == static_cast<u32>(PolicyCounter::CONFORMING) && policies_.contains(c.number);
}

const TrafficManagerState::Policy *TrafficManagerState::policy(u32 stats_id) const {
    stats_id &= ~PRM_TCAM_QOS_STATS_FLAG;
    const CounterName c = counter_of(stats_id, kPolicyStatistics);
    if (stats_id < kPolicyStatistics || c.counter != static_cast<u32>(PolicyCounter::CONFORMING)) {
        return nullptr;
    }
    return policies_.find(c.number);
}

std::span<const u32> TrafficManagerState::class_queues(u32 number) const {
    const Port *const p = port(number);
    return p != nullptr ? std::span<const u32>(p->class_queues) : std::span<const u32>();
}

// --- Counters ----------------------------------------------------------------------------------------------

void TrafficManagerState::hold_statistics(u32 id) {
    visit_counted(queues_, policies_, id, [](auto &table, u32 number) { table.hold(number); });
}

void TrafficManagerState::release_statistics(u32 id) {
    visit_counted(queues_, policies_, id, [](auto &table, u32 number) { table.release(number); });
}

void TrafficManagerState::count(u32 stats_id, u64 bytes) {
    if (has_statistics(stats_id)) counters_.count(stats_id & ~PRM_TCAM_QOS_STATS_FLAG, bytes);
}

Count TrafficManagerState::counted(u32 stats_id) const {
    return counters_.of(stats_id & ~PRM_TCAM_QOS_STATS_FLAG);
}

u32 TrafficManagerState::depth(u32 fid0) const {
    const auto packets = [&](QueueCounter counter) {
        return counted(statistics_of_queue(fid0, counter)).packets;
    };
    const u64 in = packets(QueueCounter::STATISTICS);
    const u64 out = packets(QueueCounter::COMMITTED) + packets(QueueCounter::DROPPED);
    return static_cast<u32>(in > out ? in - out : 0);
}

// --- Queues ------------------------------------------------------------------------------------------------

prm_status_t TrafficManagerState::add_queue(u32 *fid0) {
    Queue *queue;
    if (const prm_status_t status = add_numbered(queue_numbers_, queues_, fid0, &queue)) return status;
    counters_.start(statistics_of_queue(*fid0, QueueCounter::STATISTICS), kCounters);
    return CERR_SUCCESS;
}

void TrafficManagerState::remove_queue(u32 fid0) {
    remove_numbered(queue_numbers_, queues_, fid0);
}

TmInfo TrafficManagerState::info() const {
    TmInfo info = {static_cast<u32>(ports_.size()), 0, 0, static_cast<u32>(policies_.size())};
    for (const Port &p : ports_) {
        info.default_queues += p.default_queue != 0;
        info.class_queues += static_cast<u32>(p.class_queues.size());
    }
    return info;
}

// --- Engine operations -------------------------------------------------------------------------------------

prm_status_t TrafficManagerState::engine_op(u32 hal_type, const void *request, void *response) {
    switch (hal_type) {
        case WYK_HAL_DEFAULT_QUEUE_ALLOCATE:
            if (request == nullptr || response == nullptr) return CARD_ERROR_NULL_POINTER;
            return allocate_default_queue(as<wyk_hal_default_queue>(request));
        case WYK_HAL_DEFAULT_QUEUE_RELEASE:
            if (request == nullptr) return CARD_ERROR_NULL_POINTER;
            return release_default_queue(as<wyk_hal_default_queue>(request));
        case WYK_HAL_PORT_SHAPER_CONFIGURE:
            if (request == nullptr || response == nullptr) return CARD_ERROR_NULL_POINTER;
            port_shaper_ = as<wyk_hal_port_shaper>(request);
            return CERR_SUCCESS;
        case WYK_HAL_PORT_SHAPER_REMOVE:
            // Nothing to remove is fine.
            if (request == nullptr || response == nullptr) return CARD_ERROR_NULL_POINTER;
            port_shaper_.reset();
            return CERR_SUCCESS;
        case WYK_HAL_TM_INFO: {
            if (response == nullptr) return CARD_ERROR_NULL_POINTER;
            const TmInfo its = info();
            memcpy(response, &its, sizeof its);
            return CERR_SUCCESS;
        }
        default:
            return kUnknownEngineOperation;
    }
}

// A port keeps the default queue it has, at the rate that was asked for last.
prm_status_t TrafficManagerState::allocate_default_queue(const wyk_hal_default_queue &request) {
    Port *const p = port(request.port_index + 1);
    if (p == nullptr) return CARD_ERROR_UNKNOWN_PORT;
    if (p->default_queue == 0) {
        if (const prm_status_t status = add_queue(&p->default_queue)) return status;
    }
    queues_.find(p->default_queue)->rate = request.word8;
    return CERR_SUCCESS;
}

prm_status_t TrafficManagerState::release_default_queue(const wyk_hal_default_queue &request) {
    Port *const p = port(request.port_index + 1);
    if (p == nullptr) return CARD_ERROR_UNKNOWN_PORT;
    if (p->default_queue == 0) return CARD_ERROR_NOT_FOUND;
    if (queues_.users(p->default_queue) != 0) return CARD_ERROR_IN_USE;
    remove_queue(p->default_queue);
    p->default_queue = 0;
    return CERR_SUCCESS;
}

// --- Results -----------------------------------------------------------------------------------------------

prm_status_t TrafficManagerState::get_result(const void *request, void *response) {
    if (request == nullptr || response == nullptr) return CARD_ERROR_NULL_POINTER;
    const auto &head = as<wyk_hal_result_request>(request);
    if (head.count > kMaxResults) return CARD_ERROR_BAD_COUNT;
    const auto *const items = items_behind<wyk_hal_result_item>(head);
    for (u32 i = 0; i < head.count; ++i) {
        const prm_status_t status = validate(items[i]);
        if (status != CERR_SUCCESS) return status;
    }
    auto *const answer = static_cast<wyk_hal_result_response *>(response);
    for (u32 i = 0; i < head.count; ++i) hand_out(items[i], wyk_hal_result_ids_at(answer, i));
    return CERR_SUCCESS;
}

prm_status_t TrafficManagerState::validate(const wyk_hal_result_item &item) const {
    switch (item.select & (WYK_HAL_RESULT_QUEUE | WYK_HAL_RESULT_POLICER)) {
        case 0:
            return CERR_SUCCESS;  // an item that selects nothing gets nothing
        case WYK_HAL_RESULT_QUEUE: {
            const Port *const p = port(item.port);
            if (p == nullptr) return CARD_ERROR_UNKNOWN_PORT;
            const bool there = p->default_queue != 0 && (item.byte14 & WYK_HAL_RESULT_BYTE14) == 0;
            return there ? u32{CERR_SUCCESS} : CARD_ERROR_NOT_FOUND;
        }
        case WYK_HAL_RESULT_POLICER:
            return item.word32 < kPlatformPolicers ? u32{CERR_SUCCESS} : CARD_ERROR_NOT_FOUND;
        default:
            return CARD_ERROR_BAD_KIND;
    }
}

void TrafficManagerState::hand_out(const wyk_hal_result_item &item, wyk_hal_ids *ids) {
    if ((item.select & WYK_HAL_RESULT_QUEUE) != 0) {
        const u32 queue = port(item.port)->default_queue;
        ids->fid0 = queue;
        ids->commit_id = statistics_of_queue(queue, QueueCounter::COMMITTED);
        ids->drop_id = statistics_of_queue(queue, QueueCounter::DROPPED);
    } else if ((item.select & WYK_HAL_RESULT_POLICER) != 0) {
        platform_policers_.set(item.word32);
        ids->policer_id = item.word32;
        ids->profile = static_cast<u16>(item.word32);
        ids->stats_id = statistics_of_policy(item.word32, PolicyCounter::CONFORMING);
        ids->exceed_id = statistics_of_policy(item.word32, PolicyCounter::EXCEEDING);
        ids->violate_id = statistics_of_policy(item.word32, PolicyCounter::VIOLATING);
    }
}

// --- Policies ----------------------------------------------------------------------------------------------

prm_status_t TrafficManagerState::config_policy_in_tm(const void *request, void *response, u32 policies) {
    if (request == nullptr || response == nullptr) return CARD_ERROR_NULL_POINTER;
    const auto &head = as<wyk_hal_policy_request>(request);
    auto *const answer = static_cast<wyk_hal_policy_response *>(response);
    const auto *const items = items_behind<wyk_hal_policy>(head);
    wyk_hal_ids *const ids = wyk_hal_policy_ids_at(answer, 0);
    if (policies != 0) return configure_policies(head, items, policies, ids);

    if (!acceptable(head, items)) {
        answer->status = kStatusRefused;
        return CERR_SUCCESS;
    }
    answer->status = 0;
    return head.count != 0 ? configure_classes(head, items, ids) : u32{CERR_SUCCESS};
}

prm_status_t TrafficManagerState::configure_policies(const wyk_hal_policy_request &head,
                                                     const wyk_hal_policy *policies, u32 count,
                                                     wyk_hal_ids *ids) {
    if (head.count != count || count > kMaxRequestPolicies) return CARD_ERROR_BAD_COUNT;
    if (!acceptable_head(head)) return CARD_ERROR_BAD_VALUE;
    for (u32 i = 0; i < count; ++i) {
        if (policies[i].kind != WYK_HAL_POLICY_COUNTER && policies[i].kind != WYK_HAL_POLICY_POLICER) {
            return CARD_ERROR_BAD_KIND;
        }
    }
    u32 numbers[kMaxRequestPolicies];
    for (u32 i = 0; i < count; ++i) {
        Policy *policy;
        const prm_status_t status = add_numbered(policy_numbers_, policies_, &numbers[i], &policy);
        if (status != CERR_SUCCESS) {
            while (i > 0) remove_numbered(policy_numbers_, policies_, numbers[--i]);
            return status;
        }
        *policy = {policies[i].kind, policies[i].mode_word, policies[i].committed_rate, policies[i].burst};
        counters_.start(statistics_of_policy(numbers[i], PolicyCounter::CONFORMING), kCounters);
    }
    for (u32 i = 0; i < count; ++i) {
        ids[i].stats_id = statistics_of_policy(numbers[i], PolicyCounter::CONFORMING);
        if (policies[i].kind == WYK_HAL_POLICY_POLICER) {
            ids[i].policer_id = numbers[i];
            ids[i].profile = static_cast<u16>(numbers[i]);
            ids[i].stats_id |= PRM_TCAM_QOS_STATS_FLAG;
        }
    }
    return CERR_SUCCESS;
}

// The fields of a policy request in the order they are looked at: the head's, then, in a strict-priority
// request, those of its classes.
bool TrafficManagerState::acceptable_head(const wyk_hal_policy_request &head) const {
    if (head.mqc_level > kMaxMqcLevel) return false;
    if (head.np_id >= nps_) return false;
    return (head.word64 & WYK_HAL_QUEUING_ENABLED) == 0 || head.direction != WYK_HAL_INGRESS;
}

bool TrafficManagerState::acceptable(const wyk_hal_policy_request &head,
                                     const wyk_hal_policy *classes) const {
    if (!acceptable_head(head)) return false;
    // Who names a network processor names a port on it, with classes or without.
    if (head.count == 0) return head.np_id == 0 || port(head.port) != nullptr;
    if (head.count > kMaxRequestPolicies) return false;
    const u32 levels = std::max(head.count, kLevels);
    absl::flat_hash_set<u16> groups;
    for (u32 i = 0; i < head.count; ++i) {
        const wyk_hal_policy &c = classes[i];
        if (c.mqc_depth != 0 || c.priority >= levels) return false;
        if (c.bandwidth_mode != 0 && c.bandwidth_mode != WYK_HAL_BANDWIDTH_BWRR) return false;
        if (!groups.insert(c.qos_group).second) return false;
    }
    return head.direction == WYK_HAL_EGRESS && port(head.port) != nullptr;
}

// The classes take the place of those that the port has; a qos-group that it has keeps its queue.
prm_status_t TrafficManagerState::configure_classes(const wyk_hal_policy_request &head,
                                                    const wyk_hal_policy *classes, wyk_hal_ids *ids) {
    Port &p = *port(head.port);
    absl::flat_hash_map<u16, u32> its_queues;  // those of groups that the request does not name, at last
    for (const u32 fid0 : p.class_queues) its_queues[queue(fid0)->qos_group] = fid0;
    std::vector<u32> wanted(head.count);
    u32 missing = 0;
    for (u32 i = 0; i < head.count; ++i) {
        const auto kept = its_queues.extract(classes[i].qos_group);
        kept.empty() ? ++missing : wanted[i] = kept.mapped();
    }
    for (const auto &[group, fid0] : its_queues) {
        if (queues_.users(fid0) != 0) return CARD_ERROR_IN_USE;
    }
    if (missing > its_queues.size() && !queues_.account().has(missing - static_cast<u32>(its_queues.size())))
        return CARD_ERROR_POOL_EXHAUSTED;

    for (const auto &[group, fid0] : its_queues) remove_queue(fid0);
    for (u32 i = 0; i < head.count; ++i) {
        const wyk_hal_policy &c = classes[i];
        if (wanted[i] == 0) {
            if (const prm_status_t status = add_queue(&wanted[i])) return status;
        }
        *queues_.find(wanted[i]) = {.qos_group = c.qos_group,
                                    .priority = c.priority,
                                    .shaper_word = c.shaper_word,
                                    .bandwidth_mode = c.bandwidth_mode,
                                    .weight = std::max<u16>(c.weight, kSmallestWeight),
                                    .rate = c.rate};
        ids[i].fid0 = wanted[i];
        ids[i].commit_id = statistics_of_queue(wanted[i], QueueCounter::COMMITTED);
        ids[i].drop_id = statistics_of_queue(wanted[i], QueueCounter::DROPPED);
        ids[i].stats_id = statistics_of_queue(wanted[i], QueueCounter::STATISTICS);
    }
    p.class_queues = std::move(wanted);
    return CERR_SUCCESS;
}

// --- Reading -----------------------------------------------------------------------------------------------

prm_status_t TrafficManagerState::get_stats(const void *request, void *response) const {
    if (request == nullptr || response == nullptr) return CARD_ERROR_NULL_POINTER;
    const auto &wanted = as<wyk_hal_stats_request>(request);
    if (wanted.count != 1) return CARD_ERROR_BAD_COUNT;
    if (!has_statistics(wanted.stats_id)) return CARD_ERROR_UNKNOWN_STATISTICS;
    const Count its = counted(wanted.stats_id);
    *static_cast<wyk_hal_stats_response *>(response) = {
        .status = 0, .stats_id = wanted.stats_id, .packets = its.packets, .bytes = its.bytes};
    return CERR_SUCCESS;
}

prm_status_t TrafficManagerState::get_queue_depth(const void *request, void *response) const {
    if (request == nullptr || response == nullptr) return CARD_ERROR_NULL_POINTER;
    const u32 fid0 = as<wyk_hal_queue_depth_request>(request).fid0;
    if (!has_queue(fid0)) return CARD_ERROR_NOT_FOUND;
    const u32 its_depth = depth(fid0);
    memcpy(response, &its_depth, sizeof its_depth);
    return CERR_SUCCESS;
}

prm_status_t TrafficManagerState::get_config(const void *request, void *response) const {
    if (request == nullptr || response == nullptr) return CARD_ERROR_NULL_POINTER;
    const auto &wanted = as<wyk_hal_config_request>(request);
    if (wanted.count == 0 || wanted.count > WYK_HAL_CLASSES) return CARD_ERROR_BAD_COUNT;
    const Queue *found[WYK_HAL_CLASSES];
    for (u32 i = 0; i < wanted.count; ++i) {
        const wyk_hal_node &node = wanted.nodes[i];
        if ((node.type & WYK_HAL_NODE_QUEUE) == 0) return CARD_ERROR_BAD_KIND;
        if (port(node.port) == nullptr) return CARD_ERROR_UNKNOWN_PORT;
        const std::span<const u32> configured = class_queues(node.port);
        const auto its = std::find_if(configured.begin(), configured.end(),
                                      [&](u32 fid0) { return queue(fid0)->qos_group == node.qos_group; });
        if (its == configured.end()) return CARD_ERROR_NOT_FOUND;
        found[i] = queue(*its);
    }
    auto *const answer = static_cast<wyk_hal_config_response *>(response);
    answer->status = kStatusConfigured;
    for (u32 i = 0; i < wanted.count; ++i) {
        answer->classes[i].bandwidth_mode = found[i]->bandwidth_mode;
        answer->classes[i].weight = found[i]->weight;
        answer->classes[i].level = found[i]->priority;
    }
    return CERR_SUCCESS;
}

// --- Release -----------------------------------------------------------------------------------------------

prm_status_t TrafficManagerState::deallocate_nodes(const void *request, u32 *status_word) {
    if (request == nullptr || status_word == nullptr) return CARD_ERROR_NULL_POINTER;
    *status_word = 0;
    const auto &head = as<wyk_hal_release>(request);
    if (head.count > kMaxNodes) return CARD_ERROR_BAD_COUNT;
    const auto *const nodes = items_behind<wyk_hal_node>(head);

    // What the nodes name, each once; a port as often as it has queues to release.
    absl::InlinedVector<u32, 16> policies;
    absl::flat_hash_map<Port *, u32> queues;
    for (u32 i = 0; i < head.count; ++i) {
        const wyk_hal_node &node = nodes[i];
        switch (form_of(node)) {
            case NodeForm::QUEUE: {
                Port *const p = port(node.port);
                if (p == nullptr) return CARD_ERROR_UNKNOWN_PORT;
                const u32 nth = queues[p]++;
                if (nth >= p->class_queues.size()) return CARD_ERROR_NOT_FOUND;
                if (queues_.users(p->class_queues[nth]) != 0) return CARD_ERROR_IN_USE;
                break;
            }
            case NodeForm::POLICER: {
                const u32 number = node.policer_word >> WYK_HAL_NODE_POLICER_SHIFT;
                const u32 statistics = node.policer_stats_id & ~PRM_TCAM_QOS_STATS_FLAG;
                if ((node.policer_word & WYK_HAL_NODE_POLICER_VALID) == 0) return CARD_ERROR_BAD_KIND;
                if (number < kFirstPolicy || !has_policer(number) ||
                    statistics != statistics_of_policy(number, PolicyCounter::CONFORMING)) {
                    return CARD_ERROR_NOT_FOUND;
                }
                policies.push_back(number);
                break;
            }
            case NodeForm::COUNTER: {
                const Policy *const counter = policy(node.counter_id);
                if (counter == nullptr || counter->kind != WYK_HAL_POLICY_COUNTER)
                    return CARD_ERROR_NOT_FOUND;
                policies.push_back(
                    counter_of(node.counter_id & ~PRM_TCAM_QOS_STATS_FLAG, kPolicyStatistics).number);
                break;
            }
            case NodeForm::NONE:
                return CARD_ERROR_BAD_KIND;
        }
    }
    std::sort(policies.begin(), policies.end());
    if (std::adjacent_find(policies.begin(), policies.end()) != policies.end()) return CARD_ERROR_NOT_FOUND;
    for (const u32 number : policies) {
        if (policies_.users(number) != 0) return CARD_ERROR_IN_USE;
    }

    for (const u32 number : policies) remove_numbered(policy_numbers_, policies_, number);
    for (const auto &[p, count] : queues) {
        for (u32 i = 0; i < count; ++i) remove_queue(p->class_queues[i]);
        p->class_queues.erase(p->class_queues.begin(), p->class_queues.begin() + count);
    }
    *status_word = head.count;
    return CERR_SUCCESS;
}

namespace {

prm_status_t engine_op(Card &card, u32 hal_type, void *request, void *response) {
    return card.traffic_manager.engine_op(hal_type, request, response);
}

prm_status_t config_policy_in_tm(Card &card, void *request, void *response, u32 policies) {
    return card.traffic_manager.config_policy_in_tm(request, response, policies);
}

prm_status_t deallocate_nodes(Card &card, void *request, u32 *status_word) {
    return card.traffic_manager.deallocate_nodes(request, status_word);
}

template <auto Operation>
prm_status_t exchange(Card &card, void *request, void *response) {
    return (card.traffic_manager.*Operation)(request, response);
}

}  // namespace

void install_traffic_manager(card::Backend &backend) {
    backend.wyk_hal_wrapper_engine_op = on_card<engine_op>;
    backend.wyk_hal_wrapper_get_result = on_card<exchange<&TrafficManagerState::get_result>>;
    backend.wyk_hal_wrapper_config_policy_in_tm = on_card<config_policy_in_tm>;
    backend.wyk_hal_wrapper_get_stats = on_card<exchange<&TrafficManagerState::get_stats>>;
    backend.wyk_hal_wrapper_get_queue_depth = on_card<exchange<&TrafficManagerState::get_queue_depth>>;
    backend.wyk_hal_wrapper_get_config = on_card<exchange<&TrafficManagerState::get_config>>;
    backend.wyk_hal_wrapper_deallocate_nodes = on_card<deallocate_nodes>;
}

}  // namespace sim
