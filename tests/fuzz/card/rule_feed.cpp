// Arbitrary text as a fault rule.
#include "tests/fuzz/card/rule_feed.h"

#include <cstdlib>
#include <string_view>

#include "card/faults/rule.h"

void feed_rule(const uint8_t *data, size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    card::faults::Rule rule;
    card::faults::RuleError error;
    if (card::faults::parse_rule(text, &rule, &error)) {
        if (rule.operations.none()) abort();
    } else if (error.what.empty() || error.column < 1 || error.column > size + 1) {
        abort();
    }
}
