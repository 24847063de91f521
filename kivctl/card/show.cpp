// kivctl card show: a card's state as tables.
#include <fmt/core.h>

#include <algorithm>
#include <cstdio>

#include "kivctl/card/state_commands.h"
#include "kivctl/card/state_table.h"
#include "kivctl/commands.h"

namespace kivctl {
namespace {

constexpr size_t kFlushAt = size_t{64} * 1024;

class Shower : public StateVisitor {
  public:
    explicit Shower(const StateShowOptions &options) : options_(options), table_(&out_) {}

    void header(std::string_view name, std::string_view value) override {
        if (name == "run.after") after_ = value;
        if (name == "card.type") type_ = value;
        if (name == "card.ports") ports_ = value;
        if (name == "card.mirroring") mirroring_ = value == "true";
    }
    void account(const StateAccount &account) override { accounts_.push_back(account); }
    void family_begins(const std::string &name, const std::vector<std::string> &) override {
        if (families_.empty() && wants_all()) say_what_it_is();
        families_.push_back(name);
        shown_ = wants_all() || options_.family == name;
        if (shown_) table_.begin(name);
    }
    void entry(const StateEntry &entry) override {
        if (!shown_) return;
        for (const StateField &field : entry) dangling_ += field.dangles() ? 1 : 0;
        if (options_.dangling && !entry.dangles()) return;
        ++entries_;
        table_.add(entry);
        if (out_.size() >= kFlushAt) flush();
    }
    void family_ends() override {
        if (shown_) table_.end();
    }

    bool knows(const std::string &family) const {
        return family == "accounts" || std::ranges::find(families_, family) != families_.end();
    }
    const std::vector<std::string> &families() const { return families_; }

    void finish() {
        if (!options_.dangling && (wants_all() || options_.family == "accounts")) show_accounts();
        size_t exhausted = 0;
        for (const StateAccount &account : accounts_) exhausted += account.exhausted() ? 1 : 0;
        out_ += fmt::format("{} entr{}, {} dangling reference{}", entries_, entries_ == 1 ? "y" : "ies",
                            dangling_, dangling_ == 1 ? "" : "s");
        if (exhausted != 0) {
            out_ += fmt::format(", {} resource{} exhausted:", exhausted, exhausted == 1 ? "" : "s");
            for (const StateAccount &account : accounts_) {
                if (account.exhausted()) out_ += " " + account.name;
            }
        }
        out_ += '\n';
        flush();
    }
    void flush() {
        std::fwrite(out_.data(), 1, out_.size(), stdout);
        out_.clear();
    }

  private:
    bool wants_all() const { return options_.family.empty(); }

    void say_what_it_is() {
        out_ += fmt::format("Card of type {}, {} ports, mirroring {}; state after {}\n\n", type_, ports_,
                            mirroring_ ? "on" : "off", after_.empty() ? "the run" : after_);
    }

    // Those in use, or all when asked for.
    void show_accounts() {
        StateEntry entry;
        table_.begin("accounts");
        for (const StateAccount &account : accounts_) {
            if (wants_all() && account.used == 0 && !account.exhausted()) continue;
            entry.clear();
            entry.add("name").value = account.name;
            entry.add("used").value = std::to_string(account.used);
            entry.add("limit").value = std::to_string(account.limit);
            if (account.exhausted()) entry.add("state").value = "EXHAUSTED";
            table_.add(entry);
        }
        table_.end();
    }

    const StateShowOptions &options_;
    std::string out_;
    StateTable table_;
    std::string after_, type_, ports_;
    bool mirroring_ = false, shown_ = false;
    std::vector<StateAccount> accounts_;
    std::vector<std::string> families_;
    size_t entries_ = 0, dangling_ = 0;
};

}  // namespace

int show_state(const StateShowOptions &options) {
    Shower shower(options);
    std::string error;
    if (!read_state(options.file, shower, &error)) {
        shower.flush();
        fmt::print(stderr, "kivctl: {}\n", error);
        return kUnusable;
    }
    if (!options.family.empty() && !shower.knows(options.family)) {
        fmt::print(stderr, "kivctl: {}: no family \"{}\"; there are: accounts", options.file, options.family);
        for (const std::string &family : shower.families()) fmt::print(stderr, ", {}", family);
        fmt::print(stderr, "\n");
        return kUnusable;
    }
    shower.finish();
    return kGood;
}

}  // namespace kivctl
