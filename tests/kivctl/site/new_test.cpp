// A new site: every file that the suite reads, with values that fit each other, and nothing written over.
#include "kivctl/site/new.h"

#include <algorithm>

#include "card/sim/inventory.h"
#include "kivctl/site/formats.h"
#include "tests/kiv/reports/report_test.h"
#include "tests/kivctl/site/site_test.h"

namespace kivctl::test {
namespace {

using testing::StartsWith;

class NewSiteTest : public SiteTest {
  protected:
    std::string text(const std::string &name) const { return kiv_test::read_text(path(name)); }
    std::string error_;
    std::vector<std::string> written_;
};

TEST_F(NewSiteTest, EveryFileIsTold) {
    ASSERT_TRUE(new_site(directory_.path("other"), &written_, &error_));
    std::vector<std::string> there;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(directory_.path("other")))
        if (entry.is_regular_file()) there.push_back(entry.path());
    std::sort(there.begin(), there.end());
    std::sort(written_.begin(), written_.end());
    EXPECT_EQ(written_, there);
}

TEST_F(NewSiteTest, AFileForEveryReaderAndAScriptForEveryCaseThatHasOne) {
    for (const CaseFormat &format : case_formats()) {
        const std::string folder = "cases/" + std::string(format.folder) + "/";
        for (const Reader *const reader : format.readers)
            EXPECT_NE(text(reader->file == 0 ? "disk0/kiv_input_file" : folder + "kiv_tcs_input_file"), "")
                << format.name;
        EXPECT_EQ(text(folder + std::string(format.name) + "/stdin") != "",
                  format.input.script != Script::none)
            << format.name;
    }
}

TEST_F(NewSiteTest, OneFileServesEveryReaderOfAFolder) {
    EXPECT_EQ(text("disk0/kiv_input_file"),
              "NP_PORT:1,INTF_NAME:GigabitEthernet0/0/0/1,MAIN_IFH:8000088\n"
              "NP_PORT:2,INTF_NAME:GigabitEthernet0/0/0/2,MAIN_IFH:80000c8\n");
    EXPECT_EQ(text("cases/prm-kiv-l2/kiv_tcs_input_file"),
              "IFH:800f210,UIDB:20,OVLAN:310,IVLAN:0,OTPID:8100,ROVLAN:1310,RIVLAN:1410,ROTPID:88a8\n"
              "IFH:800f220,UIDB:21,OVLAN:320,IVLAN:0,OTPID:8100,ROVLAN:1320,RIVLAN:1420,ROTPID:88a8\n");
    EXPECT_EQ(text("cases/prm-kiv-l3-bdl/kiv_tcs_input_file"),
              "BDL_IFH:800c000,LAG_ID:31,SUB_IFH:800c110,OVLAN:110,IVLAN:0,OTPID:8100\n"
              "BDL_IFH:800c000,LAG_ID:31,SUB_IFH:800c120,OVLAN:120,IVLAN:20,OTPID:88a8\n");
    EXPECT_EQ(
        text("cases/prm-kiv-l2-vpls/kiv_tcs_input_file"),
        "IFH:800f210,UIDB:20,BD-ID:500,ING-DIS:0,EGR-DIS:0,MAC_MOVE_SEC_ENABLED:1,MAC_MOVE_SEC_ACTION:2,"
        "MAC_LEARN_ENABLE:1\n");
}

TEST_F(NewSiteTest, ScriptsOfEachKind) {
    EXPECT_EQ(text("cases/span/manual/prm_kiv_span_port_add/stdin"), "2\n8000088\n0\n0\n80000c8\n2\n0\n");
    EXPECT_EQ(text("cases/span/session/prm_kiv_span_session_destroy_when_port_present/stdin"),
              "8000088\n80000c8\n8000108\n8000148\n");
    EXPECT_EQ(text("cases/span/port/prm_kiv_span_port_add_delete/stdin"), "2\n8000088\n80000c8\n");
    EXPECT_EQ(text("cases/prm-kiv-vxlan/tc_kiv_vxlan_ole_add/stdin"), "500,c0a80202,100500\n");
    EXPECT_EQ(text("cases/prm-kiv-vxlan/tc_kiv_vxlan_vplag_add/stdin"),
              "c0a80101;1;2;100500,100501;c0a80202,c0a80303\n");
    EXPECT_EQ(text("cases/prm-kiv-vxlan/tc_kiv_evpn_mac_install/stdin"), "00:1b:2c:3d:4e:01,500,0,100500\n");
    EXPECT_EQ(text("cases/prm-kiv-vxlan/tc_kiv_fpem_shg_df_add/stdin"), "c0a80202,8000088,1\n");
}

TEST_F(NewSiteTest, ARewriteFromOneTagToTwoHasACircuitWithTwoTags) {
    EXPECT_EQ(text("cases/prm-kiv-l2/tc_kiv_xconnect_rw_st_push1_dt_norw/kiv_tcs_input_file"),
              "IFH:800f210,UIDB:20,OVLAN:310,IVLAN:0,OTPID:8100,ROVLAN:1310,RIVLAN:1410,ROTPID:88a8\n"
              "IFH:800f230,UIDB:22,OVLAN:330,IVLAN:33,OTPID:8100,ROVLAN:1320,RIVLAN:1420,ROTPID:88a8\n");
    EXPECT_EQ(text("cases/prm-kiv-vxlan/tc_kiv_vxlan_vsp_ac_bind/stdin"), "500,8001f4,23\n");
}

TEST_F(NewSiteTest, TheCardReadsItsInventory) {
    sim::Inventory inventory;
    EXPECT_TRUE(sim::load_inventory(path("card.toml"), &inventory, &error_)) << error_;
    EXPECT_EQ(inventory.interfaces.size(), 12u);
}

TEST_F(NewSiteTest, NothingIsWrittenOverWhatIsThere) {
    EXPECT_FALSE(new_site(path(), &written_, &error_));
    EXPECT_EQ(error_, path() + ": is there already and not an empty directory");
    const std::string file = directory_.write("file", "mine");
    EXPECT_FALSE(new_site(file, &written_, &error_));
    EXPECT_EQ(error_, file + ": is there already and not an empty directory");
    EXPECT_EQ(kiv_test::read_text(file), "mine");
    EXPECT_TRUE(written_.empty());
}

TEST_F(NewSiteTest, AnEmptyDirectoryIsTaken) {
    std::filesystem::create_directories(directory_.path("empty"));
    EXPECT_TRUE(new_site(directory_.path("empty"), &written_, &error_)) << error_;
}

TEST_F(NewSiteTest, AFileThatCannotBeWrittenIsNamed) {
    EXPECT_FALSE(new_site("/proc/site", &written_, &error_));
    EXPECT_THAT(error_, StartsWith("/proc/site/"));
    EXPECT_TRUE(written_.empty());
}

}  // namespace
}  // namespace kivctl::test
