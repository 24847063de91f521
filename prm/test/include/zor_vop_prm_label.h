// Label entry request of the route programming client: what a packet with a label gets.
//
// Numbers are little-endian. Bytes called reserved are sent as 0.
#ifndef ZOR_VOP_PRM_LABEL_H
#define ZOR_VOP_PRM_LABEL_H

#include "prm_buddy_reserve.h"
#include "prm_fields.h"
#include "prm_types.h"

enum : u32 {
    ZOR_LABEL_KEY_LEN = 8,         // add and modify: label and end-of-stack
    ZOR_LABEL_DELETE_KEY_LEN = 4,  // delete: the label alone
};

struct PRM_PACKED zor_label_key {
    u32 label;
    u8 eos;  // end of stack: 1 or 0
    u8 reserved5[3];
};
static_assert(sizeof(zor_label_key) == ZOR_LABEL_KEY_LEN, "ABI");
static_assert(offsetof(zor_label_key, eos) == 4, "ABI");

inline constexpr prm_field zor_label_key_fields[] = {
    PRM_FIELD(zor_label_key, label).number(),
    PRM_FIELD(zor_label_key, eos).number(),
    PRM_FIELD(zor_label_key, reserved5).reserved(),
};
inline constexpr prm_record zor_label_key_record = PRM_RECORD(zor_label_key);

enum : u8 {
    ZOR_LABEL_RECURSIVE = 0x10,   // flags0: label_ptr_rec is used
    ZOR_LABEL_NR_LDI = 0x80,      // flags0: the pointer word is a load-distribution pointer
    ZOR_LABEL_ALWAYS = 0x80,      // flags1: set in every entry; sent as is
    ZOR_LABEL_POP_LOOKUP = 0x01,  // flags2: pop and look up; the pointer word is 0
    ZOR_LABEL_EOS = 0x10,         // flags3: end of stack
};

// The pointer word stands in one of two places, five bytes apart, by end-of-stack.
struct PRM_PACKED zor_label_payload {
    u8 flags0;
    u8 flags1;
    u8 flags2;
    u8 flags3;
    u8 reserved4[4];
    u32 label_ptr_eos0;
    u8 reserved12;
    u32 label_ptr_eos1;
    u8 reserved17[35];
    u32 label_ptr_rec;
    u8 reserved56[22];
    u32 leaf_hw_idx;  // reserved label-entry index, 0 when there is none
    u8 reserved82[5];
};
static_assert(sizeof(zor_label_payload) == 87, "ABI");
static_assert(offsetof(zor_label_payload, flags3) == 3, "ABI");
static_assert(offsetof(zor_label_payload, label_ptr_eos0) == 8, "ABI");
static_assert(offsetof(zor_label_payload, label_ptr_eos1) == 13, "ABI");
static_assert(offsetof(zor_label_payload, label_ptr_rec) == 52, "ABI");
static_assert(offsetof(zor_label_payload, leaf_hw_idx) == 78, "ABI");

inline constexpr prm_bits zor_label_bits0[] = {
    {ZOR_LABEL_RECURSIVE, "recursive"},
    {ZOR_LABEL_NR_LDI, "nr_ldi"},
};
inline constexpr prm_bits zor_label_bits1[] = {{ZOR_LABEL_ALWAYS, "always"}};
inline constexpr prm_bits zor_label_bits2[] = {{ZOR_LABEL_POP_LOOKUP, "pop_lookup"}};
inline constexpr prm_bits zor_label_bits3[] = {{ZOR_LABEL_EOS, "eos"}};
inline constexpr prm_field zor_label_payload_fields[] = {
    PRM_FIELD(zor_label_payload, flags0).flags(zor_label_bits0),
    PRM_FIELD(zor_label_payload, flags1).flags(zor_label_bits1),
    PRM_FIELD(zor_label_payload, flags2).flags(zor_label_bits2),
    PRM_FIELD(zor_label_payload, flags3).flags(zor_label_bits3),
    PRM_FIELD(zor_label_payload, reserved4).reserved(),
    PRM_FIELD(zor_label_payload, label_ptr_eos0).hex().names_a(PRM_HANDLE_LDI),
    PRM_FIELD(zor_label_payload, reserved12).reserved(),
    PRM_FIELD(zor_label_payload, label_ptr_eos1).hex().names_a(PRM_HANDLE_LDI),
    PRM_FIELD(zor_label_payload, reserved17).reserved(),
    PRM_FIELD(zor_label_payload, label_ptr_rec).hex(),
    PRM_FIELD(zor_label_payload, reserved56).reserved(),
    PRM_FIELD(zor_label_payload, leaf_hw_idx).number().names_a(PRM_HANDLE_LABEL_INDEX),
    PRM_FIELD(zor_label_payload, reserved82).reserved(),
};
inline constexpr prm_record zor_label_payload_record = PRM_RECORD(zor_label_payload);

struct PRM_PACKED zor_label_request {
    u32 owner;  // PRM_OWNER
    u8 reserved4[8];
    u32 key_len;  // meaningful bytes of the key
    u8 reserved16[4];
    union PRM_PACKED {
        zor_label_key key;
        u8 key_bytes[48];
    };
    u32 payload_len;  // 0 in a delete
    zor_label_payload payload;
    u8 reserved159[1965];
};
static_assert(sizeof(zor_label_request) == 2124, "ABI");
static_assert(offsetof(zor_label_request, key_len) == 12, "ABI");
static_assert(offsetof(zor_label_request, key) == 20, "ABI");
static_assert(offsetof(zor_label_request, payload_len) == 68, "ABI");
static_assert(offsetof(zor_label_request, payload) == 72, "ABI");

inline constexpr prm_field zor_label_whole_key_fields[] = {
    PRM_FIELD(zor_label_request, key).of(&zor_label_key_record),
    PRM_FIELD(zor_label_request, key_bytes).behind(PRM_FIELD(zor_label_request, key)),
};
inline constexpr prm_field zor_label_key_bytes_fields[] = {PRM_FIELD(zor_label_request, key_bytes).bytes()};
inline constexpr prm_choice zor_label_keys[] = {
    prm_when(ZOR_LABEL_KEY_LEN, zor_label_whole_key_fields),
    prm_when(ZOR_LABEL_DELETE_KEY_LEN, zor_label_whole_key_fields),
    prm_otherwise(zor_label_key_bytes_fields),
};
inline constexpr prm_field zor_label_no_payload_fields[] = {PRM_FIELD(zor_label_request, payload).reserved()};
inline constexpr prm_field zor_label_whole_payload_fields[] = {
    PRM_FIELD(zor_label_request, payload).of(&zor_label_payload_record)};
inline constexpr prm_choice zor_label_payloads[] = {
    prm_when(0, zor_label_no_payload_fields),
    prm_otherwise(zor_label_whole_payload_fields),
};
inline constexpr prm_field zor_label_request_fields[] = {
    PRM_FIELD(zor_label_request, owner).number(),
    PRM_FIELD(zor_label_request, reserved4).reserved(),
    PRM_FIELD(zor_label_request, key_len).number(),
    PRM_FIELD(zor_label_request, reserved16).reserved(),
    PRM_FIELD(zor_label_request, key_bytes)
        .chosen_by(PRM_SELECTOR(zor_label_request, key_len), zor_label_keys),
    PRM_FIELD(zor_label_request, payload_len).number(),
    PRM_FIELD(zor_label_request, payload)
        .chosen_by(PRM_SELECTOR(zor_label_request, payload_len), zor_label_payloads),
    PRM_FIELD(zor_label_request, reserved159).reserved(),
};
inline constexpr prm_record zor_label_request_record = PRM_RECORD(zor_label_request);

#endif
