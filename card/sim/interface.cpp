// The interface database of the simulated card: the operations.
#include "card/sim/interface.h"

#include <cstring>

#include "card/sim/backend.h"
#include "card/sim/interface_feature.h"

namespace sim {
namespace {

constexpr u32 kChannelMapPort = 0xFF;
constexpr u32 kMaxBatchEntries = 1024;
constexpr u32 kLastUidb = 0xFFFE;  // all ones is what a failed lookup yields
constexpr u16 kDefaultTpid = 0x8100;

// A client's cookie, none, or the handle of a registered client.
prm_status_t check_cookie(const Card &card, uintptr_t cookie) {
    const bool known = cookie == 0 || cookie == UIDB_CLIENT_COOKIE || card.connection.is_client(cookie);
    return success_if(known, CARD_ERROR_BAD_COOKIE);
}

template <typename Record>
prm_status_t require_cookie(const Card &card, uintptr_t cookie, const Record *record) {
    if (const prm_status_t status = check_cookie(card, cookie)) return status;
    return success_if(record != nullptr, CARD_ERROR_NULL_POINTER);
}

// ---- Creating and deleting.

// The kinds of interface that a batch creates, by handle.
using Created = absl::flat_hash_map<u32, InterfaceKind>;

// A main interface gives its sub-interfaces its port; those of a bundle have any.
prm_status_t check_sub_interface(const Card &card, const uidb_create_msg &request, const Created &created) {
    const u32 port = request.channel_map & kChannelMapPort;
    const Interface *const parent = card.interfaces.table.find(request.parent_ifh);
    const auto also_created = created.find(request.parent_ifh);
    if (parent == nullptr && also_created == created.end()) return CARD_ERROR_UNKNOWN_INTERFACE;
    const InterfaceKind kind = parent != nullptr ? parent->kind : also_created->second;
    if (kind != InterfaceKind::MAIN && kind != InterfaceKind::BUNDLE) return CARD_ERROR_BAD_PARENT;
    if (!has_port(card, port)) return CARD_ERROR_UNKNOWN_PORT;
    return success_if(kind == InterfaceKind::BUNDLE || parent->np_port == port, CARD_ERROR_WRONG_PORT);
}

prm_status_t check_create(const Card &card, const uidb_create_msg &request, const Created &created) {
    if (request.if_handle == 0) return CARD_ERROR_BAD_VALUE;
    if (card.interfaces.table.contains(request.if_handle)) return CARD_ERROR_INTERFACE_EXISTS;
    switch (request.iftype) {
        case UIDB_IFTYPE_SUB_INTERFACE:
            return check_sub_interface(card, request, created);
        case UIDB_IFTYPE_BUNDLE_MAIN:
            return success_if(request.parent_ifh == 0, CARD_ERROR_BAD_PARENT);
        case UIDB_IFTYPE_BVI:
            if (request.parent_ifh != 0) return CARD_ERROR_BAD_PARENT;
            if (card.interfaces.bvi_uidb == 0) return CARD_ERROR_NO_BVI;
            return success_if(card.interfaces.handle_of_uidb(card.interfaces.bvi_uidb) == 0,
                              CARD_ERROR_IN_USE);
        default:
            return CARD_ERROR_BAD_INTERFACE_TYPE;
    }
}

// The requests of a batch beside each other, in any order: an interface and its sub-interfaces may come in
// one.
prm_status_t check_batch(const Card &card, const uidb_create_msg *requests, u32 count) {
    Created created;
    u32 bvis = 0;
    for (u32 i = 0; i < count; ++i) {
        const InterfaceKind kind = static_cast<InterfaceKind>(requests[i].iftype);
        if (count > 1 && !created.emplace(requests[i].if_handle, kind).second)
            return CARD_ERROR_INTERFACE_EXISTS;
        if (kind == InterfaceKind::BVI && ++bvis > 1) return CARD_ERROR_IN_USE;
    }
    for (u32 i = 0; i < count; ++i) {
        if (const prm_status_t status = check_create(card, requests[i], created)) return status;
    }
    return success_if(card.interfaces.uidb_account.has(count - bvis), CARD_ERROR_POOL_EXHAUSTED);
}

prm_status_t create_one(InterfaceState &state, uidb_create_msg &request) {
    Interface *interface;
    if (const prm_status_t status = state.table.add(request.if_handle, &interface)) return status;
    u32 uidb = state.bvi_uidb;
    if (request.iftype != UIDB_IFTYPE_BVI) state.uidb_pool.reserve(1, &uidb);
    interface->kind = static_cast<InterfaceKind>(request.iftype);
    interface->uidb = static_cast<u16>(uidb);
    interface->np_port = static_cast<u8>(request.channel_map & kChannelMapPort);
    interface->parent = request.parent_ifh;
    state.set_handle_of_uidb(interface->uidb, request.if_handle);
    request.uidb_index = interface->uidb;
    return CERR_SUCCESS;
}

prm_status_t delete_one(Card &card, u32 if_handle) {
    InterfaceState &state = card.interfaces;
    const Interface *const interface = state.table.find(if_handle);
    if (interface == nullptr) return CARD_ERROR_UNKNOWN_INTERFACE;
    if (interface->kind == InterfaceKind::MAIN) return CARD_ERROR_FIXED_INTERFACE;
    if (interface->sub_interfaces != 0) return CARD_ERROR_HAS_SUB_INTERFACES;
    const bool bundle_formed = interface->kind == InterfaceKind::BUNDLE && interface->has(Feature::LAG_ID) &&
                               state.bundles.contains(static_cast<u8>(interface->value(Feature::LAG_ID)));
    if (bundle_formed) return CARD_ERROR_BUNDLE_FORMED;
    if (state.table.users(if_handle) != 0 || state.uidb_pool.is_named(interface->uidb))
        return CARD_ERROR_IN_USE;

    release_features(card, if_handle);
    if (Interface *const parent = state.table.find(interface->parent)) --parent->sub_interfaces;
    state.set_handle_of_uidb(interface->uidb, 0);
    if (interface->uidb != state.bvi_uidb) state.uidb_pool.release(interface->uidb, 1);
    return state.table.remove(if_handle);
}

// All or none of them.
prm_status_t create_batch(Card &card, uintptr_t cookie, uidb_create_msg *requests, u32 count) {
    if (const prm_status_t status = require_cookie(card, cookie, requests)) return status;
    if (count == 0) return CARD_ERROR_BAD_COUNT;
    if (!card.interfaces.table.account().has(count)) return CARD_ERROR_TABLE_FULL;
    if (const prm_status_t status = check_batch(card, requests, count)) return status;
    for (u32 i = 0; i < count; ++i) {
        if (const prm_status_t status = create_one(card.interfaces, requests[i])) return status;
    }
    for (u32 i = 0; i < count; ++i) {
        if (Interface *const parent = card.interfaces.table.find(requests[i].parent_ifh))
            ++parent->sub_interfaces;
    }
    return CERR_SUCCESS;
}

prm_status_t create_interface(Card &card, uintptr_t cookie, uidb_create_msg *request) {
    return create_batch(card, cookie, request, 1);
}

prm_status_t delete_interface(Card &card, uintptr_t cookie, u32 if_handle) {
    if (const prm_status_t status = check_cookie(card, cookie)) return status;
    return delete_one(card, if_handle);
}

// ---- Features.

prm_status_t set_feature(Card &card, uintptr_t cookie, uidb_client_data *message) {
    if (const prm_status_t status = require_cookie(card, cookie, message)) return status;
    const u32 count = message->nr_features;
    if (count == 0 || message->features_len != count * sizeof(uidb_feature)) return CARD_ERROR_BAD_LENGTH;
    const uidb_feature *const records = reinterpret_cast<const uidb_feature *>(message + 1);
    FeatureMessage features(card);
    for (u32 i = 0; i < count; ++i) {
        if (const prm_status_t status = features.add(message->if_handle, records[i])) return status;
    }
    return features.set();
}

prm_status_t set_feature_batch(Card &card, uintptr_t cookie, uidb_feature_batch *batch) {
    if (const prm_status_t status = require_cookie(card, cookie, batch)) return status;
    const u32 count = batch->nr_entries;
    if (count == 0 || batch->entries_len != u64{count} * sizeof(uidb_batch_entry))
        return CARD_ERROR_BAD_LENGTH;
    if (count > kMaxBatchEntries) return CARD_ERROR_BAD_COUNT;
    const uidb_batch_entry *const entries = reinterpret_cast<const uidb_batch_entry *>(batch + 1);
    FeatureMessage features(card);
    for (u32 i = 0; i < count; ++i) {
        if (const prm_status_t status = features.add(entries[i].if_handle, entries[i].feature)) return status;
    }
    return features.set();
}

// The source MAC of a bundle's frames; the bundle need not be formed yet.
prm_status_t set_port_feature(Card &card, uintptr_t cookie, uidb_port_feature *record) {
    if (const prm_status_t status = require_cookie(card, cookie, record)) return status;
    if (record->feature_id != UIDB_PORT_FEATURE_SOURCE_MAC) return CARD_ERROR_UNKNOWN_FEATURE;
    if (record->port > 0xFF || record->enable > 1) return CARD_ERROR_BAD_VALUE;
    if (record->enable != 0 && is_group(record->mac)) return CARD_ERROR_GROUP_MAC;
    const auto owner = card.interfaces.bundle_interfaces.find(static_cast<u8>(record->port));
    if (owner == card.interfaces.bundle_interfaces.end()) return CARD_ERROR_UNKNOWN_BUNDLE;
    Interface &interface = *card.interfaces.table.find(owner->second);
    const u32 bit = 1u << static_cast<u32>(Feature::MAC);
    if (record->enable == 0) {
        if (interface.has(Feature::MAC)) --card.interfaces.feature_account.used;
        interface.features &= ~bit;
        return CERR_SUCCESS;
    }
    if (!interface.has(Feature::MAC)) {
        if (!card.interfaces.feature_account.has(1)) return CARD_ERROR_TABLE_FULL;
        ++card.interfaces.feature_account.used;
    }
    interface.features |= bit;
    std::memcpy(interface.mac, record->mac, sizeof interface.mac);
    return CERR_SUCCESS;
}

// ---- Bundles.

// The member list as a set; every port is configured for the bundle before it becomes a member, and is in the
// list once.
prm_status_t read_members(const Card &card, const uidb_lag_update &update, std::bitset<256> *members) {
    for (u32 i = 0; i < update.member_count; ++i) {
        const auto configured = card.interfaces.configured_members.find(static_cast<u8>(update.members[i]));
        if (configured == card.interfaces.configured_members.end()) return CARD_ERROR_NOT_CONFIGURED;
        if (configured->second != update.lag_id) return CARD_ERROR_MEMBER_OF_ANOTHER;
        if (members->test(update.members[i])) return CARD_ERROR_PORT_TWICE;
        if (card.span.is_destination(update.members[i])) return CARD_ERROR_MIRROR_DESTINATION;
        members->set(update.members[i]);
    }
    return CERR_SUCCESS;
}

prm_status_t form_bundle(Card &card, const uidb_lag_update &update) {
    Bundle formed;
    if (card.interfaces.bundles.contains(update.lag_id)) return CARD_ERROR_BUNDLE_EXISTS;
    if (!card.interfaces.bundle_interfaces.contains(update.lag_id)) return CARD_ERROR_NO_BUNDLE_INTERFACE;
    if (const prm_status_t status = read_members(card, update, &formed.members)) return status;
    Bundle *bundle;
    const prm_status_t status = card.interfaces.bundles.add(update.lag_id, &bundle);
    if (status == CERR_SUCCESS) *bundle = formed;
    return status;
}

prm_status_t set_members(Card &card, const uidb_lag_update &update) {
    Bundle *const bundle = card.interfaces.bundles.find(update.lag_id);
    if (bundle == nullptr) return CARD_ERROR_UNKNOWN_BUNDLE;
    std::bitset<256> members;
    if (const prm_status_t status = read_members(card, update, &members)) return status;
    bundle->members = members;
    return CERR_SUCCESS;
}

prm_status_t delete_bundle(Card &card, const uidb_lag_update &update) {
    const prm_status_t status = card.interfaces.bundles.remove(update.lag_id);
    return status == CARD_ERROR_NOT_FOUND ? CARD_ERROR_UNKNOWN_BUNDLE : status;
}

// A port is configured for a bundle before the bundle is formed and until after it is gone.
prm_status_t configure_member(Card &card, const uidb_lag_update &update) {
    if (update.member_count != 1) return CARD_ERROR_BAD_COUNT;
    const auto [configured, inserted] =
        card.interfaces.configured_members.try_emplace(static_cast<u8>(update.members[0]), update.lag_id);
    const bool ours = inserted || configured->second == update.lag_id;
    return success_if(ours, CARD_ERROR_MEMBER_OF_ANOTHER);
}

prm_status_t unconfigure_member(Card &card, const uidb_lag_update &update) {
    if (update.member_count != 1) return CARD_ERROR_BAD_COUNT;
    const u8 port = static_cast<u8>(update.members[0]);
    const auto configured = card.interfaces.configured_members.find(port);
    if (configured == card.interfaces.configured_members.end() || configured->second != update.lag_id) {
        return CARD_ERROR_NOT_CONFIGURED;
    }
    const Bundle *const bundle = card.interfaces.bundles.find(update.lag_id);
    if (bundle != nullptr && bundle->members.test(port)) return CARD_ERROR_ACTIVE_MEMBER;
    card.interfaces.configured_members.erase(configured);
    return CERR_SUCCESS;
}

prm_status_t run_lag_operation(Card &card, const uidb_lag_update &update) {
    switch (update.lag_op) {
        case UIDB_LAG_CREATE:
            return form_bundle(card, update);
        case UIDB_LAG_SET_MEMBERS:
            return set_members(card, update);
        case UIDB_LAG_DELETE:
            return delete_bundle(card, update);
        case UIDB_LAG_CONFIG_MEMBER:
            return configure_member(card, update);
        default:
            return unconfigure_member(card, update);
    }
}

// A record that makes no sense fails the call; what the operation comes to stands in the record.
prm_status_t update_lag(Card &card, uintptr_t cookie, uidb_lag_update *update) {
    if (const prm_status_t status = require_cookie(card, cookie, update)) return status;
    if (update->lag_op > UIDB_LAG_UNCONFIG_MEMBER) return CARD_ERROR_BAD_KIND;
    if (update->member_count > UIDB_LAG_MAX_MEMBERS) return CARD_ERROR_BAD_COUNT;
    for (u32 i = 0; i < update->member_count; ++i) {
        if (!has_port(card, update->members[i])) return CARD_ERROR_UNKNOWN_PORT;
    }
    update->lag_status = run_lag_operation(card, *update);
    return CERR_SUCCESS;
}

// ---- What the inventory provides.

void provide_feature(InterfaceState &state, Interface *interface, Feature feature, u32 value) {
    interface->features |= 1u << static_cast<u32>(feature);
    interface->values[static_cast<size_t>(feature)] = value;
    ++state.feature_account.used;
}

void provide_features(InterfaceState &state, const InventoryInterface &described, Interface *interface) {
    provide_feature(state, interface, Feature::L2, described.layer2 ? 1 : 0);
    if (described.in_bundle) {
        provide_feature(state, interface, Feature::LAG_ID, described.lag_id);
        if (described.kind == InterfaceKind::BUNDLE) {
            Bundle *bundle;
            if (state.bundles.put(described.lag_id, &bundle) == CERR_SUCCESS) {
                state.bundle_interfaces[described.lag_id] = described.handle;
            }
        } else {
            state.bundles.hold(described.lag_id);
        }
    } else {
        provide_feature(state, interface, Feature::NP_PORT, described.np_port);
    }
    if (described.kind != InterfaceKind::SUB) return;
    const u32 tags = described.outer_vlan == 0 ? 0 : described.inner_vlan == 0 ? 1 : 2;
    provide_feature(state, interface, Feature::OUTER_VLAN, described.outer_vlan);
    provide_feature(state, interface, Feature::INNER_VLAN, described.inner_vlan);
    provide_feature(state, interface, Feature::VLAN_TAGS, tags);
    if (described.outer_vlan != 0)
        state.encapsulations.try_emplace(encapsulation_of(*interface), described.handle);
}

void provide(InterfaceState &state, const InventoryInterface &described) {
    Interface *interface;
    if (state.table.add(described.handle, &interface) != CERR_SUCCESS) return;
    u32 uidb = described.uidb;
    if (uidb == 0) {
        if (state.uidb_pool.reserve(1, &uidb) != CERR_SUCCESS) return;
    }
    interface->kind = described.kind;
    interface->uidb = static_cast<u16>(uidb);
    interface->np_port = described.np_port;
    interface->parent = described.parent;
    state.set_handle_of_uidb(interface->uidb, described.handle);
    provide_features(state, described, interface);
    if (Interface *const parent = state.table.find(described.parent)) ++parent->sub_interfaces;
}

}  // namespace

InterfaceState::InterfaceState(Accounts &accounts, const Inventory &inventory)
    : table(accounts[Resource::interface]),
      bundles(accounts[Resource::bundle]),
      uidb_account{kLastUidb},
      uidb_pool(uidb_account, 1),
      feature_account(accounts[Resource::feature]),
      bvi_uidb(inventory.bvi_uidb()) {
    if (bvi_uidb != 0) uidb_pool.take(bvi_uidb);
    // Indices that the inventory names are out of the pool before it picks any.
    for (const InventoryInterface &described : inventory.interfaces) uidb_pool.take(described.uidb);
    for (const InventoryInterface &described : inventory.interfaces) provide(*this, described);
}

Encapsulation encapsulation_of(const Interface &interface) {
    const u32 tpid = interface.value(Feature::OUTER_TPID);
    return {.parent = interface.parent,
            .outer_tpid = tpid != 0 ? static_cast<u16>(tpid) : kDefaultTpid,
            .outer_vlan = static_cast<u16>(interface.value(Feature::OUTER_VLAN)),
            .inner_vlan = static_cast<u16>(interface.value(Feature::INNER_VLAN))};
}

bool is_l3_sub_interface(const Interface &interface) {
    return interface.kind == InterfaceKind::SUB && !interface.is_layer2();
}

void install_interface(card::Backend &backend) {
    backend.uidb_create_interface_batch = on_card<create_batch>;
    backend.uidb_create_interface = on_card<create_interface>;
    backend.uidb_set_feature = on_card<set_feature>;
    backend.uidb_set_feature_batch = on_card<set_feature_batch>;
    backend.uidb_set_port_feature = on_card<set_port_feature>;
    backend.uidb_update_lag = on_card<update_lag>;
    backend.uidb_delete_interface = on_card<delete_interface>;
}

}  // namespace sim
