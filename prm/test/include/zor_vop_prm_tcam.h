// TCAM request of the route/label client: the record, and the key layouts of its entries.
//
// An entry is a value key, a mask key (a set bit cares about the value's bit at the same place) and a result
// key. The keys of a request stand in buffers outside the record. Bytes called reserved are sent as 0.
#ifndef ZOR_VOP_PRM_TCAM_H
#define ZOR_VOP_PRM_TCAM_H

#include "prm_fields.h"
#include "prm_types.h"

enum prm_tcam_feature : u32 { PRM_TCAM_FEATURE_ACL = 0, PRM_TCAM_FEATURE_QOS = 6 };

enum prm_tcam_opcode : u32 {
    PRM_TCAM_CREATE = 0,
    PRM_TCAM_DESTROY = 2,
    PRM_TCAM_INSERT = 3,
    PRM_TCAM_DELETE = 4,
    PRM_TCAM_STATS_ALLOC = 12,
    PRM_TCAM_STATS_DEALLOC = 13,
};

enum : u16 { PRM_TCAM_VALUE_MASK_KEY_SZ = 92, PRM_TCAM_RESULT_KEY_SZ = 55 };

// The feature number within a TCAM's handle.
enum : u32 { PRM_TCAM_VMR_FEATURE_SHIFT = 32 };
enum : u64 {
    PRM_TCAM_VMR_FEATURE = 0xFFull << PRM_TCAM_VMR_FEATURE_SHIFT,
    PRM_TCAM_VMR_USED = 0x0000FFFFFFFFFFFFull,  // bits 48-63 are 0
};

// Request of every TCAM operation.
struct PRM_PACKED prm_info {
    u32 fea_id;  // prm_tcam_feature
    u32 word4;   // 1, sent as is
    u8 reserved8[256];
    u32 opcode;  // prm_tcam_opcode
    u8 reserved268[4];
    u32 word272;  // 0, sent as is
    u8 reserved276[12];
    u64 vmr_id;  // handle of the TCAM, written by create
    u8 reserved296[16];
    u16 word312;            // 1, sent as is
    u16 port_num;           // port
    u16 ace_index;          // index of the entry within the TCAM
    u16 nr_entries;         // entries in the buffers
    u16 value_mask_key_sz;  // bytes of one value key and of one mask key
    u16 result_key_sz;      // bytes of one result key
    u32 stats_id;           // ACL statistics id, written by the statistics allocation
    u8 reserved328[24];
    u8 *value;   // nr_entries value keys, back to back
    u8 *mask;    // nr_entries mask keys
    u8 *result;  // nr_entries result keys
    u8 reserved376[8];
};
static_assert(sizeof(prm_info) == 384, "ABI");
static_assert(offsetof(prm_info, fea_id) == 0, "ABI");
static_assert(offsetof(prm_info, word4) == 4, "ABI");
static_assert(offsetof(prm_info, opcode) == 264, "ABI");
static_assert(offsetof(prm_info, word272) == 272, "ABI");
static_assert(offsetof(prm_info, vmr_id) == 288, "ABI");
static_assert(offsetof(prm_info, word312) == 312, "ABI");
static_assert(offsetof(prm_info, port_num) == 314, "ABI");
static_assert(offsetof(prm_info, ace_index) == 316, "ABI");
static_assert(offsetof(prm_info, nr_entries) == 318, "ABI");
static_assert(offsetof(prm_info, value_mask_key_sz) == 320, "ABI");
static_assert(offsetof(prm_info, result_key_sz) == 322, "ABI");
static_assert(offsetof(prm_info, stats_id) == 324, "ABI");
static_assert(offsetof(prm_info, value) == 352, "ABI");
static_assert(offsetof(prm_info, mask) == 360, "ABI");
static_assert(offsetof(prm_info, result) == 368, "ABI");

// Masks of prm_tcam_key's bytes.
enum : u8 {
    PRM_TCAM_KEY_NOT_CLASS_ID = 0x01,  // of class_id_low: the bit that belongs to another field
    PRM_TCAM_KEY_TCP_FLAGS = 0x80,     // of flags
    PRM_TCAM_KEY_FRAGMENT = 0x40,      // of flags
    PRM_TCAM_KEY_TYPE_CARE = 0x03,     // mask of a QoS key type
};

// QoS key types. A key of the shifted type holds its IPv4 addresses 12 bytes further on.
enum : u8 {
    PRM_TCAM_QOS_KEY_PLAIN = 0,
    PRM_TCAM_QOS_KEY_SHIFTED = 1,
    PRM_TCAM_QOS_KEY_MPLS = 2,
};

// Value key and mask key. A programmed key holds addresses in network byte order and ports in host order; the
// hardware hands both back with their bytes swapped, and always at the plain places.
struct PRM_PACKED prm_tcam_key {
    u8 reserved0[2];
    u8 class_id_low;  // bits 1-7: class id bits 0-6
    union PRM_PACKED {
        u8 class_id_high;  // ACL: class id bits 7-14
        u8 qos_key_type;   // QoS
    };
    u8 reserved4[3];
    u8 vlan_cos;
    u8 reserved8[18];
    u8 flags;  // PRM_TCAM_KEY_TCP_FLAGS, PRM_TCAM_KEY_FRAGMENT
    u8 protocol;
    u8 tcp_value;
    u8 reserved29[2];
    u8 ttl;
    u8 tos_exp;  // precedence, TOS or MPLS EXP
    u8 reserved33[7];
    u16 src_port;
    u8 reserved42;
    u16 dst_port;
    u8 reserved45;
    u32 src_ipv4;
    u8 reserved50[8];
    u32 src_ipv4_shifted;  // PRM_TCAM_QOS_KEY_SHIFTED
    u32 dst_ipv4;
    u8 reserved66[8];
    u32 dst_ipv4_shifted;  // PRM_TCAM_QOS_KEY_SHIFTED
    u8 reserved78[14];
};
static_assert(sizeof(prm_tcam_key) == PRM_TCAM_VALUE_MASK_KEY_SZ, "ABI");
static_assert(offsetof(prm_tcam_key, class_id_low) == 2, "ABI");
static_assert(offsetof(prm_tcam_key, class_id_high) == 3, "ABI");
static_assert(offsetof(prm_tcam_key, qos_key_type) == 3, "ABI");
static_assert(offsetof(prm_tcam_key, vlan_cos) == 7, "ABI");
static_assert(offsetof(prm_tcam_key, flags) == 26, "ABI");
static_assert(offsetof(prm_tcam_key, protocol) == 27, "ABI");
static_assert(offsetof(prm_tcam_key, tcp_value) == 28, "ABI");
static_assert(offsetof(prm_tcam_key, ttl) == 31, "ABI");
static_assert(offsetof(prm_tcam_key, tos_exp) == 32, "ABI");
static_assert(offsetof(prm_tcam_key, src_port) == 40, "ABI");
static_assert(offsetof(prm_tcam_key, dst_port) == 43, "ABI");
static_assert(offsetof(prm_tcam_key, src_ipv4) == 46, "ABI");
static_assert(offsetof(prm_tcam_key, src_ipv4_shifted) == 58, "ABI");
static_assert(offsetof(prm_tcam_key, dst_ipv4) == 62, "ABI");
static_assert(offsetof(prm_tcam_key, dst_ipv4_shifted) == 74, "ABI");

// A programmed key, and one that was read back: the byte orders of addresses and ports change places.
inline constexpr prm_bits prm_tcam_class_id_bits[] = {
    {0xFFFE, "class_id"},
    {PRM_TCAM_KEY_NOT_CLASS_ID, "not_class_id"},
};
inline constexpr prm_name prm_tcam_qos_key_types[] = {
    {PRM_TCAM_QOS_KEY_PLAIN, "plain"},
    {PRM_TCAM_QOS_KEY_SHIFTED, "shifted"},
    {PRM_TCAM_QOS_KEY_MPLS, "mpls"},
};
inline constexpr prm_bits prm_tcam_key_bits[] = {
    {PRM_TCAM_KEY_TCP_FLAGS, "tcp_flags"},
    {PRM_TCAM_KEY_FRAGMENT, "fragment"},
};
inline constexpr prm_field prm_tcam_acl_class_fields[] = {
    prm_field_at<u16>("class_id", offsetof(prm_tcam_key, class_id_low)).flags(prm_tcam_class_id_bits)};
inline constexpr prm_field prm_tcam_qos_class_fields[] = {
    PRM_FIELD(prm_tcam_key, class_id_low).hex(),
    PRM_FIELD(prm_tcam_key, qos_key_type).one_of(prm_tcam_qos_key_types),
};
inline constexpr prm_choice prm_tcam_acl_class[] = {prm_otherwise(prm_tcam_acl_class_fields)};
inline constexpr prm_choice prm_tcam_qos_class[] = {prm_otherwise(prm_tcam_qos_class_fields)};
template <bool qos, prm_byte_order addresses, prm_byte_order ports>
inline constexpr prm_field prm_tcam_key_fields[] = {
    PRM_FIELD(prm_tcam_key, reserved0).reserved(),
    PRM_FIELD(prm_tcam_key, class_id_low)
        .up_to(PRM_FIELD(prm_tcam_key, class_id_high))
        .chosen_by({}, qos ? prm_list<prm_choice>(prm_tcam_qos_class) : prm_list(prm_tcam_acl_class)),
    PRM_FIELD(prm_tcam_key, reserved4).reserved(),
    PRM_FIELD(prm_tcam_key, vlan_cos).number(),
    PRM_FIELD(prm_tcam_key, reserved8).reserved(),
    PRM_FIELD(prm_tcam_key, flags).flags(prm_tcam_key_bits),
    PRM_FIELD(prm_tcam_key, protocol).number(),
    PRM_FIELD(prm_tcam_key, tcp_value).number(),
    PRM_FIELD(prm_tcam_key, reserved29).reserved(),
    PRM_FIELD(prm_tcam_key, ttl).number(),
    PRM_FIELD(prm_tcam_key, tos_exp).hex(),
    PRM_FIELD(prm_tcam_key, reserved33).reserved(),
    PRM_FIELD(prm_tcam_key, src_port).number().in_order(ports),
    PRM_FIELD(prm_tcam_key, reserved42).reserved(),
    PRM_FIELD(prm_tcam_key, dst_port).number().in_order(ports),
    PRM_FIELD(prm_tcam_key, reserved45).reserved(),
    PRM_FIELD(prm_tcam_key, src_ipv4).ipv4().in_order(addresses),
    PRM_FIELD(prm_tcam_key, reserved50).reserved(),
    PRM_FIELD(prm_tcam_key, src_ipv4_shifted).ipv4().in_order(addresses),
    PRM_FIELD(prm_tcam_key, dst_ipv4).ipv4().in_order(addresses),
    PRM_FIELD(prm_tcam_key, reserved66).reserved(),
    PRM_FIELD(prm_tcam_key, dst_ipv4_shifted).ipv4().in_order(addresses),
    PRM_FIELD(prm_tcam_key, reserved78).reserved(),
};
inline constexpr prm_record prm_tcam_acl_key_record = {
    "prm_tcam_acl_key",
    sizeof(prm_tcam_key),
    prm_tcam_key_fields<false, PRM_NETWORK_ORDER, PRM_LITTLE_ENDIAN>,
    {}};
inline constexpr prm_record prm_tcam_qos_key_record = {
    "prm_tcam_qos_key",
    sizeof(prm_tcam_key),
    prm_tcam_key_fields<true, PRM_NETWORK_ORDER, PRM_LITTLE_ENDIAN>,
    {}};
inline constexpr prm_record prm_tcam_acl_key_read_record = {
    "prm_tcam_acl_key_read",
    sizeof(prm_tcam_key),
    prm_tcam_key_fields<false, PRM_LITTLE_ENDIAN, PRM_NETWORK_ORDER>,
    {}};
inline constexpr prm_record prm_tcam_qos_key_read_record = {
    "prm_tcam_qos_key_read",
    sizeof(prm_tcam_key),
    prm_tcam_key_fields<true, PRM_LITTLE_ENDIAN, PRM_NETWORK_ORDER>,
    {}};

// Result key of an ACL entry.
struct PRM_PACKED prm_tcam_acl_result {
    u8 reserved0[2];
    u8 byte2;  // 1, sent as is
    u8 reserved3[4];
    u32 stats_id;
    u8 reserved11[44];
};
static_assert(sizeof(prm_tcam_acl_result) == PRM_TCAM_RESULT_KEY_SZ, "ABI");
static_assert(offsetof(prm_tcam_acl_result, byte2) == 2, "ABI");
static_assert(offsetof(prm_tcam_acl_result, stats_id) == 7, "ABI");

inline constexpr prm_field prm_tcam_acl_result_fields[] = {
    PRM_FIELD(prm_tcam_acl_result, reserved0).reserved(),
    PRM_FIELD(prm_tcam_acl_result, byte2).as_is(),
    PRM_FIELD(prm_tcam_acl_result, reserved3).reserved(),
    PRM_FIELD(prm_tcam_acl_result, stats_id).number().names_a(PRM_HANDLE_ACL_STATISTICS),
    PRM_FIELD(prm_tcam_acl_result, reserved11).reserved(),
};
inline constexpr prm_record prm_tcam_acl_result_record = PRM_RECORD(prm_tcam_acl_result);

// Masks of prm_tcam_qos_result's fields.
enum : u8 {
    PRM_TCAM_QOS_KIND_ACL_MATCH = 0x10,  // of kind
    PRM_TCAM_QOS_KIND_POLICER = 0x20,    // of kind
    PRM_TCAM_QOS_ACTION = 0x3C,   // of action: the 4-bit action code; the other bits are others' fields
    PRM_TCAM_QOS_OPCODE1 = 0xF0,  // of conform_opcodes and exceed_opcodes
    PRM_TCAM_QOS_OPCODE2 = 0x0F,
};
enum : u8 { PRM_TCAM_QOS_ACTION_SHIFT = 2, PRM_TCAM_QOS_OPCODE1_SHIFT = 4 };

// Action codes.
enum : u8 {
    PRM_TCAM_QOS_ACTION_NONE = 0,
    PRM_TCAM_QOS_ACTION_POLICE = 2,
    PRM_TCAM_QOS_ACTION_MARK_CONFORM_EXCEED = 5,
    PRM_TCAM_QOS_ACTION_MARK_CONFORM = 6,
};

// A flag within a QoS statistics id that the hardware does not hand back.
enum : u32 { PRM_TCAM_QOS_STATS_FLAG = 1u << 29 };

// Result key of a QoS entry.
struct PRM_PACKED prm_tcam_qos_result {
    u8 reserved0;
    u8 kind;  // PRM_TCAM_QOS_KIND_...
    u8 reserved2[5];
    u8 action;           // PRM_TCAM_QOS_ACTION
    u8 conform_opcodes;  // two marks of conforming packets
    u8 conform_value1;
    u8 conform_value2;
    u8 exceed_opcodes;  // two marks of exceeding packets
    u8 exceed_value1;
    u8 exceed_value2;
    u8 reserved14[22];
    u32 token_bucket_id;  // policer
    u8 reserved40[4];
    u32 stats_id;
    u8 reserved48[7];
};
static_assert(sizeof(prm_tcam_qos_result) == PRM_TCAM_RESULT_KEY_SZ, "ABI");
static_assert(offsetof(prm_tcam_qos_result, kind) == 1, "ABI");
static_assert(offsetof(prm_tcam_qos_result, action) == 7, "ABI");
static_assert(offsetof(prm_tcam_qos_result, conform_opcodes) == 8, "ABI");
static_assert(offsetof(prm_tcam_qos_result, conform_value1) == 9, "ABI");
static_assert(offsetof(prm_tcam_qos_result, conform_value2) == 10, "ABI");
static_assert(offsetof(prm_tcam_qos_result, exceed_opcodes) == 11, "ABI");
static_assert(offsetof(prm_tcam_qos_result, exceed_value1) == 12, "ABI");
static_assert(offsetof(prm_tcam_qos_result, exceed_value2) == 13, "ABI");
static_assert(offsetof(prm_tcam_qos_result, token_bucket_id) == 36, "ABI");
static_assert(offsetof(prm_tcam_qos_result, stats_id) == 44, "ABI");

inline constexpr prm_bits prm_tcam_qos_kind_bits[] = {
    {PRM_TCAM_QOS_KIND_ACL_MATCH, "acl_match"},
    {PRM_TCAM_QOS_KIND_POLICER, "policer"},
};
inline constexpr prm_name prm_tcam_qos_actions[] = {
    {PRM_TCAM_QOS_ACTION_NONE, "none"},
    {PRM_TCAM_QOS_ACTION_POLICE, "police"},
    {PRM_TCAM_QOS_ACTION_MARK_CONFORM_EXCEED, "mark_conform_exceed"},
    {PRM_TCAM_QOS_ACTION_MARK_CONFORM, "mark_conform"},
};
inline constexpr prm_bits prm_tcam_qos_action_bits[] = {
    {PRM_TCAM_QOS_ACTION, "action", prm_tcam_qos_actions}};
inline constexpr prm_bits prm_tcam_qos_opcode_bits[] = {
    {PRM_TCAM_QOS_OPCODE1, "opcode1"},
    {PRM_TCAM_QOS_OPCODE2, "opcode2"},
};
inline constexpr prm_bits prm_tcam_qos_stats_bits[] = {
    {0xFFFFFFFF & ~PRM_TCAM_QOS_STATS_FLAG, "id", {}, PRM_HANDLE_TM_STATISTICS},
    {PRM_TCAM_QOS_STATS_FLAG, "flag"},
};
inline constexpr prm_field prm_tcam_qos_result_fields[] = {
    PRM_FIELD(prm_tcam_qos_result, reserved0).reserved(),
    PRM_FIELD(prm_tcam_qos_result, kind).flags(prm_tcam_qos_kind_bits),
    PRM_FIELD(prm_tcam_qos_result, reserved2).reserved(),
    PRM_FIELD(prm_tcam_qos_result, action).flags(prm_tcam_qos_action_bits),
    PRM_FIELD(prm_tcam_qos_result, conform_opcodes).flags(prm_tcam_qos_opcode_bits),
    PRM_FIELD(prm_tcam_qos_result, conform_value1).number(),
    PRM_FIELD(prm_tcam_qos_result, conform_value2).number(),
    PRM_FIELD(prm_tcam_qos_result, exceed_opcodes).flags(prm_tcam_qos_opcode_bits),
    PRM_FIELD(prm_tcam_qos_result, exceed_value1).number(),
    PRM_FIELD(prm_tcam_qos_result, exceed_value2).number(),
    PRM_FIELD(prm_tcam_qos_result, reserved14).reserved(),
    PRM_FIELD(prm_tcam_qos_result, token_bucket_id).number().names_a(PRM_HANDLE_POLICER),
    PRM_FIELD(prm_tcam_qos_result, reserved40).reserved(),
    PRM_FIELD(prm_tcam_qos_result, stats_id).flags(prm_tcam_qos_stats_bits),
    PRM_FIELD(prm_tcam_qos_result, reserved48).reserved(),
};
inline constexpr prm_record prm_tcam_qos_result_record = PRM_RECORD(prm_tcam_qos_result);

// The request's table stands behind the keys that its buffers hold.
inline constexpr prm_name prm_tcam_features[] = {
    {PRM_TCAM_FEATURE_ACL, "acl"},
    {PRM_TCAM_FEATURE_QOS, "qos"},
};
inline constexpr prm_name prm_tcam_opcodes[] = {
    {PRM_TCAM_CREATE, "create"},           {PRM_TCAM_DESTROY, "destroy"},
    {PRM_TCAM_INSERT, "insert"},           {PRM_TCAM_DELETE, "delete"},
    {PRM_TCAM_STATS_ALLOC, "stats_alloc"}, {PRM_TCAM_STATS_DEALLOC, "stats_dealloc"},
};
inline constexpr prm_buffer_choice prm_tcam_value_keys[] = {
    {PRM_TCAM_FEATURE_QOS, false, &prm_tcam_qos_key_record, &prm_tcam_qos_key_read_record},
    {0, true, &prm_tcam_acl_key_record, &prm_tcam_acl_key_read_record},
};
inline constexpr prm_buffer_choice prm_tcam_mask_keys[] = {
    {PRM_TCAM_FEATURE_QOS, false, &prm_tcam_qos_key_record, &prm_tcam_qos_key_record},
    {0, true, &prm_tcam_acl_key_record, &prm_tcam_acl_key_record},
};
inline constexpr prm_buffer_choice prm_tcam_result_keys[] = {
    {PRM_TCAM_FEATURE_QOS, false, &prm_tcam_qos_result_record, &prm_tcam_qos_result_record},
    {0, true, &prm_tcam_acl_result_record, &prm_tcam_acl_result_record},
};
inline constexpr prm_field prm_info_fields[] = {
    PRM_FIELD(prm_info, fea_id).one_of(prm_tcam_features),
    PRM_FIELD(prm_info, word4).as_is(),
    PRM_FIELD(prm_info, reserved8).reserved(),
    PRM_FIELD(prm_info, opcode).one_of(prm_tcam_opcodes),
    PRM_FIELD(prm_info, reserved268).reserved(),
    PRM_FIELD(prm_info, word272).as_is(),
    PRM_FIELD(prm_info, reserved276).reserved(),
    PRM_FIELD(prm_info, vmr_id).hex().names_a(PRM_HANDLE_TCAM).written_back(),
    PRM_FIELD(prm_info, reserved296).reserved(),
    PRM_FIELD(prm_info, word312).as_is(),
    PRM_FIELD(prm_info, port_num).number().names_a(PRM_HANDLE_PORT),
    PRM_FIELD(prm_info, ace_index).number(),
    PRM_FIELD(prm_info, nr_entries).number(),
    PRM_FIELD(prm_info, value_mask_key_sz).number(),
    PRM_FIELD(prm_info, result_key_sz).number(),
    PRM_FIELD(prm_info, stats_id).number().names_a(PRM_HANDLE_ACL_STATISTICS).written_back(),
    PRM_FIELD(prm_info, reserved328).reserved(),
    PRM_FIELD(prm_info, value)
        .buffer(PRM_SELECTOR(prm_info, fea_id), prm_tcam_value_keys, PRM_SELECTOR(prm_info, nr_entries),
                PRM_SELECTOR(prm_info, value_mask_key_sz)),
    PRM_FIELD(prm_info, mask)
        .buffer(PRM_SELECTOR(prm_info, fea_id), prm_tcam_mask_keys, PRM_SELECTOR(prm_info, nr_entries),
                PRM_SELECTOR(prm_info, value_mask_key_sz)),
    PRM_FIELD(prm_info, result)
        .buffer(PRM_SELECTOR(prm_info, fea_id), prm_tcam_result_keys, PRM_SELECTOR(prm_info, nr_entries),
                PRM_SELECTOR(prm_info, result_key_sz)),
    PRM_FIELD(prm_info, reserved376).reserved(),
};
inline constexpr prm_record prm_info_record = PRM_RECORD(prm_info);

// The 15-bit class id of an ACL key.
static inline u16 prm_tcam_class_id(const prm_tcam_key *key) {
    return static_cast<u16>(key->class_id_low >> 1 | key->class_id_high << 7);
}

static inline void prm_tcam_set_class_id(prm_tcam_key *key, u16 class_id) {
    key->class_id_low = static_cast<u8>((key->class_id_low & PRM_TCAM_KEY_NOT_CLASS_ID) | class_id << 1);
    key->class_id_high = static_cast<u8>(class_id >> 7);
}

static inline u32 prm_tcam_swap32(u32 word) {
    return word << 24 | (word << 8 & 0xFF0000u) | (word >> 8 & 0xFF00u) | word >> 24;
}

static inline u16 prm_tcam_swap16(u16 word) {
    return static_cast<u16>(word << 8 | word >> 8);
}

#endif
