// Which faults a sweep tries: from the calls of a good run.
#include <fnmatch.h>

#include <algorithm>
#include <map>
#include <set>

#include "kivctl/sweep.h"

namespace kivctl::sweep {
namespace {

// A code that no operation answers by itself.
constexpr const char *kCode = "0x5ca0f200";

std::string plain(const std::string &path) {
    std::string text;
    bool inside = false;
    for (const char one : path) {
        if (one == '[') inside = true;
        if (!inside) text += one;
        if (one == ']') inside = false;
    }
    return text;
}

std::string rule(const std::string &operation, uint64_t call, const std::string &what) {
    return operation + "@" + std::to_string(call) + ": " + what;
}

// What the fault is as the end of a rule; empty where the call cannot have it.
std::string written(Fault fault, const Call &call) {
    const std::string code = kCode;
    switch (fault) {
        case Fault::REFUSED:
            return call.answers_status ? "status=" + code : "";
        case Fault::FAILED:
            return call.answers_status && call.good ? "failed=" + code : "";
        case Fault::UNDONE:
            return call.answers_status ? "undone" : "";
        case Fault::SHORT:
            return call.asked > 1 && call.good ? "short" : "";
        case Fault::DIES:
            return "die";
        case Fault::HANGS:
            return "hang";
        case Fault::DELAYED:
            return "delay=1ms";
        case Fault::CHANGED:
            break;  // one for each field
    }
    return "";
}

// Keeps `count` of the list, the first and the last among them.
void thin(std::vector<Attempt> *list, size_t count) {
    if (count == 0 || list->size() <= count) return;
    std::vector<Attempt> kept;
    for (size_t i = 0; i < count; ++i)
        kept.push_back((*list)[count == 1 ? 0 : i * (list->size() - 1) / (count - 1)]);
    *list = std::move(kept);
}

}  // namespace

const FaultRow &row_of(Fault fault) {
    return kFaults[static_cast<size_t>(fault)];
}

std::vector<Attempt> attempts_on(const std::vector<Call> &calls, const std::vector<Fault> &faults,
                                 const std::string &operations, size_t sample) {
    // By operation in the order of their first calls, then by fault and field.
    std::vector<std::string> order;
    std::map<std::string, std::map<std::pair<Fault, std::string>, std::vector<Attempt>>> found;
    std::map<std::string, uint64_t> asking_for_several;  // short counts those alone
    for (const Call &call : calls) {
        if (!operations.empty() && fnmatch(operations.c_str(), call.operation.c_str(), 0) != 0) continue;
        if (!found.contains(call.operation)) order.push_back(call.operation);
        auto &of_operation = found[call.operation];
        const uint64_t short_number = call.asked > 1 ? ++asking_for_several[call.operation] : 0;
        for (const Fault fault : faults) {
            Attempt attempt{call.operation, call.place, "", fault, "", Way::NOTHING, false};
            if (fault == Fault::CHANGED && call.good) {
                std::set<std::string> seen;
                for (const std::string &path : call.answer) {
                    attempt.field = plain(path);
                    if (!seen.insert(attempt.field).second) continue;
                    attempt.rule = rule(call.operation, call.number, "set " + path + "^=1");
                    of_operation[{fault, attempt.field}].push_back(attempt);
                }
            } else if (const std::string what = written(fault, call); !what.empty()) {
                attempt.rule = rule(call.operation, fault == Fault::SHORT ? short_number : call.number, what);
                of_operation[{fault, ""}].push_back(attempt);
            }
        }
    }
    std::vector<Attempt> attempts;
    for (const std::string &operation : order) {
        for (auto &[fault, list] : found[operation]) {
            thin(&list, sample);
            attempts.insert(attempts.end(), list.begin(), list.end());
        }
    }
    return attempts;
}

}  // namespace kivctl::sweep
