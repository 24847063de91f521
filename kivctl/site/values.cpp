// What the suite makes of a value, and whether it fits where it goes.
#include "kivctl/site/values.h"

namespace kivctl {
namespace {

constexpr uint64_t kLastVlan = 4094;

// A large number for what is none.
int digit_of(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 99;
}

}  // namespace

int base_of(Kind kind) {
    return kind == Kind::decimal || kind == Kind::port || kind == Kind::vlan ? 10 : 16;
}

Number read_number(std::string_view text, int base) {
    Number number;
    if (base == 16 && (text.starts_with("0x") || text.starts_with("0X"))) text.remove_prefix(2);
    for (const char c : text) {
        const int digit = digit_of(c);
        if (digit >= base) return number;
        number.is_number = true;
        if (number.value >> 58 != 0) number.overflow = true;
        number.value = number.value * static_cast<uint64_t>(base) + static_cast<uint64_t>(digit);
    }
    number.whole = number.is_number;
    return number;
}

void Values::check(const Place &place, const Token &token, std::string_view value) {
    const int base = base_of(token.kind);
    const Number number = read_number(value, base);
    const char *const words = base == 10 ? " is not a decimal number" : " is not a hexadecimal number";
    const auto problem = [&](std::string text) {
        problems_->add(place, std::string(token.name), std::move(text));
    };
    if (value.find_first_of(" \t") != std::string_view::npos)
        return problem(join(quoted(value), " has a blank in it: the reader takes it as part of the value"));
    if (base == 10 && (value.starts_with("0x") || value.starts_with("0X")))
        return problem(join(value, " is hexadecimal where a decimal number belongs, and is read as 0"));
    if (!number.is_number) return problem(join(quoted(value), words, " and is read as 0"));
    if (!number.whole)
        return problem(join(quoted(value), words, ": it is read up to the first other character"));
    if (number.overflow) return problem(join(value, " is too large for ", token.bits, " bits"));
    if (number.value >> token.bits != 0) {
        const uint64_t rest = number.value & ((uint64_t{1} << token.bits) - 1);
        return problem(join(value, " does not fit ", token.bits, token.bits == 1 ? " bit" : " bits",
                            ": it is cut to ", base == 10 ? std::to_string(rest) : hexadecimal(rest)));
    }
    if (token.kind == Kind::vlan && number.value > kLastVlan)
        return problem(join(value, " is no VLAN: 0 (none) to ", kLastVlan, " are"));
    if (!ports_) return;
    if (token.kind == Kind::port && number.value >= *ports_)
        problem(join(value, " is no port of the card: it has 0 to ", *ports_ - 1));
    if (token.kind == Kind::existing_handle && !handles_.contains(number.value))
        problem(join("0x", hexadecimal(number.value),
                     " is neither in the inventory (card.toml) nor made by a case"));
}

void Values::check_uidb(const Place &place, std::string_view handle, std::string_view uidb) {
    const Number handle_number = read_number(handle, 16), number = read_number(uidb, 10);
    const auto found = uidbs_.find(handle_number.value);
    if (!handle_number.whole || !number.whole || found == uidbs_.end() || found->second == number.value)
        return;
    problems_->add(place, "UIDB",
                   join(number.value, " does not belong to 0x", hexadecimal(handle_number.value),
                        ", whose uidb is ", found->second, " in the inventory (card.toml)"));
}

}  // namespace kivctl
