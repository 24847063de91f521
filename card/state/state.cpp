// The document around the families: see state.h.
#include "card/state/state.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "card/state/families.h"

namespace card {
namespace {

void write_card(const sim::Card &card, JsonWriter &json) {
    const sim::Inventory &inventory = card.inventory;
    json.key("card");
    json.begin_object();
    json.key("type");
    json.hex(inventory.card_type);
    json.key("veltora_family");
    json.boolean(inventory.veltora_family);
    json.key("ports");
    json.number(inventory.ports);
    json.key("np_local_ports");
    json.begin_array();
    for (const u8 ports : inventory.np_local_ports) json.number(ports);
    json.end_array();
    json.key("mirroring");
    json.boolean(card.span.enabled);
    json.end_object();
}

void write_accounts(const sim::Accounts &accounts, JsonWriter &json) {
    json.new_line();
    json.key("accounts");
    json.begin_object();
    for (const sim::Accounts::Row &row : accounts.rows) {
        json.new_line();
        json.key(row.name);
        json.begin_object();
        json.key("used");
        json.number(row.account.used);
        json.key("limit");
        json.number(row.account.limit);
        json.end_object();
    }
    json.new_line();
    json.end_object();
}

void write_family(const sim::Card &card, const Family &family, JsonWriter &json, FamilyWriter &out) {
    json.new_line();
    json.key(family.name);
    json.begin_object();
    json.key("key");
    json.begin_array();
    for (std::string_view rest = family.key; !rest.empty();) {
        const size_t blank = rest.find(' ');
        json.text(rest.substr(0, blank));
        rest = blank == rest.npos ? std::string_view() : rest.substr(blank + 1);
    }
    json.end_array();
    json.key("entries");
    json.begin_array();
    family.write(card, out);
    json.end_array();
    json.end_object();
}

}  // namespace

void write_state(const sim::Card &card, const StateMoment &moment, JsonWriter &json) {
    json.begin_object();
    json.key("format");
    json.number(kStateFormat);
    json.key("kind");
    json.text(kStateKind);
    json.new_line();
    json.key("run");
    json.begin_object();
    json.key("worker");
    json.number(static_cast<uint64_t>(moment.worker));
    json.key("after");
    json.text(moment.after);
    json.end_object();
    json.new_line();
    write_card(card, json);
    write_accounts(card.accounts, json);
    json.new_line();
    json.key("families");
    json.begin_object();
    Resolver resolver(card);
    FamilyWriter out(json, resolver);
    for (const auto families : {interface_families(), forwarding_families(), layer2_families(),
                                classification_families(), session_families()}) {
        for (const Family &family : families) write_family(card, family, json, out);
    }
    json.new_line();
    json.end_object();
    json.end_object();
    json.new_line();
}

bool write_state_file(const sim::Card &card, const StateMoment &moment, const std::string &path,
                      std::string *error) {
    const std::string temporary = path + ".tmp";
    const auto failed = [&](const std::string &what, int reason) {
        *error = what + ": " + strerror(reason);
        return false;
    };
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) return failed(temporary, errno);
    JsonWriter json(fd);
    write_state(card, moment, json);
    const bool written = json.finish();
    const int reason = written && close(fd) != 0 ? errno : json.error();
    if (!written) close(fd);
    if (reason == 0 && rename(temporary.c_str(), path.c_str()) == 0) return true;
    const int why = reason != 0 ? reason : errno;
    unlink(temporary.c_str());
    return failed(path, why);
}

}  // namespace card
