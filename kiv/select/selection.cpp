// From selectors to the cases that run, and their order.
#include "kiv/select/selection.h"

#include <fnmatch.h>

#include <algorithm>
#include <map>
#include <random>

#include "kiv/select/nearest.h"

namespace kiv {

namespace {

bool is_glob(const std::string &text) {
    return text.find_first_of("*?[\\") != std::string::npos;
}

const kiv_folder *find_folder(const kiv_context &context, std::string_view path) {
    for (const kiv_folder &folder : context.folders)
        if (folder.path == path) return &folder;
    return nullptr;
}

std::string nearest_folders(const kiv_context &context, const std::string &path) {
    Nearest nearest(path);
    for (const kiv_folder &folder : context.folders) nearest.offer(folder.path);
    return nearest.question();
}

// For a pattern that matches nothing: the folder before its first wildcard may be misspelt.
std::string suggestion_for_glob(const kiv_context &context, const std::string &pattern) {
    const size_t slash = pattern.rfind('/', pattern.find_first_of("*?[\\"));
    const std::string folder = pattern.substr(0, slash == std::string::npos ? 0 : slash);
    if (folder.empty() || find_folder(context, folder) != nullptr) return "";
    return "; there is no folder " + folder + nearest_folders(context, folder);
}

// For a name that stands alone.
std::string suggestion_for_name(const kiv_context &context, const std::string &name) {
    const std::string folders = nearest_folders(context, name);
    for (const Case &test : context.cases)
        if (test.bare_name() == name) return "; did you mean " + test.selector() + "?";
    if (!folders.empty()) return folders;
    for (const Case &test : context.cases) {
        Nearest near_enough(name, 1);
        near_enough.offer(test.bare_name());
        if (!near_enough.names().empty()) return "; did you mean " + test.selector() + "?";
    }
    return "";
}

// For a case of a folder that there is.
std::string suggestion_in_folder(const kiv_context &context, const kiv_folder &folder,
                                 const std::string &name) {
    Nearest nearest(name);
    size_t count = 0;
    for (const kiv_folder &other : context.folders)
        if (other.parent == &folder)
            nearest.offer(std::string_view(other.path).substr(folder.path.size() + 1));
    for (const Case &test : context.cases) {
        if (!test.folder->is_below(&folder)) continue;
        ++count;
        nearest.offer(std::string_view(test.selector()).substr(folder.path.size() + 1));
    }
    const std::string question = nearest.question(folder.path + "/");
    return !question.empty()
               ? question
               : "; " + folder.path + " has " + std::to_string(count) + (count == 1 ? " case" : " cases") +
                     ", which --list " + folder.path + " shows";
}

// For a case of a folder that there is not: most likely the case of that name in a folder that is called
// nearly so.
std::string suggestion_elsewhere(const kiv_context &context, const std::string &selector) {
    const size_t slash = selector.rfind('/');
    const std::string name = selector.substr(slash + 1);
    Nearest folders(selector.substr(0, slash), context.folders.size());
    for (const kiv_folder &folder : context.folders) folders.offer(folder.path);
    for (const std::string &folder : folders.names())
        for (const uint32_t at : find_folder(context, folder)->cases)
            if (context.cases[at].name() == name)
                return "; did you mean " + context.cases[at].selector() + "?";
    Nearest nearest(selector);
    for (const kiv_folder &folder : context.folders) nearest.offer(folder.path);
    for (const Case &test : context.cases) nearest.offer(test.selector());
    const std::string question = nearest.question();
    return question.empty() ? suggestion_for_name(context, name) : question;
}

std::string unknown(const kiv_context &context, const Selector &selector) {
    std::string message;
    if (!selector.file.empty()) message = selector.file + ":" + std::to_string(selector.line) + ": ";
    const std::string &text = selector.text;
    message += "no folder or case is called \"" + text + "\"";
    if (is_glob(text))
        return message + " (as a pattern, it matches none)" + suggestion_for_glob(context, text);
    const size_t slash = text.rfind('/');
    if (slash == std::string::npos) return message + suggestion_for_name(context, text);
    if (const kiv_folder *const folder = find_folder(context, std::string_view(text).substr(0, slash)))
        return message + suggestion_in_folder(context, *folder, text.substr(slash + 1));
    return message + suggestion_elsewhere(context, text);
}

// Marks what one selector names; tells whether it named anything.
class Matcher {
  public:
    explicit Matcher(const kiv_context &context) : context_(context) {}

    template <typename Take>
    bool match(const Selector &selector, Take take) {
        // A name may look like a pattern.
        return match_name(selector.text, take) || (is_glob(selector.text) && match_glob(selector.text, take));
    }

  private:
    // A folder's path means it and everything below; else the last part is a case's name.
    template <typename Take>
    bool match_name(const std::string &text, Take take) {
        bool found = false;
        if (const kiv_folder *folder = context_.find_folder(text)) {
            found = true;
            take_folder(folder, take);
        }
        for (size_t at = text.rfind('/'); at != std::string::npos && at > 0; at = text.rfind('/', at - 1)) {
            const kiv_folder *folder = context_.find_folder(std::string_view(text).substr(0, at));
            if (folder == nullptr) continue;
            for (uint32_t index : folder->cases) {
                const Case &test = context_.cases[index];
                if (!text.compare(at + 1, test.name_size, test.text) && test.name() == text.substr(at + 1)) {
                    found = true;
                    take(index);
                }
            }
        }
        return found;
    }

    // A pattern is matched against whole selectors, of folders and of cases; "*" runs over slashes too.
    template <typename Take>
    bool match_glob(const std::string &pattern, Take take) {
        bool found = false;
        std::vector<bool> folders(context_.folders.size());
        for (const kiv_folder &folder : context_.folders) {
            const bool here = fnmatch(pattern.c_str(), folder.path.c_str(), 0) == 0;
            folders[folder.id] = here || (folder.parent && folders[folder.parent->id]);
        }
        std::string selector;
        for (uint32_t index = 0; index < context_.cases.size(); ++index) {
            const Case &test = context_.cases[index];
            bool matches = folders[test.folder->id];
            if (!matches) {
                selector.assign(test.folder->path).append("/");
                test.append_name(selector);
                matches = fnmatch(pattern.c_str(), selector.c_str(), 0) == 0;
            }
            if (!matches) continue;
            found = true;
            take(index);
        }
        return found || std::find(folders.begin(), folders.end(), true) != folders.end();
    }

    template <typename Take>
    void take_folder(const kiv_folder *folder, Take take) {
        if (context_.folders.size() == 1) {
            for (uint32_t index : folder->cases) take(index);
            return;
        }
        for (uint32_t index = 0; index < context_.cases.size(); ++index)
            if (context_.cases[index].folder->is_below(folder)) take(index);
    }

    const kiv_context &context_;
};

// The same numbers everywhere, which std::shuffle does not promise.
template <typename Iterator>
void shuffle(Iterator first, Iterator last, std::mt19937 &random) {
    for (auto left = last - first; left > 1; --left)
        std::swap(first[left - 1], first[random() % static_cast<uint32_t>(left)]);
}

}  // namespace

bool select_cases(const kiv_context &context, const SelectionRequest &request,
                  std::vector<uint32_t> *selected, std::string *error) {
    const size_t count = context.cases.size();
    std::vector<bool> excluded(count), taken(count);
    Matcher matcher(context);
    bool any_include = false;
    for (const Selector &selector : request.selectors) {
        any_include = any_include || !selector.excludes;
        if (!selector.excludes) continue;
        if (!matcher.match(selector, [&](uint32_t index) { excluded[index] = true; })) {
            *error = unknown(context, selector);
            return false;
        }
    }
    selected->clear();
    std::vector<uint32_t> named;
    for (const Selector &selector : request.selectors) {
        if (selector.excludes) continue;
        named.clear();
        if (!matcher.match(selector, [&](uint32_t index) {
                if (!taken[index] && !excluded[index]) named.push_back(index);
                taken[index] = true;
            })) {
            *error = unknown(context, selector);
            return false;
        }
        selected->insert(selected->end(), named.begin(), named.end());
    }
    if (any_include) return true;
    selected->reserve(count);
    for (uint32_t index = 0; index < count; ++index)
        if (!excluded[index] && (request.all || context.cases[index].mode != KIV_MODE_MANUAL))
            selected->push_back(index);
    return true;
}

void shuffle_cases(const kiv_context &context, uint32_t seed, std::vector<uint32_t> *selected) {
    std::mt19937 random(seed);
    // Ranks: every folder draws one, and a folder's place is given by the ranks on its path.
    std::vector<uint32_t> rank(context.folders.size());
    for (uint32_t i = 0; i < rank.size(); ++i) rank[i] = i;
    shuffle(rank.begin(), rank.end(), random);
    std::vector<std::vector<uint32_t>> place(context.folders.size());
    for (const kiv_folder &folder : context.folders) {
        if (folder.parent) place[folder.id] = place[folder.parent->id];
        place[folder.id].push_back(rank[folder.id]);
    }
    shuffle(selected->begin(), selected->end(), random);
    std::stable_sort(selected->begin(), selected->end(), [&](uint32_t a, uint32_t b) {
        return place[context.cases[a].folder->id] < place[context.cases[b].folder->id];
    });
}

void shard_cases(const kiv_context &context, int index, int count, std::vector<uint32_t> *selected) {
    std::map<uint32_t, size_t> sizes;  // by folder
    for (uint32_t at : *selected) ++sizes[context.cases[at].folder->id];
    std::vector<std::pair<size_t, uint32_t>> order;
    order.reserve(sizes.size());
    for (const auto &[folder, size] : sizes) order.push_back({size, folder});
    std::stable_sort(order.begin(), order.end(), [](auto &a, auto &b) { return a.first > b.first; });
    // The first parts take what there is when there are more parts than folders.
    std::vector<size_t> load(std::min(static_cast<size_t>(count), order.size()));
    std::vector<bool> mine(context.folders.size());
    for (const auto &[size, folder] : order) {
        const auto least = std::min_element(load.begin(), load.end());
        *least += size;
        mine[folder] = least - load.begin() == index;
    }
    std::erase_if(*selected, [&](uint32_t at) { return !mine[context.cases[at].folder->id]; });
}

}  // namespace kiv
