// Registration of the whole suite with the test framework.
#ifndef PRM_KIV_REGISTRY_H
#define PRM_KIV_REGISTRY_H

#include "kiv.h"

// Creates the 18 folders with their fixtures and registers the cases in run order.
void prm_kiv_register(kiv_context_t context);

#endif
