// The runs of a sweep: one program each, and what its event stream says.
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "kiv/files.h"
#include "kiv/reports/recorded_run.h"
#include "kivctl/sweep.h"

extern char **environ;

namespace kivctl::sweep {
namespace {

// What a test environment or a site of its own asks of a run is not asked of these.
std::vector<char *> environment() {
    std::vector<char *> kept;
    for (char **at = environ; *at != nullptr; ++at) {
        const std::string_view one = *at;
        const bool meant_for_others = one.starts_with("CI=") || one.starts_with("TEST_") ||
                                      one.starts_with("TESTBRIDGE_") || one.starts_with("XML_OUTPUT_FILE=") ||
                                      one.starts_with("KIV_EXIT_STATUS=") ||
                                      one.starts_with("KIV_SUMMARY_MARK=");
        if (!meant_for_others) kept.push_back(*at);
    }
    kept.push_back(nullptr);
    return kept;
}

// Runs the words as a program that reads and prints nothing, for so many seconds at most. False, with *error
// set, when it could not be started.
bool run(const std::vector<std::string> &words, double limit, std::string *error) {
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string &word : words) arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&files, 1, 2);
    pid_t child = 0;
    const int failed =
        posix_spawn(&child, arguments[0], &files, nullptr, arguments.data(), environment().data());
    posix_spawn_file_actions_destroy(&files);
    if (failed != 0) {
        *error = words[0] + ": " + strerror(failed);
        return false;
    }
    const auto descriptor = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    if (descriptor >= 0) {
        pollfd ended = {descriptor, POLLIN, 0};
        const int64_t end = kiv::now_ns() + static_cast<int64_t>(limit * 1e9);
        int ready = 0;
        do {
            const int64_t left = std::max<int64_t>(0, end - kiv::now_ns());
            ready = poll(&ended, 1, static_cast<int>(left / 1'000'000));
        } while (ready < 0 && errno == EINTR);
        if (ready == 0) kill(child, SIGKILL);
        close(descriptor);
    }
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return true;
}

bool run_suite(const Program &program, const std::string &directory, const std::vector<std::string> &more,
               kiv::reports::RecordedRun *results, std::string *error) {
    const std::string out = directory + "/out", stream = directory + "/run.jsonl";
    std::error_code ignored;
    std::filesystem::remove_all(out, ignored);  // a fresh flash
    std::filesystem::remove(stream, ignored);
    std::vector<std::string> words = {
        program.path, "--quiet", "--color", "never", "--no-strict-site", "--failed-calls", "ignore",
        "--out",      out,       "--json",  stream};
    if (!program.site.empty()) words.insert(words.end(), {"--site", program.site});
    words.insert(words.end(), more.begin(), more.end());
    words.insert(words.end(), program.selectors.begin(), program.selectors.end());
    std::string text;
    return run(words, program.limit, error) && kiv::read_file(stream, &text, error) &&
           kiv::reports::read_run(text, stream, results, error);
}

bool ended_badly(kiv::Verdict verdict) {
    return verdict == kiv::Verdict::aborted || verdict == kiv::Verdict::crashed ||
           verdict == kiv::Verdict::timed_out || verdict == kiv::Verdict::not_run;
}

Way noticed(const kiv::reports::RecordedRun &results) {
    Way way = results.complete ? Way::NOTHING : Way::ENDED;
    const auto say = [&](Way stronger) { way = std::min(way, stronger); };
    for (const kiv::CaseResult *const result : results.cases()) {
        if (result->failed_checks != 0) say(Way::CHECK);
        if (!result->error_lines.empty()) say(Way::LINE);
        if (!result->calls.unnoticed.empty()) say(Way::CALLS);
        if (ended_badly(result->verdict)) say(Way::ENDED);
        if (result->differences.count != 0) say(Way::BASELINE);
    }
    for (const kiv::FixtureResult *const fixture : results.fixtures()) {
        if (!fixture->failures.empty()) say(Way::CHECK);
        if (fixture->verdict == kiv::Verdict::reported_error) say(Way::LINE);
        if (!fixture->calls.unnoticed.empty()) say(Way::CALLS);
        if (fixture->failed() && ended_badly(fixture->verdict)) say(Way::ENDED);
        if (fixture->differences.count != 0) say(Way::BASELINE);
    }
    return way == Way::NOTHING && !results.summary.good() ? Way::ENDED : way;
}

}  // namespace

bool read_calls(const Program &program, const std::string &directory, std::vector<Call> *calls,
                std::string *error) {
    const std::string file = directory + "/calls.jsonl";
    kiv::reports::RecordedRun results;
    if (!run_suite(program, directory, {"--no-fork", "--fault-calls", file}, &results, error)) return false;
    if (!results.complete || noticed(results) != Way::NOTHING) {
        *error = "without a fault the run is not good already: what is noticed of one could not be told";
        return false;
    }
    std::string text;
    if (!kiv::read_file(file, &text, error)) return false;
    size_t line = 0;
    for (size_t begin = 0; begin < text.size(); ++line) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const auto object = nlohmann::json::parse(text.begin() + static_cast<ptrdiff_t>(begin),
                                                  text.begin() + static_cast<ptrdiff_t>(end), nullptr, false);
        begin = end + 1;
        if (!object.is_object()) {
            *error = file + ":" + std::to_string(line + 1) + ": no JSON object";
            return false;
        }
        Call call;
        call.operation = object.value("Operation", "");
        call.place = object.value("Place", "");
        call.number = object.value("Call", uint64_t{0});
        call.asked = object.value("Asked", uint64_t{0});
        call.answers_status = object.contains("Status");
        call.good = object.value("Status", uint64_t{0}) == 0;
        call.answer = object.value("Answer", std::vector<std::string>());
        calls->push_back(std::move(call));
    }
    return true;
}

bool make(const Program &program, const std::string &directory, Attempt *attempt, std::string *error) {
    std::vector<std::string> more = {"--fault", attempt->rule};
    kiv::reports::RecordedRun results;
    if (attempt->fault != Fault::HANGS) {
        more.emplace_back("--no-fork");
        if (!run_suite(program, directory, more, &results, error)) return false;
        more.pop_back();
    } else {
        more.insert(more.end(), {"--timeout", "1", "--grace", "1"});
    }
    // A process that ended with its cases told of none: once more, with somebody to keep what they say.
    if (!results.complete) {
        results = {};
        if (!run_suite(program, directory, more, &results, error)) return false;
    }
    attempt->way = noticed(results);
    const std::string fired = "fault \"" + attempt->rule + "\" fired ";
    const auto &notes = results.summary.notes;
    attempt->counts =
        !results.complete || std::any_of(notes.begin(), notes.end(),
                                         [&](const std::string &note) { return note.starts_with(fired); });
    if (!attempt->counts) *error = attempt->rule + ": the rule did not fire";
    return attempt->counts;
}

}  // namespace kivctl::sweep
