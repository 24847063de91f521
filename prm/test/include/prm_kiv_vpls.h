// VPLS: bridge domains and their attachment circuits, and what the other layer-2 areas share with them: the
// operation codes, the requests of a domain and of its members, and the reader of printed parameters.
#ifndef PRM_KIV_VPLS_H
#define PRM_KIV_VPLS_H

#include "kiv.h"
#include "prm_kiv_main.h"
#include "prm_srh.h"
#include "prm_srh_l2.h"
#include "prm_types.h"

// What a layer-2 handler is asked to do.
enum prm_kiv_l2_op {
    PRM_KIV_L2_ADD = 0,  // or bind
    PRM_KIV_L2_DEL = 1,  // or unbind
    PRM_KIV_L2_MOD = 5,
};

#ifdef __cplusplus
extern "C" {
#endif

// Bridge-domain parameters. The reader fills them; what a line does not name keeps its value.
extern u32 bd_id;                 // starts as 1
extern u32 ing_dis;               // ingress disabled, bit 0
extern u32 egr_dis;               // egress disabled, bit 0
extern u32 mac_move_sec_enabled;  // bit 0
extern u32 mac_move_sec_action;   // bits 0-1
extern u32 mac_learn_enable;      // bit 0; starts as 1
extern u32 stp_state_changed;     // 1 once either disable flag has been read; never cleared
extern u32 tokens;                // items on the line, 0 for an empty one

// Reads the parameters, and entry 0 of ifh and uidb, from one line of KIV_TCS_INPUT_FILE.
void kiv_util_read_bd_params(void);

// Each sends one request and returns its status; an unknown operation sends nothing and returns 0. The low 16
// bits of ac_uidb count.
prm_status_t kiv_util_bd_handler(u32 bd_id, int op);
prm_status_t kiv_util_ac_handler(u32 ac_uidb, u32 bd_id, int op);

int tc_kiv_vpls_create_bd_with_ac(void);
int tc_kiv_vpls_add_ac(void);
int tc_kiv_vpls_mod_ac(void);
int tc_kiv_vpls_del_ac(void);
int tc_kiv_vpls_del_bd_with_ac(void);

#ifdef __cplusplus
}
#endif

// A parameter of an input line that is printed as it is stored.
struct prm_kiv_printed_param {
    const char *name;
    int base;
    char **text;         // receives the value's text
    u32 *number;         // receives the value
    const char *format;  // of the number, then of *raises
    u32 *raises;         // set to 1 before the print; null for none
};

// Prints fields 0 to fields-1 of the line under way as " token = ..., value = ..."; stores and prints those
// that `params` (`count` of them) names. A field without a value prints nothing.
void prm_kiv_take_printed_params(int fields, const prm_kiv_printed_param *params, int count);

// Clears a request and names its bridge domain.
void prm_kiv_fill_bd(prm_bd_request *request, u32 bd_id);

// Clears a request and makes `uidb` a member of a bridge domain, as a circuit or as a BVI.
void prm_kiv_fill_member(prm_xid_request *request, prm_xid_kind xid_kind, u32 bd_id, u32 uidb);

// One line of a handler's table: the library call of an operation and what is printed around it.
template <class Request>
struct prm_kiv_l2_call {
    int op;
    const char *calling;  // before the call
    prm_status_t (*call)(prm_handle_t client, Request *request);
    const char *failure;  // after a failed call
};

// Sends the request as the table says for `op` and returns the status; an operation that the table does not
// have prints `unknown` and succeeds.
template <class Request, size_t N>
prm_status_t prm_kiv_l2_send(const prm_kiv_l2_call<Request> (&table)[N], int op, Request *request,
                             const char *unknown) {
    for (const prm_kiv_l2_call<Request> &row : table) {
        if (row.op != op) continue;
        if (row.calling != nullptr) kiv_printf("%s", row.calling);
        const prm_status_t rc = row.call(prm_async_handle, request);
        if (rc != 0) kiv_printf("%s", row.failure);
        return rc;
    }
    kiv_printf("%s", unknown);
    return 0;
}

// The same for an attachment circuit: bind, unbind and modify.
prm_status_t prm_kiv_send_ac(prm_xid_request *request, int op);

#endif
