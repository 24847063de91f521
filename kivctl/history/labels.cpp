// What a run is known by.
#include "kivctl/history/labels.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace kivctl::history {
namespace {

constexpr std::string_view kCircumstances[] = {"host", "job", "pipeline", "url"};

struct Variable {
    const char *label, *name;
};
constexpr Variable kGitLab[] = {{"commit", "CI_COMMIT_SHA"},
                                {"pipeline", "CI_PIPELINE_ID"},
                                {"job", "CI_JOB_NAME"},
                                {"url", "CI_JOB_URL"}};
constexpr Variable kGitHub[] = {
    {"commit", "GITHUB_SHA"}, {"pipeline", "GITHUB_RUN_ID"}, {"job", "GITHUB_JOB"}};

std::string variable(const char *name) {
    const char *const value = std::getenv(name);
    return value != nullptr ? value : "";
}

void put(Labels &labels, const std::string &name, std::string value) {
    if (!value.empty()) labels[name] = std::move(value);
}

std::string last_part(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

bool is_circumstance(std::string_view name) {
    return std::find(std::begin(kCircumstances), std::end(kCircumstances), name) != std::end(kCircumstances);
}

Labels labels_of_run(const kiv::RunInfo &info) {
    Labels labels;
    put(labels, "site", last_part(info.site));
    put(labels, "card", info.card);
    put(labels, "host", info.host);
    put(labels, "version", info.version);
    return labels;
}

Labels labels_of_ci() {
    Labels labels;
    if (!variable("GITLAB_CI").empty()) {
        for (const Variable &one : kGitLab) put(labels, one.label, variable(one.name));
        put(labels, variable("CI_COMMIT_TAG").empty() ? "branch" : "tag", variable("CI_COMMIT_REF_NAME"));
    }
    if (!variable("GITHUB_ACTIONS").empty()) {
        for (const Variable &one : kGitHub) put(labels, one.label, variable(one.name));
        put(labels, variable("GITHUB_REF_TYPE") == "tag" ? "tag" : "branch", variable("GITHUB_REF_NAME"));
        const std::string server = variable("GITHUB_SERVER_URL"), repository = variable("GITHUB_REPOSITORY");
        if (!server.empty() && !repository.empty())
            put(labels, "url", server + "/" + repository + "/actions/runs/" + variable("GITHUB_RUN_ID"));
    }
    return labels;
}

bool parse_label(const std::string &text, Labels *labels, std::string *error) {
    const size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    constexpr const char *kAllowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-";
    if (equals == std::string::npos)
        *error = "\"" + text + "\": a label is NAME=VALUE";
    else if (name.empty() || name.find_first_not_of(kAllowed) != std::string::npos)
        *error = "\"" + text + "\": a label's name has letters, digits, \".\", \"_\" and \"-\"";
    else if (equals + 1 == text.size())
        *error = "\"" + text + "\": a label's value is not empty";
    else
        (*labels)[name] = text.substr(equals + 1);
    return error->empty();
}

}  // namespace kivctl::history
