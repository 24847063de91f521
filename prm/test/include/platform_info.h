// Platform library: what card this is.
#ifndef PLATFORM_INFO_H
#define PLATFORM_INFO_H

#include "prm_types.h"

// Card types that the suite tells apart.
enum { PLATFORM_CARD_TYPE_A = 0x1E1001, PLATFORM_CARD_TYPE_B = 0x1E1002 };

#ifdef __cplusplus
extern "C" {
#endif

// The card's type. `buffer`, if given, holds at least 16 bytes and receives the type as a u32.
u32 platform_get_my_card_type(void *buffer
#ifdef __cplusplus
                              = nullptr
#endif
);

// Non-zero on a card of the veltora family.
int is_veltora_family(void);

#ifdef __cplusplus
}
#endif

#endif
