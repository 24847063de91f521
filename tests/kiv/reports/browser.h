// Pages in a browser: what a page has become when its scripts ran, and what a script answers there.
#ifndef TESTS_KIV_REPORTS_BROWSER_H
#define TESTS_KIV_REPORTS_BROWSER_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "tests/kiv/temporary.h"

namespace kiv_test {

class Browser : public testing::Test {
  protected:
    void SetUp() override {
        if (std::system("command -v chromium >/dev/null 2>&1") != 0) GTEST_SKIP() << "no chromium here";
    }

    // The document after the page and then `script` ran; what the script returns is in the element "answer".
    std::string load(const std::string &page, const std::string &script = "", const std::string &options = "",
                     const std::string &fragment = "") {
        const std::string path = directory_.write(
            "page.html", page +
                             "<script>document.body.append(Object.assign(document.createElement('output'), "
                             "{id: 'answer', textContent: JSON.stringify((() => {" +
                             script + "})() || '')}))</script>");
        const std::string command =
            "chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
            "--disable-background-networking --disable-component-update --disable-sync --user-data-dir=" +
            directory_.file("profile") + " " + options + " --dump-dom 'file://" + path + fragment + "' >" +
            directory_.file("dom") + " 2>" + directory_.file("log");
        EXPECT_EQ(std::system(command.c_str()), 0) << read_text(directory_.file("log"));
        return read_text(directory_.file("dom"));
    }

    // What the script answered.
    nlohmann::json ask(const std::string &page, const std::string &script, const std::string &options = "",
                       const std::string &fragment = "") {
        const std::string dom = load(page, script, options, fragment);
        const std::string mark = "<output id=\"answer\">";
        const size_t at = dom.find(mark);
        if (at == std::string::npos) return "no answer";
        std::string text = dom.substr(at + mark.size(), dom.find("</output>", at) - at - mark.size());
        for (const auto &[from, to] : {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}})
            for (size_t k; (k = text.find(from)) != std::string::npos;) text.replace(k, strlen(from), to);
        return nlohmann::json::parse(text, nullptr, false);
    }

    TemporaryDirectory directory_;
};

}  // namespace kiv_test

#endif
