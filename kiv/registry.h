// What a suite registered: folders, their fixtures and their cases, in registration order.
#ifndef KIV_REGISTRY_H
#define KIV_REGISTRY_H

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kiv.h"

namespace kiv {

struct Fixture {
    kiv_function_t set_up;
    kiv_function_t tear_down;
};

}  // namespace kiv

struct kiv_folder {
    kiv_context *context;
    kiv_folder *parent;  // null at the top level
    uint32_t id;         // place in the context's folders
    std::string path;    // "span/session"; a name used twice below one parent is "name#2"
    std::string title;
    std::vector<kiv::Fixture> fixtures;
    std::vector<uint32_t> cases;  // places in the context's cases

    bool is_below(const kiv_folder *ancestor) const {  // or the folder itself
        for (const kiv_folder *folder = this; folder != nullptr; folder = folder->parent)
            if (folder == ancestor) return true;
        return false;
    }
};

namespace kiv {

// Kept small: a suite may register a hundred thousand.
struct Case {
    const char *text;  // name, zero, description, zero
    kiv_function_t function;
    kiv_folder *folder;
    uint32_t name_size;
    uint32_t ordinal;  // 1, or n for the n-th of that name in its folder
    int mode;

    std::string_view bare_name() const { return {text, name_size}; }
    const char *description() const { return text + name_size + 1; }
    // The name, "#n" after it for the second and later ones: unique in the folder.
    void append_name(std::string &to) const;
    std::string name() const;
    std::string selector() const;  // "span/session/create"
};

// Texts are copied here, one after the other, and freed together.
class TextPool {
  public:
    const char *add(std::string_view first, std::string_view second);

  private:
    std::vector<std::unique_ptr<char[]>> blocks_;
    size_t used_ = 0, size_ = 0;
};

}  // namespace kiv

struct kiv_context {
    std::deque<kiv_folder> folders;
    std::vector<kiv::Case> cases;
    kiv::TextPool texts;

    kiv_folder *add_folder(kiv_folder *parent, const char *name, const char *title);
    const kiv_folder *find_folder(std::string_view path) const;  // null when there is none
    void add_case(kiv_folder *folder, const char *name, const char *description, kiv_function_t function,
                  int mode);
    // Numbers the cases of one name in one folder. Done once before a run: registering stays cheap.
    void number_duplicates();

  private:
    // By path, which stays where it is; and, of a name that was used again, the number to try next.
    std::unordered_map<std::string_view, kiv_folder *> by_path_;
    std::unordered_map<std::string, uint32_t> next_number_;
    kiv_folder *loose_cases_ = nullptr;  // takes cases that were registered without a folder
};

#endif
