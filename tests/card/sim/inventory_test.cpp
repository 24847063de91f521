// Reading of card.toml: what it says, and one clear message for everything that is wrong.
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/card/sim/card_test.h"

namespace sim {
namespace {

TEST(InventoryTest, ReadsEverything) {
    Inventory inventory;
    std::string error;
    ASSERT_TRUE(parse_inventory(R"(
[card]
type = 0x1e1001
veltora_family = true
ports = 32
np_local_ports = [24, 8]

[limits]
interface = 7

[[interface]]
handle = 0x8000088
kind = "main"
np_port = 3
uidb = 10

[[interface]]
handle = 0x800f110
kind = "sub"
parent = 0x8000088
layer2 = true
outer_vlan = 110
inner_vlan = 11

[[interface]]
handle = 0x800a000
kind = "bundle"
lag_id = 10

[[interface]]
handle = 0x800a110
kind = "sub"
parent = 0x800a000
)",
                                "card.toml", &inventory, &error))
        << error;
    EXPECT_EQ(inventory.card_type, 0x1E1001u);
    EXPECT_TRUE(inventory.veltora_family);
    EXPECT_EQ(inventory.ports, 32u);
    EXPECT_THAT(inventory.np_local_ports, ::testing::ElementsAre(24, 8));
    EXPECT_EQ(inventory.limits[Resource::interface].limit, 7u);
    ASSERT_EQ(inventory.interfaces.size(), 4u);
    EXPECT_EQ(inventory.interfaces[0].uidb, 10);
    EXPECT_EQ(inventory.interfaces[1].np_port, 3) << "its parent's";
    EXPECT_TRUE(inventory.interfaces[1].layer2);
    EXPECT_EQ(inventory.interfaces[1].inner_vlan, 11);
    EXPECT_TRUE(inventory.interfaces[3].in_bundle);
    EXPECT_EQ(inventory.interfaces[3].lag_id, 10) << "its parent's";

    const Card card(inventory);
    EXPECT_EQ(card.accounts[Resource::interface].used, 4u);
    EXPECT_EQ(card.interfaces.handle_of_uidb(10), 0x8000088u);
    EXPECT_EQ(card.interfaces.table.find(0x8000088)->sub_interfaces, 1u);
    EXPECT_EQ(card.interfaces.bundles.users(10), 1u);
}

TEST(InventoryTest, OwnersAndThePlacesWherePoolsBeginAreItsOwn) {
    Inventory inventory;
    std::string error;
    ASSERT_TRUE(parse_inventory(R"(
[card]
owners = [11, 12]
[limits]
next_hop = 5
[pools]
next_hop = 4294967291
tunnel = 4198
nr_ldi_index = 200100
label_index = 9
)",
                                "card.toml", &inventory, &error))
        << error;
    EXPECT_THAT(inventory.owners, ::testing::ElementsAre(11, 12));
    Card card(inventory);
    u32 index = 0;
    EXPECT_EQ(card.adjacency.next_hops.reserve(1, &index), 0u);
    EXPECT_EQ(index, 4294967291u);
    EXPECT_EQ(card.adjacency.tunnels.reserve(1, &index), 0u);
    EXPECT_EQ(index, 4198u);
    EXPECT_EQ(card.load_distribution.indices.reserve(1, &index), 0u);
    EXPECT_EQ(index, 200100u);
    EXPECT_EQ(card.label.indices.reserve(1, &index), 0u);
    EXPECT_EQ(index, 9u);
}

// The features that it says an inventory's interfaces need are those that a card of it has.
TEST(InventoryTest, AnInventoryThatFillsItsLimitsIsGood) {
    const std::string text = std::string("[limits]\ninterface = 3\nbundle = 1\nfeature = 9\n") + R"(
[[interface]]
handle = 1
kind = "bundle"
lag_id = 7
[[interface]]
handle = 2
kind = "sub"
parent = 1
[[interface]]
handle = 3
kind = "main"
np_port = 1
)";
    Inventory inventory;
    std::string error;
    ASSERT_TRUE(parse_inventory(text, "card.toml", &inventory, &error)) << error;
    const Card card(inventory);
    EXPECT_EQ(card.accounts[Resource::feature].used, 9u);
    EXPECT_EQ(card.accounts[Resource::bundle].used, 1u);
}

TEST(InventoryTest, AnEmptyFileIsACardWithoutInterfaces) {
    Inventory inventory;
    std::string error;
    EXPECT_TRUE(parse_inventory("", "card.toml", &inventory, &error));
    EXPECT_TRUE(inventory.interfaces.empty());
}

TEST(InventoryTest, AnEmptyFileIsReadFromDisk) {
    const std::string path = ::testing::TempDir() + "empty_card.toml";
    std::ofstream(path).close();
    Inventory inventory;
    std::string error;
    EXPECT_TRUE(load_inventory(path, &inventory, &error)) << error;
    std::filesystem::remove(path);
}

std::vector<std::string> problems(std::string_view text) {
    std::vector<std::string> lines;
    for (const InventoryProblem &problem : read_inventory(text).problems)
        lines.push_back(std::to_string(problem.line) + ": " + problem.field + ": " + problem.text);
    return lines;
}

TEST(InventoryTest, EverythingThatIsWrongIsNamed) {
    EXPECT_THAT(problems(R"([card]
ports = "many"
veltora_family = 1
[limits]
interfaces = 3
bundle = -1
[[interface]]
handle = 1
kind = "min"
np_prot = 3
[[interface]]
handle = "2"
kind = "main"
[extra]
)"),
                ::testing::UnorderedElementsAre(
                    "14: extra: unknown section", "2: card.ports: not a whole number",
                    "3: card.veltora_family: neither true nor false",
                    "5: limits.interfaces: unknown resource", "6: limits.bundle: -1 is not between 0 and 256",
                    "9: interface[0].kind: not one of \"main\", \"sub\", \"bundle\"",
                    "10: interface[0].np_prot: unknown field", "12: interface[1].handle: not a whole number",
                    "11: interface[1].np_port: missing"));
}

TEST(InventoryTest, WhatIsSoundIsReadBesideWhatIsNot) {
    const InventoryReading reading = read_inventory(R"(
[card]
ports = 300
[[interface]]
handle = 7
kind = "main"
np_port = 200
colour = "red"
[[interface]]
handle = 8
kind = "sub"
parent = 7
)");
    EXPECT_TRUE(reading.is_toml);
    ASSERT_EQ(reading.problems.size(), 2u) << "ports and colour; nothing that follows from them";
    ASSERT_EQ(reading.inventory.interfaces.size(), 2u);
    EXPECT_EQ(reading.inventory.interfaces[1].np_port, 200);
    EXPECT_FALSE(read_inventory("[card").is_toml);
}

struct Broken {
    const char *name;
    const char *text;
    const char *message;
};

class BrokenInventoryTest : public ::testing::TestWithParam<Broken> {};

TEST_P(BrokenInventoryTest, NamesFileLineAndField) {
    Inventory inventory;
    inventory.ports = 5;
    std::string error;
    EXPECT_FALSE(parse_inventory(GetParam().text, "site/card.toml", &inventory, &error));
    EXPECT_EQ(error, GetParam().message);
    EXPECT_EQ(inventory.ports, 5u) << "unchanged";
}

#define BUNDLE "[[interface]]\nhandle = 1\nkind = \"bundle\"\nlag_id = 7\n"
#define SUB "[[interface]]\nhandle = 2\nkind = \"sub\"\nparent = 1\n"
#define OTHER_SUB "[[interface]]\nhandle = 3\nkind = \"sub\"\nparent = 1\n"
#define MAIN "[[interface]]\nhandle = 1\nkind = \"main\"\nnp_port = 1\n"

INSTANTIATE_TEST_SUITE_P(
    All, BrokenInventoryTest,
    ::testing::Values(
        Broken{"NotANumber", "[card]\nports = \"many\"\n",
               "site/card.toml:2: card.ports: not a whole number"},
        Broken{"OutOfRange", "[card]\n\nports = 257\n",
               "site/card.toml:3: card.ports: 257 is not between 1 and 256"},
        Broken{"Negative", "[card]\ntype = -1\n",
               "site/card.toml:2: card.type: -1 is not between 0 and 4294967295"},
        Broken{"NotAFlag", "[card]\nveltora_family = 1\n",
               "site/card.toml:2: card.veltora_family: neither true nor false"},
        Broken{"UnknownField", "[card]\nprots = 3\n", "site/card.toml:2: card.prots: unknown field"},
        Broken{"UnknownTable", "[crad]\nports = 3\n", "site/card.toml:1: crad: unknown section"},
        Broken{"NotATable", "card = 3\n", "site/card.toml:1: card: not a table"},
        Broken{"LocalPortsNoList", "[card]\nnp_local_ports = 48\n",
               "site/card.toml:2: card.np_local_ports: not a list with one number of ports per NP"},
        Broken{"LocalPortsTooMany", "[card]\nnp_local_ports = [48, 300]\n",
               "site/card.toml:2: card.np_local_ports: 300 is not between 0 and 255"},
        Broken{"UnknownLimit", "[limits]\ninterfaces = 3\n",
               "site/card.toml:2: limits.interfaces: unknown resource"},
        Broken{"LimitTooLarge", "[limits]\nnext_hop = 99999999\n",
               "site/card.toml:2: limits.next_hop: 99999999 is not between 0 and 16777216"},
        Broken{"MoreInterfacesThanIndices", "[limits]\ninterface = 65535\n",
               "site/card.toml:2: limits.interface: 65535 is not between 0 and 65534"},
        Broken{"MoreMirrorSessionsThanTheCardHas", "[limits]\nmirror_session = 8\n",
               "site/card.toml:2: limits.mirror_session: 8 is not between 0 and 4"},
        Broken{"MoreBundlesThanIds", "[limits]\nbundle = 257\n",
               "site/card.toml:2: limits.bundle: 257 is not between 0 and 256"},
        Broken{"UnknownPool", "[pools]\nnext_hops = 3\n", "site/card.toml:2: pools.next_hops: unknown pool"},
        Broken{"PoolBeginsAtNothing", "[pools]\ntunnel = 0\n",
               "site/card.toml:2: pools.tunnel: 0 is not between 1 and 4294901760"},
        Broken{"PoolGoesPastTheLastIndex", "[limits]\nnext_hop = 10\n[pools]\nnext_hop = 4294967287\n",
               "site/card.toml:4: pools.next_hop: 4294967287 is not between 1 and 4294967286"},
        Broken{"PoolGoesPastTheLastPointer", "[pools]\nnr_ldi_index = 67108000\n",
               "site/card.toml:2: pools.nr_ldi_index: 67108000 is not between 1 and 66060288"},
        Broken{"PoolNoNumber", "[pools]\nlabel_index = \"1\"\n",
               "site/card.toml:2: pools.label_index: not a whole number"},
        Broken{"NoOwners", "[card]\nowners = []\n",
               "site/card.toml:2: card.owners: not a list with at least one owner"},
        Broken{"OwnerNoNumber", "[card]\nowners = [10, \"me\"]\n",
               "site/card.toml:2: card.owners: not a whole number"},
        Broken{"MoreLocalPortsThanPorts", "[card]\nports = 64\nnp_local_ports = [48, 48]\n",
               "site/card.toml:3: card.np_local_ports: 96 ports in all, card.ports is 64"},
        Broken{"TypeWithAPortThatIsNotThere", "[card]\ntype = 0x1e1001\nports = 64\n",
               "site/card.toml:2: card.type: 0x1e1001 has a port 81, card.ports is 64"},
        Broken{"InterfaceNoList", "[interface]\nhandle = 1\n",
               "site/card.toml:1: interface: not a list of [[interface]] tables"},
        Broken{"NoKind", "[[interface]]\nhandle = 1\n", "site/card.toml:1: interface[0].kind: missing"},
        Broken{"UnknownKind", "[[interface]]\nkind = \"bvi\"\n",
               "site/card.toml:2: interface[0].kind: not one of \"main\", \"sub\", \"bundle\""},
        Broken{"NoHandle", "[[interface]]\nkind = \"main\"\nnp_port = 1\n",
               "site/card.toml:1: interface[0].handle: missing"},
        Broken{"NoPort", "[[interface]]\nhandle = 1\nkind = \"main\"\n",
               "site/card.toml:1: interface[0].np_port: missing"},
        Broken{"PortNotThere", "[card]\nports = 4\n[[interface]]\nhandle = 1\nkind = \"main\"\nnp_port = 4\n",
               "site/card.toml:6: interface[0].np_port: 4 is not between 0 and 3"},
        Broken{"NoParent", "[[interface]]\nhandle = 1\nkind = \"sub\"\n",
               "site/card.toml:1: interface[0].parent: missing"},
        Broken{"UnknownParent", MAIN "[[interface]]\nhandle = 2\nkind = \"sub\"\nparent = 9\n",
               "site/card.toml:8: interface[1].parent: 0x9 is no main or bundle interface above it"},
        Broken{"ParentOfMain", MAIN "[[interface]]\nhandle = 2\nkind = \"main\"\nnp_port = 2\nparent = 1\n",
               "site/card.toml:9: interface[1].parent: only a sub-interface has one"},
        Broken{"HandleTwice", MAIN MAIN, "site/card.toml:6: interface[1].handle: 0x1 is there twice"},
        Broken{"IndexTwice",
               MAIN "uidb = 4\n[[interface]]\nhandle = 2\nkind = \"main\"\nnp_port = 2\nuidb = 4\n",
               "site/card.toml:10: interface[1].uidb: 4 is there twice"},
        Broken{"IndexOfTheBvi", MAIN "uidb = 4064\n",
               "site/card.toml:5: interface[0].uidb: 4064 is that of the bridged virtual interface"},
        Broken{"IndexOfAFailedLookup", MAIN "uidb = 65535\n",
               "site/card.toml:5: interface[0].uidb: 65535 is not between 1 and 65534"},
        Broken{"PortTwice", MAIN "[[interface]]\nhandle = 2\nkind = \"main\"\nnp_port = 1\n",
               "site/card.toml:8: interface[1].np_port: 1 is there twice"},
        Broken{"BundleTwice", BUNDLE "[[interface]]\nhandle = 2\nkind = \"bundle\"\nlag_id = 7\n",
               "site/card.toml:8: interface[1].lag_id: 7 is there twice"},
        Broken{"EncapsulationTwice",
               MAIN SUB "outer_vlan = 7\ninner_vlan = 8\n" OTHER_SUB "outer_vlan = 7\ninner_vlan = 8\n",
               "site/card.toml:15: interface[2].outer_vlan: 7.8 is the encapsulation of 0x2"},
        Broken{"InnerWithoutOuter", MAIN SUB "inner_vlan = 8\n",
               "site/card.toml:9: interface[1].inner_vlan: 8 without an outer VLAN"},
        Broken{"ReservedVlan", MAIN SUB "outer_vlan = 4095\n",
               "site/card.toml:9: interface[1].outer_vlan: 4095 is not between 0 and 4094"},
        Broken{"PortNotTheParents", MAIN SUB "np_port = 2\n",
               "site/card.toml:9: interface[1].np_port: 2 is not its parent's, 1"},
        Broken{"PortBelowABundle", BUNDLE SUB "np_port = 2\n",
               "site/card.toml:9: interface[1].np_port: a sub-interface of a bundle has none"},
        Broken{"BundleNotTheParents", BUNDLE SUB "lag_id = 8\n",
               "site/card.toml:9: interface[1].lag_id: 8 is not its parent's, 7"},
        Broken{"BundleBelowAPort", MAIN SUB "lag_id = 8\n",
               "site/card.toml:9: interface[1].lag_id: its parent is no bundle"},
        Broken{"VlanOfAPort", MAIN "outer_vlan = 7\n",
               "site/card.toml:5: interface[0].outer_vlan: only a sub-interface has one"},
        Broken{"BundleOfAPort", MAIN "lag_id = 7\n",
               "site/card.toml:5: interface[0].lag_id: only a bundle has one"},
        Broken{"PortOfABundle", BUNDLE "np_port = 7\n",
               "site/card.toml:5: interface[0].np_port: a bundle has none"},
        Broken{"TooManyBundles", "[limits]\nbundle = 0\n" BUNDLE,
               "site/card.toml:3: interface: 1 bundles, limits.bundle is 0"},
        Broken{"TooManyFeatures", "[limits]\nfeature = 6\n" MAIN SUB,
               "site/card.toml:3: interface: 7 features, limits.feature is 6"},
        Broken{"NoLagId", "[[interface]]\nhandle = 1\nkind = \"bundle\"\n",
               "site/card.toml:1: interface[0].lag_id: missing"},
        Broken{"TooManyInterfaces", "[limits]\ninterface = 0\n" MAIN,
               "site/card.toml:3: interface: 1 interfaces, limits.interface is 0"}),
    [](const ::testing::TestParamInfo<Broken> &info) { return std::string(info.param.name); });

TEST(InventoryTest, ASyntaxErrorNamesFileAndLine) {
    Inventory inventory;
    std::string error;
    EXPECT_FALSE(parse_inventory("[card]\ntype = = 3\n", "card.toml", &inventory, &error));
    EXPECT_THAT(error, ::testing::StartsWith("card.toml:2: "));
}

TEST(InventoryTest, AMissingFileIsOneMessage) {
    Inventory inventory;
    std::string error;
    EXPECT_FALSE(load_inventory("/nowhere/card.toml", &inventory, &error));
    EXPECT_EQ(error, "/nowhere/card.toml: missing: without it the simulated card has no interfaces");
}

TEST(InventoryTest, ADirectoryIsNoFile) {
    Inventory inventory;
    std::string error;
    EXPECT_FALSE(load_inventory(std::filesystem::temp_directory_path(), &inventory, &error));
    EXPECT_THAT(error, ::testing::EndsWith(": cannot be read"));
}

TEST(InventoryTest, TheDefaultSiteHasWhatTheCasesNeed) {
    Inventory inventory;
    std::string error;
    ASSERT_TRUE(load_inventory(CARD_DEFAULT_SITE "/card.toml", &inventory, &error)) << error;
    Card card(inventory);
    for (u32 handle : {0x8000088, 0x800F110, 0x800A000, 0x800A110, 0x8000038}) {
        EXPECT_TRUE(card.interfaces.table.contains(handle)) << std::hex << handle;
    }
    EXPECT_EQ(card.interfaces.handle_of_uidb(6), 0x8000038u);
    for (u32 port : {20, 33, 3, 0, 1, 10, 11, 12, 13}) EXPECT_TRUE(has_port(card, port)) << port;
    EXPECT_FALSE(has_port(card, 500));
}

}  // namespace
}  // namespace sim
