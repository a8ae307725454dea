#include "reader_libraries/pcsc/pcsc_reader.hpp"

#include <reader.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "quorrin/device_codes.h"
#include "reader_libraries/pcsc/reader_names.hpp"
#include "reader_libraries/pcsc/result_codes.hpp"

namespace quorrin::pcsc {
namespace {

// The service refuses to read an attribute into more room than this.
constexpr std::size_t attribute_room = 264;

void complain(const Settings& settings, const FailedStep& failed) {
    const char* verbose = std::getenv(verbose_variable);
    if (verbose == nullptr || *verbose == '\0') {
        return;
    }
    const std::string& wished = settings.readers[contact_slot];
    std::fprintf(stderr, "libquorrin-pcsc: reader %s: %s: %s (0x%08lX)\n",
                 wished.empty() ? "(any)" : wished.c_str(), failed.function, name_of(failed.result),
                 static_cast<unsigned long>(failed.result));
}

}  // namespace

std::int64_t PcscReader::open(std::span<char, name_room> name) {
    const bool was_open = handle_ != 0;
    if (!was_open) {
        settings_ = read_settings();
    }
    auto failed = update_readers();
    if (!failed && main_reader() == nullptr) {
        failed = FailedStep{"choice of a reader", SCARD_E_UNKNOWN_READER};
    }
    if (failed) {
        complain(settings_, *failed);
        if (!was_open) {
            service_.release();
        }
        return device_code(failed->result);
    }
    write_cut(name, *main_reader());
    if (!was_open) {
        handle_ = ++last_handle_;
    }
    return handle_;
}

std::int64_t PcscReader::close() {
    if (handle_ == 0) {
        return QUORRIN_NOT_CONNECTED;
    }
    for (Slot& slot : slots_) {
        slot.card.power_off();
    }
    service_.release();
    handle_ = 0;
    return QUORRIN_SUCCESS;
}

std::int64_t PcscReader::power_on(std::int64_t handle, int code,
                                  std::span<std::uint8_t, CardConnection::atr_room> atr) {
    Slot* slot = nullptr;
    if (const auto wrong = find_slot(handle, slot_of_code(code), slot); wrong != 0) {
        return wrong;
    }
    std::size_t length = 0;
    const LONG result = with_recovery([&] { return power_on(*slot, atr, length); });
    return result == SCARD_S_SUCCESS ? static_cast<std::int64_t>(length) : device_code(result);
}

LONG PcscReader::power_on(Slot& slot, std::span<std::uint8_t, CardConnection::atr_room> atr,
                          std::size_t& length) {
    if (slot.reader.empty()) {
        return slot.choice == SlotChoice::NotFound ? SCARD_E_UNKNOWN_READER : SCARD_E_NO_SMARTCARD;
    }
    // Two slots can share a reader; its card is in the one that was powered last.
    for (Slot& other : slots_) {
        if (&other != &slot && other.reader == slot.reader) {
            other.card.power_off();
        }
    }
    return slot.card.power_on(slot.reader, {settings_.shared, settings_.wait}, atr, length);
}

std::int64_t PcscReader::power_off(std::int64_t handle, int code) {
    Slot* slot = nullptr;
    if (const auto wrong = find_slot(handle, slot_of_power_off_code(code), slot); wrong != 0) {
        return wrong;
    }
    if (slot->reader.empty()) {
        return QUORRIN_NO_CARD;
    }
    return device_code(slot->card.power_off());
}

std::int64_t PcscReader::exchange(std::int64_t handle, int code,
                                  std::span<const std::uint8_t> command,
                                  std::span<std::uint8_t, CardConnection::response_room> response) {
    Slot* slot = nullptr;
    if (const auto wrong = find_slot(handle, slot_of_code(code), slot); wrong != 0) {
        return wrong;
    }
    if (command.size() < shortest_command || command.size() > longest_command) {
        return QUORRIN_BAD_PARAMETER;
    }
    if (slot->card.connected()) {
        return slot->card.exchange(command, response);
    }
    if (slot->reader.empty()) {
        return slot->choice == SlotChoice::NotFound ? QUORRIN_CONNECTION_ERROR : QUORRIN_NO_CARD;
    }
    const LONG presence = with_recovery([&] { return slot->card.presence(slot->reader); });
    if (presence == SCARD_S_SUCCESS) {
        return QUORRIN_NOT_POWERED;
    }
    return device_code(presence);
}

std::int64_t PcscReader::serial(std::int64_t handle, std::span<char, serial_room> serial) {
    if (handle_ == 0 || handle != handle_) {
        return QUORRIN_NOT_CONNECTED;
    }
    if (const auto failed = update_readers()) {
        return device_code(failed->result);
    }
    const std::string* reader = main_reader();
    if (reader == nullptr) {
        return QUORRIN_CONNECTION_ERROR;
    }
    const auto& slot = *std::ranges::find(slots_, *reader, &Slot::reader);
    std::array<char, attribute_room> text{};
    std::size_t length = 0;
    const LONG result =
        slot.card.read_attribute(*reader, SCARD_ATTR_VENDOR_IFD_SERIAL_NO, text, length);
    // Some drivers count the terminating zero, others have none.
    std::string_view found(text.data(), length);
    found = found.substr(0, found.find('\0'));
    if (found.empty()) {
        found = serial_in_name(*reader);
    }
    if (found.empty()) {
        return device_code(result == SCARD_S_SUCCESS ? SCARD_E_UNSUPPORTED_FEATURE : result);
    }
    write_cut(serial, found);
    return QUORRIN_SUCCESS;
}

std::int64_t PcscReader::find_slot(std::int64_t handle, std::optional<std::size_t> index,
                                   Slot*& slot) {
    if (handle_ == 0 || handle != handle_) {
        return QUORRIN_NOT_CONNECTED;
    }
    if (!index) {
        return QUORRIN_BAD_PARAMETER;
    }
    slot = &slots_[*index];
    return QUORRIN_SUCCESS;
}

// Reads the list of readers, from a restarted service too, and says anew which serves which slot. While
// a card has power, or nobody knows the readers, every slot keeps its reader.
std::optional<FailedStep> PcscReader::update_readers() {
    std::vector<std::string> names;
    auto failed = service_.list_readers(names);
    if (failed && is_service_lost(failed->result)) {
        for (Slot& slot : slots_) {
            slot.card.forget();
        }
        service_.release();
        failed = service_.list_readers(names);
    }
    if (failed || any_card_connected()) {
        return failed;
    }
    const SlotMap map = map_slots(names, settings_.readers);
    for (std::size_t i = 0; i < slot_count; ++i) {
        slots_[i].choice = map[i].choice;
        slots_[i].reader = map[i].reader ? names[*map[i].reader] : "";
    }
    return std::nullopt;
}

// Where the result says that the service or a reader is gone: once again with what is there now.
template <typename Call>
LONG PcscReader::with_recovery(Call&& call) {
    const LONG result = call();
    if (!is_service_lost(result) && !is_reader_lost(result)) {
        return result;
    }
    if (const auto failed = update_readers()) {
        return failed->result;
    }
    return call();
}

bool PcscReader::any_card_connected() const {
    return std::ranges::any_of(slots_, [](const Slot& slot) { return slot.card.connected(); });
}

// The reader whose name and serial number stand for all: that of the first slot that has one.
const std::string* PcscReader::main_reader() const {
    for (const Slot& slot : slots_) {
        if (!slot.reader.empty()) {
            return &slot.reader;
        }
    }
    return nullptr;
}

}  // namespace quorrin::pcsc
