// Small helpers on files and descriptors, without stdio: the suite's streams are not the framework's.
#ifndef KIV_FILES_H
#define KIV_FILES_H

#include <string>
#include <string_view>

namespace kiv {

// What a file of no known kind may have in bytes: beyond it, it is not what it was taken for.
inline constexpr size_t kLargestFile = 256u << 20;

// Reads a whole file of at most `largest` bytes. False, with *error naming the file and the reason.
bool read_file(const std::string &path, std::string *text, std::string *error, size_t largest = kLargestFile);

// Reads a descriptor to its end. False, with errno set, EFBIG where there is more.
bool read_all(int fd, std::string *text, size_t largest = kLargestFile);

// Replaces a file's contents. False, with *error set.
bool write_file(const std::string &path, std::string_view text, std::string *error);

// Writes everything, also past interruptions and short writes. False when the descriptor takes no more.
bool write_all(int fd, std::string_view text);

bool is_directory(const std::string &path);
bool is_file(const std::string &path);
// Whether two paths lead to one file that exists.
bool same_file(const std::string &one, const std::string &other);

// A descriptor that is closed with its owner.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor();
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    // A second one for the same file, of 3 or more, that no program inherits.
    static Descriptor copy_of(int fd);

    int number() const { return number_; }  // -1 when there is none

  private:
    int number_;
};

// Puts a file in the place of whatever is there: nothing is written through a link. False, with *error set.
bool put_file(const std::string &path, std::string_view text, std::string *error);

// Creates a directory and its parents. False, with *error set.
bool make_directories(const std::string &path, std::string *error);

// "/a/b" of "b": relative to the working directory, links kept.
std::string absolute_path(const std::string &path);

// Nanoseconds of the monotonic clock, the same in every process.
int64_t now_ns();

}  // namespace kiv

#endif
