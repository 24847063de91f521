// Layer-3 tables of the simulated card, through the platform operations: operations per second and bytes per
// entry, and both as ratios to a plain hash map with the same key and payload in the same run.
//
//   route_bench [--quick]    --quick: a tenth of the entries
#include <absl/container/flat_hash_map.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

#include "bench/card/client_on_card.h"

namespace {

using namespace sim;
using bench::ClientOnCard;
using bench::heap_bytes;
using bench::spread;

// Room for what is measured.
Inventory inventory(u32 entries) {
    Inventory inventory;
    for (const Resource resource :
         {Resource::ipv4_leaf, Resource::ipv6_leaf, Resource::label, Resource::nr_ldi})
        inventory.limits[resource].limit = entries;
    return inventory;
}

struct Times {
    double add = 0, find = 0, modify = 0, remove = 0;  // seconds an operation
    double bytes = 0;                                  // an entry
    size_t failures = 0;
};

template <typename Step>
double seconds_each(u32 n, Step step) {
    const auto start = std::chrono::steady_clock::now();
    for (u32 i = 0; i < n; ++i) step(i);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / n;
}

// One kind of entry: how the card adds, finds, modifies and deletes the i-th, and its key and payload.
struct Ipv4Leaves {
    static constexpr const char *kName = "IPv4 leaves";
    using Key = Ipv4Key;
    using Payload = Leaf;

    zor_leaf_request request = {};
    Ipv4Leaves() {
        request.owner = PRM_OWNER;
        request.key_len = ZOR_LEAF_IPV4_KEY_LEN;
        request.prefix_len = 32;
        request.item1_len = request.item2_len = ZOR_LEAF_ITEM_LEN;
        request.payload_len = sizeof request.payload;
        request.payload.flags0 = ZOR_LEAF_DIRECT;
    }
    static Key key(u32 i) { return ipv4_key(spread(i), 0, 32); }
    bool add(ClientOnCard &b, u32 i) {
        request.ipv4.address = spread(i);
        return zor_vop_prm_srh_ipv4_leaf_add(b.client, &request) == CERR_SUCCESS;
    }
    bool modify(ClientOnCard &b, u32 i) {
        request.ipv4.address = spread(i);
        request.payload.tag_bits = 5 << ZOR_LEAF_TAG_SHIFT;
        return zor_vop_prm_srh_ipv4_leaf_mod(b.client, &request) == CERR_SUCCESS;
    }
    bool remove(ClientOnCard &b, u32 i) {
        request.ipv4.address = spread(i);
        return zor_vop_prm_srh_ipv4_leaf_del(b.client, &request) == CERR_SUCCESS;
    }
    static bool find(ClientOnCard &b, u32 i) { return b.card.route.ipv4.find(key(i)) != nullptr; }
};

struct Ipv6Leaves {
    static constexpr const char *kName = "IPv6 leaves";
    using Key = Ipv6Key;
    using Payload = Leaf;

    zor_leaf_request request = {};
    Ipv6Leaves() {
        request.owner = PRM_OWNER;
        request.key_len = ZOR_LEAF_IPV6_KEY_LEN;
        request.prefix_len = 128;
        request.item1_len = request.item2_len = ZOR_LEAF_ITEM_LEN;
        request.payload_len = sizeof request.payload;
        request.payload.flags0 = ZOR_LEAF_DIRECT;
        request.payload.v6_prefix_len = 128;
        request.ipv6[0] = 0x20;
    }
    void name(u32 i) {
        const u32 host = spread(i);
        std::memcpy(request.ipv6 + 12, &host, sizeof host);
    }
    static Key key(u32 i) {
        u8 address[16] = {0x20};
        const u32 host = spread(i);
        std::memcpy(address + 12, &host, sizeof host);
        return ipv6_key(address, 0, 128);
    }
    bool add(ClientOnCard &b, u32 i) {
        name(i);
        return zor_vop_prm_srh_ipv6_leaf_add(b.client, &request) == CERR_SUCCESS;
    }
    bool modify(ClientOnCard &b, u32 i) {
        name(i);
        request.payload.tag_bits = 5 << ZOR_LEAF_TAG_SHIFT;
        return zor_vop_prm_srh_ipv6_leaf_mod(b.client, &request) == CERR_SUCCESS;
    }
    bool remove(ClientOnCard &b, u32 i) {
        name(i);
        return zor_vop_prm_srh_ipv6_leaf_del(b.client, &request) == CERR_SUCCESS;
    }
    static bool find(ClientOnCard &b, u32 i) { return b.card.route.ipv6.find(key(i)) != nullptr; }
};

struct Labels {
    static constexpr const char *kName = "labels";
    using Key = u32;
    using Payload = LabelEntry;

    zor_label_request request = {}, removal = {};
    Labels() {
        request.owner = removal.owner = PRM_OWNER;
        request.key_len = ZOR_LABEL_KEY_LEN;
        removal.key_len = ZOR_LABEL_DELETE_KEY_LEN;
        request.payload_len = sizeof request.payload;
        request.payload.flags1 = ZOR_LABEL_ALWAYS;
        request.payload.flags2 = ZOR_LABEL_POP_LOOKUP;
    }
    static u32 label(u32 i) { return spread(i) & 0xFFFFF; }  // the factor is odd: still no two collide
    static Key key(u32 i) { return label_key(label(i), false); }
    bool add(ClientOnCard &b, u32 i) {
        request.key.label = label(i);
        return zor_vop_prm_srh_label_ufib_add(b.client, &request) == CERR_SUCCESS;
    }
    bool modify(ClientOnCard &b, u32 i) {
        request.key.label = label(i);
        return zor_vop_prm_srh_label_ufib_mod(b.client, &request) == CERR_SUCCESS;
    }
    bool remove(ClientOnCard &b, u32 i) {
        removal.key.label = label(i);
        return zor_vop_prm_srh_label_ufib_del(b.client, &removal) == CERR_SUCCESS;
    }
    static bool find(ClientOnCard &b, u32 i) { return b.card.label.table.find(key(i)) != nullptr; }
};

struct LoadDistributions {
    static constexpr const char *kName = "load-distribution";
    using Key = u32;
    using Payload = LoadDistribution;

    prm_nr_ldi record = {};
    LoadDistributions() {
        record.owner = PRM_OWNER;
        record.ldi_kind = PRM_NR_LDI_KIND;
        record.path_len = PRM_NR_LDI_WORDS_LEN;
        record.words.nh_idx = 100005;
        record.ldi_valid = 1;
    }
    static Key key(u32 i) { return (i + 1) << PRM_NR_LDI_PTR_SHIFT; }
    bool add(ClientOnCard &b, u32 i) {
        record.ldi_ptr = key(i);
        return prm_srh_nr_ldi_add(b.client, &record) == CERR_SUCCESS;
    }
    bool modify(ClientOnCard &b, u32 i) { return add(b, i); }  // an add replaces
    bool remove(ClientOnCard &b, u32 i) {
        record.ldi_ptr = key(i);
        return prm_srh_nr_ldi_del(b.client, &record) == CERR_SUCCESS;
    }
    static bool find(ClientOnCard &b, u32 i) {
        return b.card.load_distribution.table.find(key(i)) != nullptr;
    }
};

template <typename Kind>
Times measure_card(u32 n) {
    const auto bench = std::make_unique<ClientOnCard>(inventory(n));
    Kind kind;
    Times times;
    const size_t before = heap_bytes();
    times.add = seconds_each(n, [&](u32 i) { times.failures += !kind.add(*bench, i); });
    times.bytes = static_cast<double>(heap_bytes() - before) / n;
    times.find = seconds_each(n, [&](u32 i) { times.failures += !kind.find(*bench, i); });
    times.modify = seconds_each(n, [&](u32 i) { times.failures += !kind.modify(*bench, i); });
    times.remove = seconds_each(n, [&](u32 i) { times.failures += !kind.remove(*bench, i); });
    return times;
}

template <typename Kind>
Times measure_map(u32 n) {
    absl::flat_hash_map<typename Kind::Key, typename Kind::Payload> map;
    Times times;
    const size_t before = heap_bytes();
    const typename Kind::Payload payload{};
    times.add = seconds_each(n, [&](u32 i) { times.failures += !map.emplace(Kind::key(i), payload).second; });
    times.bytes = static_cast<double>(heap_bytes() - before) / n;
    times.find = seconds_each(n, [&](u32 i) { times.failures += map.find(Kind::key(i)) == map.end(); });
    times.modify = seconds_each(n, [&](u32 i) { map.find(Kind::key(i))->second = payload; });
    times.remove = seconds_each(n, [&](u32 i) { times.failures += map.erase(Kind::key(i)) != 1; });
    return times;
}

// The best of three rounds, so that what else the machine does does not count.
template <typename Measure>
Times best_of_three(Measure measure) {
    Times best = measure();
    for (int round = 1; round < 3; ++round) {
        const Times times = measure();
        best.add = std::min(best.add, times.add);
        best.find = std::min(best.find, times.find);
        best.modify = std::min(best.modify, times.modify);
        best.remove = std::min(best.remove, times.remove);
        best.failures += times.failures;
    }
    return best;
}

template <typename Kind>
size_t report(u32 n) {
    const Times card = best_of_three([n] { return measure_card<Kind>(n); });
    const Times map = best_of_three([n] { return measure_map<Kind>(n); });
    const struct {
        const char *name;
        double card, map;
    } rows[] = {{"add", card.add, map.add},
                {"look up", card.find, map.find},
                {"modify", card.modify, map.modify},
                {"delete", card.remove, map.remove}};
    for (const auto &row : rows)
        printf("%-18s %8u  %-8s %12.0f ops/s  %7.1f ns  %5.2f x the map's time\n", Kind::kName, n, row.name,
               1 / row.card, row.card * 1e9, row.card / row.map);
    printf("%-18s %8u  %-8s %12.1f bytes an entry          %5.2f x the map's\n", Kind::kName, n, "memory",
           card.bytes, card.bytes / map.bytes);
    return card.failures + map.failures;
}

double peak_mebibytes() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

// As many leaves on one card, half of either family; the peak of the whole process, with the tables' growth.
size_t report_leaves_together(u32 leaves) {
    ClientOnCard bench(inventory(leaves));
    Ipv4Leaves ipv4;
    Ipv6Leaves ipv6;
    size_t failures = 0;
    const size_t before = heap_bytes();
    for (u32 i = 0; i < leaves / 2; ++i) {
        failures += !ipv4.add(bench, i);
        failures += !ipv6.add(bench, i);
    }
    printf("%u leaves on one card: %.0f MiB, process peak %.0f MiB\n", leaves,
           static_cast<double>(heap_bytes() - before) / (1 << 20), peak_mebibytes());
    return failures;
}

}  // namespace

int main(int argc, char **argv) {
    const u32 scale = argc > 1 && std::strcmp(argv[1], "--quick") == 0 ? 10 : 1;
    size_t failures = 0;
    for (const u32 n : {1000u, 32000u, 1000000u / scale}) failures += report<Ipv4Leaves>(n);
    for (const u32 n : {1000u, 32000u, 1000000u / scale}) failures += report<Ipv6Leaves>(n);
    for (const u32 n : {1000u, 262144u / scale}) failures += report<Labels>(n);
    for (const u32 n : {1000u, 65536u / scale}) failures += report<LoadDistributions>(n);
    failures += report_leaves_together(4000000 / scale);
    if (failures != 0) fprintf(stderr, "route_bench: %zu operations failed\n", failures);
    return failures == 0 ? 0 : 1;
}
