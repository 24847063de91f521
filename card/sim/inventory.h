// What a simulated card consists of before anything is programmed, as card.toml describes it.
#ifndef CARD_SIM_INVENTORY_H
#define CARD_SIM_INVENTORY_H

#include <string>
#include <string_view>
#include <vector>

#include "card/sim/accounts.h"
#include "platform_info.h"
#include "prm_types.h"

namespace sim {

enum class InterfaceKind : u8 { MAIN = 1, SUB = 2, BUNDLE = 3, BVI = 6 };  // UIDB_IFTYPE_..., and MAIN

struct InventoryInterface {
    u32 handle = 0;
    InterfaceKind kind = InterfaceKind::MAIN;
    u32 parent = 0;  // sub-interfaces
    u8 np_port = 0;  // main interfaces, and sub-interfaces of one
    u16 uidb = 0;    // interface-database index; 0: the card picks one
    bool layer2 = false;
    u16 outer_vlan = 0, inner_vlan = 0;  // sub-interfaces; 0: none
    bool in_bundle = false;
    u8 lag_id = 0;  // bundles, and their sub-interfaces
};

// The first index that each pool hands out.
struct PoolStarts {
    u32 next_hop = 200001;
    u32 tunnel = 5000;
    u32 nr_ldi_index = 0x100000;
    u32 label_index = 1;
};

struct Inventory {
    u32 card_type = PLATFORM_CARD_TYPE_B;
    bool veltora_family = false;
    u32 ports = 64;                         // NP ports 0 to ports - 1
    std::vector<u8> np_local_ports = {48};  // per network processor
    std::vector<u32> owners = {10};         // who may own entries and reservations
    Accounts limits;                        // {limit, 0} per resource
    PoolStarts pools;
    std::vector<InventoryInterface> interfaces;

    // Interface-database index of the card's bridged virtual interface; 0: the card type has none.
    u16 bvi_uidb() const;
};

struct InventoryProblem {
    int line = 0;
    std::string field;  // "interface[2].handle"; empty where the text is no TOML
    std::string text;
};

// What the text of a card.toml says, and everything that is wrong with it. Where something is, the inventory
// has what could be read beside it.
struct InventoryReading {
    Inventory inventory;
    std::vector<InventoryProblem> problems;  // in the order of reading
    bool is_toml = false;
};
InventoryReading read_inventory(std::string_view text);

// What is said of a site without one.
inline constexpr const char *kMissingInventory = "missing: without it the simulated card has no interfaces";

// Reads a card.toml. False with one line in *error that names file, line and field of the first problem;
// *inventory is then unchanged.
bool load_inventory(const std::string &path, Inventory *inventory, std::string *error);

// The same from text; `name` stands for the file in messages.
bool parse_inventory(std::string_view text, const std::string &name, Inventory *inventory,
                     std::string *error);

}  // namespace sim

#endif
