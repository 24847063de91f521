// Files that stay well-formed whenever their writer dies.
//
// What the operating system promises: a write that stays inside one page of the file happens as a whole or
// not at all when the writer is killed; a longer write may stop at any page boundary. So every step below is
// either one write inside a page, or a write whose every prefix leaves the file as good as before.
#ifndef KIV_REPORTS_DOCUMENT_H
#define KIV_REPORTS_DOCUMENT_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kiv::reports {

// The smallest page of the machines this runs on; larger pages only make the promise stronger.
inline constexpr uint64_t kPage = 4096;

// Where the bytes of a report go.
class Sink {
  public:
    virtual ~Sink() = default;
    // Whether earlier bytes can be written again; else write only ever continues the stream.
    virtual bool seekable() const = 0;
    virtual bool write(uint64_t offset, std::string_view text) = 0;
    // The file is not seen before. What is written until then is its head, from offset 0 on without a gap.
    virtual bool appear() = 0;
    // A head in one piece.
    bool begin(std::string_view text) { return write(0, text) && appear(); }
    virtual bool truncate(uint64_t size) = 0;
    // Nothing follows: what a reader has yet to take is taken.
    virtual void finish() {}
    // The file and why it is not complete; empty while it is.
    virtual std::string problem() const { return ""; }
};

// The descriptor that a path names: 1 for "-" and "/dev/stdout", 2 for "/dev/stderr", N for "/dev/fd/N" and
// "/proc/self/fd/N"; -1 for any other path.
int descriptor_named_by(const std::string &path);

// Opens `path` for a report, or what it names (see above), which is never cut or begun anew; null and *error
// when that fails.
std::unique_ptr<Sink> open_file_sink(const std::string &path, std::string *error);

// A file of lines. Lines are collected and written together; no line crosses a page unless it is longer than
// one, so that a killed writer leaves whole lines (and at most some padding after them).
class LineFile {
  public:
    enum class Padding {
        blanks,   // before the line that moves to the next page, as JSON allows
        comment,  // a "#" line of its own
    };

    LineFile(std::unique_ptr<Sink> sink, Padding padding) : sink_(std::move(sink)), padding_(padding) {}

    // Everything up to the end of `text` appears at once; what comes before it may be given in pieces.
    void head(std::string_view piece);
    void begin(std::string_view text);
    void add(std::string_view line);  // with its newline
    void flush();
    void finish();  // nothing follows
    std::string problem() const { return sink_->problem(); }

  private:
    std::unique_ptr<Sink> sink_;
    Padding padding_;
    std::string pending_;
    uint64_t size_ = 0;
    bool broken_ = false;
};

// A document whose closing text always stands at its end.
//
// Behind the end there is room, hidden in an instruction or comment (`open`...`close`). New text takes the
// place of the old closing text in a single write where all of it lies in one page. Otherwise it is first
// written into the room, still hidden, and one write inside a page then blanks the old closing text together
// with the `open` that follows it:
//
//   body|</end><?kiv               ?>     the room behind the end
//   body|</end><?kiv new</end><?kiv ?>    the text, still hidden
//   body|            new</end><?kiv ?>    the flip
//
// Room is added a page at a time: each page is hidden on its own before the mark that ends the room before it
// is blanked. When the document is finished the room is cut off. The text handed in never holds `close`, and
// blanks may stand before each body.
class ClosedDocument {
  public:
    ClosedDocument(std::unique_ptr<Sink> sink, std::string_view open, std::string_view close)
        : sink_(std::move(sink)), open_(open), close_(close) {}

    // The head may be given in pieces, of which begin takes the last.
    void head(std::string_view piece);
    void begin(std::string_view last, std::string_view tail);
    // Returns where body begins in the file. The bytes [whole, whole + length) of body stay in one page, so
    // that they can be patched; length 0 asks for nothing.
    uint64_t append(std::string_view body, std::string_view tail, uint64_t whole = 0, uint64_t length = 0);
    // Overwrites a range that was kept in one page. Does nothing on a stream.
    void patch(uint64_t offset, std::string_view text);
    // Cuts off the room; on a stream, writes the closing text. Nothing can be added then.
    void finish();
    std::string problem() const { return sink_->problem(); }

  private:
    bool fits_in_page(uint64_t offset, uint64_t length) const;
    uint64_t append_hidden(std::string_view body, std::string_view tail, uint64_t whole, uint64_t length);
    bool make_room(uint64_t to);
    uint64_t marks() const { return open_.size() + close_.size(); }

    std::unique_ptr<Sink> sink_;
    const std::string_view open_, close_;
    std::string tail_;
    std::string scratch_;
    uint64_t end_ = 0;   // where the closing text begins
    uint64_t size_ = 0;  // of the file, where the room ends: whole pages until it is finished
    bool broken_ = false;
};

}  // namespace kiv::reports

#endif
