// Puts the simulated card behind the suite: the --card option, the site's inventory, and a card of its own
// for every worker.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "card/boundary/failures.h"
#include "card/boundary/layers.h"
#include "card/codes.h"
#include "card/sim/backend.h"
#include "card/sim/card.h"
#include "kiv/observer.h"

namespace {

class CardGlue : public kiv::Observer {
  public:
    void add_options(CLI::App &app) override {
        app.add_option("--card", card_, "What answers the platform operations: sim, the simulated card")
            ->group("Card")
            ->capture_default_str();
    }

    bool run_begins(kiv::RunInfo &info, std::string *error) override {
        if (card_ != "sim") {
            *error = "--card " + card_ + ": unknown card; known: sim";
            return false;
        }
        info.card = card_;
        // Without a site the card is the built-in one, which has no interfaces.
        return info.site.empty() || sim::load_inventory(info.site + "/card.toml", &inventory_, error);
    }

    // A worker begins on a fresh card, whatever the one before it left behind.
    void worker_begins(int) override {
        the_card_ = std::make_unique<sim::Card>(inventory_);
        sim::set_current_card(the_card_.get());
        card::use_backend(&card::with_layers(sim::backend()));
        card::tell_failures([](const card::OperationRow &operation, prm_status_t status) {
            const char *const name = card::code_name(status);
            kiv::call_failed(operation.name, status, name != nullptr ? name : "");
        });
    }

    const char *status_text(uint32_t status) override {
        return card::code_name(status) != nullptr ? sim::backend().cerr_strerror(status) : nullptr;
    }

  private:
    std::string card_ = "sim";
    sim::Inventory inventory_;
    std::unique_ptr<sim::Card> the_card_;
};

const bool subscribed = [] {
    static CardGlue glue;
    kiv::subscribe(&glue);
    return true;
}();

}  // namespace
