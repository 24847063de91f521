// Non-recursive load-distribution entries: one fixed entry added and deleted in two forms, and a block
// reserved.
#include "prm_kiv_nr_ldi.h"

#include <string.h>

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_main.h"

static const char kFile[] = "prm/test/src/prm_kiv_nr_ldi";

enum : u32 {
    kNextHop = 100005,
    kMplsNextHop = 100006,
    kReserveCount = 3,
};

static void fill_ldi_entry(prm_nr_ldi *entry, u32 ldi_ptr, u32 ldi_mode, u32 path_len, u32 valid) {
    memset(entry, 0, sizeof *entry);
    entry->owner = PRM_OWNER;
    entry->ldi_kind = PRM_NR_LDI_KIND;
    entry->ldi_mode = ldi_mode;
    entry->ldi_ptr = ldi_ptr;
    entry->path_len = path_len;
    entry->ldi_valid = valid;
}

void prm_kiv_nr_ldi_fill_plain(prm_nr_ldi *entry) {
    fill_ldi_entry(entry, PRM_KIV_NR_LDI_PTR, PRM_NR_LDI_MODE_PLAIN, PRM_NR_LDI_WORDS_LEN, 1);
    entry->words.word0 = 0;
    entry->words.nh_idx = kNextHop;
    entry->words.word132 = 0;
}

void prm_kiv_nr_ldi_fill_block(prm_nr_ldi *entry, u32 ldi_ptr, u32 ldi_mode,
                               const prm_nr_ldi_path_block *block) {
    fill_ldi_entry(entry, ldi_ptr, ldi_mode, PRM_NR_LDI_BLOCK_LEN, 0);
    entry->block = *block;
}

// The fixed entry with a path block that names the next hop alone.
static void fill_next_hop_block(prm_nr_ldi *entry) {
    prm_nr_ldi_path_block block;
    memset(&block, 0, sizeof block);
    block.nh_idx = kNextHop;
    prm_kiv_nr_ldi_fill_block(entry, PRM_KIV_NR_LDI_PTR, PRM_NR_LDI_MODE_BLOCK, &block);
}

// The MPLS form: the block is cleared after its MPLS part was set, so that the request is the plain delete's.
static void fill_mpls_block(prm_nr_ldi *entry) {
    prm_nr_ldi_path_block block;
    memset(&block, 0, sizeof block);
    block.flags |= PRM_NR_LDI_PATH_LABEL0 | PRM_NR_LDI_PATH_LABEL1;
    block.mpls_nh_idx = kMplsNextHop;
    memset(&block, 0, sizeof block);
    block.nh_idx = kNextHop;
    prm_kiv_nr_ldi_fill_block(entry, PRM_KIV_NR_LDI_PTR, PRM_NR_LDI_MODE_BLOCK, &block);
}

prm_status_t kiv_util_nr_ldi_add(prm_handle_t client, prm_nr_ldi *entry) {
    return prm_srh_nr_ldi_add(client, entry);
}

prm_status_t kiv_util_nr_ldi_del(prm_handle_t client, prm_nr_ldi *entry) {
    return prm_srh_nr_ldi_del(client, entry);
}

prm_status_t kiv_util_nr_ldi_buddy_reserve(prm_handle_t client, prm_buddy_reserve *request) {
    return prm_srh_nr_ldi_buddy_reserve(client, request);
}

// Fills the entry, sends it, checks and tells. The line speaks of the add after a delete too.
static int send_entry(void (*fill)(prm_nr_ldi *), prm_status_t (*send)(prm_handle_t, prm_nr_ldi *),
                      const char *function, int line) {
    prm_nr_ldi entry;
    fill(&entry);
    const prm_status_t rc = send(prm_async_handle, &entry);
    const int result = kiv_check_success_fixed(rc, kFile, function, line);
    kiv_printf("NR_LDI_ADD API call is sucessfull\n");
    return result;
}

int tc_kiv_nr_ldi_add(void) {
    return send_entry(prm_kiv_nr_ldi_fill_plain, kiv_util_nr_ldi_add, "tc_kiv_nr_ldi_add", 102);
}

int tc_kiv_nr_ldi_del(void) {
    return send_entry(fill_next_hop_block, kiv_util_nr_ldi_del, "tc_kiv_nr_ldi_del", 132);
}

int tc_kiv_nr_ldi_add_mpls(void) {
    return send_entry(fill_mpls_block, kiv_util_nr_ldi_add, "tc_kiv_nr_ldi_add_mpls", 174);
}

int tc_kiv_nr_ldi_del_mpls(void) {
    return send_entry(fill_mpls_block, kiv_util_nr_ldi_del, "tc_kiv_nr_ldi_del_mpls", 216);
}

int tc_kiv_nr_ldi_buddy_reserve(void) {
    prm_buddy_reserve request;
    memset(&request, 0, sizeof request);
    request.owner = PRM_OWNER;
    request.count = kReserveCount;
    kiv_printf("Call NR_LDI_BUDDY_RESERVE\n");
    const prm_status_t rc = kiv_util_nr_ldi_buddy_reserve(nullptr, &request);
    const int result = kiv_check_success_fixed(rc, kFile, "tc_kiv_nr_ldi_buddy_reserve", 47);
    kiv_printf("Call NR_LDI_BUDDY_RESERVE sucessfull\n");
    return result;
}
