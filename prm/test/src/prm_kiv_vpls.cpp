// VPLS: creates a bridge domain, binds, modifies and unbinds an attachment circuit and deletes the domain.
#include "prm_kiv_vpls.h"

#include <string.h>

#include "prm_kiv_check.h"
#include "prm_kiv_input.h"
#include "prm_kiv_tx_adj.h"

static const char kFile[] = "prm/test/src/prm_kiv_vpls";

u32 bd_id = 1;
u32 ing_dis;
u32 egr_dis;
u32 mac_move_sec_enabled;
u32 mac_move_sec_action;
u32 mac_learn_enable = 1;
u32 stp_state_changed;
u32 tokens;

static const prm_kiv_printed_param kBdParams[] = {
    {"IFH", 16, &token_ifh, &ifh[0], "ifhandle = 0x%X\n", nullptr},
    {"UIDB", 10, &token_uidb, &uidb[0], "uidb = %d\n", nullptr},
    {"BD-ID", 10, &token_bd, &bd_id, "bd_id = %d\n", nullptr},
    {"ING-DIS", 10, &token_ing_dis, &ing_dis, "ing_dis = %d %d\n", &stp_state_changed},
    {"EGR-DIS", 10, &token_egr_dis, &egr_dis, "egr_dis = %d %d\n", &stp_state_changed},
    {"MAC_MOVE_SEC_ENABLED", 10, &token_mac_move_sec_enabled, &mac_move_sec_enabled,
     "mac_move_sec_enabled = %d\n", nullptr},
    {"MAC_MOVE_SEC_ACTION", 10, &token_mac_move_sec_action, &mac_move_sec_action,
     "mac_move_sec_action = %d\n", nullptr},
    {"MAC_LEARN_ENABLE", 10, &token_mac_learn_enable, &mac_learn_enable, "mac_learn_enable = %d\n", nullptr},
};

static void take_printed_param(int i, const prm_kiv_printed_param &param) {
    if (param.raises != nullptr) *param.raises = 1;
    *param.text = value[i];
    *param.number = static_cast<u32>(prm_kiv_input_number(i, param.base));
    kiv_printf(param.format, *param.number, param.raises != nullptr ? *param.raises : 0);
}

void prm_kiv_take_printed_params(int fields, const prm_kiv_printed_param *params, int count) {
    for (int i = 0; i < fields; ++i) {
        if (!prm_kiv_input_has_value(i)) continue;
        kiv_printf(" token = %s, value = %s\n", token[i], value[i]);
        for (int p = 0; p < count; ++p)
            if (prm_kiv_input_is(i, params[p].name)) take_printed_param(i, params[p]);
    }
}

void kiv_util_read_bd_params(void) {
    FILE *const file = prm_kiv_input_open(KIV_TCS_INPUT_FILE, "r", "kiv_tcs_input_file");
    if (file == nullptr) return;
    static char line[KIV_LINE_SIZE];  // static, so that what the token pointers name stays readable
    const int fields = prm_kiv_input_read_fields(file, line, KIV_MAX_FIELDS);
    const bool empty = fields == 0 || line[0] == '\n';  // the newline alone is no item
    tokens = empty ? 0 : static_cast<u32>(fields);
    prm_kiv_take_printed_params(fields, kBdParams, sizeof kBdParams / sizeof kBdParams[0]);
    fclose(file);
}

void prm_kiv_fill_bd(prm_bd_request *request, u32 domain) {
    memset(request, 0, sizeof *request);
    request->kind = PRM_L2_REQUEST_KIND;
    request->xid_type = PRM_XID_TYPE_BRIDGE_DOMAIN;
    request->bd_id = domain;
    request->object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
}

void prm_kiv_fill_member(prm_xid_request *request, prm_xid_kind xid_kind, u32 domain, u32 member_uidb) {
    memset(request, 0, sizeof *request);
    request->kind = PRM_L2_REQUEST_KIND;
    request->xid_type = PRM_XID_TYPE_CIRCUIT;
    request->object_code = PRM_L2_OBJECT_CIRCUIT;
    request->flags89 = PRM_XID_89_BIT6;
    request->xid_kind = xid_kind;
    request->bd_id = domain;
    request->member_uidb = member_uidb;
}

prm_status_t kiv_util_bd_handler(u32 domain, int op) {
    static const prm_kiv_l2_call<prm_bd_request> kCalls[] = {
        {PRM_KIV_L2_DEL, "\ncalling prm_srh_bd_del \n", prm_srh_bd_del, "prm_srh_bd_del failed"},
        {PRM_KIV_L2_ADD, "\ncalling prm_srh_bd_add \n", prm_srh_bd_add, "prm_srh_bd_add failed"},
        {PRM_KIV_L2_MOD, "\ncalling prm_srh_bd_mod \n", prm_srh_bd_mod, "prm_srh_bd_mod failed"},
    };
    prm_bd_request request;
    prm_kiv_fill_bd(&request, domain);
    return prm_kiv_l2_send(kCalls, op, &request, "\nInvalid Oper\n");
}

prm_status_t prm_kiv_send_ac(prm_xid_request *request, int op) {
    static const prm_kiv_l2_call<prm_xid_request> kCalls[] = {
        {PRM_KIV_L2_DEL, "\ncalling prm_srh_xid_del for AC UNBIND\n", prm_srh_xid_del,
         "prm_srh_xid_del failed for AC unbind"},
        {PRM_KIV_L2_ADD, "\ncalling prm_srh_xid_add for AC BIND\n", prm_srh_xid_add,
         "prm_srh_xid_add failed for AC bind"},
        {PRM_KIV_L2_MOD, "\ncalling prm_srh_xid_mod for AC Modify\n", prm_srh_xid_mod,
         "prm_srh_xid_mod failed for AC modify"},
    };
    return prm_kiv_l2_send(kCalls, op, request, "\nInvalid Oper\n");
}

// `mask` when bit 0 of `flag` is set.
static u8 flag_bit(u32 flag, u8 mask) {
    return (flag & 1) != 0 ? mask : 0;
}

prm_status_t kiv_util_ac_handler(u32 ac_uidb, u32 domain, int op) {
    prm_xid_request request;
    prm_kiv_fill_member(&request, PRM_XID_KIND_AC, domain, ac_uidb & 0xFFFF);
    request.flags88 = flag_bit(mac_learn_enable, PRM_XID_88_MAC_LEARN_ENABLE);
    request.flags90 = flag_bit(mac_move_sec_enabled, PRM_XID_90_MAC_MOVE_SEC_ENABLED);
    request.flags90 |=
        mac_move_sec_action << PRM_XID_90_MAC_MOVE_SEC_ACTION_SHIFT & PRM_XID_90_MAC_MOVE_SEC_ACTION;
    request.flags91 = flag_bit(ing_dis, PRM_XID_91_INGRESS_DISABLE);
    request.flags91 |= flag_bit(egr_dis, PRM_XID_91_EGRESS_DISABLE);
    request.flags92 = flag_bit(stp_state_changed, PRM_XID_92_STP_STATE_CHANGED);
    return prm_kiv_send_ac(&request, op);
}

// Each does its operation with the parameters last read and checks the status.
static int check_bd(int op, const char *function, int line) {
    return kiv_check_success_fixed(kiv_util_bd_handler(bd_id, op), kFile, function, line);
}
static int check_ac(int op, const char *function, int line) {
    return kiv_check_success_fixed(kiv_util_ac_handler(uidb[0], bd_id, op), kFile, function, line);
}

int tc_kiv_vpls_create_bd_with_ac(void) {
    kiv_util_read_bd_params();
    check_bd(PRM_KIV_L2_ADD, "tc_kiv_vpls_create_bd_with_ac", 246);
    return check_ac(PRM_KIV_L2_ADD, "tc_kiv_vpls_create_bd_with_ac", 249);
}

int tc_kiv_vpls_add_ac(void) {
    kiv_util_read_bd_params();
    return check_ac(PRM_KIV_L2_ADD, "tc_kiv_vpls_add_ac", 260);
}

int tc_kiv_vpls_mod_ac(void) {
    kiv_util_read_bd_params();
    return check_ac(PRM_KIV_L2_MOD, "tc_kiv_vpls_mod_ac", 271);
}

int tc_kiv_vpls_del_ac(void) {
    kiv_util_read_bd_params();
    return check_ac(PRM_KIV_L2_DEL, "tc_kiv_vpls_del_ac", 282);
}

int tc_kiv_vpls_del_bd_with_ac(void) {
    kiv_util_read_bd_params();
    check_ac(PRM_KIV_L2_DEL, "tc_kiv_vpls_del_bd_with_ac", 293);
    return check_bd(PRM_KIV_L2_DEL, "tc_kiv_vpls_del_bd_with_ac", 296);
}
