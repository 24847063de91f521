// What creating and re-encapsulating a sub-interface is expected to do, for the areas that call the steps.
#ifndef TESTS_SUITE_SUBIF_SUBIF_SCRIPT_H
#define TESTS_SUITE_SUBIF_SUBIF_SCRIPT_H

#include "tests/standin/script.h"

inline constexpr char kSubifFile[] = "prm/test/src/prm_kiv_subif";

struct Subif {
    uint32_t parent = 0, handle = 0, np_port = 0, bundle = 0;
    uint32_t outer_vlan = 0, inner_vlan = 0, outer_tpid = 0;
    bool l2 = false, in_bundle = false;
};

// The five-feature message, as 268 bytes at their offsets.
inline standin::Bytes encapsulation_record(const Subif &s, uint32_t tags) {
    return standin::RecordBuilder(268)
        .u32_at(0, s.handle)
        .u16_at(4, 5)
        .u16_at(6, 260)
        .u32_at(8 + 8, 156)
        .u32_at(8 + 12, s.l2 ? 1 : 0)
        .u32_at(60 + 8, 514)
        .u32_at(60 + 12, s.outer_tpid)
        .u32_at(112 + 8, 515)
        .u32_at(112 + 12, s.outer_vlan)
        .u32_at(164 + 8, 517)
        .u32_at(164 + 12, s.inner_vlan)
        .u32_at(216 + 8, 332)
        .u32_at(216 + 12, tags);
}

inline uint32_t expect_encapsulation(Script &script, const Subif &s, uint32_t tags, const char *function,
                                     int line) {
    script.print("Call UIDB Set feature\n");
    const uint32_t rc =
        script.call("uidb_set_feature(0x12123434, " + shown(encapsulation_record(s, tags)) + ")");
    script.check_in(kSubifFile, rc, function, line);
    return rc;
}

inline uint32_t expect_chg_encap(Script &script, const Subif &s) {
    const uint32_t tags = s.outer_vlan == 0 ? 0 : s.inner_vlan != 0 ? 2 : 1;
    return expect_encapsulation(script, s, tags, "kiv_util_chg_subif_encap", 287);
}

// `granted` counts the statistics pointers that the stand-in handed out: 0x5001, 0x5002, ...
inline uint32_t expect_cfg_subif(Script &script, const Subif &s, int &granted) {
    const std::string step = "kiv_util_cfg_subif";
    const auto check = [&](uint32_t rc, int line) { script.check_in(kSubifFile, rc, step, line); };

    script.print(formatted("channel_map = %u\n if_handle = 0x%X\n iftype = %u \nparent_ifh = 0x%X\n",
                           s.np_port & 255, s.handle, 2, s.parent));
    script.print("Calling uidb_create_single_interface\n");
    uint32_t rc = script.call("uidb_create_interface_batch(0x12123434, " +
                              shown(standin::RecordBuilder(108)
                                        .u32_at(4, s.np_port & 255)
                                        .u32_at(8, s.handle)
                                        .u32_at(12, s.parent)
                                        .u32_at(16, 2)) +
                              ", 1)");
    check(rc, 48);
    script.print("subif creation successful\n");

    uint32_t pointers[2];
    for (int egress = 0; egress < 2; ++egress) {
        rc = script.call(std::string("prm_stats_cl_alloc(async, ") + (egress ? "0x20000000" : "0x10000000") +
                         ", 5, 2, &1, &0)");
        pointers[egress] = rc == 0 ? 0x5000 + static_cast<uint32_t>(++granted) : 0;
        if (rc == 0) script.print(formatted("Got Stats Ptr: 0x%x\n", pointers[egress]));
        check(rc, egress ? 57 : 52);
        script.print(formatted(egress ? "Egress Intf Stats Ptr allocated Ptr: 0x%x\n"
                                      : "Ingress Intf Stats Ptr allocated Ptr: 0x%x\n",
                               pointers[egress]));
    }

    script.print("Call UIDB Set feature batch\n");
    rc = script.call("uidb_set_feature_batch(0x12123434, " +
                     shown(standin::RecordBuilder(220)
                               .u32_at(20, 3)
                               .u32_at(24, 180)
                               .u32_at(40, s.handle)
                               .u32_at(48 + 8, s.in_bundle ? 155 : 154)
                               .u32_at(48 + 12, (s.in_bundle ? s.bundle : s.np_port) & 255)
                               .u32_at(100, s.handle)
                               .u32_at(108 + 8, 162)
                               .u32_at(108 + 12, pointers[0])
                               .u32_at(160, s.handle)
                               .u16_at(168, 1)
                               .u32_at(168 + 8, 162)
                               .u32_at(168 + 12, pointers[1])) +
                     ")");
    check(rc, 113);

    rc = expect_encapsulation(script, s, s.inner_vlan != 0 ? 2 : 1, step.c_str(), 172);
    if (s.l2) return rc;

    script.print("Call UIDB Set feature batch\n");
    rc = script.call("uidb_set_feature_batch(0x12123434, " +
                     shown(standin::RecordBuilder(100)
                               .u32_at(20, 1)
                               .u32_at(24, 60)
                               .u32_at(40, s.handle)
                               .u32_at(48 + 8, 260)
                               .u32_at(48 + 12, 1)) +
                     ")");
    check(rc, 216);
    script.print(formatted("kiv_util_uidb_set_feature_batch called rc: 0x%x\n", rc));
    return rc;
}

#endif
