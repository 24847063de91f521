// The simulated line card: a model of the platform's tables behind the platform operations.
//
// How it is built, for whoever adds to it:
//
// - `struct Card` is the whole state; there is no other. Tests make as many as they like. The C operations
//   act on the process's current card: `CurrentCard use(card);` chooses it for a scope.
// - One resource family is one file pair FAMILY.{h,cpp}. The header holds the family's state struct (tables,
//   pools), which is a member of Card and is made from (Accounts &, const Inventory &), and the functions
//   that other families call. The source holds the operations, functions in an unnamed namespace that read:
//   validate, find, change, answer
//
//       prm_status_t add(Card &card, prm_handle_t client, prm_thing *record) {
//           if (const prm_status_t status = require(card, client, record)) return status;
//           if (record->kind > kLastKind) return CARD_ERROR_BAD_KIND;
//           if (!card.interfaces.table.hold(record->ifh)) return CARD_ERROR_UNKNOWN_INTERFACE;
//           ...
//       }
//
//   and one install_FAMILY(card::Backend &) that enters them: `backend.prm_srh_thing_add = on_card<add>;`.
// - on_card<> adds what all operations have in common: no card answers CARD_ERROR_NO_CARD, out of memory
//   CARD_ERROR_NO_MEMORY. Nothing a caller passes may crash an operation: require() refuses null records and
//   unknown clients, counts and lengths are checked before they are used.
// - Entries live in a Table (table.h), which counts on one account per resource (resources.def), refuses one
//   entry too many and refuses to remove what another entry holds. An entry that refers to another keeps its
//   key and calls hold() on the other's table; who removes or replaces an entry calls release(). One that may
//   name what does not exist yet calls hold_by_name() and release_by_name() instead.
// - Indices that the card hands out come from an IndexPool (index_pool.h), or, where entries also name
//   indices that nobody reserved, from a SharedPool (shared_pool.h).
// - Codes stand in card/codes.def, in the family's own section, with their texts.
#ifndef CARD_SIM_CARD_H
#define CARD_SIM_CARD_H

#include "card/codes.h"
#include "card/sim/accounts.h"
#include "card/sim/adjacency.h"
#include "card/sim/connection.h"
#include "card/sim/evpn.h"
#include "card/sim/index_pool.h"
#include "card/sim/interface.h"
#include "card/sim/inventory.h"
#include "card/sim/l2.h"
#include "card/sim/label.h"
#include "card/sim/load_distribution.h"
#include "card/sim/lpts.h"
#include "card/sim/route.h"
#include "card/sim/span.h"
#include "card/sim/statistics.h"
#include "card/sim/table.h"
#include "card/sim/tcam.h"
#include "card/sim/traffic_manager.h"

namespace sim {

struct Card {
    explicit Card(Inventory described = {});
    Card(const Card &) = delete;
    Card &operator=(const Card &) = delete;

    const Inventory inventory;
    Accounts accounts;

    ConnectionState connection;
    StatisticsState statistics;
    InterfaceState interfaces;
    LoadDistributionState load_distribution;
    AdjacencyState adjacency;
    LabelState label;
    RouteState route;
    LptsState lpts;
    L2State l2;
    EvpnState evpn;
    SpanState span;
    TcamState tcam;
    TrafficManagerState traffic_manager;
};

// True for the ports that the card has.
inline bool has_port(const Card &card, u32 np_port) {
    return np_port < card.inventory.ports;
}

}  // namespace sim

#endif
