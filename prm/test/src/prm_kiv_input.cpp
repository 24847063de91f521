// Input files and token reading: the line format, the readers of the bundle and sub-interface cases, and the
// line reader for standard input.
#include "prm_kiv_input.h"

#include <ctype.h>
#include <stdlib.h>
#include <string.h>

#include "kiv.h"

static const char kInputFileName[] = "kiv_input_file";
static const char kTcsInputFileName[] = "kiv_tcs_input_file";

char *token[KIV_MAX_FIELDS];
char *value[KIV_MAX_FIELDS];

char *token_port, *token_create_ifh, *token_parent_ifh, *token_lag_id;
char *token_ovlan, *token_ivlan, *token_otpid;
char *token_ifh, *token_uidb, *token_ifname, *token_nport;
char *token_rovlan, *token_rivlan, *token_rotpid;
char *token_bd, *token_ing_dis, *token_egr_dis;
char *token_mac_move_sec_enabled, *token_mac_move_sec_action, *token_mac_learn_enable;

prm_kiv_ports_t port;
u32 bdl_ifh;
u8 lag_id;
u32 create_ifh[4];
u32 parent_ifh[2];
u8 sub_lag_id[2];
prm_kiv_tags_t ovlan, ivlan, otpid;
char *intf_name;

// The line under way. Static, so that what token, value and intf_name point at stays readable.
static char line_buffer[KIV_LINE_SIZE];

FILE *prm_kiv_input_open(const char *path, const char *mode, const char *short_name) {
    FILE *const file = fopen(path, mode);
    if (file == nullptr) perror(short_name);
    return file;
}

int prm_kiv_input_read_fields(FILE *file, char (&line)[KIV_LINE_SIZE], int max_fields) {
    if (max_fields > KIV_MAX_FIELDS) max_fields = KIV_MAX_FIELDS;
    for (int i = 0; i < KIV_MAX_FIELDS; ++i) token[i] = value[i] = nullptr;
    if (fgets(line, sizeof line, file) == nullptr) return 0;

    int fields = 0;
    for (char *field = strtok(line, ","); field != nullptr && fields < max_fields;
         field = strtok(nullptr, ","))
        token[fields++] = field;
    for (int i = 0; i < fields; ++i) {
        token[i] = strtok(token[i], ":");
        if (token[i] != nullptr) value[i] = strtok(nullptr, ":");
    }
    return fields;
}

bool prm_kiv_input_has_value(int i) {
    return token[i] != nullptr && value[i] != nullptr;
}

bool prm_kiv_input_is(int i, const char *name) {
    return prm_kiv_input_has_value(i) && strcmp(token[i], name) == 0;
}

unsigned long prm_kiv_input_number(int i, int base) {
    return strtoul(value[i], nullptr, base);
}

void kiv_util_read_np_ports(void) {
    FILE *const file = prm_kiv_input_open(KIV_INPUT_FILE, "r", kInputFileName);
    if (file == nullptr) return;
    for (int line = 0; line < 2; ++line) {
        const int fields = prm_kiv_input_read_fields(file, line_buffer, 3);
        for (int i = 0; i < fields; ++i)
            if (prm_kiv_input_take(i, "NP_PORT", 10, &token_port, &port.number[line])) break;
    }
    fclose(file);
}

void kiv_util_read_bdl_params(void) {
    FILE *const file = prm_kiv_input_open(KIV_TCS_INPUT_FILE, "r", kTcsInputFileName);
    if (file == nullptr) return;
    const int fields = prm_kiv_input_read_fields(file, line_buffer, 2);
    for (int i = 0; i < fields; ++i) {
        // The handle's text goes to token_create_ifh here, to token_parent_ifh in the sub-interface reader.
        prm_kiv_input_take(i, "BDL_IFH", 16, &token_create_ifh, &bdl_ifh);
        prm_kiv_input_take(i, "LAG_ID", 10, &token_lag_id, &lag_id);
    }
    fclose(file);
}

// The four fields that both sub-interface readers know, of line `line`.
static void take_subif_fields(int i, int line) {
    prm_kiv_input_take(i, "SUB_IFH", 16, &token_create_ifh, &create_ifh[line]);
    prm_kiv_input_take(i, "OVLAN", 10, &token_ovlan, &ovlan.word[line]);
    prm_kiv_input_take(i, "IVLAN", 10, &token_ivlan, &ivlan.word[line]);
    prm_kiv_input_take(i, "OTPID", 16, &token_otpid, &otpid.word[line]);
}

void kiv_util_read_bdl_subif_params(void) {
    FILE *const file = prm_kiv_input_open(KIV_TCS_INPUT_FILE, "r", kTcsInputFileName);
    if (file == nullptr) return;
    for (int line = 0; line < 2; ++line) {
        const int fields = prm_kiv_input_read_fields(file, line_buffer, 6);
        for (int i = 0; i < fields; ++i) {
            take_subif_fields(i, line);
            if (prm_kiv_input_is(i, "OTPID")) kiv_printf("otpid = %d\n", static_cast<int>(otpid.word[line]));
            prm_kiv_input_take(i, "BDL_IFH", 16, &token_parent_ifh, &parent_ifh[line]);
            prm_kiv_input_take(i, "LAG_ID", 10, &token_lag_id, &sub_lag_id[line]);
        }
    }
    fclose(file);
}

// Main interfaces, for the cases that create sub-interfaces on them.
static void read_main_interfaces(void) {
    FILE *const file = prm_kiv_input_open(KIV_INPUT_FILE, "r", kInputFileName);
    if (file == nullptr) return;
    for (int line = 0; line < 2; ++line) {
        const int fields = prm_kiv_input_read_fields(file, line_buffer, 3);
        for (int i = 0; i < fields; ++i) {
            if (!prm_kiv_input_has_value(i)) continue;
            kiv_printf(" token = %s, value = %s\n", token[i], value[i]);
            if (prm_kiv_input_is(i, "INTF_NAME")) intf_name = value[i];
            // One byte a line, where the NP-port reader stores 16 bits.
            prm_kiv_input_take(i, "NP_PORT", 10, &token_port, &port.byte[line]);
            prm_kiv_input_take(i, "MAIN_IFH", 16, &token_parent_ifh, &parent_ifh[line]);
        }
    }
    fclose(file);
}

void kiv_util_read_subif_params(int read_interface_file) {
    if (read_interface_file != 0) read_main_interfaces();

    FILE *const file = prm_kiv_input_open(KIV_TCS_INPUT_FILE, "r", kTcsInputFileName);
    if (file == nullptr) return;
    for (int line = 0; line < 4; ++line) {
        const int fields = prm_kiv_input_read_fields(file, line_buffer, 4);
        for (int i = 0; i < fields; ++i) take_subif_fields(i, line);
    }
    fclose(file);
}

int prm_kiv_util_line_input(char *buffer, int size, char **tokens, const char *delimiters) {
    if (fgets(buffer, size, stdin) == nullptr) return 0;

    size_t length = strlen(buffer);
    while (length > 0 && isspace(static_cast<unsigned char>(buffer[length - 1]))) buffer[--length] = '\0';
    if (length == 0) return -1;

    int count = 0;
    for (char *item = strtok(buffer, delimiters); item != nullptr; item = strtok(nullptr, delimiters)) {
        tokens[count++] = item;
        if (count == KIV_STDIN_MAX_TOKENS) {
            kiv_printf("%s: reached max tokens\n", "prm_kiv_util_line_input");
            return 1;
        }
    }
    return 1;
}
