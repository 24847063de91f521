// A starting point for a site: every file that the suite reads, with values that fit each other.
#include "kivctl/site/new.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

#include "kiv/site/overlay.h"
#include "kivctl/site/default_site.h"
#include "kivctl/site/formats.h"

namespace kivctl {
namespace {

namespace fs = std::filesystem;

constexpr const char kReadme[] =
    R"(A site: what the suite reads when it runs here.

  card.toml               the simulated card's inventory
  plan                    what a run without selectors runs
  disk0/                  the input files as they lie in the card's flash
  cases/FOLDER/           the same files for the cases of one folder
  cases/FOLDER/CASE/      for one case; "stdin" is what it reads on standard input

Before a case the most specific kiv_input_file and kiv_tcs_input_file are put into the flash.

Input files have no comments. A line is a list of NAME:VALUE fields with "," between them and no blanks, 199
characters at most with its newline. Handles and tag protocol ids (..._IFH, IFH, OTPID, ROTPID) are hexadecimal,
everything else is decimal. A reader takes a fixed number of fields from the start of a fixed number of lines:
the order of the fields in these files lets every reader of a folder find its own.

"kivctl site check DIR" explains what is wrong with a site.
)";

// What stands beside a field in a file: the other fields, or that the second circuit has two tags.
using Beside = std::vector<std::string_view>;
constexpr std::string_view kTwoTags = "two tags";

// Values of a field, one a line of a file and over again; `beside` in the file, unless it is empty.
struct Example {
    std::string_view name, beside;
    std::vector<std::string> values;
};

// The first that fits is meant. They name what the inventory has, or nothing of it where a case makes it.
const std::vector<Example> kExamples{
    {"OVLAN", "SUB_IFH", {"110", "120", "130", "140"}},
    {"IVLAN", "SUB_IFH", {"0", "20", "0", "40"}},
    {"OTPID", "SUB_IFH", {"8100", "88a8"}},
    {"IFH", kTwoTags, {"800f210", "800f230"}},
    {"UIDB", kTwoTags, {"20", "22"}},
    {"OVLAN", kTwoTags, {"310", "330"}},
    {"IVLAN", kTwoTags, {"0", "33"}},
    {"uidb index", "circuit xid", {"23"}},
    {"NP_PORT", "", {"1", "2"}},
    {"INTF_NAME", "", {"GigabitEthernet0/0/0/1", "GigabitEthernet0/0/0/2"}},
    {"MAIN_IFH", "", {"8000088", "80000c8"}},
    {"BDL_IFH", "", {"800c000"}},
    {"LAG_ID", "", {"31"}},
    {"SUB_IFH", "", {"800c110", "800c120", "800c130", "800c140"}},
    {"OVLAN", "", {"310", "320"}},
    {"IVLAN", "", {"0"}},
    {"OTPID", "", {"8100"}},
    {"IFH", "", {"800f210", "800f220"}},
    {"UIDB", "", {"20", "21"}},
    {"ROVLAN", "", {"1310", "1320"}},
    {"RIVLAN", "", {"1410", "1420"}},
    {"ROTPID", "", {"88a8"}},
    {"BD-ID", "", {"500"}},
    {"MAC_MOVE_SEC_ACTION", "", {"2"}},
    {"MAC_MOVE_SEC_ENABLED", "", {"1"}},
    {"MAC_LEARN_ENABLE", "", {"1"}},
    {"bridge domain", "", {"500", "501"}},
    {"VNI", "", {"10500", "70501"}},
    {"source VTEP", "", {"c0a80101"}},
    {"uidb index", "", {"20", "21"}},
    {"circuit xid", "", {"8001f4"}},
    {"remote VTEP", "", {"c0a80202", "c0a80303"}},
    {"next hop", "", {"100500", "100501"}},
    {"address or VNI", "", {"c0a80202"}},
    {"interface handle", "", {"8000088"}},
    {"is-SHG", "", {"1"}},
};

// For line `i` (from 0).
std::string example(std::string_view name, const Beside &beside, int i) {
    const auto found = std::find_if(kExamples.begin(), kExamples.end(), [&](const Example &its) {
        return its.name == name &&
               (its.beside.empty() || std::find(beside.begin(), beside.end(), its.beside) != beside.end());
    });
    return found == kExamples.end() ? "0" : found->values[static_cast<size_t>(i) % found->values.size()];
}

// One file for all readers of a folder: the fields of the reader that takes fewest come first.
std::string input_file(std::vector<const Reader *> readers, bool two_tags = false) {
    std::sort(readers.begin(), readers.end(),
              [](const Reader *a, const Reader *b) { return a->fields < b->fields; });
    std::vector<std::string_view> names;
    int lines = 0;
    for (const Reader *const reader : readers) {
        lines = std::max(lines, reader->lines);
        for (const Token &token : reader->tokens)
            if (std::find(names.begin(), names.end(), token.name) == names.end()) names.push_back(token.name);
    }
    Beside beside(names);
    if (two_tags) beside.push_back(kTwoTags);
    std::string text;
    for (int i = 0; i < lines; ++i)
        for (size_t k = 0; k < names.size(); ++k)
            text += fmt::format("{}{}:{}{}", k == 0 ? "" : ",", names[k], example(names[k], beside, i),
                                k + 1 == names.size() ? "\n" : "");
    return text;
}

std::string script(const CaseFormat &format) {
    // Four main interfaces, and a routed sub-interface, which mirroring refuses.
    static constexpr const char *kHandles[] = {"8000088", "80000c8", "8000108", "8000148"};
    static constexpr const char *kRouted = "800f110";
    const Input &input = format.input;
    std::string text;
    switch (input.script) {
        case Script::none:
            break;
        case Script::records: {
            Beside beside;
            for (const Token &field : input.fields) beside.push_back(field.name);
            for (size_t k = 0; k < input.fields.size(); ++k)
                text += (k == 0 ? "" : ",") + example(input.fields[k].name, beside, 0);
            text += '\n';
            break;
        }
        case Script::vplags:
            text = "c0a80101;1;2;100500,100501;c0a80202,c0a80303\n";
            break;
        case Script::macs:
            text = "00:1b:2c:3d:4e:01,500,0,100500\n";
            break;
        case Script::handles:
            for (int i = 0; i < input.count; ++i)
                text += fmt::format("{}\n", format.name.ends_with("l3_subintf") ? kRouted : kHandles[i % 4]);
            break;
        case Script::counted_handles:
            text = fmt::format("2\n{}\n{}\n", kHandles[0], kHandles[1]);
            break;
        case Script::counted_sources:
            text = fmt::format("2\n{}\n0\n0\n{}\n2\n0\n", kHandles[0], kHandles[1]);
            break;
    }
    return text;
}

}  // namespace

bool new_site(const std::string &directory, std::vector<std::string> *written, std::string *error) {
    std::error_code code;
    if (fs::exists(directory, code) &&
        !(fs::is_directory(directory, code) && fs::is_empty(directory, code))) {
        *error = directory + ": is there already and not an empty directory";
        return false;
    }
    std::map<std::string, std::string> files{{"card.toml", std::string(kDefaultInventory)},
                                             {"plan", std::string(kDefaultPlan)},
                                             {"README", kReadme}};
    std::map<std::string, std::vector<const Reader *>> readers;
    std::map<std::string, const std::vector<const Reader *> *> of_two_tags;
    for (const CaseFormat &format : case_formats()) {
        for (const Reader *const reader : format.readers) {
            // Main interfaces are the same for every folder.
            const bool shared = reader->file == 0;
            auto &list =
                readers[fmt::format("{}/{}", shared ? "disk0" : fmt::format("cases/{}", format.folder),
                                    kiv::kInputFiles[reader->file])];
            if (std::find(list.begin(), list.end(), reader) == list.end()) list.push_back(reader);
            // A rewrite from one tag to two has circuits of its own.
            if (!shared && format.name.find("_dt_") != std::string_view::npos)
                of_two_tags[fmt::format("cases/{}/{}/{}", format.folder, format.name,
                                        kiv::kInputFiles[reader->file])] = &list;
        }
        if (format.input.script != Script::none)
            files[fmt::format("cases/{}/{}/stdin", format.folder, format.name)] = script(format);
    }
    for (const auto &[path, list] : readers) files[path] = input_file(list);
    for (const auto &[path, list] : of_two_tags) files[path] = input_file(*list, true);

    for (const auto &[name, text] : files) {
        const fs::path path = fs::path(directory) / name;
        fs::create_directories(path.parent_path(), code);
        std::ofstream file(path, std::ios::binary);
        file << text;
        file.close();
        if (!file) {
            *error = path.string() + ": " + std::strerror(errno);
            return false;
        }
        written->push_back(path.string());
    }
    return true;
}

}  // namespace kivctl
