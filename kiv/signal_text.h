// What a signal is called, the same wherever a run speaks of one.
#ifndef KIV_SIGNAL_TEXT_H
#define KIV_SIGNAL_TEXT_H

#include <string>

namespace kiv {

// "SIGSEGV"; "signal 40" for one without a name.
std::string signal_name(int signal);

// "SIGSEGV (Segmentation fault)".
std::string signal_text(int signal);

}  // namespace kiv

#endif
