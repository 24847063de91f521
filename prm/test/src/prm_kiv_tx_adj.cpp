// Transmit adjacencies: every kind added, modified and deleted, and the adjacency of the pseudowire cases.
// The next hops that the cases add are listed in a cleanup file on the card's flash.
#include "prm_kiv_tx_adj.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_input.h"
#include "prm_kiv_main.h"

static const char kFile[] = "prm/test/src/prm_kiv_tx_adj";

// A file on the card's flash: its path and the short name that errors are reported under.
struct flash_file {
    const char *path;
    const char *short_name;
};
static const flash_file kOutputFile = {"/disk0:/kiv_tcs_output_file", "kiv_tcs_output_file"};
static const flash_file kCleanupFile = {"/disk0:/kiv_tcs_cleanup_file", "kiv_tcs_cleanup_file"};

enum : u32 {
    kMplsLabel0 = 55002,
    kMplsLabel1 = 55003,
    kEomplsLabel0 = 24006,
    kEomplsLabel1 = 0,
    kEomplsLabel2 = 24002,
    kEomplsUidb = 24,
    kEomplsNextHop = 100030,
    kNoUidb = 0xffff,  // what a failed interface lookup yields
};

enum {
    kInputLines = 2,
    kDeletedByDelAll = 5,  // next hops that one delete-all takes off the list
    kIndexLineSize = 40,
};

const u8 prm_kiv_tx_adj_mac[6] = {0x00, 0x00, 0xb0, 0x10, 0x10, 0x01};
static const u8 kEomplsMac[6] = {0x28, 0xc7, 0xce, 0x01, 0xf1, 0x58};

u32 ifh[2];
u32 uidb[2];
u32 np_port[2];
char if_name[2][PRM_KIV_IF_NAME_SIZE];

// --- Files ---

// Keeps a name of up to 30 characters, ended by a zero. The slots stand side by side, so a first name of just
// 30 is ended in the second slot, which its own line fills next; the second slot has room for 29.
static void store_name(int line, const char *name) {
    char *const names = reinterpret_cast<char *>(&if_name);
    const size_t start = static_cast<size_t>(line) * PRM_KIV_IF_NAME_SIZE;
    const size_t room = sizeof if_name - start - 1;
    size_t length = strlen(name);
    if (length > PRM_KIV_IF_NAME_SIZE) length = PRM_KIV_IF_NAME_SIZE;
    if (length > room) length = room;
    memcpy(names + start, name, length);
    names[start + length] = '\0';
}

// Takes field i of line `line` of the input file.
static void take_site_field(int i, int line) {
    if (prm_kiv_input_is(i, "IFH")) {
        token_ifh = value[i];
        ifh[line] = static_cast<u32>(prm_kiv_input_number(i, 16));
        printf("ifhandle = 0x%X\n", ifh[line]);
    } else if (prm_kiv_input_is(i, "UIDB")) {
        token_uidb = value[i];
        uidb[line] = static_cast<u32>(prm_kiv_input_number(i, 10));
        printf("uidb = %d\n", static_cast<int>(uidb[line]));
    } else if (prm_kiv_input_is(i, "INTF_NAME")) {
        token_ifname = value[i];
        store_name(line, value[i]);
        printf("interface = %s\n", value[i]);
    } else if (prm_kiv_input_is(i, "NP_PORT")) {
        token_nport = value[i];
        np_port[line] = static_cast<u32>(prm_kiv_input_number(i, 10));
        printf("np_port = %d\n", static_cast<int>(np_port[line]));
    }
}

static void read_site_values(void) {
    static char line_buffer[KIV_LINE_SIZE];  // static: the token pointers stay readable
    FILE *const file = prm_kiv_input_open(KIV_TCS_INPUT_FILE, "a+", "kiv_tcs_input_file");
    if (file == nullptr) return;
    for (int line = 0; line < kInputLines; ++line) {
        const int fields = prm_kiv_input_read_fields(file, line_buffer, KIV_MAX_FIELDS);
        for (int i = 0; i < fields; ++i) take_site_field(i, line);
    }
    fclose(file);
}

static void write_text(const flash_file *target, const char *mode, const char *text) {
    FILE *const file = prm_kiv_input_open(target->path, mode, target->short_name);
    if (file == nullptr) return;
    fputs(text, file);
    fclose(file);
}

static void write_output(const char *text) {
    write_text(&kOutputFile, "w+", text);
}

static void append_cleanup(const char *text) {
    write_text(&kCleanupFile, "a+", text);
}

static void format_index_line(char (&line)[kIndexLineSize], u32 nh) {
    snprintf(line, sizeof line, "nh_index : %d\n", nh);
}

// --- Steps ---

prm_status_t kiv_util_tx_adj_buddy_reserve(u32 count, u32 *index) {
    prm_buddy_reserve request;
    memset(&request, 0, sizeof request);
    request.count = count;
    const prm_status_t rc = prm_srh_tx_adj_buddy_reserve(nullptr, &request);
    if (rc == CERR_SUCCESS) *index = request.index;
    return rc;
}

// The client offers no release of a reserved next hop.
static prm_status_t release_next_hop(u32) {
    return CERR_SUCCESS;
}

static void fill_adjacency(prm_tx_adj *adjacency, u8 kind, u32 uidb_index, const u8 *mac, u32 nh_idx,
                           u32 mpls_nh) {
    memset(adjacency, 0, sizeof *adjacency);
    if ((kind & PRM_KIV_TX_ADJ_FORWARDS) != 0) adjacency->adj_flags0 |= PRM_TX_ADJ_NORMAL;
    if ((kind & PRM_KIV_TX_ADJ_LABELLED) != 0) {
        adjacency->nh_idx2 = mpls_nh;
        adjacency->adj_flags2 |= PRM_TX_ADJ_LABELS;
        adjacency->label0 = kMplsLabel0;
        adjacency->label1 = kMplsLabel1;
    }
    adjacency->uidb = static_cast<u16>(uidb_index);
    memcpy(adjacency->dmac, mac, sizeof adjacency->dmac);
    adjacency->nh_idx = nh_idx;
}

prm_status_t kiv_util_tx_adj_add(u8 kind, u32 uidb_index, const u8 *mac, u32 nh_idx, u32 mpls_nh) {
    prm_tx_adj adjacency;
    fill_adjacency(&adjacency, kind, uidb_index, mac, nh_idx, mpls_nh);
    return prm_srh_tx_adj_add(prm_async_handle, &adjacency);
}

prm_status_t kiv_util_tx_adj_mod(u8 kind, u32 uidb_index, const u8 *mac, u32 nh_idx, u32 mpls_nh) {
    prm_tx_adj adjacency;
    fill_adjacency(&adjacency, kind, uidb_index, mac, nh_idx, mpls_nh);
    return prm_srh_tx_adj_mod(prm_async_handle, &adjacency);
}

void prm_kiv_tx_adj_print_added(prm_status_t rc) {
    if (rc != CERR_SUCCESS)
        kiv_printf("ERROR: Tx Adj ADD failed. rc = 0x%x ", rc);
    else
        kiv_printf("SUCCESS: Tx Adj ADD completed. rc = 0x%x ", rc);
}

// Reserves a next hop into *nh, which keeps its value when that fails, and tells.
static void reserve_next_hop(u32 *nh) {
    const prm_status_t rc = kiv_util_tx_adj_buddy_reserve(1, nh);
    if (rc != CERR_SUCCESS)
        kiv_printf("ERROR: Tx Adj Reserve failed. rc = 0x%x ", rc);
    else
        kiv_printf("SUCCESS: Tx Adj Reserve SUCCESS. nh_idx = %d ", *nh);
}

// Reserves a next hop and adds its adjacency, telling both; goes on with 0 when there is no next hop.
static prm_status_t reserve_and_add(u8 kind, u32 uidb_index, u32 *nh) {
    *nh = 0;
    reserve_next_hop(nh);
    kiv_printf("Nh index reserved %d ", *nh);
    const prm_status_t rc = kiv_util_tx_adj_add(kind, uidb_index, prm_kiv_tx_adj_mac, *nh, 0);
    prm_kiv_tx_adj_print_added(rc);
    return rc;
}

prm_status_t kiv_util_tx_adj_add_nh(u8 kind, u32 uidb_index, u32 *nh) {
    u32 reserved = 0;
    const prm_status_t rc = reserve_and_add(kind, uidb_index, &reserved);
    *nh = reserved;

    char line[kIndexLineSize];
    format_index_line(line, reserved);
    puts(line);
    write_output(line);
    return rc;
}

prm_status_t kiv_util_tx_adj_add_mpls_nh(u32 uidb_index, u32 *nh, u32 *mpls_nh) {
    reserve_and_add(PRM_KIV_TX_ADJ_NORMAL, uidb_index, nh);
    char line[kIndexLineSize];
    format_index_line(line, *nh);
    write_output(line);

    *mpls_nh = 0;
    reserve_next_hop(mpls_nh);
    kiv_printf("Mpls Nh reserved %d ", *mpls_nh);
    const prm_status_t rc =
        kiv_util_tx_adj_add(PRM_KIV_TX_ADJ_MPLS, uidb_index, prm_kiv_tx_adj_mac, *nh, *mpls_nh);
    if (rc != CERR_SUCCESS) {
        kiv_printf("ERROR: MPLS Tx Adj ADD failed. rc = 0x%x ", rc);
        return rc;
    }
    snprintf(line, sizeof line, "nh_index_mpls : %d\n", *mpls_nh);
    write_output(line);
    kiv_printf("SUCCESS: MPLS  Tx Adj ADD completed. rc = 0x%x ", rc);
    return rc;
}

static u8 delete_options(int option1, int option2) {
    return static_cast<u8>((option1 != 0 ? PRM_TX_ADJ_OPTION1 : 0) | (option2 != 0 ? PRM_TX_ADJ_OPTION2 : 0));
}

prm_status_t kiv_util_tx_adj_del(const u32 *nh, int option1, int option2) {
    printf("\n %s call nh=%d", "kiv_util_tx_adj_del", *nh);
    prm_tx_adj adjacency;
    memset(&adjacency, 0, sizeof adjacency);
    adjacency.nh_idx = *nh;
    adjacency.nh_idx2 = *nh;
    adjacency.adj_flags2 = PRM_TX_ADJ_DELETE;
    adjacency.adj_flags3 = delete_options(option1, option2);

    const prm_status_t rc = prm_srh_tx_adj_del(prm_async_handle, &adjacency);
    if (rc != CERR_SUCCESS) kiv_printf("\n kiv_util_tx_adj_del call 1 failed with rc=0x%x\n", rc);
    kiv_printf("\n kiv_util_tx_adj_del call SUCCEEDED for %d\n", *nh);  // said after a failure too
    return rc;
}

// Reserves a tunnel interface into *tunnel. The line shows the value that *tunnel had before.
static void reserve_tunnel(u32 *tunnel) {
    prm_buddy_reserve request;
    memset(&request, 0, sizeof request);
    request.owner = PRM_OWNER;
    request.count = 1;
    const prm_status_t rc = prm_srh_l3_intf_buddy_reserve(prm_async_handle, &request);
    if (rc != CERR_SUCCESS)
        kiv_printf("ERROR: Buddy Reserve failed for tunnel. rc = 0x%x ", rc);
    else
        kiv_printf("SUCCESS: Buddy Reserve Index: 0x%x", *tunnel);
    *tunnel = request.index;
}

prm_status_t tc_kiv_eompls_tx_adj_add(u32 *nh, u32 *tunnel) {
    prm_status_t rc = kiv_util_tx_adj_buddy_reserve(1, nh);
    if (rc != CERR_SUCCESS)
        kiv_printf("ERROR: Buddy Reserve failed for NH. rc = 0x%x ", rc);
    else
        kiv_printf("SUCCESS: Buddy Reserve Index: 0x%x", *nh);
    reserve_tunnel(tunnel);
    printf("\n nh_idx_mpls and bcm_tun_if has been reserved");
    printf("\nReserved nh and tunnel are 0x%x 0x%x resp.\n", *nh, *tunnel);

    prm_tx_adj adjacency;
    fill_adjacency(&adjacency, PRM_KIV_TX_ADJ_NORMAL, kEomplsUidb, kEomplsMac, kEomplsNextHop, 0);
    adjacency.nh_idx2 = *nh;
    adjacency.label0 = kEomplsLabel0;
    adjacency.label1 = kEomplsLabel1;
    adjacency.label2 = kEomplsLabel2;
    adjacency.tunnel_if = *tunnel;
    adjacency.adj_flags2 = PRM_TX_ADJ_EOMPLS;
    adjacency.adj_flags3 = PRM_TX_ADJ_OPTION2;

    if (prm_set_nh_idx_hw_pending(*nh) != CERR_SUCCESS) kiv_printf("set nh idx hw pendinf call failed");
    rc = prm_srh_tx_adj_add(prm_async_handle, &adjacency);
    prm_kiv_tx_adj_print_added(rc);
    return rc;
}

prm_status_t tc_kiv_eompls_tx_adj_del(const u32 *nh, const u32 *tunnel, int option1, int option2) {
    kiv_printf("\n %s call nh=%d\n", "tc_kiv_eompls_tx_adj_del", *nh);
    prm_tx_adj adjacency;
    memset(&adjacency, 0, sizeof adjacency);
    adjacency.nh_idx2 = *nh;  // nh_idx stays 0 here
    adjacency.tunnel_if = *tunnel;
    adjacency.adj_flags2 = PRM_TX_ADJ_EOMPLS_DELETE;
    adjacency.adj_flags3 = delete_options(option1, option2);

    const prm_status_t rc = prm_srh_tx_adj_del(prm_async_handle, &adjacency);
    if (rc != CERR_SUCCESS) kiv_printf("\n prm_srh_xid_del call 1 failed with rc=0x%x\n", rc);
    kiv_printf("\n kiv_util_tx_adj_del call SUCCEEDED for %d\n", *nh);  // said after a failure too
    return rc;
}

// --- Cases ---

// These cases report by their lines alone, but for the reservation case; without a check they return 0.

// Adds a next hop, lists it in the cleanup file and prints the case's line.
static int add_and_list(u8 kind, u32 uidb_index, const char *line_text) {
    u32 nh = 0;
    kiv_util_tx_adj_add_nh(kind, uidb_index, &nh);
    char line[kIndexLineSize];
    format_index_line(line, nh);
    puts(line);
    append_cleanup(line);
    kiv_printf("%s", line_text);
    return 0;
}

int tc_kiv_tx_adj_add(void) {
    read_site_values();
    kiv_printf(": Tx Adj add . UIDB %d", uidb[0]);
    return add_and_list(PRM_KIV_TX_ADJ_NORMAL, uidb[0], "SUCCESS: Tx Adj add . ");
}

int tc_kiv_tx_adj_add_uidb_get_fail(void) {
    read_site_values();
    return add_and_list(PRM_KIV_TX_ADJ_PUNT, kNoUidb, "SUCCESS: Tx Adj add . uidb get fail NH ");
}

int tc_kiv_tx_adj_add_misc(void) {
    read_site_values();
    return add_and_list(PRM_KIV_TX_ADJ_MISC, uidb[0], "SUCCESS: Tx Adj add . misc NH ");
}

int tc_kiv_tx_adj_add_punt(void) {
    read_site_values();
    return add_and_list(PRM_KIV_TX_ADJ_PUNT, uidb[0], "SUCCESS: Tx Adj add . punt NH ");
}

int tc_kiv_tx_adj_add_null0(void) {
    read_site_values();
    return add_and_list(PRM_KIV_TX_ADJ_NULL0, uidb[0], "SUCCESS: Tx Adj add . null0 NH ");
}

int tc_kiv_tx_adj_add_drop_nh(void) {
    read_site_values();
    return add_and_list(PRM_KIV_TX_ADJ_DROP, uidb[0], "SUCCESS: Tx Adj add . drop NH ");
}

int tc_kiv_tx_adj_del(void) {
    read_site_values();
    u32 nh = 0;
    reserve_and_add(PRM_KIV_TX_ADJ_NORMAL, uidb[0], &nh);
    char line[kIndexLineSize];
    format_index_line(line, nh);
    append_cleanup(line);
    kiv_util_tx_adj_del(&nh, 0, 0);
    return 0;
}

int tc_kiv_tx_adj_modify(void) {
    read_site_values();
    u32 nh = 0;
    reserve_and_add(PRM_KIV_TX_ADJ_PUNT, uidb[0], &nh);
    char line[kIndexLineSize];
    snprintf(line, sizeof line, "nh_index : %d", nh);  // no newline in this one
    write_output(line);
    prm_kiv_tx_adj_print_added(
        kiv_util_tx_adj_mod(PRM_KIV_TX_ADJ_NORMAL, uidb[0], prm_kiv_tx_adj_mac, nh, 0));
    return 0;
}

// Opens the cleanup file to be read. A missing one stays missing, which "a+" alone would create.
static FILE *open_cleanup(void) {
    FILE *const present = fopen(kCleanupFile.path, "r");
    if (present == nullptr) return nullptr;
    fclose(present);
    return fopen(kCleanupFile.path, "a+");
}

// Reads the next listed next hop; *nh keeps its value when there is no further line or it holds no number.
static void read_listed_next_hop(FILE *file, u32 *nh) {
    char line[KIV_LINE_SIZE];
    if (fgets(line, sizeof line, file) == nullptr) return;
    if (strtok(line, ":") == nullptr) return;
    const char *const number = strtok(nullptr, ":");
    if (number != nullptr) *nh = static_cast<u32>(strtoul(number, nullptr, 10));
}

int tc_kiv_tx_adj_del_all(void) {
    FILE *const file = open_cleanup();
    if (file == nullptr) return 0;
    u32 nh = 0;
    for (int pass = 0; pass < kDeletedByDelAll; ++pass) {
        read_listed_next_hop(file, &nh);
        kiv_util_tx_adj_del(&nh, 0, 0);
        kiv_printf("SUCCESS: Tx del SUCCESS. nh_idx%d = %d ", pass, nh);
    }
    fclose(file);
    return 0;
}

int tc_kiv_tx_adj_buddy_reserve(void) {
    u32 index = 0;
    prm_status_t rc = kiv_util_tx_adj_buddy_reserve(1, &index);
    const int result =
        kiv_check_status_here(rc, CERR_SUCCESS, "EOK", kFile, "tc_kiv_tx_adj_buddy_reserve", __LINE__);
    if (rc == CERR_SUCCESS)
        kiv_printf("SUCCESS: Buddy Reserve Index: 0x%x", index);
    else
        kiv_printf("ERROR: Buddy Reserve failed. rc = 0x%x ", rc);
    release_next_hop(index);

    // One next hop is reserved at a time: two are refused.
    rc = kiv_util_tx_adj_buddy_reserve(2, &index);
    if (rc != CERR_SUCCESS)
        kiv_printf("SUCCESS: Buddy Reserve failed. rc = 0x%x ", rc);
    else
        kiv_printf("ERROR: Buddy Reserve Index: 0x%x", index);
    return result;
}
