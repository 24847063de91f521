// Interface-database client library: interfaces, their features, port features and bundles.
//
// All records are little-endian. Bytes called reserved are sent as 0.
#ifndef UIDB_H
#define UIDB_H

#include "prm_fields.h"
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

inline constexpr prm_name uidb_iftypes[] = {
    {UIDB_IFTYPE_SUB_INTERFACE, "sub_interface"},
    {UIDB_IFTYPE_BUNDLE_MAIN, "bundle_main"},
    {UIDB_IFTYPE_BVI, "bvi"},
};
inline constexpr prm_bits uidb_channel_map_bits[] = {{0xFF, "np_port", {}, PRM_HANDLE_PORT}};
inline constexpr prm_field uidb_create_msg_fields[] = {
    PRM_FIELD(uidb_create_msg, reserved0).reserved(),
    PRM_FIELD(uidb_create_msg, channel_map).flags(uidb_channel_map_bits),
    PRM_FIELD(uidb_create_msg, if_handle).hex().names_a(PRM_HANDLE_INTERFACE),
    PRM_FIELD(uidb_create_msg, parent_ifh).hex().names_a(PRM_HANDLE_INTERFACE),
    PRM_FIELD(uidb_create_msg, iftype).one_of(uidb_iftypes),
    PRM_FIELD(uidb_create_msg, reserved20).reserved(),
    PRM_FIELD(uidb_create_msg, uidb_index).number().names_a(PRM_HANDLE_UIDB).written_back(),
    PRM_FIELD(uidb_create_msg, reserved24).reserved(),
};
inline constexpr prm_record uidb_create_msg_record = PRM_RECORD(uidb_create_msg);

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

inline constexpr prm_name uidb_features[] = {
    {UIDB_FEATURE_IP_MTU, "ip_mtu"},
    {UIDB_FEATURE_NP_PORT, "np_port"},
    {UIDB_FEATURE_LAG_ID, "lag_id"},
    {UIDB_FEATURE_L2, "l2"},
    {UIDB_FEATURE_STATS_POINTER, "stats_pointer"},
    {UIDB_FEATURE_MPLS_ENABLE, "mpls_enable"},
    {UIDB_FEATURE_VRF, "vrf"},
    {UIDB_FEATURE_IPV4_ENABLE, "ipv4_enable"},
    {UIDB_FEATURE_REWRITE_OP, "rewrite_op"},
    {UIDB_FEATURE_VLAN_TAGS, "vlan_tags"},
    {UIDB_FEATURE_SPAN_SOURCE, "span_source"},
    {UIDB_FEATURE_MAC, "mac"},
    {UIDB_FEATURE_OUTER_TPID, "outer_tpid"},
    {UIDB_FEATURE_OUTER_VLAN, "outer_vlan"},
    {UIDB_FEATURE_INNER_VLAN, "inner_vlan"},
    {UIDB_FEATURE_REWRITE_OUTER_TPID, "rewrite_outer_tpid"},
    {UIDB_FEATURE_REWRITE_OUTER_VLAN, "rewrite_outer_vlan"},
    {UIDB_FEATURE_REWRITE_INNER_VLAN, "rewrite_inner_vlan"},
    {UIDB_FEATURE_BUNDLE_SUBIF_PORT, "bundle_subif_port"},
};
inline constexpr prm_name uidb_rewrite_ops[] = {
    {0, "norw"},   {1, "swap11"}, {3, "swap22"},  {4, "pop1"},
    {5, "swap21"}, {16, "push1"}, {18, "swap12"}, {32, "push2"},
};
inline constexpr prm_bits uidb_span_bits[] = {
    {0x7FFFFFFF, "session", {}, PRM_HANDLE_MIRROR_SESSION},
    {0x80000000, "remove"},
};
// The values of features, by what they are; the area is as wide as a MAC address.
inline constexpr prm_field uidb_value = PRM_FIELD(uidb_feature, value);
inline constexpr prm_field uidb_value_rest = PRM_FIELD(uidb_feature, mac).behind(uidb_value);
inline constexpr prm_field uidb_number_fields[] = {uidb_value.number(), uidb_value_rest};
inline constexpr prm_field uidb_hex_fields[] = {uidb_value.hex(), uidb_value_rest};
inline constexpr prm_field uidb_port_fields[] = {uidb_value.number().names_a(PRM_HANDLE_PORT),
                                                 uidb_value_rest};
inline constexpr prm_field uidb_bundle_fields[] = {uidb_value.number().names_a(PRM_HANDLE_BUNDLE),
                                                   uidb_value_rest};
inline constexpr prm_field uidb_statistics_fields[] = {uidb_value.hex().names_a(PRM_HANDLE_STATISTICS),
                                                       uidb_value_rest};
inline constexpr prm_field uidb_rewrite_fields[] = {uidb_value.one_of(uidb_rewrite_ops), uidb_value_rest};
inline constexpr prm_field uidb_span_fields[] = {uidb_value.flags(uidb_span_bits), uidb_value_rest};
inline constexpr prm_field uidb_mac_fields[] = {PRM_FIELD(uidb_feature, mac).mac()};
inline constexpr prm_field uidb_member_fields[] = {
    PRM_FIELD(uidb_feature, value_byte).number().names_a(PRM_HANDLE_PORT),
    PRM_FIELD(uidb_feature, mac).behind(PRM_FIELD(uidb_feature, value_byte)),
};
inline constexpr prm_choice uidb_values[] = {
    prm_when(UIDB_FEATURE_NP_PORT, uidb_port_fields),
    prm_when(UIDB_FEATURE_LAG_ID, uidb_bundle_fields),
    prm_when(UIDB_FEATURE_STATS_POINTER, uidb_statistics_fields),
    prm_when(UIDB_FEATURE_REWRITE_OP, uidb_rewrite_fields),
    prm_when(UIDB_FEATURE_SPAN_SOURCE, uidb_span_fields),
    prm_when(UIDB_FEATURE_MAC, uidb_mac_fields),
    prm_when(UIDB_FEATURE_OUTER_TPID, uidb_hex_fields),
    prm_when(UIDB_FEATURE_REWRITE_OUTER_TPID, uidb_hex_fields),
    prm_when(UIDB_FEATURE_BUNDLE_SUBIF_PORT, uidb_member_fields),
    prm_otherwise(uidb_number_fields),
};
inline constexpr prm_field uidb_feature_fields[] = {
    PRM_FIELD(uidb_feature, qualifier).number(),
    PRM_FIELD(uidb_feature, reserved2).reserved(),
    PRM_FIELD(uidb_feature, feature_id).one_of(uidb_features),
    PRM_FIELD(uidb_feature, mac).chosen_by(PRM_SELECTOR(uidb_feature, feature_id), uidb_values),
    PRM_FIELD(uidb_feature, reserved18).reserved(),
    PRM_FIELD(uidb_feature, member_add).number(),
    PRM_FIELD(uidb_feature, member_valid).as_is(),
    PRM_FIELD(uidb_feature, reserved49).reserved(),
};
inline constexpr prm_record uidb_feature_record = PRM_RECORD(uidb_feature);

// Set-feature message: this head, then `nr_features` feature records back to back.
struct PRM_PACKED uidb_client_data {
    u32 if_handle;
    u16 nr_features;
    u16 features_len;  // bytes of the records: nr_features x 52
};
static_assert(sizeof(uidb_client_data) == 8, "ABI");
static_assert(offsetof(uidb_client_data, nr_features) == 4, "ABI");
static_assert(offsetof(uidb_client_data, features_len) == 6, "ABI");

inline constexpr prm_field uidb_client_data_fields[] = {
    PRM_FIELD(uidb_client_data, if_handle).hex().names_a(PRM_HANDLE_INTERFACE),
    PRM_FIELD(uidb_client_data, nr_features).number(),
    PRM_FIELD(uidb_client_data, features_len).number(),
};
inline constexpr prm_record uidb_client_data_record = PRM_RECORD_WITH_ITEMS(
    uidb_client_data, {"features", &uidb_feature_record, PRM_SELECTOR(uidb_client_data, nr_features)});

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

inline constexpr prm_field uidb_batch_entry_fields[] = {
    PRM_FIELD(uidb_batch_entry, if_handle).hex().names_a(PRM_HANDLE_INTERFACE),
    PRM_FIELD(uidb_batch_entry, nr_features).number(),
    PRM_FIELD(uidb_batch_entry, features_len).number(),
    PRM_FIELD(uidb_batch_entry, feature).of(&uidb_feature_record),
};
inline constexpr prm_record uidb_batch_entry_record = PRM_RECORD(uidb_batch_entry);

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

inline constexpr prm_field uidb_feature_batch_fields[] = {
    PRM_FIELD(uidb_feature_batch, reserved0).reserved(),
    PRM_FIELD(uidb_feature_batch, nr_entries).number(),
    PRM_FIELD(uidb_feature_batch, entries_len).number(),
    PRM_FIELD(uidb_feature_batch, reserved28).reserved(),
};
inline constexpr prm_record uidb_feature_batch_record = PRM_RECORD_WITH_ITEMS(
    uidb_feature_batch, {"entries", &uidb_batch_entry_record, PRM_SELECTOR(uidb_feature_batch, nr_entries)});

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

inline constexpr prm_name uidb_port_features[] = {{UIDB_PORT_FEATURE_SOURCE_MAC, "source_mac"}};
inline constexpr prm_field uidb_port_feature_fields[] = {
    PRM_FIELD(uidb_port_feature, reserved0).reserved(),
    PRM_FIELD(uidb_port_feature, reserved2).reserved(),
    PRM_FIELD(uidb_port_feature, reserved4).reserved(),
    PRM_FIELD(uidb_port_feature, port).number().names_a(PRM_HANDLE_BUNDLE),
    PRM_FIELD(uidb_port_feature, reserved10).reserved(),
    PRM_FIELD(uidb_port_feature, feature_id).one_of(uidb_port_features),
    PRM_FIELD(uidb_port_feature, mac).mac(),
    PRM_FIELD(uidb_port_feature, reserved22).reserved(),
    PRM_FIELD(uidb_port_feature, enable).number(),
};
inline constexpr prm_record uidb_port_feature_record = PRM_RECORD(uidb_port_feature);

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

inline constexpr prm_name uidb_lag_ops[] = {
    {UIDB_LAG_CREATE, "create"},
    {UIDB_LAG_SET_MEMBERS, "set_members"},
    {UIDB_LAG_DELETE, "delete"},
    {UIDB_LAG_CONFIG_MEMBER, "config_member"},
    {UIDB_LAG_UNCONFIG_MEMBER, "unconfig_member"},
};
inline constexpr prm_field uidb_lag_update_fields[] = {
    PRM_FIELD(uidb_lag_update, lag_id).number().names_a(PRM_HANDLE_BUNDLE),
    PRM_FIELD(uidb_lag_update, reserved1).reserved(),
    PRM_FIELD(uidb_lag_update, members)
        .number()
        .names_a(PRM_HANDLE_PORT)
        .first(PRM_SELECTOR(uidb_lag_update, member_count)),
    PRM_FIELD(uidb_lag_update, member_count).number(),
    PRM_FIELD(uidb_lag_update, reserved67).reserved(),
    PRM_FIELD(uidb_lag_update, lag_op).one_of(uidb_lag_ops),
    PRM_FIELD(uidb_lag_update, lag_status).hex().written_back(),
};
inline constexpr prm_record uidb_lag_update_record = PRM_RECORD(uidb_lag_update);

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
