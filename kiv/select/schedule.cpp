// What runs when.
#include "kiv/select/schedule.h"

#include "kiv/select/selection.h"

namespace kiv {

Schedule::Schedule(const kiv_context &context, std::vector<uint32_t> selected, int repeat, bool shuffled,
                   uint32_t seed)
    : context_(context), selected_(std::move(selected)), repeat_(repeat), shuffled_(shuffled), seed_(seed) {}

const std::vector<uint32_t> &Schedule::pass_order(int pass) const {
    if (!shuffled_) return selected_;
    if (order_pass_ != pass) {
        order_ = selected_;
        shuffle_cases(context_, seed_ + static_cast<uint32_t>(pass), &order_);
        order_pass_ = pass;
    }
    return order_;
}

uint32_t Schedule::case_index(uint64_t position) const {
    const std::vector<uint32_t> &order = pass_order(static_cast<int>(position / selected_.size()));
    return order[position % selected_.size()];
}

Schedule::Group Schedule::group_at(uint64_t position) const {
    const int pass = static_cast<int>(position / selected_.size());
    const std::vector<uint32_t> &order = pass_order(pass);
    const size_t begin = position % selected_.size();
    const kiv_folder *folder = context_.cases[order[begin]].folder;
    size_t end = begin + 1;
    while (end < order.size() && context_.cases[order[end]].folder == folder) ++end;
    return {folder, pass, position, static_cast<uint32_t>(end - begin)};
}

}  // namespace kiv
