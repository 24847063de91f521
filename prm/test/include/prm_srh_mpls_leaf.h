// Release of reserved label-entry indices.
#ifndef PRM_SRH_MPLS_LEAF_H
#define PRM_SRH_MPLS_LEAF_H

#include "prm_types.h"

struct PRM_PACKED prm_mpls_leaf_release {
    u32 owner;  // PRM_OWNER
    u32 index;  // first index to release
    u32 count;
    u8 reserved12[24];
};
static_assert(sizeof(prm_mpls_leaf_release) == 36, "ABI");
static_assert(offsetof(prm_mpls_leaf_release, index) == 4, "ABI");
static_assert(offsetof(prm_mpls_leaf_release, count) == 8, "ABI");

#endif
