// Valid requests of the interface database.
#ifndef TESTS_CARD_SIM_INTERFACE_REQUESTS_H
#define TESTS_CARD_SIM_INTERFACE_REQUESTS_H

#include <cstring>
#include <vector>

#include "uidb.h"

namespace sim {

inline uidb_create_msg create_message(u32 if_handle, u32 iftype, u32 parent, u32 port) {
    uidb_create_msg message = {};
    message.if_handle = if_handle;
    message.iftype = iftype;
    message.parent_ifh = parent;
    message.channel_map = port;
    return message;
}

inline uidb_feature feature(u32 id, u32 value, u16 qualifier = 0) {
    uidb_feature record = {};
    record.qualifier = qualifier;
    record.feature_id = id;
    record.value = value;
    return record;
}

// Sends one message with these records.
inline u32 set_features(u32 if_handle, const std::vector<uidb_feature> &records) {
    std::vector<char> message(sizeof(uidb_client_data) + records.size() * sizeof(uidb_feature));
    const uidb_client_data head = {if_handle, static_cast<u16>(records.size()),
                                   static_cast<u16>(records.size() * sizeof(uidb_feature))};
    std::memcpy(message.data(), &head, sizeof head);
    std::memcpy(message.data() + sizeof head, records.data(), records.size() * sizeof(uidb_feature));
    return uidb_set_feature(UIDB_CLIENT_COOKIE, reinterpret_cast<uidb_client_data *>(message.data()));
}

}  // namespace sim

#endif
