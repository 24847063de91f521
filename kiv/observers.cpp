// Who subscribed to follow the runs of this process.
#include "kiv/observers.h"

namespace kiv {

namespace {

// Subscriptions come from constructors of static objects, before any of our own has run.
std::vector<Observer *> &subscribed() {
    static std::vector<Observer *> list;
    return list;
}

}  // namespace

void subscribe(Observer *observer) {
    subscribed().push_back(observer);
}

const std::vector<Observer *> &observers() {
    return subscribed();
}

std::string_view status_text(uint32_t status) {
    for (Observer *observer : observers())
        if (const char *text = observer->status_text(status)) return text;
    return {};
}

}  // namespace kiv
