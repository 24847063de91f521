// TCAM and traffic-manager operations of the simulated card, each as a ratio to the bare data structure doing
// the same in the same run; the first-match look-up against a linear scan with the widest vectors of the
// machine.
#include <absl/container/flat_hash_map.h>
#include <immintrin.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "bench/card/client_on_card.h"
#include "wyk_hal_records.h"
#include "wyk_hal_wrapper.h"
#include "zor_vop_prm.h"
#include "zor_vop_prm_tcam.h"

namespace {

using bench::ClientOnCard;
using bench::heap_bytes;
using sim::kTcamEntries;
using sim::kTcamKeyBytes;
using sim::TcamEntry;

constexpr u32 kTcams = 1000;
constexpr int kRounds = 3;  // the best counts

volatile u64 sink;

template <typename Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void print_header(const char *limit) {
    std::printf("%-46s %14s %14s %10s\n", "", "ops/s", limit, "time ratio");
}

void print(const char *what, double operations, double card, double bare) {
    std::printf("%-46s %14.0f %14.0f %9.2fx\n", what, operations / card, operations / bare, card / bare);
}

// --- Entries -----------------------------------------------------------------------------------------------

// Access-list entries: class id, prefixes, ports and protocol, as many wild cards as lists have.
std::vector<TcamEntry> access_list(u32 seed) {
    std::mt19937 random(seed);
    std::vector<TcamEntry> entries(kTcamEntries);
    for (TcamEntry &entry : entries) {
        prm_tcam_key value{}, mask{};
        prm_tcam_set_class_id(&value, 1);
        prm_tcam_set_class_id(&mask, 0x7FFF);
        mask.src_ipv4 = ~u32{0} >> random() % 17;
        mask.dst_ipv4 = ~u32{0} >> random() % 9;
        value.src_ipv4 = static_cast<u32>(random()) & mask.src_ipv4;
        value.dst_ipv4 = static_cast<u32>(random()) & mask.dst_ipv4;
        if (random() % 2) {
            mask.protocol = 0xFF;
            value.protocol = random() % 2 ? 6 : 17;
            mask.dst_port = 0xFFFF;
            value.dst_port = static_cast<u16>(random());
        }
        std::memcpy(entry.value, &value, sizeof value);
        std::memcpy(entry.mask, &mask, sizeof mask);
        std::memset(entry.result, static_cast<int>(random()), sizeof entry.result);
        std::memset(entry.result + offsetof(prm_tcam_acl_result, stats_id), 0,
                    sizeof(u32));  // counts nowhere
    }
    return entries;
}

// A key that an entry matches, its wild bits random, or one of another class that none matches.
std::vector<u8> keys_for(const std::vector<TcamEntry> &entries, u32 count, bool hits) {
    std::mt19937 random(7);
    std::vector<u8> keys(size_t{count} * kTcamKeyBytes);
    for (u32 i = 0; i < count; ++i) {
        const TcamEntry &entry = entries[random() % entries.size()];
        u8 *const key = &keys[size_t{i} * kTcamKeyBytes];
        for (u32 b = 0; b < kTcamKeyBytes; ++b) {
            key[b] = static_cast<u8>(entry.value[b] | (random() & static_cast<u8>(~entry.mask[b])));
        }
        if (!hits) key[offsetof(prm_tcam_key, src_ipv4)] ^= 0x55;
        if (!hits) key[offsetof(prm_tcam_key, class_id_high)] ^= 0x01;
    }
    return keys;
}

// --- The bare data structure -------------------------------------------------------------------------------

using BareTcam = std::vector<TcamEntry>;
using BareTcams = absl::flat_hash_map<u64, BareTcam>;

void store(TcamEntry *entry, const u8 *value, const u8 *mask, const u8 *result) {
    std::memcpy(entry->value, value, sizeof entry->value);
    std::memcpy(entry->mask, mask, sizeof entry->mask);
    std::memcpy(entry->result, result, sizeof entry->result);
}

// --- The linear scan ---------------------------------------------------------------------------------------

// 92-byte value/mask pairs, back to back; 36 bytes more at the end, so that whole vectors may be loaded.
struct Pairs {
    std::vector<u8> bytes;

    explicit Pairs(const std::vector<TcamEntry> &entries) : bytes(entries.size() * 2 * kTcamKeyBytes + 36) {
        u8 *at = bytes.data();
        for (const TcamEntry &entry : entries) {
            std::memcpy(at, entry.value, kTcamKeyBytes);
            std::memcpy(at + kTcamKeyBytes, entry.mask, kTcamKeyBytes);
            at += 2 * kTcamKeyBytes;
        }
    }
};

__attribute__((target("avx512f,avx512bw"))) u32 scan_512(const Pairs &pairs, const u8 *key) {
    constexpr __mmask64 kRest = (u64{1} << (kTcamKeyBytes - 64)) - 1;
    const __m512i key_low = _mm512_loadu_si512(key);
    const __m512i key_high = _mm512_maskz_loadu_epi8(kRest, key + 64);
    const u8 *at = pairs.bytes.data();
    for (u32 i = 0; i < kTcamEntries; ++i, at += 2 * kTcamKeyBytes) {
        const __m512i low = _mm512_xor_si512(key_low, _mm512_loadu_si512(at));
        if (_mm512_test_epi64_mask(low, _mm512_loadu_si512(at + kTcamKeyBytes)) != 0) continue;
        const __m512i high = _mm512_xor_si512(key_high, _mm512_loadu_si512(at + 64));
        const __m512i mask = _mm512_maskz_loadu_epi8(kRest, at + kTcamKeyBytes + 64);
        if (_mm512_test_epi64_mask(high, mask) == 0) return i;
    }
    return kTcamEntries;
}

__attribute__((target("avx2"))) bool differs_256(const u8 *key, const u8 *value, const u8 *mask) {
    const __m256i k = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(key));
    const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(value));
    const __m256i m = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(mask));
    return _mm256_testz_si256(_mm256_xor_si256(k, v), m) == 0;
}

__attribute__((target("avx2"))) u32 scan_256(const Pairs &pairs, const u8 *key) {
    const u8 *at = pairs.bytes.data();
    for (u32 i = 0; i < kTcamEntries; ++i, at += 2 * kTcamKeyBytes) {
        const u8 *const mask = at + kTcamKeyBytes;
        constexpr u32 kLast = kTcamKeyBytes - 32;  // overlaps the one before
        if (!differs_256(key, at, mask) && !differs_256(key + 32, at + 32, mask + 32) &&
            !differs_256(key + kLast, at + kLast, mask + kLast)) {
            return i;
        }
    }
    return kTcamEntries;
}

using Scan = u32 (*)(const Pairs &, const u8 *);

Scan widest_scan(const char **name) {
    const bool avx512 = __builtin_cpu_supports("avx512bw") != 0;
    *name = avx512 ? "512-bit" : "256-bit";
    return avx512 ? scan_512 : scan_256;
}

// --- The card ----------------------------------------------------------------------------------------------

sim::Inventory inventory() {
    sim::Inventory inventory;
    inventory.limits[sim::Resource::tcam].limit = kTcams;
    inventory.limits[sim::Resource::tcam_entry].limit = kTcams * kTcamEntries;
    return inventory;
}

struct Request {
    prm_info info{};
    u8 keys[2 * kTcamKeyBytes + sim::kTcamResultBytes] = {};

    explicit Request(u32 opcode) {
        info.opcode = opcode;
        info.port_num = 1;
        info.nr_entries = 1;
        info.value_mask_key_sz = PRM_TCAM_VALUE_MASK_KEY_SZ;
        info.result_key_sz = PRM_TCAM_RESULT_KEY_SZ;
        info.value = keys;
        info.mask = keys + kTcamKeyBytes;
        info.result = info.mask + kTcamKeyBytes;
    }
};

void require(u32 status) {
    if (status == 0) return;
    std::fprintf(stderr, "classification_bench: an operation was refused: 0x%x\n", status);
    std::exit(1);
}

std::vector<u64> create_tcams(prm_handle_t client) {
    std::vector<u64> handles;
    for (u32 t = 0; t < kTcams; ++t) {
        Request create(PRM_TCAM_CREATE);
        require(zor_vop_prm_tcam_vmr_create(client, &create.info));
        handles.push_back(create.info.vmr_id);
    }
    return handles;
}

// --- Rows --------------------------------------------------------------------------------------------------

// Both sides fill all TCAMs entry by entry, from keys that stand in the client's buffers, and read entries
// back in a random order.
void measure_insert_and_read(const std::vector<TcamEntry> &list) {
    constexpr double kOperations = double{kTcams} * kTcamEntries;
    constexpr u32 kReads = 2'000'000;
    double insert[2] = {1e9, 1e9}, read[2] = {1e9, 1e9}, bytes[2] = {};
    for (int round = 0; round < kRounds; ++round) {
        {
            const size_t before = heap_bytes();
            BareTcams tcams;
            for (u32 t = 0; t < kTcams; ++t) tcams.try_emplace(t + 1);
            Request request(PRM_TCAM_INSERT);
            insert[1] = std::min(insert[1], seconds([&] {
                                     for (u32 t = 0; t < kTcams; ++t) {
                                         for (u32 i = 0; i < kTcamEntries; ++i) {
                                             std::memcpy(request.keys, &list[i], sizeof request.keys);
                                             BareTcam &tcam = tcams.find(t + 1)->second;
                                             if (tcam.size() <= i) tcam.resize(i + 1);
                                             store(&tcam[i], request.info.value, request.info.mask,
                                                   request.info.result);
                                         }
                                     }
                                 }));
            bytes[1] = static_cast<double>(heap_bytes() - before);
            std::mt19937 random(3);
            read[1] = std::min(read[1], seconds([&] {
                                   for (u32 n = 0; n < kReads; ++n) {
                                       const TcamEntry &entry =
                                           tcams.find(random() % kTcams + 1)->second[random() % kTcamEntries];
                                       std::memcpy(request.keys, &entry, sizeof entry);
                                       sink = sink + request.keys[40];
                                   }
                               }));
        }
        {
            const size_t before = heap_bytes();
            ClientOnCard session(inventory());
            const std::vector<u64> handles = create_tcams(session.client);
            Request request(PRM_TCAM_INSERT);
            insert[0] =
                std::min(insert[0], seconds([&] {
                             for (const u64 handle : handles) {
                                 request.info.vmr_id = handle;
                                 for (u32 i = 0; i < kTcamEntries; ++i) {
                                     std::memcpy(request.keys, &list[i], sizeof request.keys);
                                     request.info.ace_index = static_cast<u16>(i);
                                     require(zor_vop_prm_tcam_vmr_insert(session.client, &request.info));
                                 }
                             }
                         }));
            bytes[0] = static_cast<double>(heap_bytes() - before);
            std::mt19937 random(3);
            read[0] = std::min(read[0], seconds([&] {
                                   for (u32 n = 0; n < kReads; ++n) {
                                       request.info.vmr_id = handles[random() % kTcams];
                                       request.info.ace_index = static_cast<u16>(random() % kTcamEntries);
                                       require(zor_vop_prm_tcam_vmr_read(session.client, &request.info));
                                       sink = sink + request.keys[40];
                                   }
                               }));
        }
    }
    print("TCAM insert, 1,000 x 2048", kOperations, insert[0], insert[1]);
    print("TCAM read-back, random", kReads, read[0], read[1]);
    std::printf("%-46s %14.0f %14.0f %9.2fx\n", "bytes per entry (239 of keys)", bytes[0] / kOperations,
                bytes[1] / kOperations, bytes[0] / bytes[1]);
}

void measure_policies() {
    constexpr u32 kLive = 60000, kPairs = 1'000'000;
    double pair[2] = {1e9, 1e9};
    struct {
        wyk_hal_policy_request head;
        wyk_hal_policy policy;
    } request = {};
    struct {
        wyk_hal_policy_response head;
        wyk_hal_ids ids;
    } response = {};
    request.head.count = 1;
    request.policy.kind = WYK_HAL_POLICY_POLICER;
    request.policy.word336 = 1;
    request.policy.committed_rate = 80;
    request.policy.burst = 1600;
    for (int round = 0; round < kRounds; ++round) {
        absl::flat_hash_map<u32, sim::TrafficManagerState::Policy> bare;
        for (u32 i = 0; i < kLive; ++i) bare[i] = {};
        pair[1] = std::min(pair[1], seconds([&] {
                               for (u32 i = 0; i < kPairs; ++i) {
                                   bare[kLive + i] = {request.policy.kind, request.policy.mode_word,
                                                      request.policy.committed_rate, request.policy.burst};
                                   bare.erase(kLive + i);
                               }
                           }));
        ClientOnCard session(inventory());
        for (u32 i = 0; i < kLive; ++i) require(wyk_hal_wrapper_config_policy_in_tm(&request, &response, 1));
        wyk_hal_release_of<1> release = {};
        release.head.count = 1;
        release.nodes[0].type = u8{WYK_HAL_NODE_TYPE_VALUE} | u8{WYK_HAL_NODE_POLICER};
        pair[0] = std::min(
            pair[0], seconds([&] {
                for (u32 i = 0; i < kPairs; ++i) {
                    require(wyk_hal_wrapper_config_policy_in_tm(&request, &response, 1));
                    release.nodes[0].policer_word =
                        response.ids.policer_id << WYK_HAL_NODE_POLICER_SHIFT | WYK_HAL_NODE_POLICER_VALID;
                    release.nodes[0].policer_stats_id = response.ids.stats_id & ~PRM_TCAM_QOS_STATS_FLAG;
                    u32 status;
                    require(wyk_hal_wrapper_deallocate_nodes(&release, &status));
                }
            }));
    }
    print("policy configure and release, 60,000 live", kPairs, pair[0], pair[1]);
}

void measure_first_match(const std::vector<TcamEntry> &list) {
    const char *width;
    const Scan scan = widest_scan(&width);
    char limit[32];
    std::snprintf(limit, sizeof limit, "%s scan", width);
    std::printf("\n");
    print_header(limit);

    std::vector<std::unique_ptr<Pairs>> pairs;
    std::vector<std::unique_ptr<sim::TcamTable>> tables;
    for (u32 t = 0; t < kTcams; ++t) {
        pairs.push_back(std::make_unique<Pairs>(list));
        tables.push_back(std::make_unique<sim::TcamTable>());
        for (u32 i = 0; i < kTcamEntries; ++i) {
            tables.back()->set(i, list[i].value, list[i].mask, list[i].result);
        }
    }
    const size_t before = heap_bytes();
    const u8 any[kTcamKeyBytes] = {};
    const double build = seconds([&] {
        for (const auto &table : tables) sink = sink + table->first_match(any).value_or(0);
    });
    const double index_bytes = static_cast<double>(heap_bytes() - before) / kTcams;

    constexpr u32 kKeys = 20000;
    for (const bool hits : {true, false}) {
        const std::vector<u8> keys = keys_for(list, kKeys, hits);
        double found[2] = {1e9, 1e9}, scanned[2] = {1e9, 1e9};
        for (int round = 0; round < kRounds; ++round) {
            for (const u32 spread : {0u, 1u}) {  // one TCAM; a thousand in turn
                u64 found_sum = 0, scanned_sum = 0;
                scanned[spread] = std::min(scanned[spread], seconds([&] {
                                               for (u32 n = 0; n < kKeys; ++n) {
                                                   scanned_sum += scan(*pairs[spread * (n % kTcams)],
                                                                       &keys[size_t{n} * kTcamKeyBytes]);
                                               }
                                           }));
                found[spread] = std::min(found[spread], seconds([&] {
                                             for (u32 n = 0; n < kKeys; ++n) {
                                                 found_sum +=
                                                     tables[spread * (n % kTcams)]
                                                         ->first_match(&keys[size_t{n} * kTcamKeyBytes])
                                                         .value_or(kTcamEntries);
                                             }
                                         }));
                if (found_sum != scanned_sum) {
                    std::fprintf(stderr, "classification_bench: look-up and scan disagree\n");
                    std::exit(1);
                }
            }
        }
        print(hits ? "first match of 2048, one TCAM, hits" : "first match of 2048, one TCAM, misses", kKeys,
              found[0], scanned[0]);
        print(hits ? "first match of 2048, 1,000 TCAMs, hits" : "first match of 2048, 1,000 TCAMs, misses",
              kKeys, found[1], scanned[1]);
    }
    std::printf("%-46s %11.0f us %11.0f kB\n", "index of one full TCAM: first look-up, memory",
                build / kTcams * 1e6, index_bytes / 1024);
}

}  // namespace

int main() {
    const std::vector<TcamEntry> list = access_list(1);
    print_header("bare ops/s");
    measure_insert_and_read(list);
    measure_policies();
    measure_first_match(list);
    return 0;
}
