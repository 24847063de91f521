// Resource-manager client library, connection: open, register, name, unregister, close; and its statistics
// pointers.
#ifndef PRM_MGR_H
#define PRM_MGR_H

#include "prm_types.h"

#ifdef __cplusplus
extern "C" {
#endif

// Handler the library calls from its event handling.
typedef void (*prm_notify_t)(void);

// Opens a connection on an event manager and stores its handle in *out.
prm_status_t prm_mgr_open(void *event_manager, u32 word, const char *client, prm_notify_t notify, u32 flags,
                          u32 word2, prm_handle_t *out);

prm_status_t prm_mgr_close(prm_handle_t connection);

// Registers an asynchronous client and stores its handle in *out.
prm_status_t prm_srh_register(prm_handle_t *out, u32 word, void *event_manager, prm_notify_t handler);

prm_status_t prm_srh_set_name(prm_handle_t client, const char *name);

prm_status_t prm_srh_unregister(const char *name, u32 word);

// Directions of a statistics pointer.
enum { PRM_STATS_INGRESS = 0x10000000, PRM_STATS_EGRESS = 0x20000000 };

// Classes of statistics.
enum { PRM_STATS_CLASS_INTERFACE = 5, PRM_STATS_CLASS_MPLS = 6 };

// Allocates *count statistics pointers of a class and direction; *count comes back as the number granted and
// *pointer as the first of them. `word` is sent as is (2).
prm_status_t prm_stats_cl_alloc(prm_handle_t client, u32 direction, u32 stats_class, u32 word, u32 *count,
                                u32 *pointer);

#ifdef __cplusplus
}
#endif

#endif
