// Aligns calls: see aligned.h.
#include "kivctl/trace/aligned.h"

#include <algorithm>

#include "kivctl/trace/trace_file.h"

namespace kivctl {
namespace {

bool is_word(char c) {
    return (c >= 'a' && c <= 'z') || c == '_';
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Shows each name of something handed out, "kind#3", with the place behind "@" if it has one, and the "+1"
// between them; and what lies between names.
template <class Between, class Name>
void for_each_name(std::string_view text, const Between &between, const Name &name) {
    size_t shown = 0;
    for (size_t at = text.find('#'); at != text.npos; at = text.find('#', at + 1)) {
        size_t begin = at, end = at + 1;
        while (begin > shown && is_word(text[begin - 1])) --begin;
        while (end < text.size() && is_digit(text[end])) ++end;
        if (begin == at || end == at + 1) continue;
        const size_t number_end = end;
        if (end + 1 < text.size() && text[end] == '+' && is_digit(text[end + 1])) {
            ++end;
            while (end < text.size() && is_digit(text[end])) ++end;
        }
        const size_t offset_end = end;
        if (end < text.size() && text[end] == '@')
            end = std::min(text.find_first_of("|, })=", end), text.size());
        between(text.substr(shown, begin - shown));
        name(text.substr(begin, number_end - begin), text.substr(number_end, offset_end - number_end),
             text.substr(offset_end, end - offset_end));
        shown = end;
        at = end - 1;
    }
    between(text.substr(shown));
}

// Of "ldi#2+1@set-up" what was handed out: "ldi#2@set-up".
std::string handed_out(std::string_view text) {
    std::string name;
    for_each_name(
        text, [](std::string_view) {},
        [&](std::string_view base, std::string_view, std::string_view place) {
            name = base;
            name += place;
        });
    return name;
}

constexpr size_t kSame = 0, kChanged = 3, kAlone = 2;

}  // namespace

KeptCall keep_call(TraceFile &file, std::string line) {
    KeptCall kept;
    const trace::Call &call = file.call();
    kept.sequence = call.sequence;
    kept.operation = call.operation->row.name;
    kept.shape = without_handle_numbers(line);
    kept.line = std::move(line);
    trace::for_each_field(
        call, file.names(),
        [&](const trace::Field &field) {
            kept.fields.push_back({std::string(field.path), std::string(field.text), field.answered});
        },
        file.text());
    kept.fields.push_back({"returns", result_text(call, file.names(), file.schema()), true});
    return kept;
}

bool is_handle_name(std::string_view text) {
    size_t names = 0, other = 0;
    for_each_name(
        text, [&](std::string_view between) { other += between.size(); },
        [&](std::string_view, std::string_view, std::string_view) { ++names; });
    return names == 1 && other == 0;
}

std::string without_handle_numbers(std::string_view text) {
    std::string plain;
    for_each_name(
        text, [&](std::string_view between) { plain += between; },
        [&](std::string_view base, std::string_view, std::string_view) {
            plain += base.substr(0, base.find('#') + 1);
        });
    return plain;
}

void HandleMap::enter(std::string_view place) {
    place_ = "@";
    place_ += place;
    absl::erase_if(names_, [&](const auto &name) { return name.first.ends_with(place_); });
}

std::string HandleMap::qualified(std::string_view name) const {
    std::string whole(name);
    if (name.find('@') == name.npos) whole += place_;
    return whole;
}

void HandleMap::match(std::string_view before, std::string_view after) {
    const std::string first = handed_out(before), second = handed_out(after);
    if (first == second)
        names_.erase(qualified(second));
    else
        names_[qualified(second)] = qualified(first);
}

void HandleMap::alone(std::string_view after) {
    const std::string name = handed_out(after);
    names_[qualified(name)] = "added " + name;
}

std::string HandleMap::translated(std::string_view text) const {
    if (names_.empty()) return std::string(text);
    std::string out;
    for_each_name(
        text, [&](std::string_view between) { out += between; },
        [&](std::string_view base, std::string_view offset, std::string_view place) {
            const auto found = names_.find(qualified(std::string(base).append(place)));
            if (found == names_.end()) {
                out.append(base).append(offset).append(place);
                return;
            }
            const std::string_view name = found->second;
            const size_t at = std::min(name.find('@'), name.size());
            out.append(name.substr(0, at)).append(offset);
            if (name.substr(at) != place_) out.append(name.substr(at));
        });
    return out;
}

std::vector<FieldChange> changes_between(const KeptCall &before, const KeptCall &after, HandleMap *handles) {
    std::vector<FieldChange> changes;
    const auto say = [&](const KeptCall::Field &field, const std::string &was, const std::string &is) {
        changes.push_back(
            {field.answered && field.path != "returns" ? field.path + " (answer)" : field.path, was, is});
    };
    const auto is_same_field = [](const KeptCall::Field &one, const KeptCall::Field &other) {
        return one.path == other.path && one.answered == other.answered;
    };
    static const std::string kNone = "none";
    size_t at = 0;
    for (const KeptCall::Field &now : after.fields) {
        const auto same =
            std::find_if(before.fields.begin() + static_cast<ptrdiff_t>(at), before.fields.end(),
                         [&](const KeptCall::Field &one) { return is_same_field(one, now); });
        if (same == before.fields.end()) {
            say(now, kNone, now.text);
            if (now.answered && is_handle_name(now.text)) handles->alone(now.text);
            continue;
        }
        for (const auto found = static_cast<size_t>(same - before.fields.begin()); at < found; ++at)
            say(before.fields[at], before.fields[at].text, kNone);
        ++at;
        const std::string is = handles->translated(now.text);
        if (is == same->text) continue;
        // What both were handed in the same call is each other's counterpart.
        if (now.answered && is_handle_name(now.text) && is_handle_name(same->text) &&
            without_handle_numbers(now.text) == without_handle_numbers(same->text))
            handles->match(same->text, now.text);
        else
            say(now, same->text, now.text);
    }
    for (; at < before.fields.size(); ++at) say(before.fields[at], before.fields[at].text, kNone);
    return changes;
}

std::vector<Step> next_steps(const std::deque<KeptCall> &before, const std::deque<KeptCall> &after) {
    if (before.empty()) return std::vector<Step>(after.size(), Step::after_alone);
    if (after.empty()) return std::vector<Step>(before.size(), Step::before_alone);
    if (before[0].shape == after[0].shape) return {Step::both};
    // The least cost of the calls from i and j on; what follows them is not known, so an end costs nothing
    // on the side that still has calls.
    const size_t rows = before.size(), columns = after.size();
    std::vector<size_t> cost((rows + 1) * (columns + 1));
    const auto at = [&](size_t i, size_t j) -> size_t & { return cost[i * (columns + 1) + j]; };
    const auto pair_cost = [&](size_t i, size_t j) {
        if (before[i].shape == after[j].shape) return kSame;
        return before[i].operation == after[j].operation ? kChanged : 2 * kAlone + 1;
    };
    for (size_t i = rows + 1; i-- > 0;) {
        for (size_t j = columns + 1; j-- > 0;) {
            if (i == rows || j == columns) {
                at(i, j) = (rows - i + columns - j) * kAlone;
                continue;
            }
            at(i, j) =
                std::min({at(i + 1, j + 1) + pair_cost(i, j), at(i + 1, j) + kAlone, at(i, j + 1) + kAlone});
        }
    }
    std::vector<Step> steps;
    size_t i = 0, j = 0;
    while (i < rows && j < columns) {
        if (at(i, j) == at(i + 1, j + 1) + pair_cost(i, j)) {
            steps.push_back(Step::both);
            if (before[i++].shape == after[j++].shape) return steps;
        } else if (at(i, j) == at(i + 1, j) + kAlone) {
            steps.push_back(Step::before_alone);
            ++i;
        } else {
            steps.push_back(Step::after_alone);
            ++j;
        }
    }
    steps.insert(steps.end(), rows - i, Step::before_alone);
    steps.insert(steps.end(), columns - j, Step::after_alone);
    return steps;
}

}  // namespace kivctl
