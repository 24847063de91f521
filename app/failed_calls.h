// Hands the calls that failed to the framework's account of them.
#ifndef APP_FAILED_CALLS_H
#define APP_FAILED_CALLS_H

#include "card/boundary/failures.h"
#include "card/codes.h"
#include "kiv/observer.h"

namespace app {

inline void account_for_failed_calls() {
    card::tell_failures([](const card::OperationRow &operation, prm_status_t status) {
        const char *const name = card::code_name(status);
        kiv::call_failed(operation.name, status, name != nullptr ? name : "");
    });
}

}  // namespace app

#endif
