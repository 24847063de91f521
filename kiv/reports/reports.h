// The report formats: each factory returns a reporter that keeps one file up to date while a run goes on.
//
// Every file is complete and well-formed up to the last finished case at every moment, also when the process
// is killed (document.h says how). The file appears, or replaces an older one, when the run begins. A path
// that is not a regular file (a pipe, a terminal) is written from beginning to end instead.
#ifndef KIV_REPORTS_REPORTS_H
#define KIV_REPORTS_REPORTS_H

#include <memory>
#include <string>

#include "kiv/reports/document.h"
#include "kiv/results.h"

namespace kiv {

// Null and *error (one line that names the path) when the file cannot be written.
std::unique_ptr<Reporter> make_junit_reporter(const std::string &path, std::string *error);
std::unique_ptr<Reporter> make_tap_reporter(const std::string &path, std::string *error);
std::unique_ptr<Reporter> make_json_reporter(const std::string &path, std::string *error);
std::unique_ptr<Reporter> make_html_reporter(const std::string &path, std::string *error);

// The same, writing to a sink of the caller's.
std::unique_ptr<Reporter> make_junit_reporter(std::unique_ptr<reports::Sink> sink);
std::unique_ptr<Reporter> make_tap_reporter(std::unique_ptr<reports::Sink> sink);
std::unique_ptr<Reporter> make_json_reporter(std::unique_ptr<reports::Sink> sink);
std::unique_ptr<Reporter> make_html_reporter(std::unique_ptr<reports::Sink> sink);

}  // namespace kiv

#endif
