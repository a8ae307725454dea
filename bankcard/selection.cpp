// Application selection (EMV book 1, section 12): by the AID that the host names, or the first
// application of the card's payment system directory.

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>

#include "bankcard/candidate_list.hpp"
#include "bankcard/card_commands.hpp"
#include "emvdata/element_store.hpp"
#include "quorrin/quorrin.h"
#include "reader/hex_bytes.hpp"
#include "tlv/codec/ber_tlv.hpp"

namespace quorrin {
namespace {

// Room for an AID as hex text or for a whole candidate list, with a terminator.
using AidText = std::array<char, 256>;

constexpr std::uint8_t pse_name[] = {'1', 'P', 'A', 'Y', '.', 'S', 'Y',
                                     'S', '.', 'D', 'D', 'F', '0', '1'};

std::int64_t select_application(std::int64_t handle, std::string_view aid_hex, CardAnswer& answer) {
    std::array<std::uint8_t, sizeof(AidText) / 2> aid{};
    return card_step(handle, select_by_name(read_hex(aid_hex, aid)), answer);
}

bool store_fci(const CardAnswer& fci) {
    return tlv::is_well_formed(fci.data()) && store_response(fci.data()) == 0;
}

// The short identifier of the directory file that the payment system environment names (88). False
// when its FCI lacks the DF name or the identifier, or has one of them twice.
bool find_directory_file(const CardAnswer& pse, std::uint8_t& sfi) {
    constexpr std::uint8_t df_name_tag[] = {0x84};
    constexpr std::uint8_t sfi_tag[] = {0x88};
    if (tlv::find_tag(pse.data(), df_name_tag).result != tlv::Search::found) {
        return false;
    }
    const tlv::Search found = tlv::find_tag(pse.data(), sfi_tag);
    if (found.result != tlv::Search::found) {
        return false;
    }
    sfi = found.value.empty() ? std::uint8_t{0} : found.value[0];
    return true;
}

// Reads the directory's records until the card refuses one. Nothing but the card's answer ends it:
// beyond 255 the record number starts again at 0.
void read_directory(std::int64_t handle, std::uint8_t sfi, CardAnswer& answer) {
    const std::uint8_t file = record_of_file(sfi);
    std::uint8_t number = 1;
    while (step_succeeded(send_to_card(handle, read_record(number, file), answer))) {
        emvProcessSFIofDDF(answer.bytes, static_cast<std::uint16_t>(answer.length));
        ++number;
    }
    // Deliberate: the status word that ended the directory, mostly 6A83, is covered up; the
    // directory was read. CARD_STATUS keeps a transport failure.
    CARD_SW1 = 0x90;
    CARD_SW2 = 0x00;
}

}  // namespace
}  // namespace quorrin

using namespace quorrin;

std::int64_t selectByPse(std::int64_t handle, char* listOut) {
    if (listOut == nullptr) {
        return QUORRIN_BAD_PARAMETER;
    }
    CardAnswer answer;
    if (const std::int64_t failure = card_step(handle, select_by_name(pse_name), answer)) {
        return failure;
    }
    clear_candidates();
    std::uint8_t sfi = 0;
    if (!find_directory_file(answer, sfi)) {
        return QUORRIN_OBJECT_MISSING;
    }
    read_directory(handle, sfi, answer);
    std::copy_n(gucAidList, gucAidListLen, listOut);
    return QUORRIN_SUCCESS;
}

std::int64_t emvSelectAid(std::int64_t handle, const char* aidHex) {
    AidText candidates{};
    const std::size_t host_length = aidHex != nullptr ? strnlen(aidHex, candidates.size()) : 0;
    if (host_length == candidates.size()) {
        return QUORRIN_BAD_PARAMETER;
    }
    emvClrIccAndTermData();
    std::string_view aid(aidHex, host_length);
    if (aid.empty()) {
        const std::int64_t result = selectByPse(handle, candidates.data());
        if (!step_succeeded(result)) {
            // Deliberate: after a transport failure within the directory this is 0, with no
            // application selected: hosts go on with what the card has selected.
            return step_code(result);
        }
        // Deliberate: an empty item counts. SELECT then goes out with Lc 00, and the host gets the
        // application that the card selects by default (ISO 7816-4), or its refusal, and no other
        // of the list.
        aid = first_aid(candidates.data());
    }
    CardAnswer fci;
    if (const std::int64_t failure = select_application(handle, aid, fci)) {
        return failure;
    }
    return store_fci(fci) ? 0 : QUORRIN_DATA_MALFORMED;
}
