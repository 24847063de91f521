// Transmit adjacencies: reserve next hops, program their rewrites, modify and delete them.
#ifndef PRM_KIV_TX_ADJ_H
#define PRM_KIV_TX_ADJ_H

#include "prm_srh.h"
#include "prm_srh_tx_adj.h"
#include "prm_types.h"

enum : u8 {
    PRM_KIV_TX_ADJ_FORWARDS = 0x01,  // bit of a kind that reaches the record
    PRM_KIV_TX_ADJ_LABELLED = 0x10,  // bit of a kind that adds labels and the MPLS next hop
};

// Kinds of adjacency. Those without the forwarding bit are told apart by their case alone.
enum prm_kiv_tx_adj_kind : u8 {
    PRM_KIV_TX_ADJ_MISC = 0,
    PRM_KIV_TX_ADJ_NORMAL = 1,
    PRM_KIV_TX_ADJ_DROP = 2,
    PRM_KIV_TX_ADJ_NULL0 = 4,
    PRM_KIV_TX_ADJ_PUNT = 8,
    PRM_KIV_TX_ADJ_MPLS = PRM_KIV_TX_ADJ_LABELLED | PRM_KIV_TX_ADJ_FORWARDS,
};

enum { PRM_KIV_IF_NAME_SIZE = 30 };

#ifdef __cplusplus
extern "C" {
#endif

// Site values, one entry a line of the input file.
extern u32 ifh[2];      // interface handles
extern u32 uidb[2];     // interface-database indices
extern u32 np_port[2];  // NP ports
extern char if_name[2][PRM_KIV_IF_NAME_SIZE];

// Each returns the client's status.

// Reserves `count` next hops and stores the first index on success.
prm_status_t kiv_util_tx_adj_buddy_reserve(u32 count, u32 *index);

// Adds, or modifies, the adjacency of next hop `nh_idx`. `mac` is six bytes; of `uidb_index` the low 16 bits
// go out; `mpls_nh` only with a labelled kind.
prm_status_t kiv_util_tx_adj_add(u8 kind, u32 uidb_index, const u8 *mac, u32 nh_idx, u32 mpls_nh);
prm_status_t kiv_util_tx_adj_mod(u8 kind, u32 uidb_index, const u8 *mac, u32 nh_idx, u32 mpls_nh);

// Reserves a next hop and adds its adjacency, telling both; the next hop goes to *nh, standard output and the
// output file.
prm_status_t kiv_util_tx_adj_add_nh(u8 kind, u32 uidb_index, u32 *nh);

// Reserves two next hops and adds a normal and a label adjacency on the first.
prm_status_t kiv_util_tx_adj_add_mpls_nh(u32 uidb_index, u32 *nh, u32 *mpls_nh);

prm_status_t kiv_util_tx_adj_del(const u32 *nh, int option1, int option2);

// Ethernet-over-MPLS adjacency with a next hop and a tunnel interface of its own, which stay in *nh and
// *tunnel.
prm_status_t tc_kiv_eompls_tx_adj_add(u32 *nh, u32 *tunnel);
prm_status_t tc_kiv_eompls_tx_adj_del(const u32 *nh, const u32 *tunnel, int option1, int option2);

int tc_kiv_tx_adj_add(void);
int tc_kiv_tx_adj_del(void);
int tc_kiv_tx_adj_modify(void);
int tc_kiv_tx_adj_add_uidb_get_fail(void);
int tc_kiv_tx_adj_add_misc(void);
int tc_kiv_tx_adj_add_punt(void);
int tc_kiv_tx_adj_add_null0(void);
int tc_kiv_tx_adj_add_drop_nh(void);
int tc_kiv_tx_adj_del_all(void);
int tc_kiv_tx_adj_buddy_reserve(void);

#ifdef __cplusplus
}
#endif

// Destination MAC of every plain adjacency, 00:00:b0:10:10:01.
extern const u8 prm_kiv_tx_adj_mac[6];

// Tells how the sending of an adjacency ended.
void prm_kiv_tx_adj_print_added(prm_status_t rc);

#endif
