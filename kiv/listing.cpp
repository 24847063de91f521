// What --list prints.
#include "kiv/listing.h"

#include <algorithm>

#include "kiv/reports/escape.h"

namespace kiv {

namespace {

constexpr size_t kCommentColumn = 44;

void append_text(std::string &to, std::string_view text) {
    to += '"';
    reports::append_json(to, text);
    to += '"';
}

}  // namespace

std::string list_cases(const kiv_context &context, const std::vector<uint32_t> &cases, ListKind kind) {
    std::string text;
    if (kind == ListKind::folders) {
        std::vector<const kiv_folder *> seen;
        for (const uint32_t index : cases) {
            const kiv_folder *folder = context.cases[index].folder;
            if (std::find(seen.begin(), seen.end(), folder) != seen.end()) continue;
            seen.push_back(folder);
            text += folder->path + "\n";
        }
        return text;
    }
    text.reserve(cases.size() * 96);
    if (kind == ListKind::json) text += "[";
    const char *separator = "\n";
    for (const uint32_t index : cases) {
        const Case &test = context.cases[index];
        const bool manual = test.mode == KIV_MODE_MANUAL;
        if (kind == ListKind::json) {
            text += separator;
            separator = ",\n";
            text += "{\"folder\":";
            append_text(text, test.folder->path);
            text += ",\"name\":";
            append_text(text, test.name());
            text += ",\"selector\":";
            append_text(text, test.selector());
            text += ",\"description\":";
            append_text(text, test.description());
            text += ",\"mode\":" + std::to_string(test.mode) + ",\"manual\":" + (manual ? "true}" : "false}");
            continue;
        }
        const size_t begin = text.size();
        text += test.folder->path;
        text += '/';
        test.append_name(text);
        const size_t width = text.size() - begin;
        text.append(width < kCommentColumn ? kCommentColumn - width : 1, ' ');
        text += manual ? "# manual: " : "# ";
        text += test.description();
        text += '\n';
    }
    if (kind == ListKind::json) text += "\n]\n";
    return text;
}

}  // namespace kiv
