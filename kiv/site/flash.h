// The card's flash off the card: where "/disk0:/" is.
#ifndef KIV_SITE_FLASH_H
#define KIV_SITE_FLASH_H

#include <string>
#include <string_view>

namespace kiv {

// Where the suite's files are: on a card a directory, elsewhere a name.
inline constexpr const char *kCardFlash = "/disk0:/";

// From now on fopen finds "/disk0:/..." in `directory`; with an empty one paths are taken as they are.
// Programs that link the framework do so with -Wl,--wrap=fopen.
void map_flash(const std::string &directory);

// From now on `tell` is called when fopen finds that an input file of the flash (overlay.h) is missing; null:
// nobody is told.
void on_missing_input(void (*tell)(std::string_view path));

// The mapped path; *good is false for one that would leave the directory. Paths elsewhere stay as they are.
std::string flash_path(std::string_view path, bool *good);

}  // namespace kiv

#endif
