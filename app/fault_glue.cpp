// Faults on the command line: --fault, --list-faults and --fault-calls, and what the run says of the rules.
#include <fcntl.h>
#include <fmt/core.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "card/boundary/layers.h"
#include "card/codes.h"
#include "card/faults/faults.h"
#include "kiv/files.h"
#include "kiv/observer.h"
#include "kiv/select/nearest.h"

namespace {

using card::OperationId;
using card::faults::Faults;
using card::faults::Rule;
using card::faults::RuleError;

void list_faults() {
    fmt::print("What can happen to a call:\n");
    for (const card::faults::ActionHelp &action : card::faults::kActions)
        fmt::print("  {:<14} {}\n", action.written, action.meaning);
    fmt::print(
        "\nTo which calls: OPERATION, a pattern of * and ?, or family:NAME; behind it @3, @3+, @every/3 or "
        "@5%/SEED,\n"
        "and \"if FIELD=VALUE\", \"if FIELD!=VALUE and FIELD=VALUE\".\n"
        "\nOperations by family, with their fields:\n");
    std::string_view family;
    for (size_t i = 0; i < card::kOperationCount; ++i) {
        const auto id = static_cast<OperationId>(i);
        if (!card::faults::can_be_faulted(id)) continue;
        if (card::row(id).family != family) fmt::print("family:{}\n", family = card::row(id).family);
        fmt::print("  {}:", card::row(id).name);
        for (const std::string &name : card::faults::field_names(id)) fmt::print(" {}", name);
        fmt::print("\n");
    }
}

// "--fault RULE: column 21: there is no code "PRM_ERROR_BUSY"; did you mean ...?"
std::string told(const std::string &rule, const RuleError &error) {
    kiv::Nearest nearest(error.word);
    for (const std::string &known : error.known) nearest.offer(known);
    return fmt::format("--fault \"{}\": column {}: {}{}", rule, error.column, error.what, nearest.question());
}

// "in a/b, c/d (3 times)".
std::string told_places(const std::vector<card::faults::Place> &places, uint64_t elsewhere) {
    std::string text;
    for (const card::faults::Place &place : places) {
        text += text.empty() ? "in " : ", ";
        text += place.name.empty() ? "the worker" : place.name;
        if (place.times > 1) text += fmt::format(" ({} times)", place.times);
    }
    if (elsewhere != 0) text += fmt::format(" and elsewhere ({} times)", elsewhere);
    return text;
}

std::string times(uint64_t count) {
    return count == 1 ? "once" : fmt::format("{} times", count);
}

class FaultGlue : public kiv::Observer {
  public:
    void add_options(CLI::App &app) override {
        app.add_option("--fault", rules_,
                       "What happens to calls: OPERATION@3: status=CODE, for\ninstance; repeatable, see "
                       "--list-faults")
            ->group("Card")
            ->type_name("RULE")
            ->expected(1)
            ->take_all();
        app.add_flag_callback(
               "--list-faults",
               [] {
                   list_faults();
                   throw CLI::Success();
               },
               "List what --fault can do, operations and fields")
            ->group("Card");
        app.add_option("--fault-calls", calls_path_,
                       "Write the calls that rules can choose, one JSON\nobject a line")
            ->group("Card")
            ->type_name("FILE");
    }

    bool run_begins(kiv::RunInfo &, std::string *error) override {
        if (rules_.empty() && calls_path_.empty()) return true;
        std::vector<Rule> rules(rules_.size());
        RuleError wrong;
        for (size_t i = 0; i < rules_.size(); ++i) {
            if (card::faults::parse_rule(rules_[i], &rules[i], &wrong)) continue;
            *error = told(rules_[i], wrong);
            return false;
        }
        if (!faults_.share(std::move(rules), error)) {
            *error = "--fault: " + *error;
            return false;
        }
        if (!calls_path_.empty()) {
            calls_path_ = kiv::absolute_path(calls_path_);
            calls_fd_ = open(calls_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
            if (calls_fd_ < 0) {
                *error = fmt::format("--fault-calls {}: {}", calls_path_, strerror(errno));
                return false;
            }
            faults_.watch([this](const card::faults::Seen &seen) { note_call(seen); });
        }
        card::faults::set_process_faults(&faults_);
        card::put_in_front(card::Layer::FAULTS, card::faults::in_front_of);
        active_ = true;
        return true;
    }

    unsigned interests() const override { return active_ ? kCases | kFixtures : 0u; }
    void worker_begins(int) override { runs(""); }
    void case_begins(std::string_view folder, std::string_view name) override {
        runs(fmt::format("{}/{}", folder, name));
    }
    void case_ended(std::string_view, std::string_view) override { runs(""); }
    void fixture_begins(std::string_view folder, bool set_up) override {
        runs(fmt::format("{} of {}", set_up ? "set-up" : "tear-down", folder));
    }
    void fixture_ended(std::string_view, bool) override { runs(""); }

    void run_ended(const kiv::Summary &) override {
        for (size_t i = 0; active_ && i < faults_.rules().size(); ++i) {
            const std::string &text = faults_.rules()[i].text;
            const uint64_t fired = faults_.fired(i), fitting = faults_.fitting(i);
            uint64_t elsewhere = 0;
            const auto places = faults_.places(i, &elsewhere);
            if (fired != 0) {
                kiv::add_note(fmt::format("fault \"{}\" fired {}, {}", text, times(fired),
                                          told_places(places, elsewhere)));
            } else {
                kiv::add_note(fmt::format("fault \"{}\" never fired: {}", text,
                                          fitting == 0   ? "no call fits it"
                                          : fitting == 1 ? "one call fits it"
                                                         : fmt::format("{} calls fit it", fitting)));
            }
        }
        if (calls_fd_ >= 0) close(calls_fd_);
        calls_fd_ = -1;
    }

  private:
    void runs(std::string place) {
        if (!active_) return;
        faults_.runs(place);
        place_ = std::move(place);
    }

    // A line at once: it stays when the worker dies. Names hold nothing that JSON escapes but what cases are
    // called.
    void note_call(const card::faults::Seen &seen) {
        std::string place;
        for (const char one : place_) {
            if (one == '"' || one == '\\') place += '\\';
            if (static_cast<unsigned char>(one) < 0x20) {
                place += fmt::format("\\u{:04x}", one);
            } else {
                place += one;
            }
        }
        std::string line = fmt::format("{{\"Operation\":\"{}\",\"Call\":{},\"Place\":\"{}\"",
                                       card::row(seen.operation).name, seen.call, place);
        if (card::row(seen.operation).answers_status) {
            line += fmt::format(",\"Status\":{}", seen.result);
            if (const char *const name = card::code_name(static_cast<uint32_t>(seen.result)))
                line += fmt::format(",\"StatusName\":\"{}\"", name);
        }
        if (seen.asked != 0) line += fmt::format(",\"Asked\":{}", seen.asked);
        if (!seen.answer.empty()) {
            line += ",\"Answer\":[";
            for (const std::string &path : seen.answer)
                line += fmt::format("{}\"{}\"", line.ends_with('[') ? "" : ",", path);
            line += ']';
        }
        line += "}\n";
        if (calls_fd_ < 0) return;
        if (write(calls_fd_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
            kiv::add_note(fmt::format("--fault-calls {} is not complete: {}", calls_path_, strerror(errno)));
            calls_fd_ = -1;
        }
    }

    std::vector<std::string> rules_;
    std::string calls_path_;
    int calls_fd_ = -1;
    bool active_ = false;
    std::string place_;
    Faults faults_;
};

const bool subscribed = [] {
    static FaultGlue glue;
    kiv::subscribe(&glue);
    return true;
}();

}  // namespace
