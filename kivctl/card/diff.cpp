// kivctl card diff: what two states differ in.
//
// Of each entry a key and a digest are kept, thirty bytes or so; what is gone or different is read again for
// its fields.
#include <absl/container/flat_hash_map.h>
#include <absl/hash/hash.h>
#include <fmt/core.h>

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

// Family and key of an entry; 128 bits, so that no two of a state share one.
struct Key {
    size_t words[2] = {};

    friend bool operator==(const Key &, const Key &) = default;
    template <typename H>
    friend H AbslHashValue(H state, const Key &key) {
        return H::combine(std::move(state), key.words[0]);
    }
};

// Gives every entry of a state a key of its own. What is said of the card and the accounts are entries, too;
// an entry whose key was there before gets another one.
class KeyedVisitor : public StateVisitor {
  public:
    void header(std::string_view name, std::string_view value) override {
        if (name.starts_with("run.")) return;
        tell_single("card", {{"name", name}, {"value", value}});
    }
    void account(const StateAccount &account) override {
        tell_single("accounts", {{"name", account.name},
                                 {"used", std::to_string(account.used)},
                                 {"limit", std::to_string(account.limit)}});
    }
    void family_begins(const std::string &name, const std::vector<std::string> &keys) override {
        family_ = name;
        keys_ = keys;
    }
    void entry(const StateEntry &entry) override {
        for (again_ = 1;; ++again_) {
            Key key;
            for (size_t seed = 0; seed < 2; ++seed) {
                size_t word = absl::HashOf(seed, family_, again_);
                for (const std::string &name : keys_) {
                    const StateField *const field = entry.find(name);
                    word = absl::HashOf(word, field != nullptr ? std::string_view(field->value) : "");
                }
                key.words[seed] = word;
            }
            if (keyed(key, entry)) return;
        }
    }

  protected:
    // False when this key has been told already.
    virtual bool keyed(const Key &key, const StateEntry &entry) = 0;

    // "FAMILY\nvrf 0 prefix 1.1.1.2/32", of the entry that is told.
    std::string key_text(const StateEntry &entry) const {
        std::string text = family_;
        char between = '\n';
        for (const std::string &key : keys_) {
            const StateField *const field = entry.find(key);
            text += fmt::format("{}{} {}", between, key, field != nullptr ? field->value : "");
            between = ' ';
        }
        if (again_ > 1) text += fmt::format(" #{}", again_);
        return text;
    }

  private:
    void tell_single(const char *family,
                     std::initializer_list<std::pair<std::string_view, std::string_view>> fields) {
        family_ = family;
        keys_ = {"name"};
        single_.clear();
        for (const auto &[name, value] : fields) single_.add(name).value = value;
        KeyedVisitor::entry(single_);
    }

    std::string family_;
    std::vector<std::string> keys_;
    int again_ = 1;
    StateEntry single_;
};

struct Known {
    size_t digest = 0;
    enum : uint8_t { only_before, same, different, told } state = only_before;
};
using KnownEntries = absl::flat_hash_map<Key, Known>;

struct Difference {
    std::optional<Fields> before, after;
};
using Differences =
    std::map<std::string, Difference>;  // by the text of the key, so that families stay together

class FirstPass : public KeyedVisitor {
  public:
    explicit FirstPass(KnownEntries *known) : known_(known) {}

  protected:
    bool keyed(const Key &key, const StateEntry &entry) override {
        return known_->try_emplace(key, Known{digest_of(entry)}).second;
    }

  private:
    KnownEntries *const known_;
};

// Compares, and keeps what is new or different.
class SecondPass : public KeyedVisitor {
  public:
    SecondPass(KnownEntries *known, Differences *differences) : known_(known), differences_(differences) {}
    size_t same = 0, changed = 0, added = 0;

  protected:
    bool keyed(const Key &key, const StateEntry &entry) override {
        const auto [found, is_new] = known_->try_emplace(key);
        Known &known = found->second;
        if (known.state != Known::only_before) return false;
        if (!is_new && known.digest == digest_of(entry)) {
            known.state = Known::same;
            ++same;
            return true;
        }
        known.state = Known::different;
        ++(is_new ? added : changed);
        (*differences_)[key_text(entry)].after = fields_of(entry);
        return true;
    }

  private:
    KnownEntries *const known_;
    Differences *const differences_;
};

// The fields of what is gone or different, out of the first state.
class ThirdPass : public KeyedVisitor {
  public:
    ThirdPass(KnownEntries *known, Differences *differences) : known_(known), differences_(differences) {}

  protected:
    bool keyed(const Key &key, const StateEntry &entry) override {
        const auto found = known_->find(key);
        if (found == known_->end()) return true;  // the file has changed since
        Known &known = found->second;
        if (known.state == Known::told) return false;
        if (known.state != Known::same) (*differences_)[key_text(entry)].before = fields_of(entry);
        known.state = Known::told;
        return true;
    }

  private:
    KnownEntries *const known_;
    Differences *const differences_;
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
    if (options.before == "-" || options.after == "-") {
        fmt::print(stderr, "kivctl: standard input can be shown, not compared: a state is read twice\n");
        return kUnusable;
    }
    std::string error;
    const auto read = [&](const std::string &path, StateVisitor &visitor) {
        if (read_state(path, visitor, &error)) return true;
        fmt::print(stderr, "kivctl: {}\n", error);
        return false;
    };
    KnownEntries known;
    FirstPass first(&known);
    if (!read(options.before, first)) return kUnusable;
    const size_t before = known.size();
    Differences differences;
    SecondPass second(&known, &differences);
    if (!read(options.after, second)) return kUnusable;
    const size_t removed = before - second.same - second.changed;
    const bool differ = removed + second.changed + second.added != 0;
    if (options.quiet) return differ ? kBad : kGood;
    if (removed + second.changed != 0) {
        ThirdPass third(&known, &differences);
        if (!read(options.before, third)) return kUnusable;
    }
    if (options.json) {
        print_json(differences);
    } else if (differ) {
        print_text(differences);
        fmt::print("different: {} added, {} removed, {} changed, {} the same\n", second.added, removed,
                   second.changed, second.same);
    } else {
        fmt::print("same: {} entries\n", second.same);
    }
    return differ ? kBad : kGood;
}

}  // namespace kivctl
