// Cross-connects: the readers of the two sub-interfaces, the steps that set rewrites and join circuits, and
// the cases, of which the rewrite matrix is a table.
#include "prm_kiv_xconnect.h"

#include <stdlib.h>
#include <string.h>

#include "kiv.h"
#include "prm_kiv_check.h"
#include "prm_kiv_input.h"
#include "prm_kiv_main.h"
#include "prm_kiv_subif.h"
#include "prm_kiv_tx_adj.h"
#include "prm_kiv_uidb.h"
#include "prm_srh.h"
#include "prm_srh_l2.h"
#include "uidb.h"

static const char kFile[] = "prm/test/src/prm_kiv_xconnect";

// The fixed port of the port-to-pseudowire cases, and its pseudowire.
enum : u32 {
    kPortIfh = 0x8000038,
    kPortUidb = 6,
    kPseudowireXid = 32768,
    kPseudowireKey = 16020,   // sent as is
    kPseudowireWord = 24007,  // sent as is
    // Adjacency that the remove names, whatever the add was given.
    kRemoveNextHop = 100053,
    kRemoveTunnel = 4198,
};

u16 rovlan[2], rivlan[2], rotpid[2];

// The line under way. Static, so that what token and value point at stays readable.
static char line_buffer[KIV_LINE_SIZE];

// --- Site values ---

static void take_interface(int i, int line) {
    prm_kiv_input_take(i, "IFH", 16, &token_ifh, &ifh[line]);
    prm_kiv_input_take(i, "UIDB", 10, &token_uidb, &uidb[line]);
}

static void take_interface_and_print(int i, int line) {
    if (!prm_kiv_input_has_value(i)) return;
    kiv_printf(" token = %s, value = %s\n", token[i], value[i]);
    take_interface(i, line);
    if (prm_kiv_input_is(i, "IFH")) kiv_printf("ifhandle = 0x%X\n", ifh[line]);
    if (prm_kiv_input_is(i, "UIDB")) kiv_printf("uidb = %d\n", static_cast<int>(uidb[line]));
}

static void take_encapsulation(int i, int line) {
    take_interface(i, line);
    prm_kiv_input_take(i, "OVLAN", 10, &token_ovlan, &ovlan.slot[line]);
    prm_kiv_input_take(i, "IVLAN", 10, &token_ivlan, &ivlan.slot[line]);
    prm_kiv_input_take(i, "OTPID", 16, &token_otpid, &otpid.slot[line]);
}

static void take_rewrite(int i, int line) {
    take_encapsulation(i, line);
    prm_kiv_input_take(i, "ROVLAN", 10, &token_rovlan, &rovlan[line]);
    prm_kiv_input_take(i, "RIVLAN", 10, &token_rivlan, &rivlan[line]);
    prm_kiv_input_take(i, "ROTPID", 16, &token_rotpid, &rotpid[line]);
}

// Reads the two lines, each of at most `max_fields` fields.
static void read_two_lines(int max_fields, void (*take_field)(int i, int line)) {
    FILE *const file = prm_kiv_input_open(KIV_TCS_INPUT_FILE, "r", "kiv_tcs_input_file");
    if (file == nullptr) return;
    for (int line = 0; line < 2; ++line) {
        const int fields = prm_kiv_input_read_fields(file, line_buffer, max_fields);
        for (int i = 0; i < fields; ++i) take_field(i, line);
    }
    fclose(file);
}

void kiv_util_read_xconnect_uidbs(void) {
    read_two_lines(2, take_interface_and_print);
}

void kiv_util_read_xconnect_subifs(void) {
    read_two_lines(5, take_encapsulation);
}

void kiv_util_read_xconnect_rewrites(void) {
    read_two_lines(8, take_rewrite);
}

// --- Steps ---

prm_status_t kiv_util_add_subif_rewrite(u32 if_handle, u32 outer_vlan, u32 inner_vlan, u32 outer_tpid,
                                        u8 rw_op, u32 rewrite_outer_vlan, u32 rewrite_inner_vlan,
                                        u32 rewrite_outer_tpid) {
    static const char kStep[] = "kiv_util_add_subif_rewrite";
    auto *const message = prm_kiv_uidb_new<uidb_client_data_of<8>>(if_handle);
    if (message == nullptr) {
        kiv_printf("Malloc Failed for uidb_client_data \n");
        kiv_fail_without_memory_fixed(kFile, kStep, 221);
    }
    prm_kiv_uidb_fill(&message->features[0], 0, UIDB_FEATURE_L2, 1);
    prm_kiv_uidb_fill(&message->features[1], 0, UIDB_FEATURE_REWRITE_OUTER_TPID, rewrite_outer_tpid);
    prm_kiv_uidb_fill(&message->features[2], 0, UIDB_FEATURE_REWRITE_OUTER_VLAN, rewrite_outer_vlan);
    prm_kiv_uidb_fill(&message->features[3], 0, UIDB_FEATURE_REWRITE_INNER_VLAN, rewrite_inner_vlan);
    prm_kiv_uidb_fill(&message->features[4], 0, UIDB_FEATURE_REWRITE_OP, rw_op);
    prm_kiv_uidb_fill(&message->features[5], 0, UIDB_FEATURE_OUTER_TPID, outer_tpid);
    prm_kiv_uidb_fill(&message->features[6], 0, UIDB_FEATURE_OUTER_VLAN, outer_vlan);
    prm_kiv_uidb_fill(&message->features[7], 0, UIDB_FEATURE_INNER_VLAN, inner_vlan);

    kiv_printf("Call UIDB Set feature\n");
    const prm_status_t rc = uidb_set_feature(UIDB_CLIENT_COOKIE, &message->head);
    kiv_check_success_fixed(rc, kFile, kStep, 277);
    free(message);
    return rc;
}

static void clear_request(prm_xid_request *request) {
    memset(request, 0, sizeof *request);
    request->kind = PRM_L2_REQUEST_KIND;
}

prm_status_t kiv_util_prm_srh_xconnect_add(u32 uidb1, u32 uidb2) {
    prm_xid_request request;
    kiv_printf("inside %s", "kiv_util_prm_srh_xconnect_add");
    clear_request(&request);
    request.segment1_key = uidb1;
    request.segment2_key = uidb2;
    return prm_srh_xid_add(prm_async_handle, &request);
}

prm_status_t kiv_util_prm_srh_xconnect_remove(u32 uidb1) {
    prm_xid_request request;
    kiv_printf("inside %s", "kiv_util_prm_srh_xconnect_remove");
    clear_request(&request);
    request.segment1_key = uidb1;
    return prm_srh_xid_del(prm_async_handle, &request);
}

static void fill_pseudowire_request(prm_xid_request *request, u32 ac_key, u32 pw_xid, u32 next_hop,
                                    u32 tunnel) {
    clear_request(request);
    request->xid_type = PRM_XID_TYPE_CIRCUIT;
    request->xid = pw_xid;
    request->object_code = PRM_L2_OBJECT_CIRCUIT;
    request->option = PRM_XID_PSEUDOWIRE_OPTION;
    request->segment1_key = ac_key;
    request->segment2_key = kPseudowireKey;
    request->segment2_word = kPseudowireWord;
    request->nh_id = next_hop;
    request->tunnel_id = tunnel;
}

prm_status_t kiv_util_prm_srh_eompls_xconnect_add(u32 ac_uidb, u32 pw_xid) {
    u32 next_hop = 0, tunnel = 0;
    prm_xid_request request;
    kiv_printf("inside %s", "kiv_util_prm_srh_eompls_xconnect_add");
    kiv_printf("\n calling tc_kiv_eompls_tx_adj_add() to reserve NH and tunnel\n");
    tc_kiv_eompls_tx_adj_add(&next_hop, &tunnel);

    fill_pseudowire_request(&request, ac_uidb, pw_xid, next_hop, tunnel);
    return prm_srh_xid_add(prm_async_handle, &request);
}

prm_status_t kiv_util_prm_srh_eompls_xconnect_remove(u32 pw_xid, u32 ac_key) {
    const u32 next_hop = kRemoveNextHop, tunnel = kRemoveTunnel;
    prm_xid_request request;
    kiv_printf("inside %s", "kiv_util_prm_srh_eompls_xconnect_remove");
    // The adjacency is deleted in two passes, the first while the cross-connect still uses it.
    kiv_printf("\nfirst call to prm_bcm_tx_adj_del()\n");
    tc_kiv_eompls_tx_adj_del(&next_hop, &tunnel, 1, 1);

    fill_pseudowire_request(&request, ac_key, pw_xid, next_hop, tunnel);
    const prm_status_t rc = prm_srh_xid_del(prm_async_handle, &request);

    kiv_printf("\nSecond call to prm_bcm_tx_adj_del\n");
    tc_kiv_eompls_tx_adj_del(&next_hop, &tunnel, 0, 1);
    return rc;
}

// Sets the rewrite of sub-interface i (0 or 1) from the values read.
static prm_status_t add_rewrite(int i, u8 rw_op) {
    return kiv_util_add_subif_rewrite(ifh[i], ovlan.slot[i], ivlan.slot[i], otpid.slot[i], rw_op, rovlan[i],
                                      rivlan[i], rotpid[i]);
}

prm_status_t kiv_util_xconnect_add_with_rewrite(u8 src_op, u8 dst_op) {
    kiv_util_read_xconnect_rewrites();
    prm_status_t rc = add_rewrite(0, src_op);
    if (rc != CERR_SUCCESS) return rc;
    rc = add_rewrite(1, dst_op);
    if (rc != CERR_SUCCESS) return rc;
    return kiv_util_prm_srh_xconnect_add(uidb[0], uidb[1]);
}

// --- Local switching ---

int tc_kiv_xconnect_add_locsw(void) {
    kiv_printf("calling kiv_util_prm_srh_xconnect_add now \n");
    kiv_util_read_xconnect_uidbs();
    const prm_status_t rc = kiv_util_prm_srh_xconnect_add(uidb[0], uidb[1]);
    return kiv_check_success_fixed(rc, kFile, "tc_kiv_xconnect_add_locsw", 409);
}

int tc_kiv_xconnect_encap_chg_locsw(void) {
    static const char kCase[] = "tc_kiv_xconnect_encap_chg_locsw";
    kiv_util_read_xconnect_subifs();

    // The first sub-interface every time; the second keeps its encapsulation.
    prm_status_t rc = kiv_util_chg_subif_encap(ifh[0], 0, 0, 0, 1);
    kiv_check_success_fixed(rc, kFile, kCase, 420);
    rc = kiv_util_chg_subif_encap(ifh[0], 0, 0, 0, 1);
    kiv_check_success_fixed(rc, kFile, kCase, 424);
    rc = kiv_util_chg_subif_encap(ifh[0], ovlan.slot[0], ivlan.slot[0], otpid.slot[0], 1);
    kiv_check_success_fixed(rc, kFile, kCase, 428);

    rc = kiv_util_prm_srh_xconnect_add(uidb[0], uidb[1]);
    return kiv_check_success_fixed(rc, kFile, kCase, 431);
}

// Joins the two with a rewrite on the first; a failed rewrite does not keep it from joining them.
static int add_with_first_rewrite(u8 rw_op, const char *function, int rewrite_line, int add_line) {
    kiv_util_read_xconnect_rewrites();
    prm_status_t rc = add_rewrite(0, rw_op);
    kiv_check_success_fixed(rc, kFile, function, rewrite_line);
    rc = kiv_util_prm_srh_xconnect_add(uidb[0], uidb[1]);
    return kiv_check_success_fixed(rc, kFile, function, add_line);
}

int tc_kiv_xconnect_add_locsw_with_push1_rw(void) {
    return add_with_first_rewrite(UIDB_REWRITE_PUSH1, "tc_kiv_xconnect_add_locsw_with_push1_rw", 444, 447);
}

int tc_kiv_xconnect_add_locsw_with_pop1_rw(void) {
    return add_with_first_rewrite(UIDB_REWRITE_POP1, "tc_kiv_xconnect_add_locsw_with_pop1_rw", 460, 463);
}

int tc_kiv_xconnect_add_locsw_with_swap11_rw(void) {
    return add_with_first_rewrite(UIDB_REWRITE_SWAP11, "tc_kiv_xconnect_add_locsw_with_swap11_rw", 476, 479);
}

int tc_kiv_xconnect_remove_locsw(void) {
    static const char kCase[] = "tc_kiv_xconnect_remove_locsw";
    kiv_util_read_xconnect_uidbs();
    prm_status_t rc = kiv_util_prm_srh_xconnect_remove(uidb[0]);
    kiv_check_success_fixed(rc, kFile, kCase, 856);
    rc = kiv_util_prm_srh_xconnect_remove(uidb[1]);
    return kiv_check_success_fixed(rc, kFile, kCase, 859);
}

// --- Rewrite matrix ---

static int run_rewrite_case(u8 source_op, u8 destination_op, const char *function, int line) {
    const prm_status_t rc = kiv_util_xconnect_add_with_rewrite(source_op, destination_op);
    return kiv_check_success_fixed(rc, kFile, function, line);
}

#define DEFINE_REWRITE_CASE(name, source_op, destination_op, line)                                     \
    int name(void) {                                                                                   \
        return run_rewrite_case(UIDB_REWRITE_##source_op, UIDB_REWRITE_##destination_op, #name, line); \
    }
KIV_XCONNECT_REWRITE_CASES(DEFINE_REWRITE_CASE)
#undef DEFINE_REWRITE_CASE

// --- Port to pseudowire: these tell their outcome by their lines, without a check of their own ---

int tc_kiv_xconnect_add_l2p_x_pw(void) {
    static const char kCase[] = "tc_kiv_xconnect_add_l2p_x_pw";
    prm_status_t rc = kiv_util_uidb_l2_enable(kPortIfh);
    if (rc != CERR_SUCCESS) {
        kiv_printf("%s:ERROR:kiv_util_uidb_l2_enable failed.ifh=0x%x rc=0x%x", kCase, kPortIfh, rc);
        return 0;
    }
    kiv_printf("\n calling kiv_prm_srh_eompls_xconnect_add() with AC = %d & PW = %d", kPortUidb,
               kPseudowireXid);
    rc = kiv_util_prm_srh_eompls_xconnect_add(kPortUidb, kPseudowireXid);
    if (rc != CERR_SUCCESS) {
        kiv_printf("FAIL:%s failed uidb_index1=%d, pw_xid=0x%x\n", kCase, kPortUidb, kPseudowireXid);
        return 0;
    }
    kiv_printf("SUCCESS:%s completed\n uidb_index1=%d, pw_xid=0x%x", kCase, kPortUidb, kPseudowireXid);
    return 1;
}

int tc_kiv_xconnect_remove_l2p_x_pw(void) {
    static const char kCase[] = "tc_kiv_xconnect_remove_l2p_x_pw";
    // The handle goes where the add put the uidb index.
    kiv_util_prm_srh_eompls_xconnect_remove(kPseudowireXid, kPortIfh);
    const prm_status_t rc = kiv_util_uidb_l2_disable(kPortIfh);
    if (rc != CERR_SUCCESS) {
        kiv_printf("FAIL:%s  for ifh=0x%x, pw_xid=0x%x, rc=0x%x", kCase, kPortIfh, kPseudowireXid, rc);
        return 0;
    }
    kiv_printf("SUCCESS:%s done for ifh=0x%x, pw_xid=0x%x", kCase, kPortIfh, kPseudowireXid);
    return 1;
}

// Registered, and empty by design.
int tc_kiv_vpls_xconnect_add_l2p_x_pw(void) {
    return 0;
}

int tc_kiv_vpls_xconnect_remove_l2p_x_pw(void) {
    return 0;
}
