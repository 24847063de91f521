// Local packet transport entries: the hardware entries that steer packets addressed to the router itself.
//
// Numbers are little-endian, IPv6 addresses in network order. Bytes called reserved are sent as 0.
#ifndef PRM_SRH_LPTS_H
#define PRM_SRH_LPTS_H

#include "prm_buddy_reserve.h"
#include "prm_types.h"

enum : u32 {
    PRM_LPTS_TYPE = 256,  // sent as is
    PRM_LPTS_PROTO_IPV4 = 1,
    PRM_LPTS_PROTO_IPV6 = 2,
    PRM_LPTS_GET_WORD = 1,  // last argument of a read; sent as is
};

enum : u8 { PRM_LPTS_MASK_ALL = 0xff };  // both mask bytes; sent as is

union PRM_PACKED prm_lpts_address {
    u32 v4;
    u8 v6[16];
    u16 v6_words[8];
};
static_assert(sizeof(prm_lpts_address) == 16, "ABI");

struct PRM_PACKED prm_lpts_entry {
    u32 lpts_type;
    u8 lpts_mask0;
    u8 lpts_mask1;
    u8 reserved6[2];
    u32 lpts_valid;
    u8 reserved12[32];
    u32 l3_proto;  // PRM_LPTS_PROTO_...
    u8 l4_proto;   // IP protocol number
    u8 reserved49[11];
    prm_lpts_address local_addr;
    u32 local_plen;  // bits
    u8 reserved80[4];
    prm_lpts_address remote_addr;
    u32 remote_plen;  // bits
    u8 reserved104[4];
    u16 local_port;
    u8 reserved110[6];
    u16 remote_port;
    u8 reserved118[10];
};
static_assert(sizeof(prm_lpts_entry) == 128, "ABI");
static_assert(offsetof(prm_lpts_entry, lpts_mask0) == 4, "ABI");
static_assert(offsetof(prm_lpts_entry, lpts_mask1) == 5, "ABI");
static_assert(offsetof(prm_lpts_entry, lpts_valid) == 8, "ABI");
static_assert(offsetof(prm_lpts_entry, l3_proto) == 44, "ABI");
static_assert(offsetof(prm_lpts_entry, l4_proto) == 48, "ABI");
static_assert(offsetof(prm_lpts_entry, local_addr) == 60, "ABI");
static_assert(offsetof(prm_lpts_entry, local_plen) == 76, "ABI");
static_assert(offsetof(prm_lpts_entry, remote_addr) == 84, "ABI");
static_assert(offsetof(prm_lpts_entry, remote_plen) == 100, "ABI");
static_assert(offsetof(prm_lpts_entry, local_port) == 108, "ABI");
static_assert(offsetof(prm_lpts_entry, remote_port) == 116, "ABI");

// Identifier of a programmed entry.
struct PRM_PACKED prm_lpts_id {
    u32 group;
    u32 entry;
    u32 policer;
    u32 statistics;
    u32 word16;  // not used
};
static_assert(sizeof(prm_lpts_id) == 20, "ABI");
static_assert(offsetof(prm_lpts_id, entry) == 4, "ABI");
static_assert(offsetof(prm_lpts_id, policer) == 8, "ABI");
static_assert(offsetof(prm_lpts_id, statistics) == 12, "ABI");

// An add takes the entry and leaves the identifier at the start of the data; a read takes the identifier and
// leaves the entry; a delete takes the identifier.
struct PRM_PACKED prm_lpts_request {
    u32 owner;  // PRM_OWNER
    u8 reserved4[56];
    u32 data_len;
    u32 word64;  // 0, sent as is
    union PRM_PACKED {
        prm_lpts_entry entry;
        prm_lpts_id id;
        u8 data[2048];
    };
};
static_assert(sizeof(prm_lpts_request) == 2116, "ABI");
static_assert(offsetof(prm_lpts_request, data_len) == 60, "ABI");
static_assert(offsetof(prm_lpts_request, word64) == 64, "ABI");
static_assert(offsetof(prm_lpts_request, data) == 68, "ABI");

#endif
