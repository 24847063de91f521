// The fuzz targets' entry points with pseudo-random bytes, in every build: no byte may crash an operation or
// make it read beyond a block.
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/card/feed.h"
#include "tests/fuzz/card/rule_feed.h"

namespace {

// Bytes of three kinds: any, mostly zero, and small numbers; well-formed fields are common enough in the
// latter two that calls get past the first check.
std::vector<uint8_t> random_bytes(std::mt19937 &random, size_t size) {
    std::vector<uint8_t> bytes(size);
    const unsigned kind = random() % 3;
    for (uint8_t &byte : bytes) {
        const unsigned value = random();
        byte = static_cast<uint8_t>(kind == 0   ? value
                                    : kind == 1 ? (value % 64 == 0 ? value >> 8 : 0)
                                                : value % 10);
    }
    return bytes;
}

void feed(void (*target)(const uint8_t *, size_t), unsigned seed) {
    std::mt19937 random(seed);
    for (int round = 0; round < 400; ++round) {
        const std::vector<uint8_t> bytes = random_bytes(random, random() % 6000);
        target(bytes.data(), bytes.size());
    }
}

TEST(RandomBytesTest, AnyBytesAreATcamRequest) {
    feed(feed_tcam, 1);
}

TEST(RandomBytesTest, AnyBytesAreAHalRequest) {
    feed(feed_hal, 2);
}

// Pieces of rules in any order, some with a byte that does not belong there.
TEST(RandomBytesTest, AnyTextIsAFaultRule) {
    static constexpr std::string_view kPieces[] = {
        "prm_srh_bd_add", "*",      "family:l2",  "@",         "3",    "every/",       "%",    "+", " if ",
        "bd_id",          "=",      "!=",         " and ",     ": ",   "status=",      "22",   ",", "set ",
        "vmr_id",         "^=",     "0x10:ff",    "delay=5ms", "hang", "die=",         "SEGV", "[", "]",
        "short",          "undone", "value[0].x", "record.",   "[9",   "fea_id=acl|x", ":",    " "};
    std::mt19937 random(3);
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        for (unsigned pieces = random() % 12; pieces > 0; --pieces)
            text += kPieces[random() % std::size(kPieces)];
        if (!text.empty() && random() % 4 == 0) text[random() % text.size()] = static_cast<char>(random());
        feed_rule(reinterpret_cast<const uint8_t *>(text.data()), text.size());
    }
}

TEST(RandomBytesTest, NoBytesAreNoRequest) {
    feed_rule(nullptr, 0);
    feed_tcam(nullptr, 0);
    feed_hal(nullptr, 0);
}

}  // namespace
