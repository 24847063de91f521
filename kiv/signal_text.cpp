// What a signal is called.
#include "kiv/signal_text.h"

#include <cstring>

namespace kiv {

std::string signal_name(int signal) {
    const char *name = sigabbrev_np(signal);
    return name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(signal);
}

std::string signal_text(int signal) {
    const char *what = sigdescr_np(signal);
    return signal_name(signal) + (what != nullptr ? std::string(" (") + what + ")" : "");
}

}  // namespace kiv
