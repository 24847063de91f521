// Puts the simulated card behind the suite: the --card option, the site's inventory, and a card of its own
// for every worker.
#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <string_view>

#include "app/failed_calls.h"
#include "card/boundary/layers.h"
#include "card/boundary/library.h"
#include "card/codes.h"
#include "card/sim/backend.h"
#include "card/sim/card.h"
#include "kiv/observer.h"

namespace {

class CardGlue : public kiv::Observer {
  public:
    void add_options(CLI::App &app) override {
        app.add_option(
               "--card", card_,
               "What answers the platform operations: sim, the simulated\ncard, or lib:PATH,PATH..., shared "
               "libraries of a platform")
            ->group("Card")
            ->capture_default_str();
    }

    bool run_begins(kiv::RunInfo &info, std::string *error) override {
        info.card = card_;
        if (card_.starts_with(kLibrary)) {
            answering_ = &library_;
            if (card::open_libraries(card_.substr(kLibrary.size()), &library_, error)) return true;
            *error = "--card " + card_ + ": " + *error;
            return false;
        }
        if (card_ != "sim") {
            *error = "--card " + card_ + ": unknown card; known: sim, lib:PATH";
            return false;
        }
        // Without a site the card is the built-in one, which has no interfaces.
        return info.site.empty() || sim::load_inventory(info.site + "/card.toml", &inventory_, error);
    }

    // A worker begins on a fresh card, whatever the one before it left behind.
    void worker_begins(int) override {
        if (answering_ == &sim::backend()) {
            the_card_ = std::make_unique<sim::Card>(inventory_);
            sim::set_current_card(the_card_.get());
        }
        card::use_backend(&card::with_layers(*answering_));
        app::account_for_failed_calls();
    }

    // Asked behind the layers: it is no call of the suite.
    const char *status_text(uint32_t status) override {
        const bool known = answering_ != &sim::backend() || card::code_name(status) != nullptr;
        return known ? answering_->cerr_strerror(status) : nullptr;
    }

  private:
    static constexpr std::string_view kLibrary = "lib:";

    std::string card_ = "sim";
    card::Backend library_ = card::kNothingSupported;
    const card::Backend *answering_ = &sim::backend();
    sim::Inventory inventory_;
    std::unique_ptr<sim::Card> the_card_;
};

const bool subscribed = [] {
    static CardGlue glue;
    kiv::subscribe(&glue);
    return true;
}();

}  // namespace
