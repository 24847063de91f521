// Whether a program runs under continuous integration.
#include "kiv/ci.h"

#include <cstdlib>
#include <string_view>

namespace kiv {

bool in_ci() {
    const char *const value = getenv("CI");
    const std::string_view text = value != nullptr ? value : "";
    return !text.empty() && text != "false" && text != "0";
}

}  // namespace kiv
