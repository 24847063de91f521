// Arguments and results of operations as words of eight bytes, and back.
#ifndef TRACE_WORDS_H
#define TRACE_WORDS_H

#include <cstdint>
#include <type_traits>

namespace trace {

template <class Value>
uint64_t as_word(Value value) {
    if constexpr (std::is_pointer_v<Value>) {
        return reinterpret_cast<uint64_t>(value);
    } else {
        return static_cast<uint64_t>(value);
    }
}

template <class Value>
Value from_word(uint64_t word) {
    if constexpr (std::is_pointer_v<Value>) {
        return reinterpret_cast<Value>(word);  // NOLINT(performance-no-int-to-ptr)
    } else {
        return static_cast<Value>(word);
    }
}

}  // namespace trace

#endif
