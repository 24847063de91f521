// The reservation record that every index pool of the resource manager takes.
#ifndef PRM_BUDDY_RESERVE_H
#define PRM_BUDDY_RESERVE_H

#include "prm_fields.h"
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

inline constexpr prm_field prm_buddy_reserve_fields[] = {
    PRM_FIELD(prm_buddy_reserve, owner).number(),
    PRM_FIELD(prm_buddy_reserve, count).number(),
    PRM_FIELD(prm_buddy_reserve, reserved8).reserved(),
    PRM_FIELD(prm_buddy_reserve, index).number().names_a(PRM_HANDLE_RESERVED_INDEX).written_back(),
    PRM_FIELD(prm_buddy_reserve, reserved20).reserved(),
    PRM_FIELD(prm_buddy_reserve, word36).as_is(),
    PRM_FIELD(prm_buddy_reserve, reserved40).reserved(),
    PRM_FIELD(prm_buddy_reserve, byte296).as_is(),
    PRM_FIELD(prm_buddy_reserve, reserved297).reserved(),
};
inline constexpr prm_record prm_buddy_reserve_record = PRM_RECORD(prm_buddy_reserve);

#endif
