// The simulated card as a backend of the platform operations.
#ifndef CARD_SIM_BACKEND_H
#define CARD_SIM_BACKEND_H

#include <new>
#include <type_traits>

#include "card/boundary/backend.h"
#include "card/sim/card.h"

namespace sim {

// Answers every operation from the current card.
const card::Backend &backend();

// The card that operations act on, or null.
Card *current_card();
void set_current_card(Card *card);

// Makes a card the current one, and the simulated card the backend, for a scope.
class CurrentCard {
  public:
    explicit CurrentCard(Card &card);
    ~CurrentCard();
    CurrentCard(const CurrentCard &) = delete;
    CurrentCard &operator=(const CurrentCard &) = delete;

  private:
    Card *card_before_;
    const card::Backend &backend_before_;
};

template <auto Operation>
struct OnCard;

template <typename Result, typename... Arguments, Result (*Operation)(Card &, Arguments...)>
struct OnCard<Operation> {
    static Result call(Arguments... arguments) {
        try {
            Card *const card = current_card();
            if (card == nullptr) return failed(CARD_ERROR_NO_CARD);
            return Operation(*card, arguments...);
        } catch (const std::bad_alloc &) {
            return failed(CARD_ERROR_NO_MEMORY);
        }
    }

    static Result failed([[maybe_unused]] prm_status_t status) {
        if constexpr (std::is_same_v<Result, prm_status_t>) {
            return status;
        } else if constexpr (!std::is_void_v<Result>) {
            return Result{};
        }
    }
};

// A family's function as an entry of the backend: `backend.name = on_card<function>;`.
template <auto Operation>
inline constexpr auto on_card = &OnCard<Operation>::call;

// What an operation answers that a condition alone decides.
constexpr prm_status_t success_if(bool condition, prm_status_t otherwise) {
    return condition ? prm_status_t{CERR_SUCCESS} : otherwise;
}

// The check that begins every operation with a client's handle and a record.
template <typename Record>
prm_status_t require(const Card &card, prm_handle_t client, const Record *record) {
    if (!card.connection.is_client(client)) return CARD_ERROR_BAD_HANDLE;
    return success_if(record != nullptr, CARD_ERROR_NULL_POINTER);
}

// The same for operations that are also called without a client, with handle 0.
template <typename Record>
prm_status_t require_or_none(const Card &card, prm_handle_t client, const Record *record) {
    if (client != nullptr) return require(card, client, record);
    return success_if(record != nullptr, CARD_ERROR_NULL_POINTER);
}

// Each family enters its operations.
void install_connection(card::Backend &backend);
void install_statistics(card::Backend &backend);
void install_interface(card::Backend &backend);
void install_load_distribution(card::Backend &backend);
void install_adjacency(card::Backend &backend);
void install_label(card::Backend &backend);
void install_route(card::Backend &backend);
void install_lpts(card::Backend &backend);
void install_l2(card::Backend &backend);
void install_evpn(card::Backend &backend);
void install_span(card::Backend &backend);
void install_tcam(card::Backend &backend);
void install_traffic_manager(card::Backend &backend);
void install_platform(card::Backend &backend);

}  // namespace sim

#endif
