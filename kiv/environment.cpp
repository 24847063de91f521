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

// Which variables number the parts of a job, and from where they count.
struct ShardVariables {
    const char *index, *total;
    const char *first;  // variable with the number of the first one, or null
    int first_number;   // where there is no such variable
    const char *step;   // variable with the distance of two numbers, or null
};
constexpr ShardVariables kShardVariables[] = {
    {"TEST_SHARD_INDEX", "TEST_TOTAL_SHARDS", nullptr, 0, nullptr},
    {"CI_NODE_INDEX", "CI_NODE_TOTAL", nullptr, 1, nullptr},
    {"SLURM_ARRAY_TASK_ID", "SLURM_ARRAY_TASK_COUNT", "SLURM_ARRAY_TASK_MIN", 0, "SLURM_ARRAY_TASK_STEP"},
};

}  // namespace

bool shard_of_environment(Options *options, std::string *error) {
    for (const ShardVariables &names : kShardVariables) {
        const std::string index = variable(names.index), total = variable(names.total);
        if (index.empty()) continue;
        int at = 0, count = 0, first = names.first_number, step = 1;
        const auto read = [](const char *name, int *value) {
            return name == nullptr || variable(name).empty() || number(variable(name), value);
        };
        if (!number(index, &at) || !number(total, &count) || !read(names.first, &first) ||
            !read(names.step, &step) || step < 1 || at < first || (at - first) % step != 0 ||
            (at - first) / step >= count) {
            *error = "--shard auto: " + std::string(names.index) + "=" + index + " of " + names.total + "=" +
                     total + " is no shard";
            return false;
        }
        options->shard_index = (at - first) / step;
        options->shard_count = count;
        options->sharded = true;
        return true;
    }
    *error = "--shard auto: no variable tells which shard this is";
    for (const ShardVariables &names : kShardVariables)
        *error += (&names == kShardVariables ? " (" : ", ") + std::string(names.index);
    *error += ")";
    return false;
}

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
