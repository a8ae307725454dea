#include "reader_libraries/simulator/card/application_selection.hpp"

#include <algorithm>
#include <string_view>

namespace quorrin::simulator {
namespace {

constexpr std::string_view contact_directory_name = "1PAY.SYS.DDF01";
constexpr std::string_view contactless_directory_name = "2PAY.SYS.DDF01";

ByteString text_bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

bool begins_with(std::span<const std::uint8_t> name, std::span<const std::uint8_t> begin) {
    return begin.size() <= name.size() && std::equal(begin.begin(), begin.end(), name.begin());
}

bool is_name(std::span<const std::uint8_t> name, std::string_view text) {
    return std::equal(
        name.begin(), name.end(), text.begin(), text.end(),
        [](std::uint8_t byte, char c) { return byte == static_cast<std::uint8_t>(c); });
}

void append_object(ByteString& bytes, Tag tag, std::span<const std::uint8_t> value) {
    if (!value.empty()) {
        append(bytes, data_object(tag, value));
    }
}

void append_priority(ByteString& bytes, const ApplicationProfile& application) {
    if (application.priority) {
        append(bytes, data_object(0x87, {&*application.priority, 1}));
    }
}

// An entry as both directories list it.
ByteString directory_entry(const ApplicationProfile& application) {
    ByteString entry = data_object(0x4F, application.aid);
    append_object(entry, 0x50, application.label);
    append_priority(entry, application);
    return data_object(0x61, entry);
}

void append_log_entry(ByteString& bytes, Tag tag, const std::optional<LogProfile>& log) {
    if (log) {
        append(bytes, data_object(tag, ByteString{log->file, log->capacity}));
    }
}

ByteString file_control_information(std::span<const std::uint8_t> name,
                                    std::span<const std::uint8_t> proprietary) {
    ByteString value = data_object(0x84, name);
    append(value, data_object(0xA5, proprietary));
    return data_object(0x6F, value);
}

}  // namespace

std::optional<Selection> find_selection(const CardProfile& card, const Selection& current,
                                        std::span<const std::uint8_t> name, bool next_occurrence) {
    if (name.empty()) {
        return std::nullopt;
    }
    if (!next_occurrence && card.contact_directory && is_name(name, contact_directory_name)) {
        return ContactDirectorySelected{};
    }
    if (!next_occurrence && card.contactless_directory &&
        is_name(name, contactless_directory_name)) {
        return ContactlessDirectorySelected{};
    }
    std::size_t index = 0;
    if (const auto* selected = std::get_if<ApplicationSelected>(&current);
        selected != nullptr && next_occurrence) {
        index = selected->index + 1;
    }
    for (; index < card.applications.size(); ++index) {
        if (begins_with(card.applications[index].aid, name)) {
            return ApplicationSelected{index};
        }
    }
    return std::nullopt;
}

ByteString contact_directory_fci(const CardProfile& card) {
    ByteString proprietary = data_object(0x88, {&card.contact_directory->file, 1});
    append(proprietary, card.contact_directory->fci_elements);
    return file_control_information(text_bytes(contact_directory_name), proprietary);
}

ByteString contactless_directory_fci(const CardProfile& card) {
    ByteString entries;
    for (const ApplicationProfile& application : card.applications) {
        append(entries, directory_entry(application));
    }
    return file_control_information(text_bytes(contactless_directory_name),
                                    data_object(0xBF0C, entries));
}

ByteString application_fci(const ApplicationProfile& application) {
    ByteString proprietary;
    append_object(proprietary, 0x50, application.label);
    append_priority(proprietary, application);
    append_object(proprietary, 0x9F38, application.pdol_bytes);
    append(proprietary, application.fci_elements);

    ByteString discretionary;
    append_log_entry(discretionary, 0x9F4D, application.transaction_log);
    append_log_entry(discretionary, 0xDF4D, application.load_log);
    append(discretionary, application.fci_discretionary);
    append_object(proprietary, 0xBF0C, discretionary);
    return file_control_information(application.aid, proprietary);
}

CardAnswer read_directory(const CardProfile& card, std::uint8_t file, std::uint8_t number) {
    if (file != card.contact_directory->file) {
        return StatusWord::FileNotFound;
    }
    if (number > card.applications.size()) {
        return StatusWord::RecordNotFound;
    }
    return data_object(0x70, directory_entry(card.applications[number - 1U]));
}

}  // namespace quorrin::simulator
