// Layer-2 request records of the resource-manager client: cross-connects and attachment circuits, bridge
// domains, layer-2 ECMP groups (vplag), split-horizon and EVPN MAC entries, overlay egress adjacencies.
//
// Every request is 2124 bytes, little-endian, sent cleared but for the fields named here. Bits count from the
// least significant one. Fields from offset 209 on stand unaligned.
#ifndef PRM_SRH_L2_H
#define PRM_SRH_L2_H

#include "prm_fields.h"
#include "prm_types.h"

enum { PRM_L2_REQUEST_SIZE = 2124 };

enum : u32 { PRM_L2_REQUEST_KIND = 10 };  // sent as is; an overlay request carries none

enum prm_xid_type : u32 {
    PRM_XID_TYPE_LOCAL_SWITCHING = 0,
    PRM_XID_TYPE_BRIDGE_DOMAIN = 4,
    PRM_XID_TYPE_CIRCUIT =
        8,  // attachment circuit, BVI or pseudowire; split-horizon and EVPN MAC entries too
};

enum prm_l2_object_code : u32 {  // sent as is
    PRM_L2_OBJECT_VPLAG = 8,
    PRM_L2_OBJECT_BRIDGE_DOMAIN = 144,
    PRM_L2_OBJECT_CIRCUIT = 188,
};

// Member of a bridge domain.
enum prm_xid_kind : u32 { PRM_XID_KIND_AC = 1, PRM_XID_KIND_BVI = 7 };

// Bytes 88 to 92 of a circuit's request.
enum : u8 {
    PRM_XID_88_MAC_LEARN_ENABLE = 1 << 2,
    PRM_XID_89_BIT6 = 1 << 6,  // set in every member of a bridge domain, sent as is
    PRM_XID_90_MAC_MOVE_SEC_ENABLED = 1 << 1,
    PRM_XID_90_MAC_MOVE_SEC_ACTION = 3 << 2,
    PRM_XID_90_MODIFY = 1 << 6,  // set in a modify of the BVI cases, sent as is
    PRM_XID_91_INGRESS_DISABLE = 1 << 3,
    PRM_XID_91_EGRESS_DISABLE = 1 << 4,
    PRM_XID_91_MODIFY = 1 << 7,  // set in a modify of the BVI cases, sent as is
    PRM_XID_92_STP_STATE_CHANGED = 1 << 0,
    PRM_XID_92_VSP = 1 << 2,  // a VSP attachment circuit
};
enum { PRM_XID_90_MAC_MOVE_SEC_ACTION_SHIFT = 2 };

enum : u32 {
    PRM_XID_PSEUDOWIRE_OPTION = 3,  // sent as is
    PRM_XID_VSP_WORD = 4000,        // sent as is
};

// Request of prm_srh_xid_add, _mod and _del: a cross-connect of two segments, or a member of a bridge domain.
struct PRM_PACKED prm_xid_request {
    u32 kind;  // PRM_L2_REQUEST_KIND
    u8 reserved4[8];
    u32 xid_type;  // prm_xid_type
    u8 reserved16[4];
    u64 xid;  // of a pseudowire; else 0
    u8 reserved28[40];
    u32 object_code;  // prm_l2_object_code; 0 for local switching
    u8 reserved72[16];
    u8 flags88;  // PRM_XID_88_...
    u8 flags89;
    u8 flags90;
    u8 flags91;
    u8 flags92;
    u8 reserved93[3];
    u32 xid_kind;  // prm_xid_kind; 0 for a cross-connect
    u32 option;    // PRM_XID_PSEUDOWIRE_OPTION for a pseudowire
    u8 reserved104[12];
    u32 ac_xid;  // of a VSP circuit
    u8 reserved120[89];
    u32 bd_id;  // bridge domain of a member
    u8 reserved213[9];
    union PRM_PACKED {
        u32 segment1_key;  // cross-connect: uidb of the first sub-interface or of the attachment circuit
        u32 member_uidb;   // member of a bridge domain: uidb of the circuit or of the BVI
    };
    u8 reserved226[4];
    u32 segment2_key;   // uidb of the second sub-interface; a pseudowire's first word
    u32 segment2_word;  // a pseudowire's second word
    u32 nh_id;          // next hop of a pseudowire
    u32 tunnel_id;      // tunnel of a pseudowire
    u8 reserved246[12];
    u32 vsp_word;  // PRM_XID_VSP_WORD for a VSP circuit
    u8 reserved262[1862];
};
static_assert(sizeof(prm_xid_request) == PRM_L2_REQUEST_SIZE, "ABI");
static_assert(offsetof(prm_xid_request, kind) == 0, "ABI");
static_assert(offsetof(prm_xid_request, xid_type) == 12, "ABI");
static_assert(offsetof(prm_xid_request, xid) == 20, "ABI");
static_assert(offsetof(prm_xid_request, object_code) == 68, "ABI");
static_assert(offsetof(prm_xid_request, flags88) == 88, "ABI");
static_assert(offsetof(prm_xid_request, flags89) == 89, "ABI");
static_assert(offsetof(prm_xid_request, flags90) == 90, "ABI");
static_assert(offsetof(prm_xid_request, flags91) == 91, "ABI");
static_assert(offsetof(prm_xid_request, flags92) == 92, "ABI");
static_assert(offsetof(prm_xid_request, xid_kind) == 96, "ABI");
static_assert(offsetof(prm_xid_request, option) == 100, "ABI");
static_assert(offsetof(prm_xid_request, ac_xid) == 116, "ABI");
static_assert(offsetof(prm_xid_request, bd_id) == 209, "ABI");
static_assert(offsetof(prm_xid_request, segment1_key) == 222, "ABI");
static_assert(offsetof(prm_xid_request, member_uidb) == 222, "ABI");
static_assert(offsetof(prm_xid_request, segment2_key) == 230, "ABI");
static_assert(offsetof(prm_xid_request, segment2_word) == 234, "ABI");
static_assert(offsetof(prm_xid_request, nh_id) == 238, "ABI");
static_assert(offsetof(prm_xid_request, tunnel_id) == 242, "ABI");
static_assert(offsetof(prm_xid_request, vsp_word) == 258, "ABI");

inline constexpr prm_name prm_xid_types[] = {
    {PRM_XID_TYPE_LOCAL_SWITCHING, "local_switching"},
    {PRM_XID_TYPE_BRIDGE_DOMAIN, "bridge_domain"},
    {PRM_XID_TYPE_CIRCUIT, "circuit"},
};
inline constexpr prm_name prm_l2_object_codes[] = {
    {PRM_L2_OBJECT_VPLAG, "vplag"},
    {PRM_L2_OBJECT_BRIDGE_DOMAIN, "bridge_domain"},
    {PRM_L2_OBJECT_CIRCUIT, "circuit"},
};
inline constexpr prm_name prm_xid_kinds[] = {{PRM_XID_KIND_AC, "ac"}, {PRM_XID_KIND_BVI, "bvi"}};
inline constexpr prm_bits prm_xid_bits88[] = {{PRM_XID_88_MAC_LEARN_ENABLE, "mac_learn_enable"}};
inline constexpr prm_bits prm_xid_bits89[] = {{PRM_XID_89_BIT6, "bit6"}};
inline constexpr prm_bits prm_xid_bits90[] = {
    {PRM_XID_90_MAC_MOVE_SEC_ENABLED, "mac_move_sec_enabled"},
    {PRM_XID_90_MAC_MOVE_SEC_ACTION, "mac_move_sec_action"},
    {PRM_XID_90_MODIFY, "modify"},
};
inline constexpr prm_bits prm_xid_bits91[] = {
    {PRM_XID_91_INGRESS_DISABLE, "ingress_disable"},
    {PRM_XID_91_EGRESS_DISABLE, "egress_disable"},
    {PRM_XID_91_MODIFY, "modify"},
};
inline constexpr prm_bits prm_xid_bits92[] = {
    {PRM_XID_92_STP_STATE_CHANGED, "stp_state_changed"},
    {PRM_XID_92_VSP, "vsp"},
};
inline constexpr prm_field prm_xid_segment1_fields[] = {
    PRM_FIELD(prm_xid_request, segment1_key).number().names_a(PRM_HANDLE_UIDB)};
inline constexpr prm_field prm_xid_member_fields[] = {
    PRM_FIELD(prm_xid_request, member_uidb).number().names_a(PRM_HANDLE_UIDB)};
inline constexpr prm_choice prm_xid_segment1[] = {
    prm_when(0, prm_xid_segment1_fields),
    prm_otherwise(prm_xid_member_fields),
};
inline constexpr prm_field prm_xid_segment2_uidb_fields[] = {
    PRM_FIELD(prm_xid_request, segment2_key).number().names_a(PRM_HANDLE_UIDB)};
inline constexpr prm_field prm_xid_segment2_word_fields[] = {
    PRM_FIELD(prm_xid_request, segment2_key).number()};
inline constexpr prm_choice prm_xid_segment2[] = {
    prm_when(PRM_XID_TYPE_LOCAL_SWITCHING, prm_xid_segment2_uidb_fields),
    prm_otherwise(prm_xid_segment2_word_fields),
};
inline constexpr prm_field prm_xid_request_fields[] = {
    PRM_FIELD(prm_xid_request, kind).as_is(),
    PRM_FIELD(prm_xid_request, reserved4).reserved(),
    PRM_FIELD(prm_xid_request, xid_type).one_of(prm_xid_types),
    PRM_FIELD(prm_xid_request, reserved16).reserved(),
    PRM_FIELD(prm_xid_request, xid).number().names_a(PRM_HANDLE_XID),
    PRM_FIELD(prm_xid_request, reserved28).reserved(),
    PRM_FIELD(prm_xid_request, object_code).one_of(prm_l2_object_codes),
    PRM_FIELD(prm_xid_request, reserved72).reserved(),
    PRM_FIELD(prm_xid_request, flags88).flags(prm_xid_bits88),
    PRM_FIELD(prm_xid_request, flags89).flags(prm_xid_bits89),
    PRM_FIELD(prm_xid_request, flags90).flags(prm_xid_bits90),
    PRM_FIELD(prm_xid_request, flags91).flags(prm_xid_bits91),
    PRM_FIELD(prm_xid_request, flags92).flags(prm_xid_bits92),
    PRM_FIELD(prm_xid_request, reserved93).reserved(),
    PRM_FIELD(prm_xid_request, xid_kind).one_of(prm_xid_kinds),
    PRM_FIELD(prm_xid_request, option).as_is(),
    PRM_FIELD(prm_xid_request, reserved104).reserved(),
    PRM_FIELD(prm_xid_request, ac_xid).hex().names_a(PRM_HANDLE_XID),
    PRM_FIELD(prm_xid_request, reserved120).reserved(),
    PRM_FIELD(prm_xid_request, bd_id).number().names_a(PRM_HANDLE_BRIDGE_DOMAIN),
    PRM_FIELD(prm_xid_request, reserved213).reserved(),
    PRM_FIELD(prm_xid_request, segment1_key)
        .chosen_by(PRM_SELECTOR(prm_xid_request, xid_kind), prm_xid_segment1),
    PRM_FIELD(prm_xid_request, reserved226).reserved(),
    PRM_FIELD(prm_xid_request, segment2_key)
        .chosen_by(PRM_SELECTOR(prm_xid_request, xid_type), prm_xid_segment2),
    PRM_FIELD(prm_xid_request, segment2_word).number(),
    PRM_FIELD(prm_xid_request, nh_id).number().names_a(PRM_HANDLE_NEXT_HOP),
    PRM_FIELD(prm_xid_request, tunnel_id).number().names_a(PRM_HANDLE_TUNNEL),
    PRM_FIELD(prm_xid_request, reserved246).reserved(),
    PRM_FIELD(prm_xid_request, vsp_word).as_is(),
    PRM_FIELD(prm_xid_request, reserved262).reserved(),
};
inline constexpr prm_record prm_xid_request_record = PRM_RECORD(prm_xid_request);

// Bytes 73 and 74 of a bridge domain's request.
enum : u8 {
    PRM_BD_73_BVI = 1 << 1,    // a domain with a BVI, sent as is
    PRM_BD_74_VXLAN = 1 << 4,  // the VNI and the source VTEP are there
};

// Request of prm_srh_bd_add, _mod and _del.
struct PRM_PACKED prm_bd_request {
    u32 kind;  // PRM_L2_REQUEST_KIND
    u8 reserved4[8];
    u32 xid_type;  // PRM_XID_TYPE_BRIDGE_DOMAIN
    u8 reserved16[4];
    u32 bd_id;
    u8 reserved24[44];
    u32 object_code;  // PRM_L2_OBJECT_BRIDGE_DOMAIN
    u8 reserved72;
    u8 flags73;  // PRM_BD_73_...
    u8 flags74;  // PRM_BD_74_...
    u8 reserved75[61];
    u16 vni_low;  // VNI bits 0-15
    u8 vni_high;  // VNI bits 16-23
    u8 reserved139;
    u32 source_vtep;  // IPv4 address
    u8 reserved144[1980];
};
static_assert(sizeof(prm_bd_request) == PRM_L2_REQUEST_SIZE, "ABI");
static_assert(offsetof(prm_bd_request, kind) == 0, "ABI");
static_assert(offsetof(prm_bd_request, xid_type) == 12, "ABI");
static_assert(offsetof(prm_bd_request, bd_id) == 20, "ABI");
static_assert(offsetof(prm_bd_request, object_code) == 68, "ABI");
static_assert(offsetof(prm_bd_request, flags73) == 73, "ABI");
static_assert(offsetof(prm_bd_request, flags74) == 74, "ABI");
static_assert(offsetof(prm_bd_request, vni_low) == 136, "ABI");
static_assert(offsetof(prm_bd_request, vni_high) == 138, "ABI");
static_assert(offsetof(prm_bd_request, source_vtep) == 140, "ABI");

inline constexpr prm_bits prm_bd_bits73[] = {{PRM_BD_73_BVI, "bvi"}};
inline constexpr prm_bits prm_bd_bits74[] = {{PRM_BD_74_VXLAN, "vxlan"}};
inline constexpr prm_field prm_bd_request_fields[] = {
    PRM_FIELD(prm_bd_request, kind).as_is(),
    PRM_FIELD(prm_bd_request, reserved4).reserved(),
    PRM_FIELD(prm_bd_request, xid_type).one_of(prm_xid_types),
    PRM_FIELD(prm_bd_request, reserved16).reserved(),
    PRM_FIELD(prm_bd_request, bd_id).number().names_a(PRM_HANDLE_BRIDGE_DOMAIN),
    PRM_FIELD(prm_bd_request, reserved24).reserved(),
    PRM_FIELD(prm_bd_request, object_code).one_of(prm_l2_object_codes),
    PRM_FIELD(prm_bd_request, reserved72).reserved(),
    PRM_FIELD(prm_bd_request, flags73).flags(prm_bd_bits73),
    PRM_FIELD(prm_bd_request, flags74).flags(prm_bd_bits74),
    PRM_FIELD(prm_bd_request, reserved75).reserved(),
    PRM_FIELD(prm_bd_request, vni_low).number(),
    PRM_FIELD(prm_bd_request, vni_high).number(),
    PRM_FIELD(prm_bd_request, reserved139).reserved(),
    PRM_FIELD(prm_bd_request, source_vtep).ipv4(),
    PRM_FIELD(prm_bd_request, reserved144).reserved(),
};
inline constexpr prm_record prm_bd_request_record = PRM_RECORD(prm_bd_request);

enum { ZOR_L2_ECMP_MAX_PATHS = 16 };

// A virtual-port LAG: a layer-2 ECMP group over remote VTEPs.
struct PRM_PACKED prm_vplag_info {
    u32 source_vtep;
    u32 vplag_id;
    u32 num_paths;                           // at most ZOR_L2_ECMP_MAX_PATHS
    u32 nh_id[ZOR_L2_ECMP_MAX_PATHS];        // next hop of each path
    u32 remote_vtep[ZOR_L2_ECMP_MAX_PATHS];  // IPv4 address of each path's far end
};
static_assert(sizeof(prm_vplag_info) == 140, "ABI");
static_assert(offsetof(prm_vplag_info, source_vtep) == 0, "ABI");
static_assert(offsetof(prm_vplag_info, vplag_id) == 4, "ABI");
static_assert(offsetof(prm_vplag_info, num_paths) == 8, "ABI");
static_assert(offsetof(prm_vplag_info, nh_id) == 12, "ABI");
static_assert(offsetof(prm_vplag_info, remote_vtep) == 76, "ABI");

inline constexpr prm_field prm_vplag_info_fields[] = {
    PRM_FIELD(prm_vplag_info, source_vtep).ipv4(),
    PRM_FIELD(prm_vplag_info, vplag_id).number().names_a(PRM_HANDLE_VPLAG),
    PRM_FIELD(prm_vplag_info, num_paths).number(),
    PRM_FIELD(prm_vplag_info, nh_id)
        .number()
        .names_a(PRM_HANDLE_NEXT_HOP)
        .first(PRM_SELECTOR(prm_vplag_info, num_paths)),
    PRM_FIELD(prm_vplag_info, remote_vtep).ipv4().first(PRM_SELECTOR(prm_vplag_info, num_paths)),
};
inline constexpr prm_record prm_vplag_info_record = PRM_RECORD(prm_vplag_info);

// Request of prm_srh_l2_ecmp_add, _mod and _del.
struct PRM_PACKED prm_l2_ecmp_request {
    u32 kind;  // PRM_L2_REQUEST_KIND
    u8 reserved4[64];
    u32 object_code;  // PRM_L2_OBJECT_VPLAG
    prm_vplag_info info;
    u8 reserved212[1912];
};
static_assert(sizeof(prm_l2_ecmp_request) == PRM_L2_REQUEST_SIZE, "ABI");
static_assert(offsetof(prm_l2_ecmp_request, kind) == 0, "ABI");
static_assert(offsetof(prm_l2_ecmp_request, object_code) == 68, "ABI");
static_assert(offsetof(prm_l2_ecmp_request, info) == 72, "ABI");
static_assert(offsetof(prm_l2_ecmp_request, info.vplag_id) == 76, "ABI");

inline constexpr prm_field prm_l2_ecmp_request_fields[] = {
    PRM_FIELD(prm_l2_ecmp_request, kind).as_is(),
    PRM_FIELD(prm_l2_ecmp_request, reserved4).reserved(),
    PRM_FIELD(prm_l2_ecmp_request, object_code).one_of(prm_l2_object_codes),
    PRM_FIELD(prm_l2_ecmp_request, info).of(&prm_vplag_info_record),
    PRM_FIELD(prm_l2_ecmp_request, reserved212).reserved(),
};
inline constexpr prm_record prm_l2_ecmp_request_record = PRM_RECORD(prm_l2_ecmp_request);

// Designated forwarder of a split-horizon group.
struct PRM_PACKED prm_shg_df_entry {
    u32 address_or_vni;  // IPv4 address or VNI
    u32 if_handle;
    u32 is_shg;
};
static_assert(sizeof(prm_shg_df_entry) == 12, "ABI");
static_assert(offsetof(prm_shg_df_entry, address_or_vni) == 0, "ABI");
static_assert(offsetof(prm_shg_df_entry, if_handle) == 4, "ABI");
static_assert(offsetof(prm_shg_df_entry, is_shg) == 8, "ABI");

inline constexpr prm_field prm_shg_df_entry_fields[] = {
    PRM_FIELD(prm_shg_df_entry, address_or_vni).hex(),
    PRM_FIELD(prm_shg_df_entry, if_handle).hex().names_a(PRM_HANDLE_INTERFACE),
    PRM_FIELD(prm_shg_df_entry, is_shg).number(),
};
inline constexpr prm_record prm_shg_df_entry_record = PRM_RECORD(prm_shg_df_entry);

// Request of prm_srh_fpem_shg_df_entry_add and _del.
struct PRM_PACKED prm_shg_df_request {
    u32 kind;  // PRM_L2_REQUEST_KIND
    u8 reserved4[8];
    u32 xid_type;  // PRM_XID_TYPE_CIRCUIT
    u8 reserved16[4];
    prm_shg_df_entry entry;
    u8 reserved32[2092];
};
static_assert(sizeof(prm_shg_df_request) == PRM_L2_REQUEST_SIZE, "ABI");
static_assert(offsetof(prm_shg_df_request, kind) == 0, "ABI");
static_assert(offsetof(prm_shg_df_request, xid_type) == 12, "ABI");
static_assert(offsetof(prm_shg_df_request, entry) == 20, "ABI");

inline constexpr prm_field prm_shg_df_request_fields[] = {
    PRM_FIELD(prm_shg_df_request, kind).as_is(),
    PRM_FIELD(prm_shg_df_request, reserved4).reserved(),
    PRM_FIELD(prm_shg_df_request, xid_type).one_of(prm_xid_types),
    PRM_FIELD(prm_shg_df_request, reserved16).reserved(),
    PRM_FIELD(prm_shg_df_request, entry).of(&prm_shg_df_entry_record),
    PRM_FIELD(prm_shg_df_request, reserved32).reserved(),
};
inline constexpr prm_record prm_shg_df_request_record = PRM_RECORD(prm_shg_df_request);

enum prm_evpn_mac_type : u32 {
    PRM_EVPN_MAC_TYPE_HEX_FEC = 1
};  // the type whose FEC is written in hexadecimal

// A MAC address learnt by EVPN.
struct PRM_PACKED prm_evpn_mac_entry {
    u32 bd_id;
    u8 mac[6];
    u8 reserved10;
    u32 type;  // prm_evpn_mac_type and others
    u32 fec;
};
static_assert(sizeof(prm_evpn_mac_entry) == 19, "ABI");
static_assert(offsetof(prm_evpn_mac_entry, bd_id) == 0, "ABI");
static_assert(offsetof(prm_evpn_mac_entry, mac) == 4, "ABI");
static_assert(offsetof(prm_evpn_mac_entry, type) == 11, "ABI");
static_assert(offsetof(prm_evpn_mac_entry, fec) == 15, "ABI");

inline constexpr prm_field prm_evpn_mac_entry_fields[] = {
    PRM_FIELD(prm_evpn_mac_entry, bd_id).number().names_a(PRM_HANDLE_BRIDGE_DOMAIN),
    PRM_FIELD(prm_evpn_mac_entry, mac).mac(),
    PRM_FIELD(prm_evpn_mac_entry, reserved10).reserved(),
    PRM_FIELD(prm_evpn_mac_entry, type).number(),
    PRM_FIELD(prm_evpn_mac_entry, fec).hex(),
};
inline constexpr prm_record prm_evpn_mac_entry_record = PRM_RECORD(prm_evpn_mac_entry);

// Request of prm_srh_evpn_mac_install_add and _del.
struct PRM_PACKED prm_evpn_mac_request {
    u32 kind;  // PRM_L2_REQUEST_KIND
    u8 reserved4[8];
    u32 xid_type;  // PRM_XID_TYPE_CIRCUIT
    u8 reserved16[4];
    prm_evpn_mac_entry entry;
    u8 reserved39[2085];
};
static_assert(sizeof(prm_evpn_mac_request) == PRM_L2_REQUEST_SIZE, "ABI");
static_assert(offsetof(prm_evpn_mac_request, kind) == 0, "ABI");
static_assert(offsetof(prm_evpn_mac_request, xid_type) == 12, "ABI");
static_assert(offsetof(prm_evpn_mac_request, entry) == 20, "ABI");

inline constexpr prm_field prm_evpn_mac_request_fields[] = {
    PRM_FIELD(prm_evpn_mac_request, kind).as_is(),
    PRM_FIELD(prm_evpn_mac_request, reserved4).reserved(),
    PRM_FIELD(prm_evpn_mac_request, xid_type).one_of(prm_xid_types),
    PRM_FIELD(prm_evpn_mac_request, reserved16).reserved(),
    PRM_FIELD(prm_evpn_mac_request, entry).of(&prm_evpn_mac_entry_record),
    PRM_FIELD(prm_evpn_mac_request, reserved39).reserved(),
};
inline constexpr prm_record prm_evpn_mac_request_record = PRM_RECORD(prm_evpn_mac_request);

// Request of prm_srh_vxlan_ole_add, _mod and _del: an overlay egress adjacency toward a remote VTEP.
struct PRM_PACKED prm_vxlan_ole_request {
    u32 kind;  // 0
    u8 reserved4[16];
    u32 word20;  // 1, sent as is
    u32 nh_id;
    u8 reserved28[4];
    u32 bd_id;
    u32 remote_vtep;  // IPv4 address
    u8 reserved40[2084];
};
static_assert(sizeof(prm_vxlan_ole_request) == PRM_L2_REQUEST_SIZE, "ABI");
static_assert(offsetof(prm_vxlan_ole_request, kind) == 0, "ABI");
static_assert(offsetof(prm_vxlan_ole_request, word20) == 20, "ABI");
static_assert(offsetof(prm_vxlan_ole_request, nh_id) == 24, "ABI");
static_assert(offsetof(prm_vxlan_ole_request, bd_id) == 32, "ABI");
static_assert(offsetof(prm_vxlan_ole_request, remote_vtep) == 36, "ABI");

inline constexpr prm_field prm_vxlan_ole_request_fields[] = {
    PRM_FIELD(prm_vxlan_ole_request, kind).as_is(),
    PRM_FIELD(prm_vxlan_ole_request, reserved4).reserved(),
    PRM_FIELD(prm_vxlan_ole_request, word20).as_is(),
    PRM_FIELD(prm_vxlan_ole_request, nh_id).number().names_a(PRM_HANDLE_NEXT_HOP),
    PRM_FIELD(prm_vxlan_ole_request, reserved28).reserved(),
    PRM_FIELD(prm_vxlan_ole_request, bd_id).number().names_a(PRM_HANDLE_BRIDGE_DOMAIN),
    PRM_FIELD(prm_vxlan_ole_request, remote_vtep).ipv4(),
    PRM_FIELD(prm_vxlan_ole_request, reserved40).reserved(),
};
inline constexpr prm_record prm_vxlan_ole_request_record = PRM_RECORD(prm_vxlan_ole_request);

#endif
