// The state as a document: what is programmed stands in it by name, references with where they end, and the
// accounts agree with the entries.
#include "card/state/state.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "prm_mgr.h"
#include "prm_srh_l2.h"
#include "tests/card/sim/forwarding_requests.h"
#include "tests/card/sim/hal_requests.h"
#include "tests/card/sim/interface_requests.h"
#include "tests/card/sim/tcam_request.h"

namespace sim {
namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

class StateTest : public CardTest {
  protected:
    StateTest() : directory_(fs::temp_directory_path() / ("card-state-" + std::to_string(getpid()))) {
        fs::create_directories(directory_);
    }
    ~StateTest() override { fs::remove_all(directory_); }

    std::string path(const std::string &name) const { return directory_ / name; }

    std::string written(const card::StateMoment &moment = {}) {
        std::string error;
        EXPECT_TRUE(card::write_state_file(card, moment, path("state.json"), &error)) << error;
        std::ifstream file(path("state.json"));
        return {std::istreambuf_iterator<char>(file), {}};
    }
    Json state() { return Json::parse(written()); }
    Json entries(const std::string &family) { return state()["families"][family]["entries"]; }
    // The one entry of a family.
    Json entry(const std::string &family) {
        const Json all = entries(family);
        EXPECT_EQ(all.size(), 1u) << all;
        return all.empty() ? Json() : all[0];
    }

    void bind(u32 uidb, u32 bd_id) {
        prm_xid_request request = {};
        request.kind = PRM_L2_REQUEST_KIND;
        request.xid_type = PRM_XID_TYPE_CIRCUIT;
        request.object_code = PRM_L2_OBJECT_CIRCUIT;
        request.flags88 = PRM_XID_88_MAC_LEARN_ENABLE;
        request.flags89 = PRM_XID_89_BIT6;
        request.xid_kind = PRM_XID_KIND_AC;
        request.bd_id = bd_id;
        request.member_uidb = uidb;
        ASSERT_EQ(prm_srh_xid_add(client, &request), 0u);
    }
    void add_domain(u32 bd_id) {
        prm_bd_request request = {};
        request.kind = PRM_L2_REQUEST_KIND;
        request.xid_type = PRM_XID_TYPE_BRIDGE_DOMAIN;
        request.object_code = PRM_L2_OBJECT_BRIDGE_DOMAIN;
        request.bd_id = bd_id;
        ASSERT_EQ(prm_srh_bd_add(client, &request), 0u);
    }
    // An adjacency out of kMainA, a load-distribution entry over it, and a route at that.
    void add_chain(u32 address, u32 pointer, u32 nh) {
        prm_tx_adj adj = adjacency(nh);
        adj.uidb = 40;
        ASSERT_EQ(prm_srh_tx_adj_add(client, &adj), 0u);
        prm_nr_ldi entry = ldi(pointer, nh);
        ASSERT_EQ(prm_srh_nr_ldi_add(client, &entry), 0u);
        zor_leaf_request leaf = ipv4_leaf(address);
        leaf.payload.flags0 = ZOR_LEAF_LDI;
        leaf.payload.ldi_ptr = pointer;
        ASSERT_EQ(zor_vop_prm_srh_ipv4_leaf_add(client, &leaf), 0u);
    }

  private:
    fs::path directory_;
};

TEST_F(StateTest, BeginsWithFormatRunAndCard) {
    const Json document = Json::parse(written({3, "span/session"}));
    EXPECT_EQ(document["format"], 1);
    EXPECT_EQ(document["kind"], "card state");
    EXPECT_EQ(document["run"], Json::parse(R"({"worker": 3, "after": "span/session"})"));
    EXPECT_EQ(document["card"]["type"], "0x1e1002");
    EXPECT_EQ(document["card"]["ports"], 64);
    EXPECT_EQ(document["card"]["mirroring"], false);
}

TEST_F(StateTest, TellsInterfacesWithEncapsulationAndFeatures) {
    uidb_client_data_of<2> message = {};
    message.head = {kL2Sub, 2, 2 * sizeof(uidb_feature)};
    message.features[0].feature_id = UIDB_FEATURE_OUTER_TPID;
    message.features[0].value = 0x8100;
    message.features[1].feature_id = UIDB_FEATURE_REWRITE_OP;
    message.features[1].value = 16;
    ASSERT_EQ(uidb_set_feature(UIDB_CLIENT_COOKIE, &message.head), 0u);
    for (const Json &interface : entries("interfaces")) {
        if (interface["handle"] != "0x8001010") continue;
        EXPECT_EQ(interface["kind"], "sub");
        EXPECT_EQ(interface["uidb"], 41);
        EXPECT_EQ(interface["parent"], Json::parse(R"({"to": "interface 0x8000088"})"));
        EXPECT_EQ(interface["l2"], true);
        EXPECT_EQ(interface["outer_tpid"], "0x8100");
        EXPECT_EQ(interface["outer_vlan"], 100);
        EXPECT_EQ(interface["rewrite_op"], "push1");
        return;
    }
    FAIL() << "the interface is not told";
}

TEST_F(StateTest, FollowsARouteToTheInterfaceItLeavesBy) {
    add_chain(0x0A000001, 0x4000, 777);
    const Json leaf = entry("ipv4_leaves");
    EXPECT_EQ(leaf["vrf"], 0);
    EXPECT_EQ(leaf["prefix"], "10.0.0.1/32");
    EXPECT_EQ(leaf["flags0"], "ldi");
    EXPECT_EQ(leaf["ldi_ptr"]["to"], "ldi 0x4000");
    EXPECT_EQ(leaf["ldi_ptr"]["ends"], "next_hop 777, 00:00:b0:00:00:00 on interface 0x8000088");
    EXPECT_FALSE(leaf["ldi_ptr"].contains("dangling"));
    EXPECT_FALSE(leaf["ldi_ptr"].contains("ends_dangling"));
    const Json distribution = entry("load_distributions");
    EXPECT_EQ(distribution["users"], 1);
    EXPECT_EQ(distribution["paths"][0]["next_hop"]["to"], "next_hop 777");
}

TEST_F(StateTest, TellsEveryPathOfALoadDistributionEntry) {
    add_chain(0x0A000001, 0x4000, 777);
    prm_nr_ldi entry = ldi(0x4000, 777);
    for (u32 i = 0; i < 5; ++i) {
        const u32 nh = 780 + i;
        std::memcpy(entry.path_data + 8 + 4 * i, &nh, sizeof nh);
    }
    ASSERT_EQ(prm_srh_nr_ldi_add(client, &entry), 0u);
    const Json distribution = this->entry("load_distributions");
    ASSERT_EQ(distribution["paths"].size(), 6u);
    EXPECT_EQ(distribution["paths"][5]["next_hop"]["to"], "next_hop 784");
    EXPECT_EQ(distribution["ldi_valid"], true);
    const Json pointer = this->entry("ipv4_leaves")["ldi_ptr"];
    EXPECT_EQ(pointer["ends"],
              "next_hop 777, 00:00:b0:00:00:00 on interface 0x8000088; next_hop 780, no adjacency; "
              "next_hop 781, no adjacency; next_hop 782, no adjacency; and 2 more");
    EXPECT_EQ(pointer["ends_dangling"], true);
}

TEST_F(StateTest, ARecursiveLeafAtAnEntryNamesTheEntryAndOneNextHop) {
    add_chain(0x0A000001, 0x4000, 777);
    zor_leaf_request leaf = recursive(ipv4_leaf(0x0A000001), 0x4000, 778);
    leaf.payload.flags0 = ZOR_LEAF_LDI;
    ASSERT_EQ(zor_vop_prm_srh_ipv4_leaf_mod(client, &leaf), 0u);
    EXPECT_EQ(entry("ipv4_leaves")["ldi_ptr"]["to"], "ldi 0x4000");
    EXPECT_EQ(entry("ipv4_leaves")["ldi_ptr2"]["to"], "next_hop 778");
}

TEST_F(StateTest, TellsWhoseAStatisticsPointerIsAndWhatItCounted) {
    u32 count = 1, pointer = 0;
    ASSERT_EQ(prm_stats_cl_alloc(client, PRM_STATS_EGRESS, PRM_STATS_CLASS_MPLS, 2, &count, &pointer), 0u);
    Json told = entry("statistics");
    EXPECT_EQ(told["client"], entry("clients")["handle"]);
    EXPECT_FALSE(told.contains("packets"));
    card.statistics.counters.count(pointer, 1500);
    told = entry("statistics");
    EXPECT_EQ(told["packets"], 1);
    EXPECT_EQ(told["bytes"], 1500);
}

TEST_F(StateTest, MarksAPortOfABundlesSubInterfaceThatIsNoMember) {
    uidb_create_msg message = create_message(0x8009010, UIDB_IFTYPE_SUB_INTERFACE, kBundleIfh, 5);
    ASSERT_EQ(uidb_create_interface(0, &message), 0u);
    std::vector<uidb_feature> ports;
    for (const u8 port : {3, 4}) {
        ports.push_back(feature(UIDB_FEATURE_BUNDLE_SUBIF_PORT, port));
        ports.back().member_add = 1;
    }
    ASSERT_EQ(set_features(0x8009010, ports), 0u);
    card.interfaces.bundles.find(9)->members.set(4);
    for (const Json &interface : entries("interfaces")) {
        if (interface["handle"] != "0x8009010") continue;
        EXPECT_EQ(interface["bundle_members"],
                  Json::parse(R"([{"port": {"to": "member 3 of bundle 9", "dangling": true}},
                                  {"port": {"to": "member 4 of bundle 9"}}])"));
        return;
    }
    FAIL() << "the interface is not told";
}

TEST_F(StateTest, MarksAReferenceThatNamesNothingAndWhatEndsAtOne) {
    prm_nr_ldi lonely = ldi(0x4000, 100005);  // a next hop without an adjacency
    ASSERT_EQ(prm_srh_nr_ldi_add(client, &lonely), 0u);
    zor_leaf_request leaf = ipv4_leaf(0x0A000001);
    leaf.payload.flags0 = ZOR_LEAF_LDI;
    leaf.payload.ldi_ptr = 0x4000;
    ASSERT_EQ(zor_vop_prm_srh_ipv4_leaf_add(client, &leaf), 0u);
    EXPECT_EQ(entry("load_distributions")["paths"][0]["next_hop"],
              Json::parse(R"({"to": "next_hop 100005", "dangling": true})"));
    const Json pointer = entry("ipv4_leaves")["ldi_ptr"];
    EXPECT_FALSE(pointer.contains("dangling"));
    EXPECT_EQ(pointer["ends_dangling"], true);
    EXPECT_EQ(pointer["ends"], "next_hop 100005, no adjacency");

    prm_tx_adj nowhere = adjacency(778);
    nowhere.uidb = 999;
    ASSERT_EQ(prm_srh_tx_adj_add(client, &nowhere), 0u);
    EXPECT_EQ(entry("adjacencies")["uidb"], Json::parse(R"({"to": "uidb 999", "dangling": true})"));
}

TEST_F(StateTest, TellsARecursivePairAsNextHops) {
    prm_tx_adj adj = adjacency(778);
    adj.uidb = 40;
    ASSERT_EQ(prm_srh_tx_adj_add(client, &adj), 0u);
    zor_leaf_request leaf = ipv4_leaf(0x0A000001);
    leaf.payload.flags0 = ZOR_LEAF_DIRECT;
    leaf.payload.flags1 = ZOR_LEAF_RECURSIVE;
    leaf.payload.ldi_ptr = 778;
    leaf.payload.ldi_ptr2 = 779;
    ASSERT_EQ(zor_vop_prm_srh_ipv4_leaf_add(client, &leaf), 0u);
    const Json told = entry("ipv4_leaves");
    EXPECT_EQ(told["ldi_ptr"]["to"], "next_hop 778");
    EXPECT_EQ(told["ldi_ptr"]["ends"], "00:00:b0:00:00:00 on interface 0x8000088");
    EXPECT_EQ(told["ldi_ptr2"], Json::parse(R"({"to": "next_hop 779", "dangling": true})"));
}

TEST_F(StateTest, ResolvesALabelToItsAdjacency) {
    prm_tx_adj plain = adjacency(777), labelled = label_adjacency(777, 800);
    plain.uidb = labelled.uidb = 40;
    ASSERT_EQ(prm_srh_tx_adj_add(client, &plain), 0u);
    ASSERT_EQ(prm_srh_tx_adj_add(client, &labelled), 0u);
    prm_nr_ldi swap = swap_ldi(0x4000, 777, 800);
    ASSERT_EQ(prm_srh_nr_ldi_add(client, &swap), 0u);
    zor_label_request label = ldi_label(24000, 1, 0x4000);
    ASSERT_EQ(zor_vop_prm_srh_label_ufib_add(client, &label), 0u);
    const Json told = entry("labels");
    EXPECT_EQ(told["label"], 24000);
    EXPECT_EQ(told["eos"], 1);
    EXPECT_EQ(told["flags0"], "nr_ldi");
    EXPECT_EQ(told["label_ptr"]["ends"],
              "next_hop 777 labels 55002/55003 by next_hop 800, 00:00:b0:00:00:00 labels 55002/55003 on "
              "interface 0x8000088, over next_hop 777");
}

TEST_F(StateTest, ListsTheMembersOfABridgeDomain) {
    add_domain(5);
    bind(41, 5);
    const Json domain = entry("bridge_domains");
    EXPECT_EQ(domain["bd_id"], 5);
    EXPECT_EQ(domain["members"], Json::parse(R"(["uidb 41 on interface 0x8001010"])"));
    const Json circuit = entry("circuits");
    EXPECT_EQ(circuit["bridge_domain"]["to"], "bridge_domain 5");
    EXPECT_EQ(circuit["flags88"], "mac_learn_enable");
    EXPECT_EQ(circuit["interface"]["ends"], "interface 0x8001010");
}

TEST_F(StateTest, DecodesTcamEntries) {
    TcamRequest create(PRM_TCAM_FEATURE_ACL, PRM_TCAM_CREATE);
    create.value().src_ipv4 = prm_tcam_swap32(0x01010101);
    create.mask().src_ipv4 = prm_tcam_swap32(0xFFFFFF00);
    create.value().ttl = 9;
    create.mask().ttl = 0xFF;
    create.mask().protocol = 0xFF;  // protocol 0 alone
    prm_info statistics = {};
    statistics.opcode = PRM_TCAM_STATS_ALLOC;
    ASSERT_EQ(zor_vop_prm_tcam_vmr_stats_alloc(client, &statistics), 0u);
    create.acl().stats_id = statistics.stats_id;
    create.info.port_num = 9;
    ASSERT_EQ(zor_vop_prm_tcam_vmr_create(client, &create.info), 0u);
    card.tcam.count(statistics.stats_id, 64);
    EXPECT_EQ(entry("acl_statistics"),
              Json::parse(R"({"stats_id": 1, "packets": 1, "bytes": 64, "users": 1})"));
    EXPECT_EQ(entry("tcams")["feature"], "acl");
    EXPECT_EQ(entry("tcams")["port_num"], 9);
    EXPECT_EQ(entry("tcams")["word4"], 1);
    EXPECT_EQ(entry("tcams")["word312"], 1);
    const Json told = entry("tcam_entries");
    EXPECT_EQ(told["ace_index"], 0);
    EXPECT_EQ(told["match"],
              Json::parse(R"({"src_ipv4": "1.1.1.1 mask 255.255.255.0", "ttl": "9", "protocol": "0"})"));
    EXPECT_EQ(told["result"], Json::parse(R"({"stats_id": "1"})"));
}

TEST_F(StateTest, TellsQueuesPoliciesAndShaperWithWhatTheyCounted) {
    Classes classes(3);
    ASSERT_EQ(classes.configure(), 0u);
    Policies policies(2);
    policies[0].kind = WYK_HAL_POLICY_POLICER;
    policies[0].committed_rate = 80;
    ASSERT_EQ(policies.configure(), 0u);
    wyk_hal_default_queue request = {.port_index = 2, .word4 = 1, .word8 = 1000};
    wyk_hal_default_queue_response response = {};
    ASSERT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_DEFAULT_QUEUE_ALLOCATE, &request, &response), 0u);
    wyk_hal_port_shaper shaper = {};
    wyk_hal_policy_response shaped = {};
    shaper.reserved0[4] = 7;
    ASSERT_EQ(wyk_hal_wrapper_engine_op(WYK_HAL_PORT_SHAPER_CONFIGURE, &shaper, &shaped), 0u);
    card.traffic_manager.count(classes.ids(0).stats_id, 100);
    card.traffic_manager.count(policies.ids(0).stats_id + 1, 60);

    const Json queue = entries("queues")[0];
    EXPECT_EQ(queue["qos_group"], 7);
    EXPECT_EQ(queue["all"]["packets"], 1);
    EXPECT_EQ(queue["all"]["bytes"], 100);
    EXPECT_EQ(queue["committed"]["packets"], 0);
    EXPECT_EQ(queue["depth"], 1);
    EXPECT_EQ(entry("default_queues")["rate"], 1000);
    EXPECT_EQ(entry("default_queues")["dropped"]["bytes"], 0);
    const Json policer = entries("policies")[0], counter = entries("policies")[1];
    EXPECT_EQ(policer["exceed"]["bytes"], 60);
    EXPECT_EQ(policer["conform"]["packets"], 0);
    EXPECT_EQ(counter["conform"]["packets"], 0);
    EXPECT_FALSE(counter.contains("exceed")) << "a counter counts all alike";
    EXPECT_EQ(entry("port_shapers")["shaper"], "port");
}

TEST_F(StateTest, CountsEveryEntryThatAnAccountCounts) {
    add_chain(0x0A000001, 0x4000, 777);
    add_chain(0x0A000002, 0x4040, 778);
    add_domain(5);
    bind(41, 5);
    TcamRequest create(PRM_TCAM_FEATURE_QOS, PRM_TCAM_CREATE, 0, 0, 3);
    ASSERT_EQ(zor_vop_prm_tcam_vmr_create(client, &create.info), 0u);
    const Json document = state();
    const std::pair<const char *, const char *> pairs[] = {{"event_manager", "event_managers"},
                                                           {"connection", "connections"},
                                                           {"client", "clients"},
                                                           {"interface", "interfaces"},
                                                           {"bundle", "bundles"},
                                                           {"nr_ldi", "load_distributions"},
                                                           {"adjacency", "adjacencies"},
                                                           {"label", "labels"},
                                                           {"ipv4_leaf", "ipv4_leaves"},
                                                           {"ipv6_leaf", "ipv6_leaves"},
                                                           {"lpts", "lpts"},
                                                           {"circuit", "circuits"},
                                                           {"pseudowire", "pseudowires"},
                                                           {"bridge_domain", "bridge_domains"},
                                                           {"vplag", "vplags"},
                                                           {"shg_df", "shg_dfs"},
                                                           {"evpn_mac", "evpn_macs"},
                                                           {"overlay", "overlays"},
                                                           {"mirror_session", "mirror_sessions"},
                                                           {"mirror_source", "mirror_sources"},
                                                           {"tcam", "tcams"},
                                                           {"tcam_entry", "tcam_entries"},
                                                           {"statistics", "statistics"},
                                                           {"acl_statistics", "acl_statistics"},
                                                           {"policy", "policies"}};
    for (const auto &[account, family] : pairs) {
        EXPECT_EQ(document["families"][family]["entries"].size(), document["accounts"][account]["used"])
            << account;
    }
    EXPECT_EQ(document["accounts"].size(), std::size(card.accounts.rows));
}

TEST_F(StateTest, TellsIndicesThatAreReservedAndNamed) {
    prm_buddy_reserve request = reservation(0, 1);
    ASSERT_EQ(prm_srh_tx_adj_buddy_reserve(nullptr, &request), 0u);
    const u32 nh = request.index;
    ASSERT_EQ(prm_set_nh_idx_hw_pending(nh), 0u);
    Json expected = {
        {"pool", "next_hop"}, {"index", nh}, {"reserved", true}, {"named_by", 0}, {"pending", true}};
    EXPECT_EQ(entry("indices"), expected);
    prm_tx_adj adj = adjacency(nh);
    ASSERT_EQ(prm_srh_tx_adj_add(client, &adj), 0u);
    expected.erase("pending");
    expected["named_by"] = 1;
    EXPECT_EQ(entry("indices"), expected);
}

TEST_F(StateTest, IsTheSameWhateverOrderThingsWereProgrammedIn) {
    Card other(small_inventory());
    const auto program = [&](std::vector<u32> order) {
        for (const u32 i : order) {
            add_chain(0x0A000000 + i, 0x4000 + 64 * i, 700 + i);
            add_domain(i);
        }
    };
    program({1, 2, 3, 40, 5, 6});
    Json here = state();
    {
        const CurrentCard use_other(other);
        evm = event_manager_create(0, 0, 14, 0);
        ASSERT_EQ(prm_mgr_open(evm, 0, "client", ignore_notification, 7, 0, &connection), 0u);
        ASSERT_EQ(prm_srh_register(&client, 1, evm, ignore_notification), 0u);
        ASSERT_EQ(prm_srh_set_name(client, "client"), 0u);
        program({6, 40, 3, 1, 5, 2});
    }
    std::string error;
    ASSERT_TRUE(card::write_state_file(other, {}, path("other.json"), &error)) << error;
    std::ifstream file(path("other.json"));
    EXPECT_EQ(here, Json::parse(file));
}

TEST_F(StateTest, NamesOfAnyBytesStayReadable) {
    ASSERT_EQ(prm_srh_register(&client, 1, evm, ignore_notification), 0u);
    ASSERT_EQ(prm_srh_set_name(client, "a\"\\\n\xff"), 0u);
    const Json clients = entries("clients");
    ASSERT_EQ(clients.size(), 2u);
    EXPECT_EQ(clients[1]["name"], "a\"\\\n\u00ff");
}

TEST_F(StateTest, AFileIsReplacedWholeOrLeftAlone) {
    std::string error;
    // A directory cannot be replaced by a file.
    fs::create_directories(path("taken/inside"));
    EXPECT_FALSE(card::write_state_file(card, {}, path("taken"), &error));
    EXPECT_THAT(error, testing::HasSubstr(path("taken")));
    EXPECT_FALSE(fs::exists(path("taken.tmp")));
    EXPECT_TRUE(fs::exists(path("taken/inside")));
    EXPECT_FALSE(card::write_state_file(card, {}, path("none/state.json"), &error));
    EXPECT_THAT(error, testing::HasSubstr("No such file or directory"));
}

TEST_F(StateTest, WritingToAFullDeviceFails) {
    const int fd = open("/dev/full", O_WRONLY);
    ASSERT_GE(fd, 0);
    card::JsonWriter json(fd);
    card::write_state(card, {}, json);
    EXPECT_FALSE(json.finish());
    EXPECT_EQ(json.error(), ENOSPC);
    close(fd);
}

}  // namespace
}  // namespace sim
