#include "tests/purchase/fault_matrix/operation_rules.hpp"

#include <algorithm>
#include <map>
#include <optional>

#include "tests/reader/message_listing.hpp"

namespace quorrin::test {
namespace {

constexpr std::int64_t unknown_code = -40000;
constexpr std::int64_t malformed = -107;
constexpr std::int64_t missing = -106;

// ---- TLV, as far as these cards go: tags of one or two bytes, lengths of up to three ----

struct Object {
    unsigned tag;
    ByteString value;
};

// All objects, those inside templates behind their template; nothing for malformed data.
std::optional<std::vector<Object>> objects_of(const ByteString& data) {
    std::vector<Object> found;
    std::size_t i = 0;
    const auto next = [&]() -> unsigned { return i < data.size() ? data[i++] : 0x100U; };
    while (i < data.size()) {
        if (data[i] == 0x00 || data[i] == 0xFF) {
            ++i;
            continue;
        }
        const bool is_template = (data[i] & 0x20) != 0;
        unsigned tag = next();
        if ((tag & 0x1F) == 0x1F) {
            tag = tag << 8 | next();
        }
        std::size_t length = next();
        if (length > 0x80 && length <= 0x82) {
            const bool two_bytes = length == 0x82;
            length = next();
            length = two_bytes ? length << 8 | next() : length;
        }
        if (length > data.size() - i) {
            return std::nullopt;
        }
        const ByteString value(data.begin() + static_cast<std::ptrdiff_t>(i),
                               data.begin() + static_cast<std::ptrdiff_t>(i + length));
        i += length;
        found.push_back({tag, value});
        if (is_template) {
            const auto inside = objects_of(value);
            if (!inside) {
                return std::nullopt;
            }
            found.insert(found.end(), inside->begin(), inside->end());
        }
    }
    return found;
}

std::optional<ByteString> only_value(const ByteString& data, unsigned tag) {
    const auto objects = objects_of(data);
    if (!objects || std::ranges::count(*objects, tag, &Object::tag) != 1) {
        return std::nullopt;
    }
    return std::ranges::find(*objects, tag, &Object::tag)->value;
}

// ---- one step after the other ----

struct Step {
    bool from_reader = false;  // no status word came
    std::int64_t code = 0;     // 0 when the card agreed
    ByteString data;

    bool agreed() const { return code == 0; }
};

class Follower {
  public:
    explicit Follower(const std::deque<Exchange>& exchanges) : rest_(exchanges) {}

    // The outcome of the command that has to come now.
    Step step(const ByteString& header, const ByteString& data = {}, bool with_data = false) {
        const Answer answer = take(command(header, data, with_data));
        if (answer.result == 2 && answer.bytes[0] == 0x61) {
            return judge(take(ByteString{0x00, 0xC0, 0x00, 0x00, answer.bytes[1]}));
        }
        if (answer.result == 2 && answer.bytes[0] == 0x6C) {
            return judge(take(join(header, ByteString{answer.bytes[1]})));
        }
        return judge(answer);
    }
    // The same for a command whose data are not judged here.
    Step step_with_any_data(const ByteString& header) {
        if (rest_.empty() ||
            !std::ranges::equal(header, ByteString(rest_.front().command.begin(),
                                                   rest_.front().command.begin() + 4))) {
            return step(header);
        }
        const ByteString& sent = rest_.front().command;
        const std::size_t data_size = sent.size() > 5 ? sent[4] : 0;
        return step(
            header,
            ByteString(sent.begin() + 5, sent.begin() + 5 + static_cast<std::ptrdiff_t>(data_size)),
            data_size > 0);
    }

    bool next_is(const ByteString& header) const {
        return !rest_.empty() &&
               std::equal(header.begin(), header.end(), rest_.front().command.begin());
    }

    std::string complaint() const {
        if (!complaint_.empty() || rest_.empty()) {
            return complaint_;
        }
        return "too many commands, first " + to_hex(rest_.front().command);
    }

  private:
    static ByteString command(const ByteString& header, const ByteString& data, bool with_data) {
        if (!with_data) {
            return join(header, ByteString{0x00});
        }
        // EXTERNAL AUTHENTICATE alone has no Le.
        const bool has_le = header[1] != 0x82;
        return join(header, ByteString{static_cast<std::uint8_t>(data.size())}, data,
                    filled(has_le ? 1 : 0, 0x00));
    }

    Answer take(const ByteString& expected) {
        if (rest_.empty()) {
            complain("missing command " + to_hex(expected));
            return failure(0);
        }
        const Exchange exchange = rest_.front();
        rest_.pop_front();
        if (exchange.command != expected) {
            complain("command " + to_hex(exchange.command) + ", expected " + to_hex(expected));
        }
        return exchange.answer;
    }

    void complain(const std::string& text) {
        if (complaint_.empty()) {
            complaint_ = text;
        }
    }

    static Step judge(const Answer& answer) {
        constexpr std::int64_t most = 1024;
        if (answer.result > most) {
            return {.from_reader = true, .code = -15, .data = {}};
        }
        if (answer.result < 2) {
            return {
                .from_reader = answer.result != 0, .code = listed_code(answer.result), .data = {}};
        }
        const ByteString& bytes = answer.bytes;
        const std::uint8_t sw1 = bytes[bytes.size() - 2];
        const std::uint8_t sw2 = bytes.back();
        if (sw1 != 0x90 || sw2 != 0x00) {
            return {.code = listed_code_of_status(sw1, sw2), .data = {}};
        }
        return {.data = ByteString(bytes.begin(), bytes.end() - 2)};
    }

    std::deque<Exchange> rest_;
    std::string complaint_;
};

// ---- the operations ----

struct Directory {
    std::int64_t code = 0;
    bool lost_connection = false;  // within the directory
    ByteString first_aid;
};

Directory read_directory(Follower& card) {
    const Step pse = card.step(hex("00A40400"), text_bytes("1PAY.SYS.DDF01"), true);
    if (!pse.agreed()) {
        return {.code = pse.code, .first_aid = {}};
    }
    const auto sfi = only_value(pse.data, 0x88);
    if (pse.data.size() > 256 || !only_value(pse.data, 0x84) || !sfi) {
        return {.code = missing, .first_aid = {}};
    }
    Directory directory;
    bool listed_one = false;
    for (std::uint8_t number = 1;; ++number) {
        const auto file = static_cast<std::uint8_t>(sfi->at(0) << 3 | 0x04);
        const Step record = card.step({0x00, 0xB2, number, file});
        if (!record.agreed()) {
            directory.lost_connection = record.from_reader;
            return directory;
        }
        // Every entry counts, also one without a name. Padding ends a record, and so does an entry
        // that is cut off.
        const auto objects =
            record.data.empty() || record.data[0] == 0x00 ? std::nullopt : objects_of(record.data);
        for (const Object& object : objects.value_or(std::vector<Object>{})) {
            if (object.tag == 0x61 && !listed_one) {
                directory.first_aid = only_value(object.value, 0x4F).value_or(ByteString{});
                listed_one = true;
            }
        }
    }
}

// What is left of a code that passes the message table again: the flow's own are not in it.
std::int64_t listed_or_unknown(std::int64_t code) {
    return code == missing ? unknown_code : code;
}

// True when the operation goes on; with an FCI unless the connection was lost in the directory.
bool select(Follower& card, ByteString aid, std::int64_t& result) {
    if (aid.empty()) {
        const Directory directory = read_directory(card);
        if (directory.code != 0 || directory.lost_connection) {
            result = listed_or_unknown(directory.code);
            return result == 0;
        }
        aid = directory.first_aid;
    }
    const Step fci = card.step(hex("00A40400"), aid, true);
    result = !fci.agreed() ? fci.code : (objects_of(fci.data) ? 0 : malformed);
    return result == 0;
}

// Up to the last record. `elements` are those of the records.
bool read_application(Follower& card, const ByteString& aid, std::int64_t& result,
                      std::map<unsigned, ByteString>& elements) {
    if (!select(card, aid, result)) {
        return false;
    }
    const Step options = card.step_with_any_data(hex("80A80000"));
    const auto objects = objects_of(options.data);
    if (!options.agreed() || !objects || objects->empty()) {
        result = malformed;
        return false;
    }
    ByteString locator;
    if (objects->front().tag == 0x80) {
        locator.assign(objects->front().value.begin() + 2, objects->front().value.end());
    } else if (const auto found = only_value(options.data, 0x94)) {
        locator = *found;
    }
    for (std::size_t i = 0; i + 4 <= locator.size(); i += 4) {
        for (unsigned number = locator[i + 1]; number <= locator[i + 2]; ++number) {
            const auto file = static_cast<std::uint8_t>((locator[i] & 0xF8) | 0x04);
            const Step record = card.step({0x00, 0xB2, static_cast<std::uint8_t>(number), file});
            if (!record.agreed()) {
                break;
            }
            const auto found = objects_of(record.data);
            if (!found) {
                result = malformed;
                return false;
            }
            for (const Object& object : *found) {
                elements[object.tag] = object.value;
            }
        }
    }
    return true;
}

std::int64_t first_cryptogram(Follower& card, const ByteString& aid) {
    constexpr std::int64_t no_cdol1 = 238;
    constexpr std::int64_t no_cryptogram = 208;
    std::int64_t result = 0;
    std::map<unsigned, ByteString> elements;
    if (!read_application(card, aid, result, elements)) {
        return result;
    }
    if (!elements.contains(0x8C)) {
        return no_cdol1;
    }
    const Step answer = card.step_with_any_data(hex("80AE8000"));
    if (!answer.agreed()) {
        return answer.code;
    }
    const auto objects = objects_of(answer.data);
    return objects && !objects->empty() && answer.data[0] != 0x00 ? 0 : no_cryptogram;
}

std::int64_t log_records(Follower& card, ByteString aid) {
    if (aid.empty()) {
        const Directory directory = read_directory(card);
        aid = directory.first_aid;
    }
    const Step fci = card.step(hex("00A40400"), aid, true);
    if (!fci.agreed()) {
        return fci.code;
    }
    const Step format = card.step(hex("80CA9F4F"));
    if (!format.agreed()) {
        return format.code;
    }
    const auto entry = fci.data.size() <= 256 ? only_value(fci.data, 0x9F4D) : std::nullopt;
    if (!entry) {
        return missing;
    }
    for (std::uint8_t number = 1; number <= entry->at(1); ++number) {
        const auto file = static_cast<std::uint8_t>(entry->at(0) << 3 | 0x04);
        const Step record = card.step({0x00, 0xB2, number, file});
        if (!record.agreed()) {
            return record.code;
        }
        if (!only_value(format.data, 0x9F4F)) {
            return malformed;
        }
    }
    return 0;
}

}  // namespace

std::int64_t listed_code(std::int64_t reader_result) {
    if (reader_result == 0) {
        return -1;  // no status word: 0000, which the first row has
    }
    const bool listed = std::ranges::any_of(
        message_listing, [&](const auto& row) { return row.code == reader_result; });
    return listed && reader_result < 0 ? reader_result : unknown_code;
}

std::int64_t listed_code_of_status(std::uint8_t sw1, std::uint8_t sw2) {
    const auto row = std::ranges::find_if(
        message_listing, [&](const auto& each) { return each.sw1 == sw1 && each.sw2 == sw2; });
    return row != std::end(message_listing) ? row->code : unknown_code;
}

Verdict follow(Operation operation, const ByteString& aid, const std::deque<Exchange>& exchanges) {
    Follower card(exchanges);
    std::int64_t result = 0;
    std::map<unsigned, ByteString> elements;
    switch (operation) {
        case Operation::CardHolderInformation:
            if (read_application(card, aid, result, elements)) {
                for (const char* tag : {"9F79", "9F77", "9F78"}) {
                    card.step(join(hex("80CA"), hex(tag)));  // refused: left out of the text
                }
            }
            break;
        case Operation::Cryptogram:
            result = first_cryptogram(card, aid);
            break;
        case Operation::IssuerAnswer:
            // Whatever the card answers, the host looks at the script results.
            for (const char* header : {"00820000", "04DA9F78", "841E0000"}) {
                card.step_with_any_data(hex(header));
            }
            break;
        case Operation::TransactionLog:
            result = log_records(card, aid);
            break;
        case Operation::PanAndName:
            read_application(card, aid, result, elements);
            break;
    }
    return {.result = result, .complaint = card.complaint()};
}

}  // namespace quorrin::test
