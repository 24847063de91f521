// A fixture that sends requests to the interface database.
#ifndef TESTS_CARD_SIM_INTERFACE_TEST_H
#define TESTS_CARD_SIM_INTERFACE_TEST_H

#include <vector>

#include "tests/card/sim/card_test.h"
#include "tests/card/sim/interface_requests.h"

namespace sim {

inline constexpr u32 kNewSub = 0x8002010, kNewBundle = 0x800B000, kBvi = 0x800004C;
inline constexpr uintptr_t kCookie = UIDB_CLIENT_COOKIE;

class InterfaceTest : public CardTest {
  protected:
    using CardTest::CardTest;

    u32 create(u32 if_handle, u32 iftype, u32 parent, u32 port, u16 *uidb = nullptr) {
        uidb_create_msg message = create_message(if_handle, iftype, parent, port);
        const u32 status = uidb_create_interface(kCookie, &message);
        if (uidb != nullptr) *uidb = message.uidb_index;
        return status;
    }
    u32 create_sub(u32 if_handle = kNewSub, u32 parent = kMainA) {
        return create(if_handle, UIDB_IFTYPE_SUB_INTERFACE, parent, 5);
    }

    u32 set(u32 if_handle, const std::vector<uidb_feature> &records) {
        return set_features(if_handle, records);
    }
    u32 set(u32 if_handle, u32 id, u32 value, u16 qualifier = 0) {
        return set(if_handle, {feature(id, value, qualifier)});
    }
    u32 lag(u32 op, u8 lag_id, std::vector<u16> ports, u32 *call_status = nullptr) {
        uidb_lag_update update = {};
        update.lag_id = lag_id;
        update.lag_op = op;
        update.lag_status = 0xAAAAAAAA;
        update.member_count = static_cast<u8>(ports.size());
        for (size_t i = 0; i < ports.size() && i < UIDB_LAG_MAX_MEMBERS; ++i) update.members[i] = ports[i];
        const u32 status = uidb_update_lag(kCookie, &update);
        if (call_status != nullptr) *call_status = status;
        return status != 0 ? status : update.lag_status;
    }
    u32 allocate_statistics(u32 direction) {
        u32 count = 1, pointer = 0;
        EXPECT_EQ(prm_stats_cl_alloc(client, direction, PRM_STATS_CLASS_INTERFACE, 2, &count, &pointer), 0u);
        return pointer;
    }
    const Interface &at(u32 if_handle) const { return *card.interfaces.table.find(if_handle); }
};

}  // namespace sim

#endif
