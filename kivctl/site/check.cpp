// What is wrong with a site's files: each is read as whoever reads it does.
#include "kivctl/site/check.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <span>

#include "card/sim/inventory.h"
#include "kivctl/site/formats.h"
#include "kivctl/site/input_files.h"
#include "kivctl/site/scripts.h"
#include "kivctl/site/tree.h"
#include "kivctl/site/values.h"

namespace kivctl {
namespace {

namespace fs = std::filesystem;

constexpr const char *kInventory = "card.toml";

void check_inventory(const std::string &directory, Tree &tree, Values &values, Problems &problems) {
    std::error_code ignored;
    if (!fs::exists(fs::symlink_status(directory + "/" + kInventory, ignored))) return;
    const sim::InventoryReading reading = sim::read_inventory(tree.text(kInventory));
    for (const sim::InventoryProblem &problem : reading.problems)
        problems.add({kInventory, problem.line}, problem.field, problem.text);
    if (!reading.is_toml) return;
    values.set_ports(reading.inventory.ports);
    for (const sim::InventoryInterface &interface : reading.inventory.interfaces)
        if (interface.handle != 0) values.add_handle(interface.handle);
}

bool is_folder(std::string_view path) {
    const std::span<const std::string_view> folders = suite_folders();
    return std::find(folders.begin(), folders.end(), path) != folders.end();
}

// Directories below cases/ that belong to no case.
void check_directories(const Tree &tree, Problems &problems) {
    for (const std::string &path : tree.overlay().directories()) {
        const size_t slash = path.rfind('/');
        const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash);
        if (is_folder(path) || (!folder.empty() && !is_folder(folder))) continue;  // said of its parent
        const Place place{"cases/" + path};
        if (folder.empty())
            problems.add(place, "", "no folder of the suite has this name");
        else if (find_format(folder, path.substr(slash + 1)) == nullptr)
            problems.add(place, "", join("no case of ", folder, " that reads anything has this name"));
    }
}

// Files below cases/ that nobody reads.
void check_strange_files(const Tree &tree, Problems &problems) {
    for (const std::string &path : tree.overlay().others())
        problems.add({"cases/" + path}, "",
                     join("nothing reads a file of this name: ", kiv::kInputFiles[0], ", ",
                          kiv::kInputFiles[1], ", ", kiv::kStandardInput));
    std::set<std::string> read;
    for (const CaseFormat &format : case_formats())
        if (format.input.script != Script::none) read.insert(tree.standard_input(format));
    for (const std::string &path : tree.overlay().files()) {
        const std::string full = "cases/" + path;
        if (path.ends_with(kiv::kStandardInput) && !read.contains(full))
            problems.add({full}, "", "no case reads this as its standard input");
    }
}

}  // namespace

bool check_site(const std::string &directory, SiteCheck *check, std::string *error) {
    *check = {};
    std::error_code code;
    const fs::file_status status = fs::status(directory, code);
    if (!fs::exists(status)) {
        *error = directory + ": " + code.message();
        return false;
    }
    if (!fs::is_directory(status) ||
        (!fs::exists(directory + "/disk0", code) && !fs::exists(directory + "/cases", code) &&
         !fs::exists(directory + "/" + kInventory, code))) {
        *error = directory + ": not a site: none of card.toml, disk0 and cases is there";
        return false;
    }
    Problems problems;
    Tree tree(directory, &problems);
    Values values(&problems);
    check_inventory(directory, tree, values, problems);
    add_made_handles(tree, values);
    check_input_files(tree, values, problems);
    check_scripts(tree, values, problems);
    check_directories(tree, problems);
    check_strange_files(tree, problems);
    check->problems = problems.sorted();
    check->files = tree.files_read();
    check->cases = case_formats().size();
    return true;
}

}  // namespace kivctl
