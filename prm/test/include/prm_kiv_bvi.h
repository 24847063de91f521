// Bridged virtual interface: a routed interface that stands for a bridge domain, with one attachment circuit.
#ifndef PRM_KIV_BVI_H
#define PRM_KIV_BVI_H

#include "prm_types.h"

enum : prm_status_t {
    PRM_KIV_NO_INPUT_STATUS = 22,      // the input file cannot be opened
    PRM_KIV_UNKNOWN_KIND_STATUS = 22,  // a handler's unknown xid kind
    PRM_KIV_UNKNOWN_OP_STATUS = 28,    // a handler's unknown operation
};

#ifdef __cplusplus
extern "C" {
#endif

extern u32 bvi_ifh;      // interface handle of the BVI
extern u8 bvi_mac[6];    // MAC address set on create
extern u32 bvi_vrf;      // VRF set on create
extern u8 bvi_mac_2[6];  // MAC address and VRF set by the modify case
extern u32 bvi_vrf_2;
extern u32 bvi_uidb;  // filled by kiv_util_get_bvi_uidb

// Reads entry 0 of ifh and uidb from one line of two fields; 0, or PRM_KIV_NO_INPUT_STATUS.
prm_status_t kiv_util_read_bvi_input(void);

// Creates the BVI in the interface database.
prm_status_t prm_kiv_util_bvi_interface_create(void);

// Sets MAC address and VRF: the first set when `which` is not 0, else the second. Checks a success; aborts
// when the message cannot be allocated.
prm_status_t prm_kiv_util_bvi_interface_feature_set(int which);

// Adds or deletes (prm_kiv_l2_op) the bridge domain bd_id; PRM_KIV_UNKNOWN_OP_STATUS for another operation.
prm_status_t prm_kiv_util_prm_srh_bd_handler(int op);

// Binds, unbinds or modifies (prm_kiv_l2_op) a member of the domain, the circuit or the BVI (prm_xid_kind).
prm_status_t prm_kiv_util_prm_srh_xid_handler(int xid_kind, int op);

int tc_kiv_bvI_with_ac_main_port_in_bd_bvi_bind_first(void);
int tc_kiv_bvI_with_ac_main_port_in_bd_ac_bind_first(void);
int tc_kiv_bvi_vrf_and_mac_modify(void);
int tc_kiv_bvi_cleanup(void);

#ifdef __cplusplus
}
#endif

#endif
