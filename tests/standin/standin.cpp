// The recording stand-in: see standin.h.
#include "tests/standin/standin.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <type_traits>
#include <utility>

// Records that the operations' headers only name.
#include "prm_srh_l2.h"
#include "prm_srh_lpts.h"
#include "prm_srh_mpls_leaf.h"
#include "prm_srh_nr_ldi.h"
#include "prm_srh_span.h"
#include "prm_srh_tx_adj.h"
#include "zor_vop_prm_label.h"
#include "zor_vop_prm_leaf.h"

extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);
void __real_abort(void);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void __wrap_free(void *block);
[[noreturn]] void __wrap_abort(void);
}

namespace standin {
namespace {

struct Aborted {};

struct State {
    std::vector<Event> log;
    std::map<std::string, Behaviour> behaviours;
    int call_count = 0, failing_call = 0;
    uint32_t failing_answer = 0;
    int allocation_count = 0, failing_allocation = 0;
    std::map<void *, size_t> blocks;
    std::string input;
    bool aborted = false;
    uint32_t handed_out = 0;
    std::map<uint64_t, std::string> names;
};

State &state() {
    static State s;
    return s;
}

bool running = false;  // plain, so that the allocator can look at it at any time

std::string escaped(const std::string &text) {
    std::string result = "\"";
    for (char c : text) {
        switch (c) {
            case '\n':
                result += "\\n";
                break;
            case '\t':
                result += "\\t";
                break;
            case '\r':
                result += "\\r";
                break;
            case '"':
                result += "\\\"";
                break;
            case '\\':
                result += "\\\\";
                break;
            default:
                if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F) {
                    char buffer[8];
                    snprintf(buffer, sizeof buffer, "\\x%02x", static_cast<unsigned char>(c));
                    result += buffer;
                } else {
                    result += c;
                }
        }
    }
    return result + "\"";
}

std::string hex(uint64_t value) {
    char buffer[32];
    snprintf(buffer, sizeof buffer, "0x%llx", static_cast<unsigned long long>(value));
    return buffer;
}

std::string show_pointer(uint64_t value) {
    if (value == 0) return "0";
    if (value == reinterpret_cast<uint64_t>(kEvm)) return "evm";
    if (value == reinterpret_cast<uint64_t>(kMgr)) return "mgr";
    if (value == reinterpret_cast<uint64_t>(kAsync)) return "async";
    return "&";
}

void add_text(Kind kind, const char *text, size_t size) {
    std::vector<Event> &log = state().log;
    // stdio may hand one printf over in pieces, and a puts as text and newline; one line of the log holds
    // what came without anything in between. Prints of the framework stay one call, one event.
    if (kind != Kind::print && !log.empty() && log.back().kind == kind) {
        log.back().text.append(text, size);
        return;
    }
    Event event;
    event.kind = kind;
    event.text.assign(text, size);
    log.push_back(event);
}

void set_bytes(Argument &argument, const void *pointer, size_t size) {
    argument.has_bytes = true;
    const uint8_t *bytes = static_cast<const uint8_t *>(pointer);
    argument.bytes.assign(bytes, bytes + size);
    argument.shown = show_bytes(bytes, size);
}

Argument describe(const Behaviour &, size_t, uint32_t value) {
    Argument argument;
    argument.number = value;
    argument.shown = value < 10 ? std::to_string(value) : hex(value);
    return argument;
}

Argument describe(const Behaviour &, size_t, uintptr_t value) {
    Argument argument;
    argument.number = value;
    const std::string name = show_pointer(value);
    argument.shown = name == "&" ? hex(value) : name;
    return argument;
}

Argument describe(const Behaviour &, size_t, prm_notify_t value) {
    Argument argument;
    argument.number = reinterpret_cast<uint64_t>(value);
    argument.is_pointer = true;
    argument.shown = value == nullptr ? "0" : "handler";
    return argument;
}

Argument describe(const Behaviour &, size_t, const char *value) {
    Argument argument;
    argument.number = reinterpret_cast<uint64_t>(value);
    argument.is_pointer = true;
    argument.text = value == nullptr ? "" : value;
    argument.shown = value == nullptr ? "0" : escaped(value);
    return argument;
}

Argument describe_block(const Behaviour &behaviour, size_t index, const void *value, size_t known_size) {
    Argument argument;
    argument.number = reinterpret_cast<uint64_t>(value);
    argument.is_pointer = true;
    argument.shown = show_pointer(argument.number);
    if (argument.shown != "&") return argument;
    for (const auto &[block_index, size] : behaviour.blocks) {
        if (block_index == index) {
            set_bytes(argument, value, size);
            return argument;
        }
    }
    if (known_size != 0) {
        set_bytes(argument, value, known_size);
        return argument;
    }
    // Otherwise the whole block, from the pointer on, when the suite allocated it.
    auto found = state().blocks.upper_bound(const_cast<void *>(value));
    if (found != state().blocks.begin()) {
        --found;
        const uint8_t *start = static_cast<const uint8_t *>(found->first);
        const uint8_t *at = static_cast<const uint8_t *>(value);
        if (at < start + found->second)
            set_bytes(argument, value, static_cast<size_t>(start + found->second - at));
    }
    return argument;
}

Argument describe(const Behaviour &behaviour, size_t index, void *value) {
    return describe_block(behaviour, index, value, 0);
}
// Out parameters are shown by presence; what they held is kept.
Argument describe(const Behaviour &behaviour, size_t index, void **value) {
    Argument argument = describe_block(behaviour, index, value, sizeof(void *));
    if (value != nullptr) argument.shown = "&" + show_pointer(reinterpret_cast<uint64_t>(*value));
    return argument;
}
Argument describe(const Behaviour &behaviour, size_t index, u32 *value) {
    Argument argument = describe_block(behaviour, index, value, sizeof(u32));
    if (value != nullptr) argument.shown = "&" + std::to_string(*value);
    return argument;
}
Argument describe(const Behaviour &behaviour, size_t index, uidb_client_data *value) {
    return describe_block(behaviour, index, value,
                          value == nullptr ? 0 : sizeof *value + value->features_len);
}
Argument describe(const Behaviour &behaviour, size_t index, uidb_feature_batch *value) {
    return describe_block(behaviour, index, value, value == nullptr ? 0 : sizeof *value + value->entries_len);
}

// A TCAM request is shown without the addresses of its key buffers; the keys follow the arguments.
Argument describe(const Behaviour &behaviour, size_t index, prm_info *value) {
    Argument argument = describe_block(behaviour, index, value, 384);
    if (argument.has_bytes && argument.bytes.size() == 384) {
        Bytes shown = argument.bytes;
        std::fill(shown.begin() + 352, shown.begin() + 376, uint8_t{0});
        argument.shown = show_bytes(shown.data(), shown.size());
    }
    return argument;
}

template <class T>
Argument describe(const Behaviour &behaviour, size_t index, T *value) {
    return describe_block(behaviour, index, value, sizeof(T));
}

template <class T>
uint64_t as_number(T value) {
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<uint64_t>(value);
    else
        return static_cast<uint64_t>(value);
}

// The value, mask and result keys of a TCAM request, which stand outside its record.
void add_keys(Event &event) {
    for (const Argument &argument : event.arguments) {
        if (!argument.has_bytes || argument.bytes.size() != 384) continue;
        const auto u16_at = [&](size_t offset) {
            uint16_t v;
            std::memcpy(&v, argument.bytes.data() + offset, sizeof v);
            return v;
        };
        const auto pointer_at = [&](size_t offset) {
            const uint8_t *p;
            std::memcpy(&p, argument.bytes.data() + offset, sizeof p);
            return p;
        };
        const size_t entries = u16_at(318), key = u16_at(320), result = u16_at(322);
        const std::pair<const uint8_t *, size_t> parts[] = {{pointer_at(352), entries * key},
                                                            {pointer_at(360), entries * key},
                                                            {pointer_at(368), entries * result}};
        for (const auto &[pointer, size] : parts)
            event.keys.push_back(pointer == nullptr ? Bytes() : Bytes(pointer, pointer + size));
    }
}

// What an operation hands out when nobody said otherwise.
void hand_out(Call &call) {
    State &s = state();
    const std::string &name = call.name;
    if (name == "prm_mgr_open") {
        *call.pointer<void *>(6) = kMgr;
    } else if (name == "prm_srh_register") {
        *call.pointer<void *>(0) = kAsync;
    } else if (name == "event_manager_destroy") {
        if (call.arguments[0] != 0) *call.pointer<void *>(0) = nullptr;
    } else if (name == "prm_stats_cl_alloc") {
        *call.pointer<u32>(5) = 0x5000 + ++s.handed_out;
    } else if (name.find("buddy_reserve") != std::string::npos) {
        call.pointer<prm_buddy_reserve>(1)->index = 1000 + ++s.handed_out;
    }
}

template <class... A>
Call answer(const char *name, A... arguments) {
    State &s = state();
    Behaviour &behaviour = s.behaviours[name];
    Event event;
    event.kind = Kind::call;
    event.name = name;
    size_t index = 0;
    (event.arguments.push_back(describe(behaviour, index++, arguments)), ...);
    if (event.name.find("tcam_vmr") != std::string::npos) add_keys(event);

    Call call;
    call.name = name;
    (call.arguments.push_back(as_number(arguments)), ...);
    ++behaviour.calls;
    ++s.call_count;
    for (const Behaviour::Rule &rule : behaviour.rules)
        if (rule.nth == 0 || rule.nth == behaviour.calls) call.answer = rule.answer;
    if (s.call_count == s.failing_call) call.answer = s.failing_answer;

    const size_t at = s.log.size();
    s.log.push_back(event);
    if (call.answer == 0) hand_out(call);
    if (behaviour.hook) behaviour.hook(call);
    s.log[at].answer = call.answer;
    return call;
}

// What the caller gets: a status as it is; where the operation makes something, that or null; a code's text.
template <class Result>
Result result_of(const Call &call) {
    if constexpr (std::is_same_v<Result, const char *>) {
        static std::string text;
        text = "error " + hex(call.arguments.at(0));
        return text.c_str();
    } else if constexpr (std::is_pointer_v<Result>) {
        return call.answer == 0 ? kEvm : nullptr;
    } else {
        return static_cast<Result>(call.answer);  // of one that returns nothing: nothing
    }
}

ssize_t write_out(void *, const char *text, size_t size) {
    if (running) add_text(Kind::out, text, size);
    return static_cast<ssize_t>(size);
}

ssize_t write_err(void *, const char *text, size_t size) {
    if (running) add_text(Kind::err, text, size);
    return static_cast<ssize_t>(size);
}

FILE *recording_stream(cookie_write_function_t *write) {
    cookie_io_functions_t functions = {};
    functions.write = write;
    FILE *stream = fopencookie(nullptr, "w", functions);
    setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

}  // namespace

const Bytes &Event::record() const {
    for (const Argument &argument : arguments)
        if (argument.has_bytes) return argument.bytes;
    throw std::runtime_error(name + ": the call carries no record");
}

std::string Event::line_text() const {
    std::string text_line;
    switch (kind) {
        case Kind::call: {
            text_line = "call " + name + "(";
            for (size_t i = 0; i < arguments.size(); ++i) text_line += (i ? ", " : "") + arguments[i].shown;
            text_line += ")";
            static const char *const parts[] = {" value ", " mask ", " result "};
            for (size_t i = 0; i < keys.size(); ++i)
                text_line += parts[i % 3] + show_bytes(keys[i].data(), keys[i].size());
            return text_line;
        }
        case Kind::print:
            return "print " + escaped(text);
        case Kind::out:
            return "stdout " + escaped(text);
        case Kind::err:
            return "stderr " + escaped(text);
        case Kind::check:
            return "check " + hex(status) + " " + hex(expected) + " " + escaped(expected_name) + " " + file +
                   " " + function + " " + std::to_string(line);
        case Kind::condition:
            return std::string("condition ") + (condition ? "true " : "false ") + escaped(condition_text) +
                   " " + file + " " + function + " " + std::to_string(line) + " " + escaped(text);
        case Kind::aborted:
            return "abort";
    }
    return text_line;
}

Behaviour &Behaviour::returns(uint32_t value) {
    rules.push_back({0, value});
    return *this;
}
Behaviour &Behaviour::returns_on(int nth, uint32_t value) {
    rules.push_back({nth, value});
    return *this;
}
Behaviour &Behaviour::does(std::function<void(Call &)> function) {
    hook = std::move(function);
    return *this;
}
Behaviour &Behaviour::block(size_t index, size_t bytes) {
    blocks.emplace_back(index, bytes);
    return *this;
}

void reset() {
    clear_flash();
    std::map<void *, size_t> left;
    left.swap(state().blocks);
    for (const auto &[block, size] : left) __real_free(block);
    state() = State();
}

Behaviour &on(const std::string &operation) {
    return state().behaviours[operation];
}

void fail_call(int nth, uint32_t value) {
    state().failing_call = nth;
    state().failing_answer = value;
}

void fail_allocation(int nth) {
    state().failing_allocation = nth;
}

void standard_input(const std::string &content) {
    state().input = content;
}

int run(const std::function<int()> &function) {
    State &s = state();
    s.aborted = false;
    s.allocation_count = 0;
    FILE *const real_out = stdout, *const real_err = stderr, *const real_in = stdin;
    // The stream goes away with the run, so what the suite left unread is gone too.
    FILE *input = tmpfile();
    if (input == nullptr) throw std::runtime_error("no file for standard input");
    fwrite(s.input.data(), 1, s.input.size(), input);
    rewind(input);
    static FILE *const out = recording_stream(write_out);
    static FILE *const err = recording_stream(write_err);
    stdout = out;
    stderr = err;
    stdin = input;
    running = true;
    int result = -1;
    try {
        result = function();
    } catch (const Aborted &) {
        s.aborted = true;
    } catch (...) {
        running = false;
        stdout = real_out;
        stderr = real_err;
        stdin = real_in;
        fclose(input);
        throw;
    }
    running = false;
    stdout = real_out;
    stderr = real_err;
    stdin = real_in;
    fclose(input);
    return result;
}

bool aborted() {
    return state().aborted;
}

const std::vector<Event> &log() {
    return state().log;
}

namespace {
template <class Filter>
std::vector<Event> filtered(Filter filter) {
    std::vector<Event> result;
    for (const Event &event : log())
        if (filter(event)) result.push_back(event);
    return result;
}
std::string joined(Kind kind) {
    std::string text;
    for (const Event &event : log())
        if (event.kind == kind) text += event.text;
    return text;
}
}  // namespace

std::vector<Event> calls() {
    return filtered([](const Event &e) { return e.kind == Kind::call; });
}
std::vector<Event> calls(const std::string &operation) {
    return filtered([&](const Event &e) { return e.kind == Kind::call && e.name == operation; });
}
std::vector<Event> checks() {
    return filtered([](const Event &e) { return e.kind == Kind::check || e.kind == Kind::condition; });
}
std::string printed() {
    return joined(Kind::print);
}
std::string standard_output() {
    return joined(Kind::out);
}

std::vector<std::string> transcript() {
    std::vector<std::string> lines;
    for (const Event &event : log()) lines.push_back(event.line_text());
    return lines;
}

std::string transcript_text() {
    std::string text;
    for (const std::string &line : transcript()) text += line + "\n";
    return text;
}

std::vector<std::string> outline() {
    std::vector<std::string> lines;
    for (const Event &event : log())
        lines.push_back(event.kind == Kind::call ? "call " + event.name : event.line_text());
    return lines;
}

size_t live_blocks() {
    return state().blocks.size();
}
size_t live_bytes() {
    size_t total = 0;
    for (const auto &[block, size] : state().blocks) total += size;
    return total;
}
int allocations() {
    return state().allocation_count;
}

std::string show_bytes(const uint8_t *bytes, size_t size) {
    std::string result = std::to_string(size) + "{";
    bool first = true;
    for (size_t i = 0; i < size;) {
        if (bytes[i] == 0) {
            ++i;
            continue;
        }
        result += (first ? "" : " ") + std::to_string(i) + ":";
        first = false;
        for (; i < size && bytes[i] != 0; ++i) {
            char buffer[4];
            snprintf(buffer, sizeof buffer, "%02x", bytes[i]);
            result += buffer;
        }
    }
    return result + "}";
}

}  // namespace standin

// --- What the suite links against -------------------------------------------------------------------------

using namespace standin;

extern "C" {

int kiv_printf(const char *format, ...) {
    char buffer[8192];
    va_list arguments;
    va_start(arguments, format);
    const int size = vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    const bool was_running = std::exchange(running, false);
    add_text(Kind::print, buffer,
             static_cast<size_t>(size) < sizeof buffer ? static_cast<size_t>(size) : sizeof buffer - 1);
    running = was_running;
    return size;
}

int kiv_jyx_check_cerrno_(u32 status, u32 expected, const char *expected_name, const char *file,
                          const char *function, int line) {
    Event event;
    event.kind = Kind::check;
    event.status = status;
    event.expected = expected;
    event.expected_name = expected_name;
    event.file = file;
    event.function = function;
    event.line = line;
    state().log.push_back(event);
    return status == expected ? 1 : 0;
}

int kiv_check__(int flags, int condition, const char *text, const char *file, const char *function, int line,
                const char *format, ...) {
    Event event;
    event.kind = Kind::condition;
    event.flags = flags;
    event.condition = condition != 0;
    event.condition_text = text;
    event.file = file;
    event.function = function;
    event.line = line;
    if (static_cast<unsigned char>(format[0]) != 0xFF)
        throw std::runtime_error("kiv_check__: no 0xFF before the format");
    char buffer[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(buffer, sizeof buffer, format + 1, arguments);
    va_end(arguments);
    event.text = buffer;
    state().log.push_back(event);
    return condition;
}

#define FOR_EACH_ARGUMENT(...) __VA_OPT__(, ) __VA_ARGS__
#define OPERATION(family, result, name, parameters, arguments, ...)          \
    result name parameters {                                                 \
        return result_of<result>(answer(#name FOR_EACH_ARGUMENT arguments)); \
    }
#include "card/operations.def"

void *__wrap_malloc(size_t size) {
    if (!running) return __real_malloc(size);
    running = false;
    State &s = state();
    void *block = nullptr;
    if (++s.allocation_count != s.failing_allocation) {
        block = __real_malloc(size);
        // Not cleared memory is never zero by luck in a test.
        if (block != nullptr) std::memset(block, 0xA5, size);
        s.blocks[block] = size;
    }
    running = true;
    return block;
}

void *__wrap_calloc(size_t count, size_t size) {
    if (!running) return __real_calloc(count, size);
    running = false;
    State &s = state();
    void *block = nullptr;
    if (++s.allocation_count != s.failing_allocation) {
        block = __real_calloc(count, size);
        s.blocks[block] = count * size;
    }
    running = true;
    return block;
}

void __wrap_free(void *block) {
    if (running && block != nullptr) {
        running = false;
        state().blocks.erase(block);
        running = true;
    }
    __real_free(block);
}

void __wrap_abort(void) {
    if (!running) __real_abort();
    Event event;
    event.kind = Kind::aborted;
    state().log.push_back(event);
    throw Aborted();
}

}  // extern "C"
