// Bases of the numbers typed for the VXLAN cases: "10" in every field of every kind of line, and in the first
// of a list and after it.
#include "prm_kiv_vxlan.h"
#include "tests/standin/suite_test.h"

namespace {

using standin::run;

class VxlanBasesTest : public SuiteTest {
  protected:
    template <class Entry>
    static Entry read(int (*reader)(Entry *), const char *line) {
        Entry entry = {};
        standin::standard_input(line);
        EXPECT_EQ(run([&] { return reader(&entry); }), 1);
        return entry;
    }
};

TEST_F(VxlanBasesTest, IdsAreDecimalAndAddressesHexadecimal) {
    const auto bd = read(prm_kiv_util_get_vxlan_bd_params, "10,10,10\n");
    EXPECT_EQ(bd.bd_id, 10u);
    EXPECT_EQ(bd.vni, 10u);
    EXPECT_EQ(bd.source_vtep, 0x10u);

    const auto ac = read(prm_kiv_util_get_ac_params, "10,10\n");
    EXPECT_EQ(ac.bd_id, 10u);
    EXPECT_EQ(ac.uidb_index, 10);

    const auto vsp = read(prm_kiv_util_get_vsp_ac_params, "10,10,10\n");
    EXPECT_EQ(vsp.bd_id, 10u);
    EXPECT_EQ(vsp.ac_xid, 0x10u);
    EXPECT_EQ(vsp.uidb_index, 10);

    const auto ole = read(prm_kiv_util_get_ole_params, "10,10,10\n");
    EXPECT_EQ(ole.bd_id, 10u);
    EXPECT_EQ(ole.remote_vtep, 0x10u);
    EXPECT_EQ(ole.nh_id, 10u);

    const auto vplag = read(prm_kiv_util_get_vplag_params, "10;10;2;10,10;10,10\n");
    EXPECT_EQ(vplag.source_vtep, 0x10u);
    EXPECT_EQ(vplag.vplag_id, 10u);
    for (int i : {0, 1}) {
        EXPECT_EQ(vplag.nh_id[i], 10u);
        EXPECT_EQ(vplag.remote_vtep[i], 0x10u);
    }
    std::string list = "10";
    for (int i = 1; i < 10; ++i) list += ",10";
    EXPECT_EQ(read(prm_kiv_util_get_vplag_params, ("1;1;10;" + list + ";" + list + "\n").c_str()).num_paths,
              10u);

    const auto mac = read(prm_kiv_util_get_mac_params, "10:10:10:10:10:10,10,10,10\n");
    EXPECT_EQ(mac.mac[0], 0x10);
    EXPECT_EQ(mac.mac[5], 0x10);
    EXPECT_EQ(mac.bd_id, 10u);
    EXPECT_EQ(mac.type, 10u);
    EXPECT_EQ(mac.fec, 10u);
    EXPECT_EQ(read(prm_kiv_util_get_mac_params, "1:2:3:4:5:6,1,1,10\n").fec, 0x10u);

    const auto shg = read(prm_kiv_util_get_shg_df_params, "10,10,10\n");
    EXPECT_EQ(shg.address_or_vni, 0x10u);
    EXPECT_EQ(shg.if_handle, 0x10u);
    EXPECT_EQ(shg.is_shg, 10u);
}

}  // namespace
