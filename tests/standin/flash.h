// The card's flash for programs that run the suite: fopen below "/disk0:/" is wrapped at link time and goes
// to a directory of its own, which is made when the first file is used.
#ifndef TESTS_STANDIN_FLASH_H
#define TESTS_STANDIN_FLASH_H

#include <string>

namespace standin {

// Content of a file below "/disk0:/", e.g. flash_file("kiv_input_file", "..."). A file not given is missing.
void flash_file(const std::string &name, const std::string &content);
bool flash_has(const std::string &name);
std::string flash_text(const std::string &name);  // empty when it is missing
// fopen of this file fails from now on, even where it could be created.
void flash_unopenable(const std::string &name);
// An empty flash again, nothing unopenable; the directory is gone.
void clear_flash();

}  // namespace standin

#endif
