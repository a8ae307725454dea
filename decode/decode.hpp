// What card data mean. Bytes in, a tree of nodes out:
//
//     const decode::Node tree = decode::tlv(answer);
//     std::fputs(decode::to_text(tree).c_str(), stdout);      // decode/render.hpp
//     if (decode::has_problems(tree)) { ... }                 // decode/node.hpp
//
// Nothing throws on bad data: what could not be understood stands in the tree, with a problem that
// says where and why. Account numbers, track data, names, numbers of papers and PIN data are masked
// in the tree itself, so that no renderer can show them, unless `show_sensitive` is set.
//
// Single facts (the name of a tag, the meaning of a status word) are in decode/lookup.hpp, reading
// hex, base64 and binary input is in decode/input.hpp.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "decode/node.hpp"

namespace quorrin::decode {

using Bytes = std::span<const std::uint8_t>;

// Whose meaning a tag has where the kernels differ. Unknown: the application identifier among the
// data decides; without one all meanings are told.
enum class Kernel : std::uint8_t {
    Unknown,
    Pboc,  // PBOC debit/credit, electronic cash and quick PBOC
    C2,    // EMV contactless kernels, by the number of their book
    C3,
    C4,
    C5,
    C6,
    C7,
};

// The kernel of a card whose application has this identifier.
Kernel kernel_of(Bytes application_identifier);

struct Options {
    bool show_sensitive = false;
    Kernel kernel = Kernel::Unknown;
    // The list that the data answer: a log format for `log_record`, a DOL for `dol_data`, for the 83
    // template of GET PROCESSING OPTIONS or for the data of GENERATE AC.
    std::vector<std::uint8_t> list = {};
    // The command whose answer is decoded; it tells what a primitive template 80 holds.
    std::optional<std::uint8_t> instruction = {};
    // The currency of amounts (ISO 4217, numeric: 156), where the data do not name it.
    std::optional<std::uint16_t> currency = {};
    // The application's own (9F51, 9F42), for its limits and balances, where it is another or was read
    // apart from them.
    std::optional<std::uint16_t> card_currency = {};
};

// A string of data objects, templates opened, padding shown as padding.
Node tlv(Bytes data, const Options& options = {});

// The value of one element. The tag as a number: 0x82, 0x9F10, 0xDF8129.
Node element(std::uint32_t tag, Bytes value, const Options& options = {});

// A command as it goes to the card, and an answer with its status word. `answer` takes the command,
// when it is known, for what it says about the answer.
Node command(Bytes apdu, const Options& options = {});
Node answer(Bytes data, Bytes command = {}, const Options& options = {});

// The data that answer a data object list, one node for each of its entries.
Node dol_data(Bytes list, Bytes data, const Options& options = {});

// A record of a card's transaction or load log. With a format (9F4F, DF4F: the list without tag and
// length) in the options its fields are told.
Node log_record(Bytes record, const Options& options = {});

// Keyed value text, as it goes between the host and the library ("P012000000012850").
Node keyed_text(std::string_view text, const Options& options = {});

// Everything that can be decoded by name, for `--as` and its like. The first row is TLV.
struct DataKind {
    std::string_view name;  // "tlv", "tvr", "atr"
    std::string_view what;  // a line of help
    bool is_text = false;   // the input is text as it stands, not hex
    Node (*decode)(Bytes data, const Options& options) = nullptr;
};
std::span<const DataKind> data_kinds();

// A kind by name, or null.
const DataKind* find_data_kind(std::string_view name);

// A tag as people write it ("9F10", "0x9f10"), or nothing.
std::optional<std::uint32_t> parse_tag(std::string_view text);

// What the data look like besides TLV: names of data kinds, for a hint to a person. Never used to
// decide anything.
std::vector<std::string_view> look_like(Bytes data);

}  // namespace quorrin::decode
