// Keeps what one case prints: in memory up to a limit, beyond it whole in a file.
#ifndef KIV_SUPERVISE_OUTPUT_KEEPER_H
#define KIV_SUPERVISE_OUTPUT_KEEPER_H

#include <cstdint>
#include <string>
#include <string_view>

namespace kiv {

class OutputKeeper {
  public:
    // Files go to `directory`, which is created when the first is needed.
    OutputKeeper(std::string directory, size_t limit) : directory_(std::move(directory)), limit_(limit) {}
    ~OutputKeeper();
    OutputKeeper(const OutputKeeper &) = delete;
    OutputKeeper &operator=(const OutputKeeper &) = delete;

    // The two name the file if one is needed. They outlive the output.
    void restart(std::string_view folder, std::string_view name);
    void add(std::string_view text);
    // Ends the output: the text to keep (head and tail, when there is a file), its whole size, and the file.
    void finish(std::string *text, uint64_t *size, std::string *file);

    uint64_t size() const { return size_; }
    const std::string &head() const { return head_; }

  private:
    void spill(std::string_view text);
    bool open_file();

    std::string directory_;
    size_t limit_;
    std::string_view folder_, name_;
    std::string head_, tail_;
    uint64_t size_ = 0;
    std::string path_, problem_;
    int fd_ = -1;
};

}  // namespace kiv

#endif
