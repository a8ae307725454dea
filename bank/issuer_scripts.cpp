#include "bank/issuer_scripts.hpp"

#include <stdexcept>

#include "bank/data_object.hpp"
#include "cryptography/pin_block.hpp"

namespace quorrin::bank {
namespace {

using cryptography::concatenated;

constexpr std::array<std::uint8_t, 2> script_identifier_tag{0x9F, 0x18};
constexpr std::uint8_t script_command_tag = 0x86;

class Sealer {
  public:
    Sealer(const cryptography::ScriptContext& context, const cryptography::KeySet& card_keys)
        : context_(context), keys_(card_keys), macs_(context, card_keys.mac) {}

    std::vector<std::uint8_t> template_of(const Script& script) {
        std::vector<std::uint8_t> value;
        if (script.identifier) {
            value = data_object(script_identifier_tag, *script.identifier);
        }
        for (const ScriptCommand& command : script.commands) {
            value = concatenated({value, data_object(script_command_tag, sealed(command))});
        }
        return data_object(static_cast<std::uint8_t>(script.phase), value);
    }

  private:
    // 81 with plain data or 87 with enciphered ones behind a padding indicator, then 8E with the MAC.
    std::vector<std::uint8_t> sealed_objects(const ScriptCommand& command) {
        constexpr std::uint8_t plain = 0x81;
        constexpr std::uint8_t enciphered = 0x87;
        constexpr std::uint8_t mac = 0x8E;
        constexpr std::uint8_t padding_indicator = 0x01;
        constexpr std::size_t mac_object = 2 + sizeof(cryptography::ShortMac);
        std::vector<std::uint8_t> objects;
        if (command.new_pin) {
            objects = data_object(enciphered,
                                  concatenated({{&padding_indicator, 1}, enciphered_pin(command)}));
        } else if (!command.data.empty()) {
            objects = data_object(plain, command.data);
        }
        const cryptography::CommandHeader header{
            static_cast<std::uint8_t>(command.command_class), command.instruction, command.p1,
            command.p2, static_cast<std::uint8_t>(objects.size() + mac_object)};
        return concatenated({header, objects, data_object(mac, macs_.seal(header, objects))});
    }

    std::vector<std::uint8_t> sealed(const ScriptCommand& command) {
        if (command.command_class == CommandClass::SecureObjects) {
            return sealed_objects(command);
        }
        const auto data = concatenated({command.data, enciphered_pin(command)});
        // A length beyond one byte makes no object that data_object would take.
        const auto length = static_cast<std::uint8_t>(data.size() + sizeof(cryptography::ShortMac));
        const cryptography::CommandHeader header{static_cast<std::uint8_t>(command.command_class),
                                                 command.instruction, command.p1, command.p2,
                                                 length};
        return concatenated({header, data, macs_.seal(header, data)});
    }

    [[nodiscard]] std::vector<std::uint8_t> enciphered_pin(const ScriptCommand& command) const {
        if (!command.new_pin) {
            return {};
        }
        const auto block = cryptography::pin_change_block(keys_.cryptogram, command.new_pin->digits,
                                                          command.new_pin->current);
        return cryptography::encipher_script_data(context_, keys_.encipherment, block);
    }

    cryptography::ScriptContext context_;
    cryptography::KeySet keys_;
    cryptography::ScriptMacChain macs_;
};

}  // namespace

std::vector<std::uint8_t> sealed_scripts(std::span<const Script> scripts,
                                         const cryptography::ScriptContext& context,
                                         const cryptography::KeySet& card_keys) {
    Sealer sealer(context, card_keys);
    std::vector<std::uint8_t> templates;
    for (const auto phase :
         {ScriptPhase::BeforeFinalCryptogram, ScriptPhase::AfterFinalCryptogram}) {
        for (const Script& script : scripts) {
            if (script.phase == phase) {
                templates = concatenated({templates, sealer.template_of(script)});
            }
        }
    }
    if (templates.size() > max_script_bytes) {
        throw std::length_error("the issuer scripts exceed the 128 bytes that terminals run");
    }
    return templates;
}

}  // namespace quorrin::bank
