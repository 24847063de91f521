// The state of a card with a million routes, written and shown: seconds of processor time and of the clock
// beside the least that moves the same bytes, and the memory that each step adds at its peak.
//
//   state_bench [LEAVES]    default 1000000
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/card/table_measure.h"
#include "card/state/state.h"
#include "kivctl/card/state_commands.h"
#include "prm_srh_nr_ldi.h"
#include "prm_srh_tx_adj.h"
#include "zor_vop_prm_leaf.h"

namespace {

constexpr u32 kNextHops = 64;

sim::Inventory inventory(u32 leaves) {
    sim::Inventory inventory;
    inventory.interfaces = {
        {.handle = 0x8000088, .kind = sim::InterfaceKind::MAIN, .np_port = 1, .uidb = 10}};
    inventory.limits[sim::Resource::ipv4_leaf].limit = leaves;
    return inventory;
}

// Routes over a few load-distribution entries, as a card in use has them.
void program(bench::ClientOnCard &on, u32 leaves) {
    for (u32 i = 0; i < kNextHops; ++i) {
        prm_tx_adj adjacency = {};
        adjacency.adj_flags0 = PRM_TX_ADJ_NORMAL;
        adjacency.uidb = 10;
        adjacency.nh_idx = 100000 + i;
        prm_nr_ldi ldi = {};
        ldi.owner = PRM_OWNER;
        ldi.ldi_kind = PRM_NR_LDI_KIND;
        ldi.ldi_ptr = (i + 1) << PRM_NR_LDI_PTR_SHIFT;
        ldi.path_len = PRM_NR_LDI_WORDS_LEN;
        ldi.words.nh_idx = adjacency.nh_idx;
        if (prm_srh_tx_adj_add(on.client, &adjacency) != 0 || prm_srh_nr_ldi_add(on.client, &ldi) != 0)
            std::abort();
    }
    zor_leaf_request leaf = {};
    leaf.owner = PRM_OWNER;
    leaf.key_len = ZOR_LEAF_IPV4_KEY_LEN;
    leaf.prefix_len = 32;
    leaf.item1_len = leaf.item2_len = ZOR_LEAF_ITEM_LEN;
    leaf.payload_len = sizeof leaf.payload;
    leaf.payload.flags0 = ZOR_LEAF_LDI;
    for (u32 i = 0; i < leaves; ++i) {
        leaf.ipv4.address = bench::spread(i);
        leaf.payload.ldi_ptr = (i % kNextHops + 1) << PRM_NR_LDI_PTR_SHIFT;
        if (zor_vop_prm_srh_ipv4_leaf_add(on.client, &leaf) != 0) std::abort();
    }
}

long resident_kib() {
    long pages = 0, resident = 0;
    FILE *const file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr || std::fscanf(file, "%ld %ld", &pages, &resident) != 2) std::abort();
    std::fclose(file);
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

struct Cost {
    double processor = 0, clock = 0;  // seconds
};

// A step in a process of its own, so that its peak is its own.
template <typename Step>
Cost measure(FILE *out, const char *what, Step step) {
    const long before = resident_kib();
    const auto start = std::chrono::steady_clock::now();
    std::fflush(out);
    const pid_t child = fork();
    if (child == 0) {
        step();
        std::fflush(stdout);
        _exit(0);
    }
    int status = 0;
    rusage usage;
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0) std::abort();
    Cost cost;
    cost.clock = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    for (const timeval &t : {usage.ru_utime, usage.ru_stime})
        cost.processor += static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    std::fprintf(out, "%-30s %6.2f s processor, %6.2f s clock, %4ld MiB\n", what, cost.processor, cost.clock,
                 (usage.ru_maxrss - before) / 1024);
    return cost;
}

// The least: the same number of bytes through a buffer of the same size, no more done with them.
void copy_bytes(const std::string &from, const std::string &to) {
    static char buffer[256 * 1024];
    const int in = open(from.c_str(), O_RDONLY), out = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    for (ssize_t got; (got = read(in, buffer, sizeof buffer)) > 0;)
        if (write(out, buffer, static_cast<size_t>(got)) != got) std::abort();
    close(in);
    close(out);
}

}  // namespace

int main(int argc, char **argv) {
    const u32 leaves = argc > 1 ? static_cast<u32>(std::atoi(argv[1])) : 1000000;
    char directory[] = "/tmp/state-bench-XXXXXX";
    if (mkdtemp(directory) == nullptr) return 1;
    const std::string first = std::string(directory) + "/a.json", second = std::string(directory) + "/b.json";
    // What is shown goes to a file like anyone's redirection; the figures go where the output went.
    FILE *const out = fdopen(dup(STDOUT_FILENO), "w");
    if (out == nullptr || std::freopen((std::string(directory) + "/shown").c_str(), "w", stdout) == nullptr)
        return 1;
    Cost written;
    {
        bench::ClientOnCard on(inventory(leaves));
        program(on, leaves);
        std::string error;
        written = measure(out, "written", [&] {
            if (!card::write_state_file(on.card, {}, first, &error)) std::abort();
        });
        on.card.route.ipv4.remove(sim::ipv4_key(bench::spread(0), 0, 32));
        if (!card::write_state_file(on.card, {}, second, &error)) return 1;
    }
    malloc_trim(0);
    const Cost shown = measure(out, "shown, all of it", [&] {
        if (kivctl::show_state({.file = first, .family = ""}) != 0) std::abort();
    });
    struct stat status;
    stat(first.c_str(), &status);
    std::fprintf(out, "%-30s %6.2f s processor, %6.2f s clock; %u routes, %.0f MB\n", "written and shown",
                 written.processor + shown.processor, written.clock + shown.clock, leaves,
                 static_cast<double>(status.st_size) / 1e6);
    measure(out, "one family of few entries", [&] {
        if (kivctl::show_state({.file = first, .family = "adjacencies"}) != 0) std::abort();
    });
    measure(out, "compared with a route less", [&] {
        if (kivctl::diff_states({.before = first, .after = second}) != 1) std::abort();
    });
    measure(out, "its bytes copied, the least", [&] { copy_bytes(first, second); });
    std::fclose(out);
    return std::system(("rm -rf " + std::string(directory)).c_str()) == 0 ? 0 : 1;
}
