// The table of formats says what the suite reads: each case runs with inputs that differ in one place, and
// what it then does must differ just where the table says so.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <set>

#include "kiv/site/overlay.h"
#include "kivctl/site/formats.h"
#include "prm_kiv_input.h"
#include "prm_kiv_tx_adj.h"
#include "prm_kiv_xconnect.h"
#include "tests/standin/registration.h"
#include "tests/standin/suite_test.h"

namespace {

struct Registered {
    std::string folder, name;
    kiv_function_t function;
};
std::vector<Registered> registered;
std::set<std::string> folders;

}  // namespace

namespace kivctl::test {
namespace {

// An input file's lines, each a list of fields.
using Fields = std::vector<std::string>;
using Text = std::vector<Fields>;

std::string joined(const Text &lines, const std::string &separator) {
    std::string text;
    for (const Fields &line : lines) {
        for (size_t i = 0; i < line.size(); ++i) text += (i == 0 ? "" : separator) + line[i];
        text += '\n';
    }
    return text;
}

template <class... Values>
std::string bytes_of(const Values &...values) {
    std::string bytes;
    (bytes.append(reinterpret_cast<const char *>(&values), sizeof values), ...);
    return bytes;
}

class SuiteFormatsTest : public SuiteTest {
  protected:
    static void SetUpTestSuite() {
        registered.clear();
        folders.clear();
        const standin::Registration &suite = standin::register_suite();
        for (const standin::Folder &folder : suite.folders) folders.insert(folder.path);
        for (const standin::Case &each : suite.cases)
            registered.push_back({each.folder->path, each.name, each.function});
    }

    static kiv_function_t function_of(const CaseFormat &format) {
        for (const Registered &test : registered)
            if (test.folder == format.folder && test.name == format.name) return test.function;
        return nullptr;
    }

    struct Did {
        std::string calls;    // of the platform, with their records
        std::string globals;  // that readers fill
        std::string all;      // calls, prints and globals
        std::string errors;
        long read = 0;  // bytes of standard input
    };

    // Runs twice and tells of the second time: what a case leaves for the next one is then the same whatever
    // ran before.
    Did run(kiv_function_t function) {
        Did did;
        for (int i = 0; i < 2; ++i) {
            SetUp();
            for (const auto &[name, text] : files_) standin::flash_file(name, text);
            for (const std::string &name : unopenable_) standin::flash_unopenable(name);
            standin::standard_input(input_);
            struct Position {  // also when the case aborts
                long *read;
                ~Position() { *read = ftell(stdin); }
            };
            standin::run([&] {
                const Position position{&did.read};
                return function();
            });
        }
        for (const standin::Event &event : standin::log()) {
            if (event.kind == standin::Kind::call) did.calls += event.line_text() + "\n";
            if (event.kind == standin::Kind::err) did.errors += event.text;
            did.all += event.line_text() + "\n";
        }
        did.globals = bytes_of(port, bdl_ifh, lag_id, create_ifh, parent_ifh, sub_lag_id, ovlan, ivlan, otpid,
                               ifh, uidb, np_port, if_name, rovlan, rivlan, rotpid);
        did.all += did.globals;
        return did;
    }

    std::map<std::string, std::string> files_;
    std::set<std::string> unopenable_;
    std::string input_;
};

TEST_F(SuiteFormatsTest, FoldersAreThoseOfTheSuite) {
    const std::span<const std::string_view> listed = suite_folders();
    EXPECT_EQ(std::set<std::string>(listed.begin(), listed.end()), folders);
    EXPECT_EQ(listed.size(), folders.size());
}

TEST_F(SuiteFormatsTest, EveryCaseThatReadsAFileIsListedWithIt) {
    for (const char *const name : kiv::kInputFiles) unopenable_.insert(name);
    for (const Registered &test : registered) {
        const CaseFormat *const format = find_format(test.folder, test.name);
        const std::string errors = "\n" + run(test.function).errors;
        for (size_t file = 0; file < kiv::kInputFileCount; ++file) {
            const bool listed =
                format != nullptr && std::any_of(format->readers.begin(), format->readers.end(),
                                                 [&](const Reader *reader) { return reader->file == file; });
            EXPECT_EQ(errors.find("\n" + std::string(kiv::kInputFiles[file]) + ":") != std::string::npos,
                      listed)
                << test.folder << "/" << test.name << ": " << kiv::kInputFiles[file];
        }
    }
}

TEST_F(SuiteFormatsTest, NoCaseThatReadsIsRegisteredTwice) {
    for (const CaseFormat &format : case_formats()) {
        const auto same = [&](const Registered &test) {
            return test.folder == format.folder && test.name == format.name;
        };
        EXPECT_EQ(std::count_if(registered.begin(), registered.end(), same), 1)
            << format.folder << "/" << format.name;
        EXPECT_EQ(find_format(format.folder, format.name), &format) << "listed once";
    }
}

// The token's value is read in its base and cut to its bits. `differ` tells whether two texts of it make a
// difference.
void expect_number(const Token &token, const std::string &what,
                   const std::function<bool(const std::string &, const std::string &)> &differ) {
    const bool decimal = token.kind == Kind::decimal || token.kind == Kind::port || token.kind == Kind::vlan;
    const auto bit = [&](int n) {
        char text[32];
        snprintf(text, sizeof text, decimal ? "%lu" : "%lx", uint64_t{1} << n);
        return std::string(text);
    };
    EXPECT_TRUE(differ("0", "1")) << what;
    EXPECT_EQ(differ("0", "a"), !decimal) << what;
    EXPECT_TRUE(differ("0", bit(token.bits - 1))) << what;
    EXPECT_FALSE(differ("0", bit(token.bits))) << what;
}

// What a case does with a file of a reader, the others' as they should be.
class ReaderTest : public SuiteFormatsTest {
  protected:
    static Text sound(const Reader &reader) {
        Text text(static_cast<size_t>(reader.lines));
        for (Fields &line : text)
            for (const Token &token : reader.tokens) line.push_back(std::string(token.name) + ":1");
        return text;
    }

    void put(const Reader &reader, const Text &text) {
        files_[kiv::kInputFiles[reader.file]] = joined(text, ",");
    }

    // Whether the case does something else with the one text than with the other.
    bool differ(const CaseFormat &format, const Reader &reader, const Text &one, const Text &other,
                std::string Did::*what) {
        for (const Reader *const beside : format.readers) put(*beside, sound(*beside));
        put(reader, one);
        const Did first = run(function_of(format));
        put(reader, other);
        return first.*what != run(function_of(format)).*what;
    }

    // The first case that does; null when none of those that have the reader does.
    const CaseFormat *who_differs(const Reader &reader, const Text &one, const Text &other,
                                  std::string Did::*what) {
        for (const CaseFormat &format : case_formats())
            if (std::find(format.readers.begin(), format.readers.end(), &reader) != format.readers.end() &&
                differ(format, reader, one, other, what))
                return &format;
        return nullptr;
    }

    static std::vector<const Reader *> readers() {
        std::vector<const Reader *> all;
        for (const CaseFormat &format : case_formats())
            for (const Reader *const reader : format.readers)
                if (std::find(all.begin(), all.end(), reader) == all.end()) all.push_back(reader);
        return all;
    }

    // The text with the token's value, at field `place` of a line that is otherwise filled.
    static Text with(const Reader &reader, const Token &token, size_t line, size_t place,
                     const std::string &value) {
        Text text = sound(reader);
        Fields &fields = text[line];
        std::erase(fields, std::string(token.name) + ":1");
        while (fields.size() < place) fields.push_back("X:1");
        fields.insert(fields.begin() + static_cast<long>(place), std::string(token.name) + ":" + value);
        return text;
    }
};

TEST_F(ReaderTest, TakesEveryTokenAtEveryLineUpToItsLastField) {
    for (const Reader *const reader : readers())
        for (const Token &token : reader->tokens) {
            const size_t last = static_cast<size_t>(reader->fields) - 1;
            for (size_t line = 0; line < static_cast<size_t>(reader->lines); ++line) {
                const std::string where = std::string(reader->what) + ", line " + std::to_string(line) +
                                          ": " + std::string(token.name);
                const auto at = [&](size_t place, const char *value) {
                    return with(*reader, token, line, place, value);
                };
                const CaseFormat *const format =
                    who_differs(*reader, at(last, "1"), at(last, "2"), &Did::all);
                ASSERT_NE(format, nullptr) << where;
                EXPECT_FALSE(differ(*format, *reader, at(last + 1, "1"), at(last + 1, "2"), &Did::all))
                    << where << " behind the last field";
            }
        }
}

TEST_F(ReaderTest, ReadsNoLineMore) {
    for (const Reader *const reader : readers()) {
        Text one = sound(*reader), other = one;
        one.push_back(one[0]);
        other.emplace_back();
        for (const Token &token : reader->tokens) other.back().push_back(std::string(token.name) + ":2");
        EXPECT_EQ(who_differs(*reader, one, other, &Did::all), nullptr) << reader->what;
    }
}

TEST_F(ReaderTest, TakesNumbersInTheirBaseAndAsManyBits) {
    for (const Reader *const reader : readers())
        for (const Token &token : reader->tokens) {
            if (token.kind == Kind::text) continue;
            const auto value = [&](const std::string &text) { return with(*reader, token, 0, 0, text); };
            const std::string what = std::string(reader->what) + ": " + std::string(token.name);
            // What a call carries may have fewer bits than the global that the reader fills.
            std::string Did::*seen = &Did::calls;
            const CaseFormat *format = who_differs(*reader, value("0"), value("1"), seen);
            if (format == nullptr)
                format = who_differs(*reader, value("0"), value("1"), seen = &Did::globals);
            ASSERT_NE(format, nullptr) << what;
            expect_number(token, what, [&](const std::string &one, const std::string &other) {
                return differ(*format, *reader, value(one), value(other), seen);
            });
        }
}

// Cases that read standard input.
class ScriptTest : public SuiteFormatsTest {
  protected:
    Did read(kiv_function_t function, const std::string &input) {
        input_ = input;
        return run(function);
    }
};

TEST_F(ScriptTest, EveryCaseThatReadsStandardInputIsListed) {
    for (const Registered &test : registered) {
        const CaseFormat *const format = find_format(test.folder, test.name);
        EXPECT_EQ(read(test.function, "1\n1\n1\n1\n").read > 0,
                  format != nullptr && format->input.script != Script::none)
            << test.folder << "/" << test.name;
    }
}

TEST_F(ScriptTest, AsManyLinesAreTakenAsTheScriptHas) {
    const std::string lines = "1\n1\n1\n1\n1\n1\n1\n1\n";
    for (const CaseFormat &format : case_formats()) {
        long taken = static_cast<long>(lines.size() / 2);  // to the end of input
        if (format.input.script == Script::none) continue;
        if (format.input.script == Script::handles) taken = format.input.count;
        if (format.input.script == Script::counted_handles) taken = 1 + 1;
        if (format.input.script == Script::counted_sources) taken = 1 + 3;
        EXPECT_EQ(read(function_of(format), lines).read, 2 * taken) << format.folder << "/" << format.name;
    }
}

TEST_F(ScriptTest, RecordsHaveTheirFieldsInTheirBaseAndAsManyBits) {
    std::map<const Token *, std::vector<const CaseFormat *>> tables;  // and the cases that read such a record
    for (const CaseFormat &format : case_formats()) {
        EXPECT_EQ(format.input.fields.empty(), format.input.script != Script::records) << format.name;
        if (!format.input.fields.empty()) tables[format.input.fields.data()].push_back(&format);
    }
    for (const auto &[table, formats] : tables) {
        const std::span<const Token> tokens = formats.front()->input.fields;
        const auto with = [&](size_t place, const std::string &value) {
            Fields fields(std::max(tokens.size(), place + 1), "1");
            fields[place] = value;
            return joined({fields}, ",");
        };
        const auto differ = [&](const std::string &one, const std::string &other) {
            return std::any_of(formats.begin(), formats.end(), [&](const CaseFormat *format) {
                const Did first = read(function_of(*format), one);
                return first.calls != read(function_of(*format), other).calls;
            });
        };
        for (size_t i = 0; i < tokens.size(); ++i)
            expect_number(tokens[i], std::string(formats.front()->name) + ": " + std::string(tokens[i].name),
                          [&](const std::string &one, const std::string &other) {
                              return differ(with(i, one), with(i, other));
                          });
        EXPECT_FALSE(differ(with(tokens.size(), "1"), with(tokens.size(), "2"))) << formats.front()->name;
    }
}

}  // namespace
}  // namespace kivctl::test
