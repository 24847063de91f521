// Interface-database client library: interfaces, their features, port features and bundles.
//
// All records are little-endian. Bytes called reserved are sent as 0.
#ifndef UIDB_H
#define UIDB_H

#include "prm_types.h"

enum : u32 { UIDB_CLIENT_COOKIE = 0x12123434 };  // first argument of a client's calls

enum uidb_iftype : u32 {
    UIDB_IFTYPE_SUB_INTERFACE = 2,
    UIDB_IFTYPE_BUNDLE_MAIN = 3,
    UIDB_IFTYPE_BVI = 6,
};

// Index of the one bridged virtual interface that a card has: on cards of the veltora family, and on the
// other card types (PLATFORM_CARD_TYPE_...).
enum : u16 { UIDB_BVI_INDEX_VELTORA = 2016, UIDB_BVI_INDEX = 4064 };

enum uidb_feature_id : u32 {
    UIDB_FEATURE_IP_MTU = 123,         // bytes; qualifier UIDB_QUALIFIER_IP_MTU
    UIDB_FEATURE_NP_PORT = 154,        // NP port of a sub-interface outside a bundle
    UIDB_FEATURE_LAG_ID = 155,         // bundle the interface belongs to
    UIDB_FEATURE_L2 = 156,             // 1 layer 2, 0 layer 3
    UIDB_FEATURE_STATS_POINTER = 162,  // qualifier tells the direction
    UIDB_FEATURE_MPLS_ENABLE = 228,    // 1 / 0
    UIDB_FEATURE_VRF = 259,            // VRF id
    UIDB_FEATURE_IPV4_ENABLE = 260,    // 1 / 0
    UIDB_FEATURE_REWRITE_OP = 314,     // uidb_rewrite_op
    UIDB_FEATURE_VLAN_TAGS = 332,      // tags of the encapsulation: 0, 1 or 2
    UIDB_FEATURE_SPAN_SOURCE = 455,    // mirror session, UIDB_SPAN_SOURCE_REMOVE; qualifier is the direction
    UIDB_FEATURE_MAC = 465,            // six MAC bytes from `value` on
    UIDB_FEATURE_OUTER_TPID = 514,
    UIDB_FEATURE_OUTER_VLAN = 515,
    UIDB_FEATURE_INNER_VLAN = 517,
    UIDB_FEATURE_REWRITE_OUTER_TPID = 518,
    UIDB_FEATURE_REWRITE_OUTER_VLAN = 519,
    UIDB_FEATURE_REWRITE_INNER_VLAN = 521,
    UIDB_FEATURE_BUNDLE_SUBIF_PORT = 638,  // member port in the low byte of `value`
};

// Value of UIDB_FEATURE_REWRITE_OP: what an interface does to the VLAN tags of a frame.
enum uidb_rewrite_op : u8 {
    UIDB_REWRITE_NORW = 0,     // nothing
    UIDB_REWRITE_SWAP11 = 1,   // one tag for one
    UIDB_REWRITE_SWAP22 = 3,   // two tags for two
    UIDB_REWRITE_POP1 = 4,     // remove one tag
    UIDB_REWRITE_SWAP21 = 5,   // two tags for one
    UIDB_REWRITE_PUSH1 = 16,   // add one tag
    UIDB_REWRITE_SWAP12 = 18,  // one tag for two
    UIDB_REWRITE_PUSH2 = 32,   // add two tags
};

// Value of UIDB_FEATURE_SPAN_SOURCE: a session number adds the interface to that session's sources; with this
// bit it removes the interface from them.
enum : u32 { UIDB_SPAN_SOURCE_REMOVE = 1u << 31 };

enum uidb_port_feature_id : u32 { UIDB_PORT_FEATURE_SOURCE_MAC = 468 };

enum : u16 { UIDB_QUALIFIER_IP_MTU = 2, UIDB_QUALIFIER_INGRESS = 0, UIDB_QUALIFIER_EGRESS = 1 };

enum uidb_lag_op : u32 {
    UIDB_LAG_CREATE = 0,       // create the bundle with the member list
    UIDB_LAG_SET_MEMBERS = 1,  // replace the member list
    UIDB_LAG_DELETE = 2,
    UIDB_LAG_CONFIG_MEMBER = 3,
    UIDB_LAG_UNCONFIG_MEMBER = 4,
};

enum { UIDB_LAG_MAX_MEMBERS = 32 };

// Request to create one interface.
struct PRM_PACKED uidb_create_msg {
    u32 reserved0;
    u32 channel_map;  // NP port, low 8 bits; 0 for a bundle main interface and a BVI
    u32 if_handle;
    u32 parent_ifh;  // 0 for a bundle main interface and a BVI
    u32 iftype;      // uidb_iftype
    u8 reserved20[2];
    u16 uidb_index;  // written by the library: index allocated
    u8 reserved24[84];
};
static_assert(sizeof(uidb_create_msg) == 108, "ABI");
static_assert(offsetof(uidb_create_msg, channel_map) == 4, "ABI");
static_assert(offsetof(uidb_create_msg, if_handle) == 8, "ABI");
static_assert(offsetof(uidb_create_msg, parent_ifh) == 12, "ABI");
static_assert(offsetof(uidb_create_msg, iftype) == 16, "ABI");
static_assert(offsetof(uidb_create_msg, uidb_index) == 22, "ABI");

// One feature of an interface.
struct PRM_PACKED uidb_feature {
    u16 qualifier;
    u8 reserved2[6];
    u32 feature_id;  // uidb_feature_id
    union PRM_PACKED {
        u32 value;
        u8 value_byte;  // feature 638: NP port
        u8 mac[6];      // feature 465
    };
    u8 reserved18[26];
    u32 member_add;   // feature 638: 1 adds the port, 0 removes it
    u8 member_valid;  // feature 638: 1, sent as is
    u8 reserved49[3];
};
static_assert(sizeof(uidb_feature) == 52, "ABI");
static_assert(offsetof(uidb_feature, feature_id) == 8, "ABI");
static_assert(offsetof(uidb_feature, value) == 12, "ABI");
static_assert(offsetof(uidb_feature, member_add) == 44, "ABI");
static_assert(offsetof(uidb_feature, member_valid) == 48, "ABI");

// Set-feature message: this head, then `nr_features` feature records back to back.
struct PRM_PACKED uidb_client_data {
    u32 if_handle;
    u16 nr_features;
    u16 features_len;  // bytes of the records: nr_features x 52
};
static_assert(sizeof(uidb_client_data) == 8, "ABI");
static_assert(offsetof(uidb_client_data, nr_features) == 4, "ABI");
static_assert(offsetof(uidb_client_data, features_len) == 6, "ABI");

// Set-feature message with N records.
template <size_t N>
struct PRM_PACKED uidb_client_data_of {
    uidb_client_data head;
    uidb_feature features[N];
};
static_assert(sizeof(uidb_client_data_of<1>) == 60, "ABI");
static_assert(sizeof(uidb_client_data_of<5>) == 268, "ABI");
static_assert(sizeof(uidb_client_data_of<8>) == 424, "ABI");

// One entry of a batch: one feature of one interface.
struct PRM_PACKED uidb_batch_entry {
    u32 if_handle;
    u16 nr_features;   // not filled in the batch form
    u16 features_len;  // not filled in the batch form
    uidb_feature feature;
};
static_assert(sizeof(uidb_batch_entry) == 60, "ABI");
static_assert(offsetof(uidb_batch_entry, feature) == 8, "ABI");

// Batch set-feature message: this head, then `nr_entries` entries back to back.
struct PRM_PACKED uidb_feature_batch {
    u8 reserved0[20];
    u32 nr_entries;
    u32 entries_len;  // bytes of the entries: nr_entries x 60
    u8 reserved28[12];
};
static_assert(sizeof(uidb_feature_batch) == 40, "ABI");
static_assert(offsetof(uidb_feature_batch, nr_entries) == 20, "ABI");
static_assert(offsetof(uidb_feature_batch, entries_len) == 24, "ABI");

// Batch message with M entries.
template <size_t M>
struct PRM_PACKED uidb_feature_batch_of {
    uidb_feature_batch head;
    uidb_batch_entry entries[M];
};
static_assert(sizeof(uidb_feature_batch_of<1>) == 100, "ABI");
static_assert(sizeof(uidb_feature_batch_of<2>) == 160, "ABI");
static_assert(sizeof(uidb_feature_batch_of<3>) == 220, "ABI");

// Port feature record.
struct PRM_PACKED uidb_port_feature {
    u16 reserved0;
    u8 reserved2[2];
    u32 reserved4;
    u16 port;  // bundle id, low 8 bits
    u8 reserved10[2];
    u32 feature_id;  // uidb_port_feature_id
    u8 mac[6];
    u8 reserved22[2];
    u32 enable;
};
static_assert(sizeof(uidb_port_feature) == 28, "ABI");
static_assert(offsetof(uidb_port_feature, port) == 8, "ABI");
static_assert(offsetof(uidb_port_feature, feature_id) == 12, "ABI");
static_assert(offsetof(uidb_port_feature, mac) == 16, "ABI");
static_assert(offsetof(uidb_port_feature, enable) == 24, "ABI");

// Bundle update record.
struct PRM_PACKED uidb_lag_update {
    u8 lag_id;
    u8 reserved1;
    u16 members[UIDB_LAG_MAX_MEMBERS];  // NP ports, the first member_count used
    u8 member_count;
    u8 reserved67;
    u32 lag_op;      // uidb_lag_op
    u32 lag_status;  // written by the library: the operation's own result
};
static_assert(sizeof(uidb_lag_update) == 76, "ABI");
static_assert(offsetof(uidb_lag_update, members) == 2, "ABI");
static_assert(offsetof(uidb_lag_update, member_count) == 66, "ABI");
static_assert(offsetof(uidb_lag_update, lag_op) == 68, "ABI");
static_assert(offsetof(uidb_lag_update, lag_status) == 72, "ABI");

#ifdef __cplusplus
extern "C" {
#endif

// Each returns 0 or an error code; the records belong to the caller. The cookie is pointer-sized because one
// caller passes its client handle in it.
prm_status_t uidb_create_interface_batch(uintptr_t cookie, uidb_create_msg *interfaces, u32 count);
prm_status_t uidb_create_interface(uintptr_t cookie, uidb_create_msg *interface);
prm_status_t uidb_set_feature(uintptr_t cookie, uidb_client_data *message);
prm_status_t uidb_set_feature_batch(uintptr_t cookie, uidb_feature_batch *batch);
prm_status_t uidb_set_port_feature(uintptr_t cookie, uidb_port_feature *feature);
prm_status_t uidb_update_lag(uintptr_t cookie, uidb_lag_update *update);
prm_status_t uidb_delete_interface(uintptr_t cookie, u32 if_handle);

#ifdef __cplusplus
}
#endif

#endif
