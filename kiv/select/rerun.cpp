// Selectors from the event stream of an earlier run.
#include "kiv/select/rerun.h"

#include <map>
#include <nlohmann/json.hpp>

#include "kiv/files.h"

namespace kiv {

namespace {

std::string text_of(const nlohmann::json &event, const char *key) {
    const auto found = event.find(key);
    return found != event.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

bool read_failed(const std::string &path, std::vector<Selector> *selectors, std::string *error) {
    std::string text;
    if (!read_file(path, &text, error)) return false;
    std::vector<std::string> order;
    std::map<std::string, bool> failed;
    int number = 0, events = 0;
    for (size_t at = 0; at < text.size();) {
        const size_t newline = text.find('\n', at);
        const size_t end = std::min(newline, text.size());
        const nlohmann::json event =
            nlohmann::json::parse(text.begin() + static_cast<ptrdiff_t>(at),
                                  text.begin() + static_cast<ptrdiff_t>(end), nullptr, false);
        const bool blank = text.find_first_not_of(" \t\r", at) >= end;
        at = end + 1;
        ++number;
        if (blank) continue;
        if (!event.is_object()) {
            if (newline == std::string::npos && events > 0) break;  // cut off in the middle of its last line
            *error = path + ":" + std::to_string(number) + ": no event of a run";
            return false;
        }
        ++events;
        const std::string folder = text_of(event, "Package"), name = text_of(event, "Test");
        const std::string action = text_of(event, "Action");
        if (folder.empty() || name.empty() || (action != "pass" && action != "fail" && action != "skip"))
            continue;
        const std::string selector = folder + "/" + name;
        if (!failed.contains(selector)) order.push_back(selector);
        failed[selector] = action != "pass";
    }
    if (events == 0) {
        *error = path + ": no events of a run";
        return false;
    }
    for (const std::string &name : order) {
        if (!failed[name]) continue;
        Selector selector;
        selector.text = name;
        selectors->push_back(selector);
    }
    return true;
}

}  // namespace kiv
