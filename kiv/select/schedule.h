// What runs when: the selected cases, repeated, cut into runs of consecutive cases of one folder.
#ifndef KIV_SELECT_SCHEDULE_H
#define KIV_SELECT_SCHEDULE_H

#include <cstdint>
#include <vector>

#include "kiv/registry.h"

namespace kiv {

class Schedule {
  public:
    // Consecutive cases of one folder. Groups of different passes share no fixture.
    struct Group {
        const kiv_folder *folder;
        int pass;
        uint64_t first;  // position of its first case
        uint32_t count;
    };

    Schedule(const kiv_context &context, std::vector<uint32_t> selected, int repeat, bool shuffled,
             uint32_t seed);

    uint64_t size() const { return static_cast<uint64_t>(selected_.size()) * static_cast<uint64_t>(repeat_); }
    int repeat() const { return repeat_; }
    const kiv_context &context() const { return context_; }

    // Positions count through all passes. Cheap for a position in the pass that was asked for last.
    uint32_t case_index(uint64_t position) const;
    const Case &case_at(uint64_t position) const { return context_.cases[case_index(position)]; }

    // The group that a position lies in, cut so that it starts at the position.
    Group group_at(uint64_t position) const;

  private:
    const std::vector<uint32_t> &pass_order(int pass) const;

    const kiv_context &context_;
    std::vector<uint32_t> selected_;
    int repeat_;
    bool shuffled_;
    uint32_t seed_;
    mutable std::vector<uint32_t> order_;  // of pass order_pass_, when shuffled
    mutable int order_pass_ = -1;
};

}  // namespace kiv

#endif
