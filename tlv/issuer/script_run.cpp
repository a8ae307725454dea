// Issuer scripts sent to the card (EMV book 3, 10.10): which of the stored scripts run, the
// commands of each, and their result entries.

#include <algorithm>
#include <array>

#include "emvdata/element_store.hpp"
#include "quorrin/quorrin.h"
#include "reader/card_step.hpp"
#include "tlv/codec/ber_tlv.hpp"
#include "tlv/issuer/issuer_script.hpp"

std::uint8_t gl_cScptIDExist = 0;

namespace quorrin::script {
namespace {

constexpr std::size_t command_header_size = 4;  // CLA INS P1 P2

// Bytes that may be asked for beyond their end, where they are zero.
class ZeroExtended {
  public:
    explicit ZeroExtended(Bytes bytes) : bytes_(bytes) {}
    std::uint8_t at(std::size_t position) const {
        return position < bytes_.size() ? bytes_[position] : std::uint8_t{0};
    }
    template <std::size_t Size>
    void copy(std::size_t position, std::size_t count, std::array<std::uint8_t, Size>& to) const {
        for (std::size_t i = 0; i < std::min(count, Size); ++i) {
            to[i] = at(position + i);
        }
    }

  private:
    Bytes bytes_;
};

// Sends one script command of at least four bytes.
void send_command(const ZeroExtended& bytes, std::size_t value_length) {
    constexpr std::size_t lc_position = command_header_size;
    constexpr std::size_t data_position = command_header_size + 1;

    std::size_t lc = 0;
    std::uint8_t le = 0;
    std::array<std::uint8_t, 256> data = {};
    if (value_length > command_header_size) {
        lc = bytes.at(lc_position);
        bytes.copy(data_position, lc, data);
        // Deliberate: Le is taken only from a command that is too short for its Lc; a well-formed
        // one always goes with Le 00.
        if (lc + 3 >= value_length) {
            le = bytes.at(data_position + lc);
        }
    }
    // Deliberate: neither the status word nor a failed exchange is looked at. Every command of a
    // script is sent, and a result of successful tells the host that it was, not what the card did.
    CardAnswer answer;
    send_to_card(ReaderHandle,
                 {bytes.at(0), bytes.at(1), bytes.at(2), bytes.at(3), Bytes(data).first(lc),
                  QUORRIN_WITH_DATA_AND_LE, le},
                 answer);
}

// One pass over the stored scripts for one phase.
class Phase {
  public:
    explicit Phase(std::uint8_t number) : number_(number) {}

    // Takes the script at the start of `readable`, which goes on to the end of the script area.
    void process(Bytes script, Bytes readable) {
        gl_cScptIDExist = 0;
        remember_identifier(script);

        const tlv::Object object = tlv::read_object(script);
        const Kind* kind = script.empty() ? nullptr : find_kind(script[0]);
        if (object.is_malformed()) {
            record_unreadable(kind);
        } else if (kind != nullptr) {
            const bool of_this_phase = kind->phase == number_;
            if (check(script) == QUORRIN_SUCCESS) {
                // Deliberate: scripts of both kinds count against the limit, in both phases.
                total_size_ += script.size();
                if (!of_this_phase) {
                    return;
                }
                run(*kind, script.subspan(object.header_size()),
                    readable.subspan(object.header_size()));
            }
            // Deliberate: every script of the phase takes one entry of the results that the host
            // passes on. Where the template's length does not fit its size nothing was written: the
            // entry counts as it stands.
            if (of_this_phase) {
                emvIncIssScrptRslt();
            }
        }
        mark_performed();
    }

  private:
    static constexpr std::size_t max_total_size = 128;  // EMV book 3, 10.10

    // Deliberate: the identifier runs on from script to script, so that a script without one is
    // reported under the last one that the issuer sent.
    void remember_identifier(Bytes script) {
        const Bytes found = find_identifier(script, running_.size());
        std::copy(found.begin(), found.end(), running_.begin());
    }
    Identifier running_identifier() const {
        Identifier identifier;
        std::copy_n(running_.begin(), identifier.size(), identifier.begin());
        return identifier;
    }

    // Deliberate: the entry is not made final. The next script overwrites it, and the count of
    // results for the host does not include it; what stays to be seen is the TVR bit.
    void record_unreadable(const Kind* kind) {
        if (kind != nullptr) {
            mark_failed(*kind);
        }
        write_identifier(running_identifier());
        write_result(Result::NotPerformed);
    }

    void run(const Kind& kind, Bytes value, Bytes readable) {
        if (total_size_ > max_total_size) {
            mark_failed(kind);
            if (gl_cScptIDExist == 0) {
                write_identifier(running_identifier());
            }
            write_result(Result::NotPerformed);
        } else if (run_commands(value, readable) != QUORRIN_SUCCESS) {
            mark_failed(kind);
        }
    }

    std::uint8_t number_;
    std::array<std::uint8_t, 5> running_ = {};
    std::size_t total_size_ = 0;
};

}  // namespace

std::int32_t run_commands(Bytes value, Bytes readable) {
    write_result(Result::NotPerformed);
    std::size_t commands = 0;
    bool identifier_seen = false;
    const auto finish = [&](Result result, std::size_t failing_command, std::int32_t code) {
        if (!identifier_seen) {
            write_identifier({});
        }
        write_result(result, failing_command);
        return code;
    };

    for (tlv::Cursor cursor(value); !cursor.at_end();) {
        const tlv::Object object = cursor.object();
        if (object.is_malformed()) {
            // Deliberate: a fault behind the first and only command is reported as not performed.
            return commands > 1
                       ? finish(Result::Failed, commands, QUORRIN_SCRIPT_MALFORMED_TEMPLATE)
                       : finish(Result::NotPerformed, 0, QUORRIN_SCRIPT_MALFORMED_TEMPLATE);
        }
        const std::size_t position = value.size() - cursor.rest().size() + object.header_size();
        const ZeroExtended bytes(readable.subspan(position));
        if (cursor.has_tag(object, issuer_script_identifier_tag)) {
            const Bytes found = cursor.value(object);
            store_element({}, issuer_script_identifier_tag, found);
            Identifier identifier = {};
            bytes.copy(0, found.empty() ? 0 : identifier_size, identifier);
            write_identifier(identifier);
            identifier_seen = true;
        } else if (cursor.has_tag(object, command_tag)) {
            ++commands;
            if (object.value_length < command_header_size) {
                return finish(Result::Failed, commands, QUORRIN_SCRIPT_COMMAND_TOO_SHORT);
            }
            send_command(bytes, object.value_length);
        }
        cursor.step_over(object);
    }
    return finish(Result::Successful, 0, QUORRIN_SUCCESS);
}

}  // namespace quorrin::script

using namespace quorrin;

std::int32_t emvScriptProcess(std::uint8_t phase) {
    if (emvGetIssuerScriptLength() == 0) {
        return 0;
    }
    const tlv::Bytes area(gl_Iss_Script);
    script::Phase run(phase);
    std::size_t position = 1;
    for (std::size_t remaining = area[0]; remaining > 0 && position < area.size(); --remaining) {
        const std::size_t size = area[position++];
        if (size > area.size() - position) {
            break;
        }
        run.process(area.subspan(position, size), area.subspan(position));
        position += size;
    }
    return 0;
}

std::int32_t emvIssuerCommandProcess(const std::uint8_t* value, std::uint16_t length) {
    if (value == nullptr && length > 0) {
        return QUORRIN_SCRIPT_MALFORMED_TEMPLATE;
    }
    const tlv::Bytes contents(value, length);
    return script::run_commands(contents, contents);
}
