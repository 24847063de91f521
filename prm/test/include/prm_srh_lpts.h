// Local packet transport entries: the hardware entries that steer packets addressed to the router itself.
//
// Numbers are little-endian, IPv6 addresses in network order. Bytes called reserved are sent as 0.
#ifndef PRM_SRH_LPTS_H
#define PRM_SRH_LPTS_H

#include "prm_buddy_reserve.h"
#include "prm_fields.h"
#include "prm_types.h"

enum : u32 {
    PRM_LPTS_TYPE = 256,  // sent as is
    PRM_LPTS_PROTO_IPV4 = 1,
    PRM_LPTS_PROTO_IPV6 = 2,
    PRM_LPTS_GET_WORD = 1,  // last argument of a read; sent as is
};

enum : u8 { PRM_LPTS_MASK_ALL = 0xff };  // both mask bytes; sent as is

union PRM_PACKED prm_lpts_address {
    u32 v4;
    u8 v6[16];
    u16 v6_words[8];
};
static_assert(sizeof(prm_lpts_address) == 16, "ABI");

struct PRM_PACKED prm_lpts_entry {
    u32 lpts_type;
    u8 lpts_mask0;
    u8 lpts_mask1;
    u8 reserved6[2];
    u32 lpts_valid;
    u8 reserved12[32];
    u32 l3_proto;  // PRM_LPTS_PROTO_...
    u8 l4_proto;   // IP protocol number
    u8 reserved49[11];
    prm_lpts_address local_addr;
    u32 local_plen;  // bits
    u8 reserved80[4];
    prm_lpts_address remote_addr;
    u32 remote_plen;  // bits
    u8 reserved104[4];
    u16 local_port;
    u8 reserved110[6];
    u16 remote_port;
    u8 reserved118[10];
};
static_assert(sizeof(prm_lpts_entry) == 128, "ABI");
static_assert(offsetof(prm_lpts_entry, lpts_mask0) == 4, "ABI");
static_assert(offsetof(prm_lpts_entry, lpts_mask1) == 5, "ABI");
static_assert(offsetof(prm_lpts_entry, lpts_valid) == 8, "ABI");
static_assert(offsetof(prm_lpts_entry, l3_proto) == 44, "ABI");
static_assert(offsetof(prm_lpts_entry, l4_proto) == 48, "ABI");
static_assert(offsetof(prm_lpts_entry, local_addr) == 60, "ABI");
static_assert(offsetof(prm_lpts_entry, local_plen) == 76, "ABI");
static_assert(offsetof(prm_lpts_entry, remote_addr) == 84, "ABI");
static_assert(offsetof(prm_lpts_entry, remote_plen) == 100, "ABI");
static_assert(offsetof(prm_lpts_entry, local_port) == 108, "ABI");
static_assert(offsetof(prm_lpts_entry, remote_port) == 116, "ABI");

// An address of a family, in one place: prefix, member, then the place.
#define PRM_LPTS_V4_FIELDS(address)                                                                      \
    prm_field_at<decltype(prm_lpts_address::v4)>(#address, offsetof(prm_lpts_entry, address.v4)).ipv4(), \
        PRM_FIELD(prm_lpts_entry, address)                                                               \
            .behind(prm_field_at<decltype(prm_lpts_address::v4)>(#address,                               \
                                                                 offsetof(prm_lpts_entry, address.v4)))
inline constexpr prm_name prm_lpts_protos[] = {
    {PRM_LPTS_PROTO_IPV4, "ipv4"},
    {PRM_LPTS_PROTO_IPV6, "ipv6"},
};
inline constexpr prm_field prm_lpts_local_v4_fields[] = {PRM_LPTS_V4_FIELDS(local_addr)};
inline constexpr prm_field prm_lpts_local_v6_fields[] = {PRM_FIELD(prm_lpts_entry, local_addr).ipv6()};
inline constexpr prm_field prm_lpts_remote_v4_fields[] = {PRM_LPTS_V4_FIELDS(remote_addr)};
inline constexpr prm_field prm_lpts_remote_v6_fields[] = {PRM_FIELD(prm_lpts_entry, remote_addr).ipv6()};
inline constexpr prm_choice prm_lpts_local_addrs[] = {
    prm_when(PRM_LPTS_PROTO_IPV4, prm_lpts_local_v4_fields),
    prm_otherwise(prm_lpts_local_v6_fields),
};
inline constexpr prm_choice prm_lpts_remote_addrs[] = {
    prm_when(PRM_LPTS_PROTO_IPV4, prm_lpts_remote_v4_fields),
    prm_otherwise(prm_lpts_remote_v6_fields),
};
#undef PRM_LPTS_V4_FIELDS
inline constexpr prm_field prm_lpts_entry_fields[] = {
    PRM_FIELD(prm_lpts_entry, lpts_type).as_is(),
    PRM_FIELD(prm_lpts_entry, lpts_mask0).hex(),
    PRM_FIELD(prm_lpts_entry, lpts_mask1).hex(),
    PRM_FIELD(prm_lpts_entry, reserved6).reserved(),
    PRM_FIELD(prm_lpts_entry, lpts_valid).number(),
    PRM_FIELD(prm_lpts_entry, reserved12).reserved(),
    PRM_FIELD(prm_lpts_entry, l3_proto).one_of(prm_lpts_protos),
    PRM_FIELD(prm_lpts_entry, l4_proto).number(),
    PRM_FIELD(prm_lpts_entry, reserved49).reserved(),
    PRM_FIELD(prm_lpts_entry, local_addr)
        .chosen_by(PRM_SELECTOR(prm_lpts_entry, l3_proto), prm_lpts_local_addrs),
    PRM_FIELD(prm_lpts_entry, local_plen).number(),
    PRM_FIELD(prm_lpts_entry, reserved80).reserved(),
    PRM_FIELD(prm_lpts_entry, remote_addr)
        .chosen_by(PRM_SELECTOR(prm_lpts_entry, l3_proto), prm_lpts_remote_addrs),
    PRM_FIELD(prm_lpts_entry, remote_plen).number(),
    PRM_FIELD(prm_lpts_entry, reserved104).reserved(),
    PRM_FIELD(prm_lpts_entry, local_port).number(),
    PRM_FIELD(prm_lpts_entry, reserved110).reserved(),
    PRM_FIELD(prm_lpts_entry, remote_port).number(),
    PRM_FIELD(prm_lpts_entry, reserved118).reserved(),
};
inline constexpr prm_record prm_lpts_entry_record = PRM_RECORD(prm_lpts_entry);

// Identifier of a programmed entry.
struct PRM_PACKED prm_lpts_id {
    u32 group;
    u32 entry;
    u32 policer;
    u32 statistics;
    u32 word16;  // not used
};
static_assert(sizeof(prm_lpts_id) == 20, "ABI");
static_assert(offsetof(prm_lpts_id, entry) == 4, "ABI");
static_assert(offsetof(prm_lpts_id, policer) == 8, "ABI");
static_assert(offsetof(prm_lpts_id, statistics) == 12, "ABI");

inline constexpr prm_field prm_lpts_id_fields[] = {
    PRM_FIELD(prm_lpts_id, group).number().written_back(),
    PRM_FIELD(prm_lpts_id, entry).number().names_a(PRM_HANDLE_LPTS_ENTRY).written_back(),
    PRM_FIELD(prm_lpts_id, policer).hex().names_a(PRM_HANDLE_LPTS_POLICER).written_back(),
    PRM_FIELD(prm_lpts_id, statistics).hex().names_a(PRM_HANDLE_LPTS_STATISTICS).written_back(),
    PRM_FIELD(prm_lpts_id, word16).as_is().written_back(),
};
inline constexpr prm_record prm_lpts_id_record = PRM_RECORD(prm_lpts_id);

// An add takes the entry and leaves the identifier at the start of the data; a read takes the identifier and
// leaves the entry; a delete takes the identifier.
struct PRM_PACKED prm_lpts_request {
    u32 owner;  // PRM_OWNER
    u8 reserved4[56];
    u32 data_len;
    u32 word64;  // 0, sent as is
    union PRM_PACKED {
        prm_lpts_entry entry;
        prm_lpts_id id;
        u8 data[2048];
    };
};
static_assert(sizeof(prm_lpts_request) == 2116, "ABI");
static_assert(offsetof(prm_lpts_request, data_len) == 60, "ABI");
static_assert(offsetof(prm_lpts_request, word64) == 64, "ABI");
static_assert(offsetof(prm_lpts_request, data) == 68, "ABI");

inline constexpr prm_field prm_lpts_data_entry_fields[] = {
    PRM_FIELD(prm_lpts_request, entry).of(&prm_lpts_entry_record),
    PRM_FIELD(prm_lpts_request, data).behind(PRM_FIELD(prm_lpts_request, entry)),
};
inline constexpr prm_field prm_lpts_data_id_fields[] = {
    PRM_FIELD(prm_lpts_request, id).of(&prm_lpts_id_record),
    PRM_FIELD(prm_lpts_request, data).behind(PRM_FIELD(prm_lpts_request, id)),
};
inline constexpr prm_field prm_lpts_data_fields[] = {PRM_FIELD(prm_lpts_request, data).bytes()};
inline constexpr prm_choice prm_lpts_data[] = {
    prm_when(sizeof(prm_lpts_entry), prm_lpts_data_entry_fields),
    prm_when(sizeof(prm_lpts_id), prm_lpts_data_id_fields),
    prm_otherwise(prm_lpts_data_fields),
};
inline constexpr prm_field prm_lpts_request_fields[] = {
    PRM_FIELD(prm_lpts_request, owner).number(),
    PRM_FIELD(prm_lpts_request, reserved4).reserved(),
    PRM_FIELD(prm_lpts_request, data_len).number(),
    PRM_FIELD(prm_lpts_request, word64).as_is(),
    PRM_FIELD(prm_lpts_request, data).chosen_by(PRM_SELECTOR(prm_lpts_request, data_len), prm_lpts_data),
};
inline constexpr prm_record prm_lpts_request_record = PRM_RECORD(prm_lpts_request);

// What an add and a read leave: the length is still the request's.
inline constexpr prm_choice prm_lpts_data_added[] = {prm_otherwise(prm_lpts_data_id_fields)};
inline constexpr prm_choice prm_lpts_data_read[] = {prm_otherwise(prm_lpts_data_entry_fields)};
inline constexpr prm_field prm_lpts_request_added_fields[] = {
    prm_lpts_request_fields[0],
    prm_lpts_request_fields[1],
    prm_lpts_request_fields[2],
    prm_lpts_request_fields[3],
    PRM_FIELD(prm_lpts_request, data)
        .chosen_by(PRM_SELECTOR(prm_lpts_request, data_len), prm_lpts_data_added),
};
inline constexpr prm_field prm_lpts_request_read_fields[] = {
    prm_lpts_request_fields[0],
    prm_lpts_request_fields[1],
    prm_lpts_request_fields[2],
    prm_lpts_request_fields[3],
    PRM_FIELD(prm_lpts_request, data).chosen_by(PRM_SELECTOR(prm_lpts_request, data_len), prm_lpts_data_read),
};
inline constexpr prm_record prm_lpts_request_added_record = {
    "prm_lpts_request_added", sizeof(prm_lpts_request), prm_lpts_request_added_fields, {}};
inline constexpr prm_record prm_lpts_request_read_record = {
    "prm_lpts_request_read", sizeof(prm_lpts_request), prm_lpts_request_read_fields, {}};

#endif
