// The rewrite matrix by its numbers: operation codes of source and destination, line of the check.
#ifndef TESTS_SUITE_XCONNECT_REWRITE_MATRIX_H
#define TESTS_SUITE_XCONNECT_REWRITE_MATRIX_H

#include "prm_kiv_xconnect.h"

struct MatrixCase {
    int (*function)(void);
    const char *name;
    unsigned source, destination;
    int line;
};

// clang-format off
#define ROW(name, source, destination, line) {name, #name, source, destination, line}
inline constexpr MatrixCase kRewriteMatrix[] = {
    ROW(tc_kiv_xconnect_rw_st_norw_st_pop1, 0, 4, 510),
    ROW(tc_kiv_xconnect_rw_st_norw_st_push1, 0, 16, 517),
    ROW(tc_kiv_xconnect_rw_st_norw_st_swap11, 0, 1, 524),
    ROW(tc_kiv_xconnect_rw_st_push1_st_push1, 16, 16, 532),
    ROW(tc_kiv_xconnect_rw_st_push1_st_swap11, 16, 1, 540),
    ROW(tc_kiv_xconnect_rw_st_push1_st_swap12, 16, 18, 548),
    ROW(tc_kiv_xconnect_rw_st_push2_st_push2, 32, 32, 556),
    ROW(tc_kiv_xconnect_rw_st_push2_st_swap12, 32, 18, 564),
    ROW(tc_kiv_xconnect_rw_st_pop1_st_pop1, 4, 4, 572),
    ROW(tc_kiv_xconnect_rw_st_pop1_st_swap11, 4, 1, 580),
    ROW(tc_kiv_xconnect_rw_st_swap11_st_swap11, 1, 1, 588),
    ROW(tc_kiv_xconnect_rw_st_swap11_st_swap12, 1, 18, 596),
    ROW(tc_kiv_xconnect_rw_st_swap12_st_swap12, 18, 18, 604),
    ROW(tc_kiv_xconnect_rw_st_norw_dt_pop1, 0, 4, 614),
    ROW(tc_kiv_xconnect_rw_st_norw_dt_push1, 0, 16, 621),
    ROW(tc_kiv_xconnect_rw_st_norw_dt_swap11, 0, 1, 628),
    ROW(tc_kiv_xconnect_rw_st_norw_dt_swap21, 0, 5, 635),
    ROW(tc_kiv_xconnect_rw_st_norw_dt_swap12, 0, 18, 642),
    ROW(tc_kiv_xconnect_rw_st_norw_dt_swap22, 0, 3, 649),
    ROW(tc_kiv_xconnect_rw_st_push1_dt_norw, 16, 0, 656),
    ROW(tc_kiv_xconnect_rw_st_push1_dt_push1, 16, 16, 664),
    ROW(tc_kiv_xconnect_rw_st_push1_dt_push2, 16, 32, 672),
    ROW(tc_kiv_xconnect_rw_st_push1_dt_swap11, 16, 1, 680),
    ROW(tc_kiv_xconnect_rw_st_push1_dt_swap12, 16, 18, 688),
    ROW(tc_kiv_xconnect_rw_st_push1_dt_swap22, 16, 3, 696),
    ROW(tc_kiv_xconnect_rw_st_push2_dt_push1, 32, 16, 704),
    ROW(tc_kiv_xconnect_rw_st_push2_dt_push2, 32, 32, 712),
    ROW(tc_kiv_xconnect_rw_st_push2_dt_swap12, 32, 18, 720),
    ROW(tc_kiv_xconnect_rw_st_pop1_dt_norw, 4, 0, 727),
    ROW(tc_kiv_xconnect_rw_st_pop1_dt_pop1, 4, 4, 735),
    ROW(tc_kiv_xconnect_rw_st_pop1_dt_swap11, 4, 1, 743),
    ROW(tc_kiv_xconnect_rw_st_pop1_dt_swap21, 4, 5, 751),
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_norw, 1, 0, 758),
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_pop1, 1, 4, 766),
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_push1, 1, 16, 774),
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_swap11, 1, 1, 782),
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_swap21, 1, 5, 790),
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_swap12, 1, 18, 798),
    ROW(tc_kiv_xconnect_rw_st_swap11_dt_swap22, 1, 3, 806),
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_norw, 18, 0, 813),
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_push1, 18, 16, 821),
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_swap11, 18, 1, 829),
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_swap12, 18, 18, 837),
    ROW(tc_kiv_xconnect_rw_st_swap12_dt_swap22, 18, 3, 845),
};
#undef ROW
// clang-format on

#endif
