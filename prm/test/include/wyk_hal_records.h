// Requests and responses of the NP HAL wrapper: traffic-manager policies, queues, statistics, nodes.
//
// All records are little-endian. Bytes called reserved are sent as 0. A record that repeats an item is a head
// struct with the items back to back behind it; the accessors tell where. The policy exchange of the policers
// and that of the strict-priority queues share their heads and items.
#ifndef WYK_HAL_RECORDS_H
#define WYK_HAL_RECORDS_H

#include "prm_fields.h"
#include "prm_types.h"

// First argument of wyk_hal_wrapper_engine_op.
enum wyk_hal_type : u32 {
    WYK_HAL_DEFAULT_QUEUE_ALLOCATE = 0,  // wyk_hal_default_queue, wyk_hal_default_queue_response
    WYK_HAL_PORT_SHAPER_CONFIGURE = 4,   // wyk_hal_port_shaper, wyk_hal_policy_response
    WYK_HAL_PORT_SHAPER_REMOVE = 5,      // wyk_hal_port_shaper_removal, wyk_hal_policy_response
    WYK_HAL_TM_INFO = 9,                 // no request, wyk_hal_tm_info
    WYK_HAL_DEFAULT_QUEUE_RELEASE = 10,  // wyk_hal_default_queue, no response
};

enum { WYK_HAL_CLASSES = 8 };  // classes of a strict-priority configuration

// Words that open a strict-priority request and the release of its nodes, sent as is.
enum : u32 { WYK_HAL_SP_WORD1 = 0x800002, WYK_HAL_SP_WORD2 = 4224 };

// --- wyk_hal_wrapper_config_policy_in_tm -----------------------------------------------------------------

enum : u32 { WYK_HAL_QUEUING_ENABLED = 1 };  // of word64
enum : u32 { WYK_HAL_INGRESS = 0, WYK_HAL_EGRESS = 1 };

// Policy request: this head, then `count` policies.
struct PRM_PACKED wyk_hal_policy_request {
    u32 word0;  // WYK_HAL_SP_WORD1 in a strict-priority request
    u32 word4;  // WYK_HAL_SP_WORD2 in a strict-priority request
    u32 count;  // policies, or classes of a strict-priority request
    u8 reserved12[52];
    u32 word64;  // WYK_HAL_QUEUING_ENABLED
    u8 reserved68[12];
    u16 np_id;
    u8 reserved82[10];
    u32 mqc_level;
    u8 reserved96[4];
    u32 port;  // strict priority
    u8 reserved104[4];
    u32 direction;  // WYK_HAL_INGRESS, WYK_HAL_EGRESS
    u8 reserved112[16];
};
static_assert(sizeof(wyk_hal_policy_request) == 128, "ABI");
static_assert(offsetof(wyk_hal_policy_request, word0) == 0, "ABI");
static_assert(offsetof(wyk_hal_policy_request, word4) == 4, "ABI");
static_assert(offsetof(wyk_hal_policy_request, count) == 8, "ABI");
static_assert(offsetof(wyk_hal_policy_request, word64) == 64, "ABI");
static_assert(offsetof(wyk_hal_policy_request, np_id) == 80, "ABI");
static_assert(offsetof(wyk_hal_policy_request, mqc_level) == 92, "ABI");
static_assert(offsetof(wyk_hal_policy_request, port) == 100, "ABI");
static_assert(offsetof(wyk_hal_policy_request, direction) == 108, "ABI");

enum : u16 {
    WYK_HAL_POLICY_COUNTER = 0,       // counter only
    WYK_HAL_POLICY_POLICER = 0x8F00,  // counter and policer
};
enum : u32 {
    WYK_HAL_SHAPER_WORD = 148,         // of shaper_word: sent as is
    WYK_HAL_SHAPER_DEFAULT_CLASS = 1,  // of shaper_word
    WYK_HAL_BANDWIDTH_BWRR = 2,        // bandwidth-weighted round robin
};

// One policy (a counter, or a counter and policer), or one class of a strict-priority request.
struct PRM_PACKED wyk_hal_policy {
    u8 reserved0[2];
    u16 kind;      // WYK_HAL_POLICY_...
    u8 mqc_depth;  // 1 in the two requests with an invalid depth
    u8 reserved5[3];
    u16 qos_group;  // 0 is the default class
    u8 reserved10[2];
    u32 priority;  // level, 0 the first
    u8 reserved16[12];
    u32 shaper_word;  // WYK_HAL_SHAPER_...
    u8 reserved32[12];
    u32 bandwidth_mode;  // WYK_HAL_BANDWIDTH_BWRR for the default class
    u8 reserved48[8];
    u16 weight;
    u8 reserved58[26];
    u32 rate;  // of the shaper
    u8 reserved88[240];
    u32 mode_word;  // 0 or 1; 1 in the packets-per-second policer
    u8 reserved332[4];
    u32 word336;         // 1 in every policy, sent as is
    u32 committed_rate;  // of the policer
    u32 burst;           // of the policer
    u8 reserved348[84];
};
static_assert(sizeof(wyk_hal_policy) == 432, "ABI");
static_assert(offsetof(wyk_hal_policy, kind) == 130 - 128, "ABI");
static_assert(offsetof(wyk_hal_policy, mqc_depth) == 4, "ABI");
static_assert(offsetof(wyk_hal_policy, qos_group) == 8, "ABI");
static_assert(offsetof(wyk_hal_policy, priority) == 12, "ABI");
static_assert(offsetof(wyk_hal_policy, shaper_word) == 152 + 4 - 128, "ABI");
static_assert(offsetof(wyk_hal_policy, bandwidth_mode) == 152 + 20 - 128, "ABI");
static_assert(offsetof(wyk_hal_policy, weight) == 152 + 32 - 128, "ABI");
static_assert(offsetof(wyk_hal_policy, rate) == 152 + 60 - 128, "ABI");
static_assert(offsetof(wyk_hal_policy, mode_word) == 456 - 128, "ABI");
static_assert(offsetof(wyk_hal_policy, word336) == 464 - 128, "ABI");
static_assert(offsetof(wyk_hal_policy, committed_rate) == 468 - 128, "ABI");
static_assert(offsetof(wyk_hal_policy, burst) == 472 - 128, "ABI");

inline constexpr prm_name wyk_hal_policy_kinds[] = {
    {WYK_HAL_POLICY_COUNTER, "counter"},
    {WYK_HAL_POLICY_POLICER, "policer"},
};
inline constexpr prm_name wyk_hal_bandwidth_modes[] = {{WYK_HAL_BANDWIDTH_BWRR, "bwrr"}};
inline constexpr prm_bits wyk_hal_shaper_bits[] = {
    {WYK_HAL_SHAPER_DEFAULT_CLASS, "default_class"},
    {0xFFFFFFFF & ~u32{WYK_HAL_SHAPER_DEFAULT_CLASS}, "word"},
};
inline constexpr prm_field wyk_hal_policy_fields[] = {
    PRM_FIELD(wyk_hal_policy, reserved0).reserved(),
    PRM_FIELD(wyk_hal_policy, kind).one_of(wyk_hal_policy_kinds),
    PRM_FIELD(wyk_hal_policy, mqc_depth).number(),
    PRM_FIELD(wyk_hal_policy, reserved5).reserved(),
    PRM_FIELD(wyk_hal_policy, qos_group).number(),
    PRM_FIELD(wyk_hal_policy, reserved10).reserved(),
    PRM_FIELD(wyk_hal_policy, priority).number(),
    PRM_FIELD(wyk_hal_policy, reserved16).reserved(),
    PRM_FIELD(wyk_hal_policy, shaper_word).flags(wyk_hal_shaper_bits),
    PRM_FIELD(wyk_hal_policy, reserved32).reserved(),
    PRM_FIELD(wyk_hal_policy, bandwidth_mode).one_of(wyk_hal_bandwidth_modes),
    PRM_FIELD(wyk_hal_policy, reserved48).reserved(),
    PRM_FIELD(wyk_hal_policy, weight).number(),
    PRM_FIELD(wyk_hal_policy, reserved58).reserved(),
    PRM_FIELD(wyk_hal_policy, rate).number(),
    PRM_FIELD(wyk_hal_policy, reserved88).reserved(),
    PRM_FIELD(wyk_hal_policy, mode_word).number(),
    PRM_FIELD(wyk_hal_policy, reserved332).reserved(),
    PRM_FIELD(wyk_hal_policy, word336).as_is(),
    PRM_FIELD(wyk_hal_policy, committed_rate).number(),
    PRM_FIELD(wyk_hal_policy, burst).number(),
    PRM_FIELD(wyk_hal_policy, reserved348).reserved(),
};
inline constexpr prm_record wyk_hal_policy_record = PRM_RECORD(wyk_hal_policy);

inline constexpr prm_name wyk_hal_directions[] = {{WYK_HAL_INGRESS, "ingress"}, {WYK_HAL_EGRESS, "egress"}};
inline constexpr prm_bits wyk_hal_queuing_bits[] = {{WYK_HAL_QUEUING_ENABLED, "queuing_enabled"}};
inline constexpr prm_field wyk_hal_policy_request_fields[] = {
    PRM_FIELD(wyk_hal_policy_request, word0).as_is(),
    PRM_FIELD(wyk_hal_policy_request, word4).as_is(),
    PRM_FIELD(wyk_hal_policy_request, count).number(),
    PRM_FIELD(wyk_hal_policy_request, reserved12).reserved(),
    PRM_FIELD(wyk_hal_policy_request, word64).flags(wyk_hal_queuing_bits),
    PRM_FIELD(wyk_hal_policy_request, reserved68).reserved(),
    PRM_FIELD(wyk_hal_policy_request, np_id).number(),
    PRM_FIELD(wyk_hal_policy_request, reserved82).reserved(),
    PRM_FIELD(wyk_hal_policy_request, mqc_level).number(),
    PRM_FIELD(wyk_hal_policy_request, reserved96).reserved(),
    PRM_FIELD(wyk_hal_policy_request, port).number(),
    PRM_FIELD(wyk_hal_policy_request, reserved104).reserved(),
    PRM_FIELD(wyk_hal_policy_request, direction).one_of(wyk_hal_directions),
    PRM_FIELD(wyk_hal_policy_request, reserved112).reserved(),
};
inline constexpr prm_record wyk_hal_policy_request_record =
    PRM_RECORD_WITH_ITEMS(wyk_hal_policy_request,
                          {"policies", &wyk_hal_policy_record, PRM_SELECTOR(wyk_hal_policy_request, count)});

// Policy response: this head, then one item of ids per policy or class.
struct PRM_PACKED wyk_hal_policy_response {
    u8 reserved0[16];
    u32 status;  // verdict on a strict-priority request
    u8 reserved20[104];
};
static_assert(sizeof(wyk_hal_policy_response) == 124, "ABI");
static_assert(offsetof(wyk_hal_policy_response, status) == 16, "ABI");

// Ids of one policy, class or node: item of the policy response and of the get-result response.
struct PRM_PACKED wyk_hal_ids {
    u8 reserved0[108];
    u32 fid0;  // queue
    u8 reserved112[28];
    u32 commit_id;  // committed traffic
    u8 reserved144[4];
    u32 drop_id;
    u8 reserved152[4];
    u32 policer_id;  // token bucket
    u32 stats_id;    // statistics; of a policer its conforming traffic
    u32 exceed_id;
    u32 violate_id;
    u8 reserved172[4];
    u16 profile;  // of the policer
    u8 reserved178[82];
};
static_assert(sizeof(wyk_hal_ids) == 260, "ABI");
// As an item of the policers' response (from 124 on), of the strict-priority response (told from 112 on) and
// of the get-result response (told from 0, the items stand from 8 on).
static_assert(offsetof(wyk_hal_ids, policer_id) == 156, "ABI");
static_assert(offsetof(wyk_hal_ids, stats_id) == 160, "ABI");
static_assert(offsetof(wyk_hal_ids, profile) == 176, "ABI");
static_assert(offsetof(wyk_hal_ids, fid0) == 112 + 120 - 124, "ABI");
static_assert(offsetof(wyk_hal_ids, commit_id) == 112 + 152 - 124, "ABI");
static_assert(offsetof(wyk_hal_ids, drop_id) == 112 + 160 - 124, "ABI");
static_assert(offsetof(wyk_hal_ids, stats_id) == 112 + 172 - 124, "ABI");
static_assert(offsetof(wyk_hal_ids, fid0) == 116 - 8, "ABI");
static_assert(offsetof(wyk_hal_ids, commit_id) == 148 - 8, "ABI");
static_assert(offsetof(wyk_hal_ids, drop_id) == 156 - 8, "ABI");
static_assert(offsetof(wyk_hal_ids, policer_id) == 164 - 8, "ABI");
static_assert(offsetof(wyk_hal_ids, stats_id) == 168 - 8, "ABI");
static_assert(offsetof(wyk_hal_ids, exceed_id) == 172 - 8, "ABI");
static_assert(offsetof(wyk_hal_ids, violate_id) == 176 - 8, "ABI");
static_assert(offsetof(wyk_hal_ids, profile) == 184 - 8, "ABI");

inline constexpr prm_field wyk_hal_ids_fields[] = {
    PRM_FIELD(wyk_hal_ids, reserved0).reserved(),
    PRM_FIELD(wyk_hal_ids, fid0).hex().names_a(PRM_HANDLE_QUEUE).written_back(),
    PRM_FIELD(wyk_hal_ids, reserved112).reserved(),
    PRM_FIELD(wyk_hal_ids, commit_id).hex().names_a(PRM_HANDLE_TM_STATISTICS).written_back(),
    PRM_FIELD(wyk_hal_ids, reserved144).reserved(),
    PRM_FIELD(wyk_hal_ids, drop_id).hex().names_a(PRM_HANDLE_TM_STATISTICS).written_back(),
    PRM_FIELD(wyk_hal_ids, reserved152).reserved(),
    PRM_FIELD(wyk_hal_ids, policer_id).number().names_a(PRM_HANDLE_POLICER).written_back(),
    PRM_FIELD(wyk_hal_ids, stats_id).hex().names_a(PRM_HANDLE_TM_STATISTICS).written_back(),
    PRM_FIELD(wyk_hal_ids, exceed_id).hex().names_a(PRM_HANDLE_TM_STATISTICS).written_back(),
    PRM_FIELD(wyk_hal_ids, violate_id).hex().names_a(PRM_HANDLE_TM_STATISTICS).written_back(),
    PRM_FIELD(wyk_hal_ids, reserved172).reserved(),
    PRM_FIELD(wyk_hal_ids, profile).number().written_back(),
    PRM_FIELD(wyk_hal_ids, reserved178).reserved(),
};
inline constexpr prm_record wyk_hal_ids_record = PRM_RECORD(wyk_hal_ids);

inline constexpr prm_field wyk_hal_policy_response_fields[] = {
    PRM_FIELD(wyk_hal_policy_response, reserved0).reserved(),
    PRM_FIELD(wyk_hal_policy_response, status).number().written_back(),
    PRM_FIELD(wyk_hal_policy_response, reserved20).reserved(),
};
inline constexpr prm_record wyk_hal_policy_response_record =
    PRM_RECORD_WITH_ITEMS(wyk_hal_policy_response, {"ids", &wyk_hal_ids_record, {}});

static inline wyk_hal_policy *wyk_hal_policy_at(wyk_hal_policy_request *request, u32 i) {
    return reinterpret_cast<wyk_hal_policy *>(request + 1) + i;
}
static inline wyk_hal_ids *wyk_hal_policy_ids_at(wyk_hal_policy_response *response, u32 i) {
    return reinterpret_cast<wyk_hal_ids *>(response + 1) + i;
}

// Bytes of a request and response with n items; 16-bit sizes.
static inline u16 wyk_hal_policy_request_size(u32 n) {
    return static_cast<u16>(sizeof(wyk_hal_policy_request) + sizeof(wyk_hal_policy) * n);
}
static inline u16 wyk_hal_policy_response_size(u32 n) {
    return static_cast<u16>(sizeof(wyk_hal_policy_response) + sizeof(wyk_hal_ids) * n);
}

// --- wyk_hal_wrapper_deallocate_nodes --------------------------------------------------------------------

// Node release request: this head, then `count` nodes, then a word that is 0.
struct PRM_PACKED wyk_hal_release {
    u8 reserved0[8];
    u32 word8;   // WYK_HAL_SP_WORD1 in the release of strict-priority queues
    u32 word12;  // WYK_HAL_SP_WORD2 in the release of strict-priority queues
    u8 reserved16[12];
    u32 count;
    u8 reserved32[52];
};
static_assert(sizeof(wyk_hal_release) == 84, "ABI");
static_assert(offsetof(wyk_hal_release, word8) == 8, "ABI");
static_assert(offsetof(wyk_hal_release, word12) == 12, "ABI");
static_assert(offsetof(wyk_hal_release, count) == 28, "ABI");

enum { WYK_HAL_RELEASE_TAIL = 4 };  // bytes behind the last node

// Masks of wyk_hal_node's fields.
enum : u8 {
    WYK_HAL_NODE_TYPE = 0x3F,          // of type
    WYK_HAL_NODE_QUEUE = 0x40,         // of type
    WYK_HAL_NODE_POLICER = 0x80,       // of type
    WYK_HAL_NODE_FLAG8 = 0x01,         // of byte8: set for a queue, sent as is
    WYK_HAL_NODE_COUNTER_VALID = 0x01  // of counter_flags
};
enum : u8 { WYK_HAL_NODE_TYPE_VALUE = 42 };  // of WYK_HAL_NODE_TYPE, sent as is

// policer_word: the policer id above a valid bit.
enum : u32 { WYK_HAL_NODE_POLICER_VALID = 1, WYK_HAL_NODE_POLICER_SHIFT = 8 };

// One node: item of the release request and of the get-config request.
struct PRM_PACKED wyk_hal_node {
    u8 type;  // WYK_HAL_NODE_...
    u8 reserved1[3];
    u32 word4;  // 1 in the release of a queue, else 0; sent as is
    u8 byte8;   // WYK_HAL_NODE_FLAG8
    u8 reserved9[7];
    u32 port;       // queue
    u32 qos_group;  // queue
    u32 policer_word;
    u8 reserved28[4];
    u32 policer_stats_id;  // without PRM_TCAM_QOS_STATS_FLAG
    u8 reserved36[8];
    u8 counter_flags;  // WYK_HAL_NODE_COUNTER_VALID
    u8 reserved45[3];
    u32 counter_id;
};
static_assert(sizeof(wyk_hal_node) == 52, "ABI");
static_assert(offsetof(wyk_hal_node, type) == 84 - 84, "ABI");
static_assert(offsetof(wyk_hal_node, word4) == 88 - 84, "ABI");
static_assert(offsetof(wyk_hal_node, byte8) == 92 - 84, "ABI");
static_assert(offsetof(wyk_hal_node, port) == 100 - 84, "ABI");
static_assert(offsetof(wyk_hal_node, policer_word) == 108 - 84, "ABI");
static_assert(offsetof(wyk_hal_node, policer_stats_id) == 116 - 84, "ABI");
static_assert(offsetof(wyk_hal_node, counter_flags) == 128 - 84, "ABI");
static_assert(offsetof(wyk_hal_node, counter_id) == 132 - 84, "ABI");
static_assert(offsetof(wyk_hal_node, port) == 24 - 8, "ABI");
static_assert(offsetof(wyk_hal_node, qos_group) == 28 - 8, "ABI");

inline constexpr prm_bits wyk_hal_node_type_bits[] = {
    {WYK_HAL_NODE_TYPE, "type"},
    {WYK_HAL_NODE_QUEUE, "queue"},
    {WYK_HAL_NODE_POLICER, "policer"},
};
inline constexpr prm_bits wyk_hal_node_byte8_bits[] = {{WYK_HAL_NODE_FLAG8, "flag8"}};
inline constexpr prm_bits wyk_hal_node_policer_bits[] = {
    {WYK_HAL_NODE_POLICER_VALID, "valid"},
    {~((u64{1} << WYK_HAL_NODE_POLICER_SHIFT) - 1) & 0xFFFFFFFF, "id", {}, PRM_HANDLE_POLICER},
};
inline constexpr prm_bits wyk_hal_node_counter_bits[] = {{WYK_HAL_NODE_COUNTER_VALID, "valid"}};
inline constexpr prm_field wyk_hal_node_fields[] = {
    PRM_FIELD(wyk_hal_node, type).flags(wyk_hal_node_type_bits),
    PRM_FIELD(wyk_hal_node, reserved1).reserved(),
    PRM_FIELD(wyk_hal_node, word4).as_is(),
    PRM_FIELD(wyk_hal_node, byte8).flags(wyk_hal_node_byte8_bits),
    PRM_FIELD(wyk_hal_node, reserved9).reserved(),
    PRM_FIELD(wyk_hal_node, port).number(),
    PRM_FIELD(wyk_hal_node, qos_group).number(),
    PRM_FIELD(wyk_hal_node, policer_word).flags(wyk_hal_node_policer_bits),
    PRM_FIELD(wyk_hal_node, reserved28).reserved(),
    PRM_FIELD(wyk_hal_node, policer_stats_id).hex().names_a(PRM_HANDLE_TM_STATISTICS),
    PRM_FIELD(wyk_hal_node, reserved36).reserved(),
    PRM_FIELD(wyk_hal_node, counter_flags).flags(wyk_hal_node_counter_bits),
    PRM_FIELD(wyk_hal_node, reserved45).reserved(),
    PRM_FIELD(wyk_hal_node, counter_id).hex().names_a(PRM_HANDLE_TM_STATISTICS),
};
inline constexpr prm_record wyk_hal_node_record = PRM_RECORD(wyk_hal_node);

inline constexpr prm_field wyk_hal_release_fields[] = {
    PRM_FIELD(wyk_hal_release, reserved0).reserved(), PRM_FIELD(wyk_hal_release, word8).as_is(),
    PRM_FIELD(wyk_hal_release, word12).as_is(),       PRM_FIELD(wyk_hal_release, reserved16).reserved(),
    PRM_FIELD(wyk_hal_release, count).number(),       PRM_FIELD(wyk_hal_release, reserved32).reserved(),
};
inline constexpr prm_record wyk_hal_release_record = PRM_RECORD_WITH_ITEMS(
    wyk_hal_release,
    {"nodes", &wyk_hal_node_record, PRM_SELECTOR(wyk_hal_release, count), WYK_HAL_RELEASE_TAIL});

// The status word that a release writes.
inline constexpr prm_field wyk_hal_release_status_fields[] = {
    prm_field_at<u32>("status_word", 0).number().written_back()};
inline constexpr prm_record wyk_hal_release_status_record = {
    "wyk_hal_release_status", sizeof(u32), wyk_hal_release_status_fields, {}};

static inline wyk_hal_node *wyk_hal_release_node_at(wyk_hal_release *request, u32 i) {
    return reinterpret_cast<wyk_hal_node *>(request + 1) + i;
}

// Bytes of a release request with n nodes; a 16-bit size.
static inline u16 wyk_hal_release_size(u32 n) {
    return static_cast<u16>(sizeof(wyk_hal_release) + sizeof(wyk_hal_node) * n + WYK_HAL_RELEASE_TAIL);
}

// Release request with N nodes.
template <size_t N>
struct PRM_PACKED wyk_hal_release_of {
    wyk_hal_release head;
    wyk_hal_node nodes[N];
    u8 tail[WYK_HAL_RELEASE_TAIL];
};
static_assert(sizeof(wyk_hal_release_of<1>) == 140, "ABI");
static_assert(sizeof(wyk_hal_release_of<WYK_HAL_CLASSES>) == 504, "ABI");

// --- wyk_hal_wrapper_get_result --------------------------------------------------------------------------

// Get-result request: this head, then `count` items. The response is eight bytes, then `count` wyk_hal_ids.
struct PRM_PACKED wyk_hal_result_request {
    u32 count;
};
static_assert(sizeof(wyk_hal_result_request) == 4, "ABI");

// Masks of wyk_hal_result_item's fields.
enum : u8 {
    WYK_HAL_RESULT_QUEUE = 0x40,   // of select
    WYK_HAL_RESULT_POLICER = 0x80  // of select
};
enum : u8 { WYK_HAL_RESULT_BYTE14 = 0x0F };  // of byte14: 0 for a queue, sent as is

struct PRM_PACKED wyk_hal_result_item {
    u8 select;  // WYK_HAL_RESULT_...
    u8 reserved1[11];
    u16 port;   // queue; 8 bits used
    u8 byte14;  // WYK_HAL_RESULT_BYTE14
    u8 reserved15[17];
    u32 word32;  // 10 for a policer, sent as is
    u8 reserved36[16];
};
static_assert(sizeof(wyk_hal_result_item) == 52, "ABI");
static_assert(offsetof(wyk_hal_result_item, select) == 4 - 4, "ABI");
static_assert(offsetof(wyk_hal_result_item, port) == 16 - 4, "ABI");
static_assert(offsetof(wyk_hal_result_item, byte14) == 18 - 4, "ABI");
static_assert(offsetof(wyk_hal_result_item, word32) == 36 - 4, "ABI");

inline constexpr prm_bits wyk_hal_result_select_bits[] = {
    {WYK_HAL_RESULT_QUEUE, "queue"},
    {WYK_HAL_RESULT_POLICER, "policer"},
};
inline constexpr prm_bits wyk_hal_result_byte14_bits[] = {{WYK_HAL_RESULT_BYTE14, "byte14"}};
inline constexpr prm_field wyk_hal_result_item_fields[] = {
    PRM_FIELD(wyk_hal_result_item, select).flags(wyk_hal_result_select_bits),
    PRM_FIELD(wyk_hal_result_item, reserved1).reserved(),
    PRM_FIELD(wyk_hal_result_item, port).number(),
    PRM_FIELD(wyk_hal_result_item, byte14).flags(wyk_hal_result_byte14_bits),
    PRM_FIELD(wyk_hal_result_item, reserved15).reserved(),
    PRM_FIELD(wyk_hal_result_item, word32).as_is(),
    PRM_FIELD(wyk_hal_result_item, reserved36).reserved(),
};
inline constexpr prm_record wyk_hal_result_item_record = PRM_RECORD(wyk_hal_result_item);
inline constexpr prm_field wyk_hal_result_request_fields[] = {
    PRM_FIELD(wyk_hal_result_request, count).number(),
};
inline constexpr prm_record wyk_hal_result_request_record = PRM_RECORD_WITH_ITEMS(
    wyk_hal_result_request,
    {"items", &wyk_hal_result_item_record, PRM_SELECTOR(wyk_hal_result_request, count)});

struct PRM_PACKED wyk_hal_result_response {
    u8 reserved0[8];
};
static_assert(sizeof(wyk_hal_result_response) == 8, "ABI");

inline constexpr prm_field wyk_hal_result_response_fields[] = {
    PRM_FIELD(wyk_hal_result_response, reserved0).reserved(),
};
inline constexpr prm_record wyk_hal_result_response_record =
    PRM_RECORD_WITH_ITEMS(wyk_hal_result_response, {"ids", &wyk_hal_ids_record, {}});

static inline wyk_hal_result_item *wyk_hal_result_item_at(wyk_hal_result_request *request, u32 i) {
    return reinterpret_cast<wyk_hal_result_item *>(request + 1) + i;
}
static inline wyk_hal_ids *wyk_hal_result_ids_at(wyk_hal_result_response *response, u32 i) {
    return reinterpret_cast<wyk_hal_ids *>(response + 1) + i;
}

// Bytes of a request and response with n items; 16-bit sizes.
static inline u16 wyk_hal_result_request_size(u32 n) {
    return static_cast<u16>(sizeof(wyk_hal_result_request) + sizeof(wyk_hal_result_item) * n);
}
static inline u16 wyk_hal_result_response_size(u32 n) {
    return static_cast<u16>(sizeof(wyk_hal_result_response) + sizeof(wyk_hal_ids) * n);
}

// --- wyk_hal_wrapper_get_config --------------------------------------------------------------------------

// Get-config request of the strict-priority classes of a port.
struct PRM_PACKED wyk_hal_config_request {
    u32 count;
    u8 reserved4[4];
    wyk_hal_node nodes[WYK_HAL_CLASSES];  // type WYK_HAL_NODE_QUEUE, port, qos_group
};
static_assert(sizeof(wyk_hal_config_request) == 424, "ABI");
static_assert(offsetof(wyk_hal_config_request, nodes) == 8, "ABI");

inline constexpr prm_field wyk_hal_config_request_fields[] = {
    PRM_FIELD(wyk_hal_config_request, count).number(),
    PRM_FIELD(wyk_hal_config_request, reserved4).reserved(),
    PRM_FIELD(wyk_hal_config_request, nodes)
        .of(&wyk_hal_node_record)
        .first(PRM_SELECTOR(wyk_hal_config_request, count)),
};
inline constexpr prm_record wyk_hal_config_request_record = PRM_RECORD(wyk_hal_config_request);

// Configuration of one class as programmed.
struct PRM_PACKED wyk_hal_class_config {
    u8 reserved0[8];
    u32 bandwidth_mode;
    u8 reserved12[8];
    u16 weight;
    u8 reserved22[466];
    u32 level;  // priority
    u8 reserved492[36];
};
static_assert(sizeof(wyk_hal_class_config) == 528, "ABI");
static_assert(offsetof(wyk_hal_class_config, bandwidth_mode) == 16 - 8, "ABI");
static_assert(offsetof(wyk_hal_class_config, weight) == 28 - 8, "ABI");
static_assert(offsetof(wyk_hal_class_config, level) == 496 - 8, "ABI");

inline constexpr prm_field wyk_hal_class_config_fields[] = {
    PRM_FIELD(wyk_hal_class_config, reserved0).reserved(),
    PRM_FIELD(wyk_hal_class_config, bandwidth_mode).one_of(wyk_hal_bandwidth_modes).written_back(),
    PRM_FIELD(wyk_hal_class_config, reserved12).reserved(),
    PRM_FIELD(wyk_hal_class_config, weight).number().written_back(),
    PRM_FIELD(wyk_hal_class_config, reserved22).reserved(),
    PRM_FIELD(wyk_hal_class_config, level).number().written_back(),
    PRM_FIELD(wyk_hal_class_config, reserved492).reserved(),
};
inline constexpr prm_record wyk_hal_class_config_record = PRM_RECORD(wyk_hal_class_config);

struct PRM_PACKED wyk_hal_config_response {
    u32 status;  // 1 when the configuration was read
    u8 reserved4[4];
    wyk_hal_class_config classes[WYK_HAL_CLASSES];
};
static_assert(sizeof(wyk_hal_config_response) == 4232, "ABI");
static_assert(offsetof(wyk_hal_config_response, classes) == 8, "ABI");

inline constexpr prm_field wyk_hal_config_response_fields[] = {
    PRM_FIELD(wyk_hal_config_response, status).number().written_back(),
    PRM_FIELD(wyk_hal_config_response, reserved4).reserved(),
    PRM_FIELD(wyk_hal_config_response, classes).of(&wyk_hal_class_config_record),
};
inline constexpr prm_record wyk_hal_config_response_record = PRM_RECORD(wyk_hal_config_response);

// --- wyk_hal_wrapper_get_stats, wyk_hal_wrapper_get_queue_depth ------------------------------------------

struct PRM_PACKED wyk_hal_stats_request {
    u32 count;  // 1
    u32 stats_id;
};
static_assert(sizeof(wyk_hal_stats_request) == 8, "ABI");
static_assert(offsetof(wyk_hal_stats_request, stats_id) == 4, "ABI");

inline constexpr prm_field wyk_hal_stats_request_fields[] = {
    PRM_FIELD(wyk_hal_stats_request, count).number(),
    PRM_FIELD(wyk_hal_stats_request, stats_id).hex().names_a(PRM_HANDLE_TM_STATISTICS),
};
inline constexpr prm_record wyk_hal_stats_request_record = PRM_RECORD(wyk_hal_stats_request);

struct PRM_PACKED wyk_hal_stats_response {
    u32 status;
    u32 stats_id;
    u64 packets;
    u64 bytes;
};
static_assert(sizeof(wyk_hal_stats_response) == 24, "ABI");
static_assert(offsetof(wyk_hal_stats_response, stats_id) == 4, "ABI");
static_assert(offsetof(wyk_hal_stats_response, packets) == 8, "ABI");
static_assert(offsetof(wyk_hal_stats_response, bytes) == 16, "ABI");

inline constexpr prm_field wyk_hal_stats_response_fields[] = {
    PRM_FIELD(wyk_hal_stats_response, status).number().written_back(),
    PRM_FIELD(wyk_hal_stats_response, stats_id).hex().names_a(PRM_HANDLE_TM_STATISTICS).written_back(),
    PRM_FIELD(wyk_hal_stats_response, packets).number().written_back(),
    PRM_FIELD(wyk_hal_stats_response, bytes).number().written_back(),
};
inline constexpr prm_record wyk_hal_stats_response_record = PRM_RECORD(wyk_hal_stats_response);

// The response is one u32: the depth.
struct PRM_PACKED wyk_hal_queue_depth_request {
    u8 reserved0[20];
    u32 fid0;
};
static_assert(sizeof(wyk_hal_queue_depth_request) == 24, "ABI");
static_assert(offsetof(wyk_hal_queue_depth_request, fid0) == 20, "ABI");

inline constexpr prm_field wyk_hal_queue_depth_request_fields[] = {
    PRM_FIELD(wyk_hal_queue_depth_request, reserved0).reserved(),
    PRM_FIELD(wyk_hal_queue_depth_request, fid0).hex().names_a(PRM_HANDLE_QUEUE),
};
inline constexpr prm_record wyk_hal_queue_depth_request_record = PRM_RECORD(wyk_hal_queue_depth_request);
inline constexpr prm_field wyk_hal_queue_depth_response_fields[] = {
    prm_field_at<u32>("depth", 0).number().written_back()};
inline constexpr prm_record wyk_hal_queue_depth_response_record = {
    "wyk_hal_queue_depth_response", sizeof(u32), wyk_hal_queue_depth_response_fields, {}};

// --- wyk_hal_wrapper_engine_op ---------------------------------------------------------------------------

// Default queue of a port: allocation and release.
struct PRM_PACKED wyk_hal_default_queue {
    u32 port_index;  // port - 1
    u32 word4;       // 1, sent as is
    u32 word8;       // 100000000 to allocate, 1 to release; sent as is
};
static_assert(sizeof(wyk_hal_default_queue) == 12, "ABI");
static_assert(offsetof(wyk_hal_default_queue, word4) == 4, "ABI");
static_assert(offsetof(wyk_hal_default_queue, word8) == 8, "ABI");

inline constexpr prm_field wyk_hal_default_queue_fields[] = {
    PRM_FIELD(wyk_hal_default_queue, port_index).number(),
    PRM_FIELD(wyk_hal_default_queue, word4).as_is(),
    PRM_FIELD(wyk_hal_default_queue, word8).as_is(),
};
inline constexpr prm_record wyk_hal_default_queue_record = PRM_RECORD(wyk_hal_default_queue);

struct PRM_PACKED wyk_hal_default_queue_response {
    u8 reserved0[208];
};
static_assert(sizeof(wyk_hal_default_queue_response) == 208, "ABI");

inline constexpr prm_field wyk_hal_default_queue_response_fields[] = {
    PRM_FIELD(wyk_hal_default_queue_response, reserved0).reserved(),
};
inline constexpr prm_record wyk_hal_default_queue_response_record =
    PRM_RECORD(wyk_hal_default_queue_response);

struct PRM_PACKED wyk_hal_port_shaper {
    u8 reserved0[448];
};
static_assert(sizeof(wyk_hal_port_shaper) == 448, "ABI");

inline constexpr prm_field wyk_hal_port_shaper_fields[] = {
    PRM_FIELD(wyk_hal_port_shaper, reserved0).reserved(),
};
inline constexpr prm_record wyk_hal_port_shaper_record = PRM_RECORD(wyk_hal_port_shaper);

// Removal of a port's shaper: a release request without nodes of its own.
struct PRM_PACKED wyk_hal_port_shaper_removal {
    wyk_hal_release head;  // count 4, sent as is
    u8 tail[WYK_HAL_RELEASE_TAIL];
};
static_assert(sizeof(wyk_hal_port_shaper_removal) == 88, "ABI");

inline constexpr prm_record wyk_hal_release_head_record = {
    "wyk_hal_release_head", sizeof(wyk_hal_release), wyk_hal_release_fields, {}};
inline constexpr prm_field wyk_hal_port_shaper_removal_fields[] = {
    PRM_FIELD(wyk_hal_port_shaper_removal, head).of(&wyk_hal_release_head_record),
    PRM_FIELD(wyk_hal_port_shaper_removal, tail).reserved(),
};
inline constexpr prm_record wyk_hal_port_shaper_removal_record = PRM_RECORD(wyk_hal_port_shaper_removal);

struct PRM_PACKED wyk_hal_tm_info {
    u8 reserved0[4184];
};
static_assert(sizeof(wyk_hal_tm_info) == 4184, "ABI");

inline constexpr prm_field wyk_hal_tm_info_fields[] = {
    PRM_FIELD(wyk_hal_tm_info, reserved0).reserved(),
};
inline constexpr prm_record wyk_hal_tm_info_record = PRM_RECORD(wyk_hal_tm_info);

#endif
