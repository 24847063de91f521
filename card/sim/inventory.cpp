// Reading of card.toml.
#include "card/sim/inventory.h"

#include <fmt/format.h>

#include <fstream>
#include <set>
#include <sstream>

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

namespace sim {
namespace {

// Reads fields out of the tables of one file; the first thing wrong is kept as the message and ends all.
class Reader {
  public:
    Reader(const std::string &file, std::string *error) : file_(file), error_(error) {}

    bool failed() const { return failed_; }

    void fail(const toml::node &where, std::string_view field, std::string_view what) {
        if (failed_) return;
        failed_ = true;
        *error_ = fmt::format("{}:{}: {}: {}", file_, where.source().begin.line, field, what);
    }

    // An integer field between low and high; absent fields leave the target as it is unless required.
    template <typename Number>
    void number(const toml::table &table, const std::string &prefix, std::string_view name, u64 low, u64 high,
                Number *target, bool required = false) {
        const std::string field = prefix + std::string(name);
        const toml::node *const node = table.get(name);
        if (node == nullptr) {
            if (required) fail(table, field, "missing");
            return;
        }
        if (u64 value = 0; integer(*node, field, low, high, &value)) *target = static_cast<Number>(value);
    }

    bool integer(const toml::node &node, std::string_view field, u64 low, u64 high, u64 *value) {
        const toml::value<int64_t> *const number = node.as_integer();
        if (number == nullptr) {
            fail(node, field, "not a whole number");
            return false;
        }
        const int64_t n = number->get();
        if (n < 0 || static_cast<u64>(n) < low || static_cast<u64>(n) > high) {
            fail(node, field, fmt::format("{} is not between {} and {}", n, low, high));
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
            if (!known) fail(node, prefix + std::string(key.str()), "unknown field");
        }
    }

    const toml::table *table(const toml::table &parent, std::string_view name) {
        const toml::node *const node = parent.get(name);
        if (node == nullptr) return nullptr;
        if (node->as_table() == nullptr) fail(*node, name, "not a table");
        return node->as_table();
    }

  private:
    std::string file_;
    std::string *error_;
    bool failed_ = false;
};

void read_card(Reader &read, const toml::table &table, Inventory *inventory) {
    const std::string prefix = "card.";
    read.only(table, prefix, {"type", "veltora_family", "ports", "np_local_ports"});
    read.number(table, prefix, "type", 0, 0xFFFFFFFF, &inventory->card_type);
    read.flag(table, prefix, "veltora_family", &inventory->veltora_family);
    read.number(table, prefix, "ports", 1, 256, &inventory->ports);
    const toml::node *const node = table.get("np_local_ports");
    if (node == nullptr) return;
    const toml::array *const list = node->as_array();
    if (list == nullptr || list->empty()) {
        read.fail(*node, prefix + "np_local_ports", "not a list with one number of ports per NP");
        return;
    }
    inventory->np_local_ports.clear();
    for (const toml::node &entry : *list) {
        u64 ports = 0;
        if (!read.integer(entry, prefix + "np_local_ports", 0, 255, &ports)) return;
        inventory->np_local_ports.push_back(static_cast<u8>(ports));
    }
}

void read_limits(Reader &read, const toml::table &table, Inventory *inventory) {
    for (const auto &[key, node] : table) {
        const std::string field = fmt::format("limits.{}", key.str());
        Account *const account = inventory->limits.find(key.str());
        if (account == nullptr) {
            read.fail(node, field, "unknown resource");
            return;
        }
        u64 limit = 0;
        if (!read.integer(node, field, 0, 1u << 24, &limit)) return;
        account->limit = static_cast<u32>(limit);
    }
}

bool read_kind(Reader &read, const toml::table &table, const std::string &prefix, InterfaceKind *kind) {
    const toml::node *const node = table.get("kind");
    if (node == nullptr) {
        read.fail(table, prefix + "kind", "missing");
        return false;
    }
    const std::string name = node->value_or(std::string());
    if (name == "main") {
        *kind = InterfaceKind::MAIN;
    } else if (name == "sub") {
        *kind = InterfaceKind::SUB;
    } else if (name == "bundle") {
        *kind = InterfaceKind::BUNDLE;
    } else {
        read.fail(*node, prefix + "kind", "not one of \"main\", \"sub\", \"bundle\"");
        return false;
    }
    return true;
}

// Position of an earlier interface with that handle, or null.
const InventoryInterface *earlier(const Inventory &inventory, u32 handle) {
    for (const InventoryInterface &interface : inventory.interfaces) {
        if (interface.handle == handle) return &interface;
    }
    return nullptr;
}

void read_interface(Reader &read, const toml::table &table, Inventory *inventory) {
    const std::string prefix = fmt::format("interface[{}].", inventory->interfaces.size());
    InventoryInterface interface;
    read.only(
        table, prefix,
        {"handle", "kind", "parent", "np_port", "uidb", "layer2", "outer_vlan", "inner_vlan", "lag_id"});
    if (!read_kind(read, table, prefix, &interface.kind)) return;
    const bool sub = interface.kind == InterfaceKind::SUB;
    read.number(table, prefix, "handle", 1, 0xFFFFFFFF, &interface.handle, true);
    read.number(table, prefix, "parent", 1, 0xFFFFFFFF, &interface.parent, sub);
    read.number(table, prefix, "np_port", 0, inventory->ports - 1, &interface.np_port,
                interface.kind == InterfaceKind::MAIN);
    read.number(table, prefix, "uidb", 1, 0xFFFF, &interface.uidb);
    read.flag(table, prefix, "layer2", &interface.layer2);
    read.number(table, prefix, "outer_vlan", 0, 4095, &interface.outer_vlan);
    read.number(table, prefix, "inner_vlan", 0, 4095, &interface.inner_vlan);
    read.number(table, prefix, "lag_id", 0, 255, &interface.lag_id, interface.kind == InterfaceKind::BUNDLE);
    interface.in_bundle = table.contains("lag_id");
    if (read.failed()) return;

    if (earlier(*inventory, interface.handle) != nullptr) {
        read.fail(*table.get("handle"), prefix + "handle",
                  fmt::format("{:#x} is there twice", interface.handle));
    }
    if (sub) {
        const InventoryInterface *const parent = earlier(*inventory, interface.parent);
        if (parent == nullptr || parent->kind == InterfaceKind::SUB) {
            read.fail(*table.get("parent"), prefix + "parent",
                      fmt::format("{:#x} is no main or bundle interface above it", interface.parent));
        } else if (parent->kind == InterfaceKind::BUNDLE) {
            interface.in_bundle = true;
            interface.lag_id = parent->lag_id;
        } else if (!table.contains("np_port")) {
            interface.np_port = parent->np_port;
        }
    } else if (table.contains("parent")) {
        read.fail(*table.get("parent"), prefix + "parent", "only a sub-interface has one");
    }
    for (const InventoryInterface &other : inventory->interfaces) {
        if (interface.uidb != 0 && other.uidb == interface.uidb) {
            read.fail(*table.get("uidb"), prefix + "uidb", fmt::format("{} is there twice", interface.uidb));
        }
    }
    inventory->interfaces.push_back(interface);
}

}  // namespace

bool parse_inventory(std::string_view text, const std::string &name, Inventory *inventory,
                     std::string *error) {
    const toml::parse_result parsed = toml::parse(text, name);
    if (!parsed) {
        *error =
            fmt::format("{}:{}: {}", name, parsed.error().source().begin.line, parsed.error().description());
        return false;
    }
    const toml::table &root = parsed.table();
    Reader read(name, error);
    Inventory result;
    read.only(root, "", {"card", "limits", "interface"});
    if (const toml::table *const card = read.table(root, "card")) read_card(read, *card, &result);
    if (const toml::table *const limits = read.table(root, "limits")) read_limits(read, *limits, &result);
    if (const toml::node *const node = root.get("interface"); node != nullptr && !read.failed()) {
        const toml::array *const list = node->as_array();
        if (list == nullptr) read.fail(*node, "interface", "not a list of [[interface]] tables");
        for (size_t i = 0; list != nullptr && i < list->size() && !read.failed(); ++i) {
            const toml::table *const table = (*list)[i].as_table();
            if (table == nullptr) {
                read.fail((*list)[i], fmt::format("interface[{}]", i), "not a table");
            } else {
                read_interface(read, *table, &result);
            }
        }
        const u32 limit = result.limits[Resource::interface].limit;
        if (result.interfaces.size() > limit) {
            read.fail(*node, "interface",
                      fmt::format("{} interfaces, limits.interface is {}", result.interfaces.size(), limit));
        }
    }
    if (read.failed()) return false;
    *inventory = std::move(result);
    return true;
}

bool load_inventory(const std::string &path, Inventory *inventory, std::string *error) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (!file || !(text << file.rdbuf())) {
        *error = fmt::format("{}: cannot be read", path);
        return false;
    }
    return parse_inventory(text.str(), path, inventory, error);
}

}  // namespace sim
