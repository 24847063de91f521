// Memory of the interface-database messages: as large as what is sent, and given back.
#include "prm_kiv_bvi.h"
#include "prm_kiv_lag.h"
#include "prm_kiv_span.h"
#include "prm_kiv_subif.h"
#include "prm_kiv_uidb.h"
#include "prm_kiv_xconnect.h"
#include "tests/standin/suite_test.h"

namespace {

using testing::ElementsAre;

class MessagesTest : public SuiteTest {
  protected:
    // What is allocated at each call that carries a message.
    static std::vector<size_t> sizes_in(const std::function<int()> &step) {
        std::vector<size_t> sizes;
        for (const char *operation : {"uidb_create_interface", "uidb_create_interface_batch",
                                      "uidb_set_feature", "uidb_set_feature_batch"})
            standin::on(operation).does([&](standin::Call &) { sizes.push_back(standin::live_bytes()); });
        standin::run(step);
        EXPECT_EQ(standin::live_bytes(), 0u);
        return sizes;
    }
};

TEST_F(MessagesTest, EachIsAsLargeAsItsHeadAndRecords) {
    EXPECT_THAT(sizes_in(tc_kiv_uidb_l2_enable), ElementsAre(60u));
    EXPECT_THAT(sizes_in(tc_kiv_update_mainif_mtu), ElementsAre(60u));
    EXPECT_THAT(sizes_in(tc_kiv_uidb_ipv4_enable), ElementsAre(100u));
    EXPECT_THAT(sizes_in([] { return static_cast<int>(kiv_util_create_single_interface(1, 2, 3)); }),
                ElementsAre(108u));
    EXPECT_THAT(sizes_in([] { return static_cast<int>(kiv_util_cfg_subif(1, 2, 3, 4, 5, 6, 7, 0, 0)); }),
                ElementsAre(108u, 220u, 268u, 100u));
    EXPECT_THAT(sizes_in([] { return static_cast<int>(kiv_util_chg_subif_encap(1, 2, 3, 4, 0)); }),
                ElementsAre(268u));
    EXPECT_THAT(sizes_in([] {
                    const u16 ports[] = {1};
                    return static_cast<int>(kiv_util_cfg_bdl_main_if(1, 2, 0, 1, ports));
                }),
                ElementsAre(108u, 112u));
    EXPECT_THAT(sizes_in(tc_kiv_add_bdl_subif_port), ElementsAre(160u));
    EXPECT_THAT(sizes_in([] { return static_cast<int>(kiv_util_add_subif_rewrite(1, 2, 3, 4, 5, 6, 7, 8)); }),
                ElementsAre(424u));
    EXPECT_THAT(sizes_in([] { return static_cast<int>(prm_kiv_util_bvi_interface_create()); }),
                ElementsAre(108u));
    EXPECT_THAT(sizes_in([] { return static_cast<int>(prm_kiv_util_bvi_interface_feature_set(1)); }),
                ElementsAre(112u));
    EXPECT_THAT(sizes_in([] { return static_cast<int>(kiv_span_src_set(1, 2, 0, 1)); }), ElementsAre(60u));
}

}  // namespace
