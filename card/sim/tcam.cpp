// The TCAMs of the card: what a request must look like, and the operations.
#include "card/sim/tcam.h"

#include <algorithm>
#include <cstring>

#include "card/boundary/client_memory.h"
#include "card/sim/backend.h"
#include "card/sim/traffic_manager.h"

namespace sim {
namespace {

static_assert(kTcamKeyBytes == PRM_TCAM_VALUE_MASK_KEY_SZ && kTcamResultBytes == PRM_TCAM_RESULT_KEY_SZ);

constexpr u32 kFirstStatistics = 1;  // 0 in a result key is no statistics id

constexpr u32 opcode_bit(u32 opcode) {
    return 1u << opcode;
}

constexpr u32 kKnownOpcodes = opcode_bit(PRM_TCAM_CREATE) | opcode_bit(PRM_TCAM_DESTROY) |
                              opcode_bit(PRM_TCAM_INSERT) | opcode_bit(PRM_TCAM_DELETE) |
                              opcode_bit(PRM_TCAM_STATS_ALLOC) | opcode_bit(PRM_TCAM_STATS_DEALLOC);

// Opcodes that an operation takes, by the feature that owns the TCAM.
constexpr u32 kDestroyOpcodes = opcode_bit(PRM_TCAM_DESTROY);
constexpr u32 kQosDestroyOpcodes = kDestroyOpcodes | opcode_bit(PRM_TCAM_CREATE);
constexpr u32 kReadOpcodes = opcode_bit(PRM_TCAM_CREATE) | opcode_bit(PRM_TCAM_INSERT);

bool among(u32 opcode, u32 opcodes) {
    return opcode < 32 && (opcodes & opcode_bit(opcode)) != 0;
}

bool buffers_readable(const prm_info &info) {
    card::ClientMemory memory;
    const size_t keys = size_t{info.nr_entries} * kTcamKeyBytes;
    return memory.readable(info.value, keys) && memory.readable(info.mask, keys) &&
           memory.readable(info.result, size_t{info.nr_entries} * kTcamResultBytes);
}

bool buffers_writable(const prm_info &info) {
    card::ClientMemory memory;
    const size_t keys = size_t{info.nr_entries} * kTcamKeyBytes;
    return memory.writable(info.value, keys) && memory.writable(info.mask, keys) &&
           memory.writable(info.result, size_t{info.nr_entries} * kTcamResultBytes);
}

// The range that a record names is full of entries.
bool all_there(const TcamTable &table, const prm_info &info) {
    for (u32 i = 0; i < info.nr_entries; ++i) {
        if (table.at(info.ace_index + i) == nullptr) return false;
    }
    return true;
}

// How many of a record's entries stand where there was none.
u32 entries_new_to(const TcamTable &table, const prm_info &info) {
    u32 count = 0;
    for (u32 i = 0; i < info.nr_entries; ++i) count += table.at(info.ace_index + i) == nullptr;
    return count;
}

// What a result names, 0 for none: an ACL entry statistics of the TCAMs' own, a QoS entry those of the
// traffic manager, and a policer.
struct References {
    u32 statistics;
    u32 policer;
};

References references_of(u32 feature, const u8 *result) {
    if (feature == PRM_TCAM_FEATURE_ACL) {
        prm_tcam_acl_result acl;
        memcpy(&acl, result, sizeof acl);
        return {acl.stats_id, 0};
    }
    prm_tcam_qos_result qos;
    memcpy(&qos, result, sizeof qos);
    return {qos.stats_id & ~PRM_TCAM_QOS_STATS_FLAG, qos.token_bucket_id};
}

// A QoS key of the shifted type holds each address as the last of four words that the hardware keeps in the
// reverse order: the value byte by byte, the mask word by word.
constexpr size_t kWideAddress = 16;
constexpr size_t kWideAddresses[] = {offsetof(prm_tcam_key, src_ipv4), offsetof(prm_tcam_key, dst_ipv4)};
static_assert(offsetof(prm_tcam_key, src_ipv4) + kWideAddress ==
              offsetof(prm_tcam_key, src_ipv4_shifted) + 4);
static_assert(offsetof(prm_tcam_key, dst_ipv4) + kWideAddress ==
              offsetof(prm_tcam_key, dst_ipv4_shifted) + 4);

void reverse_wide_address(u8 *value, u8 *mask) {
    std::reverse(value, value + kWideAddress);
    u32 words[kWideAddress / sizeof(u32)];
    memcpy(words, mask, sizeof words);
    std::reverse(std::begin(words), std::end(words));
    memcpy(mask, words, sizeof words);
}

}  // namespace

TcamEntry tcam_hardware_entry(u32 feature, const TcamEntry &programmed) {
    TcamEntry entry = programmed;
    prm_tcam_key value;
    memcpy(&value, entry.value, sizeof value);
    value.src_port = prm_tcam_swap16(value.src_port);
    value.dst_port = prm_tcam_swap16(value.dst_port);
    const bool shifted = feature == PRM_TCAM_FEATURE_QOS && value.qos_key_type == PRM_TCAM_QOS_KEY_SHIFTED;
    if (!shifted) {
        value.src_ipv4 = prm_tcam_swap32(value.src_ipv4);
        value.dst_ipv4 = prm_tcam_swap32(value.dst_ipv4);
    }
    memcpy(entry.value, &value, sizeof value);
    if (shifted) {
        for (const size_t address : kWideAddresses) {
            reverse_wide_address(entry.value + address, entry.mask + address);
        }
    }
    if (feature == PRM_TCAM_FEATURE_QOS) {
        prm_tcam_qos_result result;
        memcpy(&result, entry.result, sizeof result);
        result.stats_id &= ~PRM_TCAM_QOS_STATS_FLAG;
        memcpy(entry.result, &result, sizeof result);
    }
    return entry;
}

TcamState::TcamState(Accounts &accounts, const Inventory &inventory, TrafficManagerState &traffic_manager)
    : traffic_manager_(traffic_manager),
      ports_(inventory.ports),
      entries_(accounts[Resource::tcam_entry]),
      statistics_(accounts[Resource::acl_statistics], kFirstStatistics),
      tcams_(accounts[Resource::tcam]) {}

// Points 1 to 7 of the order in the header. Requests that name entries have a port, a number of entries, key
// sizes and an index.
prm_status_t TcamState::validate(const prm_info *info, u32 opcodes, bool names_entries) const {
    if (info == nullptr) return PRM_ERROR_INVALID_ARG;
    if (!among(info->opcode, kKnownOpcodes)) return PRM_ERROR_INVALID_MSG;
    if (!among(info->opcode, opcodes)) return PRM_ERROR_INVALID_ARG;
    if (info->fea_id != PRM_TCAM_FEATURE_ACL && (info->fea_id != PRM_TCAM_FEATURE_QOS || !names_entries)) {
        return PRM_ERROR_INVALID_ARG;
    }
    if (!names_entries) return PRM_ERROR_NONE;
    if (info->port_num >= ports_) return PRM_ERROR_INVALID_ARG;
    if (info->nr_entries == 0 || info->value_mask_key_sz != PRM_TCAM_VALUE_MASK_KEY_SZ ||
        info->result_key_sz != PRM_TCAM_RESULT_KEY_SZ) {
        return PRM_ERROR_INVALID_ARG;
    }
    if (u32{info->ace_index} + info->nr_entries > kTcamEntries) return PRM_ERROR_INVALID_ARG;
    return PRM_ERROR_NONE;
}

// What the results of a record name is there.
prm_status_t TcamState::check_references(const prm_info &info) const {
    for (u32 i = 0; i < info.nr_entries; ++i) {
        const References named = references_of(info.fea_id, info.result + size_t{i} * kTcamResultBytes);
        if (named.statistics != 0) {
            const bool there = info.fea_id == PRM_TCAM_FEATURE_ACL
                                   ? statistics_.in_use(named.statistics)
                                   : traffic_manager_.has_statistics(named.statistics);
            if (!there) return CARD_ERROR_UNKNOWN_STATISTICS;
        }
        if (named.policer != 0 && !traffic_manager_.has_policer(named.policer))
            return CARD_ERROR_UNKNOWN_REFERENCE;
    }
    return PRM_ERROR_NONE;
}

void TcamState::hold(u32 feature, const u8 *result) {
    const References named = references_of(feature, result);
    if (feature == PRM_TCAM_FEATURE_ACL) {
        if (named.statistics != 0) ++statistics_users_[named.statistics];
        return;
    }
    if (named.statistics != 0) traffic_manager_.hold_statistics(named.statistics);
    if (named.policer != 0) traffic_manager_.hold_policer(named.policer);
}

void TcamState::release(u32 feature, const u8 *result) {
    const References named = references_of(feature, result);
    if (feature == PRM_TCAM_FEATURE_ACL) {
        const auto its = statistics_users_.find(named.statistics);
        if (its != statistics_users_.end() && --its->second == 0) statistics_users_.erase(its);
        return;
    }
    if (named.statistics != 0) traffic_manager_.release_statistics(named.statistics);
    if (named.policer != 0) traffic_manager_.release_policer(named.policer);
}

void TcamState::store(TcamTable *table, const prm_info &info) {
    for (u32 i = 0; i < info.nr_entries; ++i) {
        const u32 index = info.ace_index + i;
        const u8 *const result = info.result + size_t{i} * kTcamResultBytes;
        if (const TcamEntry *const before = table->at(index)) release(info.fea_id, before->result);
        table->set(index, info.value + size_t{i} * kTcamKeyBytes, info.mask + size_t{i} * kTcamKeyBytes,
                   result);
        hold(info.fea_id, result);
    }
}

prm_status_t TcamState::create(prm_info *info) {
    const prm_status_t status = validate(info, opcode_bit(PRM_TCAM_CREATE), true);
    if (status != PRM_ERROR_NONE) return status;
    if (!buffers_readable(*info)) return PRM_ERROR_INVALID_ARG;
    if (const prm_status_t missing = check_references(*info)) return missing;
    if (!entries_.has(info->nr_entries)) return CARD_ERROR_TABLE_FULL;
    u64 handle;
    do {
        ++last_handle_;
        handle = u64{info->fea_id} << PRM_TCAM_VMR_FEATURE_SHIFT | last_handle_;
    } while (last_handle_ == 0 || tcams_.contains(handle));
    Tcam *tcam;
    const prm_status_t added = tcams_.add(handle, &tcam);
    if (added != CERR_SUCCESS) return added;
    tcam->word4 = info->word4;
    tcam->word312 = info->word312;
    tcam->port_num = info->port_num;
    store(&tcam->entries, *info);
    entries_.used += info->nr_entries;
    info->vmr_id = handle;
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::insert(const prm_info *info) {
    const prm_status_t status = validate(info, opcode_bit(PRM_TCAM_INSERT), true);
    if (status != PRM_ERROR_NONE) return status;
    Tcam *const tcam = find(*info);
    if (tcam == nullptr || !buffers_readable(*info)) return PRM_ERROR_INVALID_ARG;
    if (const prm_status_t missing = check_references(*info)) return missing;
    const u32 count = entries_new_to(tcam->entries, *info);
    if (!entries_.has(count)) return CARD_ERROR_TABLE_FULL;
    store(&tcam->entries, *info);
    entries_.used += count;
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::erase(const prm_info *info) {
    const prm_status_t status = validate(info, opcode_bit(PRM_TCAM_DELETE), true);
    if (status != PRM_ERROR_NONE) return status;
    Tcam *const tcam = find(*info);
    if (tcam == nullptr || !all_there(tcam->entries, *info)) return PRM_ERROR_INVALID_ARG;
    for (u32 i = 0; i < info->nr_entries; ++i) {
        release(info->fea_id, tcam->entries.at(info->ace_index + i)->result);
        tcam->entries.erase(info->ace_index + i);
    }
    entries_.used -= info->nr_entries;
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::destroy(const prm_info *info) {
    const bool qos = info != nullptr && info->fea_id == PRM_TCAM_FEATURE_QOS;
    const prm_status_t status = validate(info, qos ? kQosDestroyOpcodes : kDestroyOpcodes, true);
    if (status != PRM_ERROR_NONE) return status;
    const Tcam *const tcam = find(*info);
    if (tcam == nullptr) return PRM_ERROR_INVALID_ARG;
    tcam->entries.for_each([&](u32, const TcamEntry &entry) { release(info->fea_id, entry.result); });
    entries_.used -= tcam->entries.size();
    return tcams_.remove(info->vmr_id);
}

prm_status_t TcamState::read(const prm_info *info) const {
    const prm_status_t status = validate(info, kReadOpcodes, true);
    if (status != PRM_ERROR_NONE) return status;
    const Tcam *const found = find(*info);
    if (found == nullptr || !buffers_writable(*info) || !all_there(found->entries, *info))
        return PRM_ERROR_INVALID_ARG;
    const prm_info request = *info;  // the buffers may lie over the record
    for (u32 i = 0; i < request.nr_entries; ++i) {
        const TcamEntry entry =
            tcam_hardware_entry(request.fea_id, *found->entries.at(request.ace_index + i));
        memcpy(request.value + size_t{i} * kTcamKeyBytes, entry.value, sizeof entry.value);
        memcpy(request.mask + size_t{i} * kTcamKeyBytes, entry.mask, sizeof entry.mask);
        memcpy(request.result + size_t{i} * kTcamResultBytes, entry.result, sizeof entry.result);
    }
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::stats_alloc(prm_info *info) {
    const prm_status_t status = validate(info, opcode_bit(PRM_TCAM_STATS_ALLOC), false);
    if (status != PRM_ERROR_NONE) return status;
    u32 id;
    if (const prm_status_t reserved = statistics_.reserve(1, &id)) return reserved;
    counters_.start(id);
    info->stats_id = id;
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::stats_dealloc(const prm_info *info) {
    const prm_status_t status = validate(info, opcode_bit(PRM_TCAM_STATS_DEALLOC), false);
    if (status != PRM_ERROR_NONE) return status;
    if (statistics_users(info->stats_id) != 0) return CARD_ERROR_IN_USE;
    return statistics_.release(info->stats_id) == CERR_SUCCESS ? PRM_ERROR_NONE : PRM_ERROR_INVALID_ARG;
}

const TcamTable *TcamState::table(u64 vmr_id) const {
    const Tcam *const tcam = tcams_.find(vmr_id);
    return tcam != nullptr ? &tcam->entries : nullptr;
}

// A handle carries its feature, so that one of another feature than the record's names none.
Tcam *TcamState::find(const prm_info &info) {
    if ((info.vmr_id & PRM_TCAM_VMR_FEATURE) >> PRM_TCAM_VMR_FEATURE_SHIFT != info.fea_id) return nullptr;
    return tcams_.find(info.vmr_id);
}

const Tcam *TcamState::find(const prm_info &info) const {
    return const_cast<TcamState *>(this)->find(info);
}

namespace {

// A null record is the client's invalid argument like any other field.
template <auto Operation>
prm_status_t operation(Card &card, prm_handle_t client, prm_info *info) {
    if (!card.connection.is_client(client)) return CARD_ERROR_BAD_HANDLE;
    return (card.tcam.*Operation)(info);
}

}  // namespace

void install_tcam(card::Backend &backend) {
    backend.zor_vop_prm_tcam_vmr_create = on_card<operation<&TcamState::create>>;
    backend.zor_vop_prm_tcam_vmr_insert = on_card<operation<&TcamState::insert>>;
    backend.zor_vop_prm_tcam_vmr_delete = on_card<operation<&TcamState::erase>>;
    backend.zor_vop_prm_tcam_vmr_destroy = on_card<operation<&TcamState::destroy>>;
    backend.zor_vop_prm_tcam_vmr_read = on_card<operation<&TcamState::read>>;
    backend.zor_vop_prm_tcam_vmr_stats_alloc = on_card<operation<&TcamState::stats_alloc>>;
    backend.zor_vop_prm_tcam_vmr_stats_dealloc = on_card<operation<&TcamState::stats_dealloc>>;
}

}  // namespace sim
