// Compares the calls of a case, as they come, with those of its baseline, in bounded memory.
#ifndef TRACE_BASELINE_COMPARE_H
#define TRACE_BASELINE_COMPARE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "trace/baseline.h"

namespace trace {

struct BaselineDifference {
    enum class Kind : uint8_t {
        FIELD,       // a field or the result of a call
        MISSING,     // a call of the baseline
        ADDITIONAL,  // a call that the baseline does not have
        OUTCOME,     // the case's verdict or number of checks
    };
    Kind kind = Kind::FIELD;
    uint64_t call = 0;      // from 1: which of the case's calls, of a missing one which of the baseline's
    std::string operation;  // of calls
    std::string field;      // "flags", "-> index", "result"; of an outcome "verdict" or "checks"
    std::string value, baseline;
};

// "call 3: prm_srh_bd_add: flags: learn|flood, baseline learn".
std::string difference_text(const BaselineDifference &difference);

struct Differences {
    std::vector<BaselineDifference> told;  // the first ones
    uint64_t count = 0;
};

class SectionComparison {
  public:
    static constexpr size_t kTold = 20;          // differences of a section
    static constexpr size_t kKeptLines = 4'000;  // from the first difference on
    static constexpr size_t kKeptBytes = 4 << 20;

    // `shape`: values that a site chooses are left out on both sides.
    explicit SectionComparison(bool shape = false) : shape_(shape) {}

    // `expected` outlives the comparison.
    void begin(const BaselineSection &expected);
    void call(std::string_view line);
    // `outcome` as outcome_text makes it; empty of a fixture.
    Differences end(std::string_view outcome);
    // Where the calls are not all known: the outcome alone.
    Differences end_without_calls(std::string_view outcome);

  private:
    std::string_view expected(size_t i) const;
    bool same(std::string_view line, std::string_view expected) const;
    void align();
    void tell(BaselineDifference difference);
    void tell_fields(uint64_t call, std::string_view line, std::string_view expected);
    void tell_call(BaselineDifference::Kind kind, uint64_t call, std::string_view line);
    void compare_outcome(std::string_view outcome);

    const bool shape_;
    const BaselineSection *section_ = nullptr;
    size_t matched_ = 0;  // calls, before the first difference
    size_t calls_ = 0;
    std::vector<std::string> kept_;  // from then on
    size_t kept_bytes_ = 0;
    Differences differences_;
};

}  // namespace trace

#endif
