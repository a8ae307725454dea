// quorrin readers: what is there, which slot each serves and why, which card is in it.
#include <memory>

#include "hosts/command/applications.hpp"
#include "hosts/command/json_output.hpp"
#include "hosts/command/table.hpp"
#include "reader_libraries/pcsc/settings.hpp"

namespace quorrin::command {
namespace {

struct SlotView {
    std::string name;
    std::string reader;
    std::string why;
    std::string card;
    host::ByteString atr;
};

// As the PC/SC reader library maps them, by its configuration and the names.
void tell_readers(const PcscReaders& pcsc, const std::string& asked, std::vector<SlotView>& views) {
    const pcsc::Settings settings = pcsc::read_settings();
    const pcsc::SlotMap map = pcsc::map_slots(pcsc.names, settings.readers);
    for (std::size_t i = 0; i < views.size() && i < map.size(); ++i) {
        views[i].reader = map[i].reader ? pcsc.names[*map[i].reader] : "";
        views[i].why = pcsc::reason_of(map[i].choice);
        if (!settings.readers[i].empty()) {
            views[i].why +=
                asked.starts_with("pcsc:") ? " (--reader)" : " (" + settings.said_by[i] + ")";
        }
    }
}

// What is in the card of a user's slot. Security modules are left alone.
std::string contents_of(host::Card& card) {
    std::string names;
    try {
        for (const std::string& aid : find_applications(card).aids) {
            names += (names.empty() ? "" : ", ") + application_name(aid);
        }
    } catch (const host::Failure& error) {
        return plain_words(error);
    }
    return names.empty() ? "no application that is known here" : names;
}

bool is_sam(int kind) {
    return kind == QUORRIN_SAM1 || kind == QUORRIN_SAM2 || kind == QUORRIN_SAM3 ||
           kind == QUORRIN_SAM4;
}

SlotView look_into(const host::Reader& reader, int kind) {
    SlotView view;
    view.name = slot_name(kind);
    try {
        host::Card card = reader.power_up(kind);
        view.atr = card.atr();
        view.card = (is_sam(kind) ? std::string("security module") : contents_of(card)) +
                    "; answer to reset " + host::to_hex(card.atr());
    } catch (const host::Failure& error) {
        view.card = error.code() == QUORRIN_NO_CARD ? "no card" : plain_words(error);
    }
    return view;
}

int run_readers(const CardOptions& options, const Common& common) {
    const BackendChoice library = load_backend({options.reader, options.slot, options.trace});
    catch_interrupts();
    const Progress progress("looking into the slots");
    const host::Reader reader;
    std::string serial;
    try {
        serial = reader.serial();
    } catch (const host::Failure&) {  // many readers have none
    }
    // In the order of the PC/SC reader library's table: contact, contactless, further, SAMs.
    std::vector<SlotView> views;
    for (const SlotName& slot : slot_names()) {
        views.push_back(look_into(reader, slot.kind));
    }
    const PcscReaders pcsc = library.name == "pcsc" ? pcsc_readers() : PcscReaders();
    if (library.name == "pcsc") {
        tell_readers(pcsc, options.reader, views);
    }
    if (common.json) {
        Json json = result_of("readers");
        json["library"] = library.name;
        json["file"] = library.file;
        json["serial"] = serial;
        json["readers"] = pcsc.names;
        json["slots"] = Json::array();
        for (const SlotView& view : views) {
            json["slots"].push_back({{"slot", view.name},
                                     {"reader", view.reader},
                                     {"why", view.why},
                                     {"has_card", !view.atr.empty()},
                                     {"card", view.card},
                                     {"atr", host::to_hex(view.atr)}});
        }
        put_json(json);
        return success;
    }
    Table table(library.name == "pcsc" ? std::vector<std::string>{"slot", "reader", "why", "card"}
                                       : std::vector<std::string>{"slot", "card"});
    for (const SlotView& view : views) {
        table.add(library.name == "pcsc"
                      ? std::vector<std::string>{view.name, view.reader, view.why, view.card}
                      : std::vector<std::string>{view.name, view.card});
    }
    put_result("Reader library " + library.name +
               (serial.empty() ? "" : ", serial number " + serial) + "\n" +
               table.text(wants_colour(), terminal_width()));
    return success;
}

}  // namespace

void add_readers(CLI::App& app, const Common& common, Action& action) {
    auto options = std::make_shared<CardOptions>();
    CLI::App* command =
        app.add_subcommand("readers", "Show readers, the slots that they serve and their cards");
    add_card_options(*command, *options);
    command->footer(examples(R"(  quorrin readers
  quorrin readers --reader simulator:reader.toml
  quorrin readers --reader pcsc --json)"));
    command->callback(
        [=, &common, &action] { action = [=, &common] { return run_readers(*options, common); }; });
}

}  // namespace quorrin::command
