// The card as a whole, and the choice of the process's current card.
#include "card/sim/card.h"

#include "card/sim/backend.h"

namespace sim {
namespace {

Card *current = nullptr;

card::Backend installed() {
    card::Backend backend = card::kNothingSupported;
    install_connection(backend);
    install_statistics(backend);
    install_interface(backend);
    install_load_distribution(backend);
    install_adjacency(backend);
    install_label(backend);
    install_route(backend);
    install_lpts(backend);
    install_l2(backend);
    install_evpn(backend);
    install_span(backend);
    install_tcam(backend);
    install_traffic_manager(backend);
    install_platform(backend);
    return backend;
}

}  // namespace

Card::Card(Inventory described)
    : inventory(std::move(described)),
      accounts(inventory.limits),
      connection(accounts, inventory),
      statistics(accounts, inventory),
      interfaces(accounts, inventory),
      load_distribution(accounts, inventory),
      adjacency(accounts, inventory),
      label(accounts, inventory),
      route(accounts, inventory),
      lpts(accounts, inventory),
      l2(accounts, inventory),
      evpn(accounts, inventory),
      span(accounts, inventory),
      tcam(accounts, inventory, traffic_manager),
      traffic_manager(accounts, inventory) {}

Card *current_card() {
    return current;
}

void set_current_card(Card *card) {
    current = card;
}

const card::Backend &backend() {
    static const card::Backend the_backend = installed();
    return the_backend;
}

CurrentCard::CurrentCard(Card &card) : card_before_(current), backend_before_(card::current_backend()) {
    current = &card;
    card::use_backend(&backend());
}

CurrentCard::~CurrentCard() {
    current = card_before_;
    card::use_backend(&backend_before_);
}

}  // namespace sim
