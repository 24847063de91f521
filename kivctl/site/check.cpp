// What is wrong with a site's files: each is read as whoever reads it does.
#include "kivctl/site/check.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <span>

#include "card/sim/inventory.h"
#include "kiv/files.h"
#include "kiv/select/nearest.h"
#include "kiv/select/plan.h"
#include "kivctl/site/formats.h"
#include "kivctl/site/input_files.h"
#include "kivctl/site/scripts.h"
#include "kivctl/site/tree.h"
#include "kivctl/site/values.h"
#include "trace/baseline.h"

namespace kivctl {
namespace {

namespace fs = std::filesystem;

constexpr const char *kInventory = "card.toml", *kPlan = "plan";
constexpr std::string_view kBaselineEnding = ".txt";

void check_inventory(const std::string &directory, bool required, Tree &tree, Values &values,
                     Problems &problems) {
    std::error_code ignored;
    if (!fs::exists(fs::symlink_status(directory + "/" + kInventory, ignored))) {
        if (required) problems.add({kInventory}, "", sim::kMissingInventory);
        return;
    }
    const sim::InventoryReading reading = sim::read_inventory(tree.text(kInventory));
    for (const sim::InventoryProblem &problem : reading.problems)
        problems.add({kInventory, problem.line}, problem.field, problem.text);
    if (!reading.is_toml) return;
    values.set_ports(reading.inventory.ports);
    for (const sim::InventoryInterface &interface : reading.inventory.interfaces) {
        if (interface.handle != 0) values.add_handle(interface.handle);
        if (interface.uidb != 0) values.set_uidb(interface.handle, interface.uidb);
    }
}

bool is_folder(std::string_view path) {
    const std::span<const std::string_view> folders = suite_folders();
    return std::find(folders.begin(), folders.end(), path) != folders.end();
}

// The plan, as far as folders tell: the cases are known to the suite alone.
void check_plan(const std::string &directory, Problems &problems) {
    const std::string path = directory + "/" + kPlan;
    if (!kiv::is_file(path)) return;
    std::vector<kiv::Selector> selectors;
    std::string error;
    if (!kiv::read_plan(path, &selectors, &error)) {
        // "PATH:LINE: TEXT"
        const std::string rest = error.substr(std::min(error.size(), path.size() + 1));
        const int line = std::atoi(rest.c_str());
        problems.add({kPlan, line}, "", rest.substr(std::min(rest.size(), rest.find(' ') + 1)));
    }
    for (const kiv::Selector &selector : selectors) {
        if (selector.text.find_first_of("*?[\\") != std::string::npos) continue;
        const size_t slash = selector.text.rfind('/');
        const std::string folder =
            selector.text.substr(0, slash == std::string::npos ? selector.text.size() : slash);
        if (is_folder(selector.text) || is_folder(folder)) continue;
        kiv::Nearest nearest(folder);
        for (const std::string_view known : suite_folders()) nearest.offer(known);
        problems.add({kPlan, selector.line}, "",
                     join("no folder of the suite is called ", kivctl::quoted(folder), nearest.question()));
    }
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

// The baseline: a file for each folder that has one.
void check_baseline(const std::string &directory, Problems &problems) {
    const std::string top = directory + "/baseline";
    std::error_code ignored;
    std::vector<std::string> files;
    for (fs::recursive_directory_iterator at(top, ignored), end; at != end && !ignored; at.increment(ignored))
        if (!at->is_directory(ignored)) files.push_back(at->path().string().substr(directory.size() + 1));
    for (const std::string &file : files) {
        const std::string folder = file.substr(file.find('/') + 1);
        if (!folder.ends_with(kBaselineEnding) ||
            !is_folder(folder.substr(0, folder.size() - kBaselineEnding.size()))) {
            problems.add(
                {file}, "",
                join("a baseline is called FOLDER", kBaselineEnding, " after a folder of the suite"));
            continue;
        }
        trace::Baseline baseline;
        bool exists = false;
        std::string error;
        if (baseline.read_file(directory + "/" + file, &exists, &error)) continue;
        // "PATH:LINE: TEXT", or "PATH: TEXT".
        const std::string rest = error.substr(std::min(error.size(), directory.size() + 1 + file.size() + 1));
        problems.add({file, std::atoi(rest.c_str())}, "",
                     rest.substr(std::min(rest.size(), rest.find(' ') + 1)));
    }
}

}  // namespace

bool check_site(const std::string &directory, SiteCheck *check, std::string *error, const SiteUse &use) {
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
    check_inventory(directory, use.simulated_card, tree, values, problems);
    if (use.reads_plan) check_plan(directory, problems);
    add_made_handles(tree, values);
    check_input_files(tree, values, problems);
    check_scripts(tree, values, problems);
    check_directories(tree, problems);
    check_strange_files(tree, problems);
    if (use.reads_baseline) check_baseline(directory, problems);
    check->problems = problems.sorted();
    check->files = tree.files_read();
    check->cases = case_formats().size();
    return true;
}

}  // namespace kivctl
