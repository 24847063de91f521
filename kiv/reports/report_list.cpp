// The table of the report formats, and the opening of reports.
#include "kiv/reports/report_list.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kiv {
namespace {

constexpr ReportFormat kFormats[] = {
#define KIV_REPORT_FORMAT(name, help, variable, shows_calls) \
    {#name, help, variable, shows_calls, make_##name##_reporter, tell_##name##_nothing_run},
#include "kiv/reports/formats.def"
#undef KIV_REPORT_FORMAT
};

}  // namespace

std::span<const ReportFormat> report_formats() {
    return kFormats;
}

std::unique_ptr<Reporter> open_report(MakeReport &make, const std::string &path, std::string *error) {
    auto sink = reports::open_file_sink(path, error);
    return sink == nullptr ? nullptr : make(std::move(sink));
}

bool ReportRequest::show_calls() const {
    for (size_t i = 0; i < files.size(); ++i)
        if (!files[i].empty() && kFormats[i].shows_calls) return true;
    return false;
}

namespace {

// What tells a regular file or a descriptor, whatever it is called by; empty for what is neither.
std::string identity(const std::string &path) {
    if (const int fd = reports::descriptor_named_by(path); fd >= 0) return std::to_string(fd);
    struct stat info;
    if (stat(path.c_str(), &info) == 0)
        return S_ISREG(info.st_mode) ? std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino) : "";
    const size_t name = path.rfind('/') + 1;
    if (stat(name == 0 ? "." : path.substr(0, name).c_str(), &info) != 0) return "";
    return std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino) + "/" + path.substr(name);
}

// Two reports in one file would spoil each other. False, with *error set.
bool are_apart(const ReportRequest &request, std::string *error) {
    for (size_t i = 0; i < request.files.size(); ++i) {
        const std::string one = request.files[i].empty() ? "" : identity(request.files[i]);
        for (size_t k = 0; k < i && !one.empty(); ++k) {
            if (request.files[k].empty() || identity(request.files[k]) != one) continue;
            *error = std::string("--") + kFormats[k].name + " and --" + kFormats[i].name + " both write " +
                     request.files[i];
            return false;
        }
    }
    return true;
}

}  // namespace

bool ReportRequest::to_standard_output() const {
    for (const std::string &file : files)
        if (reports::descriptor_named_by(file) == STDOUT_FILENO) return true;
    return false;
}

bool write_nothing_run(const std::vector<NamedReport> &reports, const NothingRun &nothing, std::string *error,
                       bool streams) {
    bool good = true;
    for (const NamedReport &report : reports) {
        struct stat status;
        const bool is_stream = reports::descriptor_named_by(report.path) >= 0;
        if (is_stream && !streams) continue;
        if (!is_stream && stat(report.path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) continue;
        std::string problem;
        const std::unique_ptr<reports::Sink> sink = reports::open_file_sink(report.path, &problem);
        if (sink != nullptr && sink->begin(kFormats[report.format].tell_nothing_run(nothing))) continue;
        if (sink != nullptr) problem = sink->problem();
        if (is_stream) continue;
        // Where there is no room for the new document there is room for none.
        if (truncate(report.path.c_str(), 0) != 0 && errno != ENOENT)
            problem += " (and the older file stands)";
        if (good) *error = problem;
        good = false;
    }
    return good;
}

std::vector<std::unique_ptr<Reporter>> open_reports(const ReportRequest &request, std::string *error) {
    std::vector<std::unique_ptr<Reporter>> reports;
    if (!are_apart(request, error)) return reports;
    for (size_t i = 0; i < request.files.size(); ++i) {
        if (request.files[i].empty()) continue;
        std::unique_ptr<Reporter> report = open_report(*kFormats[i].make, request.files[i], error);
        if (report == nullptr) return {};
        reports.push_back(std::move(report));
    }
    return reports;
}

}  // namespace kiv
