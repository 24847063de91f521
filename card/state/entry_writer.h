// The fields of one entry of the state, as the families write them.
#ifndef CARD_STATE_ENTRY_WRITER_H
#define CARD_STATE_ENTRY_WRITER_H

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "card/records/decode.h"
#include "card/sim/table.h"
#include "card/state/json_writer.h"
#include "card/state/resolve.h"

namespace card {

// Writes the entries of one family; a family has a key, the fields that tell its entries apart.
class FamilyWriter {
  public:
    FamilyWriter(JsonWriter &json, Resolver &resolver) : json_(json), resolver_(resolver) {}

    void begin_entry() {
        json_.new_line();
        json_.begin_object();
    }
    void end_entry() { json_.end_object(); }

    void number(std::string_view name, uint64_t value) {
        json_.key(name);
        json_.number(value);
    }
    void hex(std::string_view name, uint64_t value) {
        json_.key(name);
        json_.hex(value);
    }
    void text(std::string_view name, std::string_view value) {
        json_.key(name);
        json_.text(value);
    }
    // Said only when there are any.
    void count(std::string_view name, uint64_t value) {
        if (value != 0) number(name, value);
    }
    // Said only when it holds.
    void flag(std::string_view name, bool value) {
        if (!value) return;
        json_.key(name);
        json_.boolean(true);
    }
    void numbers(std::string_view name, const std::vector<u32> &values) {
        json_.key(name);
        json_.begin_array();
        for (const u32 value : values) json_.number(value);
        json_.end_array();
    }
    void texts(std::string_view name, const std::vector<std::string> &values) {
        json_.key(name);
        json_.begin_array();
        for (const std::string &value : values) json_.text(value);
        json_.end_array();
    }
    void ipv4(std::string_view name, u32 address);
    void mac(std::string_view name, const u8 (&address)[6]);
    // Parts of a flag byte by name; nothing when none is set.
    void flags(std::string_view name, prm_list<prm_bits> bits, u64 value);
    // A reference: what it names, whether that is there, and where it ends.
    void reference(std::string_view name, const Reference &reference);
    // What is not 0 of a record, by its field table.
    void record(std::string_view name, const prm_record &table, Block bytes);

    void begin_list(std::string_view name) {
        json_.key(name);
        json_.begin_array();
    }
    void end_list() { json_.end_array(); }
    void begin_item() { json_.begin_object(); }
    void end_item() { json_.end_object(); }

    Resolver &resolver() { return resolver_; }
    JsonWriter &json() { return json_; }

  private:
    JsonWriter &json_;
    Resolver &resolver_;
};

// visit(key, entry, users) for every entry of a table, in the order of the keys.
template <typename Key, typename Entry, typename Visit, typename Less = std::less<Key>>
void in_order(const sim::Table<Key, Entry> &table, Visit visit, Less less = {}) {
    struct Row {
        const Key *key;
        const Entry *entry;
        u32 users;
    };
    std::vector<Row> rows;
    rows.reserve(table.size());
    table.for_each([&](const Key &key, const Entry &entry, u32 users) {
        rows.push_back({&key, &entry, users});
    });
    std::sort(rows.begin(), rows.end(), [&](const Row &a, const Row &b) { return less(*a.key, *b.key); });
    for (const Row &row : rows) visit(*row.key, *row.entry, row.users);
}

// The same for a plain map.
template <typename Map, typename Visit>
void in_order_of_keys(const Map &map, Visit visit) {
    std::vector<typename Map::key_type> keys;
    for (const auto &[key, value] : map) keys.push_back(key);
    std::sort(keys.begin(), keys.end());
    for (const auto &key : keys) visit(key, map.find(key)->second);
}

}  // namespace card

#endif
