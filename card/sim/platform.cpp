// What card this is, and the texts of codes.
#include <cstring>

#include "card/sim/backend.h"

namespace sim {
namespace {

u8 num_local_ports(Card &card, u32 np) {
    const std::vector<u8> &ports = card.inventory.np_local_ports;
    return np < ports.size() ? ports[np] : 0;
}

u32 my_card_type(Card &card, void *buffer) {
    if (buffer != nullptr) std::memcpy(buffer, &card.inventory.card_type, sizeof card.inventory.card_type);
    return card.inventory.card_type;
}

int veltora_family(Card &card) {
    return card.inventory.veltora_family ? 1 : 0;
}

}  // namespace

void install_platform(card::Backend &backend) {
    backend.wyk_np_info_num_local_ports = on_card<num_local_ports>;
    backend.platform_get_my_card_type = [](void *buffer) -> u32 {
        return current_card() != nullptr ? my_card_type(*current_card(), buffer) : 0;
    };
    backend.is_veltora_family = on_card<veltora_family>;
    // Texts need no card.
    backend.cerr_strerror = card::code_text;
}

}  // namespace sim
