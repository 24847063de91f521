// Route leaf request of the route programming client: one layout for IPv4 and IPv6, add, modify and delete.
//
// Numbers are little-endian, IPv6 addresses in network order. Bytes called reserved are sent as 0.
#ifndef ZOR_VOP_PRM_LEAF_H
#define ZOR_VOP_PRM_LEAF_H

#include "prm_buddy_reserve.h"
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

#endif
