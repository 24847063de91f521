// Feeds every report as fast as it can until it is killed; tells on standard output, as an int each, how many
// cases have ended. Arguments: base of the report files, size of the largest output.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "kiv/reports/report_list.h"

int main(int argc, char **argv) {
    if (argc != 3) return 2;
    const std::string base = argv[1];
    const size_t largest = static_cast<size_t>(std::atol(argv[2]));
    std::string error;
    std::unique_ptr<kiv::Reporter> reporters[] = {
        kiv::open_report(kiv::make_junit_reporter, base + ".xml", &error),
        kiv::open_report(kiv::make_json_reporter, base + ".jsonl", &error),
        kiv::open_report(kiv::make_tap_reporter, base + ".tap", &error),
    };
    for (const auto &reporter : reporters)
        if (reporter == nullptr) return std::fprintf(stderr, "%s\n", error.c_str()), 2;

    kiv::RunInfo info;
    info.program = "feeder";
    info.started_at = "2026-11-21T04:00:00.000Z";
    info.selected = {"f/case"};
    const kiv::FolderInfo folder{"f", "a folder", 1000000};
    for (const auto &reporter : reporters) {
        reporter->run_begins(info);
        reporter->folder_begins(folder);
    }
    for (int i = 1;; ++i) {
        kiv::CaseResult result;
        result.folder = "f";
        result.name = "case" + std::to_string(i);
        result.verdict = i % 10 == 0 ? kiv::Verdict::crashed : kiv::Verdict::passed;
        if (largest != 0) {
            result.output.assign(static_cast<size_t>(i) * 2654435761u % largest, i % 2 != 0 ? '>' : 'x');
            result.output_size = result.output.size();
        }
        for (const auto &reporter : reporters) reporter->case_ended(result);
        if (write(1, &i, sizeof i) != static_cast<ssize_t>(sizeof i)) return 1;
    }
}
