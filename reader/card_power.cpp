// Powering card slots, finding the user's card, and closing down: card first, then reader.

#include <algorithm>
#include <cstring>

#include "quorrin/quorrin.h"
#include "quorrin/reader_library.h"
#include "reader/card_kind.hpp"
#include "reader/diagnostic_log.hpp"

std::uint8_t EG_nUserCardType = QUORRIN_CONTACT_CARD;

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

// FindUserCard's mode for each QuorrinUserCard.
constexpr QuorrinFindMode find_modes[] = {
    QUORRIN_FIND_CONTACT,            // QUORRIN_USER_CONTACT
    QUORRIN_FIND_CONTACTLESS,        // QUORRIN_USER_CONTACTLESS
    QUORRIN_FIND_CONTACTLESS_FIRST,  // QUORRIN_USER_CONTACTLESS_FIRST
};

}  // namespace

std::int64_t PowerUp(std::int64_t handle, std::int32_t kind, std::uint8_t* atr,
                     std::uint32_t* atrLen) {
    const CardKind* card = find_card_kind(kind);
    if (handle <= 0 || atr == nullptr || atrLen == nullptr || card == nullptr) {
        return QUORRIN_BAD_PARAMETER;
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
    return QUORRIN_SUCCESS;
}

std::int64_t PowerDown(std::int64_t handle, std::int32_t kind) {
    const CardKind* card = find_card_kind(kind);
    if (handle <= 0 || card == nullptr) {
        return QUORRIN_BAD_PARAMETER;
    }
    const std::int64_t result = ICC_Reader_PowerOff(handle, card->power_off_slot);
    log::write_items(result == 0 ? "success:" : "fail:", card->power_down_label);
    return result;
}

std::int64_t FindUserCard(std::int64_t handle, std::int32_t mode) {
    switch (mode) {
        case QUORRIN_FIND_CONTACT:
            return try_card(handle, QUORRIN_CONTACT_CARD);
        case QUORRIN_FIND_CONTACTLESS:
            return try_card(handle, QUORRIN_CONTACTLESS_CARD);
        case QUORRIN_FIND_CONTACT_FIRST: {
            const std::int64_t result = try_card(handle, QUORRIN_CONTACT_CARD);
            return result == QUORRIN_NO_CARD ? try_card(handle, QUORRIN_CONTACTLESS_CARD) : result;
        }
        case QUORRIN_FIND_CONTACTLESS_FIRST: {
            const std::int64_t result = try_card(handle, QUORRIN_CONTACTLESS_CARD);
            if (result == QUORRIN_NO_CARD || result == QUORRIN_CARD_MUTE) {
                return try_card(handle, QUORRIN_CONTACT_CARD);
            }
            // Deliberate: any other failure of the contactless slot counts as found; the host
            // learns of it from its first command.
            return QUORRIN_SUCCESS;
        }
        default:
            return QUORRIN_BAD_PARAMETER;
    }
}

std::int64_t CloseAllDevice() {
    // Deliberate: the kind that is current now is powered down, whichever was powered, and also
    // with handle 0, which PowerDown refuses silently: a host may close at any time.
    PowerDown(ReaderHandle, EG_nUserCardType);
    return CloseDevice(&ReaderHandle);
}

std::int64_t icBandkCardPowerUp(std::int32_t iType, char* msg) {
    log::write_formatted("iType=%d", iType);
    if (iType < QUORRIN_USER_CONTACT || iType > QUORRIN_USER_CONTACTLESS_FIRST || msg == nullptr) {
        return TransRetCode(QUORRIN_BAD_PARAMETER, msg);
    }
    std::int64_t result = OpenDevice(EG_szDev_Name, &ReaderHandle);
    if (result == QUORRIN_SUCCESS) {
        result = FindUserCard(ReaderHandle, find_modes[iType]);
    }
    if (result != QUORRIN_SUCCESS) {
        CloseAllDevice();
        return TransRetCode(result, msg);
    }
    return QUORRIN_SUCCESS;
}
