// Bytes as a card's state: see state_feed.h.
#include "tests/fuzz/kivctl/state_feed.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "kivctl/card/state_table.h"

namespace {

void require(bool condition, const char *what) {
    if (condition) return;
    fprintf(stderr, "%s\n", what);
    abort();
}

class Tables : public kivctl::StateVisitor {
  public:
    void family_begins(const std::string &name, const std::vector<std::string> &) override {
        require(!open_, "a family begins within one");
        open_ = true;
        table_.begin(name);
    }
    void entry(const kivctl::StateEntry &entry) override {
        require(open_, "an entry outside of a family");
        for (const kivctl::StateField &field : entry)
            require(entry.find(field.name) != nullptr, "a field that cannot be found");
        table_.add(entry);
        out_.clear();
    }
    void family_ends() override {
        require(open_, "a family ends that did not begin");
        open_ = false;
        table_.end();
        out_.clear();
    }
    bool open() const { return open_; }

  private:
    std::string out_;
    kivctl::StateTable table_{&out_};
    bool open_ = false;
};

}  // namespace

void feed_state(const uint8_t *data, size_t size) {
    Tables tables;
    std::string error;
    const bool good =
        kivctl::read_state_text({reinterpret_cast<const char *>(data), size}, "fuzz", tables, &error);
    require(good == error.empty(), "refused without a reason, or read with one");
    require(!good || !tables.open(), "a family that never ended");
}
