// Failed calls and checked statuses through the ring between two processes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kiv/journal/ring.h"
#include "kiv/journal/ring_journal.h"

namespace {

// Keeps what is told of calls.
class Calls : public kiv::Journal {
  public:
    void group_begins(uint64_t, uint32_t) override {}
    void group_ended() override {}
    void fixture_begins(uint32_t, bool, int64_t) override {}
    void fixture_ended(int64_t, const kiv::Counters &) override {}
    void case_begins(uint64_t, int64_t) override {}
    void case_ended(int64_t, const kiv::Counters &) override {}
    void text(kiv::Printed, std::string_view) override {}
    void reads_input(std::string_view, uint32_t) override {}
    void note(std::string_view) override {}
    void done() override {}
    bool go_on() override { return true; }

    void failed_call(const kiv::FailedCall &call) override {
        told_.push_back(std::to_string(call.code) + "|" + std::string(call.operation) + "|" +
                        std::string(call.code_name) + "|" + std::string(call.code_text));
    }
    void sent(std::string_view bytes, bool last) override {
        told_.push_back((last ? "sent " : "piece ") + std::to_string(bytes.size()));
    }
    void failed_check(const kiv::CheckView &check) override {
        told_.push_back("check " + std::to_string(check.number));
    }
    void status_checked(uint32_t status) override { told_.push_back("checked " + std::to_string(status)); }

    std::vector<std::string> told_;
};

TEST(CallRecords, ArriveAsTheyWereTold) {
    kiv::Ring ring;
    std::string error;
    ASSERT_TRUE(ring.create(&error)) << error;
    kiv::RingJournal journal(ring);
    journal.failed_call({0xa8b89200, "prm_srh_bd_add", "E_BUSY", "resource busy"});
    journal.status_checked(0xa8b89200);
    journal.failed_call({7, "", "", ""});
    journal.failed_call({8, std::string(10'000, 'x'), "", "y"});
    Calls there;
    bool damaged = false;
    kiv::replay_ring(ring, there, {1, 1}, kiv::Ring::kSize, &damaged);
    EXPECT_FALSE(damaged);
    EXPECT_THAT(there.told_,
                testing::ElementsAre("2830668288|prm_srh_bd_add|E_BUSY|resource busy", "checked 2830668288",
                                     "7|||", "8|" + std::string(234, 'x') + "... [cut: 10000 bytes]||y"));
}

TEST(SentRecords, ArriveInPiecesAndCheckNumbersWhole) {
    kiv::Ring ring;
    std::string error;
    ASSERT_TRUE(ring.create(&error)) << error;
    kiv::RingJournal journal(ring);
    journal.sent("", true);
    journal.sent(std::string(64 * 1024, 'x'), true);
    journal.sent(std::string(64 * 1024 + 1, 'x'), true);
    kiv::CheckView check;
    check.number = 0x123456789abcdef0;
    journal.failed_check(check);
    Calls there;
    bool damaged = false;
    kiv::replay_ring(ring, there, {1, 1}, kiv::Ring::kSize, &damaged);
    EXPECT_FALSE(damaged);
    EXPECT_THAT(there.told_, testing::ElementsAre("sent 0", "sent 65536", "piece 65536", "sent 1",
                                                  "check " + std::to_string(0x123456789abcdef0)));
}

}  // namespace
