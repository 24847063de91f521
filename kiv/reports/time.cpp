// Points in time and durations, as text.
#include "kiv/reports/time.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "kiv/reports/escape.h"

namespace kiv::reports {

void append_seconds(std::string &to, std::chrono::nanoseconds time) {
    int64_t ns = time.count();
    if (ns < 0) {
        to += '-';
        ns = -ns;
    }
    append_number(to, static_cast<uint64_t>(ns / 1000000000));
    uint32_t fraction = static_cast<uint32_t>(ns % 1000000000);
    if (fraction == 0) return;
    char digits[10] = {'.'};
    int used = 0;
    for (int i = 9; i >= 1; --i, fraction /= 10) {
        digits[i] = static_cast<char>('0' + fraction % 10);
        if (used == 0 && digits[i] != '0') used = i + 1;
    }
    to.append(digits, static_cast<size_t>(used));
}

std::string duration_text(std::chrono::nanoseconds duration) {
    const double ns = static_cast<double>(duration.count());
    struct Unit {
        double size;
        const char *name;
    };
    static constexpr Unit kUnits[] = {{1e9, "s"}, {1e6, "ms"}, {1e3, "us"}, {1, "ns"}};
    char text[48];
    if (ns >= 100e9) {
        const long seconds = std::lround(ns / 1e9);
        if (seconds < 3600)
            snprintf(text, sizeof text, "%ld min %ld s", seconds / 60, seconds % 60);
        else
            snprintf(text, sizeof text, "%ld h %ld min", seconds / 3600, seconds / 60 % 60);
        return text;
    }
    for (const Unit &unit : kUnits) {
        const double value = ns / unit.size;
        if (value < 0.9995 && unit.size > 1) continue;
        snprintf(text, sizeof text, value < 9.95 && unit.size > 1 ? "%.1f %s" : "%.0f %s", value, unit.name);
        break;
    }
    return text;
}

bool parse_time(std::string_view text, int64_t *nanoseconds) {
    const auto number = [&](size_t at, size_t length, int *value) {
        *value = 0;
        for (size_t i = at; i < at + length; ++i) {
            if (text[i] < '0' || text[i] > '9') return false;
            *value = *value * 10 + (text[i] - '0');
        }
        return true;
    };
    int year, month, day, hour, minute, second;
    if (text.size() < 19 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':' || !number(0, 4, &year) || !number(5, 2, &month) || !number(8, 2, &day) ||
        !number(11, 2, &hour) || !number(14, 2, &minute) || !number(17, 2, &second))
        return false;
    const std::chrono::year_month_day date{std::chrono::year(year),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok() || hour > 23 || minute > 59 || second > 60 || year < 1970 || year > 2200) return false;
    int64_t ns = std::chrono::nanoseconds(std::chrono::sys_days(date).time_since_epoch()).count() +
                 ((hour * 60 + minute) * 60ll + second) * 1000000000;
    size_t at = 19;
    if (at < text.size() && text[at] == '.') {
        int64_t scale = 100000000;
        for (++at; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at, scale /= 10)
            ns += (text[at] - '0') * scale;
    }
    if (at < text.size() && text.substr(at) != "Z") return false;
    *nanoseconds = ns;
    return true;
}

void Clock::start(std::string_view started_at) {
    if (!parse_time(started_at, &start_ns_)) start_ns_ = 0;
}

void Clock::prepare(int64_t second) {
    if (second == second_) return;
    second_ = second;
    const std::chrono::sys_seconds time{std::chrono::seconds(second)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const auto in_day = static_cast<unsigned>((time - day).count());
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02u:%02u:%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), in_day / 3600,
                  in_day / 60 % 60, in_day % 60);
    memcpy(text_, text, 19);
}

void Clock::append(std::string &to, std::chrono::nanoseconds since_start) {
    const int64_t ns = start_ns_ + since_start.count();
    prepare(ns / 1000000000);
    to.append(text_, 19);
    char digits[11] = ".000000000";
    uint32_t fraction = static_cast<uint32_t>(ns % 1000000000);
    for (int i = 9; i >= 1; --i, fraction /= 10) digits[i] = static_cast<char>('0' + fraction % 10);
    digits[10] = 'Z';
    to.append(digits, 11);
}

void Clock::append_to_second(std::string &to, std::chrono::nanoseconds since_start) {
    prepare((start_ns_ + since_start.count()) / 1000000000);
    to.append(text_, 19);
}

}  // namespace kiv::reports
