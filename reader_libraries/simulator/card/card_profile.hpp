// What a card is made with: the contents of a profile, checked and encoded.
#pragma once

#include <compare>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cryptography/application_cryptogram.hpp"
#include "cryptography/card_keys.hpp"
#include "cryptography/issuer_authentication.hpp"
#include "cryptography/rsa.hpp"
#include "cryptography/secure_messaging.hpp"
#include "reader_libraries/simulator/card/data_objects.hpp"

namespace quorrin::simulator {

struct RecordAddress {
    std::uint8_t file = 0;    // short file identifier
    std::uint8_t number = 0;  // from 1

    auto operator<=>(const RecordAddress&) const = default;
};

using RecordFiles = std::map<RecordAddress, ByteString>;

// A cyclic file of the card's own: transactions or electronic cash loads.
struct LogProfile {
    std::uint8_t file = 0;
    std::uint8_t capacity = 0;
    ByteString format;                // 9F4F or DF4F, a data object list
    std::vector<ListEntry> fields;    // the same
    std::vector<ByteString> records;  // what the card is issued with, newest first

    bool declined_too = false;  // transaction logs only: declined transactions are logged as well

    // Load logs only: the format answers under 9F4F and records are its fields alone, as in the
    // transaction log; else the format answers under DF4F and records have a head.
    bool as_transaction_log = false;

    std::size_t head_size = 0;  // of the records, ahead of the fields
    [[nodiscard]] std::size_t record_size() const { return head_size + data_length(fields); }
};

// How a load log's records begin of its format's fields: the tag that PUT DATA named (2 bytes) and the
// balances before and after (6 each).
inline constexpr std::size_t load_record_head = 14;

// EMV book 3 section 6.5.5 and 6.5.8: a primitive 80 or a template 77.
enum class AnswerFormat : std::uint8_t { Format1 = 1, Format2 = 2 };

// What a quick PBOC application answers to GET PROCESSING OPTIONS beside the cryptogram.
struct QuickProfile {
    ByteString elements;        // encoded
    bool dynamic_data = false;  // fDDA: 9F4B in the answer to terminals that ask for it
};

struct ApplicationProfile {
    ByteString aid;
    ByteString label;
    std::optional<std::uint8_t> priority;  // 87
    std::vector<ListEntry> pdol;
    ByteString pdol_bytes;           // 9F38, empty for none
    ByteString fci_elements;         // encoded, in A5
    ByteString fci_discretionary;    // encoded, in BF0C behind the log entries
    ByteString interchange_profile;  // 82
    ByteString file_locator;         // 94
    AnswerFormat answer_format = AnswerFormat::Format2;
    std::optional<QuickProfile> quick;

    RecordFiles records;
    ElementValues data;  // for GET DATA and PUT DATA
    std::optional<LogProfile> transaction_log;
    std::optional<LogProfile> load_log;

    std::string pin;  // empty: the application has none
    std::uint8_t pin_try_limit = 0;
    unsigned script_mac_failures = 0;  // that end a cryptogram's scripts; 0: none do
    bool blocked = false;              // as issued
    std::uint16_t first_atc = 0;
    std::uint16_t first_last_online_atc = 0;

    bool declines = false;  // every transaction

    cryptography::KeySet keys;                            // this card's own
    std::optional<cryptography::RsaPrivateKey> card_key;  // for DDA, CDA and enciphered PINs
    std::optional<cryptography::RsaPrivateKey> pin_key;   // for these PINs in its place
};

// The payment system environment of contact cards.
struct DirectoryProfile {
    std::uint8_t file = 0;
    ByteString fci_elements;  // encoded, in A5
};

struct CardProfile {
    std::string name;
    ByteString answer_to_reset;
    std::optional<DirectoryProfile> contact_directory;  // PSE
    bool contactless_directory = false;                 // PPSE

    cryptography::Algorithm algorithm = cryptography::Algorithm::TripleDes;
    cryptography::SessionKeyScheme session_keys = cryptography::SessionKeyScheme::Pboc;
    cryptography::ArpcMethod arpc_method = cryptography::ArpcMethod::Method1;
    cryptography::KeyDerivation key_derivation = cryptography::KeyDerivation::OptionA;
    std::uint8_t cryptogram_version = cryptography::pboc_cryptogram_version;
    cryptography::ScriptEncipherment script_encipherment = cryptography::ScriptEncipherment::Pboc;
    std::uint8_t key_index = 1;
    cryptography::KeySet master_keys;  // the issuer's

    std::vector<ApplicationProfile> applications;
    std::optional<std::filesystem::path> state_file;
};

}  // namespace quorrin::simulator
