// Arbitrary bytes as results: the reader refuses or reads them, and what it read can be written and read
// again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "kiv/reports/recorded_run.h"
#include "tests/kiv/reports/memory_sink.h"

using kiv::test::report_of;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kiv::reports::RecordedRun run, second;
    std::string error;
    if (!read_run({reinterpret_cast<const char *>(data), size}, "fuzz", &run, &error)) return 0;
    if (run.info.repeat < 1 || run.info.repeat > 100) return 0;
    run.finish("cut");

    const std::string written =
        report_of(kiv::make_json_reporter, [&](kiv::Reporter &reporter) { run.replay(reporter); });
    if (!read_run(written, "again", &second, &error)) {
        fprintf(stderr, "%s\n", error.c_str());
        abort();
    }
    const std::string again =
        report_of(kiv::make_json_reporter, [&](kiv::Reporter &reporter) { second.replay(reporter); });
    if (written != again) {
        fprintf(stderr, "--- written\n%s--- again\n%s", written.c_str(), again.c_str());
        abort();
    }
    for (const kiv::ReportFormat &format : kiv::report_formats())
        report_of(*format.make, [&](kiv::Reporter &reporter) { run.replay(reporter); });
    return 0;
}
