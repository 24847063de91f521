// What the suite makes of a value, and whether it fits where it goes.
#ifndef KIVCTL_SITE_VALUES_H
#define KIVCTL_SITE_VALUES_H

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "kivctl/site/formats.h"
#include "kivctl/site/problem.h"

namespace kivctl {

// A text as strtoul reads it, to the first character that is no digit.
struct Number {
    bool is_number = false;  // it begins with a digit
    bool whole = false;      // and nothing follows the digits
    bool overflow = false;
    uint64_t value = 0;
};
Number read_number(std::string_view text, int base);

// 10 or 16.
int base_of(Kind kind);

class Values {
  public:
    explicit Values(Problems *problems) : problems_(problems) {}

    // What values may name; without an inventory anything.
    void set_ports(uint64_t ports) { ports_ = ports; }
    void add_handle(uint64_t handle) { handles_.insert(handle); }
    void set_uidb(uint64_t handle, uint64_t uidb) { uidbs_[handle] = uidb; }

    // Any Kind but text.
    void check(const Place &place, const Token &token, std::string_view value);
    // An interface's handle and interface-database index, of one line.
    void check_uidb(const Place &place, std::string_view handle, std::string_view uidb);

  private:
    Problems *problems_;
    std::optional<uint64_t> ports_;  // none: no inventory
    std::set<uint64_t> handles_;
    std::map<uint64_t, uint64_t> uidbs_;  // of handles, where the inventory says it
};

}  // namespace kivctl

#endif
