// Feeds arbitrary bytes to everything of the suite that reads input.
#include "tests/fuzz/suite/feed.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "prm_kiv_bvi.h"
#include "prm_kiv_input.h"
#include "prm_kiv_span.h"
#include "prm_kiv_tx_adj.h"
#include "prm_kiv_vpls.h"
#include "prm_kiv_vxlan.h"
#include "prm_kiv_xconnect.h"
#include "tests/fuzz/suite/platform.h"

namespace {

// Fails in every build, assertions or not; not abort, which is the suite's own way out here.
void require(bool condition, const char *what) {
    if (condition) return;
    std::fprintf(stderr, "%s\n", what);
    __builtin_trap();
}

// Runs something of the suite with its standard output and error out of the way.
template <class Function>
void run(Function function) {
    static FILE *const nowhere = std::fopen("/dev/null", "w");
    FILE *const real_out = stdout, *const real_err = stderr;
    stdout = stderr = nowhere;
    try {
        function();
    } catch (const SuiteAborted &) {
    }
    stdout = real_out;
    stderr = real_err;
}

// Runs something of the suite that reads `bytes` on standard input.
template <class Function>
void run_reading(const uint8_t *bytes, size_t size, Function function) {
    FILE *const real_in = stdin;
    stdin = fmemopen(const_cast<uint8_t *>(bytes), size, "r");
    run(function);
    std::fclose(stdin);
    stdin = real_in;
}

// The line reader with a buffer on the heap of exactly the size it is told.
void read_lines(int size) {
    char *const buffer = static_cast<char *>(std::malloc(static_cast<size_t>(size)));
    std::vector<char *> fields(KIV_STDIN_MAX_TOKENS);
    int status;
    while ((status = prm_kiv_util_line_input(buffer, size, fields.data(), ",;")) != 0)
        require(status == 1 || status == -1, "the line reader's status is 1, -1 or 0");
    std::free(buffer);
}

void read_span() {
    u32 handle = 0, session = 0;
    int direction = 0;
    while (std::feof(stdin) == 0) {
        kiv_span_read_input(&handle, &direction, &session);
        kiv_span_read_input(nullptr, &direction, nullptr);
        if (std::fgetc(stdin) == EOF) break;
    }
}

template <int Size>
void read_lines_of() {
    read_lines(Size);
}
template <kiv_function_t Case>
void run_case() {
    require(Case() == 0, "a case that reads to the end of input returns 0");
}

// A mirroring case reads a fixed number of lines and returns its last check.
template <kiv_function_t Case>
void run_span_case() {
    Case();
}

void (*const kStandardInputReaders[])() = {
    read_lines_of<KIV_STDIN_LINE_SIZE>,
    read_lines_of<2>,
    read_lines_of<17>,
    read_span,
    run_span_case<prm_kiv_span_port_add>,
    run_span_case<prm_kiv_span_port_delete>,
    run_span_case<prm_kiv_span_port_add_delete>,
    run_span_case<prm_kiv_span_port_add_delete_invalid_dir>,
    run_span_case<prm_kiv_span_session_destroy_when_port_present>,
    run_case<tc_kiv_vxlan_bd_add>,
    run_case<tc_kiv_vxlan_bd_del>,
    run_case<tc_kiv_vxlan_ac_bind>,
    run_case<tc_kiv_vxlan_ac_unbind>,
    run_case<tc_kiv_vxlan_vsp_ac_bind>,
    run_case<tc_kiv_vxlan_vsp_ac_unbind>,
    run_case<tc_kiv_vxlan_ole_add>,
    run_case<tc_kiv_vxlan_ole_mod>,
    run_case<tc_kiv_vxlan_ole_del>,
    run_case<tc_kiv_vxlan_vplag_add>,
    run_case<tc_kiv_vxlan_vplag_member_set>,
    run_case<tc_kiv_vxlan_vplag_del>,
    run_case<tc_kiv_evpn_mac_install>,
    run_case<tc_kiv_evpn_mac_uninstall>,
    run_case<tc_kiv_fpem_shg_df_add>,
    run_case<tc_kiv_fpem_shg_df_del>,
};
constexpr size_t kReaderCount = sizeof kStandardInputReaders / sizeof kStandardInputReaders[0];

}  // namespace

void feed_flash_readers(const uint8_t *bytes, size_t size) {
    static const uint8_t kNothing = 0;
    set_flash(size == 0 ? &kNothing : bytes, size);
    run(kiv_util_read_np_ports);
    run(kiv_util_read_bdl_params);
    run(kiv_util_read_bdl_subif_params);
    run([] { kiv_util_read_subif_params(0); });
    run([] { kiv_util_read_subif_params(1); });
    run(kiv_util_read_bd_params);
    require(tokens <= KIV_MAX_FIELDS, "a line has at most ten items");
    run(kiv_util_read_bvi_input);
    run(kiv_util_read_xconnect_uidbs);
    run(kiv_util_read_xconnect_subifs);
    run(kiv_util_read_xconnect_rewrites);
    run(tc_kiv_tx_adj_add);
    run(tc_kiv_tx_adj_del_all);
    set_flash(nullptr, 0);
}

void feed_standard_input(const uint8_t *bytes, size_t size) {
    if (size == 0) return;
    const size_t chosen = bytes[0];
    // A copy of its own, so that reading past the input is seen.
    const std::vector<uint8_t> rest(bytes + 1, bytes + size);
    static const uint8_t kNothing = 0;
    const uint8_t *const input = rest.empty() ? &kNothing : rest.data();
    for (size_t i = 0; i < kReaderCount; ++i)
        if (chosen == i || chosen >= kReaderCount) run_reading(input, rest.size(), kStandardInputReaders[i]);
}
