// The simulated card dressed as a platform's shared library: it makes its own card when it is loaded, from
// the inventory that SIM_PLATFORM_CARD names.
#include <cstdlib>
#include <memory>
#include <string>

#include "card/sim/backend.h"
#include "card/sim/card.h"
#include "card/sim/inventory.h"

namespace {

[[gnu::constructor]] void load() {
    static sim::Inventory inventory;
    const char *const path = std::getenv("SIM_PLATFORM_CARD");
    std::string error;
    if (path != nullptr && !sim::load_inventory(path, &inventory, &error)) std::abort();
    static sim::Card card(inventory);
    sim::set_current_card(&card);
    card::use_backend(&sim::backend());
}

}  // namespace
