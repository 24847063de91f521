// Error-code library, and the codes that the suite expects by value.
#ifndef CERR_H
#define CERR_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

enum prm_error : u32 {
    CERR_SUCCESS = 0,
    PRM_ERROR_NONE = 0,
    PRM_ERROR_INVALID_ARG = 0x457C2A00,
    PRM_ERROR_INVALID_MSG = 0x457C2C00,
    PRM_ERROR_BCM_E_BUSY = 0xA8B89200,
    PRM_ERROR_BCM_E_BADID = 0xA8B89800,
    PRM_ERROR_BCM_E_PORT = 0xA8B8A200,
};

// Text of a code; never null, valid as long as the process.
const char *cerr_strerror(u32 code);

#ifdef __cplusplus
}
#endif

#endif
