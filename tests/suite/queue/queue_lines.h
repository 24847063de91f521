// Fixture and expected lines that the tests of the egress traffic manager share.
#ifndef TESTS_SUITE_QUEUE_QUEUE_LINES_H
#define TESTS_SUITE_QUEUE_QUEUE_LINES_H

#include "prm_kiv_qos.h"
#include "tests/suite/tcam_hardware.h"

namespace queue_test {

using standin::Bytes;
using standin::RecordBuilder;
using standin::run;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

inline Lines line(const std::string &text) {
    return {print_text(text)};
}

inline std::string none(uint32_t code, const std::string &function) {
    return none_text(code, "prm_kiv_qos", function);
}

// Ids the stand-in hands out for class i.
inline uint32_t stats_id(uint32_t i) {
    return 0x100 + i;
}
inline uint32_t commit_id(uint32_t i) {
    return 0x200 + i;
}
inline uint32_t drop_id(uint32_t i) {
    return 0x300 + i;
}
inline uint32_t queue_id(uint32_t i) {
    return 0x400 + i;
}

inline uint32_t priority_of(int mode, uint32_t i) {
    return mode == 0 ? i : mode == 1 ? 7 - i : 0;
}

class QueueTest : public SuiteTest {
  protected:
    void SetUp() override {
        SuiteTest::SetUp();
        fresh();
    }

    // A stand-in that hands out ids per class, counters and depths, and reads back what was configured.
    void fresh() {
        standin::reset();
        g_tm_config_request = nullptr;
        g_tm_config_response = nullptr;
        std::memset(g_stats_id, 0, sizeof g_stats_id);
        standin::on("wyk_hal_wrapper_engine_op").block(1, 12).block(2, 208);
        standin::on("wyk_hal_wrapper_get_stats").block(0, 8).block(1, 24).does([](standin::Call &call) {
            call.put<uint32_t>(1, 0, 1);
            call.put<uint32_t>(1, 4, 0xDEAD);  // the id told is the one asked for
            call.put<uint64_t>(1, 8, 0x1FFFFFFFFull);
            call.put<uint64_t>(1, 16, 640);
        });
        standin::on("wyk_hal_wrapper_get_queue_depth").does([](standin::Call &call) {
            *call.pointer<uint32_t>(1) = call.pointer<uint32_t>(0)[5] - 0x400 + 50;
        });
        standin::on("wyk_hal_wrapper_get_result").does([](standin::Call &call) {
            for (uint32_t i = 0; i < *call.pointer<uint32_t>(0); ++i) {
                const uint32_t values[][2] = {{116, 0x11}, {148, 0x22}, {156, 0x33}, {164, 0xFFFFFFF0},
                                              {168, 0x55}, {172, 0x66}, {176, 0x77}};
                for (const auto &[offset, value] : values) call.put<uint32_t>(1, 260 * i + offset, value + i);
                call.put<uint16_t>(1, 260 * i + 184, 0xFFF0);
            }
        });
        standin::on("wyk_hal_wrapper_config_policy_in_tm").does([this](standin::Call &call) {
            configured = Bytes(call.pointer<uint8_t>(0), call.pointer<uint8_t>(0) + 3584);
            call.put<uint32_t>(1, 16, verdict);
            for (uint32_t i = 0; i < 8; ++i) {
                call.put(1, 112 + 260 * i + 120, queue_id(i));
                call.put(1, 112 + 260 * i + 152, commit_id(i));
                call.put(1, 112 + 260 * i + 160, drop_id(i));
                call.put(1, 112 + 260 * i + 172, stats_id(i));
            }
        });
        standin::on("wyk_hal_wrapper_get_config")
            .block(0, 424)
            .block(1, 4232)
            .does([this](standin::Call &call) {
                call.put<uint32_t>(1, 0, config_status);
                for (uint32_t i = 0; i < 8; ++i) {
                    uint32_t level;
                    std::memcpy(&level, configured.data() + 128 + 432 * i + 12, sizeof level);
                    call.put<uint32_t>(1, 496 + 528 * i, level + (i == wrong_level ? 3 : 0));
                }
                call.put<uint32_t>(1, 16 + 528 * 7, bandwidth_mode);
                call.put<uint16_t>(1, 28 + 528 * 7, weight);
            });
        standin::on("wyk_hal_wrapper_deallocate_nodes").block(0, 504).does([this](standin::Call &call) {
            *call.pointer<uint32_t>(1) = release_status;
        });
    }

    template <class Function>
    uint32_t code(Function function) {
        uint32_t result = 0;
        run([&] {
            result = function();
            return 0;
        });
        return result;
    }
    void release() {
        run([&] {
            prm_kiv_qos_release_tm_config();
            return 0;
        });
    }

    Bytes configured = Bytes(3584);
    uint32_t verdict = 0, config_status = 1, bandwidth_mode = 2, release_status = 1;
    uint32_t wrong_level = 99;
    uint16_t weight = 1;
};

// --- Steps: what they tell

inline Lines engine(uint32_t type) {
    return {print_text("hal type : " + std::to_string(type) + "\\n"), "call wyk_hal_wrapper_engine_op"};
}

inline Lines default_queue(uint32_t code = 0) {
    return engine(0) + Lines{none(code, "kiv_queue_allocate_def_q_req")};
}

inline Lines results(uint32_t code = 0) {
    Lines lines = {print_text("Get Result Case: 0\\n"), "call wyk_hal_wrapper_get_result"};
    for (int i = 0; i < 4 && code == 0; ++i) {
        const std::string n = std::to_string(i + 1), m = std::to_string(i + 2), o = std::to_string(i + 3);
        lines.push_back(print_text("fid0: 0x1" + n + " commit_tx 0x2" + m + " drop 0x3" + o + " \\n"));
    }
    lines.push_back(none(code, "kiv_queue_get_result_req"));
    return lines;
}

inline Lines configuration(int mode) {
    Lines lines = {"call wyk_hal_wrapper_config_policy_in_tm"};
    for (uint32_t i = 0; i < 8; ++i) {
        const std::string n = std::to_string(i);
        lines.push_back(print_text("class_id: " + n + " Qos-GRP: " + std::to_string(7 - i) +
                                   " Pri: " + std::to_string(priority_of(mode, i)) + "\\n"));
        lines.push_back(print_text("stats id: 10" + n + " fid0 id: 40" + n + " commit id: 20" + n +
                                   " drop id: 30" + n + "\\n"));
    }
    return lines;
}

// Counters up to the n-th request, which fails; all of them for 24.
inline Lines counters(int failing = 24) {
    Lines lines;
    for (int n = 0; n < 24; ++n) {
        const uint32_t i = static_cast<uint32_t>(n) / 3;
        const uint32_t id = n % 3 == 0 ? stats_id(i) : n % 3 == 1 ? commit_id(i) : drop_id(i);
        lines.push_back("call wyk_hal_wrapper_get_stats");
        if (n == failing) {
            lines.push_back(none(kFailure, "kiv_queue_get_stats_hal_req"));
            lines.push_back(
                print_text("Failure in gettting stats for Stats ID: " + hex_text(id) + "\\n rc: 0x1234\\n"));
            return lines;
        }
        lines.push_back(
            print_text("Status 1 Stats ID: " + hex_text(id) + " Packets 4294967295 Bytes 640\\n"));
        lines.push_back(none(0, "kiv_queue_get_stats_hal_req"));
    }
    return lines;
}

// Depths up to the n-th request, which fails; all of them for 8.
inline Lines depths(uint32_t failing = 8) {
    Lines lines;
    for (uint32_t i = 0; i < 8; ++i) {
        lines.push_back("call wyk_hal_wrapper_get_queue_depth");
        if (i == failing) {
            lines.push_back(print_text("Failure in getting queue depth for fid " + hex_text(queue_id(i)) +
                                       " rc 0x1234\\n"));
            return lines;
        }
        lines.push_back(print_text("Class: " + std::to_string(i) + " Cos: " + std::to_string(7 - i) +
                                   " Fid: " + hex_text(queue_id(i)) + " Depth: " + std::to_string(50 + i) +
                                   " \\n"));
        lines.push_back(none(0, "kiv_queue_get_q_depth_req"));
    }
    return lines;
}

inline const Lines kPassed = {none(0, "tc_kiv_qos_sp_queue_create")};

// The chain up to its counters and depths.
inline Lines configured_chain(int mode) {
    return default_queue() + kPassed + results() + kPassed + configuration(mode);
}
inline Lines chain(int mode) {
    return configured_chain(mode) + counters() + kPassed + depths() + kPassed;
}

inline Lines set_groups(int mode) {
    Lines lines;
    for (uint32_t i = 0; i < 8; ++i)
        lines.push_back(print_text("Set qos-group " + std::to_string(7 - i) + "(pri " +
                                   std::to_string(priority_of(mode, i) + 1) + ") for class " +
                                   std::to_string(i) + "\\n"));
    return lines;
}

inline Lines levels(int mode) {
    Lines lines;
    for (uint32_t i = 0; i < 7; ++i)
        lines.push_back(print_text("Strict Priority (level: " + std::to_string(priority_of(mode, i) + 1) +
                                   ") is configured properly for class " + std::to_string(i) +
                                   " of qos-group " + std::to_string(7 - i) + "\\n"));
    return lines;
}

inline Lines verification(int mode) {
    return set_groups(mode) + Lines{"call wyk_hal_wrapper_get_config"} + levels(mode) +
           line("BWRR is cnfig crrtly on def-class's SP\\n") + Lines{none(0, "tc_kiv_qos_sp_queue_verify")};
}
inline Lines failed_verification(int mode, uint32_t code = kFailure) {
    return set_groups(mode) + Lines{"call wyk_hal_wrapper_get_config"} +
           line("Error in validating the sp queue") + Lines{none(code, "tc_kiv_qos_sp_queue_verify")};
}

inline Lines deletion(uint32_t code = 0, uint32_t status = 1) {
    return {"call wyk_hal_wrapper_deallocate_nodes",
            print_text(code == 0 && status != 0 ? "Success in Deleting SP Queue \\n"
                                                : "Failure in Deleting SP Queue rc: " + hex_text(code) +
                                                      " Status: " + std::to_string(status) + "\\n"),
            none(code, "tc_kiv_qos_sp_queue_delete")};
}

// The chain with its n-th call failing.
inline Lines failed_chain(int nth) {
    if (nth == 1) return default_queue(kFailure) + line("Failure in Allocating Default Queue rc: 0x1234\\n");
    if (nth == 2)
        return default_queue() + kPassed + results(kFailure) +
               line("Failure in Getting Result Request rc: 0x1234\\n");
    if (nth == 3)
        return default_queue() + kPassed + results() + kPassed +
               Lines{"call wyk_hal_wrapper_config_policy_in_tm"} +
               line("Failure in Configuring TM Request rc: 0x1234\\n");
    if (nth < 28)
        return configured_chain(0) + counters(nth - 4) +
               line("Failure in Getting Stats Request rc: 0x1234\\n");
    return configured_chain(0) + counters() + kPassed + depths(static_cast<uint32_t>(nth) - 28) +
           line("Failure in Getting Queue Depth rc: 0x1234\\n");
}

}  // namespace queue_test

#endif
