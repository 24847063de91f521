// The entries of one TCAM, and the look-up that finds the first one that matches a key.
//
// Entries stand at fixed indices; the lower index takes precedence. Storage grows with the entries, in
// chunks; the look-up's index is built by the first look-up and follows the changes from then on.
#ifndef CARD_SIM_TCAM_TABLE_H
#define CARD_SIM_TCAM_TABLE_H

#include <array>
#include <bitset>
#include <memory>
#include <optional>
#include <vector>

#include "prm_types.h"

namespace sim {

constexpr u32 kTcamEntries = 2048;  // of one TCAM
constexpr u32 kTcamKeyBytes = 92;
constexpr u32 kTcamResultBytes = 55;

// One entry, as programmed.
struct TcamEntry {
    u8 value[kTcamKeyBytes];
    u8 mask[kTcamKeyBytes];  // a set bit cares about the value's bit
    u8 result[kTcamResultBytes];
};

// Narrows 512 entries down to those that match a key: for every half byte of the key that an entry cares
// about, a row of 512 bits for each of its 16 values tells the entries that this value satisfies. A look-up
// is the AND of one row per half byte, the most telling half bytes first.
class TcamBlockIndex {
  public:
    static constexpr u32 kEntries = 512;

    // Enters an entry in place of whatever stood there.
    void set(u32 entry, const TcamEntry &keys);
    void erase(u32 entry);
    // Orders the half bytes by how few of its entries one leaves for a key like the entries.
    void order();
    // The first entry that matches, or none. Unless `certain`, the entry is the only one left before every
    // half byte was looked at, and matches if its own keys say so.
    struct Found {
        u32 entry;
        bool certain;
    };
    std::optional<Found> first_match(const u8 *key) const;

  private:
    static constexpr u32 kWords = kEntries / 64;
    static constexpr u32 kHalfBytes = 2 * kTcamKeyBytes;
    using Row = std::array<u64, kWords>;
    struct Position {
        std::array<Row, 16> rows;
        u32 half_byte;  // 2 * byte + (1 for the upper half)
    };

    Row valid_{};
    std::bitset<kHalfBytes> indexed_;
    std::vector<Position> positions_;
};

class TcamTable {
  public:
    // Puts an entry at an index below kTcamEntries, in place of whatever stood there. Tells whether the place
    // was free.
    bool set(u32 index, const u8 *value, const u8 *mask, const u8 *result);
    // Tells whether there was an entry.
    bool erase(u32 index);
    // The entry at an index of any size, or null.
    const TcamEntry *at(u32 index) const;
    u32 size() const { return size_; }
    // visit(index, entry) for every entry, in the order of their indices.
    template <typename Visit>
    void for_each(Visit visit) const {
        for (u32 index = 0; index < kTcamEntries; ++index) {
            if (const TcamEntry *const entry = at(index)) visit(index, *entry);
        }
    }
    // Index of the first entry whose value equals the key in every bit its mask cares about. The key is 92
    // bytes laid out as a programmed value key.
    std::optional<u32> first_match(const u8 *key) const;

  private:
    static constexpr u32 kChunkEntries = 32;
    static constexpr u32 kBlocks = kTcamEntries / TcamBlockIndex::kEntries;
    struct Chunk {
        u32 used = 0;  // a bit an entry
        TcamEntry entries[kChunkEntries];
    };

    u32 size_ = 0;
    std::array<std::unique_ptr<Chunk>, kTcamEntries / kChunkEntries> chunks_;
    // Built lazily, so that a TCAM that nobody looks up in carries none.
    mutable std::array<std::unique_ptr<TcamBlockIndex>, kBlocks> index_;

    TcamBlockIndex *build_index(u32 block) const;
    std::array<u32, kBlocks> block_size_{};
};

}  // namespace sim

#endif
