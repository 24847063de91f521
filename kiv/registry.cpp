// Registration: the calls that build the tree of folders and cases.
#include "kiv/registry.h"

#include <cstring>
#include <functional>
#include <unordered_set>

namespace kiv {

void Case::append_name(std::string &to) const {
    to.append(text, name_size);
    if (ordinal > 1) to.append("#").append(std::to_string(ordinal));
}

std::string Case::name() const {
    std::string name;
    append_name(name);
    return name;
}

std::string Case::selector() const {
    std::string selector = folder->path;
    selector += '/';
    append_name(selector);
    return selector;
}

const char *TextPool::add(std::string_view first, std::string_view second) {
    constexpr size_t kBlock = size_t{64} * 1024;
    const size_t size = first.size() + second.size() + 2;
    if (size_ - used_ < size) {
        size_ = size > kBlock ? size : kBlock;
        used_ = 0;
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(size_));
    }
    char *text = blocks_.back().get() + used_;
    used_ += size;
    memcpy(text, first.data(), first.size());
    text[first.size()] = '\0';
    memcpy(text + first.size() + 1, second.data(), second.size());
    text[size - 1] = '\0';
    return text;
}

namespace {

// Open-addressing set of cases by bare name, one slot the latest case of its name: no strings are copied.
class LatestByName {
  public:
    LatestByName(const std::vector<Case> &cases, size_t count) : cases_(cases) {
        size_t size = 16;
        while (size < 2 * count) size *= 2;
        slots_.assign(size, kEmpty);
    }

    // Puts `index` in its name's slot and returns who was there, or kEmpty.
    uint32_t exchange(uint32_t index) {
        const std::string_view name = cases_[index].bare_name();
        for (size_t at = std::hash<std::string_view>()(name);; ++at) {
            uint32_t &slot = slots_[at & (slots_.size() - 1)];
            if (slot != kEmpty && cases_[slot].bare_name() != name) continue;
            const uint32_t before = slot;
            slot = index;
            return before;
        }
    }

    static constexpr uint32_t kEmpty = UINT32_MAX;

  private:
    const std::vector<Case> &cases_;
    std::vector<uint32_t> slots_;
};

}  // namespace
}  // namespace kiv

kiv_folder *kiv_context::add_folder(kiv_folder *parent, const char *name, const char *title) {
    const std::string base = (parent ? parent->path + "/" : "") + (name && *name ? name : "unnamed");
    std::string path = base;
    if (by_path_.contains(path)) {
        uint32_t &next = next_number_.try_emplace(base, 2).first->second;
        do path = base + "#" + std::to_string(next++);
        while (by_path_.contains(path));
    }
    kiv_folder &folder = folders.emplace_back();
    folder.context = this;
    folder.parent = parent;
    folder.id = static_cast<uint32_t>(folders.size() - 1);
    folder.path = std::move(path);
    by_path_.emplace(folder.path, &folder);
    folder.title = title ? title : "";
    return &folder;
}

const kiv_folder *kiv_context::find_folder(std::string_view path) const {
    const auto found = by_path_.find(path);
    return found == by_path_.end() ? nullptr : found->second;
}

void kiv_context::add_case(kiv_folder *folder, const char *name, const char *description,
                           kiv_function_t function, int mode) {
    if (folder == nullptr) {
        if (loose_cases_ == nullptr) loose_cases_ = add_folder(nullptr, "cases", "");
        folder = loose_cases_;
    }
    const std::string_view kept = name && *name ? name : "unnamed";
    kiv::Case added;
    added.text = texts.add(kept, description ? description : "");
    added.function = function;
    added.folder = folder;
    added.name_size = static_cast<uint32_t>(kept.size());
    added.ordinal = 1;
    added.mode = mode;
    folder->cases.push_back(static_cast<uint32_t>(cases.size()));
    cases.push_back(added);
}

void kiv_context::number_duplicates() {
    for (kiv_folder &folder : folders) {
        kiv::LatestByName latest(cases, folder.cases.size());
        bool marked_names = false;
        for (uint32_t index : folder.cases) {
            const uint32_t before = latest.exchange(index);
            cases[index].ordinal = before == latest.kEmpty ? 1 : cases[before].ordinal + 1;
            marked_names = marked_names || cases[index].bare_name().find('#') != std::string_view::npos;
        }
        if (!marked_names) continue;
        // A case may be registered as "name#2": a number that is taken is passed over.
        std::unordered_set<std::string> taken;
        for (uint32_t index : folder.cases)
            while (!taken.insert(cases[index].name()).second) ++cases[index].ordinal;
    }
}

extern "C" {

void kiv_create(kiv_context_t *context) {
    *context = new kiv_context;
}

kiv_folder_t kiv_create_test_folder(kiv_context_t context, kiv_folder_t parent, const char *name,
                                    const char *title) {
    return context->add_folder(parent, name, title);
}

void kiv_add_fixture(kiv_folder_t folder, kiv_function_t set_up, kiv_function_t tear_down) {
    folder->fixtures.push_back({set_up, tear_down});
}

void kiv_create_test_case(kiv_context_t context, kiv_folder_t folder, const char *name,
                          const char *description, kiv_function_t function, int mode) {
    context->add_case(folder, name, description, function, mode);
}

void kiv_destroy(kiv_context_t *context) {
    delete *context;
    *context = nullptr;
}
}
