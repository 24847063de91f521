// MPLS labels: label entries with and without end-of-stack, their index reservations, and the forwarding
// chains that pop, swap or push a label: next hop, adjacency, load-distribution entry, label entry, route
// leaf.
#include "prm_kiv_label.h"

#include <string.h>

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_main.h"
#include "prm_kiv_nr_ldi.h"
#include "prm_kiv_route.h"
#include "prm_kiv_tx_adj.h"
#include "prm_srh.h"
#include "prm_srh_mpls_leaf.h"
#include "zor_vop_prm.h"
#include "zor_vop_prm_label.h"

static const char kFile[] = "prm/test/src/prm_kiv_label";

enum : u32 {
    kPopLabel = 55000,
    kPopSecondLabel = 55001,
    kSwapLabel = 55002,
    kSwapSecondLabel = 55003,
    kPopLookupLabel = 24000,
    kChainUidb = 10,
    kSwapReserveWord = 55003,  // the swap chain's load-distribution reserve; sent as is
    kSwapReserveByte = 1,      // likewise
};

enum : int { kAdd = 0, kModify = 1 };

// --- Label entries ---

static void fill_label_request(zor_label_request *request, u32 label, bool eos, u32 key_len) {
    zor_label_key key;
    memset(&key, 0, sizeof key);
    key.label = label;
    key.eos = eos ? 1 : 0;

    memset(request, 0, sizeof *request);
    request->owner = PRM_OWNER;
    request->key_len = key_len;
    memcpy(request->key_bytes, &key, key_len);  // a delete's length leaves end-of-stack out
}

static void set_label_pointer(zor_label_payload *payload, bool eos, u32 pointer) {
    if (eos)
        payload->label_ptr_eos1 = pointer;
    else
        payload->label_ptr_eos0 = pointer;
}

prm_status_t kiv_util_vop_prm_srh_mpls_leaf_add(u32 label, u32 eos, int pop_lookup, int recursive, int nr_ldi,
                                                u32 pointer, u32 leaf_index, int modify) {
    const bool end_of_stack = eos != 0;
    zor_label_request request;
    fill_label_request(&request, label, end_of_stack, ZOR_LABEL_KEY_LEN);
    request.payload_len = sizeof request.payload;

    zor_label_payload *const payload = &request.payload;
    payload->flags0 &= static_cast<u8>(~ZOR_LABEL_RECURSIVE);
    if (pop_lookup != 0) {
        payload->flags2 |= ZOR_LABEL_POP_LOOKUP;
        set_label_pointer(payload, end_of_stack, 0);
    }
    if (nr_ldi != 0) {
        payload->flags0 |= ZOR_LABEL_NR_LDI;
        set_label_pointer(payload, end_of_stack, pointer);
    }
    if (recursive != 0) {
        payload->flags0 |= ZOR_LABEL_RECURSIVE;
        payload->label_ptr_rec = pointer;
    }
    payload->flags1 |= ZOR_LABEL_ALWAYS;
    if (end_of_stack) payload->flags3 |= ZOR_LABEL_EOS;
    payload->leaf_hw_idx = leaf_index;

    return (modify & 0xff) != 0 ? zor_vop_prm_srh_label_ufib_mod(prm_async_handle, &request)
                                : zor_vop_prm_srh_label_ufib_add(prm_async_handle, &request);
}

prm_status_t kiv_util_vop_prm_srh_mpls_leaf_del(u32 label, u32 eos) {
    zor_label_request request;
    fill_label_request(&request, label, eos != 0, ZOR_LABEL_DELETE_KEY_LEN);
    return zor_vop_prm_srh_label_ufib_del(prm_async_handle, &request);
}

// --- Links of a chain ---

// The checks of a chain stand under the name of the case that builds it, `function` everywhere below.
static int check_here(prm_status_t rc, const char *function, int here) {
    return kiv_check_success_here(rc, kFile, function, here);
}

// Reserves a next hop, told as `name`: the index stays as it was when there is none to have.
static void reserve_chain_next_hop(const char *name, u32 *nh) {
    const prm_status_t rc = kiv_util_tx_adj_buddy_reserve(1, nh);
    if (rc != CERR_SUCCESS)
        kiv_printf("ERROR: Buddy Reserve failed. rc = 0x%x ", rc);
    else
        kiv_printf("SUCCESS: Buddy Reserve %s: 0x%x", name, *nh);
}

static void add_adjacency(u8 kind, u32 nh, u32 mpls_nh) {
    prm_kiv_tx_adj_print_added(kiv_util_tx_adj_add(kind, kChainUidb, prm_kiv_tx_adj_mac, nh, mpls_nh));
}

// Fills the reservation of one index.
static void fill_reserve(prm_buddy_reserve *request, u32 word36, u8 byte296) {
    memset(request, 0, sizeof *request);
    request->owner = PRM_OWNER;
    request->count = 1;
    request->word36 = word36;
    request->byte296 = byte296;
}

// Reserves one load-distribution entry and checks; its pointer, 0 when there is none.
static u32 reserve_load_distribution(u32 word36, u8 byte296, const char *function) {
    prm_buddy_reserve request;
    fill_reserve(&request, word36, byte296);
    const prm_status_t rc = kiv_util_nr_ldi_buddy_reserve(nullptr, &request);
    check_here(rc, function, __LINE__);
    return request.index;
}

static void add_load_distribution(u32 ldi_ptr, u32 ldi_mode, const prm_nr_ldi_path_block *block,
                                  const char *function) {
    prm_nr_ldi entry;
    prm_kiv_nr_ldi_fill_block(&entry, ldi_ptr, ldi_mode, block);
    const prm_status_t rc = kiv_util_nr_ldi_add(prm_async_handle, &entry);
    check_here(rc, function, __LINE__);
    kiv_printf("NR_LDI_ADD API call is sucessfull\n");
}

// Reserves one label-entry index into *index and checks; the check's result.
static int reserve_label_index(u32 *index, const char *function) {
    prm_buddy_reserve request;
    fill_reserve(&request, 0, 0);
    kiv_printf("Call MPLS_LEAF_BUDDY_RESERVE\n");
    const prm_status_t rc = prm_srh_mpls_leaf_buddy_reserve(nullptr, &request);
    *index = request.index;
    return check_here(rc, function, __LINE__);
}

static int reserve_label_index_and_tell(u32 *index, const char *function) {
    const int result = reserve_label_index(index, function);
    kiv_printf("Call MPLS_LEAF_BUDDY_RESERVE sucessfull: Reserved index %d\n", *index);
    return result;
}

// Adds or modifies the label entry that points at a load-distribution entry; the check's result.
static int add_chain_label(u32 label, u32 eos, u32 ldi_ptr, u32 leaf_index, int modify,
                           const char *function) {
    const prm_status_t rc =
        kiv_util_vop_prm_srh_mpls_leaf_add(label, eos, 0, 0, 1, ldi_ptr, leaf_index, modify);
    const int result = check_here(rc, function, __LINE__);
    kiv_printf("kiv_util_vop_prm_srh_mpls_leaf_add called rc: 0x%x\n", rc);
    return result;
}

// --- Chains ---

// What a chain leaves behind: everything stays in place after the case.
struct label_chain {
    u32 nh;
    u32 mpls_nh;  // swap only
    u32 ldi_ptr;
    u32 leaf_index;
};

// The pop path: its labels are set and cleared again, so that the request carries the next hop alone.
static void fill_pop_block(prm_nr_ldi_path_block *block, u32 nh) {
    memset(block, 0, sizeof *block);
    block->flags = static_cast<u8>((block->flags & ~PRM_NR_LDI_PATH_LABEL1) | PRM_NR_LDI_PATH_LABEL0);
    block->label0 = kPopLabel;
    block->label1 = kPopSecondLabel;
    block->mpls_nh_idx = 0;
    memset(block, 0, sizeof *block);
    block->nh_idx = nh;
}

// The swap path, cleared first: everything set reaches the request.
static void fill_swap_block(prm_nr_ldi_path_block *block, u32 nh, u32 mpls_nh) {
    memset(block, 0, sizeof *block);
    block->flags |= PRM_NR_LDI_PATH_LABEL0 | PRM_NR_LDI_PATH_LABEL1;
    block->label0 = kSwapLabel;
    block->label1 = kSwapSecondLabel;
    block->mpls_nh_idx = mpls_nh;
    block->nh_idx = nh;
}

// Builds the pop chain; the result of its last check.
static int create_pop(label_chain *chain, u32 eos, int modify, const char *function) {
    chain->ldi_ptr = 0;
    chain->nh = 0;
    reserve_chain_next_hop("Index", &chain->nh);
    add_adjacency(PRM_KIV_TX_ADJ_NORMAL, chain->nh, 0);

    kiv_printf("Call NR_LDI_BUDDY_RESERVE\n");
    chain->ldi_ptr = reserve_load_distribution(0, 0, function);
    kiv_printf("Call NR_LDI_BUDDY_RESERVE sucessfull\n");
    prm_nr_ldi_path_block block;
    fill_pop_block(&block, chain->nh);
    add_load_distribution(chain->ldi_ptr, PRM_NR_LDI_MODE_BLOCK, &block, function);

    reserve_label_index_and_tell(&chain->leaf_index, function);
    kiv_printf("\nldi_ptr in create pop: 0x%x", chain->ldi_ptr);
    return add_chain_label(kPopLabel, eos, chain->ldi_ptr, chain->leaf_index, modify, function);
}

// Builds the swap chain; the result of its last check.
static int create_swap(label_chain *chain, u32 eos, int modify, const char *function) {
    reserve_chain_next_hop("Index", &chain->nh);
    reserve_chain_next_hop("Index", &chain->mpls_nh);
    add_adjacency(PRM_KIV_TX_ADJ_NORMAL, chain->nh, 0);
    add_adjacency(PRM_KIV_TX_ADJ_MPLS, chain->nh, chain->mpls_nh);

    chain->ldi_ptr = reserve_load_distribution(kSwapReserveWord, kSwapReserveByte, function);
    kiv_printf("Call NR_LDI_BUDDY_RESERVE sucessfull ldi_ptr %d nh_index_mpls %d\n", chain->ldi_ptr,
               chain->mpls_nh);
    prm_nr_ldi_path_block block;
    fill_swap_block(&block, chain->nh, chain->mpls_nh);
    add_load_distribution(chain->ldi_ptr, PRM_NR_LDI_MODE_PLAIN, &block, function);

    reserve_label_index_and_tell(&chain->leaf_index, function);
    return add_chain_label(kSwapLabel, eos, chain->ldi_ptr, chain->leaf_index, modify, function);
}

// --- Cases ---

int tc_mpls_leaf_buddy_reserve(void) {
    u32 index = 0;
    return reserve_label_index_and_tell(&index, "tc_mpls_leaf_buddy_reserve");
}

int tc_mpls_leaf_buddy_release(void) {
    u32 index = 0;
    reserve_label_index(&index, "tc_mpls_leaf_buddy_release");

    prm_mpls_leaf_release release;
    memset(&release, 0, sizeof release);
    release.owner = PRM_OWNER;
    release.index = index;
    release.count = 1;
    kiv_printf("Call MPLS_LEAF_BUDDY_RELEASE\n");
    const prm_status_t rc = prm_srh_mpls_leaf_buddy_release(nullptr, &release);
    const int result = check_here(rc, "tc_mpls_leaf_buddy_release", __LINE__);
    kiv_printf("Call MPLS_LEAF_BUDDY_RELEASE sucessfull\n");
    return result;
}

static int run_pop_case(u32 eos, const char *function) {
    label_chain chain = {};
    const int result = create_pop(&chain, eos, kAdd, function);
    kiv_printf("SUCCESS: call to create pop nh_index: 0x%x", chain.nh);
    return result;
}

int tc_mpls_fwding_chain_create_pop(void) {
    return run_pop_case(1, "tc_mpls_fwding_chain_create_pop");
}

int tc_mpls_fwding_chain_create_pop_eos0(void) {
    return run_pop_case(0, "tc_mpls_fwding_chain_create_pop_eos0");
}

static int run_swap_case(u32 eos, const char *function) {
    label_chain chain = {};
    const int result = create_swap(&chain, eos, kAdd, function);
    kiv_printf("SUCCESS: call to create swap nh_index: 0x%x nh_mpls_index: 0x%x leaf_hw_idx: 0x%x", chain.nh,
               chain.mpls_nh, chain.leaf_index);
    return result;
}

int tc_mpls_fwding_chain_create_swap(void) {
    return run_swap_case(1, "tc_mpls_fwding_chain_create_swap");
}

int tc_mpls_fwding_chain_create_swap_eos0(void) {
    return run_swap_case(0, "tc_mpls_fwding_chain_create_swap_eos0");
}

static void add_push_leaf(const label_chain *chain, int modify) {
    kiv_util_vop_prm_srh_ipv4_leaf_add(PRM_OWNER, PRM_KIV_ROUTE_IPV4, PRM_KIV_ROUTE_IPV4_LENGTH, 0, 1, 1, 0,
                                       chain->nh, chain->mpls_nh, 0, 0, modify);
}

// A swap chain with a recursive route leaf on top, added and modified; neither status is checked.
static int run_push_case(u32 eos, const char *function) {
    label_chain chain = {};
    const int result = create_swap(&chain, eos, kAdd, function);
    kiv_printf("SUCCESS: call to create swap nh_index: 0x%x nh_mpls_index: 0x%x leaf_hw_index: 0x%x",
               chain.nh, chain.mpls_nh, chain.leaf_index);
    add_push_leaf(&chain, kAdd);
    add_push_leaf(&chain, kModify);
    return result;
}

int tc_mpls_fwding_chain_create_push(void) {
    return run_push_case(1, "tc_mpls_fwding_chain_create_push");
}

int tc_mpls_fwding_chain_create_push_eos0(void) {
    return run_push_case(0, "tc_mpls_fwding_chain_create_push_eos0");
}

// Points the pop label at a load-distribution entry again; the status is not checked.
static void modify_pop_label(const label_chain *chain) {
    kiv_util_vop_prm_srh_mpls_leaf_add(kPopLabel, 1, 0, 0, 1, chain->ldi_ptr, chain->leaf_index, kModify);
}

int tc_mpls_fwding_chain_create_pop_to_swap(void) {
    label_chain chain = {};
    const int result = create_pop(&chain, 1, kAdd, "tc_mpls_fwding_chain_create_pop_to_swap");
    kiv_printf("SUCCESS: call create_pop nh_idx: 0x%x leaf_hw_idx: 0x%x ldi_ptr: 0x%x", chain.nh,
               chain.leaf_index, chain.ldi_ptr);
    reserve_chain_next_hop("MPLS Index", &chain.mpls_nh);
    add_adjacency(PRM_KIV_TX_ADJ_MPLS, chain.nh, chain.mpls_nh);
    modify_pop_label(&chain);
    return result;
}

int tc_mpls_fwding_chain_create_swap_to_pop(void) {
    label_chain chain = {};
    const int result = create_swap(&chain, 1, kAdd, "tc_mpls_fwding_chain_create_swap_to_pop");
    kiv_printf(
        "SUCCESS: call to create swap nh_index: 0x%x nh_mpls_index: 0x%xldi_ptr: 0x%x leaf_hw_idx: 0x%x",
        chain.nh, chain.mpls_nh, chain.ldi_ptr, chain.leaf_index);
    modify_pop_label(&chain);  // the pop chains' label, not the swap's
    return result;
}

static int add_pop_lookup_label(u32 eos, const char *function) {
    const prm_status_t rc = kiv_util_vop_prm_srh_mpls_leaf_add(kPopLookupLabel, eos, 1, 0, 0, 0, 0, kAdd);
    const int result = check_here(rc, function, __LINE__);
    kiv_printf("kiv_util_vop_prm_srh_mpls_leaf_add called rc: 0x%x\n", rc);
    return result;
}

static int delete_pop_lookup_label(u32 eos, const char *function) {
    const prm_status_t rc = kiv_util_vop_prm_srh_mpls_leaf_del(kPopLookupLabel, eos);
    const int result = check_here(rc, function, __LINE__);
    kiv_printf("kiv_util_vop_prm_srh_mpls_leaf_del called rc: 0x%x\n", rc);
    return result;
}

int tc_prm_mpls_leaf_add(void) {
    return add_pop_lookup_label(1, "tc_prm_mpls_leaf_add");
}

int tc_prm_mpls_leaf_add_eos0(void) {
    return add_pop_lookup_label(0, "tc_prm_mpls_leaf_add_eos0");
}

int tc_prm_mpls_leaf_del(void) {
    return delete_pop_lookup_label(1, "tc_prm_mpls_leaf_del");
}

int tc_prm_mpls_leaf_del_eos0(void) {
    return delete_pop_lookup_label(0, "tc_prm_mpls_leaf_del_eos0");
}
