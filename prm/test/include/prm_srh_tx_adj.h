// Transmit adjacency: the rewrite an outgoing packet gets (destination MAC, outgoing interface, optional
// labels and tunnel). One layout for add, modify and delete.
//
// Numbers are little-endian. Bytes called reserved are sent as 0.
#ifndef PRM_SRH_TX_ADJ_H
#define PRM_SRH_TX_ADJ_H

#include "prm_fields.h"
#include "prm_types.h"

enum : u8 {
    PRM_TX_ADJ_NORMAL = 0x10,         // flags0: the adjacency forwards (bit 0 of its kind)
    PRM_TX_ADJ_LABELS = 0x06,         // flags2: label adjacency
    PRM_TX_ADJ_EOMPLS = 0x0e,         // flags2: Ethernet-over-MPLS adjacency
    PRM_TX_ADJ_DELETE = 0x82,         // flags2 of a plain delete
    PRM_TX_ADJ_EOMPLS_DELETE = 0x8e,  // flags2 of an Ethernet-over-MPLS delete
    PRM_TX_ADJ_OPTION2 = 0x01,        // flags3: second delete option; set in an Ethernet-over-MPLS add
    PRM_TX_ADJ_OPTION1 = 0x02,        // flags3: first delete option
};

struct PRM_PACKED prm_tx_adj {
    u8 reserved0[20];
    u32 nh_idx;  // next hop programmed or removed
    u8 reserved24[48];
    u8 adj_flags0;
    u8 reserved73;
    u8 adj_flags2;
    u8 adj_flags3;
    u8 reserved76[4];
    u16 uidb;  // interface-database index of the outgoing interface; all ones when there is none
    u8 reserved82[6];
    u8 dmac[6];
    u8 reserved94[2];
    u32 nh_idx2;  // MPLS next hop; of a delete the next hop to remove
    u32 label0;
    u32 label1;
    u32 label2;
    u8 reserved112[4];
    u32 tunnel_if;
    u8 reserved120[2004];
};
static_assert(sizeof(prm_tx_adj) == 2124, "ABI");
static_assert(offsetof(prm_tx_adj, nh_idx) == 20, "ABI");
static_assert(offsetof(prm_tx_adj, adj_flags0) == 72, "ABI");
static_assert(offsetof(prm_tx_adj, adj_flags2) == 74, "ABI");
static_assert(offsetof(prm_tx_adj, adj_flags3) == 75, "ABI");
static_assert(offsetof(prm_tx_adj, uidb) == 80, "ABI");
static_assert(offsetof(prm_tx_adj, dmac) == 88, "ABI");
static_assert(offsetof(prm_tx_adj, nh_idx2) == 96, "ABI");
static_assert(offsetof(prm_tx_adj, label0) == 100, "ABI");
static_assert(offsetof(prm_tx_adj, label1) == 104, "ABI");
static_assert(offsetof(prm_tx_adj, label2) == 108, "ABI");
static_assert(offsetof(prm_tx_adj, tunnel_if) == 116, "ABI");

inline constexpr prm_bits prm_tx_adj_bits0[] = {{PRM_TX_ADJ_NORMAL, "normal"}};
inline constexpr prm_name prm_tx_adj_forms[] = {
    {PRM_TX_ADJ_LABELS, "labels"},
    {PRM_TX_ADJ_EOMPLS, "eompls"},
    {PRM_TX_ADJ_DELETE, "delete"},
    {PRM_TX_ADJ_EOMPLS_DELETE, "eompls_delete"},
};
inline constexpr prm_bits prm_tx_adj_bits3[] = {
    {PRM_TX_ADJ_OPTION2, "option2"},
    {PRM_TX_ADJ_OPTION1, "option1"},
};
inline constexpr prm_field prm_tx_adj_fields[] = {
    PRM_FIELD(prm_tx_adj, reserved0).reserved(),
    PRM_FIELD(prm_tx_adj, nh_idx).number().names_a(PRM_HANDLE_NEXT_HOP),
    PRM_FIELD(prm_tx_adj, reserved24).reserved(),
    PRM_FIELD(prm_tx_adj, adj_flags0).flags(prm_tx_adj_bits0),
    PRM_FIELD(prm_tx_adj, reserved73).reserved(),
    PRM_FIELD(prm_tx_adj, adj_flags2).one_of(prm_tx_adj_forms),
    PRM_FIELD(prm_tx_adj, adj_flags3).flags(prm_tx_adj_bits3),
    PRM_FIELD(prm_tx_adj, reserved76).reserved(),
    PRM_FIELD(prm_tx_adj, uidb).number().names_a(PRM_HANDLE_UIDB),
    PRM_FIELD(prm_tx_adj, reserved82).reserved(),
    PRM_FIELD(prm_tx_adj, dmac).mac(),
    PRM_FIELD(prm_tx_adj, reserved94).reserved(),
    PRM_FIELD(prm_tx_adj, nh_idx2).number().names_a(PRM_HANDLE_NEXT_HOP),
    PRM_FIELD(prm_tx_adj, label0).number(),
    PRM_FIELD(prm_tx_adj, label1).number(),
    PRM_FIELD(prm_tx_adj, label2).number(),
    PRM_FIELD(prm_tx_adj, reserved112).reserved(),
    PRM_FIELD(prm_tx_adj, tunnel_if).number().names_a(PRM_HANDLE_TUNNEL),
    PRM_FIELD(prm_tx_adj, reserved120).reserved(),
};
inline constexpr prm_record prm_tx_adj_record = PRM_RECORD(prm_tx_adj);

#endif
