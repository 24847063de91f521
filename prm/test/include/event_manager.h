// Event-manager library: the event loop that the resource-manager client hangs its callbacks on.
#ifndef EVENT_MANAGER_H
#define EVENT_MANAGER_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Creates an event manager; null when none can be had. The four words are sent as is.
void *event_manager_create(u32 word0, u32 word1, u32 word2, u32 word3);

// Destroys *manager and makes it null.
void event_manager_destroy(void **manager);

#ifdef __cplusplus
}
#endif

#endif
