// The check of one issuer script before any of its commands is sent.

#include "emvdata/element_store.hpp"
#include "quorrin/quorrin.h"
#include "tlv/codec/ber_tlv.hpp"
#include "tlv/issuer/issuer_script.hpp"

namespace quorrin::script {
namespace {

// Stores a script's identifier and notes it in the current result entry.
void adopt_identifier(Bytes value, Identifier& identifier) {
    store_element({}, issuer_script_identifier_tag, value);
    gl_cScptIDExist = 1;
    // What counts is the stored value, also when the store has refused this one.
    std::copy_n(emvGetIssScrptID(), identifier_size, identifier.begin());
    write_identifier(identifier);
}

// The contents may be one 9F18 and commands, nothing else.
std::int32_t check_contents(Bytes value, Identifier& identifier, bool& command_seen) {
    bool identifier_seen = false;
    for (tlv::Cursor cursor(value); !cursor.at_end();) {
        // Deliberate: the remaining length counts in eight bits, so that contents of more than 255
        // bytes show up as a script that failed its check, never as one sent to the card.
        const std::size_t considered = cursor.rest().size() % 256;
        const tlv::Object object = tlv::read_object(cursor.rest().first(considered));
        if (object.is_malformed()) {
            return QUORRIN_SCRIPT_MALFORMED_CONTENT;
        }
        if (!identifier_seen && cursor.has_tag(object, issuer_script_identifier_tag)) {
            identifier_seen = true;
            if (object.value_length > 0) {
                adopt_identifier(cursor.value(object), identifier);
            }
        } else if (cursor.has_tag(object, command_tag)) {
            command_seen = true;
        } else {
            return QUORRIN_SCRIPT_FOREIGN_OBJECT;
        }
        cursor.step_over(object);
    }
    return QUORRIN_SUCCESS;
}

std::int32_t record_failure(const Kind& kind, const Identifier& identifier, Result result,
                            std::int32_t code) {
    mark_failed(kind);
    write_identifier(identifier);
    write_result(result);
    return code;
}

}  // namespace

std::int32_t check(Bytes script) {
    Identifier identifier = {};
    const Bytes found = find_identifier(script, identifier.size());
    std::copy(found.begin(), found.end(), identifier.begin());

    const tlv::Object object = tlv::read_object(script);
    if (object.tag_length != 1) {
        return QUORRIN_SCRIPT_NOT_A_SCRIPT;
    }
    const Kind* kind = find_kind(script[0]);
    if (kind == nullptr) {
        return QUORRIN_SCRIPT_NOT_A_SCRIPT;
    }
    if (!tlv::is_well_formed(script)) {
        return record_failure(*kind, identifier, Result::NotPerformed, QUORRIN_SCRIPT_MALFORMED);
    }
    if (object.size() != script.size()) {
        return QUORRIN_SCRIPT_NOT_A_SCRIPT;
    }
    bool command_seen = false;
    const Bytes value = script.subspan(object.header_size());
    const std::int32_t code = check_contents(value, identifier, command_seen);
    if (code != QUORRIN_SUCCESS) {
        return record_failure(*kind, identifier,
                              command_seen ? Result::Failed : Result::NotPerformed, code);
    }
    return QUORRIN_SUCCESS;
}

}  // namespace quorrin::script

using namespace quorrin;

std::int32_t emvCheckIssuerScript(const std::uint8_t* scriptObject, std::uint16_t size) {
    return script::check(scriptObject == nullptr ? tlv::Bytes{} : tlv::Bytes(scriptObject, size));
}
