// Local packet transport entries: program, read back, compare and delete them.
#ifndef PRM_KIV_LPTS_H
#define PRM_KIV_LPTS_H

#include "prm_srh.h"
#include "prm_srh_lpts.h"
#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// The entries as programmed and their identifiers, left by the add cases for the cases after them.
extern prm_lpts_entry ipv4_entry, ipv6_entry;
extern prm_lpts_id fp_id_v4, fp_id_v6;

// Builds the entry of an address family. Only selector 0 fills it; any other leaves it all zero.
void kiv_util_lpts_build_v4_entry(prm_lpts_entry *entry, u32 selector);
void kiv_util_lpts_build_v6_entry(prm_lpts_entry *entry, u32 selector);

// Programs an entry and stores its identifier on success. Returns the client's status, as the two below do.
prm_status_t kiv_util_lpts_program(const prm_lpts_entry *entry, prm_lpts_id *id);

// Reads an entry back; *entry is written on success only.
prm_status_t kiv_util_lpts_read(const prm_lpts_id *id, prm_lpts_entry *entry);

prm_status_t kiv_util_lpts_delete(const prm_lpts_id *id);

// Returns 1 when the keys match, else tells the first field that does not and returns 0. Of an IPv4 entry the
// first four bytes of an address count.
int kiv_util_lpts_compare(const prm_lpts_entry *expected, const prm_lpts_entry *read);

int tc_kiv_lpts_v4_entry_add(void);
int tc_kiv_lpts_v4_entry_read(void);
int tc_kiv_lpts_invalid_entry_read(void);
int tc_kiv_lpts_entry_delete(void);
int tc_kiv_lpts_invalid_entry_delete(void);
int tc_kiv_lpts_v6_entry_add(void);
int tc_kiv_lpts_v6_entry_read(void);

#ifdef __cplusplus
}
#endif

#endif
