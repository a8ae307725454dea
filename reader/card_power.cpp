// Powering card slots, finding the user's card, and closing down: card first, then reader.

#include <algorithm>
#include <cstring>

#include "quorrin/quorrin.h"
#include "quorrin/reader_library.h"
#include "reader/card_kind.hpp"
#include "reader/codes.hpp"
#include "reader/diagnostic_log.hpp"

std::uint8_t EG_nUserCardType = quorrin::contact_card;

using namespace quorrin;

namespace {

constexpr std::int64_t atr_size = 512;

// Records the kind tried, whatever comes of it.
std::int64_t try_card(std::int64_t handle, int kind) {
    EG_nUserCardType = static_cast<std::uint8_t>(kind);
    std::uint8_t atr[atr_size] = {};
    std::uint32_t atr_length = 0;
    return PowerUp(handle, kind, atr, &atr_length);
}

// FindUserCard's mode for each iType of icBandkCardPowerUp.
constexpr int find_modes[] = {1, 2, 4};

}  // namespace

std::int64_t PowerUp(std::int64_t handle, std::int32_t kind, std::uint8_t* atr,
                     std::uint32_t* atrLen) {
    const CardKind* card = find_card_kind(kind);
    if (handle <= 0 || atr == nullptr || atrLen == nullptr || card == nullptr) {
        return code::bad_parameter;
    }
    std::uint8_t buffer[atr_size] = {};
    std::int64_t result = ICC_Reader_PowerOn(handle, card->slot, buffer);
    if (result <= 0) {
        log::write_items("fail:", card->power_up_label);
        return result;
    }
    result = std::min(result, atr_size);
    std::memcpy(atr, buffer, static_cast<std::size_t>(result));
    *atrLen = static_cast<std::uint32_t>(result);
    log::write_items("success:", card->power_up_label, result);
    return code::success;
}

std::int64_t PowerDown(std::int64_t handle, std::int32_t kind) {
    const CardKind* card = find_card_kind(kind);
    if (handle <= 0 || card == nullptr) {
        return code::bad_parameter;
    }
    const std::int64_t result = ICC_Reader_PowerOff(handle, card->power_off_slot);
    log::write_items(result == 0 ? "success:" : "fail:", card->power_down_label);
    return result;
}

std::int64_t FindUserCard(std::int64_t handle, std::int32_t mode) {
    switch (mode) {
        case 1:
            return try_card(handle, contact_card);
        case 2:
            return try_card(handle, contactless_card);
        case 3: {
            const std::int64_t result = try_card(handle, contact_card);
            return result == code::no_card ? try_card(handle, contactless_card) : result;
        }
        case 4: {
            const std::int64_t result = try_card(handle, contactless_card);
            if (result == code::no_card || result == code::card_mute) {
                return try_card(handle, contact_card);
            }
            // Deliberate: any other failure of the contactless slot counts as found; the host
            // learns of it from its first command.
            return code::success;
        }
        default:
            return code::bad_parameter;
    }
}

std::int64_t CloseAllDevice() {
    // Deliberate: the kind that is current now is powered down, whichever was powered, and also with
    // handle 0, which PowerDown refuses silently: a host may close at any time.
    PowerDown(ReaderHandle, EG_nUserCardType);
    return CloseDevice(&ReaderHandle);
}

std::int64_t icBandkCardPowerUp(std::int32_t iType, char* msg) {
    log::write_formatted("iType=%d", iType);
    if (iType < 0 || iType > 2 || msg == nullptr) {
        return TransRetCode(code::bad_parameter, msg);
    }
    std::int64_t result = OpenDevice(EG_szDev_Name, &ReaderHandle);
    if (result == code::success) {
        result = FindUserCard(ReaderHandle, find_modes[iType]);
    }
    if (result != code::success) {
        CloseAllDevice();
        return TransRetCode(result, msg);
    }
    return code::success;
}
