// Interfaces and statistics of the simulated card beside a plain hash map: see table_measure.h.
#include "bench/card/table_measure.h"

namespace {

using bench::ClientOnCard;

constexpr u32 kMain = 0x8000088, kFirstSub = 0x9000000;

// Sub-interfaces; the change sets the MTU. There are at most 65,535 indices.
struct Interfaces {
    static constexpr const char *kName = "interfaces";
    static constexpr bool kChanges = true, kRemoves = true;
    using Key = u32;
    using Payload = sim::Interface;

    explicit Interfaces(ClientOnCard &) {
        create.iftype = UIDB_IFTYPE_SUB_INTERFACE;
        create.parent_ifh = kMain;
        create.channel_map = 1;
        set.head = {0, 1, sizeof(uidb_feature)};
        set.features[0].qualifier = UIDB_QUALIFIER_IP_MTU;
        set.features[0].feature_id = UIDB_FEATURE_IP_MTU;
        set.features[0].value = 1500;
    }
    static sim::Inventory inventory(u32 count) {
        sim::Inventory inventory;
        inventory.interfaces = {{.handle = kMain, .kind = sim::InterfaceKind::MAIN, .np_port = 1}};
        inventory.limits[sim::Resource::interface].limit = count + 1;
        return inventory;
    }
    static Key key(u32 i) { return kFirstSub + i; }
    bool add(ClientOnCard &, u32 i) {
        create.if_handle = key(i);
        return uidb_create_interface(UIDB_CLIENT_COOKIE, &create) == CERR_SUCCESS;
    }
    bool change(ClientOnCard &, u32 i) {
        set.head.if_handle = key(i);
        return uidb_set_feature(UIDB_CLIENT_COOKIE, &set.head) == CERR_SUCCESS;
    }
    bool remove(ClientOnCard &, u32 i) {
        return uidb_delete_interface(UIDB_CLIENT_COOKIE, key(i)) == CERR_SUCCESS;
    }

    uidb_create_msg create = {};
    uidb_client_data_of<1> set = {};
};

// Statistics pointers; clients do not give them back one by one.
struct Statistics {
    static constexpr const char *kName = "statistics";
    static constexpr bool kChanges = false, kRemoves = false;
    using Key = u32;
    struct Payload {};

    explicit Statistics(ClientOnCard &) {}
    static sim::Inventory inventory(u32 count) {
        sim::Inventory inventory;
        inventory.limits[sim::Resource::statistics].limit = count;
        return inventory;
    }
    static Key key(u32 i) { return i; }
    bool add(ClientOnCard &on, u32) {
        u32 count = 1, pointer;
        return prm_stats_cl_alloc(on.client, PRM_STATS_INGRESS, PRM_STATS_CLASS_INTERFACE, 2, &count,
                                  &pointer) == CERR_SUCCESS;
    }
};

}  // namespace

int main() {
    bench::print_heading();
    for (u32 count : {1000u, 10000u, 60000u}) bench::print_row<Interfaces>(count);
    for (u32 count : {1000u, 100000u, 1000000u}) bench::print_row<Statistics>(count);
    return 0;
}
