// What the surroundings of a run say.
#include "kiv/environment.h"

#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "kiv/files.h"

namespace kiv {

namespace {

std::string variable(const char *name) {
    const char *value = getenv(name);
    return value ? value : "";
}

bool number(const std::string &text, int *value) {
    char *end;
    const long parsed = strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || parsed < 0 || parsed > 1'000'000) return false;
    *value = static_cast<int>(parsed);
    return true;
}

}  // namespace

bool apply_test_environment(Options *options, std::string *error) {
    const std::string total = variable("TEST_TOTAL_SHARDS"), index = variable("TEST_SHARD_INDEX");
    if (!total.empty() && !options->sharded) {
        if (!number(total, &options->shard_count) || !number(index, &options->shard_index) ||
            options->shard_count < 1 || options->shard_index >= options->shard_count) {
            *error = "TEST_SHARD_INDEX=" + index + " of TEST_TOTAL_SHARDS=" + total + " is no shard";
            return false;
        }
        options->sharded = options->shard_count > 1;
    }
    const std::string status_file = variable("TEST_SHARD_STATUS_FILE");
    if (!status_file.empty() && !write_file(status_file, "", error)) return false;
    // Selectors of the command line are more precise than the filter of the build.
    const std::string filter = variable("TESTBRIDGE_TEST_ONLY");
    if (!filter.empty() && options->selectors.empty()) {
        for (size_t at = 0; at < filter.size();) {
            const size_t end = std::min(filter.find_first_of(":, ", at), filter.size());
            if (end > at) options->selectors.push_back(make_selector(filter.substr(at, end - at)));
            at = end + 1;
        }
    }
    const std::string fail_fast = variable("TESTBRIDGE_TEST_RUNNER_FAIL_FAST");
    if (fail_fast == "1") options->fail_fast = true;
    for (size_t i = 0; i < report_formats().size(); ++i) {
        std::string &file = options->reports.files[i];
        if (file.empty() && report_formats()[i].variable != nullptr)
            file = variable(report_formats()[i].variable);
    }
    if (options->out.empty()) options->out = variable("TEST_TMPDIR");
    options->exit_status = options->exit_status || exit_status_wanted();
    return true;
}

bool exit_status_wanted() {
    const char *const asked = getenv("KIV_EXIT_STATUS");
    if (asked != nullptr && *asked != '\0') return strcmp(asked, "0") != 0;
    for (const char *const name : {"BAZEL_TEST", "TEST_PREMATURE_EXIT_FILE", "CTEST_INTERACTIVE_DEBUG_MODE",
                                   "DASHBOARD_TEST_FROM_CTEST"})
        if (getenv(name) != nullptr) return true;
    return false;
}

void PrematureExitMark::begun() {
    path_ = variable("TEST_PREMATURE_EXIT_FILE");
    std::string ignored;
    if (!path_.empty()) write_file(path_, "", &ignored);
}

void PrematureExitMark::ended(bool good) {
    if (!path_.empty() && good) unlink(path_.c_str());
}

std::string output_directory(const Options &options) {
    std::string directory = absolute_path(options.out.empty() ? "kiv-out" : options.out);
    if (options.shard_count > 1)
        directory += "/shard-" + std::to_string(options.shard_index + 1) + "-of-" +
                     std::to_string(options.shard_count);
    return directory;
}

std::string take_summary_mark() {
    const std::string mark = variable("KIV_SUMMARY_MARK");
    unsetenv("KIV_SUMMARY_MARK");
    return mark;
}

bool use_color(const std::string &when, int fd) {
    if (when == "always") return true;
    if (when == "never" || !variable("NO_COLOR").empty()) return false;
    return isatty(fd) && variable("TERM") != "dumb";
}

std::string host_name() {
    char name[256] = "";
    gethostname(name, sizeof name - 1);
    return name;
}

std::string utc_now() {
    timeval now;
    gettimeofday(&now, nullptr);
    tm parts;
    gmtime_r(&now.tv_sec, &parts);
    char text[64], whole[96];
    strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    snprintf(whole, sizeof whole, "%s.%03ldZ", text, static_cast<long>(now.tv_usec / 1000));
    return whole;
}

}  // namespace kiv
