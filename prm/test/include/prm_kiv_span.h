// SPAN: mirror sessions and their source interfaces.
#ifndef PRM_KIV_SPAN_H
#define PRM_KIV_SPAN_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Set-up and tear-down of the SPAN sub-folders; registered as cases too.
int prm_kiv_span_enable(void);
int prm_kiv_span_disable(void);
int prm_kiv_span_all_sessions_create(void);
int prm_kiv_span_all_sessions_destroy(void);

#ifdef __cplusplus
}
#endif

#endif
