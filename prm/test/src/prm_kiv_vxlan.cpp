// VXLAN, EVPN and split-horizon entries: sixteen cases, each of which does its operation for every line of
// standard input.
#include "prm_kiv_vxlan.h"

#include <string.h>

#include "prm_kiv_check.h"
#include "prm_kiv_vpls.h"

static const char kFile[] = "prm/test/src/prm_kiv_vxlan";

// Tells which line of the case comes next.
template <class Entry>
static void print_index(const char *name, int index, const Entry &) {
    kiv_printf("%s index %d\n", name, index);
}

static void print_index(const char *name, int index, const prm_kiv_ole_params &params) {
    kiv_printf("%s index %d bd %d r_vtep 0x%08x nh %d\n", name, index, params.bd_id, params.remote_vtep,
               params.nh_id);
}

// The case loop: reads entries until the end of input, sends each and checks its status; an empty line does
// not count. The entry is cleared once, so that a field absent from a line keeps what an earlier line set.
// Returns what the reader returned last.
template <class Entry>
static int for_each_line(int (*read)(Entry *), prm_status_t (*send)(const Entry &, int op), int op,
                         const char *name, int line) {
    Entry entry;
    memset(&entry, 0, sizeof entry);
    int status;
    int index = 0;
    while ((status = read(&entry)) != 0) {
        if (status < 0) continue;
        print_index(name, ++index, entry);
        kiv_check_success_fixed(send(entry, op), kFile, name, line);
    }
    return status;
}

static int for_each_bd(int op, const char *name, int line) {
    const auto send = [](const prm_kiv_vxlan_bd_params &bd, int bd_op) {
        return prm_kiv_util_vxlan_bd_oper(bd.bd_id, bd.vni, bd.source_vtep, bd_op);
    };
    return for_each_line<prm_kiv_vxlan_bd_params>(prm_kiv_util_get_vxlan_bd_params, send, op, name, line);
}

static int for_each_ac(int op, const char *name, int line) {
    const auto send = [](const prm_kiv_ac_params &ac, int ac_op) {
        return prm_kiv_util_vxlan_ac_oper(ac.bd_id, ac.uidb_index, ac_op);
    };
    return for_each_line<prm_kiv_ac_params>(prm_kiv_util_get_ac_params, send, op, name, line);
}

static int for_each_vsp_ac(int op, const char *name, int line) {
    const auto send = [](const prm_kiv_vsp_ac_params &ac, int ac_op) {
        return prm_kiv_util_vxlan_vsp_ac_oper(ac.bd_id, ac.ac_xid, ac.uidb_index, ac_op);
    };
    return for_each_line<prm_kiv_vsp_ac_params>(prm_kiv_util_get_vsp_ac_params, send, op, name, line);
}

static int for_each_vplag(int op, const char *name, int line) {
    const auto send = [](const prm_vplag_info &info, int vplag_op) {
        return prm_kiv_util_vplag_oper(&info, vplag_op);
    };
    return for_each_line<prm_vplag_info>(prm_kiv_util_get_vplag_params, send, op, name, line);
}

static int for_each_mac(int op, const char *name, int line) {
    const auto send = [](const prm_evpn_mac_entry &entry, int mac_op) {
        return prm_kiv_util_evpn_mac_oper(&entry, mac_op);
    };
    return for_each_line<prm_evpn_mac_entry>(prm_kiv_util_get_mac_params, send, op, name, line);
}

static int for_each_shg_df(int op, const char *name, int line) {
    const auto send = [](const prm_shg_df_entry &entry, int shg_op) {
        return prm_kiv_util_fpem_shg_df_oper(&entry, shg_op);
    };
    return for_each_line<prm_shg_df_entry>(prm_kiv_util_get_shg_df_params, send, op, name, line);
}

static prm_status_t send_ole(const prm_kiv_ole_params &params, int op) {
    prm_vxlan_ole_request request;
    memset(&request, 0, sizeof request);
    request.word20 = 1;  // sent as is
    request.nh_id = params.nh_id;
    request.bd_id = params.bd_id;
    request.remote_vtep = params.remote_vtep;
    if (op == PRM_KIV_L2_ADD) return prm_srh_vxlan_ole_add(prm_async_handle, &request);
    if (op == PRM_KIV_L2_MOD) return prm_srh_vxlan_ole_mod(prm_async_handle, &request);
    return prm_srh_vxlan_ole_del(prm_async_handle, &request);
}

// Tells success at the end whatever the checks found.
static int for_each_ole(int op, const char *name, int line) {
    const int status =
        for_each_line<prm_kiv_ole_params>(prm_kiv_util_get_ole_params, send_ole, op, name, line);
    kiv_printf("\n %s call SUCCEEDED\n", name);
    return status;
}

int tc_kiv_vxlan_bd_add(void) {
    return for_each_bd(PRM_KIV_L2_ADD, "tc_kiv_vxlan_bd_add", 650);
}
int tc_kiv_vxlan_bd_del(void) {
    return for_each_bd(PRM_KIV_L2_DEL, "tc_kiv_vxlan_bd_del", 673);
}
int tc_kiv_vxlan_ac_bind(void) {
    return for_each_ac(PRM_KIV_L2_ADD, "tc_kiv_vxlan_ac_bind", 696);
}
int tc_kiv_vxlan_vsp_ac_bind(void) {
    return for_each_vsp_ac(PRM_KIV_L2_ADD, "tc_kiv_vxlan_vsp_ac_bind", 720);
}
int tc_kiv_vxlan_ac_unbind(void) {
    return for_each_ac(PRM_KIV_L2_DEL, "tc_kiv_vxlan_ac_unbind", 743);
}
int tc_kiv_vxlan_vsp_ac_unbind(void) {
    return for_each_vsp_ac(PRM_KIV_L2_DEL, "tc_kiv_vxlan_vsp_ac_unbind", 766);
}
int tc_kiv_vxlan_ole_add(void) {
    return for_each_ole(PRM_KIV_L2_ADD, "tc_kiv_vxlan_ole_add", 801);
}
int tc_kiv_vxlan_ole_mod(void) {
    return for_each_ole(PRM_KIV_L2_MOD, "tc_kiv_vxlan_ole_mod", 839);
}
int tc_kiv_vxlan_ole_del(void) {
    return for_each_ole(PRM_KIV_L2_DEL, "tc_kiv_vxlan_ole_del", 876);
}
int tc_kiv_vxlan_vplag_add(void) {
    return for_each_vplag(PRM_KIV_L2_ADD, "tc_kiv_vxlan_vplag_add", 899);
}
int tc_kiv_vxlan_vplag_member_set(void) {
    return for_each_vplag(PRM_KIV_L2_MOD, "tc_kiv_vxlan_vplag_member_set", 921);
}
int tc_kiv_vxlan_vplag_del(void) {
    return for_each_vplag(PRM_KIV_L2_DEL, "tc_kiv_vxlan_vplag_del", 943);
}
int tc_kiv_evpn_mac_install(void) {
    return for_each_mac(PRM_KIV_L2_ADD, "tc_kiv_evpn_mac_install", 964);
}
int tc_kiv_evpn_mac_uninstall(void) {
    return for_each_mac(PRM_KIV_L2_DEL, "tc_kiv_evpn_mac_uninstall", 985);
}
int tc_kiv_fpem_shg_df_del(void) {
    return for_each_shg_df(PRM_KIV_L2_DEL, "tc_kiv_fpem_shg_df_del", 1006);
}
int tc_kiv_fpem_shg_df_add(void) {
    return for_each_shg_df(PRM_KIV_L2_ADD, "tc_kiv_fpem_shg_df_add", 1026);
}
