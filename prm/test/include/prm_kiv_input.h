// Site values: the input files on the card's flash, the line format that every reader shares, and the globals
// that the readers fill.
//
// A file holds one record a line; a line is a list of fields separated by ","; a field is NAME ":" VALUE. No
// blanks are trimmed. A missing line, field or value leaves its target as it was.
#ifndef PRM_KIV_INPUT_H
#define PRM_KIV_INPUT_H

#include <stdio.h>

#include "prm_types.h"

#define KIV_INPUT_FILE "/disk0:/kiv_input_file"
#define KIV_TCS_INPUT_FILE "/disk0:/kiv_tcs_input_file"

enum {
    KIV_LINE_SIZE = 200,        // a line holds at most 199 characters; the rest is the next line
    KIV_MAX_FIELDS = 10,        // fields of a line
    KIV_STDIN_LINE_SIZE = 500,  // line buffer of the standard-input readers
    KIV_STDIN_MAX_TOKENS = 20,  // tokens of a line of standard input
};

#ifdef __cplusplus
extern "C" {
#endif

// The fields of the current line: names and values by position. They point into the reader's line buffer.
extern char *token[KIV_MAX_FIELDS];
extern char *value[KIV_MAX_FIELDS];

// Value text of the last field of that name; meaningful while the reader that set it runs.
extern char *token_port, *token_create_ifh, *token_parent_ifh, *token_lag_id;
extern char *token_ovlan, *token_ivlan, *token_otpid;
extern char *token_ifh, *token_uidb, *token_ifname, *token_nport;
extern char *token_rovlan, *token_rivlan, *token_rotpid;
extern char *token_bd, *token_ing_dis, *token_egr_dis;
extern char *token_mac_move_sec_enabled, *token_mac_move_sec_action, *token_mac_learn_enable;

// Two NP ports: 16-bit elements for the NP-port reader, one byte a line for the sub-interface reader.
typedef union {
    u16 number[2];
    u8 byte[4];
} prm_kiv_ports_t;

// VLAN ids or tag protocol ids: four 32-bit elements for the sub-interface readers, 16-bit slots of which the
// cross-connect readers fill the first two. Words left through one view are seen through the other.
typedef union {
    u32 word[4];
    u16 slot[8];
} prm_kiv_tags_t;

extern prm_kiv_ports_t port;
extern u32 bdl_ifh;        // bundle main interface
extern u8 lag_id;          // bundle id
extern u32 create_ifh[4];  // sub-interfaces
extern u32 parent_ifh[2];  // their main interfaces
extern u8 sub_lag_id[2];   // bundle ids of bundle sub-interfaces
extern prm_kiv_tags_t ovlan, ivlan, otpid;
extern char *intf_name;

// Readers of the bundle and sub-interface cases; they report a file that cannot be opened with perror.
void kiv_util_read_np_ports(void);
void kiv_util_read_bdl_params(void);
void kiv_util_read_bdl_subif_params(void);
// Non-zero reads the main interfaces from KIV_INPUT_FILE too.
void kiv_util_read_subif_params(int read_interface_file);

// Reads a line of standard input into `buffer` (`size` bytes) and splits it at `delimiters` into `tokens` (at
// least 20 entries; those past the last token stay as they are). Returns 1, -1 for an empty line, 0 at the
// end of input.
int prm_kiv_util_line_input(char *buffer, int size, char **tokens, const char *delimiters);

#ifdef __cplusplus
}
#endif

// --- The line format, for every reader ---

// Opens an input file; reports a failure with perror under `short_name` and returns null.
FILE *prm_kiv_input_open(const char *path, const char *mode, const char *short_name);

// Reads the next line into `line` and splits it into at most `max_fields` fields: names in token[i], values
// in value[i] (null where a field has none). Returns the number of fields; 0 when there is no further line.
int prm_kiv_input_read_fields(FILE *file, char (&line)[KIV_LINE_SIZE], int max_fields);

// Whether field i has both name and value; and whether it is a field `name` with a value.
bool prm_kiv_input_has_value(int i);
bool prm_kiv_input_is(int i, const char *name);

// Value of field i in the given base; cut to the target's width by the caller.
unsigned long prm_kiv_input_number(int i, int base);

// If field i is `name` with a value, keeps its text in *text and stores its number, cut to the target's
// width. Returns whether it was.
template <class Number>
bool prm_kiv_input_take(int i, const char *name, int base, char **text, Number *number) {
    if (!prm_kiv_input_is(i, name)) return false;
    *text = value[i];
    *number = static_cast<Number>(prm_kiv_input_number(i, base));
    return true;
}

#endif
