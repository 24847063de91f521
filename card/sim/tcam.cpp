// The TCAMs of the card: what a request must look like, and the operations.
#include "card/sim/tcam.h"

#include <algorithm>
#include <cstring>

#include "card/sim/backend.h"
#include "card/sim/client_memory.h"

namespace sim {
namespace {

static_assert(kTcamKeyBytes == PRM_TCAM_VALUE_MASK_KEY_SZ && kTcamResultBytes == PRM_TCAM_RESULT_KEY_SZ);

constexpr u32 kPorts = 256;
constexpr u32 kFirstStatistics = 1;  // 0 in a result key is no statistics id

constexpr u32 opcode_bit(u32 opcode) {
    return 1u << opcode;
}

constexpr u32 kKnownOpcodes = opcode_bit(PRM_TCAM_CREATE) | opcode_bit(PRM_TCAM_DESTROY) |
                              opcode_bit(PRM_TCAM_INSERT) | opcode_bit(PRM_TCAM_DELETE) |
                              opcode_bit(PRM_TCAM_STATS_ALLOC) | opcode_bit(PRM_TCAM_STATS_DEALLOC);

// What an operation asks of the fields of its record.
struct Form {
    u32 opcodes;
    bool names_entries;  // port, number of entries, key sizes and index count
};

constexpr Form kCreate = {opcode_bit(PRM_TCAM_CREATE), true};
constexpr Form kInsert = {opcode_bit(PRM_TCAM_INSERT), true};
constexpr Form kDelete = {opcode_bit(PRM_TCAM_DELETE), true};
constexpr Form kDestroy = {opcode_bit(PRM_TCAM_DESTROY) | opcode_bit(PRM_TCAM_CREATE), true};
constexpr Form kRead = {opcode_bit(PRM_TCAM_CREATE) | opcode_bit(PRM_TCAM_INSERT), true};
constexpr Form kStatsAlloc = {opcode_bit(PRM_TCAM_STATS_ALLOC), false};
constexpr Form kStatsDealloc = {opcode_bit(PRM_TCAM_STATS_DEALLOC), false};

bool among(u32 opcode, u32 opcodes) {
    return opcode < 32 && (opcodes & opcode_bit(opcode)) != 0;
}

// Points 1 to 7 of the order in the header.
prm_status_t validate(const prm_info *info, const Form &form) {
    if (info == nullptr) return PRM_ERROR_INVALID_ARG;
    if (!among(info->opcode, kKnownOpcodes)) return PRM_ERROR_INVALID_MSG;
    if (!among(info->opcode, form.opcodes)) return PRM_ERROR_INVALID_ARG;
    if (info->fea_id != PRM_TCAM_FEATURE_ACL &&
        (info->fea_id != PRM_TCAM_FEATURE_QOS || !form.names_entries)) {
        return PRM_ERROR_INVALID_ARG;
    }
    if (!form.names_entries) return PRM_ERROR_NONE;
    if (info->port_num >= kPorts) return PRM_ERROR_INVALID_ARG;
    if (info->nr_entries == 0 || info->value_mask_key_sz != PRM_TCAM_VALUE_MASK_KEY_SZ ||
        info->result_key_sz != PRM_TCAM_RESULT_KEY_SZ) {
        return PRM_ERROR_INVALID_ARG;
    }
    if (u32{info->ace_index} + info->nr_entries > kTcamEntries) return PRM_ERROR_INVALID_ARG;
    return PRM_ERROR_NONE;
}

bool buffers_readable(const prm_info &info) {
    ClientMemory memory;
    const size_t keys = size_t{info.nr_entries} * kTcamKeyBytes;
    return memory.readable(info.value, keys) && memory.readable(info.mask, keys) &&
           memory.readable(info.result, size_t{info.nr_entries} * kTcamResultBytes);
}

bool buffers_writable(const prm_info &info) {
    ClientMemory memory;
    const size_t keys = size_t{info.nr_entries} * kTcamKeyBytes;
    return memory.writable(info.value, keys) && memory.writable(info.mask, keys) &&
           memory.writable(info.result, size_t{info.nr_entries} * kTcamResultBytes);
}

void store(TcamTable *table, const prm_info &info) {
    for (u32 i = 0; i < info.nr_entries; ++i) {
        table->set(info.ace_index + i, info.value + i * kTcamKeyBytes, info.mask + i * kTcamKeyBytes,
                   info.result + i * kTcamResultBytes);
    }
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

TcamState::TcamState(Accounts &accounts, const Inventory &)
    : entries_(accounts[Resource::tcam_entry]),
      statistics_(accounts[Resource::acl_statistics], kFirstStatistics),
      tcams_(accounts[Resource::tcam]) {}

prm_status_t TcamState::create(prm_info *info) {
    const prm_status_t status = validate(info, kCreate);
    if (status != PRM_ERROR_NONE) return status;
    if (!buffers_readable(*info)) return PRM_ERROR_INVALID_ARG;
    if (!entries_.has(info->nr_entries)) return CARD_ERROR_TABLE_FULL;
    u64 handle;
    do {
        ++last_handle_;
        handle = u64{info->fea_id} << PRM_TCAM_VMR_FEATURE_SHIFT | last_handle_;
    } while (last_handle_ == 0 || tcams_.contains(handle));
    TcamTable *table;
    const prm_status_t added = tcams_.add(handle, &table);
    if (added != CERR_SUCCESS) return added;
    store(table, *info);
    entries_.used += info->nr_entries;
    info->vmr_id = handle;
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::insert(const prm_info *info) {
    const prm_status_t status = validate(info, kInsert);
    if (status != PRM_ERROR_NONE) return status;
    TcamTable *const table = find(*info);
    if (table == nullptr || !buffers_readable(*info)) return PRM_ERROR_INVALID_ARG;
    const u32 count = entries_new_to(*table, *info);
    if (!entries_.has(count)) return CARD_ERROR_TABLE_FULL;
    store(table, *info);
    entries_.used += count;
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::erase(const prm_info *info) {
    const prm_status_t status = validate(info, kDelete);
    if (status != PRM_ERROR_NONE) return status;
    TcamTable *const table = find(*info);
    if (table == nullptr || !all_there(*table, *info)) return PRM_ERROR_INVALID_ARG;
    for (u32 i = 0; i < info->nr_entries; ++i) table->erase(info->ace_index + i);
    entries_.used -= info->nr_entries;
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::destroy(const prm_info *info) {
    const prm_status_t status = validate(info, kDestroy);
    if (status != PRM_ERROR_NONE) return status;
    const TcamTable *const table = find(*info);
    if (table == nullptr) return PRM_ERROR_INVALID_ARG;
    const u32 count = table->size();
    const prm_status_t removed = tcams_.remove(info->vmr_id);
    if (removed == CERR_SUCCESS) entries_.used -= count;
    return removed;
}

prm_status_t TcamState::read(const prm_info *info) const {
    const prm_status_t status = validate(info, kRead);
    if (status != PRM_ERROR_NONE) return status;
    const TcamTable *const found = find(*info);
    if (found == nullptr || !buffers_writable(*info) || !all_there(*found, *info))
        return PRM_ERROR_INVALID_ARG;
    const prm_info request = *info;  // the buffers may lie over the record
    for (u32 i = 0; i < request.nr_entries; ++i) {
        const TcamEntry entry = tcam_hardware_entry(request.fea_id, *found->at(request.ace_index + i));
        memcpy(request.value + i * kTcamKeyBytes, entry.value, sizeof entry.value);
        memcpy(request.mask + i * kTcamKeyBytes, entry.mask, sizeof entry.mask);
        memcpy(request.result + i * kTcamResultBytes, entry.result, sizeof entry.result);
    }
    return PRM_ERROR_NONE;
}

prm_status_t TcamState::stats_alloc(prm_info *info) {
    const prm_status_t status = validate(info, kStatsAlloc);
    if (status != PRM_ERROR_NONE) return status;
    u32 id;
    const prm_status_t reserved = statistics_.reserve(1, &id);
    if (reserved == CERR_SUCCESS) info->stats_id = id;
    return reserved;
}

prm_status_t TcamState::stats_dealloc(const prm_info *info) {
    const prm_status_t status = validate(info, kStatsDealloc);
    if (status != PRM_ERROR_NONE) return status;
    return statistics_.release(info->stats_id) == CERR_SUCCESS ? PRM_ERROR_NONE : PRM_ERROR_INVALID_ARG;
}

const TcamTable *TcamState::table(u64 vmr_id) const {
    return tcams_.find(vmr_id);
}

// A handle carries its feature, so that one of another feature than the record's names none.
TcamTable *TcamState::find(const prm_info &info) {
    if ((info.vmr_id & PRM_TCAM_VMR_FEATURE) >> PRM_TCAM_VMR_FEATURE_SHIFT != info.fea_id) return nullptr;
    return tcams_.find(info.vmr_id);
}

const TcamTable *TcamState::find(const prm_info &info) const {
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
