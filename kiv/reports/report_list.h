// The report formats, and the reports that a command line asks for. Each report keeps one file up to date
// while a run goes on.
//
// Every file is complete and well-formed up to the last finished case at every moment, also when the process
// is killed (document.h says how). The file appears, or replaces an older one, when the run begins. A path
// that is not a regular file (a pipe, a terminal) is written from beginning to end instead.
#ifndef KIV_REPORTS_REPORT_LIST_H
#define KIV_REPORTS_REPORT_LIST_H

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kiv/reports/document.h"
#include "kiv/results.h"

namespace kiv {

using MakeReport = std::unique_ptr<Reporter>(std::unique_ptr<reports::Sink> sink);

// What a report says of a run in which nothing was run.
struct NothingRun {
    std::string program;
    std::vector<std::string> arguments;
    std::string time;  // UTC, ISO 8601
    std::string why;   // one line
};
using TellNothingRun = std::string(const NothingRun &nothing);

// A row of formats.def.
struct ReportFormat {
    const char *name;
    const char *help;
    const char *variable;  // or null
    bool shows_calls;
    MakeReport *make;
    TellNothingRun *tell_nothing_run;  // a whole document
};

// make_junit_reporter, tell_junit_nothing_run and so on, of every row.
#define KIV_REPORT_FORMAT(name, ...)   \
    MakeReport make_##name##_reporter; \
    TellNothingRun tell_##name##_nothing_run;
#include "kiv/reports/formats.def"
#undef KIV_REPORT_FORMAT

std::span<const ReportFormat> report_formats();

// A report that is written to a file. Null and *error (one line that names the path) when it cannot be.
std::unique_ptr<Reporter> open_report(MakeReport &make, const std::string &path, std::string *error);

// What a command line asks for.
struct ReportRequest {
    std::vector<std::string> files =
        std::vector<std::string>(report_formats().size());  // empty: not asked for

    // Whether one shows the calls of every case.
    bool show_calls() const;
    bool to_standard_output() const;
};

// A report that a command line names, before the rest of the line has been looked at.
struct NamedReport {
    size_t format = 0;  // of report_formats()
    std::string path;
};

// Replaces each file by a document that says that nothing was run: results of an earlier run never pass for
// those of one that did not begin. What is no regular file is left alone, but for standard output and the
// like with `streams`. False, with *error naming the first that cannot be written; an older file is then
// empty, if that can be done.
bool write_nothing_run(const std::vector<NamedReport> &reports, const NothingRun &nothing, std::string *error,
                       bool streams = false);

// Opens every report asked for; null entries never occur. On an error *error is set and nothing is returned.
std::vector<std::unique_ptr<Reporter>> open_reports(const ReportRequest &request, std::string *error);

}  // namespace kiv

#endif
