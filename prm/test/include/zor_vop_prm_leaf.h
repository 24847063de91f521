// Route leaf request of the route programming client: one layout for IPv4 and IPv6, add, modify and delete.
//
// Numbers are little-endian, IPv6 addresses in network order. Bytes called reserved are sent as 0.
#ifndef ZOR_VOP_PRM_LEAF_H
#define ZOR_VOP_PRM_LEAF_H

#include "prm_buddy_reserve.h"
#include "prm_fields.h"
#include "prm_types.h"

enum : u32 {
    ZOR_LEAF_IPV4_KEY_LEN = 8,
    ZOR_LEAF_IPV6_KEY_LEN = 16,
    ZOR_LEAF_ITEM_LEN = 4,
    ZOR_LEAF_ITEM = 1024,  // both items of every request but the IPv6 add; sent as is
};

// IPv6 prefix with its VRF, as the IPv6 steps take it; 20 bytes.
struct PRM_PACKED zor_ipv6_prefix {
    u8 address[16];
    u8 length;  // bits
    u8 reserved17;
    u16 vrf;
};
static_assert(sizeof(zor_ipv6_prefix) == 20, "ABI");
static_assert(offsetof(zor_ipv6_prefix, length) == 16, "ABI");
static_assert(offsetof(zor_ipv6_prefix, vrf) == 18, "ABI");

// Key of an IPv4 leaf.
struct PRM_PACKED zor_ipv4_key {
    u32 address;  // 1.1.1.2 is 0x01010102
    u16 vrf;
    u8 reserved6[2];
};
static_assert(sizeof(zor_ipv4_key) == ZOR_LEAF_IPV4_KEY_LEN, "ABI");
static_assert(offsetof(zor_ipv4_key, vrf) == 4, "ABI");

inline constexpr prm_field zor_ipv4_key_fields[] = {
    PRM_FIELD(zor_ipv4_key, address).ipv4(),
    PRM_FIELD(zor_ipv4_key, vrf).number(),
    PRM_FIELD(zor_ipv4_key, reserved6).reserved(),
};
inline constexpr prm_record zor_ipv4_key_record = PRM_RECORD(zor_ipv4_key);

enum : u8 {
    ZOR_LEAF_DIRECT = 0x01,     // flags0: direct leaf
    ZOR_LEAF_LDI = 0x04,        // flags0: points at a load-distribution entry (ldi_ptr)
    ZOR_LEAF_RECURSIVE = 0x08,  // flags1: points at a recursive pair (ldi_ptr and ldi_ptr2)
};

enum : u16 { ZOR_LEAF_TAG_MASK = 0x03f0, ZOR_LEAF_TAG_SHIFT = 4, ZOR_LEAF_TAG_MAX = 63 };

// What a leaf resolves to; 55 bytes.
struct PRM_PACKED zor_leaf_payload {
    u8 flags0;
    u8 flags1;
    u16 tag_bits;  // a 6-bit tag under ZOR_LEAF_TAG_MASK
    u8 reserved4[4];
    u32 ldi_ptr;
    u32 ldi_ptr2;
    u8 reserved16[34];
    u8 v6_prefix_len;  // IPv6 leaves only
    u8 reserved51[4];
};
static_assert(sizeof(zor_leaf_payload) == 55, "ABI");
static_assert(offsetof(zor_leaf_payload, flags1) == 1, "ABI");
static_assert(offsetof(zor_leaf_payload, tag_bits) == 2, "ABI");
static_assert(offsetof(zor_leaf_payload, ldi_ptr) == 8, "ABI");
static_assert(offsetof(zor_leaf_payload, ldi_ptr2) == 12, "ABI");
static_assert(offsetof(zor_leaf_payload, v6_prefix_len) == 50, "ABI");

inline constexpr prm_bits zor_leaf_bits0[] = {
    {ZOR_LEAF_DIRECT, "direct"},
    {ZOR_LEAF_LDI, "ldi"},
};
inline constexpr prm_bits zor_leaf_bits1[] = {{ZOR_LEAF_RECURSIVE, "recursive"}};
inline constexpr prm_bits zor_leaf_tag_bits[] = {{ZOR_LEAF_TAG_MASK, "tag"}};
// The words of a recursive pair are next hops.
inline constexpr prm_field zor_leaf_ldi_fields[] = {
    PRM_FIELD(zor_leaf_payload, ldi_ptr).hex().names_a(PRM_HANDLE_LDI)};
inline constexpr prm_field zor_leaf_pair_fields[] = {
    PRM_FIELD(zor_leaf_payload, ldi_ptr).number().names_a(PRM_HANDLE_NEXT_HOP)};
inline constexpr prm_choice zor_leaf_pointers[] = {
    prm_when(ZOR_LEAF_RECURSIVE, zor_leaf_pair_fields),
    prm_otherwise(zor_leaf_ldi_fields),
};
inline constexpr prm_field zor_leaf_payload_fields[] = {
    PRM_FIELD(zor_leaf_payload, flags0).flags(zor_leaf_bits0),
    PRM_FIELD(zor_leaf_payload, flags1).flags(zor_leaf_bits1),
    PRM_FIELD(zor_leaf_payload, tag_bits).flags(zor_leaf_tag_bits),
    PRM_FIELD(zor_leaf_payload, reserved4).reserved(),
    PRM_FIELD(zor_leaf_payload, ldi_ptr).chosen_by(PRM_SELECTOR(zor_leaf_payload, flags1), zor_leaf_pointers),
    PRM_FIELD(zor_leaf_payload, ldi_ptr2).number().names_a(PRM_HANDLE_NEXT_HOP),
    PRM_FIELD(zor_leaf_payload, reserved16).reserved(),
    PRM_FIELD(zor_leaf_payload, v6_prefix_len).number(),
    PRM_FIELD(zor_leaf_payload, reserved51).reserved(),
};
inline constexpr prm_record zor_leaf_payload_record = PRM_RECORD(zor_leaf_payload);

struct PRM_PACKED zor_leaf_request {
    u32 owner;  // PRM_OWNER
    u8 reserved4[8];
    u32 vrf_id;
    u32 key_len;  // meaningful bytes of the key
    union PRM_PACKED {
        zor_ipv4_key ipv4;
        u8 ipv6[16];
        u8 key[80];
    };
    u32 prefix_len;
    u32 item1_len;
    u32 item1;
    u32 item2_len;
    u32 item2;
    u32 payload_len;
    zor_leaf_payload payload;
    u8 reserved179[9];
};
static_assert(sizeof(zor_leaf_request) == 188, "ABI");
static_assert(offsetof(zor_leaf_request, vrf_id) == 12, "ABI");
static_assert(offsetof(zor_leaf_request, key_len) == 16, "ABI");
static_assert(offsetof(zor_leaf_request, key) == 20, "ABI");
static_assert(offsetof(zor_leaf_request, prefix_len) == 100, "ABI");
static_assert(offsetof(zor_leaf_request, item1_len) == 104, "ABI");
static_assert(offsetof(zor_leaf_request, item1) == 108, "ABI");
static_assert(offsetof(zor_leaf_request, item2_len) == 112, "ABI");
static_assert(offsetof(zor_leaf_request, item2) == 116, "ABI");
static_assert(offsetof(zor_leaf_request, payload_len) == 120, "ABI");
static_assert(offsetof(zor_leaf_request, payload) == 124, "ABI");

inline constexpr prm_field zor_leaf_ipv4_fields[] = {
    PRM_FIELD(zor_leaf_request, ipv4).of(&zor_ipv4_key_record),
    PRM_FIELD(zor_leaf_request, key).behind(PRM_FIELD(zor_leaf_request, ipv4)),
};
inline constexpr prm_field zor_leaf_ipv6_fields[] = {
    PRM_FIELD(zor_leaf_request, ipv6).ipv6(),
    PRM_FIELD(zor_leaf_request, key).behind(PRM_FIELD(zor_leaf_request, ipv6)),
};
inline constexpr prm_field zor_leaf_key_fields[] = {PRM_FIELD(zor_leaf_request, key).bytes()};
inline constexpr prm_choice zor_leaf_keys[] = {
    prm_when(ZOR_LEAF_IPV4_KEY_LEN, zor_leaf_ipv4_fields),
    prm_when(ZOR_LEAF_IPV6_KEY_LEN, zor_leaf_ipv6_fields),
    prm_otherwise(zor_leaf_key_fields),
};
inline constexpr prm_field zor_leaf_request_fields[] = {
    PRM_FIELD(zor_leaf_request, owner).number(),
    PRM_FIELD(zor_leaf_request, reserved4).reserved(),
    PRM_FIELD(zor_leaf_request, vrf_id).number(),
    PRM_FIELD(zor_leaf_request, key_len).number(),
    PRM_FIELD(zor_leaf_request, key).chosen_by(PRM_SELECTOR(zor_leaf_request, key_len), zor_leaf_keys),
    PRM_FIELD(zor_leaf_request, prefix_len).number(),
    PRM_FIELD(zor_leaf_request, item1_len).number(),
    PRM_FIELD(zor_leaf_request, item1).as_is(),
    PRM_FIELD(zor_leaf_request, item2_len).number(),
    PRM_FIELD(zor_leaf_request, item2).as_is(),
    PRM_FIELD(zor_leaf_request, payload_len).number(),
    PRM_FIELD(zor_leaf_request, payload).of(&zor_leaf_payload_record),
    PRM_FIELD(zor_leaf_request, reserved179).reserved(),
};
inline constexpr prm_record zor_leaf_request_record = PRM_RECORD(zor_leaf_request);

#endif
