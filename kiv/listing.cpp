// What --list prints.
#include "kiv/listing.h"

#include "kiv/reports/escape.h"

namespace kiv {

namespace {

constexpr size_t kCommentColumn = 44;

// A field, and its exact bytes beside it when they are not UTF-8.
void append_text(std::string &to, const std::string &name, std::string_view text) {
    to.append(to.back() == '{' ? "\"" : ",\"").append(name).append("\":\"");
    reports::append_json(to, text);
    to += '"';
    if (!reports::is_utf8(text))
        to.append(",\"").append(name).append("Base64\":\"").append(reports::base64(text)).append("\"");
}

}  // namespace

std::string list_cases(const kiv_context &context, const std::vector<uint32_t> &cases, ListKind kind) {
    std::string text;
    if (kind == ListKind::folders) {
        std::vector<bool> seen(context.folders.size());
        for (const uint32_t index : cases) {
            const kiv_folder *folder = context.cases[index].folder;
            if (seen[folder->id]) continue;
            seen[folder->id] = true;
            reports::append_plan(text, folder->path);
            text += '\n';
        }
        return text;
    }
    text.reserve(cases.size() * 96);
    if (kind == ListKind::json) text += "[";
    std::string selector;
    const char *separator = "\n";
    for (const uint32_t index : cases) {
        const Case &test = context.cases[index];
        const bool manual = test.mode == KIV_MODE_MANUAL;
        if (kind == ListKind::json) {
            text += separator;
            separator = ",\n";
            text += '{';
            append_text(text, "folder", test.folder->path);
            append_text(text, "name", test.name());
            append_text(text, "selector", test.selector());
            append_text(text, "description", test.description());
            text += ",\"mode\":" + std::to_string(test.mode) + ",\"manual\":" + (manual ? "true}" : "false}");
            continue;
        }
        const size_t begin = text.size();
        selector.assign(test.folder->path).append("/");
        test.append_name(selector);
        reports::append_plan(text, selector);
        const size_t width = text.size() - begin;
        text.append(width < kCommentColumn ? kCommentColumn - width : 1, ' ');
        text += manual ? "# manual: " : "# ";
        reports::append_visible(text, test.description());
        text += '\n';
    }
    if (kind == ListKind::json) text += "\n]\n";
    return text;
}

}  // namespace kiv
