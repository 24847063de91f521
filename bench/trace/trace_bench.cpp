// What recording costs: a million operations on the simulated card without it, with the last calls kept in
// memory, and with a file; beside a bare loop that appends the same bytes to a buffered file. Then whole runs
// of the suite without recording, with it, and with a file. All in one run, as ratios; times are of the
// processor.
//
//   trace_bench [CALLS] [RUNS]    default 1000000 20
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/card/client_on_card.h"
#include "card/boundary/layers.h"
#include "prm_srh_l2.h"
#include "trace/recorder.h"

namespace {

constexpr const char *kFile = "trace_bench.pcap";
constexpr const char *kBare = "trace_bench.bytes";

double seconds_of(int who) {
    rusage usage;
    getrusage(who, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

size_t size_of(const char *path) {
    struct stat status;
    return stat(path, &status) == 0 ? static_cast<size_t>(status.st_size) : 0;
}

template <class Work>
double measure(const Work &work) {
    const double begin = seconds_of(RUSAGE_SELF);
    work();
    return seconds_of(RUSAGE_SELF) - begin;
}

void call(const bench::ClientOnCard &on, u32 calls) {
    prm_bd_request record = {};
    record.kind = PRM_L2_REQUEST_KIND;
    record.xid_type = PRM_XID_TYPE_BRIDGE_DOMAIN;
    record.object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
    for (u32 i = 0; i < calls; ++i) {
        record.bd_id = i % 100 + 1;
        if (prm_srh_bd_add(on.client, &record) != 0) std::abort();
    }
}

// Appends what the trace holds, in as many pieces, to a buffer that goes into a file when it is full.
void append_bare(u32 calls, size_t bytes) {
    FILE *const file = fopen(kBare, "wb");
    std::vector<char> buffer(size_t{1} << 20), piece(bytes / calls);
    setvbuf(file, buffer.data(), _IOFBF, buffer.size());
    for (u32 i = 0; i < calls; ++i) fwrite(piece.data(), 1, piece.size(), file);
    fclose(file);
}

double whole_runs(const std::string &program, const std::string &options, int runs) {
    const std::string command =
        program + " -q --site " BENCH_SITE " --out trace_bench.out " + options + " > trace_bench.shown 2>&1";
    const double begin = seconds_of(RUSAGE_CHILDREN);
    for (int i = 0; i < runs; ++i)
        if (std::system(command.c_str()) != 0) std::abort();
    return (seconds_of(RUSAGE_CHILDREN) - begin) / runs;
}

// The least of several measurements one after the other, so that all see the same machine.
struct Measured {
    const char *name;
    double least = 1e9;
    void take(double seconds) { least = std::min(least, seconds); }
};

}  // namespace

int main(int argc, char **argv) {
    const u32 calls = argc > 1 ? static_cast<u32>(std::atoi(argv[1])) : 1'000'000;
    const int runs = argc > 2 ? std::atoi(argv[2]) : 20;
    sim::Inventory inventory;
    bench::ClientOnCard on(inventory);
    const card::Backend &plain = card::current_backend();
    std::string error;
    trace::Recorder recorder, with_file;
    const trace::Recorder::Surroundings around{[] { return uint64_t{0}; }, [](std::string_view) {}};
    if (!recorder.create(around, &error) || !with_file.create(around, &error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    Measured none{"not recorded"}, kept{"last calls kept"}, filed{"--trace"}, bare{"bare loop"};
    size_t bytes = 0;
    for (int round = 0; round < 3; ++round) {
        card::use_backend(&plain);
        none.take(measure([&] { call(on, calls); }));
        card::use_backend(&trace::recording_in_front_of(plain));
        recorder.worker_begins(1);
        kept.take(measure([&] { call(on, calls); }));
        recorder.worker_ends();
        if (!with_file.file().is_open() && !with_file.file().create(kFile, 0, &error)) return 1;
        const size_t before = size_of(kFile);
        with_file.worker_begins(1);
        filed.take(measure([&] {
            call(on, calls);
            with_file.worker_ends();
        }));
        bytes = size_of(kFile) - before;
        bare.take(measure([&] { append_bare(calls, bytes); }));
        if (truncate(kFile, static_cast<off_t>(before)) != 0) return 1;
    }
    card::use_backend(&plain);
    std::printf("%u calls of prm_srh_bd_add, %zu bytes of trace\n", calls, bytes);
    for (const Measured &one : {none, kept, filed, bare})
        std::printf("  %-18s %8.0f ns a call  %5.2fx\n", one.name, one.least / calls * 1e9,
                    one.least / none.least);
    std::printf("  recorded: %.0f calls a second; over the bare loop: %.2fx\n", calls / filed.least,
                (filed.least - none.least) / bare.least);

    Measured unrecorded{"not recorded"}, always{"last calls kept"}, traced{"--trace"};
    for (int round = 0; round < 3; ++round) {
        unrecorded.take(whole_runs(BENCH_UNRECORDED, "", runs));
        always.take(whole_runs(BENCH_PRM_KIV, "", runs));
        traced.take(whole_runs(BENCH_PRM_KIV, std::string("--trace ") + kFile, runs));
    }
    std::printf("whole runs\n");
    for (const Measured &one : {unrecorded, always, traced})
        std::printf("  %-18s %8.2f ms         %5.3fx\n", one.name, one.least * 1e3,
                    one.least / unrecorded.least);
    unlink(kFile);
    unlink(kBare);
    return 0;
}
