// Reading the card's directory: records of the payment system directory (EMV book 1,
// section 12.2.3) and the directory FCI of quick PBOC cards (PBOC part 12), which names the
// applications itself.

#include "bankcard/candidate_list.hpp"
#include "boundary/host_bytes.hpp"
#include "quorrin/quorrin.h"
#include "tlv/codec/ber_tlv.hpp"

namespace quorrin {
namespace {

constexpr std::uint8_t fci_template = 0x6F;
constexpr std::uint8_t df_name = 0x84;
constexpr std::uint8_t proprietary_template = 0xA5;
constexpr std::uint8_t record_template = 0x70;
constexpr std::uint8_t directory_entry = 0x61;

bool is_template(const tlv::Cursor& cursor, const tlv::Object& object, std::uint8_t tag) {
    return object.is_constructed() && cursor.has_tag(object, tag);
}

std::int64_t append_applications_of_record(tlv::Bytes record) {
    for (tlv::Cursor cursor(record); !cursor.at_end();) {
        const tlv::Object object = cursor.object();
        if (object.is_malformed()) {
            return QUORRIN_DATA_MALFORMED;
        }
        if (is_template(cursor, object, record_template)) {
            cursor.enter(object);
            continue;
        }
        if (is_template(cursor, object, directory_entry)) {
            append_candidate(cursor.rest().first(object.size()));
        }
        cursor.step_over(object);
    }
    return 0;
}

// In the directory's FCI an object is stepped over whether it is malformed or not, by the sizes
// that could be decoded.

// The value of the first FCI issuer discretionary data (BF0C), empty when there is none.
tlv::Bytes find_discretionary_data(tlv::Cursor cursor) {
    while (!cursor.at_end()) {
        const tlv::Object object = cursor.object();
        if (object.is_constructed() && cursor.has_tag(object, 0xBF, 0x0C)) {
            return cursor.value(object);
        }
        cursor.step_over(object);
    }
    return {};
}

void append_applications_of_discretionary_data(tlv::Bytes data) {
    for (tlv::Cursor cursor(data); !cursor.at_end();) {
        const tlv::Object object = cursor.object();
        if (is_template(cursor, object, directory_entry)) {
            append_candidate(cursor.rest().first(object.size()));
        }
        cursor.step_over(object);
    }
}

// Deliberate: the codes of a directory FCI are positive, apart from those of the card and the
// reader: hosts that get one know that their own FCI is at fault, and have to test for other than
// 0.
std::int64_t append_applications_of_fci(tlv::Bytes fci) {
    if (!tlv::is_well_formed(fci)) {
        return QUORRIN_FCI_MALFORMED;
    }
    const tlv::Cursor whole(fci);
    const tlv::Object fci_object = whole.object();
    if (!is_template(whole, fci_object, fci_template)) {
        return QUORRIN_NO_FCI_TEMPLATE;
    }

    tlv::Cursor cursor(whole.value(fci_object));
    cursor.skip_padding();
    const tlv::Object name = cursor.object();
    if (!name.is_primitive() || !cursor.has_tag(name, df_name)) {
        return QUORRIN_NO_DF_NAME;
    }
    cursor.step_over(name);

    tlv::Object object = cursor.object();
    while (!is_template(cursor, object, proprietary_template)) {
        if (object.is_malformed()) {  // the end of the bytes included
            return QUORRIN_NO_DIRECTORY_ENTRIES;
        }
        cursor.step_over(object);
        object = cursor.object();
    }

    // Deliberate: the search goes on to the end of the FCI template, beyond A5's own length: some
    // cards put BF0C beside A5 instead of into it.
    cursor.enter(object);
    const tlv::Bytes discretionary_data = find_discretionary_data(cursor);
    if (discretionary_data.empty()) {
        return QUORRIN_NO_DIRECTORY_ENTRIES;
    }
    append_applications_of_discretionary_data(discretionary_data);
    return 0;
}

}  // namespace
}  // namespace quorrin

using namespace quorrin;

std::int64_t emvProcessSFIofDDF(const std::uint8_t* record, std::uint16_t length) {
    if (is_missing(record, length)) {
        return QUORRIN_DATA_MALFORMED;
    }
    return append_applications_of_record({record, length});
}

std::int64_t qPBOCProcessDDF(const std::uint8_t* fci, std::uint16_t length) {
    if (is_missing(fci, length)) {
        return QUORRIN_FCI_MALFORMED;
    }
    return append_applications_of_fci({fci, length});
}
