// The platform's own shared libraries as a backend, opened at run time.
#ifndef CARD_BOUNDARY_LIBRARY_H
#define CARD_BOUNDARY_LIBRARY_H

#include <string>

#include "card/boundary/backend.h"

namespace card {

// Opens the libraries at `paths`, separated by commas, for as long as the process lives, and takes every
// operation from the first of them that exports it. False, with *error set, when one cannot be opened or an
// operation is in none of them: the message names each that is missing.
bool open_libraries(const std::string &paths, Backend *backend, std::string *error);

}  // namespace card

#endif
