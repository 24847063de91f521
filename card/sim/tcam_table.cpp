#include "tcam_table.h"

#include <bit>
#include <cstring>

namespace sim {

void TcamBlockIndex::set(uint32_t entry, const TcamEntry &keys) {
    const uint32_t word = entry / 64;
    const uint64_t bit = uint64_t{1} << entry % 64;
    for (uint32_t h = 0; h < kHalfBytes; ++h) {
        const uint32_t care = keys.mask[h / 2] >> (h % 2 * 4) & 0xF;
        if (care != 0 && !indexed_[h]) {
            // Until now no entry cared about this half byte: every value satisfies all of them.
            indexed_.set(h);
            Position position{static_cast<uint8_t>(h), {}};
            for (Row &row : position.rows) row.fill(~uint64_t{0});
            positions_.push_back(position);
        }
    }
    for (Position &position : positions_) {
        const uint32_t shift = position.half_byte % 2 * 4u;
        const uint32_t value = keys.value[position.half_byte / 2] >> shift & 0xF;
        const uint32_t care = keys.mask[position.half_byte / 2] >> shift & 0xF;
        for (uint32_t v = 0; v < 16; ++v) {
            const uint64_t satisfied = ((v ^ value) & care) == 0 ? bit : 0;
            position.rows[v][word] = (position.rows[v][word] & ~bit) | satisfied;
        }
    }
    valid_[word] |= bit;
}

void TcamBlockIndex::erase(uint32_t entry) {
    valid_[entry / 64] &= ~(uint64_t{1} << entry % 64);
}

std::optional<uint32_t> TcamBlockIndex::first_match(const uint8_t *key) const {
    Row matching = valid_;
    for (const Position &position : positions_) {
        const Row &row = position.rows[key[position.half_byte / 2] >> (position.half_byte % 2 * 4) & 0xF];
        uint64_t any = 0;
        for (uint32_t w = 0; w < kWords; ++w) {
            matching[w] &= row[w];
            any |= matching[w];
        }
        if (any == 0) return std::nullopt;
    }
    for (uint32_t w = 0; w < kWords; ++w)
        if (matching[w] != 0) return w * 64 + static_cast<uint32_t>(std::countr_zero(matching[w]));
    return std::nullopt;
}

bool TcamTable::set(uint32_t index, const uint8_t *value, const uint8_t *mask, const uint8_t *result) {
    std::unique_ptr<Chunk> &chunk = chunks_[index / kChunkEntries];
    if (!chunk) chunk.reset(new Chunk);
    TcamEntry &entry = chunk->entries[index % kChunkEntries];
    memcpy(entry.value, value, sizeof entry.value);
    memcpy(entry.mask, mask, sizeof entry.mask);
    memcpy(entry.result, result, sizeof entry.result);
    const uint32_t block = index / TcamBlockIndex::kEntries;
    if (index_[block]) index_[block]->set(index % TcamBlockIndex::kEntries, entry);
    const uint32_t bit = 1u << index % kChunkEntries;
    if (chunk->used & bit) return false;
    chunk->used |= bit;
    ++block_size_[block];
    ++size_;
    return true;
}

bool TcamTable::erase(uint32_t index) {
    if (at(index) == nullptr) return false;
    std::unique_ptr<Chunk> &chunk = chunks_[index / kChunkEntries];
    chunk->used &= ~(1u << index % kChunkEntries);
    if (chunk->used == 0) chunk.reset();
    const uint32_t block = index / TcamBlockIndex::kEntries;
    if (index_[block]) index_[block]->erase(index % TcamBlockIndex::kEntries);
    if (--block_size_[block] == 0) index_[block].reset();
    --size_;
    return true;
}

const TcamEntry *TcamTable::at(uint32_t index) const {
    if (index >= kTcamEntries) return nullptr;
    const Chunk *chunk = chunks_[index / kChunkEntries].get();
    if (chunk == nullptr || (chunk->used >> index % kChunkEntries & 1) == 0) return nullptr;
    return &chunk->entries[index % kChunkEntries];
}

std::optional<uint32_t> TcamTable::first_match(const uint8_t *key) const {
    for (uint32_t block = 0; block < kBlocks; ++block) {
        if (block_size_[block] == 0) continue;
        const TcamBlockIndex *index = index_[block] ? index_[block].get() : build_index(block);
        if (const auto entry = index->first_match(key)) return block * TcamBlockIndex::kEntries + *entry;
    }
    return std::nullopt;
}

TcamBlockIndex *TcamTable::build_index(uint32_t block) const {
    index_[block] = std::make_unique<TcamBlockIndex>();
    for (uint32_t i = 0; i < TcamBlockIndex::kEntries; ++i)
        if (const TcamEntry *entry = at(block * TcamBlockIndex::kEntries + i)) index_[block]->set(i, *entry);
    return index_[block].get();
}

}  // namespace sim
