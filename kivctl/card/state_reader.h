// Reads a card's state (prm_kiv --card-state) as it comes: what it costs in memory is one entry.
#ifndef KIVCTL_CARD_STATE_READER_H
#define KIVCTL_CARD_STATE_READER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kivctl {

// One field of an entry. Fields of lists and of objects inside an entry have their place in the name
// ("paths[0].next_hop", "match.src_ipv4"); lists of plain values are one field, "5, 6".
struct StateField {
    std::string name;
    std::string value;  // of a reference: kind and name, "ldi 0xc36900"
    std::string ends;   // of a reference: where it ends
    bool is_reference = false;
    bool dangling = false;       // it names nothing
    bool ends_dangling = false;  // what it names ends at something that is not there

    bool dangles() const { return dangling || ends_dangling; }
};

class StateEntry {
  public:
    const StateField *begin() const { return fields_.data(); }
    const StateField *end() const { return fields_.data() + count_; }
    size_t size() const { return count_; }
    const StateField &operator[](size_t i) const { return fields_[i]; }
    // Null when there is none.
    const StateField *find(std::string_view name) const;
    bool dangles() const;

    void clear() { count_ = 0; }
    StateField &add(std::string_view name);  // empty; good until the next one
    StateField &at(size_t i) { return fields_[i]; }

  private:
    std::vector<StateField> fields_;  // kept for their memory
    size_t count_ = 0;
};

struct StateAccount {
    std::string name;
    uint64_t used = 0, limit = 0;

    bool exhausted() const { return used >= limit && limit != 0; }
};

class StateVisitor {
  public:
    virtual ~StateVisitor() = default;
    // What is said of run and card: "card.type", "0x1e1002".
    virtual void header(std::string_view, std::string_view) {}
    virtual void account(const StateAccount &) {}
    virtual void family_begins(const std::string &, const std::vector<std::string> &) {}
    virtual void entry(const StateEntry &) {}
    virtual void family_ends() {}
};

// Tells the visitor what the file holds; "-" is standard input. False, with *error naming file, line and
// field, when it is no state, is damaged or ends early; what came before has been told then.
bool read_state(const std::string &path, StateVisitor &visitor, std::string *error);

// The same from text; `name` stands for the file in messages.
bool read_state_text(std::string_view text, const std::string &name, StateVisitor &visitor,
                     std::string *error);

}  // namespace kivctl

#endif
