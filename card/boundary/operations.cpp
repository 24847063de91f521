// The exported platform operations: each passes its call on to the process's backend.
#include "card/boundary/backend.h"

extern "C" {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) \
    result name parameters {                                                    \
        return card::current_backend().name arguments;                          \
    }
#include "card/operations.def"
}
