// What a sweep is made of: the faults that it tries, one in each run, and what the suite made of them.
#ifndef KIVCTL_SWEEP_H
#define KIVCTL_SWEEP_H

#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

namespace kivctl::sweep {

// The faults that a call can have.
enum class Fault : uint8_t { REFUSED, FAILED, UNDONE, SHORT, CHANGED, DIES, HANGS, DELAYED };
struct FaultRow {
    Fault fault;
    const char *name;
    const char *meaning;
    bool tried;  // unless others are asked for
};
inline constexpr FaultRow kFaults[] = {
    {Fault::REFUSED, "refused", "the call is not done and answers a failure", true},
    {Fault::FAILED, "failed", "the call is done and answers a failure", true},
    {Fault::UNDONE, "undone", "the call is not done and answers success", true},
    {Fault::SHORT, "short", "one fewer than asked is done, where more than one is asked", true},
    {Fault::CHANGED, "changed", "a field of the answer has its lowest bit turned over", true},
    {Fault::DIES, "dies", "the worker dies in the call", false},
    {Fault::HANGS, "hangs", "the call does not return", false},
    {Fault::DELAYED, "delayed", "the call takes a millisecond longer", false},
};
const FaultRow &row_of(Fault fault);

// How a run can tell of a fault, strongest first: each run counts once, by the first.
enum class Way : uint8_t { CHECK, LINE, CALLS, ENDED, BASELINE, NOTHING };
inline constexpr const char *kWays[] = {"check", "line", "calls", "ended", "baseline", "nothing"};
inline constexpr size_t kWayCount = std::size(kWays);

// A call that a good run of the suite makes.
struct Call {
    std::string operation, place;
    uint64_t number = 0;  // of the operation, from 1
    uint64_t asked = 0;
    bool answers_status = false, good = true;
    std::vector<std::string> answer;  // fields
};

// One run of the sweep.
struct Attempt {
    std::string operation, place, rule;
    Fault fault{};
    std::string field;  // of CHANGED, without indices
    Way way = Way::NOTHING;
    bool counts = false;  // the run took place, and the rule fired in it
};

struct Program {
    std::string path, site;
    std::vector<std::string> selectors;
    double limit = 60;  // seconds, for a run
};

// Runs the program once, without a fault. False, with *error set: it cannot be swept.
bool read_calls(const Program &program, const std::string &directory, std::vector<Call> *calls,
                std::string *error);

// The runs to make of those calls: `sample` calls at most of each operation and fault (0: all), spread over
// them.
std::vector<Attempt> attempts_on(const std::vector<Call> &calls, const std::vector<Fault> &faults,
                                 const std::string &operations, size_t sample);

// Makes the run in a directory of its own, which it may find used. False, with *error set, when it told
// nothing that can be read.
bool make(const Program &program, const std::string &directory, Attempt *attempt, std::string *error);

std::string as_table(const std::vector<Attempt> &attempts);
std::string as_json(const std::vector<Attempt> &attempts);

}  // namespace kivctl::sweep

#endif
