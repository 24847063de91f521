// What the card's benchmarks measure on: a card with a client, the heap in use, numbers without order.
#ifndef BENCH_CARD_CLIENT_ON_CARD_H
#define BENCH_CARD_CLIENT_ON_CARD_H

#include <malloc.h>

#include "card/sim/backend.h"
#include "card/sim/card.h"

namespace bench {

inline void ignore_notification() {}

// A card and a client on it.
class ClientOnCard {
  public:
    explicit ClientOnCard(const sim::Inventory &inventory) : card(inventory), use_(card) {
        void *const evm = event_manager_create(0, 0, 14, 0);
        prm_handle_t connection;
        prm_mgr_open(evm, 0, "bench", ignore_notification, 7, 0, &connection);
        prm_srh_register(&client, 1, evm, ignore_notification);
    }

    sim::Card card;
    prm_handle_t client = nullptr;

  private:
    sim::CurrentCard use_;
};

inline size_t heap_bytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Spreads consecutive numbers over all 32 bits; no two collide.
inline u32 spread(u32 i) {
    return i * 2654435761u;
}

}  // namespace bench

#endif
