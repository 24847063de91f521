// Reading of card.toml.
#include "card/sim/inventory.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

#include "prm_srh_span.h"
#include "uidb.h"

namespace sim {
namespace {

constexpr u32 kMostPorts = 256, kHighestLimit = 1u << 24;
constexpr u32 kHighestVlan = 4094, kHighestUidb = 0xFFFE;

// Where a card has less room than an account could count.
constexpr struct {
    Resource resource;
    u32 highest;
} kRoom[] = {
    {Resource::interface, kHighestUidb},
    {Resource::bundle, 256},
    {Resource::lpts_index, 65517},
    {Resource::mirror_session, PRM_SPAN_SESSIONS},
};

// The pools whose first index an inventory names, and the highest index that each can hold.
constexpr struct {
    std::string_view name;
    Resource resource;
    u32 PoolStarts::*first;
    u32 highest;
} kPools[] = {
    {"next_hop", Resource::next_hop, &PoolStarts::next_hop, 0xFFFFFFFF},
    {"tunnel", Resource::tunnel, &PoolStarts::tunnel, 0xFFFFFFFF},
    {"nr_ldi_index", Resource::nr_ldi_index, &PoolStarts::nr_ldi_index,
     0xFFFFFFFF >> 6},  // a pointer's upper bits
    {"label_index", Resource::label_index, &PoolStarts::label_index, 0xFFFFFFFF},
};

// Ports that a type of card always has, counted from 1 as queues do.
constexpr struct {
    u32 card_type, port;
} kTypePorts[] = {{PLATFORM_CARD_TYPE_A, 81}, {PLATFORM_CARD_TYPE_B, 41}};

std::string hexadecimal(u32 number) {
    char digits[8];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number, 16);
    return "0x" + std::string(digits, end.ptr);
}

// Reads fields out of the tables of one file and keeps what is wrong with them.
class Fields {
  public:
    explicit Fields(std::vector<InventoryProblem> *problems) : problems_(problems) {}

    void fail(const toml::node &where, std::string field, std::string text) {
        problems_->push_back(
            {static_cast<int>(where.source().begin.line), std::move(field), std::move(text)});
    }

    // An integer field between low and high; one that is absent or wrong leaves the target as it is. False
    // when something is wrong with it, or it is required and absent.
    template <typename Number>
    bool number(const toml::table &table, const std::string &prefix, std::string_view name, u64 low, u64 high,
                Number *target, bool required = false) {
        const toml::node *const node = table.get(name);
        if (node == nullptr) {
            if (required) fail(table, prefix + std::string(name), "missing");
            return !required;
        }
        u64 value = 0;
        if (!integer(*node, prefix + std::string(name), low, high, &value)) return false;
        *target = static_cast<Number>(value);
        return true;
    }

    bool integer(const toml::node &node, const std::string &field, u64 low, u64 high, u64 *value) {
        const toml::value<int64_t> *const number = node.as_integer();
        if (number == nullptr) {
            fail(node, field, "not a whole number");
            return false;
        }
        const int64_t n = number->get();
        if (n < 0 || static_cast<u64>(n) < low || static_cast<u64>(n) > high) {
            fail(node, field,
                 std::to_string(n) + " is not between " + std::to_string(low) + " and " +
                     std::to_string(high));
            return false;
        }
        *value = static_cast<u64>(n);
        return true;
    }

    void flag(const toml::table &table, const std::string &prefix, std::string_view name, bool *target) {
        const toml::node *const node = table.get(name);
        if (node == nullptr) return;
        if (const toml::value<bool> *const value = node->as_boolean()) {
            *target = value->get();
        } else {
            fail(*node, prefix + std::string(name), "neither true nor false");
        }
    }

    // Every key of the table must be one of the names.
    void only(const toml::table &table, const std::string &prefix,
              std::initializer_list<std::string_view> names) {
        for (const auto &[key, node] : table) {
            bool known = false;
            for (const std::string_view name : names) known = known || key.str() == name;
            if (!known)
                fail(node, prefix + std::string(key.str()),
                     prefix.empty() && !node.is_value() ? "unknown section" : "unknown field");
        }
    }

    // A list that is not empty; null when there is none or it is something else.
    const toml::array *list(const toml::table &table, const std::string &prefix, std::string_view name,
                            const char *otherwise) {
        const toml::node *const node = table.get(name);
        if (node == nullptr) return nullptr;
        const toml::array *const list = node->as_array();
        if (list != nullptr && !list->empty()) return list;
        fail(*node, prefix + std::string(name), otherwise);
        return nullptr;
    }

    const toml::table *table(const toml::table &parent, std::string_view name) {
        const toml::node *const node = parent.get(name);
        if (node == nullptr) return nullptr;
        if (node->as_table() == nullptr) fail(*node, std::string(name), "not a table");
        return node->as_table();
    }

  private:
    std::vector<InventoryProblem> *problems_;
};

void read_local_ports(Fields &fields, const toml::table &table, Inventory *inventory) {
    const std::string field = "card.np_local_ports";
    const toml::array *const list =
        fields.list(table, "card.", "np_local_ports", "not a list with one number of ports per NP");
    if (list == nullptr) {
        inventory->np_local_ports[0] =
            static_cast<u8>(std::min<u32>(inventory->np_local_ports[0], inventory->ports));
        return;
    }
    inventory->np_local_ports.clear();
    u64 all = 0;
    for (const toml::node &entry : *list) {
        u64 ports = 0;
        if (!fields.integer(entry, field, 0, 255, &ports)) continue;
        inventory->np_local_ports.push_back(static_cast<u8>(ports));
        all += ports;
    }
    if (all > inventory->ports)
        fields.fail(*list, field,
                    std::to_string(all) + " ports in all, card.ports is " + std::to_string(inventory->ports));
}

void read_card(Fields &fields, const toml::table &table, Inventory *inventory) {
    const std::string prefix = "card.";
    fields.only(table, prefix, {"type", "veltora_family", "ports", "np_local_ports", "owners"});
    fields.number(table, prefix, "type", 0, 0xFFFFFFFF, &inventory->card_type);
    fields.flag(table, prefix, "veltora_family", &inventory->veltora_family);
    // Of ports that depend on a wrong number nothing more is said than of those that no card has.
    if (!fields.number(table, prefix, "ports", 1, kMostPorts, &inventory->ports))
        inventory->ports = kMostPorts;
    if (table.contains("type") && !inventory->veltora_family) {
        for (const auto &[type, port] : kTypePorts) {
            if (type == inventory->card_type && port > inventory->ports)
                fields.fail(*table.get("type"), prefix + "type",
                            hexadecimal(type) + " has a port " + std::to_string(port) + ", card.ports is " +
                                std::to_string(inventory->ports));
        }
    }
    read_local_ports(fields, table, inventory);
    if (const toml::array *const list =
            fields.list(table, prefix, "owners", "not a list with at least one owner")) {
        inventory->owners.clear();
        for (const toml::node &entry : *list) {
            u64 owner = 0;
            if (fields.integer(entry, prefix + "owners", 0, 0xFFFFFFFF, &owner))
                inventory->owners.push_back(static_cast<u32>(owner));
        }
    }
}

u32 highest_limit(Accounts &limits, const Account *account) {
    for (const auto &[resource, highest] : kRoom) {
        if (&limits[resource] == account) return highest;
    }
    return kHighestLimit;
}

void read_limits(Fields &fields, const toml::table &table, Inventory *inventory) {
    for (const auto &[key, node] : table) {
        const std::string field = "limits." + std::string(key.str());
        Account *const account = inventory->limits.find(key.str());
        u64 limit = 0;
        if (account == nullptr) {
            fields.fail(node, field, "unknown resource");
        } else if (fields.integer(node, field, 0, highest_limit(inventory->limits, account), &limit)) {
            account->limit = static_cast<u32>(limit);
        }
    }
}

// After the limits: a pool has as many indices as its limit says.
void read_pools(Fields &fields, const toml::table &table, Inventory *inventory) {
    const std::string prefix = "pools.";
    for (const auto &[key, node] : table) {
        const std::string_view name = key.str();
        const auto pool = std::find_if(std::begin(kPools), std::end(kPools),
                                       [&](const auto &row) { return row.name == name; });
        const std::string field = prefix + std::string(name);
        if (pool == std::end(kPools)) {
            fields.fail(node, field, "unknown pool");
            continue;
        }
        const u32 size = std::max<u32>(inventory->limits[pool->resource].limit, 1);
        u64 first = 0;
        if (fields.integer(node, field, 1, u64{pool->highest} - size + 1, &first))
            inventory->pools.*(pool->first) = static_cast<u32>(first);
    }
}

// Reads the list of interfaces, in which one may name an earlier one.
class Interfaces {
  public:
    Interfaces(Fields &fields, Inventory *inventory) : fields_(fields), inventory_(inventory) {}

    void read(const toml::node &node) {
        const toml::array *const list = node.as_array();
        if (list == nullptr) {
            fields_.fail(node, "interface", "not a list of [[interface]] tables");
            return;
        }
        for (size_t i = 0; i < list->size(); ++i) {
            const toml::table *const table = (*list)[i].as_table();
            const std::string name = "interface[" + std::to_string(i) + "]";
            if (table == nullptr) {
                fields_.fail((*list)[i], name, "not a table");
            } else {
                read(*table, name + ".");
            }
        }
        check_room(node, Resource::interface, "interface", list->size());
        check_room(node, Resource::bundle, "bundle", lag_ids_.size());
        check_room(node, Resource::feature, "feature", features_);
    }

  private:
    void check_room(const toml::node &node, Resource resource, const std::string &name, size_t count) {
        const u32 limit = inventory_->limits[resource].limit;
        if (count > limit)
            fields_.fail(
                node, "interface",
                std::to_string(count) + " " + name + "s, limits." + name + " is " + std::to_string(limit));
    }

    // A field that this kind of interface does not have.
    void refuse(const toml::table &table, const std::string &prefix, const char *name, const char *text) {
        if (const toml::node *const node = table.get(name)) fields_.fail(*node, prefix + name, text);
    }

    // What only one interface has.
    template <typename Number>
    void once(const toml::table &table, const std::string &prefix, const char *name, std::set<Number> *seen,
              Number value) {
        if (table.contains(name) && !seen->insert(value).second)
            fields_.fail(*table.get(name), prefix + name, std::to_string(value) + " is there twice");
    }

    std::optional<InterfaceKind> read_kind(const toml::table &table, const std::string &prefix) {
        const toml::node *const node = table.get("kind");
        if (node == nullptr) {
            fields_.fail(table, prefix + "kind", "missing");
            return std::nullopt;
        }
        const std::string name = node->value_or(std::string());
        if (name == "main") return InterfaceKind::MAIN;
        if (name == "sub") return InterfaceKind::SUB;
        if (name == "bundle") return InterfaceKind::BUNDLE;
        fields_.fail(*node, prefix + "kind", "not one of \"main\", \"sub\", \"bundle\"");
        return std::nullopt;
    }

    // What a sub-interface has from the interface it belongs to.
    void take_from_parent(const toml::table &table, const std::string &prefix,
                          InventoryInterface *interface) {
        const auto found = by_handle_.find(interface->parent);
        if (found == by_handle_.end() || inventory_->interfaces[found->second].kind == InterfaceKind::SUB) {
            fields_.fail(*table.get("parent"), prefix + "parent",
                         hexadecimal(interface->parent) + " is no main or bundle interface above it");
            return;
        }
        const InventoryInterface &parent = inventory_->interfaces[found->second];
        if (parent.kind == InterfaceKind::BUNDLE) {
            refuse(table, prefix, "np_port", "a sub-interface of a bundle has none");
            take(table, prefix, "lag_id", &interface->lag_id, parent.lag_id);
            interface->in_bundle = true;
        } else {
            refuse(table, prefix, "lag_id", "its parent is no bundle");
            take(table, prefix, "np_port", &interface->np_port, parent.np_port);
            interface->in_bundle = false;
        }
    }

    // The parent's value, which the sub-interface may repeat.
    void take(const toml::table &table, const std::string &prefix, const char *name, u8 *value, u8 parents) {
        if (table.contains(name) && *value != parents)
            fields_.fail(*table.get(name), prefix + name,
                         std::to_string(*value) + " is not its parent's, " + std::to_string(parents));
        *value = parents;
    }

    void check_encapsulation(const toml::table &table, const std::string &prefix,
                             const InventoryInterface &interface) {
        if (interface.outer_vlan == 0) {
            if (interface.inner_vlan != 0)
                fields_.fail(*table.get("inner_vlan"), prefix + "inner_vlan",
                             std::to_string(interface.inner_vlan) + " without an outer VLAN");
            return;
        }
        const auto [other, first] = encapsulations_.try_emplace(
            std::tuple(interface.parent, interface.outer_vlan, interface.inner_vlan), interface.handle);
        if (!first)
            fields_.fail(*table.get("outer_vlan"), prefix + "outer_vlan",
                         std::to_string(interface.outer_vlan) + "." + std::to_string(interface.inner_vlan) +
                             " is the encapsulation of " + hexadecimal(other->second));
    }

    // What contradicts its kind, or what another interface has.
    void check(const toml::table &table, const std::string &prefix, InterfaceKind kind,
               const InventoryInterface &interface) {
        if (kind == InterfaceKind::SUB) {
            check_encapsulation(table, prefix, interface);
        } else {
            for (const char *const name : {"parent", "outer_vlan", "inner_vlan"})
                refuse(table, prefix, name, "only a sub-interface has one");
        }
        if (kind == InterfaceKind::MAIN) {
            refuse(table, prefix, "lag_id", "only a bundle has one");
            once(table, prefix, "np_port", &ports_, interface.np_port);
        }
        if (kind == InterfaceKind::BUNDLE) {
            refuse(table, prefix, "np_port", "a bundle has none");
            once(table, prefix, "lag_id", &lag_ids_, interface.lag_id);
        }
        features_ += kind == InterfaceKind::SUB ? kSubFeatures : kOtherFeatures;
    }

    void read(const toml::table &table, const std::string &prefix) {
        InventoryInterface interface;
        fields_.only(
            table, prefix,
            {"handle", "kind", "parent", "np_port", "uidb", "layer2", "outer_vlan", "inner_vlan", "lag_id"});
        // Of an unknown kind nothing is required.
        const std::optional<InterfaceKind> kind = read_kind(table, prefix);
        interface.kind = kind.value_or(interface.kind);
        const bool sub = kind == InterfaceKind::SUB;
        fields_.number(table, prefix, "handle", 1, 0xFFFFFFFF, &interface.handle, true);
        fields_.number(table, prefix, "parent", 1, 0xFFFFFFFF, &interface.parent, sub);
        fields_.number(table, prefix, "np_port", 0, inventory_->ports - 1, &interface.np_port,
                       kind == InterfaceKind::MAIN);
        fields_.number(table, prefix, "uidb", 1, kHighestUidb, &interface.uidb);
        fields_.flag(table, prefix, "layer2", &interface.layer2);
        fields_.number(table, prefix, "outer_vlan", 0, kHighestVlan, &interface.outer_vlan);
        fields_.number(table, prefix, "inner_vlan", 0, kHighestVlan, &interface.inner_vlan);
        fields_.number(table, prefix, "lag_id", 0, 255, &interface.lag_id, kind == InterfaceKind::BUNDLE);
        interface.in_bundle = table.contains("lag_id");

        // What could not be read is zero.
        if (interface.handle != 0 &&
            !by_handle_.emplace(interface.handle, inventory_->interfaces.size()).second)
            fields_.fail(*table.get("handle"), prefix + "handle",
                         hexadecimal(interface.handle) + " is there twice");
        if (sub && interface.parent != 0) take_from_parent(table, prefix, &interface);
        if (kind) check(table, prefix, *kind, interface);
        if (interface.uidb != 0) once(table, prefix, "uidb", &uidbs_, interface.uidb);
        if (interface.uidb != 0 && interface.uidb == inventory_->bvi_uidb())
            fields_.fail(*table.get("uidb"), prefix + "uidb",
                         std::to_string(interface.uidb) + " is that of the bridged virtual interface");
        inventory_->interfaces.push_back(interface);
    }

    Fields &fields_;
    Inventory *inventory_;
    std::map<u32, size_t> by_handle_;  // places in the inventory
    std::set<u16> uidbs_;
    std::set<u8> ports_, lag_ids_;
    std::map<std::tuple<u32, u16, u16>, u32> encapsulations_;  // parent and VLANs -> handle
    size_t features_ = 0;

    // Features that an interface of the inventory has from the start: layer 2, port or bundle, and those of
    // the encapsulation.
    static constexpr size_t kOtherFeatures = 2, kSubFeatures = 5;
};

}  // namespace

u16 Inventory::bvi_uidb() const {
    if (veltora_family) return UIDB_BVI_INDEX_VELTORA;
    const bool known = card_type == PLATFORM_CARD_TYPE_A || card_type == PLATFORM_CARD_TYPE_B;
    return known ? UIDB_BVI_INDEX : 0;
}

InventoryReading read_inventory(std::string_view text) {
    InventoryReading reading;
    const toml::parse_result parsed = toml::parse(text);
    if (!parsed) {
        reading.problems.push_back({static_cast<int>(parsed.error().source().begin.line), "",
                                    std::string(parsed.error().description())});
        return reading;
    }
    reading.is_toml = true;
    const toml::table &root = parsed.table();
    Fields fields(&reading.problems);
    fields.only(root, "", {"card", "limits", "pools", "interface"});
    if (const toml::table *const card = fields.table(root, "card"))
        read_card(fields, *card, &reading.inventory);
    if (const toml::table *const limits = fields.table(root, "limits"))
        read_limits(fields, *limits, &reading.inventory);
    if (const toml::table *const pools = fields.table(root, "pools"))
        read_pools(fields, *pools, &reading.inventory);
    if (const toml::node *const node = root.get("interface"))
        Interfaces(fields, &reading.inventory).read(*node);
    return reading;
}

bool parse_inventory(std::string_view text, const std::string &name, Inventory *inventory,
                     std::string *error) {
    InventoryReading reading = read_inventory(text);
    if (!reading.problems.empty()) {
        const InventoryProblem &first = reading.problems.front();
        *error = name + ":" + std::to_string(first.line) + ": " +
                 (first.field.empty() ? "" : first.field + ": ") + first.text;
        return false;
    }
    *inventory = std::move(reading.inventory);
    return true;
}

bool load_inventory(const std::string &path, Inventory *inventory, std::string *error) {
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored)) {
        *error = path + ": " + kMissingInventory;
        return false;
    }
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char buffer[4096];
    while (file.read(buffer, sizeof buffer), file.gcount() > 0)
        text.append(buffer, static_cast<size_t>(file.gcount()));
    if (!file.is_open() || file.bad()) {
        *error = path + ": cannot be read";
        return false;
    }
    return parse_inventory(text, path, inventory, error);
}

}  // namespace sim
