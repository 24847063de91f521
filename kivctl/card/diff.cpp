// kivctl card diff: what two states differ in.
//
// Of the first state the keys are kept with a digest of each entry, of the second nothing: what differs is
// read again for its fields.
#include <absl/container/flat_hash_map.h>
#include <absl/hash/hash.h>
#include <fmt/format.h>

#include <map>
#include <nlohmann/json.hpp>
#include <optional>

#include "kivctl/card/state_columns.h"
#include "kivctl/card/state_commands.h"
#include "kivctl/commands.h"

namespace kivctl {
namespace {

struct FieldText {
    std::string name, text;
};
using Fields = std::vector<FieldText>;

Fields fields_of(const StateEntry &entry) {
    Fields fields;
    for (const StateField &field : entry) fields.push_back({field.name, field_text(field, false)});
    return fields;
}

size_t digest_of(const StateEntry &entry) {
    size_t digest = entry.size();
    for (const StateField &field : entry)
        digest =
            absl::HashOf(digest, field.name, field.value, field.ends, field.dangling, field.ends_dangling);
    return digest;
}

// "vrf 0 prefix 1.1.1.2/32": what tells an entry of a family apart.
std::string key_text(const StateEntry &entry, const std::vector<std::string> &keys) {
    std::string text;
    for (const std::string &key : keys) {
        const StateField *const field = entry.find(key);
        text += fmt::format("{}{} {}", text.empty() ? "" : " ", key, field != nullptr ? field->value : "");
    }
    return text;
}

// Gives every entry of a state a key of its own, "FAMILY\nKEY"; what is said of the card and the accounts are
// entries, too. An entry whose key was there before gets another one.
class KeyedVisitor : public StateVisitor {
  public:
    void header(std::string_view name, std::string_view value) override {
        if (name.starts_with("run.")) return;
        single_.clear();
        single_.add("name").value = name;
        single_.add("value").value = value;
        tell("card", "name " + std::string(name), single_);
    }
    void account(const StateAccount &account) override {
        single_.clear();
        single_.add("name").value = account.name;
        single_.add("used").value = std::to_string(account.used);
        single_.add("limit").value = std::to_string(account.limit);
        tell("accounts", "name " + account.name, single_);
    }
    void family_begins(const std::string &name, const std::vector<std::string> &keys) override {
        family_ = name;
        keys_ = keys;
    }
    void entry(const StateEntry &entry) override { tell(family_, key_text(entry, keys_), entry); }

  protected:
    // False when this key has been told already.
    virtual bool keyed(const std::string &key, const StateEntry &entry) = 0;

  private:
    void tell(const std::string &family, const std::string &key, const StateEntry &entry) {
        std::string whole = family + '\n' + key;
        for (int again = 2; !keyed(whole, entry); ++again)
            whole = fmt::format("{}\n{} #{}", family, key, again);
    }

    std::string family_;
    std::vector<std::string> keys_;
    StateEntry single_;
};

struct Known {
    size_t digest = 0;
    bool seen = false;  // in the second state
};
using KnownEntries = absl::flat_hash_map<std::string, Known>;

class FirstPass : public KeyedVisitor {
  public:
    KnownEntries known;

  protected:
    bool keyed(const std::string &key, const StateEntry &entry) override {
        return known.try_emplace(key, Known{digest_of(entry), false}).second;
    }
};

struct Difference {
    std::optional<Fields> before, after;
};
using Differences = std::map<std::string, Difference>;  // by key, so that families stay together

class SecondPass : public KeyedVisitor {
  public:
    explicit SecondPass(KnownEntries *known) : known_(known) {}
    Differences differences;
    size_t same = 0;

  protected:
    bool keyed(const std::string &key, const StateEntry &entry) override {
        const auto [found, is_new] = known_->try_emplace(key);
        if (found->second.seen) return false;
        const bool same_as_before = !is_new && found->second.digest == digest_of(entry);
        found->second.seen = true;
        if (same_as_before) {
            ++same;
        } else {
            differences[key].after = fields_of(entry);
        }
        return true;
    }

  private:
    KnownEntries *const known_;
};

// The fields of what is gone or different, out of the first state.
class ThirdPass : public KeyedVisitor {
  public:
    explicit ThirdPass(Differences *differences) : differences_(differences) {}

  protected:
    bool keyed(const std::string &key, const StateEntry &entry) override {
        if (!told_.insert({key, true}).second) return false;
        if (const auto found = differences_->find(key); found != differences_->end())
            found->second.before = fields_of(entry);
        return true;
    }

  private:
    Differences *const differences_;
    absl::flat_hash_map<std::string, bool> told_;
};

const std::string *text_of(const Fields &fields, const std::string &name) {
    for (const FieldText &field : fields) {
        if (field.name == name) return &field.text;
    }
    return nullptr;
}

// visit(name, before, after) for every field that differs; null where it is not there.
template <typename Visit>
void for_each_change(const Difference &difference, Visit visit) {
    for (const FieldText &field : *difference.before) {
        const std::string *const now = text_of(*difference.after, field.name);
        if (now == nullptr || *now != field.text) visit(field.name, &field.text, now);
    }
    for (const FieldText &field : *difference.after) {
        if (text_of(*difference.before, field.name) == nullptr)
            visit(field.name, static_cast<const std::string *>(nullptr), &field.text);
    }
}

std::string_view family_of(const std::string &key) {
    return std::string_view(key).substr(0, key.find('\n'));
}
std::string_view entry_of(const std::string &key) {
    return std::string_view(key).substr(key.find('\n') + 1);
}

std::string line_of(std::string_view sign, const std::string &key, const Fields &fields) {
    std::string line = fmt::format("  {} {}", sign, entry_of(key));
    const char *between = ":";
    for (const FieldText &field : fields) {
        // The key says it already.
        if (line.find(fmt::format(" {} {}", field.name, field.text)) != line.npos || field.text.empty())
            continue;
        line += fmt::format("{} {} {}", between, field.name, field.text);
        between = ",";
    }
    return line;
}

void print_text(const Differences &differences) {
    std::string_view family;
    for (const auto &[key, difference] : differences) {
        if (family_of(key) != family) {
            family = family_of(key);
            fmt::print("{}\n", family);
        }
        if (!difference.before) {
            fmt::print("{}\n", line_of("+", key, *difference.after));
        } else if (!difference.after) {
            fmt::print("{}\n", line_of("-", key, *difference.before));
        } else {
            fmt::print("  ~ {}", entry_of(key));
            const char *between = ":";
            for_each_change(difference, [&](const std::string &name, const std::string *before,
                                            const std::string *after) {
                fmt::print("{} {} {} => {}", between, name, before != nullptr ? *before : "(none)",
                           after != nullptr ? *after : "(none)");
                between = ",";
            });
            fmt::print("\n");
        }
    }
}

using Json = nlohmann::ordered_json;

Json json_of(const Fields &fields) {
    Json object = Json::object();
    for (const FieldText &field : fields) object[field.name] = field.text;
    return object;
}

// An object a line.
void print_json(const Differences &differences) {
    const auto text_or_null = [](const std::string *text) { return text != nullptr ? Json(*text) : Json(); };
    for (const auto &[key, difference] : differences) {
        Json line;
        line["family"] = family_of(key);
        line["key"] = entry_of(key);
        if (!difference.before) {
            line["change"] = "added";
            line["entry"] = json_of(*difference.after);
        } else if (!difference.after) {
            line["change"] = "removed";
            line["entry"] = json_of(*difference.before);
        } else {
            line["change"] = "changed";
            Json &fields = line["fields"] = Json::object();
            for_each_change(difference, [&](const std::string &name, const std::string *before,
                                            const std::string *after) {
                fields[name] = {{"before", text_or_null(before)}, {"after", text_or_null(after)}};
            });
        }
        fmt::print("{}\n", line.dump(-1, ' ', false, Json::error_handler_t::replace));
    }
}

}  // namespace

int diff_states(const StateDiffOptions &options) {
    std::string error;
    const auto read = [&](const std::string &path, StateVisitor &visitor) {
        if (read_state(path, visitor, &error)) return true;
        fmt::print(stderr, "kivctl: {}\n", error);
        return false;
    };
    FirstPass first;
    if (!read(options.before, first)) return kUnusable;
    SecondPass second(&first.known);
    if (!read(options.after, second)) return kUnusable;
    Differences &differences = second.differences;
    size_t added = differences.size(), changed = 0, removed = 0;
    for (const auto &[key, known] : first.known) {
        if (known.seen) continue;
        differences[key];
        ++removed;
    }
    if (!differences.empty() && !options.quiet) {
        ThirdPass third(&differences);
        if (!read(options.before, third)) return kUnusable;
        for (const auto &[key, difference] : differences)
            changed += difference.before && difference.after ? 1 : 0;
        added -= changed;
        options.json ? print_json(differences) : print_text(differences);
    }
    if (!options.json && !options.quiet) {
        if (differences.empty()) {
            fmt::print("same: {} entries\n", second.same);
        } else {
            fmt::print("different: {} added, {} removed, {} changed, {} the same\n", added, removed, changed,
                       second.same);
        }
    }
    return differences.empty() ? kGood : kBad;
}

}  // namespace kivctl
