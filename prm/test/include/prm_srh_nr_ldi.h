// Non-recursive load-distribution entry: what a leaf or label points at to reach its next hops.
//
// Numbers are little-endian. Bytes called reserved are sent as 0.
#ifndef PRM_SRH_NR_LDI_H
#define PRM_SRH_NR_LDI_H

#include "prm_buddy_reserve.h"
#include "prm_fields.h"
#include "prm_types.h"

enum : u32 {
    PRM_NR_LDI_KIND = 4,         // the one kind in use; sent as is
    PRM_NR_LDI_MODE_PLAIN = 0,   // plain and swap entries
    PRM_NR_LDI_MODE_BLOCK = 3,   // pop entries, and the fixed entry's delete and MPLS forms; sent as is
    PRM_NR_LDI_PTR_SHIFT = 6,    // a pointer is the entry's number shifted left by 6
    PRM_NR_LDI_WORDS_LEN = 260,  // path_len of path words
    PRM_NR_LDI_BLOCK_LEN = 130,  // path_len of a path block
};

// Path in words, the form of the plain add.
struct PRM_PACKED prm_nr_ldi_path_words {
    u32 word0;  // 0, sent as is
    u32 nh_idx;
    u8 reserved8[124];
    u32 word132;  // 0, sent as is
    u8 reserved136[124];
};
static_assert(sizeof(prm_nr_ldi_path_words) == PRM_NR_LDI_WORDS_LEN, "ABI");
static_assert(offsetof(prm_nr_ldi_path_words, nh_idx) == 4, "ABI");
static_assert(offsetof(prm_nr_ldi_path_words, word132) == 132, "ABI");

inline constexpr prm_field prm_nr_ldi_path_words_fields[] = {
    PRM_FIELD(prm_nr_ldi_path_words, word0).as_is(),
    PRM_FIELD(prm_nr_ldi_path_words, nh_idx).number().names_a(PRM_HANDLE_NEXT_HOP),
    PRM_FIELD(prm_nr_ldi_path_words, reserved8).reserved(),
    PRM_FIELD(prm_nr_ldi_path_words, word132).as_is(),
    PRM_FIELD(prm_nr_ldi_path_words, reserved136).reserved(),
};
inline constexpr prm_record prm_nr_ldi_path_words_record = PRM_RECORD(prm_nr_ldi_path_words);

enum : u8 {
    PRM_NR_LDI_PATH_LABEL0 = 0x01,  // flags: low bit, set wherever labels are; sent as is
    PRM_NR_LDI_PATH_LABEL1 = 0x02,  // flags: cleared for a pop path; sent as is
};

// Path block, the form of every other request.
struct PRM_PACKED prm_nr_ldi_path_block {
    u8 flags;
    u8 reserved1[4];
    u32 label0;
    u32 label1;
    u8 reserved13[40];
    u32 nh_idx;
    u8 reserved57[4];
    u32 mpls_nh_idx;
    u8 reserved65[65];
};
static_assert(sizeof(prm_nr_ldi_path_block) == PRM_NR_LDI_BLOCK_LEN, "ABI");
static_assert(offsetof(prm_nr_ldi_path_block, label0) == 5, "ABI");
static_assert(offsetof(prm_nr_ldi_path_block, label1) == 9, "ABI");
static_assert(offsetof(prm_nr_ldi_path_block, nh_idx) == 53, "ABI");
static_assert(offsetof(prm_nr_ldi_path_block, mpls_nh_idx) == 61, "ABI");

inline constexpr prm_bits prm_nr_ldi_path_bits[] = {
    {PRM_NR_LDI_PATH_LABEL0, "label0"},
    {PRM_NR_LDI_PATH_LABEL1, "label1"},
};
inline constexpr prm_field prm_nr_ldi_path_block_fields[] = {
    PRM_FIELD(prm_nr_ldi_path_block, flags).flags(prm_nr_ldi_path_bits),
    PRM_FIELD(prm_nr_ldi_path_block, reserved1).reserved(),
    PRM_FIELD(prm_nr_ldi_path_block, label0).number(),
    PRM_FIELD(prm_nr_ldi_path_block, label1).number(),
    PRM_FIELD(prm_nr_ldi_path_block, reserved13).reserved(),
    PRM_FIELD(prm_nr_ldi_path_block, nh_idx).number().names_a(PRM_HANDLE_NEXT_HOP),
    PRM_FIELD(prm_nr_ldi_path_block, reserved57).reserved(),
    PRM_FIELD(prm_nr_ldi_path_block, mpls_nh_idx).number().names_a(PRM_HANDLE_NEXT_HOP),
    PRM_FIELD(prm_nr_ldi_path_block, reserved65).reserved(),
};
inline constexpr prm_record prm_nr_ldi_path_block_record = PRM_RECORD(prm_nr_ldi_path_block);

struct PRM_PACKED prm_nr_ldi {
    u32 owner;  // PRM_OWNER
    u8 reserved4[8];
    u32 ldi_kind;
    u32 ldi_mode;
    u32 ldi_ptr;
    u8 reserved24[44];
    u32 path_len;  // meaningful bytes of path_data
    union PRM_PACKED {
        prm_nr_ldi_path_words words;
        prm_nr_ldi_path_block block;
        u8 path_data[2048];
    };
    u32 ldi_valid;  // 1 in the plain add, else 0; sent as is
};
static_assert(sizeof(prm_nr_ldi) == 2124, "ABI");
static_assert(offsetof(prm_nr_ldi, ldi_kind) == 12, "ABI");
static_assert(offsetof(prm_nr_ldi, ldi_mode) == 16, "ABI");
static_assert(offsetof(prm_nr_ldi, ldi_ptr) == 20, "ABI");
static_assert(offsetof(prm_nr_ldi, path_len) == 68, "ABI");
static_assert(offsetof(prm_nr_ldi, path_data) == 72, "ABI");
static_assert(offsetof(prm_nr_ldi, ldi_valid) == 2120, "ABI");

inline constexpr prm_name prm_nr_ldi_modes[] = {
    {PRM_NR_LDI_MODE_PLAIN, "plain"},
    {PRM_NR_LDI_MODE_BLOCK, "block"},
};
inline constexpr prm_field prm_nr_ldi_words_fields[] = {
    PRM_FIELD(prm_nr_ldi, words).of(&prm_nr_ldi_path_words_record),
    PRM_FIELD(prm_nr_ldi, path_data).behind(PRM_FIELD(prm_nr_ldi, words)),
};
inline constexpr prm_field prm_nr_ldi_block_fields[] = {
    PRM_FIELD(prm_nr_ldi, block).of(&prm_nr_ldi_path_block_record),
    PRM_FIELD(prm_nr_ldi, path_data).behind(PRM_FIELD(prm_nr_ldi, block)),
};
inline constexpr prm_field prm_nr_ldi_path_data_fields[] = {PRM_FIELD(prm_nr_ldi, path_data).bytes()};
inline constexpr prm_choice prm_nr_ldi_paths[] = {
    prm_when(PRM_NR_LDI_WORDS_LEN, prm_nr_ldi_words_fields),
    prm_when(PRM_NR_LDI_BLOCK_LEN, prm_nr_ldi_block_fields),
    prm_otherwise(prm_nr_ldi_path_data_fields),
};
inline constexpr prm_field prm_nr_ldi_fields[] = {
    PRM_FIELD(prm_nr_ldi, owner).number(),
    PRM_FIELD(prm_nr_ldi, reserved4).reserved(),
    PRM_FIELD(prm_nr_ldi, ldi_kind).as_is(),
    PRM_FIELD(prm_nr_ldi, ldi_mode).one_of(prm_nr_ldi_modes),
    PRM_FIELD(prm_nr_ldi, ldi_ptr).hex().names_a(PRM_HANDLE_LDI),
    PRM_FIELD(prm_nr_ldi, reserved24).reserved(),
    PRM_FIELD(prm_nr_ldi, path_len).number(),
    PRM_FIELD(prm_nr_ldi, path_data).chosen_by(PRM_SELECTOR(prm_nr_ldi, path_len), prm_nr_ldi_paths),
    PRM_FIELD(prm_nr_ldi, ldi_valid).as_is(),
};
inline constexpr prm_record prm_nr_ldi_record = PRM_RECORD(prm_nr_ldi);

#endif
