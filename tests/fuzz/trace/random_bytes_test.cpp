// The fuzz target's entry point with a trace in which bytes are changed at random, in every build.
#include <gtest/gtest.h>

#include <random>

#include "tests/fuzz/trace/feed.h"

namespace {

void feed(char kind, const std::string &bytes) {
    const std::string input = kind + bytes;
    feed_trace(reinterpret_cast<const uint8_t *>(input.data()), input.size());
}

void spoil(std::string *bytes, size_t from, std::mt19937 &random) {
    for (unsigned i = random() % 4 + 1; i > 0; --i) {
        const size_t at = from + random() % (bytes->size() - from);
        const unsigned value = random();
        (*bytes)[at] = static_cast<char>(value % 3 == 0 ? 0 : value % 3 == 1 ? 0xff : value >> 8);
    }
    if (random() % 4 == 0) bytes->resize(from + random() % (bytes->size() - from));
}

TEST(RandomTrace, SampleIsReadAsItIs) {
    size_t entries = 0;
    const std::string sample = sample_trace(&entries);
    EXPECT_GT(sample.size(), entries + 1000);
    feed('\0', sample);
}

TEST(RandomTrace, EntriesWithChangedBytesAreRead) {
    size_t entries = 0;
    const std::string sample = sample_trace(&entries);
    std::mt19937 random(1);
    for (int round = 0; round < 60; ++round) {
        std::string bytes = sample;
        spoil(&bytes, entries, random);
        feed('\1', bytes.substr(entries));
    }
}

TEST(RandomTrace, FilesWithChangedBytesAreReadOrRefused) {
    size_t entries = 0;
    const std::string sample = sample_trace(&entries);
    std::mt19937 random(2);
    for (int round = 0; round < 60; ++round) {
        std::string bytes = sample;
        spoil(&bytes, 0, random);
        feed('\0', bytes);
    }
}

TEST(RandomTrace, MemoryWithChangedBytesIsRead) {
    size_t entries = 0;
    const std::string sample = sample_trace(&entries);
    constexpr size_t kPacketHead = 16;
    std::string memory;
    for (size_t at = entries; at + kPacketHead < sample.size();) {
        const auto size = *reinterpret_cast<const uint32_t *>(sample.data() + at + 8);
        memory += sample.substr(at + kPacketHead, size);
        at += kPacketHead + size;
    }
    feed('\2', memory);
    std::mt19937 random(3);
    for (int round = 0; round < 3000; ++round) {
        std::string bytes = memory;
        spoil(&bytes, 0, random);
        feed('\2', bytes);
    }
}

}  // namespace
