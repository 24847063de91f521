// A recording stand-in for everything the suite calls: the platform operations, the test framework's prints
// and checks, the allocator, abort and the card's flash. It links with the suite's sources alone.
//
// A test arranges answers (on, fail_call, fail_allocation, flash_file, standard_input), runs a case with
// run() and reads what happened, in order, from log() or as text from transcript():
//
//   call prm_srh_bd_add(async, 2124{0:0a 12:04 20:01 68:90})
//   print "prm_srh_bd_add failed"
//   check 0x5 0x0 "CERR_SUCCESS" prm/test/src/prm_kiv_vpls tc_kiv_vpls_add_ac 260
//
// A record is shown as its size and its runs of non-zero bytes in hex, each at its decimal offset; a TCAM
// request without the addresses of its key buffers.
#ifndef TESTS_STANDIN_STANDIN_H
#define TESTS_STANDIN_STANDIN_H

#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cerr.h"
#include "event_manager.h"
#include "kiv.h"
#include "platform_info.h"
#include "prm_mgr.h"
#include "prm_srh.h"
#include "tests/standin/flash.h"
#include "uidb.h"
#include "wyk_hal_wrapper.h"
#include "zor_vop_prm.h"

namespace standin {

using Bytes = std::vector<uint8_t>;

// Handles the stand-in gives out; shown in transcripts as "evm", "mgr", "async".
inline void *const kEvm = reinterpret_cast<void *>(0xE0E0);
inline void *const kMgr = reinterpret_cast<void *>(0xE1E1);
inline void *const kAsync = reinterpret_cast<void *>(0xE2E2);

enum class Kind {
    call,       // a platform operation
    print,      // kiv_printf
    out,        // standard output: printf, puts
    err,        // standard error: perror
    check,      // kiv_jyx_check_cerrno_
    condition,  // kiv_check__
    aborted,    // abort
};

// One argument of a call: its value (numbers and pointers alike) and, for a pointer to a block whose size
// is known, the bytes it held when the call began.
struct Argument {
    uint64_t number = 0;
    bool is_pointer = false;
    bool has_bytes = false;
    Bytes bytes;
    std::string text;  // of a C string
    std::string shown;
};

struct Event {
    Kind kind = Kind::call;
    std::string name;  // of the operation
    std::vector<Argument> arguments;
    std::vector<Bytes> keys;  // prm_info: value, mask and result keys as the call began
    uint32_t answer = 0;      // what the stand-in returned
    std::string text;         // printed text; the message of a condition
    // Checks:
    uint32_t status = 0, expected = 0;
    std::string expected_name, file, function;
    int line = 0;
    int flags = 0;
    bool condition = false;
    std::string condition_text;

    // The record of the first argument that carries bytes; throws when there is none.
    const Bytes &record() const;
    // That record as a struct; throws when its size differs.
    template <class T>
    T as() const {
        const Bytes &bytes = record();
        if (bytes.size() < sizeof(T)) throw std::runtime_error(name + ": record is shorter than the struct");
        T value;
        std::memcpy(static_cast<void *>(&value), bytes.data(), sizeof(T));
        return value;
    }
    template <class T>
    T field(size_t offset) const {
        const Bytes &bytes = record();
        if (offset + sizeof(T) > bytes.size()) throw std::out_of_range(name + ": field past the record");
        T value;
        std::memcpy(&value, bytes.data() + offset, sizeof(T));
        return value;
    }
    std::string line_text() const;  // the event as its transcript line
};

// A call under way, as a hook sees it: it may write to the blocks the pointers name.
struct Call {
    std::string name;
    std::vector<uint64_t> arguments;
    uint32_t answer = 0;  // what the call will return; hooks may change it

    template <class T>
    T *pointer(size_t index) const {
        return reinterpret_cast<T *>(arguments.at(index));
    }
    template <class T>
    void put(size_t index, size_t offset, T value) const {
        std::memcpy(pointer<uint8_t>(index) + offset, &value, sizeof(T));
    }
};

// How one operation answers. By default it returns 0 and writes nothing, but for those that hand something
// out: handles as above, the statistics pointer 0x5000 + n, buddy reservations 1000 + n.
class Behaviour {
  public:
    Behaviour &returns(uint32_t answer);              // every call
    Behaviour &returns_on(int nth, uint32_t answer);  // the n-th call of this operation, counted from 1
    Behaviour &does(std::function<void(Call &)> hook);
    // Bytes of the block that argument `index` names, for blocks the stand-in cannot size by itself (blocks
    // on the stack given to a HAL operation).
    Behaviour &block(size_t index, size_t bytes);

    struct Rule {
        int nth;
        uint32_t answer;
    };
    std::vector<Rule> rules;
    std::function<void(Call &)> hook;
    std::vector<std::pair<size_t, size_t>> blocks;
    int calls = 0;
};

// Forgets everything: log, behaviours, allocations, flash files, standard input. The Suite fixture does it.
// The suite's globals are zeroed by no one; tests that depend on one set it.
void reset();

Behaviour &on(const std::string &operation);

// The n-th platform operation of the run (from 1, whatever it is) returns `answer`; 0 for none.
void fail_call(int nth, uint32_t answer);

// The n-th malloc or calloc of the suite (from 1) returns null; 0 for none.
void fail_allocation(int nth);

// What the case reads on standard input; nothing by default (end of input).
void standard_input(const std::string &content);

// Runs a case or fixture and returns what it returned; an abort ends it (aborted() tells) and returns -1.
int run(const std::function<int()> &function);
bool aborted();

const std::vector<Event> &log();
std::vector<Event> calls();                              // platform operations only
std::vector<Event> calls(const std::string &operation);  // of one operation
std::vector<Event> checks();                             // both kinds
std::string printed();                                   // all kiv_printf text, joined
std::string standard_output();                           // all stdout text, joined
std::vector<std::string> transcript();                   // the log, a line each
// The same in one text, a newline after each line.
std::string transcript_text();
// Transcript without the contents of records: names, prints and checks only.
std::vector<std::string> outline();

// Blocks the suite allocated in run() and did not release.
size_t live_blocks();
size_t live_bytes();
// Number of malloc and calloc calls of the last run.
int allocations();

// "size{offset:hex hex ...}" as in transcripts.
std::string show_bytes(const uint8_t *bytes, size_t size);

// A value of type T inside `size` zero bytes, for comparing whole records.
class RecordBuilder {
  public:
    explicit RecordBuilder(size_t size) : bytes_(size) {}
    template <class T>
    RecordBuilder &at(size_t offset, T value) {
        if (offset + sizeof(T) > bytes_.size()) throw std::out_of_range("field past the record");
        std::memcpy(bytes_.data() + offset, &value, sizeof(T));
        return *this;
    }
    RecordBuilder &u8_at(size_t offset, uint32_t v) { return at<uint8_t>(offset, static_cast<uint8_t>(v)); }
    RecordBuilder &u16_at(size_t offset, uint32_t v) {
        return at<uint16_t>(offset, static_cast<uint16_t>(v));
    }
    RecordBuilder &u32_at(size_t offset, uint32_t v) { return at<uint32_t>(offset, v); }
    RecordBuilder &bytes_at(size_t offset, std::initializer_list<int> values) {
        for (int v : values) u8_at(offset++, static_cast<uint32_t>(v));
        return *this;
    }
    operator Bytes() const { return bytes_; }
    const Bytes &bytes() const { return bytes_; }

  private:
    Bytes bytes_;
};

}  // namespace standin

#endif
