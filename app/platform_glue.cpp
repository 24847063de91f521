// On a card image: puts the layers between the suite and the platform's libraries. The linker sends the
// suite's calls to __wrap_NAME, which operations.cpp exports here, and __real_NAME to the libraries.
#include "app/failed_calls.h"
#include "card/boundary/backend.h"
#include "card/boundary/layers.h"
#include "kiv/observer.h"

extern "C" {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) \
    result __real_##name parameters;  // NOLINT(bugprone-reserved-identifier): the linker's name
#include "card/operations.def"
}

namespace {

const card::Backend kPlatform = {
#define OPERATION(family, result, name, parameters, arguments, directions, ...) .name = &__real_##name,
#include "card/operations.def"
};

class PlatformGlue : public kiv::Observer {
  public:
    void worker_begins(int) override {
        card::use_backend(&card::with_layers(kPlatform));
        app::account_for_failed_calls();
    }

    const char *status_text(uint32_t status) override { return __real_cerr_strerror(status); }
};

const bool subscribed = [] {
    card::use_backend(&kPlatform);
    static PlatformGlue glue;
    kiv::subscribe(&glue);
    return true;
}();

}  // namespace
