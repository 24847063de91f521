// Fault rules as people write them: what is understood, and what is said of the rest.
#include "card/faults/rule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "card/codes.h"

namespace card::faults {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

Rule good(const std::string &text) {
    Rule rule;
    RuleError error;
    EXPECT_TRUE(parse_rule(text, &rule, &error)) << text << ": " << error.column << ": " << error.what;
    return rule;
}

RuleError bad(const std::string &text) {
    Rule rule;
    RuleError error;
    EXPECT_FALSE(parse_rule(text, &rule, &error)) << text;
    return error;
}

bool covers(const Rule &rule, OperationId operation) {
    return rule.operations[static_cast<size_t>(operation)];
}

TEST(FaultRule, NamesAnOperationAPatternOrAFamily) {
    EXPECT_EQ(good("prm_srh_bd_add: undone").operations.count(), 1u);
    const Rule pattern = good("prm_srh_bd_*: undone");
    EXPECT_EQ(pattern.operations.count(), 3u);
    EXPECT_TRUE(covers(pattern, OperationId::prm_srh_bd_mod));
    EXPECT_EQ(good("family:l2: undone").operations.count(), 6u);
    EXPECT_FALSE(covers(good("*: hang"), OperationId::cerr_strerror)) << "no call on the card";
    EXPECT_FALSE(covers(good("*: undone"), OperationId::event_manager_create)) << "it answers no status";
}

TEST(FaultRule, ChoosesCalls) {
    const auto chosen = [](const std::string &which) {
        const Rule rule = good("prm_srh_bd_add" + which + ": undone");
        std::string calls;
        for (u64 call = 1; call <= 6; ++call) calls += rule.which.chooses(call) ? 'x' : '.';
        return calls;
    };
    EXPECT_EQ(chosen(""), "xxxxxx");
    EXPECT_EQ(chosen("@every"), "xxxxxx");
    EXPECT_EQ(chosen("@3"), "..x...");
    EXPECT_EQ(chosen("@3+"), "..xxxx");
    EXPECT_EQ(chosen("@every/2"), ".x.x.x");
    EXPECT_EQ(chosen("@0%"), "......");
    EXPECT_EQ(chosen("@100%"), "xxxxxx");
}

TEST(FaultRule, AChanceIsThatOfItsSeed) {
    const auto drawn = [](const std::string &seed) {
        const Rule rule = good("prm_srh_bd_add@25%" + seed + ": undone");
        std::vector<bool> calls;
        for (u64 call = 1; call <= 4000; ++call) calls.push_back(rule.which.chooses(call));
        return calls;
    };
    const std::vector<bool> first = drawn("/1");
    EXPECT_EQ(first, drawn(""));
    EXPECT_NE(first, drawn("/2"));
    EXPECT_NEAR(static_cast<double>(std::count(first.begin(), first.end(), true)), 1000, 100);
}

TEST(FaultRule, SaysWhatHappens) {
    EXPECT_EQ(good("prm_srh_bd_add: status=CARD_ERROR_TABLE_FULL").status, CARD_ERROR_TABLE_FULL);
    EXPECT_EQ(good("prm_srh_bd_add: status=0x16").status, 22u);
    EXPECT_EQ(good("prm_srh_bd_add: failed=22").failed, 22u);
    EXPECT_EQ(good("prm_srh_bd_add: undone").status, 0u);
    EXPECT_EQ(good("prm_stats_cl_alloc: short").fewer, 1u);
    EXPECT_EQ(good("prm_stats_cl_alloc: short=3").fewer, 3u);
    EXPECT_EQ(good("prm_srh_bd_add: delay=1.5ms").delay.count(), 1'500'000);
    EXPECT_TRUE(good("prm_srh_bd_add: hang").hangs);
    EXPECT_EQ(good("prm_srh_bd_add: die").signal, SIGKILL);
    EXPECT_EQ(good("prm_srh_bd_add: die=SIGSEGV").signal, SIGSEGV);
    EXPECT_EQ(good("prm_srh_bd_add: die=6").signal, SIGABRT);
    const Rule several = good("prm_srh_lpts_add : delay=2us, failed=22, set 0x10:00ff");
    EXPECT_EQ(several.delay.count(), 2000);
    EXPECT_EQ(several.changes.at(0).offset, 16u);
    EXPECT_EQ(several.changes.at(0).bytes, (std::vector<u8>{0, 0xFF}));
}

TEST(FaultRule, PointsAtWhatItDoesNotUnderstand) {
    const auto said = [](const std::string &text) {
        const RuleError error = bad(text);
        return std::to_string(error.column) + ": " + error.what;
    };
    EXPECT_THAT(said("prm_srh_bd_add"), HasSubstr("15: what is to happen is missing"));
    EXPECT_THAT(said(""), HasSubstr("1: what is to happen is missing"));
    EXPECT_THAT(said("prm_srh_bd_add: "), HasSubstr("what is to happen is missing"));
    EXPECT_THAT(said("prm_srh_bd_add@x: undone"), HasSubstr("16: \"x\" chooses no calls"));
    EXPECT_THAT(said("prm_srh_bd_add@0: undone"), HasSubstr("16: \"0\" chooses no calls"));
    EXPECT_THAT(said("prm_srh_bd_add@101%: undone"), HasSubstr("16: a chance is"));
    EXPECT_THAT(said("prm_srh_bd_add@5%x: undone"), HasSubstr("18: the seed"));
    EXPECT_THAT(said("prm_srh_bd_add when: undone"), HasSubstr("16: \"if\" or the colon"));
    EXPECT_THAT(said("prm_srh_bd_add if bd_id: undone"), HasSubstr("19: a condition is"));
    EXPECT_THAT(said("prm_srh_bd_add if bd_id=x: undone"), HasSubstr("25: \"x\" is no value of bd_id"));
    EXPECT_THAT(said("prm_srh_bd_add: delay=5"), HasSubstr("23: delay takes a time"));
    EXPECT_THAT(said("prm_srh_bd_add: die=CHLD"), HasSubstr("21: \"CHLD\" is no signal"));
    EXPECT_THAT(said("prm_srh_bd_add: status="), HasSubstr("status needs a code"));
    EXPECT_THAT(said("prm_srh_bd_add: undone, failed=22"), HasSubstr("25: a call answers once"));
    EXPECT_THAT(said("prm_srh_bd_add: hang, failed=22"), HasSubstr("answers nothing"));
    EXPECT_THAT(said("prm_srh_bd_add: set 1:0"), HasSubstr("23: changed bytes are pairs"));
    EXPECT_THAT(said("prm_srh_bd_add: set bd_id=1"),
                HasSubstr("bd_id is not in the answer of prm_srh_bd_add"));
    EXPECT_THAT(said("prm_srh_bd_add: short"), HasSubstr("prm_srh_bd_add has no count"));
    EXPECT_THAT(said("event_manager_create: undone"), HasSubstr("event_manager_create answers no status"));
    EXPECT_THAT(said("prm_srh_x*: undone x"), HasSubstr("20: a comma is expected"));
    EXPECT_THAT(said("prm_srh_y*: undone"), HasSubstr("1: no operation fits"));
}

TEST(FaultRule, OffersWhatCouldBeMeant) {
    EXPECT_THAT(bad("prm_srh_bd_ad: undone").known, Contains("prm_srh_bd_add"));
    EXPECT_EQ(bad("prm_srh_bd_ad: undone").word, "prm_srh_bd_ad");
    EXPECT_THAT(bad("family:layer2: undone").known, Contains("l2"));
    EXPECT_EQ(bad("family:layer2: undone").column, 8u);
    EXPECT_THAT(bad("prm_srh_bd_add if bdid=1: undone").known, Contains("bd_id"));
    EXPECT_THAT(bad("prm_srh_bd_add: status=BUSY").known, Contains("PRM_ERROR_BCM_E_BUSY"));
    EXPECT_THAT(bad("prm_srh_bd_add: stauts=1").known, Contains("status"));
    EXPECT_THAT(bad("zor_vop_prm_tcam_vmr_read: set vmrid=1").known, Contains("vmr_id"));
}

TEST(FaultRule, EveryOperationHasNamedFieldsOrArguments) {
    for (size_t i = 0; i < kOperationCount; ++i) {
        const auto id = static_cast<OperationId>(i);
        if (row(id).parameters.empty() || id == OperationId::platform_get_my_card_type) continue;
        EXPECT_THAT(field_names(id), testing::Not(IsEmpty())) << row(id).name;
    }
}

}  // namespace
}  // namespace card::faults
