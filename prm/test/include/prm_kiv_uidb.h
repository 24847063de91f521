// Interface database: reusable steps, and the cases that switch single features of a fixed interface.
#ifndef PRM_KIV_UIDB_H
#define PRM_KIV_UIDB_H

#include <stdlib.h>

#include "prm_types.h"
#include "uidb.h"

enum : prm_status_t {
    PRM_KIV_NO_MEMORY_STATUS = 22,      // a step's failed allocation
    PRM_KIV_INVALID_PARAM_STATUS = 22,  // a step's null argument
};

#ifdef __cplusplus
extern "C" {
#endif

// Sets one feature of an interface with cookie 0; checks the status and returns it.
prm_status_t kiv_util_uidb_set_feature(const uidb_feature *feature, u32 if_handle);

// Hands a batch over as it is; no check of its own.
prm_status_t kiv_util_uidb_set_feature_batch(uintptr_t cookie, uidb_feature_batch *batch);

// Switches an interface's layer-2 flag.
prm_status_t kiv_util_uidb_l2_enable(u32 if_handle);
prm_status_t kiv_util_uidb_l2_disable(u32 if_handle);

// Creates a sub-interface on an NP port (low 8 bits).
prm_status_t kiv_util_create_single_interface(u32 np_port, u32 parent_ifh, u32 if_handle);

// Allocates one interface statistics pointer of a direction (PRM_STATS_INGRESS, PRM_STATS_EGRESS).
prm_status_t kiv_util_intf_stats_alloc(u32 direction, u32 *pointer);

int tc_kiv_update_mainif_mtu(void);
int tc_kiv_update_subif_mtu(void);
int tc_kiv_uidb_ipv4_enable(void);
int tc_kiv_uidb_ipv4_disable(void);
int tc_kiv_uidb_mpls_enable(void);
int tc_kiv_uidb_mpls_disable(void);
int tc_kiv_uidb_l2_enable(void);
int tc_kiv_uidb_l2_disable(void);

#ifdef __cplusplus
}
#endif

// Fills one feature record: qualifier, feature number and value; everything else becomes 0.
void prm_kiv_uidb_fill(uidb_feature *feature, u16 qualifier, u32 feature_id, u32 value);

// Fills one entry of a batch.
static inline void prm_kiv_uidb_fill_entry(uidb_batch_entry *entry, u32 if_handle, u16 qualifier,
                                           u32 feature_id, u32 value) {
    entry->if_handle = if_handle;
    prm_kiv_uidb_fill(&entry->feature, qualifier, feature_id, value);
}

// Heads of the three messages: the interface to create, the interface whose features follow, the batch.
static inline void prm_kiv_uidb_head(uidb_create_msg *message, u32 if_handle, u32 parent_ifh,
                                     uidb_iftype iftype, u32 channel_map) {
    message->channel_map = channel_map;
    message->if_handle = if_handle;
    message->parent_ifh = parent_ifh;
    message->iftype = iftype;
}
template <size_t N>
static void prm_kiv_uidb_head(uidb_client_data_of<N> *message, u32 if_handle) {
    message->head.if_handle = if_handle;
    message->head.nr_features = N;
    message->head.features_len = sizeof message->features;
}
template <size_t M>
static void prm_kiv_uidb_head(uidb_feature_batch_of<M> *batch) {
    batch->head.nr_entries = M;
    batch->head.entries_len = sizeof batch->entries;
}

// A cleared message with its head filled; null without memory. The caller releases it with free.
template <class Message, class... Head>
static Message *prm_kiv_uidb_new(Head... head) {
    Message *const message = static_cast<Message *>(calloc(1, sizeof(Message)));
    if (message != nullptr) prm_kiv_uidb_head(message, head...);
    return message;
}

// Sends a one-feature IP MTU message: the frame of the four MTU cases. Checks under the case's name, prints
// `success_line`, aborts when the message cannot be allocated. Returns the check's result.
int prm_kiv_uidb_set_ip_mtu(u32 if_handle, u32 mtu, const char *file, const char *function, int here,
                            const char *success_line);

#endif
