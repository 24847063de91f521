// Event managers, connections to the resource manager and their clients on the simulated card.
#ifndef CARD_SIM_CONNECTION_H
#define CARD_SIM_CONNECTION_H

#include <cstdint>
#include <string>

#include "card/sim/inventory.h"
#include "card/sim/table.h"

namespace sim {

// Handles are numbers in a pointer's clothes, never reused, so that a stale one is always refused.
struct ConnectionState {
    struct EventManager {};
    struct Connection {
        uintptr_t event_manager;
        std::string name;
    };
    struct Client {
        uintptr_t connection;
        std::string name;  // empty until named
    };

    ConnectionState(Accounts &accounts, const Inventory &)
        : event_managers(accounts[Resource::event_manager]),
          connections(accounts[Resource::connection]),
          clients(accounts[Resource::client]) {}

    // Whether it is the handle of a client that is registered now.
    bool is_client(prm_handle_t handle) const { return is_client(reinterpret_cast<uintptr_t>(handle)); }
    bool is_client(uintptr_t handle) const { return clients.contains(handle); }

    Table<uintptr_t, EventManager> event_managers;  // held by their connections
    Table<uintptr_t, Connection> connections;       // held by their clients
    Table<uintptr_t, Client> clients;
    uintptr_t next_handle = 0xC0DE0010;
};

}  // namespace sim

#endif
