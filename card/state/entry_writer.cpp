// Values of an entry: see entry_writer.h.
#include "card/state/entry_writer.h"

#include <fmt/core.h>

namespace card {

void FamilyWriter::ipv4(std::string_view name, u32 address) {
    char text[16];
    json_.key(name);
    const auto end = fmt::format_to(text, "{}.{}.{}.{}", address >> 24, address >> 16 & 0xFF,
                                    address >> 8 & 0xFF, address & 0xFF);
    json_.text({text, static_cast<size_t>(end - text)});
}

void FamilyWriter::mac(std::string_view name, const u8 (&address)[6]) {
    text(name, mac_text(address));
}

void FamilyWriter::flags(std::string_view name, prm_list<prm_bits> bits, u64 value) {
    if (value == 0) return;
    std::string words;
    append_flags(&words, bits, value);
    text(name, words);
}

void FamilyWriter::reference(std::string_view name, const Reference &reference) {
    json_.key(name);
    json_.begin_object();
    text("to", reference.to);
    flag("dangling", reference.dangling);
    if (reference.ends != nullptr && !reference.ends->text.empty()) {
        text("ends", reference.ends->text);
        flag("ends_dangling", reference.ends->dangling);
    }
    json_.end_object();
}

void FamilyWriter::record(std::string_view name, const prm_record &table, Block bytes) {
    json_.key(name);
    json_.begin_object();
    decode(table, bytes, [&](const FieldValue &value) {
        if (!value.is_zero()) text(value.path, card::text(value));
    });
    json_.end_object();
}

}  // namespace card
