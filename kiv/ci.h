// Whether a program runs where nobody looks at what it says: under continuous integration.
#ifndef KIV_CI_H
#define KIV_CI_H

namespace kiv {

// By the variable CI: set, and neither empty nor "false" nor "0". What is only told elsewhere counts there.
bool in_ci();

}  // namespace kiv

#endif
