// The entries of one TCAM in chunks, and the index that narrows a look-up down.
#include "card/sim/tcam_table.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace sim {
namespace {

// Whether a key satisfies an entry's value and mask.
bool matches(const TcamEntry &entry, const u8 *key) {
    u8 differing = 0;
    for (u32 i = 0; i < kTcamKeyBytes; ++i) differing |= (key[i] ^ entry.value[i]) & entry.mask[i];
    return differing == 0;
}

}  // namespace

void TcamBlockIndex::set(u32 entry, const TcamEntry &keys) {
    erase(entry);
    for (u32 h = 0; h < kHalfBytes; ++h) {
        const u32 care = keys.mask[h / 2] >> (h % 2 * 4) & 0xF;
        if (care == 0 || indexed_[h]) continue;
        // Until now no entry cared about this half byte: every value satisfies all of them.
        indexed_.set(h);
        positions_.push_back({{}, h});
        positions_.back().rows.fill(valid_);
    }
    const u32 word = entry / 64;
    const u64 bit = u64{1} << entry % 64;
    for (Position &position : positions_) {
        const u32 shift = position.half_byte % 2 * 4;
        const u32 value = keys.value[position.half_byte / 2] >> shift & 0xF;
        const u32 care = keys.mask[position.half_byte / 2] >> shift & 0xF;
        if (care == 0xF) {
            position.rows[value][word] |= bit;
            continue;
        }
        for (u32 v = 0; v < 16; ++v) {
            if (((v ^ value) & care) == 0) position.rows[v][word] |= bit;
        }
    }
    valid_[word] |= bit;
}

void TcamBlockIndex::erase(u32 entry) {
    const u32 word = entry / 64;
    const u64 bit = u64{1} << entry % 64;
    if ((valid_[word] & bit) == 0) return;
    valid_[word] &= ~bit;
    for (Position &position : positions_) {
        for (Row &row : position.rows) row[word] &= ~bit;
    }
}

// A key like the entries satisfies a row's entries as often as the row has entries.
void TcamBlockIndex::order() {
    std::vector<std::pair<u64, u32>> left;  // entries left, summed over such keys; position
    for (u32 p = 0; p < positions_.size(); ++p) {
        u64 sum = 0;
        for (const Row &row : positions_[p].rows) {
            u64 entries = 0;
            for (u32 w = 0; w < kWords; ++w) entries += static_cast<u64>(std::popcount(row[w] & valid_[w]));
            sum += entries * entries;
        }
        left.emplace_back(sum, p);
    }
    std::sort(left.begin(), left.end());
    std::vector<Position> ordered;
    ordered.reserve(left.size());
    for (const auto &[sum, p] : left) ordered.push_back(positions_[p]);
    positions_ = std::move(ordered);
}

std::optional<TcamBlockIndex::Found> TcamBlockIndex::first_match(const u8 *key) const {
    Row matching = valid_;
    const auto first = [&matching] {
        u32 w = 0;
        while (matching[w] == 0) ++w;
        return w * 64 + static_cast<u32>(std::countr_zero(matching[w]));
    };
    for (const Position &position : positions_) {
        const Row &row = position.rows[key[position.half_byte / 2] >> (position.half_byte % 2 * 4) & 0xF];
        u64 any = 0;
        u32 words = 0;
        for (u32 w = 0; w < kWords; ++w) {
            matching[w] &= row[w];
            any |= matching[w];
            words += matching[w] != 0;
        }
        if (any == 0) return std::nullopt;
        if (words == 1 && std::has_single_bit(any)) return Found{first(), false};
    }
    return Found{first(), true};
}

bool TcamTable::set(u32 index, const u8 *value, const u8 *mask, const u8 *result) {
    std::unique_ptr<Chunk> &chunk = chunks_[index / kChunkEntries];
    if (!chunk) chunk.reset(new Chunk);
    TcamEntry &entry = chunk->entries[index % kChunkEntries];
    memcpy(entry.value, value, sizeof entry.value);
    memcpy(entry.mask, mask, sizeof entry.mask);
    memcpy(entry.result, result, sizeof entry.result);
    const u32 block = index / TcamBlockIndex::kEntries;
    if (index_[block]) index_[block]->set(index % TcamBlockIndex::kEntries, entry);
    const u32 bit = 1u << index % kChunkEntries;
    if (chunk->used & bit) return false;
    chunk->used |= bit;
    ++block_size_[block];
    ++size_;
    return true;
}

bool TcamTable::erase(u32 index) {
    if (at(index) == nullptr) return false;
    std::unique_ptr<Chunk> &chunk = chunks_[index / kChunkEntries];
    chunk->used &= ~(1u << index % kChunkEntries);
    if (chunk->used == 0) chunk.reset();
    const u32 block = index / TcamBlockIndex::kEntries;
    if (index_[block]) index_[block]->erase(index % TcamBlockIndex::kEntries);
    if (--block_size_[block] == 0) index_[block].reset();
    --size_;
    return true;
}

const TcamEntry *TcamTable::at(u32 index) const {
    if (index >= kTcamEntries) return nullptr;
    const Chunk *chunk = chunks_[index / kChunkEntries].get();
    if (chunk == nullptr || (chunk->used >> index % kChunkEntries & 1) == 0) return nullptr;
    return &chunk->entries[index % kChunkEntries];
}

std::optional<u32> TcamTable::first_match(const u8 *key) const {
    for (u32 block = 0; block < kBlocks; ++block) {
        if (block_size_[block] == 0) continue;
        const TcamBlockIndex *index = index_[block] ? index_[block].get() : build_index(block);
        const auto found = index->first_match(key);
        if (!found) continue;
        const u32 entry = block * TcamBlockIndex::kEntries + found->entry;
        if (found->certain || matches(*at(entry), key)) return entry;
    }
    return std::nullopt;
}

TcamBlockIndex *TcamTable::build_index(u32 block) const {
    index_[block] = std::make_unique<TcamBlockIndex>();
    for (u32 i = 0; i < TcamBlockIndex::kEntries; ++i)
        if (const TcamEntry *entry = at(block * TcamBlockIndex::kEntries + i)) index_[block]->set(i, *entry);
    index_[block]->order();
    return index_[block].get();
}

}  // namespace sim
