// Route leaves on the simulated card: IPv4 and IPv6 differ in their key alone.
#include "card/sim/route.h"

#include <cstring>

#include "card/sim/backend.h"
#include "card/sim/request.h"

namespace sim {

Ipv6Key ipv6_key(const u8 (&address)[16], u16 vrf, u8 length) {
    Ipv6Key key;
    std::memcpy(key.words, address, sizeof address);
    key.words[4] = u32{vrf} << 8 | length;
    return key;
}

namespace {

// Bits of the address past the prefix.
bool host_bits_set(u32 address, u32 length) {
    return length < 32 && (address & (0xFFFFFFFFu >> length)) != 0;
}

bool host_bits_set(const u8 (&address)[16], u32 length) {
    for (u32 i = length / 8; i < 16; ++i) {
        const u32 network_bits = i == length / 8 ? length % 8 : 0;
        if ((address[i] & (0xFFu >> network_bits)) != 0) return true;
    }
    return false;
}

// The two address families: their table, and their key, which also checks what the family lays down.
struct Ipv4 {
    static Table<Ipv4Key, Leaf> &table(Card &card) { return card.route.ipv4; }

    static prm_status_t read_key(const zor_leaf_request &request, Ipv4Key *key) {
        if (request.key_len != ZOR_LEAF_IPV4_KEY_LEN) return CARD_ERROR_BAD_LENGTH;
        if (request.vrf_id != request.ipv4.vrf) return CARD_ERROR_BAD_VALUE;
        if (request.prefix_len > 32 || host_bits_set(request.ipv4.address, request.prefix_len))
            return CARD_ERROR_BAD_PREFIX;
        *key = ipv4_key(request.ipv4.address, request.ipv4.vrf, static_cast<u8>(request.prefix_len));
        return CERR_SUCCESS;
    }

    // Requests come with a payload that was never cleared: what is not named in it may be anything.
    static prm_status_t check_unnamed(const zor_leaf_payload &) { return CERR_SUCCESS; }
};

struct Ipv6 {
    static Table<Ipv6Key, Leaf> &table(Card &card) { return card.route.ipv6; }

    static prm_status_t read_key(const zor_leaf_request &request, Ipv6Key *key) {
        if (request.key_len != ZOR_LEAF_IPV6_KEY_LEN) return CARD_ERROR_BAD_LENGTH;
        if (request.vrf_id > 0xFFFF) return CARD_ERROR_BAD_VALUE;
        if (request.prefix_len > 128 || request.payload.v6_prefix_len != request.prefix_len)
            return CARD_ERROR_BAD_PREFIX;
        u8 address[16];
        std::memcpy(address, request.ipv6, sizeof address);
        if (host_bits_set(address, request.prefix_len)) return CARD_ERROR_BAD_PREFIX;
        *key = ipv6_key(address, static_cast<u16>(request.vrf_id), static_cast<u8>(request.prefix_len));
        return CERR_SUCCESS;
    }

    // Requests come with a cleared payload.
    static prm_status_t check_unnamed(const zor_leaf_payload &payload) {
        if (!all_zero(payload.reserved4) || !all_zero(payload.reserved16) || !all_zero(payload.reserved51))
            return CARD_ERROR_RESERVED_BYTES;
        if ((payload.flags0 & ~(ZOR_LEAF_DIRECT | ZOR_LEAF_LDI)) != 0 ||
            (payload.flags1 & ~ZOR_LEAF_RECURSIVE) != 0)
            return CARD_ERROR_BAD_KIND;
        const bool recursive = payload.flags1 != 0, ldi = (payload.flags0 & ZOR_LEAF_LDI) != 0;
        return success_if((recursive || payload.ldi_ptr2 == 0) && (recursive || ldi || payload.ldi_ptr == 0),
                          CARD_ERROR_BAD_VALUE);
    }
};

prm_status_t check_request(const Card &card, const zor_leaf_request &request) {
    if (!is_owner(card, request.owner)) return CARD_ERROR_BAD_OWNER;
    if (!all_zero(request.reserved4) || !all_zero(request.reserved179)) return CARD_ERROR_RESERVED_BYTES;
    if (request.item1_len != ZOR_LEAF_ITEM_LEN || request.item2_len != ZOR_LEAF_ITEM_LEN ||
        request.payload_len != sizeof request.payload)
        return CARD_ERROR_BAD_LENGTH;
    return success_if(
        request.item1 == request.item2 && (request.item1 == 0 || request.item1 == ZOR_LEAF_ITEM),
        CARD_ERROR_BAD_VALUE);
}

// What the payload names: only the bits and words that its flags give a meaning.
prm_status_t read_payload(const zor_leaf_payload &payload, Leaf *leaf) {
    leaf->flags0 = payload.flags0 & (ZOR_LEAF_DIRECT | ZOR_LEAF_LDI);
    leaf->flags1 = payload.flags1 & ZOR_LEAF_RECURSIVE;
    leaf->tag_bits = payload.tag_bits & ZOR_LEAF_TAG_MASK;
    if (leaf->flags1 != 0 || (leaf->flags0 & ZOR_LEAF_LDI) != 0) leaf->ldi_ptr = payload.ldi_ptr;
    if (leaf->flags1 != 0) leaf->ldi_ptr2 = payload.ldi_ptr2;
    return success_if(leaf->flags0 != 0 || leaf->flags1 != 0, CARD_ERROR_BAD_KIND);
}

bool points_at_entry(const Leaf &leaf) {
    return (leaf.flags0 & ZOR_LEAF_LDI) != 0;
}

// Next hops that the pair of a recursive leaf names are held; the first word is a pointer where the leaf
// points at a load-distribution entry too.
void hold_references(Card &card, const Leaf &leaf) {
    if (points_at_entry(leaf)) card.load_distribution.table.hold(leaf.ldi_ptr);
    if (leaf.flags1 == 0) return;
    if (!points_at_entry(leaf)) card.adjacency.hold_next_hop(leaf.ldi_ptr);
    card.adjacency.hold_next_hop(leaf.ldi_ptr2);
}

void release_references(Card &card, const Leaf &leaf) {
    if (points_at_entry(leaf)) card.load_distribution.table.release(leaf.ldi_ptr);
    if (leaf.flags1 == 0) return;
    if (!points_at_entry(leaf)) card.adjacency.release_next_hop(leaf.ldi_ptr);
    card.adjacency.release_next_hop(leaf.ldi_ptr2);
}

// Adds or, where `modify`, changes an existing leaf only.
template <typename Family, bool modify, typename Key>
prm_status_t program(Card &card, const Key &key, const Leaf &wanted) {
    if (points_at_entry(wanted) && !card.load_distribution.table.contains(wanted.ldi_ptr))
        return CARD_ERROR_UNKNOWN_REFERENCE;

    Leaf *leaf;
    bool created = false;
    if constexpr (modify) {
        leaf = Family::table(card).find(key);
        if (leaf == nullptr) return CARD_ERROR_NOT_FOUND;
    } else if (const prm_status_t status = Family::table(card).put(key, &leaf, &created)) {
        return status;
    }
    const Leaf before = *leaf;
    *leaf = wanted;
    hold_references(card, wanted);
    if (!created) release_references(card, before);
    return CERR_SUCCESS;
}

template <typename Family, typename Key, bool modify>
prm_status_t add_or_modify(Card &card, prm_handle_t client, zor_leaf_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (const prm_status_t status = check_request(card, *request)) return status;
    if (const prm_status_t status = Family::check_unnamed(request->payload)) return status;
    Leaf wanted;
    if (const prm_status_t status = read_payload(request->payload, &wanted)) return status;
    Key key;
    if (const prm_status_t status = Family::read_key(*request, &key)) return status;
    return program<Family, modify>(card, key, wanted);
}

template <typename Family, typename Key>
prm_status_t del(Card &card, prm_handle_t client, zor_leaf_request *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (const prm_status_t status = check_request(card, *request)) return status;
    Key key;
    if (const prm_status_t status = Family::read_key(*request, &key)) return status;
    const Leaf *const leaf = Family::table(card).find(key);
    if (leaf == nullptr) return CARD_ERROR_NOT_FOUND;
    const Leaf before = *leaf;
    if (const prm_status_t status = Family::table(card).remove(key)) return status;
    release_references(card, before);
    return CERR_SUCCESS;
}

prm_status_t reserve(Card &card, prm_handle_t client, prm_buddy_reserve *request) {
    if (const prm_status_t status = require(card, client, request)) return status;
    if (const prm_status_t status = check_plain_reservation(card, *request)) return status;
    return reserve_into(card.route.space, request);
}

}  // namespace

void install_route(card::Backend &backend) {
    backend.zor_vop_prm_srh_ip_leaf_reserve = on_card<reserve>;
    backend.zor_vop_prm_srh_ipv4_leaf_add = on_card<add_or_modify<Ipv4, Ipv4Key, false>>;
    backend.zor_vop_prm_srh_ipv4_leaf_mod = on_card<add_or_modify<Ipv4, Ipv4Key, true>>;
    backend.zor_vop_prm_srh_ipv4_leaf_del = on_card<del<Ipv4, Ipv4Key>>;
    backend.zor_vop_prm_srh_ipv6_leaf_add = on_card<add_or_modify<Ipv6, Ipv6Key, false>>;
    backend.zor_vop_prm_srh_ipv6_leaf_mod = on_card<add_or_modify<Ipv6, Ipv6Key, true>>;
    backend.zor_vop_prm_srh_ipv6_leaf_del = on_card<del<Ipv6, Ipv6Key>>;
}

}  // namespace sim
