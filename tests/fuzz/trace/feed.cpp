// Bytes as traces: see feed.h.
#include "tests/fuzz/trace/feed.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "prm_srh_l2.h"
#include "trace/capture.h"
#include "trace/file_writer.h"
#include "trace/reader.h"
#include "trace/text.h"
#include "trace/told.h"

namespace {

void require(bool condition, const char *what) {
    if (condition) return;
    fprintf(stderr, "%s\n", what);
    abort();
}

std::string whole_text(FILE *file) {
    std::string text(size_t{1} << 22, '\0');
    text.resize(fread(text.data(), 1, text.size(), file));
    return text;
}

void read(const std::string &bytes) {
    FILE *const file = fmemopen(const_cast<char *>(bytes.data()), bytes.size(), "rb");
    require(file != nullptr, "no file in memory");
    trace::Reader reader;
    std::string error;
    if (!reader.open(file, "fuzz", &error)) {
        require(!error.empty(), "refused without a reason");
        return;
    }
    trace::Naming names;
    uint64_t last = 0;
    for (trace::Event event; reader.next(&event);) {
        require(reader.offset() >= last && reader.offset() <= bytes.size(),
                "an offset that is not in the file");
        last = reader.offset();
        if (!event.is_call) continue;
        names.learn(event.call);
        std::string line;
        trace::append_line(&line, event.call, names, {.schema = &reader.schema()});
        require(!line.empty(), "a call without a text");
    }
    require(reader.problem().empty() == (reader.offset() == bytes.size()),
            "an end that is not said, or none");
}

}  // namespace

std::string sample_trace(size_t *entries) {
    char path[] = "/tmp/sample_trace.XXXXXX";
    const int fd = mkstemp(path);
    require(fd >= 0, "no temporary file");
    close(fd);
    std::string error;
    trace::FileWriter writer;
    require(writer.create(path, 0, &error), error.c_str());
    FILE *file = fopen(path, "rb");
    *entries = whole_text(file).size();
    fclose(file);
    trace::Mark mark;
    mark.kind = trace::EntryKind::case_begins;
    mark.texts[0] = "folder";
    mark.texts[1] = "case";
    writer.append(mark);
    std::vector<uint8_t> before(trace::kLargestEntry), after(trace::kLargestEntry);
    prm_bd_request record{};
    record.bd_id = 5;
    const uint64_t arguments[] = {1, reinterpret_cast<uint64_t>(&record)};
    for (uint64_t i = 1; i <= 3; ++i) {
        trace::Capture capture;
        const size_t size =
            capture.begins(card::OperationId::prm_srh_bd_add, arguments, {i, 0, 1000}, before.data());
        writer.append({before.data(), size});
        record.bd_id += 1;
        writer.append({after.data(), capture.returns(0, 5, before.data(), after.data())});
    }
    mark.kind = trace::EntryKind::print;
    writer.append(mark);
    writer.flush();
    file = fopen(path, "rb");
    std::string text = whole_text(file);
    fclose(file);
    unlink(path);
    return text;
}

void feed_trace(const uint8_t *data, size_t size) {
    static size_t entries = 0;
    static const std::string sample = sample_trace(&entries);
    if (size == 0) return;
    const std::string bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    switch (data[0] % 3) {
        case 0:
            if (!bytes.empty()) read(bytes);
            break;
        case 1:
            read(sample.substr(0, entries) + bytes);
            break;
        default: {
            trace::Naming names;
            const trace::Calls found = trace::calls_in(bytes);
            for (const trace::Call &call : found.calls) {
                std::string line;
                names.learn(call);
                trace::append_line(&line, call, names);
            }
        }
    }
}
