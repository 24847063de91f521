// Non-recursive load-distribution entries: add, delete and reserve them.
#ifndef PRM_KIV_NR_LDI_H
#define PRM_KIV_NR_LDI_H

#include "prm_srh.h"
#include "prm_srh_nr_ldi.h"
#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Each passes its arguments on and returns the client's status.
prm_status_t kiv_util_nr_ldi_add(prm_handle_t client, prm_nr_ldi *entry);
prm_status_t kiv_util_nr_ldi_del(prm_handle_t client, prm_nr_ldi *entry);
prm_status_t kiv_util_nr_ldi_buddy_reserve(prm_handle_t client, prm_buddy_reserve *request);

int tc_kiv_nr_ldi_add(void);
int tc_kiv_nr_ldi_del(void);
int tc_kiv_nr_ldi_add_mpls(void);
int tc_kiv_nr_ldi_del_mpls(void);
int tc_kiv_nr_ldi_buddy_reserve(void);

#ifdef __cplusplus
}
#endif

// Pointer of the fixed entry: entry 200100.
enum : u32 { PRM_KIV_NR_LDI_PTR = 200100u << PRM_NR_LDI_PTR_SHIFT };

// The fixed entry in its plain form, whole: the entry that the multipath leaf points at.
void prm_kiv_nr_ldi_fill_plain(prm_nr_ldi *entry);

// An entry that carries a path block, whole.
void prm_kiv_nr_ldi_fill_block(prm_nr_ldi *entry, u32 ldi_ptr, u32 ldi_mode,
                               const prm_nr_ldi_path_block *block);

#endif
