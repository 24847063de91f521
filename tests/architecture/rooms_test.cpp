// Reads the table of rooms in docs/architecture.md and the includes of every source, and holds one against
// the other: no include climbs, no file lies outside of the rooms, no row or picture tells of what is not
// there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Sources = std::map<std::string, std::string>;  // text by path
using Faults = std::vector<std::string>;

struct Room {
    std::string name;
    std::vector<std::string> files;     // patterns
    std::vector<std::string> includes;  // names of rooms
};
using Rooms = std::vector<Room>;  // from the ground up

std::vector<std::string> all_matches(const std::string &text, const char *pattern) {
    const std::regex regex(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at)
        found.push_back((*at)[1]);
    return found;
}

Rooms rooms_of(const std::string &document) {
    Rooms rooms;
    std::istringstream lines(document.substr(std::min(document.find("| Room | Files |"), document.size())));
    std::string line;
    for (int number = 0; std::getline(lines, line) && line.starts_with('|'); ++number) {
        if (number < 2) continue;  // the heading and the rule below it
        const std::vector<std::string> cells = all_matches(line, "\\|([^|]*)");
        rooms.push_back({all_matches(cells.at(0), "([a-z]+)").at(0), all_matches(cells.at(1), "`([^`]+)`"),
                         all_matches(cells.at(2), "([a-z]+)")});
    }
    return rooms;
}

// "*" is any part of a name, "**" any part of a path.
bool fits(const std::string &pattern, const std::string &path) {
    static std::map<std::string, std::regex> known;
    if (!known.contains(pattern)) {
        std::string text = std::regex_replace(pattern, std::regex("\\."), "\\.");
        text = std::regex_replace(text, std::regex("\\*\\*"), "<any>");
        text = std::regex_replace(text, std::regex("\\*"), "[^/]*");
        known[pattern] = std::regex_replace(text, std::regex("<any>"), ".*");
    }
    return std::regex_match(path, known[pattern]);
}

// The room whose pattern fits a path most closely; null when none does.
const Room *room_of(const Rooms &rooms, const std::string &path) {
    const Room *best = nullptr;
    size_t length = 0;
    for (const Room &room : rooms)
        for (const std::string &pattern : room.files)
            if (pattern.size() > length && fits(pattern, path)) {
                best = &room;
                length = pattern.size();
            }
    return best;
}

bool knows(const Room &room, const std::string &other) {
    return room.name == other ||
           std::find(room.includes.begin(), room.includes.end(), other) != room.includes.end();
}

// The file of the tree that an include means; empty for one of a library.
std::string included_file(const Sources &sources, const std::string &from, const std::string &name) {
    const std::string beside = from.substr(0, from.rfind('/') + 1) + name;
    for (const std::string &path : {name, "prm/test/include/" + name, beside})
        if (sources.contains(path)) return path;
    return "";
}

Faults faults_of_sources(const Rooms &rooms, const Sources &sources) {
    static const std::regex kInclude("(?:^|\n)[ \t]*#[ \t]*include[ \t]*([\"<])([^\">]+)[\">]");
    Faults faults;
    for (const auto &[path, text] : sources) {
        const Room *room = room_of(rooms, path);
        if (room == nullptr) {
            faults.push_back(path + " lies in no room");
            continue;
        }
        for (std::sregex_iterator at(text.begin(), text.end(), kInclude), end; at != end; ++at) {
            const std::string name = (*at)[2];
            const std::string target = included_file(sources, path, name);
            if (target.empty()) {
                if ((*at)[1] == "\"") faults.push_back(path + " includes " + name + ", which is nowhere");
                continue;
            }
            const Room *other = room_of(rooms, target);
            if (other != nullptr && !knows(*room, other->name))
                faults.push_back(path + " (" + room->name + ") includes " + target + " (" + other->name +
                                 ")");
        }
    }
    return faults;
}

Faults faults_of_table(const Rooms &rooms, const Sources &sources) {
    Faults faults;
    std::vector<std::string> above;
    for (const Room &room : rooms) {
        for (const std::string &other : room.includes)
            if (std::find(above.begin(), above.end(), other) == above.end())
                faults.push_back(room.name + " names " + other + ", which does not stand above it");
        above.push_back(room.name);
        for (const std::string &pattern : room.files)
            if (std::none_of(sources.begin(), sources.end(),
                             [&](const auto &source) { return fits(pattern, source.first); }))
                faults.push_back(room.name + ": no file fits " + pattern);
    }
    return faults;
}

// The picture has every room once, as "[name]", and below it those that it knows.
Faults faults_of_picture(const Rooms &rooms, const std::string &document) {
    std::map<std::string, int> line_of;
    Faults faults;
    std::istringstream lines(document);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        if (!line.starts_with(' ')) continue;
        for (const std::string &name : all_matches(line, "\\[([a-z]+)\\]"))
            if (!line_of.emplace(name, number).second) faults.push_back(name + " is drawn twice");
    }
    for (const Room &room : rooms) {
        if (!line_of.contains(room.name)) faults.push_back(room.name + " is not drawn");
        for (const std::string &other : room.includes)
            if (line_of[other] <= line_of[room.name])
                faults.push_back(room.name + " is not drawn above " + other);
    }
    for (const auto &[name, number] : line_of)
        if (std::none_of(rooms.begin(), rooms.end(), [&](const Room &room) { return room.name == name; }))
            faults.push_back(name + " is drawn and has no row");
    return faults;
}

std::string read_text(const std::filesystem::path &path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

// Everything that is compiled into what users get: all but tests and benchmarks.
Sources sources_of_the_tree() {
    Sources sources;
    const std::filesystem::path root = SOURCES;
    for (auto at = std::filesystem::recursive_directory_iterator(root);
         at != std::filesystem::recursive_directory_iterator(); ++at) {
        const std::string path = at->path().lexically_relative(root).string();
        if (at->is_directory() &&
            (path.starts_with('.') || path.starts_with("build") || path == "tests" || path == "bench"))
            at.disable_recursion_pending();
        static const std::regex kSource(".*\\.(c|cc|cpp|h|hpp|def|inc)(\\.in)?");
        if (at->is_regular_file() && std::regex_match(path, kSource)) sources[path] = read_text(at->path());
    }
    return sources;
}

class House : public testing::Test {
  protected:
    const std::string document_ = read_text(std::filesystem::path(SOURCES) / "docs/architecture.md");
    const Rooms rooms_ = rooms_of(document_);
};

TEST_F(House, NoIncludeBreaksTheTableOfRooms) {
    const Sources sources = sources_of_the_tree();
    EXPECT_GT(rooms_.size(), 10u);
    EXPECT_GT(sources.size(), 150u);
    EXPECT_THAT(faults_of_sources(rooms_, sources), IsEmpty());
    EXPECT_THAT(faults_of_table(rooms_, sources), IsEmpty());
}

TEST_F(House, PictureShowsTheRoomsOfTheTable) {
    EXPECT_THAT(faults_of_picture(rooms_, document_), IsEmpty());
}

TEST_F(House, PlantedClimbIsFound) {
    const Sources sources = {
        {"card/boundary/a.cpp", "// A file.\n# include <card/sim/card.h>\n"},
        {"card/sim/card.h", ""},
        {"kiv/options.h", "#include \"kiv/supervise/a.h\"\n#include <kiv.h>\n"},
        {"kiv/registry.h", "#include <vector>\n#include \"kiv.h\"\n  #include \"prm_kiv_main.h\"\n"},
        {"kiv/supervise/a.h", "#include \"kiv/options.h\"\n#include \"b.h\"\n"},
        {"kiv/supervise/b.h", ""},
        {"prm/test/include/kiv.h", ""},
        {"prm/test/include/prm_kiv_main.h", ""}};
    EXPECT_THAT(faults_of_sources(rooms_, sources),
                ElementsAre("card/boundary/a.cpp (boundary) includes card/sim/card.h (sim)",
                            "kiv/registry.h (ground) includes prm/test/include/prm_kiv_main.h (areas)",
                            "kiv/supervise/a.h (supervise) includes kiv/options.h (run)"));
}

TEST_F(House, FileOutsideOfTheRoomsIsFound) {
    EXPECT_THAT(faults_of_sources(rooms_, {{"attic/box.cpp", ""}, {"kiv/attic/box.h", ""}}),
                ElementsAre("attic/box.cpp lies in no room", "kiv/attic/box.h lies in no room"));
}

TEST_F(House, IncludeOfNoFileIsFound) {
    EXPECT_THAT(faults_of_sources(rooms_, {{"kiv/a.cpp", "#include \"kiv/moved.h\"\n#include <vector>\n"}}),
                ElementsAre("kiv/a.cpp includes kiv/moved.h, which is nowhere"));
}

constexpr const char *kDocument =
    R"(| Room | Files | Includes |
|---|---|---|
| cellar | `cellar/*` | |
| hall | `hall/*` `door.h` | attic, cellar |
| attic | `attic/*` | hall |

 [attic]
 [hall] [cellar] [shed]
)";

TEST(Rooms, RowThatClimbsOrFitsNoFileIsFound) {
    const Sources sources = {{"cellar/a.h", ""}, {"hall/a.h", ""}, {"attic/a.h", ""}};
    EXPECT_THAT(faults_of_table(rooms_of(kDocument), sources),
                ElementsAre("hall names attic, which does not stand above it", "hall: no file fits door.h"));
}

TEST(Rooms, PictureThatIsNotTheTableIsFound) {
    EXPECT_THAT(faults_of_picture(rooms_of(kDocument), kDocument),
                ElementsAre("hall is not drawn above attic", "hall is not drawn above cellar",
                            "shed is drawn and has no row"));
    EXPECT_THAT(faults_of_picture(rooms_of(kDocument), ""), Contains(HasSubstr("attic is not drawn")));
}

}  // namespace
