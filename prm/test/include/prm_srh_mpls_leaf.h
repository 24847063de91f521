// Release of reserved label-entry indices.
#ifndef PRM_SRH_MPLS_LEAF_H
#define PRM_SRH_MPLS_LEAF_H

#include "prm_fields.h"
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

inline constexpr prm_field prm_mpls_leaf_release_fields[] = {
    PRM_FIELD(prm_mpls_leaf_release, owner).number(),
    PRM_FIELD(prm_mpls_leaf_release, index).number().names_a(PRM_HANDLE_LABEL_INDEX),
    PRM_FIELD(prm_mpls_leaf_release, count).number(),
    PRM_FIELD(prm_mpls_leaf_release, reserved12).reserved(),
};
inline constexpr prm_record prm_mpls_leaf_release_record = PRM_RECORD(prm_mpls_leaf_release);

#endif
