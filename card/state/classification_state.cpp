// State: TCAMs with their entries, ACL statistics, queues, policies and policers.
#include <fmt/core.h>

#include "card/state/families.h"
#include "zor_vop_prm_tcam.h"

namespace card {
namespace {

u32 feature_of(u64 vmr_id) {
    return static_cast<u32>((vmr_id & PRM_TCAM_VMR_FEATURE) >> PRM_TCAM_VMR_FEATURE_SHIFT);
}

std::string_view feature_name(u64 vmr_id) {
    for (const prm_name &name : prm_tcam_features) {
        if (name.value == feature_of(vmr_id)) return name.text;
    }
    return "unknown";
}

void write_tcams(const sim::Card &card, FamilyWriter &out) {
    in_order(card.tcam.tcams(), [&](u64 vmr_id, const sim::Tcam &tcam, u32) {
        out.begin_entry();
        out.hex("vmr_id", vmr_id);
        out.text("feature", feature_name(vmr_id));
        out.number("port_num", tcam.port_num);
        out.number("word4", tcam.word4);
        out.number("word312", tcam.word312);
        out.number("entries", tcam.entries.size());
        out.end_entry();
    });
}

bool is_all_ones(Block bytes) {
    return std::ranges::all_of(bytes, [](u8 byte) { return byte == 0xFF; });
}

// What an entry matches on: the value of a field and the bits of it that count, all where none are told.
void write_match(const prm_record &table, Block value, Block mask, FamilyWriter &out) {
    std::vector<std::string> masks;  // of the fields in order: both keys have the same
    decode(table, mask, [&](const FieldValue &field) {
        masks.push_back(field.is_zero() ? "0" : is_all_ones(field.bytes) ? "" : text(field));
    });
    out.json().key("match");
    out.json().begin_object();
    size_t i = 0;
    decode(table, value, [&](const FieldValue &field) {
        const std::string &its_mask = masks[i++];
        if (field.is_zero() && its_mask == "0") return;
        out.text(field.path,
                 its_mask.empty() ? text(field) : fmt::format("{} mask {}", text(field), its_mask));
    });
    out.json().end_object();
}

void write_tcam_entries(const sim::Card &card, FamilyWriter &out) {
    in_order(card.tcam.tcams(), [&](u64 vmr_id, const sim::Tcam &tcam, u32) {
        const bool qos = feature_of(vmr_id) == PRM_TCAM_FEATURE_QOS;
        const prm_record &key = qos ? prm_tcam_qos_key_record : prm_tcam_acl_key_record;
        const prm_record &result = qos ? prm_tcam_qos_result_record : prm_tcam_acl_result_record;
        tcam.entries.for_each([&](u32 index, const sim::TcamEntry &entry) {
            out.begin_entry();
            out.hex("vmr_id", vmr_id);
            out.number("ace_index", index);
            write_match(key, entry.value, entry.mask, out);
            out.record("result", result, entry.result);
            out.end_entry();
        });
    });
}

void write_acl_statistics(const sim::Card &card, FamilyWriter &out) {
    card.tcam.statistics().for_each_used([&](u32 id) {
        const sim::Count count = card.tcam.counted(id);
        out.begin_entry();
        out.number("stats_id", id);
        out.number("packets", count.packets);
        out.number("bytes", count.bytes);
        out.count("users", card.tcam.statistics_users(id));
        out.end_entry();
    });
}

using TrafficManager = sim::TrafficManagerState;

// What each of its counters has counted, under its name.
void write_counters(const TrafficManager &manager, std::span<const TrafficManager::NamedCounter> counters,
                    FamilyWriter &out) {
    for (const TrafficManager::NamedCounter &counter : counters) {
        const sim::Count count = manager.counted(counter.id);
        out.json().key(counter.name);
        out.json().begin_object();
        out.hex("stats_id", counter.id);
        out.number("packets", count.packets);
        out.number("bytes", count.bytes);
        out.json().end_object();
    }
}

void write_queue_counters(const TrafficManager &manager, u32 fid0, FamilyWriter &out) {
    write_counters(manager, TrafficManager::queue_counters(fid0), out);
    out.number("depth", manager.depth(fid0));
}

void write_default_queues(const sim::Card &card, FamilyWriter &out) {
    const TrafficManager &manager = card.traffic_manager;
    manager.for_each_port([&](u32 port, u32 default_queue, const auto &) {
        if (default_queue == 0) return;
        out.begin_entry();
        out.number("port", port);
        out.hex("fid0", default_queue);
        out.number("rate", manager.queue(default_queue)->rate);
        write_queue_counters(manager, default_queue, out);
        out.end_entry();
    });
}

void write_queues(const sim::Card &card, FamilyWriter &out) {
    const TrafficManager &manager = card.traffic_manager;
    manager.for_each_port([&](u32 port, u32, const auto &queues) {
        for (const u32 fid0 : queues) {
            const TrafficManager::Queue &each = *manager.queue(fid0);
            out.begin_entry();
            out.number("port", port);
            out.number("qos_group", each.qos_group);
            out.hex("fid0", fid0);
            out.number("priority", each.priority);
            out.number("rate", each.rate);
            out.flag("default_class", (each.shaper_word & WYK_HAL_SHAPER_DEFAULT_CLASS) != 0);
            if (each.bandwidth_mode != 0) {
                out.text("bandwidth_mode", each.bandwidth_mode == WYK_HAL_BANDWIDTH_BWRR
                                               ? "bwrr"
                                               : std::to_string(each.bandwidth_mode));
                out.number("weight", each.weight);
            }
            write_queue_counters(manager, fid0, out);
            out.end_entry();
        }
    });
}

void write_policies(const sim::Card &card, FamilyWriter &out) {
    in_order(card.traffic_manager.policies(), [&](u32 id, const auto &policy, u32 users) {
        const bool policer = policy.kind == WYK_HAL_POLICY_POLICER;
        const auto counters = TrafficManager::policer_counters(id);
        out.begin_entry();
        out.hex("stats_id", counters[0].id);
        out.text("kind", policer ? "policer" : "counter");
        if (policer) {
            out.number("policer_id", id);
            out.number("mode_word", policy.mode_word);
            out.number("committed_rate", policy.committed_rate);
            out.number("burst", policy.burst);
        }
        write_counters(card.traffic_manager, std::span(counters).first(policer ? 3 : 1), out);
        out.count("users", users);
        out.end_entry();
    });
}

void write_platform_policers(const sim::Card &card, FamilyWriter &out) {
    const auto &policers = card.traffic_manager.platform_policers();
    for (u32 id = 0; id < policers.size(); ++id) {
        if (!policers[id]) continue;
        const auto counters = TrafficManager::policer_counters(id);
        out.begin_entry();
        out.number("policer_id", id);
        out.hex("stats_id", counters[0].id);
        write_counters(card.traffic_manager, counters, out);
        out.end_entry();
    }
}

// No field of a port shaper is known: it is told whole where it is not 0.
void write_port_shapers(const sim::Card &card, FamilyWriter &out) {
    if (!card.traffic_manager.port_shaper()) return;
    const wyk_hal_port_shaper &shaper = *card.traffic_manager.port_shaper();
    out.begin_entry();
    out.text("shaper", "port");
    out.record("request", wyk_hal_port_shaper_record, Block(shaper.reserved0));
    out.end_entry();
}

constexpr Family kFamilies[] = {
    {"tcams", "vmr_id", write_tcams},
    {"tcam_entries", "vmr_id ace_index", write_tcam_entries},
    {"acl_statistics", "stats_id", write_acl_statistics},
    {"default_queues", "port", write_default_queues},
    {"queues", "port qos_group", write_queues},
    {"port_shapers", "shaper", write_port_shapers},
    {"policies", "stats_id", write_policies},
    {"platform_policers", "policer_id", write_platform_policers},
};

}  // namespace

std::span<const Family> classification_families() {
    return kFamilies;
}

}  // namespace card
