// Feeds a million lines to each of the suite's VXLAN bridge-domain, circuit and EVPN MAC cases on the
// simulated card, and prints lines per second as a ratio to a bare loop over the same file: fgets, strtok,
// strtoul and one operation on a map.
//
//   vxlan_bench [LINES]    lines of each file (default 1,000,000)
#include <absl/container/flat_hash_map.h>
#include <malloc.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "card/sim/backend.h"
#include "card/sim/card.h"
#include "prm_kiv_main.h"
#include "prm_kiv_vxlan.h"
#include "tests/standin/told.h"

namespace {

constexpr u32 kInterfaces = 4000;  // that circuits are bound on; uidb indices of a card have 16 bits
constexpr u16 kFirstUidb = 1000;
constexpr u32 kMainHandle = 0x100;
constexpr u32 kFirstHandle = 0x1000;
constexpr int kRounds = 3;

// Processor time: one thread that waits for nothing, and other programs of the machine do not count.
double now() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// A line of /proc/self/status in MiB.
double memory(const char *name) {
    FILE *const file = fopen("/proc/self/status", "r");
    char line[256];
    double kib = 0;
    while (file != nullptr && fgets(line, sizeof line, file) != nullptr)
        if (strncmp(line, name, strlen(name)) == 0) kib = atof(line + strlen(name));
    if (file != nullptr) fclose(file);
    return kib / 1024;
}

void forget_peak() {
    malloc_trim(0);
    FILE *const file = fopen("/proc/self/clear_refs", "w");
    if (file == nullptr) return;
    fputs("5", file);
    fclose(file);
}

// ---- The files.

std::string scratch;

void write_lines(const char *name, u32 lines, void (*print_line)(FILE *file, u32 i)) {
    FILE *const file = fopen((scratch + "/" + name).c_str(), "w");
    if (file == nullptr) {
        perror(name);
        exit(1);
    }
    for (u32 i = 0; i < lines; ++i) print_line(file, i);
    fclose(file);
}

void bd_line(FILE *file, u32 i) {
    fprintf(file, "%u,%u,%08x\n", i + 1, i % 0xFFFFFF + 1, 0x0A000001 + i);
}
void ac_line(FILE *file, u32 i) {
    fprintf(file, "%u,%u\n", i + 1, kFirstUidb + i % kInterfaces);
}
void vsp_line(FILE *file, u32 i) {
    fprintf(file, "%u,%x,%u\n", i + 1, i + 1, kFirstUidb + i % kInterfaces);
}
void mac_line(FILE *file, u32 i) {
    fprintf(file, "02:00:%02x:%02x:%02x:%02x,%u,1,%x\n", i >> 24 & 0xFF, i >> 16 & 0xFF, i >> 8 & 0xFF,
            i & 0xFF, i + 1, i);
}

// ---- The bare loop.

struct Value {
    u32 a, b;
};
using Map = absl::flat_hash_map<u64, Value>;

struct Fields {
    char *text[20];
    int count;
};

Fields split(char *line) {
    Fields fields{};
    for (char *item = strtok(line, ","); item != nullptr && fields.count < 20; item = strtok(nullptr, ","))
        fields.text[fields.count++] = item;
    return fields;
}

u64 number(const Fields &fields, int i, int base) {
    return i < fields.count ? strtoul(fields.text[i], nullptr, base) : 0;
}

// What the bare loop knows of a line: the key of its entry and the values.
struct Line {
    u64 key;
    Value value;
};

Line bare_bd(const Fields &fields) {
    return {number(fields, 0, 10),
            {static_cast<u32>(number(fields, 1, 10)), static_cast<u32>(number(fields, 2, 16))}};
}
Line bare_ac(const Fields &fields) {
    return {number(fields, 1, 10), {static_cast<u32>(number(fields, 0, 10)), 0}};
}
Line bare_vsp(const Fields &fields) {
    return {number(fields, 1, 16),
            {static_cast<u32>(number(fields, 0, 10)), static_cast<u32>(number(fields, 2, 10))}};
}
Line bare_mac(const Fields &fields) {
    Line line{0, {static_cast<u32>(number(fields, 2, 10)), static_cast<u32>(number(fields, 3, 16))}};
    const u64 bd = number(fields, 1, 10);
    for (char *part = strtok(fields.text[0], ":"); part != nullptr; part = strtok(nullptr, ":"))
        line.key = line.key << 8 | (strtoul(part, nullptr, 16) & 0xFF);
    line.key ^= bd << 40;
    return line;
}

// ---- One case and its bare loop.

struct Pass {
    const char *name;
    int (*function)(void);
    const char *file;
    Line (*bare)(const Fields &fields);
    bool removes;
    double bare_seconds = 1e9, case_seconds = 1e9;  // best of the rounds
    double before = 0, after = 0, peak = 0;         // MiB, of the last round
};

double run_bare(const Pass &pass, Map &map) {
    FILE *const file = fopen((scratch + "/" + pass.file).c_str(), "r");
    char line[500];
    const double begin = now();
    while (fgets(line, sizeof line, file) != nullptr) {
        line[strcspn(line, "\n")] = '\0';
        const Line entry = pass.bare(split(line));
        if (pass.removes)
            map.erase(entry.key);
        else
            map.insert_or_assign(entry.key, entry.value);
    }
    const double seconds = now() - begin;
    fclose(file);
    return seconds;
}

double run_case(const Pass &pass) {
    if (freopen((scratch + "/" + pass.file).c_str(), "r", stdin) == nullptr) {
        perror(pass.file);
        exit(1);
    }
    const double begin = now();
    pass.function();
    return now() - begin;
}

sim::Inventory inventory() {
    sim::Inventory inventory;
    inventory.interfaces.push_back({kMainHandle, sim::InterfaceKind::MAIN});
    for (u32 i = 0; i < kInterfaces; ++i) {
        sim::InventoryInterface interface;
        interface.handle = kFirstHandle + i;
        interface.kind = sim::InterfaceKind::SUB;
        interface.parent = kMainHandle;
        interface.uidb = static_cast<u16>(kFirstUidb + i);
        interface.layer2 = true;
        inventory.interfaces.push_back(interface);
    }
    return inventory;
}

}  // namespace

int main(int argc, char **argv) {
    const u32 lines = argc > 1 ? static_cast<u32>(strtoul(argv[1], nullptr, 10)) : 1'000'000;
    char directory[] = "/tmp/vxlan_bench.XXXXXX";
    if (mkdtemp(directory) == nullptr) {
        perror(directory);
        return 1;
    }
    scratch = directory;
    write_lines("bd", lines, bd_line);
    write_lines("ac", lines, ac_line);
    write_lines("vsp", lines, vsp_line);
    write_lines("mac", lines, mac_line);

    Pass passes[] = {
        {"tc_kiv_vxlan_bd_add", tc_kiv_vxlan_bd_add, "bd", bare_bd, false},
        {"tc_kiv_vxlan_ac_bind", tc_kiv_vxlan_ac_bind, "ac", bare_ac, false},
        {"tc_kiv_vxlan_vsp_ac_bind", tc_kiv_vxlan_vsp_ac_bind, "vsp", bare_vsp, false},
        {"tc_kiv_evpn_mac_install", tc_kiv_evpn_mac_install, "mac", bare_mac, false},
        {"tc_kiv_evpn_mac_uninstall", tc_kiv_evpn_mac_uninstall, "mac", bare_mac, true},
        {"tc_kiv_vxlan_vsp_ac_unbind", tc_kiv_vxlan_vsp_ac_unbind, "vsp", bare_vsp, true},
        {"tc_kiv_vxlan_ac_unbind", tc_kiv_vxlan_ac_unbind, "ac", bare_ac, true},
        {"tc_kiv_vxlan_bd_del", tc_kiv_vxlan_bd_del, "bd", bare_bd, true},
    };
    for (int round = 0; round < kRounds; ++round) {
        {
            Map maps[4];  // one for each file, as the card has one table for each kind of entry
            int at = 0;
            for (Pass &pass : passes) {
                pass.bare_seconds = std::min(pass.bare_seconds, run_bare(pass, maps[at < 4 ? at : 7 - at]));
                ++at;
            }
        }
        sim::Card card(inventory());
        sim::CurrentCard use(card);
        setup_bm_prm_conn();
        for (Pass &pass : passes) {
            forget_peak();
            pass.before = memory("VmRSS:");
            pass.case_seconds = std::min(pass.case_seconds, run_case(pass));
            pass.peak = memory("VmHWM:");
            malloc_trim(0);
            pass.after = memory("VmRSS:");
        }
        teardown_bm_prm_conn();
    }

    printf("%u lines a case, best of %d rounds, processor time; prints formatted and dropped\n", lines,
           kRounds);
    printf("  %-28s %12s %12s %8s %10s %10s %10s\n", "", "lines/s", "bare loop/s", "ratio", "MiB before",
           "at its peak", "after");
    for (const Pass &pass : passes) {
        printf("  %-28s %12.0f %12.0f %8.2f %10.1f %10.1f %10.1f\n", pass.name, lines / pass.case_seconds,
               lines / pass.bare_seconds, pass.case_seconds / pass.bare_seconds, pass.before, pass.peak,
               pass.after);
    }
    const unsigned long expected = static_cast<unsigned long>(lines) * std::size(passes) * kRounds;
    const standin::CheckCounts checks = standin::check_counts();
    printf("%lu checks, %lu failed\n", checks.all, checks.failed);
    std::error_code ignored;
    std::filesystem::remove_all(scratch, ignored);
    return checks.failed == 0 && checks.all >= expected ? 0 : 1;
}
