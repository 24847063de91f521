// Cross-connects between two attachment circuits, with or without VLAN tag rewrites, and from a circuit to a
// pseudowire: site values, reusable steps and cases.
#ifndef PRM_KIV_XCONNECT_H
#define PRM_KIV_XCONNECT_H

#include "prm_types.h"

// The rewrite matrix: case, operation (UIDB_REWRITE_...) of the source and of the destination sub-interface,
// line of its check.
// In a name "st" and "dt" tell how many tags the site gives the sub-interface; the request is the same for
// both.
// clang-format off
#define KIV_XCONNECT_REWRITE_CASES(ROW) \
    ROW(tc_kiv_xconnect_rw_st_norw_st_pop1,     NORW,   POP1,   510) \
    ROW(tc_kiv_xconnect_rw_st_norw_st_push1,    NORW,   PUSH1,  517) \
    ROW(tc_kiv_xconnect_rw_st_norw_st_swap11,   NORW,   SWAP11, 524) \
    ROW(tc_kiv_xconnect_rw_st_push1_st_push1,   PUSH1,  PUSH1,  532) \
    ROW(tc_kiv_xconnect_rw_st_push1_st_swap11,  PUSH1,  SWAP11, 540) \
    ROW(tc_kiv_xconnect_rw_st_push1_st_swap12,  PUSH1,  SWAP12, 548) \
    ROW(tc_kiv_xconnect_rw_st_push2_st_push2,   PUSH2,  PUSH2,  556) \
    ROW(tc_kiv_xconnect_rw_st_push2_st_swap12,  PUSH2,  SWAP12, 564) \
    ROW(tc_kiv_xconnect_rw_st_pop1_st_pop1,     POP1,   POP1,   572) \
    ROW(tc_kiv_xconnect_rw_st_pop1_st_swap11,   POP1,   SWAP11, 580) \
    ROW(tc_kiv_xconnect_rw_st_swap11_st_swap11, SWAP11, SWAP11, 588) \
    ROW(tc_kiv_xconnect_rw_st_swap11_st_swap12, SWAP11, SWAP12, 596) \
    ROW(tc_kiv_xconnect_rw_st_swap12_st_swap12, SWAP12, SWAP12, 604) \
    ROW(tc_kiv_xconnect_rw_st_norw_dt_pop1,     NORW,   POP1,   614) \
    ROW(tc_kiv_xconnect_rw_st_norw_dt_push1,    NORW,   PUSH1,  621) \
    ROW(tc_kiv_xconnect_rw_st_norw_dt_swap11,   NORW,   SWAP11, 628) \
    ROW(tc_kiv_xconnect_rw_st_norw_dt_swap21,   NORW,   SWAP21, 635) \
    ROW(tc_kiv_xconnect_rw_st_norw_dt_swap12,   NORW,   SWAP12, 642) \
    ROW(tc_kiv_xconnect_rw_st_norw_dt_swap22,   NORW,   SWAP22, 649) \
    ROW(tc_kiv_xconnect_rw_st_push1_dt_norw,    PUSH1,  NORW,   656) \
    ROW(tc_kiv_xconnect_rw_st_push1_dt_push1,   PUSH1,  PUSH1,  664) \
    ROW(tc_kiv_xconnect_rw_st_push1_dt_push2,   PUSH1,  PUSH2,  672) \
    ROW(tc_kiv_xconnect_rw_st_push1_dt_swap11,  PUSH1,  SWAP11, 680) \
    ROW(tc_kiv_xconnect_rw_st_push1_dt_swap12,  PUSH1,  SWAP12, 688) \
    ROW(tc_kiv_xconnect_rw_st_push1_dt_swap22,  PUSH1,  SWAP22, 696) \
    ROW(tc_kiv_xconnect_rw_st_push2_dt_push1,   PUSH2,  PUSH1,  704) \
    ROW(tc_kiv_xconnect_rw_st_push2_dt_push2,   PUSH2,  PUSH2,  712) \
    ROW(tc_kiv_xconnect_rw_st_push2_dt_swap12,  PUSH2,  SWAP12, 720) \
    ROW(tc_kiv_xconnect_rw_st_pop1_dt_norw,     POP1,   NORW,   727) \
    ROW(tc_kiv_xconnect_rw_st_pop1_dt_pop1,     POP1,   POP1,   735) \
    ROW(tc_kiv_xconnect_rw_st_pop1_dt_swap11,   POP1,   SWAP11, 743) \
    ROW(tc_kiv_xconnect_rw_st_pop1_dt_swap21,   POP1,   SWAP21, 751) \
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_norw,   SWAP11, NORW,   758) \
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_pop1,   SWAP11, POP1,   766) \
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_push1,  SWAP11, PUSH1,  774) \
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_swap11, SWAP11, SWAP11, 782) \
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_swap21, SWAP11, SWAP21, 790) \
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_swap12, SWAP11, SWAP12, 798) \
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_swap22, SWAP11, SWAP22, 806) \
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_norw,   SWAP12, NORW,   813) \
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_push1,  SWAP12, PUSH1,  821) \
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_swap11, SWAP12, SWAP11, 829) \
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_swap12, SWAP12, SWAP12, 837) \
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_swap22, SWAP12, SWAP22, 845)
// clang-format on

#ifdef __cplusplus
extern "C" {
#endif

// Rewrite tags of the two sub-interfaces, as the rewrite reader fills them.
extern u16 rovlan[2], rivlan[2], rotpid[2];

// Fill `ifh` and `uidb`, then also the encapsulations, then also the rewrite tags, of the two sub-interfaces,
// a line each. A file that cannot be opened is reported with perror.
void kiv_util_read_xconnect_uidbs(void);
void kiv_util_read_xconnect_subifs(void);
void kiv_util_read_xconnect_rewrites(void);

// Sets a layer-2 sub-interface's encapsulation and rewrite. Checks the status and returns it; aborts without
// memory.
prm_status_t kiv_util_add_subif_rewrite(u32 ifh, u32 ovlan, u32 ivlan, u32 otpid, u8 rw_op, u32 rovlan,
                                        u32 rivlan, u32 rotpid);

// Joins two sub-interfaces; removes the cross-connect of one.
prm_status_t kiv_util_prm_srh_xconnect_add(u32 uidb1, u32 uidb2);
prm_status_t kiv_util_prm_srh_xconnect_remove(u32 uidb1);

// Joins an attachment circuit to a pseudowire over a transmit adjacency that it makes; removes both. The
// adjacency's own statuses are not looked at.
prm_status_t kiv_util_prm_srh_eompls_xconnect_add(u32 ac_uidb, u32 pw_xid);
prm_status_t kiv_util_prm_srh_eompls_xconnect_remove(u32 pw_xid, u32 ac_key);

// One cell of the rewrite matrix: reads the site values, sets both rewrites and joins the two; the first
// status that is not 0.
prm_status_t kiv_util_xconnect_add_with_rewrite(u8 src_op, u8 dst_op);

int tc_kiv_xconnect_add_locsw(void);
int tc_kiv_xconnect_encap_chg_locsw(void);
int tc_kiv_xconnect_remove_locsw(void);
int tc_kiv_xconnect_add_locsw_with_push1_rw(void);
int tc_kiv_xconnect_add_locsw_with_pop1_rw(void);
int tc_kiv_xconnect_add_locsw_with_swap11_rw(void);
int tc_kiv_xconnect_add_l2p_x_pw(void);
int tc_kiv_xconnect_remove_l2p_x_pw(void);
int tc_kiv_vpls_xconnect_add_l2p_x_pw(void);
int tc_kiv_vpls_xconnect_remove_l2p_x_pw(void);

#define KIV_DECLARE_CASE(name, source_op, destination_op, line) int name(void);
KIV_XCONNECT_REWRITE_CASES(KIV_DECLARE_CASE)
#undef KIV_DECLARE_CASE

#ifdef __cplusplus
}
#endif

#endif
