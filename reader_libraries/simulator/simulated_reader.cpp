#include "reader_libraries/simulator/simulated_reader.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

#include "quorrin/device_codes.h"

namespace quorrin::simulator {
namespace {

std::optional<std::string> content_of(const std::filesystem::path& file) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored)) {
        return std::nullopt;
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    return std::string{std::istreambuf_iterator<char>(stream), {}};
}

// The same name can mean another file once the host has changed its directory.
SourceFile source_file(const std::filesystem::path& file) {
    return {std::filesystem::absolute(file), content_of(file)};
}

template <std::size_t Room>
void write_text(std::span<char, Room> out, const std::string& text) {
    const std::size_t length = std::min(text.size(), Room - 1);
    std::copy_n(text.begin(), length, out.begin());
    out[length] = '\0';
}

// What a device gives as an answer of at least `least` bytes, or what the reader reports instead.
template <std::size_t Room, typename Call>
std::int64_t take_answer(std::span<std::uint8_t, Room> out, Call&& call) {
    try {
        const ByteString answer = call();
        if (answer.size() > Room) {
            return QUORRIN_CHECK_ERROR;
        }
        std::ranges::copy(answer, out.begin());
        return static_cast<std::int64_t>(answer.size());
    } catch (const ReaderFailure& failure) {
        return failure.result();
    }
}

}  // namespace

std::int64_t SimulatedReader::open(const std::optional<std::filesystem::path>& file,
                                   std::span<char, name_room> name) {
    if (handle_ == 0) {
        if (!setup_is_current(file)) {
            load(file);
        }
        for (std::size_t i = 0; i < slot_count; ++i) {
            const SlotSetup& from = setup_->slots[i];
            if (from.card == nullptr) {
                continue;
            }
            CardDevice* card = from.card.get();
            if (from.t0) {
                slots_[i].framing = std::make_unique<T0Framing>(*card, *from.t0);
                card = slots_[i].framing.get();
            }
            slots_[i].front = std::make_unique<FaultInjection>(*card, from.faults);
            slots_[i].endless_chains = from.faults.endless_chains;
        }
        handle_ = ++last_handle_;
    }
    write_text(name, setup_->name);
    return handle_;
}

std::int64_t SimulatedReader::close() {
    if (handle_ == 0) {
        return QUORRIN_NOT_CONNECTED;
    }
    for (Slot& slot : slots_) {
        cut_power(slot);
        slot = {};
    }
    handle_ = 0;
    return QUORRIN_SUCCESS;
}

std::int64_t SimulatedReader::power_on(std::int64_t handle, int code,
                                       std::span<std::uint8_t, atr_room> atr) {
    Slot* slot = nullptr;
    if (const auto found = find_card(handle, find_slot(&SlotRow::code, code), slot); found != 0) {
        return found;
    }
    const std::int64_t result = take_answer(atr, [&] { return slot->front->power_on(); });
    slot->powered = result > 0;
    return result == 0 ? std::int64_t{QUORRIN_CARD_MUTE} : result;
}

std::int64_t SimulatedReader::power_off(std::int64_t handle, int code) {
    Slot* slot = nullptr;
    const auto index = find_slot(&SlotRow::power_off_code, code);
    if (const auto found = find_card(handle, index, slot); found != 0) {
        return found;
    }
    cut_power(*slot);
    return QUORRIN_SUCCESS;
}

std::int64_t SimulatedReader::exchange(std::int64_t handle, int code,
                                       std::span<const std::uint8_t> command,
                                       std::span<std::uint8_t, response_room> response) {
    Slot* slot = nullptr;
    if (const auto found = find_card(handle, find_slot(&SlotRow::code, code), slot); found != 0) {
        return found;
    }
    if (command.size() < shortest_command || command.size() > longest_command) {
        return QUORRIN_BAD_PARAMETER;
    }
    if (!slot->powered) {
        return QUORRIN_NOT_POWERED;
    }
    return take_answer(response, [&] {
        ByteString answer = slot->front->transmit(command);
        end_endless_chain(*slot, command, answer);
        return answer;
    });
}

void SimulatedReader::end_endless_chain(Slot& slot, std::span<const std::uint8_t> command,
                                        std::span<const std::uint8_t> answer) {
    constexpr std::uint8_t get_response = 0xC0;
    constexpr std::uint8_t more_data = 0x61;
    const bool bare_announcement = answer.size() == 2 && answer[0] == more_data;
    if (command[1] != get_response || !bare_announcement) {
        slot.bare_announcements = 0;
    }
    if (bare_announcement && ++slot.bare_announcements == most_bare_announcements &&
        !slot.endless_chains) {
        slot.bare_announcements = 0;
        throw ReaderFailure(QUORRIN_CARD_MUTE);
    }
}

std::int64_t SimulatedReader::serial(std::int64_t handle,
                                     std::span<char, serial_room> serial) const {
    if (const auto wrong = check_handle(handle); wrong != 0) {
        return wrong;
    }
    write_text(serial, setup_->serial);
    return QUORRIN_SUCCESS;
}

bool SimulatedReader::setup_is_current(const std::optional<std::filesystem::path>& file) const {
    if (!setup_ || sources_.empty() == file.has_value() ||
        (file && sources_.front().path != std::filesystem::absolute(*file))) {
        return false;
    }
    return std::ranges::all_of(sources_, [](const SourceFile& source) {
        return source.content && content_of(source.path) == source.content;
    });
}

void SimulatedReader::load(const std::optional<std::filesystem::path>& file) {
    std::vector<SourceFile> sources;
    if (!file) {
        setup_ = built_in_reader();
    } else {
        sources.push_back(source_file(*file));
        ReaderSetup setup = read_reader_file(*file);
        for (const auto& profile : setup.profiles) {
            sources.push_back(source_file(profile));
        }
        setup_ = std::move(setup);
    }
    sources_ = std::move(sources);
}

std::int64_t SimulatedReader::check_handle(std::int64_t handle) const {
    if (handle_ == 0) {
        return QUORRIN_NOT_CONNECTED;
    }
    return handle == handle_ ? QUORRIN_SUCCESS : QUORRIN_BAD_PARAMETER;
}

// The slot with a card that a host means, or why there is none.
std::int64_t SimulatedReader::find_card(std::int64_t handle, std::optional<std::size_t> index,
                                        Slot*& slot) {
    if (const auto wrong = check_handle(handle); wrong != 0) {
        return wrong;
    }
    if (!index) {
        return QUORRIN_BAD_PARAMETER;
    }
    slot = &slots_[*index];
    if (slot->front == nullptr || !slot->front->card_present()) {
        cut_power(*slot);  // a card that was pulled out lost its session with the power
        return QUORRIN_NO_CARD;
    }
    return QUORRIN_SUCCESS;
}

void SimulatedReader::cut_power(Slot& slot) {
    if (slot.powered) {
        slot.powered = false;
        slot.front->power_off();
    }
}

}  // namespace quorrin::simulator
