// The reservation record that every index pool of the resource manager takes.
#ifndef PRM_BUDDY_RESERVE_H
#define PRM_BUDDY_RESERVE_H

#include "prm_types.h"

enum : u32 { PRM_OWNER = 10 };  // owner of everything the suite programs, sent as is

// Reservation of `count` consecutive indices; 2352 bytes.
struct PRM_PACKED prm_buddy_reserve {
    u32 owner;  // PRM_OWNER where the operation has one
    u32 count;  // indices wanted
    u8 reserved8[8];
    u32 index;  // written by the library: first index reserved
    u8 reserved20[16];
    u32 word36;  // label of a swap chain's load-distribution entry, else 0; sent as is
    u8 reserved40[256];
    u8 byte296;  // 1 for a swap chain's load-distribution entry, else 0; sent as is
    u8 reserved297[2055];
};
static_assert(sizeof(prm_buddy_reserve) == 2352, "ABI");
static_assert(offsetof(prm_buddy_reserve, count) == 4, "ABI");
static_assert(offsetof(prm_buddy_reserve, index) == 16, "ABI");
static_assert(offsetof(prm_buddy_reserve, word36) == 36, "ABI");
static_assert(offsetof(prm_buddy_reserve, byte296) == 296, "ABI");

#endif
