// Event managers, connections to the resource manager and their clients on the simulated card.
#include "card/sim/connection.h"

#include <cstring>
#include <vector>

#include "card/sim/backend.h"

namespace sim {
namespace {

constexpr size_t kMaxName = 255;

uintptr_t new_handle(ConnectionState &state) {
    const uintptr_t handle = state.next_handle;
    state.next_handle += 0x10;
    return handle;
}

template <typename Handle>
Handle as_handle(uintptr_t number) {
    return reinterpret_cast<Handle>(number);
}

uintptr_t as_number(void *handle) {
    return reinterpret_cast<uintptr_t>(handle);
}

// A usable name, or why it is none. No more than kMaxName + 1 bytes are looked at.
prm_status_t check_name(const char *name) {
    if (name == nullptr) return CARD_ERROR_NULL_POINTER;
    const size_t length = strnlen(name, kMaxName + 1);
    return success_if(length != 0 && length <= kMaxName, CARD_ERROR_EMPTY_NAME);
}

// Key of the first entry that matches, or 0: these tables hold a handful.
template <typename Entry, typename Matches>
uintptr_t find_key(const Table<uintptr_t, Entry> &table, Matches matches) {
    uintptr_t found = 0;
    table.for_each([&](uintptr_t key, const Entry &entry, u32) {
        // The newest, so that the answer does not depend on the order of the table.
        if (key > found && matches(entry)) found = key;
    });
    return found;
}

void *create_event_manager(Card &card, u32, u32, u32, u32) {
    ConnectionState &state = card.connection;
    const uintptr_t handle = new_handle(state);
    ConnectionState::EventManager *manager;
    return state.event_managers.add(handle, &manager) == CERR_SUCCESS ? as_handle<void *>(handle) : nullptr;
}

void remove_client(ConnectionState &state, uintptr_t client) {
    state.connections.release(state.clients.find(client)->connection);
    state.clients.remove(client);
}

prm_status_t remove_connection(ConnectionState &state, uintptr_t connection) {
    const uintptr_t event_manager = state.connections.find(connection)->event_manager;
    const prm_status_t status = state.connections.remove(connection);
    if (status == CERR_SUCCESS) state.event_managers.release(event_manager);
    return status;
}

// Nothing hung on an event manager outlives it: its connections and their clients go first.
void destroy_event_manager(Card &card, void **manager) {
    ConnectionState &state = card.connection;
    if (manager == nullptr || !state.event_managers.contains(as_number(*manager))) return;
    const uintptr_t event_manager = as_number(*manager);
    const auto here = [&](const ConnectionState::Connection &connection) {
        return connection.event_manager == event_manager;
    };
    while (const uintptr_t connection = find_key(state.connections, here)) {
        const auto its = [&](const ConnectionState::Client &client) {
            return client.connection == connection;
        };
        while (const uintptr_t client = find_key(state.clients, its)) remove_client(state, client);
        remove_connection(state, connection);
    }
    state.event_managers.remove(event_manager);
    *manager = nullptr;
}

prm_status_t open(Card &card, void *event_manager, u32, const char *name, prm_notify_t, u32, u32,
                  prm_handle_t *out) {
    ConnectionState &state = card.connection;
    if (out == nullptr) return CARD_ERROR_NULL_POINTER;
    if (const prm_status_t status = check_name(name)) return status;
    if (!state.event_managers.contains(as_number(event_manager))) return CARD_ERROR_UNKNOWN_EVENT_MANAGER;
    if (find_key(state.connections, [&](const auto &connection) { return connection.name == name; }) != 0) {
        return CARD_ERROR_ALREADY_OPEN;
    }
    const uintptr_t handle = new_handle(state);
    ConnectionState::Connection *connection;
    if (const prm_status_t status = state.connections.add(handle, &connection)) return status;
    *connection = {as_number(event_manager), name};
    state.event_managers.hold(as_number(event_manager));
    *out = as_handle<prm_handle_t>(handle);
    return CERR_SUCCESS;
}

prm_status_t close(Card &card, prm_handle_t handle) {
    ConnectionState &state = card.connection;
    if (!state.connections.contains(as_number(handle))) return CARD_ERROR_BAD_HANDLE;
    const prm_status_t status = remove_connection(state, as_number(handle));
    return status == CARD_ERROR_IN_USE ? CARD_ERROR_CLIENTS_REGISTERED : status;
}

prm_status_t register_client(Card &card, prm_handle_t *out, u32, void *event_manager, prm_notify_t) {
    ConnectionState &state = card.connection;
    if (out == nullptr) return CARD_ERROR_NULL_POINTER;
    if (!state.event_managers.contains(as_number(event_manager))) return CARD_ERROR_UNKNOWN_EVENT_MANAGER;
    const uintptr_t connection = find_key(state.connections, [&](const auto &candidate) {
        return candidate.event_manager == as_number(event_manager);
    });
    if (connection == 0) return CARD_ERROR_NOT_CONNECTED;
    const uintptr_t handle = new_handle(state);
    ConnectionState::Client *client;
    if (const prm_status_t status = state.clients.add(handle, &client)) return status;
    client->connection = connection;
    state.connections.hold(connection);
    *out = as_handle<prm_handle_t>(handle);
    return CERR_SUCCESS;
}

uintptr_t client_named(const ConnectionState &state, const char *name) {
    return find_key(state.clients, [&](const auto &client) { return client.name == name; });
}

prm_status_t set_name(Card &card, prm_handle_t handle, const char *name) {
    ConnectionState &state = card.connection;
    ConnectionState::Client *const client = state.clients.find(as_number(handle));
    if (client == nullptr) return CARD_ERROR_BAD_HANDLE;
    if (const prm_status_t status = check_name(name)) return status;
    const uintptr_t owner = client_named(state, name);
    if (owner != 0 && owner != as_number(handle)) return CARD_ERROR_NAME_TAKEN;
    client->name = name;
    return CERR_SUCCESS;
}

prm_status_t unregister_client(Card &card, const char *name, u32) {
    ConnectionState &state = card.connection;
    if (const prm_status_t status = check_name(name)) return status;
    const uintptr_t client = client_named(state, name);
    if (client == 0) return CARD_ERROR_UNKNOWN_CLIENT;
    remove_client(state, client);
    return CERR_SUCCESS;
}

}  // namespace

void install_connection(card::Backend &backend) {
    backend.event_manager_create = on_card<create_event_manager>;
    backend.event_manager_destroy = on_card<destroy_event_manager>;
    backend.prm_mgr_open = on_card<open>;
    backend.prm_mgr_close = on_card<close>;
    backend.prm_srh_register = on_card<register_client>;
    backend.prm_srh_set_name = on_card<set_name>;
    backend.prm_srh_unregister = on_card<unregister_client>;
}

}  // namespace sim
