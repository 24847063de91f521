// What holds for the registered cases as a whole: which function a name runs, and that none leaves a file
// open.
#include "prm_kiv_acl.h"
#include "prm_kiv_qos.h"
#include "tests/standin/registration.h"
#include "tests/standin/suite_test.h"
#include "tests/suite/open_files.h"

namespace {

class CasesTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        for (const standin::Case &each : standin::register_suite().cases)
            registered.emplace_back(each.folder->path + "/" + each.name, each.function);
    }

    // In registration order, under "folder/case".
    std::vector<std::pair<std::string, kiv_function_t>> registered;

    // Something in every file that a case may read.
    static void fill_the_flash() {
        standin::flash_file("kiv_input_file",
                            "INTF_NAME:a,NP_PORT:1,MAIN_IFH:1\nINTF_NAME:b,NP_PORT:2,MAIN_IFH:2\n");
        standin::flash_file("kiv_tcs_input_file",
                            "IFH:1,UIDB:2,SUB_IFH:3,OVLAN:4\nIFH:5,UIDB:6,SUB_IFH:7,OVLAN:8\n");
        standin::flash_file("kiv_tcs_cleanup_file", "nh_index : 1\nnh_index : 2\n");
    }
};

// Cases that are registered under another name than their function's.
struct ShortName {
    const char *selector;
    kiv_function_t function;
};

// clang-format off
const ShortName kShortNames[] = {
    {"acl/create", tc_kiv_acl_tcam_create},
    {"acl/modify", tc_kiv_acl_tcam_modify},
    {"acl/neg_create_null_prm_info", tc_kiv_acl_tcam_create_null_info_ptr},
    {"acl/neg_create_null_vmr", tc_kiv_acl_tcam_create_null_vmr_ptr},
    {"acl/neg_create_invalid_feature_id", tc_kiv_acl_tcam_create_invalid_fea_id},
    {"acl/neg_create_invalid_port_number", tc_kiv_acl_tcam_create_invalid_port_num},
    {"acl/neg_create_invalid_value_mask_key_size", tc_kiv_acl_tcam_create_invalid_value_mask_key_sz},
    {"acl/neg_create_invalid_result_key_size", tc_kiv_acl_tcam_create_invalid_result_key_sz},
    {"acl/neg_create_invalid_no_of_entries", tc_kiv_acl_tcam_create_invalid_nr_entries},
    {"acl/neg_create_invalid_operation_code", tc_kiv_acl_tcam_create_invalid_opcode},
    {"acl/neg_insert_null_prm_info", tc_kiv_acl_tcam_insert_null_info_ptr},
    {"acl/neg_insert_null_vmr", tc_kiv_acl_tcam_insert_null_vmr_ptr},
    {"acl/neg_insert_invalid_feature_id", tc_kiv_acl_tcam_insert_invalid_fea_id},
    {"acl/neg_insert_invalid_vmr_id", tc_kiv_acl_tcam_insert_invalid_vmr_id},
    {"acl/neg_insert_invalid_port_number", tc_kiv_acl_tcam_insert_invalid_port_num},
    {"acl/neg_insert_invalid_no_of_entries", tc_kiv_acl_tcam_insert_invalid_nr_entries},
    {"acl/neg_insert_invalid_operation_code", tc_kiv_acl_tcam_insert_invalid_opcode},
    {"acl/neg_insert_invalid_ace_index", tc_kiv_acl_tcam_insert_invalid_ace_index},
    {"acl/neg_delete_null_prm_info", tc_kiv_acl_tcam_delete_null_info_ptr},
    {"acl/neg_delete_invalid_feature_id", tc_kiv_acl_tcam_delete_invalid_fea_id},
    {"acl/neg_delete_invalid_vmr_id", tc_kiv_acl_tcam_delete_invalid_vmr_id},
    {"acl/neg_delete_invalid_port_number", tc_kiv_acl_tcam_delete_invalid_port_num},
    {"acl/neg_delete_invalid_no_of_entries", tc_kiv_acl_tcam_delete_invalid_nr_entries},
    {"acl/neg_delete_invalid_ace_index", tc_kiv_acl_tcam_delete_invalid_ace_index},
    {"acl/neg_destroy_null_prm_info", tc_kiv_acl_tcam_destroy_null_info_ptr},
    {"acl/neg_destroy_invalid_feature_id", tc_kiv_acl_tcam_destroy_invalid_fea_id},
    {"acl/neg_destroy_invalid_vmr_id", tc_kiv_acl_tcam_destroy_invalid_vmr_id},
    {"qos/stats", tc_kiv_qos_stats_create},
    {"qos/policer", tc_kiv_qos_police_create},
    {"qos/policer_pps", tc_kiv_qos_police_create_for_pps},
    {"qos/match_cos", tc_kiv_qos_tcam_cos_create},
    {"qos/match_prec", tc_kiv_qos_tcam_prec_create},
    {"qos/match_protocol", tc_kiv_qos_tcam_protocol_create},
    {"qos/match_exp", tc_kiv_qos_tcam_exp_create},
    {"qos/match_acl1", tc_kiv_qos_tcam_acl1_create},
    {"qos/match_acl2", tc_kiv_qos_tcam_acl2_create},
    {"qos/neg_create_null_prm_info", tc_kiv_qos_tcam_create_null_info_ptr},
    {"qos/neg_create_null_vmr", tc_kiv_qos_tcam_create_null_vmr_ptr},
    {"qos/neg_create_invalid_feature_id", tc_kiv_qos_tcam_create_invalid_fea_id},
    {"qos/neg_create_invalid_port_number", tc_kiv_qos_tcam_create_invalid_port_num},
    {"qos/neg_create_invalid_value_mask_key_size", tc_kiv_qos_tcam_create_invalid_value_mask_key_sz},
    {"qos/neg_create_invalid_result_key_size", tc_kiv_qos_tcam_create_invalid_result_key_sz},
    {"qos/neg_create_invalid_no_of_entries", tc_kiv_qos_tcam_create_invalid_nr_entries},
    {"qos/neg_create_invalid_operation_code", tc_kiv_qos_tcam_create_invalid_opcode},
    {"qos/neg_destroy_null_prm_info", tc_kiv_qos_tcam_destroy_null_info_ptr},
    {"qos/neg_destroy_invalid_feature_id", tc_kiv_qos_tcam_destroy_invalid_fea_id},
    {"qos/neg_destroy_invalid_vmr_id", tc_kiv_qos_tcam_destroy_invalid_vmr_id},
    {"qos/spq_lls_port", tc_kiv_qos_sp_queue_lls_port},
    {"qos/spq_hsp_port", tc_kiv_qos_sp_queue_hsp_port},
    {"qos/spq_random_pri", tc_kiv_qos_sp_queue_random_pri},
    {"qos/spq_multi_p1_pri", tc_kiv_qos_sp_queue_multi_p1_pri},
    {"qos/scale_sp_queue_on_all_ports", tc_kiv_qos_egr_scale_sp_queue},
    {"qos/egr_cc_dealloc_fp_q", tc_kiv_qos_egr_deallocate_fp_q},
    {"qos/egr_cc_conf_port_shaper", tc_kiv_qos_egr_conf_port_shaper},
    {"qos/egr_cc_remove_port_shaper", tc_kiv_qos_egr_remove_port_shaper},
    {"qos/egr_cc_get_tm_info", tc_kiv_qos_egr_get_tm_info},
    {"qos/egr_cc_def_case", tc_kiv_qos_egr_def_case},
    {"qos/egr_cc_pol_hdl", tc_kiv_qos_egr_pol_hdl},
    {"qos/egr_neg_case_invalid_mqc_lvl", tc_kiv_qos_egr_invalid_mqc_lvl},
    {"qos/egr_neg_invalid_np_id", tc_kiv_qos_egr_invalid_np_id},
    {"qos/egr_neg_queue_ingress_dir", tc_kiv_qos_egr_queue_ingress_dir},
    {"qos/egr_neg_invalid_ing_mqc_depth", tc_kiv_qos_egr_invalid_in_mqc_depth},
    {"qos/egr_neg_invalid_egr_mqc_depth", tc_kiv_qos_egr_invalid_out_mqc_depth},
};
// clang-format on

TEST_F(CasesTest, ClassificationCasesRunUnderTheirShortNames) {
    std::vector<std::pair<std::string, kiv_function_t>> classification;
    for (const auto &each : registered)
        if (each.first.rfind("acl/", 0) == 0 || each.first.rfind("qos/", 0) == 0)
            classification.push_back(each);
    ASSERT_EQ(classification.size(), std::size(kShortNames));
    for (size_t i = 0; i < classification.size(); ++i) {
        EXPECT_EQ(classification[i].first, kShortNames[i].selector);
        EXPECT_EQ(classification[i].second, kShortNames[i].function) << kShortNames[i].selector;
    }
}

// Runs a case and expects 1 from it when its last check held, else 0; 0 when there was none.
void expect_result_of_last_check(kiv_function_t function) {
    const int result = standin::run(function);
    const std::vector<standin::Event> checks = standin::checks();
    EXPECT_EQ(result, !checks.empty() && checks.back().status == checks.back().expected ? 1 : 0);
    standin::reset();
}

TEST_F(CasesTest, ClassificationCasesReturnTheResultOfTheirLastCheck) {
    for (const ShortName &each : kShortNames) {
        SCOPED_TRACE(each.selector);
        standin::run(each.function);
        const int calls = static_cast<int>(std::min<size_t>(standin::calls().size(), 12));
        const int allocations = standin::allocations();
        standin::reset();
        for (int nth = 0; nth <= calls; ++nth) {
            SCOPED_TRACE("failing call " + std::to_string(nth));
            standin::fail_call(nth, 0x1234);
            expect_result_of_last_check(each.function);
        }
        for (int nth = 1; nth <= allocations; ++nth) {
            SCOPED_TRACE("failing allocation " + std::to_string(nth));
            standin::fail_allocation(nth);
            expect_result_of_last_check(each.function);
        }
    }
}

TEST_F(CasesTest, NoCaseLeavesAFileOpen) {
    ASSERT_GE(registered.size(), 240u);
    fill_the_flash();
    const long before = open_files();
    for (const auto &[selector, function] : registered) {
        standin::standard_input("1\n2\n3\n4\n");
        standin::run(function);
        ASSERT_EQ(open_files(), before) << selector;
    }
}

}  // namespace
