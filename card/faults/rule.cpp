// Reads fault rules.
#include "card/faults/rule.h"

#include <fnmatch.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <csignal>

#include "card/codes.h"
#include "card/faults/fields.h"

namespace card::faults {

const ActionHelp kActions[8] = {
    {"status=CODE", "the card is not asked, and CODE is answered"},
    {"failed=CODE", "the card does it, and CODE is answered"},
    {"undone", "the card is not asked, and success is answered"},
    {"short[=N]", "the card is asked for N (1) fewer than the call says"},
    {"set CHANGE", "the answer is changed: FIELD=VALUE, FIELD^=MASK or OFFSET:HEX"},
    {"delay=TIME", "the call takes so much longer: 20us, 5ms, 2s"},
    {"hang", "the call does not return; --timeout ends the case"},
    {"die[=SIGNAL]", "the signal (KILL) ends the worker before the card is asked"},
};

namespace {

struct SignalName {
    const char *name;
    int number;
};
constexpr SignalName kSignals[] = {{"KILL", SIGKILL}, {"SEGV", SIGSEGV}, {"BUS", SIGBUS},
                                   {"ABRT", SIGABRT}, {"FPE", SIGFPE},   {"ILL", SIGILL},
                                   {"TERM", SIGTERM}, {"TRAP", SIGTRAP}};

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kFamily = "family:";

bool number(std::string_view text, u64 *value) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value, base);
    return !text.empty() && error == std::errc() && end == text.data() + text.size();
}

bool decimal(std::string_view text, double *value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *value);
    return !text.empty() && error == std::errc() && end == text.data() + text.size() && std::isfinite(*value);
}

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == text.npos) return text.substr(text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

template <class Visit>
void for_each_code(Visit visit) {
    for (const u32 code : all_codes()) visit(code, code_name(code));
}

using OperationSet = std::bitset<kOperationCount>;

template <class Visit>
void each(const OperationSet &set, Visit visit) {
    for (size_t i = 0; i < kOperationCount; ++i)
        if (set[i]) visit(static_cast<OperationId>(i));
}

// The operations of a set that have such a field.
OperationSet with_field(const OperationSet &set, std::string_view field, bool in_answer) {
    OperationSet having;
    each(set, [&](OperationId id) {
        for (const KnownField &known : known_fields(id))
            if ((known.answers || !in_answer) && means(plain_path(field), known.path))
                having.set(static_cast<size_t>(id));
    });
    return having;
}

class Parser {
  public:
    Parser(std::string_view text, Rule *rule, RuleError *error) : text_(text), rule_(*rule), error_(*error) {}

    bool parse() {
        rule_ = {};
        rule_.text = trimmed(text_);
        size_t colon = 0;  // the one before a blank or the end: fields and values hold others
        while ((colon = text_.find(':', colon)) != text_.npos && colon + 1 < text_.size() &&
               kBlanks.find(text_[colon + 1]) == kBlanks.npos)
            ++colon;
        if (colon == text_.npos)
            return fail(text_.substr(text_.size()),
                        "what is to happen is missing: OPERATION: status=CODE, for instance");
        return head(text_.substr(0, colon)) && actions(text_.substr(colon + 1)) && narrowed();
    }

  private:
    bool fail(std::string_view at, std::string what) {
        error_ = {static_cast<size_t>(at.data() - text_.data()) + 1, std::move(what), std::string(at), {}};
        return false;
    }

    // Splits the next word off; empty at the end.
    static std::string_view next_word(std::string_view *rest) {
        const size_t begin = std::min(rest->find_first_not_of(kBlanks), rest->size());
        rest->remove_prefix(begin);
        const std::string_view word = rest->substr(0, rest->find_first_of(kBlanks));
        rest->remove_prefix(word.size());
        return word;
    }

    bool head(std::string_view rest) {
        const std::string_view target = next_word(&rest);
        const size_t at = target.find('@');
        if (!operations(target.substr(0, at))) return false;
        if (at != target.npos && !which(target.substr(at + 1))) return false;
        std::string_view word = next_word(&rest);
        if (word.empty()) return true;
        if (word != "if") return fail(word, "\"if\" or the colon before what happens is expected here");
        do {
            if (!condition(next_word(&rest))) return false;
            word = next_word(&rest);
        } while (word == "and");
        return word.empty() || fail(word, "\"and\" or the colon before what happens is expected here");
    }

    bool operations(std::string_view name) {
        if (name.empty()) return fail(name, "the operation is missing");
        const bool by_family = name.starts_with(kFamily);
        const std::string_view family = by_family ? name.substr(kFamily.size()) : "";
        const std::string pattern(name);
        for (size_t i = 0; i < kOperationCount; ++i) {
            const auto id = static_cast<OperationId>(i);
            if (!can_be_faulted(id)) continue;
            if (by_family ? row(id).family == family : fnmatch(pattern.c_str(), row(id).name.data(), 0) == 0)
                rule_.operations.set(i);
        }
        is_pattern_ = by_family || name.find_first_of("*?[") != name.npos;
        if (rule_.operations.any()) return true;
        if (by_family) {
            fail(family, "there is no family \"" + std::string(family) + "\"");
        } else {
            fail(name, is_pattern_ ? "no operation fits \"" + pattern + "\""
                                   : "there is no operation \"" + pattern + "\"");
        }
        each(OperationSet().set(), [&](OperationId id) {
            const std::string known(by_family ? row(id).family : row(id).name);
            if (can_be_faulted(id) && (error_.known.empty() || error_.known.back() != known))
                error_.known.push_back(known);
        });
        return false;
    }

    bool which(std::string_view text) {
        Which &which = rule_.which;
        std::string_view digits = text;
        which.kind = Which::NTH;
        if (text == "every") {
            which.kind = Which::EVERY;
            return true;
        }
        if (text.find('%') != text.npos) return chance(text);
        if (text.starts_with("every/")) {
            which.kind = Which::EVERY_NTH;
            digits.remove_prefix(6);
        } else if (text.ends_with('+')) {
            which.kind = Which::FROM;
            digits.remove_suffix(1);
        }
        if (number(digits, &which.number) && which.number != 0) return true;
        return fail(text, "\"" + std::string(text) +
                              "\" chooses no calls; 3, 3+, every, every/3, 5% and 5%/SEED would");
    }

    bool chance(std::string_view text) {
        const size_t percent = text.find('%');
        const std::string_view seed = text.substr(percent + 1);
        rule_.which.kind = Which::CHANCE;
        if (!decimal(text.substr(0, percent), &rule_.which.chance) || rule_.which.chance < 0 ||
            rule_.which.chance > 100)
            return fail(text, "a chance is a number from 0 to 100 before the %");
        rule_.which.chance /= 100;
        if (seed.empty() || (seed.starts_with('/') && number(seed.substr(1), &rule_.which.seed))) return true;
        return fail(seed, "the seed of a chance is a number behind a slash: 5%/7");
    }

    bool condition(std::string_view text) {
        const size_t equals = text.find('=');
        if (text.empty() || equals == text.npos || equals == 0)
            return fail(text, "a condition is FIELD=VALUE or FIELD!=VALUE");
        Condition condition;
        condition.differs = text[equals - 1] == '!';
        const std::string_view field = text.substr(0, condition.differs ? equals - 1 : equals);
        const std::string_view value = text.substr(equals + 1);
        if (!known(field, false) || !possible(field, value)) return false;
        condition.field = field;
        condition.value = value;
        rule_.conditions.push_back(std::move(condition));
        return true;
    }

    // The field is one of the operations; those without it are left out.
    bool known(std::string_view field, bool in_answer) {
        const OperationSet having = with_field(rule_.operations, field, in_answer);
        if (having.any()) {
            rule_.operations = having;
            return true;
        }
        const bool elsewhere = in_answer && with_field(rule_.operations, field, false).any();
        fail(field, elsewhere ? std::string(field) + " is not in the answer of " + operation_text()
                              : operation_text() + " has no field \"" + std::string(field) + "\"");
        each(rule_.operations, [&](OperationId id) {
            for (const KnownField &one : known_fields(id))
                if ((one.answers || !in_answer) && one.field->kind != PRM_FIELD_RESERVED)
                    error_.known.push_back(one.path);
        });
        return false;
    }

    // The value is one that the field can have.
    bool possible(std::string_view field, std::string_view value) {
        bool good = false;
        std::vector<std::string> words;
        each(rule_.operations, [&](OperationId id) {
            for (const KnownField &one : known_fields(id)) {
                if (good || !means(plain_path(field), one.path)) continue;
                good = encoded(*one.field, one.field->width, value).has_value();
                offer_words(*one.field, [&](std::string_view word) { words.emplace_back(word); });
            }
        });
        if (good) return true;
        fail(value, "\"" + std::string(value) + "\" is no value of " + std::string(field));
        error_.known = std::move(words);
        return false;
    }

    std::string operation_text() const {
        if (rule_.operations.count() != 1) return "none of the operations";
        std::string name;
        each(rule_.operations, [&](OperationId id) { name = row(id).name; });
        return name;
    }

    bool actions(std::string_view rest) {
        while (true) {
            const size_t comma = rest.find(',');
            if (!action(trimmed(rest.substr(0, comma)))) return false;
            if (comma == rest.npos) return true;
            rest.remove_prefix(comma + 1);
        }
    }

    bool action(std::string_view text) {
        const size_t end = text.find_first_of("= \t");
        const std::string_view name = text.substr(0, end);
        const bool has_value = end != text.npos && text[end] == '=';
        const std::string_view value = has_value ? text.substr(end + 1) : text.substr(text.size());
        if (name == "set" && !has_value) return change(trimmed(text.substr(name.size())));
        if (end != text.npos && !has_value)
            return fail(text.substr(end + 1), "a comma is expected between two things that happen");
        if (name == "status" || name == "failed") return code(name, value);
        if (name == "undone" && !has_value) return decide(name, &rule_.status, CERR_SUCCESS);
        if (name == "hang" && !has_value) {
            rule_.hangs = true;
            return true;
        }
        if (name == "short") {
            rule_.fewer = 1;
            return !has_value || (number(value, &rule_.fewer) && rule_.fewer != 0) ||
                   fail(value, "short takes how many fewer: short=2");
        }
        if (name == "delay") return delay(value);
        if (name == "die") return death(value, has_value);
        fail(text, text.empty() ? "what is to happen is missing"
                                : "\"" + std::string(name) + "\" is nothing that can happen");
        error_.word = name;
        error_.known = {"status", "failed", "undone", "short", "set", "delay", "hang", "die"};
        return false;
    }

    bool decide(std::string_view name, std::optional<prm_status_t> *where, prm_status_t code) {
        if (rule_.status || rule_.failed)
            return fail(name, "a call answers once: only one of status, failed and undone");
        *where = code;
        return true;
    }

    bool code(std::string_view name, std::string_view value) {
        u64 code = 0;
        bool known = number(value, &code) && code <= 0xFFFFFFFFu;
        for_each_code([&](u32 one, const char *called) {
            if (!known && value == called) {
                known = true;
                code = one;
            }
        });
        if (!known) {
            fail(value, value.empty() ? std::string(name) + " needs a code: its name, or a number"
                                      : "there is no code \"" + std::string(value) + "\"");
            for_each_code([&](u32, const char *called) { error_.known.emplace_back(called); });
            return false;
        }
        if (name == "failed" && code == CERR_SUCCESS)
            return fail(value, "failed needs the code of a failure");
        return decide(name, name == "status" ? &rule_.status : &rule_.failed,
                      static_cast<prm_status_t>(code));
    }

    bool delay(std::string_view value) {
        constexpr struct {
            std::string_view unit;
            double nanoseconds;
        } kUnits[] = {{"us", 1e3}, {"ms", 1e6}, {"s", 1e9}};
        constexpr double kMost = 86400e9;
        for (const auto &[unit, nanoseconds] : kUnits) {
            double count = 0;
            if (!value.ends_with(unit) || !decimal(value.substr(0, value.size() - unit.size()), &count))
                continue;
            if (count < 0 || count * nanoseconds > kMost) break;
            rule_.delay = std::chrono::nanoseconds(static_cast<int64_t>(count * nanoseconds));
            return true;
        }
        return fail(value, "delay takes a time of up to a day with its unit: 20us, 5ms, 2s");
    }

    bool death(std::string_view value, bool given) {
        rule_.signal = SIGKILL;
        if (!given) return true;
        std::string_view name = value;
        if (name.starts_with("SIG")) name.remove_prefix(3);
        u64 wanted = 0;
        const bool by_number = number(value, &wanted);
        for (const SignalName &one : kSignals) {
            if (by_number ? wanted != static_cast<u64>(one.number) : name != one.name) continue;
            rule_.signal = one.number;
            return true;
        }
        fail(value, "\"" + std::string(value) + "\" is no signal that ends a worker");
        for (const SignalName &one : kSignals) error_.known.emplace_back(one.name);
        return false;
    }

    bool change(std::string_view text) {
        Change change;
        const size_t equals = text.find('='), colon = text.find(':');
        if (equals != text.npos && equals > 0) {
            const bool flips = text[equals - 1] == '^';
            const std::string_view field = text.substr(0, flips ? equals - 1 : equals);
            const std::string_view value = text.substr(equals + 1);
            if (!known(field, true)) return false;
            change.kind = flips ? Change::FLIP : Change::SET;
            if (flips && (!number(value, &change.mask) || change.mask == 0))
                return fail(value, "a mask is a number other than 0");
            if (!flips && !possible(field, value)) return false;
            change.field = field;
            change.value = value;
        } else if (colon != text.npos) {
            change.kind = Change::BYTES;
            u64 offset = 0;
            if (!number(text.substr(0, colon), &offset) || offset > 0xFFFF)
                return fail(text.substr(0, colon), "the offset of changed bytes is a number up to 65535");
            change.offset = offset;
            const std::string_view digits = text.substr(colon + 1);
            for (size_t i = 0; i + 1 < digits.size(); i += 2) {
                u8 byte = 0;
                if (std::from_chars(&digits[i], &digits[i] + 2, byte, 16).ptr != &digits[i] + 2) break;
                change.bytes.push_back(byte);
            }
            if (digits.empty() || change.bytes.size() * 2 != digits.size())
                return fail(digits, "changed bytes are pairs of hexadecimal digits");
        } else {
            return fail(text, "set takes FIELD=VALUE, FIELD^=MASK or OFFSET:HEX");
        }
        rule_.changes.push_back(std::move(change));
        return true;
    }

    // Leaves the operations to which all of it can happen.
    bool narrowed() {
        const bool ends = rule_.hangs || rule_.signal != 0;
        if (ends && (rule_.status || rule_.failed || rule_.fewer != 0 || !rule_.changes.empty()))
            return fail(text_, "a call that hangs or dies answers nothing");
        if (rule_.hangs && rule_.signal != 0) return fail(text_, "a call cannot hang and die");
        if (rule_.status && rule_.fewer != 0)
            return fail(text_, "short needs the card, which status and undone do not ask");
        const auto keep = [&](const char *lacks, bool (*has)(OperationId)) {
            OperationSet kept;
            each(rule_.operations, [&](OperationId id) {
                if (has(id)) kept.set(static_cast<size_t>(id));
            });
            if (kept.none()) return fail(text_, operation_text() + " " + lacks);
            rule_.operations = kept;
            return true;
        };
        if ((rule_.status || rule_.failed) &&
            !keep("answers no status", [](OperationId id) { return row(id).answers_status; }))
            return false;
        if (rule_.fewer != 0 && !keep("has no count that could be short", has_count)) return false;
        return rule_.changes.empty() || keep("answers nothing but its status", [](OperationId id) {
                   const auto fields = known_fields(id);
                   return std::any_of(fields.begin(), fields.end(),
                                      [](const KnownField &field) { return field.answers; });
               });
    }

    std::string_view text_;
    Rule &rule_;
    RuleError &error_;
    bool is_pattern_ = false;
};

// The same for the same seed and call: a worker that died changes nothing.
double drawn(u64 seed, u64 call) {
    u64 bits = seed * 0x9E3779B97F4A7C15u + call;
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9u;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EBu;
    bits ^= bits >> 31;
    return static_cast<double>(bits >> 11) * 0x1p-53;
}

}  // namespace

bool Which::chooses(u64 call) const {
    switch (kind) {
        case EVERY:
            return true;
        case NTH:
            return call == number;
        case EVERY_NTH:
            return call % number == 0;
        case FROM:
            return call >= number;
        case CHANCE:
            return drawn(seed, call) < chance;
    }
    return false;
}

bool parse_rule(std::string_view text, Rule *rule, RuleError *error) {
    return Parser(text, rule, error).parse();
}

// A text for a code is no call on the card: the framework asks for them too.
bool can_be_faulted(OperationId operation) {
    return operation != OperationId::cerr_strerror;
}

std::vector<std::string> field_names(OperationId operation) {
    std::vector<std::string> names;
    for (const KnownField &known : known_fields(operation))
        if (known.field->kind != PRM_FIELD_RESERVED &&
            std::find(names.begin(), names.end(), known.path) == names.end())
            names.push_back(known.path);
    return names;
}

}  // namespace card::faults
