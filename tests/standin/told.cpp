#include "tests/standin/told.h"

#include <cstdarg>
#include <cstdio>

namespace standin {
namespace {

Told *listener;
CheckCounts counts;
char text[4096];  // the last print; a longer one is cut

// Formats a print also when nobody listens, so that an argument that is no text is seen.
int format_text(const char *format, va_list arguments) {
    return vsnprintf(text, sizeof text, format, arguments);
}

void count_check(bool passed) {
    ++counts.all;
    if (!passed) ++counts.failed;
    if (listener != nullptr) ++listener->checks;
}

// *told listens from here on; who listened before comes back afterwards.
class Listening {
  public:
    explicit Listening(Told *told) : before_(listener) { listener = told; }
    ~Listening() { listener = before_; }
    Listening(const Listening &) = delete;
    Listening &operator=(const Listening &) = delete;

  private:
    Told *before_;
};

}  // namespace

Told told_by(const std::string &name, const std::function<void()> &function) {
    Told told;
    told.name = name;
    const Listening listening(&told);
    function();
    return told;
}

std::vector<Told> told_by_folder(const Registration &registration, const std::string &folder,
                                 Told *fixtures) {
    std::vector<Told> all;
    const Listening listening(fixtures);
    const std::vector<const Case *> cases = registration.cases_of(folder);
    if (!cases.empty() && cases.front()->folder->set_up != nullptr) cases.front()->folder->set_up();
    for (const Case *each : cases) all.push_back(told_by(*each));
    if (!cases.empty() && cases.front()->folder->tear_down != nullptr) cases.front()->folder->tear_down();
    return all;
}

CheckCounts check_counts() {
    return counts;
}

}  // namespace standin

using namespace standin;

extern "C" {

int kiv_printf(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int size = format_text(format, arguments);
    va_end(arguments);
    if (listener != nullptr) listener->printed += text;
    return size;
}

int kiv_jyx_check_cerrno_(u32 status, u32 expected, const char *, const char *, const char *function,
                          int line) {
    const bool passed = status == expected;
    count_check(passed);
    if (!passed && listener != nullptr) {
        char numbers[64];
        snprintf(numbers, sizeof numbers, ":%d: 0x%x, not 0x%x", line, status, expected);
        listener->failed_checks.push_back(function + std::string(numbers));
    }
    return passed ? 1 : 0;
}

// The message begins with the byte 0xFF, which is not part of it.
int kiv_check__(int, int condition, const char *condition_text, const char *, const char *function, int line,
                const char *format, ...) {
    count_check(condition != 0);
    va_list arguments;
    va_start(arguments, format);
    format_text(format + 1, arguments);
    va_end(arguments);
    if (condition == 0 && listener != nullptr)
        listener->failed_checks.push_back(function + (":" + std::to_string(line)) + ": " + condition_text);
    return condition;
}

}  // extern "C"
