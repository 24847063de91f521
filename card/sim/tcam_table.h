// The entries of one TCAM, and the look-up that finds the first one that matches a key.
//
// Entries stand at fixed indices; the lower index takes precedence. Storage grows with the entries, in
// chunks; the look-up's index is built by the first look-up and follows the changes from then on.
#ifndef CARD_SIM_TCAM_TABLE_H
#define CARD_SIM_TCAM_TABLE_H

#include <array>
#include <bitset>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace sim {

constexpr uint32_t kTcamEntries = 2048;  // of one TCAM
constexpr uint32_t kTcamKeyBytes = 92;
constexpr uint32_t kTcamResultBytes = 55;

// One entry, as programmed.
struct TcamEntry {
    uint8_t value[kTcamKeyBytes];
    uint8_t mask[kTcamKeyBytes];  // a set bit cares about the value's bit
    uint8_t result[kTcamResultBytes];
};

// Finds the first of 512 entries that matches a key: for every half byte of the key that an entry cares
// about, a row of 512 bits for each of its 16 values tells the entries that this value satisfies. A look-up
// is the AND of one row per half byte.
class TcamBlockIndex {
  public:
    static constexpr uint32_t kEntries = 512;

    // Enters an entry in place of whatever stood there.
    void set(uint32_t entry, const TcamEntry &keys);
    void erase(uint32_t entry);
    std::optional<uint32_t> first_match(const uint8_t *key) const;

  private:
    static constexpr uint32_t kWords = kEntries / 64;
    static constexpr uint32_t kHalfBytes = 2 * kTcamKeyBytes;
    using Row = std::array<uint64_t, kWords>;
    struct Position {
        uint8_t half_byte;  // 2 * byte + (1 for the upper half)
        std::array<Row, 16> rows;
    };

    Row valid_{};
    std::bitset<kHalfBytes> indexed_;
    std::vector<Position> positions_;
};

class TcamTable {
  public:
    // Puts an entry at an index below kTcamEntries, in place of whatever stood there. Tells whether the place
    // was free.
    bool set(uint32_t index, const uint8_t *value, const uint8_t *mask, const uint8_t *result);
    // Tells whether there was an entry.
    bool erase(uint32_t index);
    // The entry at an index of any size, or null.
    const TcamEntry *at(uint32_t index) const;
    uint32_t size() const { return size_; }
    // Index of the first entry whose value equals the key in every bit its mask cares about. The key is 92
    // bytes laid out as a programmed value key.
    std::optional<uint32_t> first_match(const uint8_t *key) const;

  private:
    static constexpr uint32_t kChunkEntries = 32;
    static constexpr uint32_t kBlocks = kTcamEntries / TcamBlockIndex::kEntries;
    struct Chunk {
        uint32_t used = 0;  // a bit an entry
        TcamEntry entries[kChunkEntries];
    };

    uint32_t size_ = 0;
    std::array<std::unique_ptr<Chunk>, kTcamEntries / kChunkEntries> chunks_;
    // Built lazily, so that a TCAM that nobody looks up in carries none.
    mutable std::array<std::unique_ptr<TcamBlockIndex>, kBlocks> index_;

    TcamBlockIndex *build_index(uint32_t block) const;
    std::array<uint32_t, kBlocks> block_size_{};
};

}  // namespace sim

#endif
