// Route leaves: reserve, add, modify and delete IPv4 and IPv6 leaves.
#ifndef PRM_KIV_ROUTE_H
#define PRM_KIV_ROUTE_H

#include "prm_types.h"
#include "zor_vop_prm.h"
#include "zor_vop_prm_leaf.h"

#ifdef __cplusplus
extern "C" {
#endif

// Each returns the client's status. `ignored` is not looked at.

// Reserves room for `count` leaves of either address family.
prm_status_t kiv_util_vop_prm_srh_ip_leaf_reserve(u32 owner, u32 count);

// Adds a leaf; modifies it when the low byte of `modify` is not 0. Flags are 0 or not; `ldi_ptr` goes out
// with the LDI or the recursive flag, `ldi_ptr2` with the recursive one; of `tag` the low 6 bits.
prm_status_t kiv_util_vop_prm_srh_ipv4_leaf_add(u32 owner, u32 address, u32 prefix_length, u16 vrf,
                                                int direct, int recursive, int ldi, u32 ldi_ptr, u32 ldi_ptr2,
                                                u32 ignored, u32 tag, int modify);
prm_status_t kiv_util_vop_prm_srh_ipv6_leaf_add(u32 owner, const zor_ipv6_prefix *prefix, int direct,
                                                int recursive, int ldi, u32 ldi_ptr, u32 ldi_ptr2,
                                                u32 ignored, u32 tag, int modify);

prm_status_t kiv_util_vop_prm_srh_ipv4_leaf_delete(u32 owner, u32 address, u32 prefix_length, u16 vrf,
                                                   u32 ignored);
prm_status_t kiv_util_vop_prm_srh_ipv6_leaf_delete(u32 owner, const zor_ipv6_prefix *prefix, u32 ignored);

int tc_prm_v4_leaf_reserve(void);
int tc_prm_v4_leaf_add(void);
int tc_prm_v4_leaf_delete(void);
int tc_prm_v4_leaf_mpath_add(void);
int tc_prm_v6_leaf_reserve(void);
int tc_prm_v6_leaf_add(void);
int tc_prm_v6_leaf_delete(void);

#ifdef __cplusplus
}
#endif

// The IPv4 host route that the route and the label cases program.
enum : u32 { PRM_KIV_ROUTE_IPV4 = 0x01010102, PRM_KIV_ROUTE_IPV4_LENGTH = 32 };

#endif
