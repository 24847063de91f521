// Tells which failed calls of a case nothing in the case accounts for.
#include "kiv/supervise/call_account.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>

namespace kiv {

namespace {

constexpr uint32_t kTelling = 0x10000;  // from here on a number in a text is no coincidence
constexpr size_t kLongestNumber = 12;   // "0xa8b89200", "-1464298496"
constexpr size_t kOpenEnd = 64;         // what may belong to a number: the word before it, and its begin

bool is_word(char c) {
    return isalnum(static_cast<unsigned char>(c)) || c == '_';
}

// "rc = ", "Error ", "error :", "rc is ": whether what stands right before a number calls it a code.
bool calls_it_a_code(std::string_view before) {
    static constexpr std::string_view kWords[] = {"rc", "ret", "err", "error", "errno", "status", "code"};
    for (bool is_seen = false;; is_seen = true) {
        while (!before.empty() && !is_word(before.back()) && before.back() != '\n') before.remove_suffix(1);
        size_t begin = before.size();
        while (begin > 0 && is_word(before[begin - 1])) --begin;
        std::string word(before.substr(begin));
        std::transform(word.begin(), word.end(), word.begin(),
                       [](unsigned char c) { return static_cast<char>(tolower(c)); });
        if (word != "is" || is_seen)
            return std::find(std::begin(kWords), std::end(kWords), word) != std::end(kWords);
        before.remove_suffix(word.size());
    }
}

// The values that a word may stand for: up to two, since %x prints digits that look decimal.
struct Values {
    std::array<uint64_t, 2> value{};
    size_t count = 0;

    void add(std::string_view digits, unsigned base) {
        uint64_t sum = 0;
        for (const char c : digits) {
            const unsigned char digit = static_cast<unsigned char>(c);
            if (!(base == 10 ? isdigit(digit) : isxdigit(digit))) return;
            sum =
                sum * base + static_cast<unsigned>(isdigit(digit) ? digit - '0' : tolower(digit) - 'a' + 10);
        }
        if (!digits.empty()) value[count++] = sum;
    }
    bool has(uint32_t code) const {
        return std::find(value.begin(), value.begin() + count, code) < value.begin() + count;
    }
};

Values values_of(std::string_view word, bool negative) {
    Values values;
    if (word.size() > kLongestNumber) return values;
    if (word.starts_with("0x") || word.starts_with("0X")) {
        values.add(word.substr(2), 16);
        return values;
    }
    values.add(word, 10);
    if (negative && values.count > 0)
        values.value[0] = static_cast<uint32_t>(-static_cast<int64_t>(values.value[0]));
    values.add(word, 16);
    return values;
}

// Calls shows(values, named) for every word of a text that may be a number.
template <typename Shows>
void for_each_number(std::string_view text, const Shows &shows) {
    for (size_t at = 0; at < text.size();) {
        if (!is_word(text[at])) {
            ++at;
            continue;
        }
        size_t end = at;
        while (end < text.size() && is_word(text[end])) ++end;
        if (isxdigit(static_cast<unsigned char>(text[at]))) {
            const Values values = values_of(text.substr(at, end - at), at > 0 && text[at - 1] == '-');
            if (values.count > 0) shows(values, text.substr(0, at));
        }
        at = end;
    }
}

bool is_code(const Values &values, std::string_view before, uint32_t code) {
    return values.has(code) && (code >= kTelling || calls_it_a_code(before));
}

}  // namespace

bool shows_code(std::string_view text, uint32_t code) {
    bool shown = false;
    for_each_number(text, [&](const Values &values, std::string_view before) {
        shown = shown || is_code(values, before, code);
    });
    return shown;
}

void CallAccount::restart() {
    failures_.count = 0;
    if (!failures_.unnoticed.empty()) failures_.unnoticed.clear();
}

void CallAccount::failed(const FailedCall &call) {
    ++failures_.count;
    open_end_.clear();  // what was printed before it says nothing of it
    std::vector<FailedCalls> &kinds = failures_.unnoticed;
    for (FailedCalls &kind : kinds) {
        const bool same = kind.code == call.code && kind.operation == call.operation;
        if (!same && !kind.operation.empty()) continue;
        ++kind.count;
        return;
    }
    FailedCalls kind;
    kind.count = 1;
    if (kinds.size() < kKinds) {
        kind.operation = call.operation.empty() ? "a call" : call.operation;
        kind.code = call.code;
        kind.code_name = call.code_name;
        kind.code_text = call.code_text;
    }
    kinds.push_back(std::move(kind));
}

void CallAccount::checked(uint32_t status) {
    std::erase_if(failures_.unnoticed,
                  [&](const FailedCalls &calls) { return !calls.operation.empty() && calls.code == status; });
}

void CallAccount::text(std::string_view text) {
    if (!is_open()) return;
    const auto look_at = [this](std::string_view all) {
        for_each_number(all, [&](const Values &values, std::string_view before) {
            std::erase_if(failures_.unnoticed, [&](const FailedCalls &calls) {
                return !calls.operation.empty() && is_code(values, before, calls.code);
            });
        });
    };
    if (open_end_.empty()) {
        look_at(text);
        open_end_ = text.substr(text.size() - std::min(text.size(), kOpenEnd));
        return;
    }
    open_end_ += text;
    look_at(open_end_);
    if (open_end_.size() > kOpenEnd) open_end_.erase(0, open_end_.size() - kOpenEnd);
}

}  // namespace kiv
