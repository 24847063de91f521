#include "tests/fuzz/card/feed.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "card/sim/backend.h"
#include "card/sim/card.h"
#include "wyk_hal_records.h"
#include "wyk_hal_wrapper.h"
#include "zor_vop_prm.h"
#include "zor_vop_prm_tcam.h"

namespace {

void insist(bool condition, const char *what) {
    if (condition) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void ignore_notification() {}

// Hands the input out piece by piece; beyond its end everything is zero.
class Input {
  public:
    Input(const u8 *data, size_t size) : data_(data), left_(size) {}
    bool empty() const { return left_ == 0; }
    u8 byte() {
        u8 value = 0;
        take(&value, 1);
        return value;
    }
    void take(void *target, size_t size) {
        const size_t n = std::min(size, left_);
        if (n != 0) std::memcpy(target, data_, n);
        data_ += n;
        left_ -= n;
    }

  private:
    const u8 *data_;
    size_t left_;
};

sim::Inventory small() {
    sim::Inventory inventory;
    inventory.ports = 4;
    for (auto &row : inventory.limits.rows) row.account.limit = 40;
    inventory.limits[sim::Resource::tcam_entry].limit = 5000;
    inventory.limits[sim::Resource::policy].limit = 160;
    return inventory;
}

struct Session {
    sim::Card card{small()};
    sim::CurrentCard use{card};
    prm_handle_t connection = nullptr, client = nullptr;

    Session() {
        void *const evm = event_manager_create(0, 0, 14, 0);
        prm_mgr_open(evm, 0, "client", ignore_notification, 7, 0, &connection);
        prm_srh_register(&client, 1, evm, ignore_notification);
    }
};

// --- TCAM --------------------------------------------------------------------------------------------------

struct TcamCall {
    prm_status_t (*call)(prm_handle_t, prm_info *);
    u32 opcode;
};

constexpr TcamCall kTcamCalls[] = {
    {zor_vop_prm_tcam_vmr_create, PRM_TCAM_CREATE},
    {zor_vop_prm_tcam_vmr_insert, PRM_TCAM_INSERT},
    {zor_vop_prm_tcam_vmr_delete, PRM_TCAM_DELETE},
    {zor_vop_prm_tcam_vmr_destroy, PRM_TCAM_DESTROY},
    {zor_vop_prm_tcam_vmr_read, PRM_TCAM_INSERT},
    {zor_vop_prm_tcam_vmr_stats_alloc, PRM_TCAM_STATS_ALLOC},
    {zor_vop_prm_tcam_vmr_stats_dealloc, PRM_TCAM_STATS_DEALLOC},
};

// How a record's bytes are used.
enum : u8 {
    kOverWellFormed = 1,  // exclusive-ored into a well-formed record
    kLatestHandle = 2,
    kBuffers = 4,  // of the size that number of entries and key sizes make
    kNullRecord = 0xF0,
};

// Key buffers of exactly their sizes, each a block of its own.
struct Buffers {
    std::vector<u8> value, mask, result;

    explicit Buffers(const prm_info &info)
        : value(bytes(info.nr_entries, info.value_mask_key_sz)),
          mask(value.size()),
          result(bytes(info.nr_entries, info.result_key_sz)) {}
    // What no operation may touch for its size need not be there.
    static size_t bytes(u32 entries, u32 size) { return std::min<size_t>(size_t{entries} * size, 1u << 20); }
};

// Any pointer but one into the memory of this process, which a read-back would rightly write to.
u8 *stray(u8 *pointer) {
    constexpr uintptr_t kLowest = 0x10000, kNobodys = uintptr_t{1} << 63;
    const auto address = reinterpret_cast<uintptr_t>(pointer);
    return address < kLowest ? pointer : reinterpret_cast<u8 *>(address | kNobodys);
}

// --- HAL ---------------------------------------------------------------------------------------------------

// A block of `size` bytes, at least that of its head, filled from the input over `begin`.
template <typename Head>
std::vector<u8> block_of(Input &input, size_t size, const Head &begin) {
    std::vector<u8> block(std::max(size, sizeof begin));
    std::memcpy(block.data(), &begin, sizeof begin);
    if (block.size() > sizeof begin) input.take(block.data() + sizeof begin, block.size() - sizeof begin);
    return block;
}

template <typename Head>
Head head_from(Input &input) {
    Head head;
    std::memset(&head, 0, sizeof head);
    input.take(&head, sizeof head);
    return head;
}

// Names in the items what the card handed out before, so that a release is not always of strangers.
struct Seen {
    wyk_hal_ids ids{};
};

void engine_op(Input &input) {
    static constexpr struct {
        u32 request, response;
    } kForms[] = {{12, 208}, {0, 0}, {0, 0}, {0, 0},    {448, 124}, {88, 124},
                  {0, 0},    {0, 0}, {0, 0}, {0, 4184}, {12, 0}};
    const u32 type = input.byte();
    const auto form = type < std::size(kForms) ? kForms[type] : kForms[1];
    std::vector<u8> request(form.request), response(form.response);
    input.take(request.data(), request.size());
    wyk_hal_wrapper_engine_op(type, request.empty() ? nullptr : request.data(),
                              response.empty() ? nullptr : response.data());
}

void config_policies(Input &input, bool counted, Seen *seen) {
    auto head = head_from<wyk_hal_policy_request>(input);
    const u32 n = head.count;
    std::vector<u8> request = block_of(input, wyk_hal_policy_request_size(n), head);
    std::vector<u8> response(
        std::max<size_t>(wyk_hal_policy_response_size(n), sizeof(wyk_hal_policy_response)));
    const u32 rc = wyk_hal_wrapper_config_policy_in_tm(request.data(), response.data(), counted ? n : 0);
    if (rc == 0 && n != 0 && response.size() >= sizeof(wyk_hal_policy_response) + sizeof(wyk_hal_ids)) {
        std::memcpy(&seen->ids, response.data() + sizeof(wyk_hal_policy_response), sizeof seen->ids);
    }
}

void get_result(Input &input) {
    const auto head = head_from<wyk_hal_result_request>(input);
    std::vector<u8> request = block_of(input, wyk_hal_result_request_size(head.count), head);
    std::vector<u8> response(wyk_hal_result_response_size(head.count));
    wyk_hal_wrapper_get_result(request.data(), response.data());
}

void release(Input &input, bool name_seen, const Seen &seen) {
    const auto head = head_from<wyk_hal_release>(input);
    std::vector<u8> request = block_of(input, wyk_hal_release_size(head.count), head);
    if (name_seen && request.size() >= sizeof(wyk_hal_release) + sizeof(wyk_hal_node)) {
        wyk_hal_node *const node =
            wyk_hal_release_node_at(reinterpret_cast<wyk_hal_release *>(request.data()), 0);
        node->policer_word = seen.ids.policer_id << WYK_HAL_NODE_POLICER_SHIFT | WYK_HAL_NODE_POLICER_VALID;
        node->policer_stats_id = seen.ids.stats_id & ~PRM_TCAM_QOS_STATS_FLAG;
        node->counter_id = seen.ids.stats_id;
    }
    u32 status;
    const u32 rc = wyk_hal_wrapper_deallocate_nodes(request.data(), &status);
    insist(rc == 0 || status == 0, "a refused release reports nodes released");
}

}  // namespace

void feed_tcam(const uint8_t *data, size_t size) {
    Input input(data, size);
    Session session;
    u64 latest = 0;
    while (!input.empty()) {
        const TcamCall &operation = kTcamCalls[input.byte() % std::size(kTcamCalls)];
        const u8 use = input.byte();
        prm_info info{};
        if ((use & kOverWellFormed) != 0) {
            info.opcode = operation.opcode;
            info.port_num = 1;
            info.nr_entries = 1;
            info.value_mask_key_sz = PRM_TCAM_VALUE_MASK_KEY_SZ;
            info.result_key_sz = PRM_TCAM_RESULT_KEY_SZ;
        }
        u8 bytes[sizeof info] = {};
        input.take(bytes, sizeof bytes);
        u8 *const record = reinterpret_cast<u8 *>(&info);
        for (size_t i = 0; i < sizeof info; ++i) record[i] ^= bytes[i];
        if ((use & kLatestHandle) != 0) info.vmr_id = latest;
        Buffers buffers(info);
        info.value = stray(info.value);
        info.mask = stray(info.mask);
        info.result = stray(info.result);
        if ((use & kBuffers) != 0) {
            info.value = buffers.value.data();
            info.mask = buffers.mask.data();
            info.result = buffers.result.data();
        }
        const u64 before = info.vmr_id;
        const u32 rc = operation.call(session.client, (use & kNullRecord) == kNullRecord ? nullptr : &info);
        if (rc == 0 && operation.opcode == PRM_TCAM_CREATE) latest = info.vmr_id;
        insist(rc == 0 || info.vmr_id == before, "a refused request changed the handle");
        const sim::Account &entries = session.card.accounts[sim::Resource::tcam_entry];
        insist(entries.used <= entries.limit, "more entries than the limit");
        const sim::TcamTable *const table = session.card.tcam.table(latest);
        if (table != nullptr) {
            insist(table->size() <= entries.used, "a TCAM with more entries than were counted");
            table->first_match(bytes);
        }
    }
}

void feed_hal(const uint8_t *data, size_t size) {
    Input input(data, size);
    Session session;
    Seen seen;
    while (!input.empty()) {
        switch (input.byte() % 8) {
            case 0:
                engine_op(input);
                break;
            case 1:
                config_policies(input, true, &seen);
                break;
            case 2:
                config_policies(input, false, &seen);
                break;
            case 3:
                get_result(input);
                break;
            case 4:
                release(input, (input.byte() & 1) != 0, seen);
                break;
            case 5: {
                auto request = head_from<wyk_hal_config_request>(input);
                std::vector<u8> response(sizeof(wyk_hal_config_response));
                wyk_hal_wrapper_get_config(&request, response.data());
                break;
            }
            case 6: {
                auto request = head_from<wyk_hal_stats_request>(input);
                std::vector<u8> response(sizeof(wyk_hal_stats_response));
                const u32 rc = wyk_hal_wrapper_get_stats(&request, response.data());
                insist((rc == 0) == (request.count == 1 &&
                                     session.card.traffic_manager.has_statistics(request.stats_id)),
                       "statistics of an id that does not exist");
                break;
            }
            case 7: {
                auto request = head_from<wyk_hal_queue_depth_request>(input);
                u32 depth;
                wyk_hal_wrapper_get_queue_depth(&request, &depth);
                break;
            }
        }
        for (const auto resource : {sim::Resource::policy, sim::Resource::queue}) {
            const sim::Account &account = session.card.accounts[resource];
            insist(account.used <= account.limit, "more than the limit");
        }
    }
}
