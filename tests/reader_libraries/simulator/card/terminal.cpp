#include "tests/reader_libraries/simulator/card/terminal.hpp"

#include <stdexcept>

namespace quorrin::test {
namespace {

struct Cursor {
    const ByteString& bytes;
    std::size_t at = 0;

    std::uint8_t next() { return bytes.at(at++); }

    std::string tag() {
        ByteString found{next()};
        if ((found[0] & 0x1F) == 0x1F) {
            do {
                found.push_back(next());
            } while ((found.back() & 0x80) != 0);
        }
        return to_hex(found);
    }

    std::size_t length() {
        const std::uint8_t first = next();
        if (first < 0x80) {
            return first;
        }
        std::size_t value = 0;
        for (int i = 0; i < (first & 0x7F); ++i) {
            value = value * 256 + next();
        }
        return value;
    }

    ByteString take(std::size_t count) {
        if (count > bytes.size() - at) {
            throw std::out_of_range("an object is longer than what holds it");
        }
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        at += count;
        return {begin, begin + static_cast<std::ptrdiff_t>(count)};
    }

    void skip_padding() {
        while (at < bytes.size() && (bytes[at] == 0x00 || bytes[at] == 0xFF)) {
            ++at;
        }
    }
};

bool constructed(const std::string& tag) {
    return (hex(tag)[0] & 0x20) != 0;
}

template <std::size_t Size>
void copy_value(const std::map<std::string, ByteString>& values, const std::string& tag,
                std::array<std::uint8_t, Size>& target) {
    const ByteString& value = values.at(tag);
    ASSERT_EQ(value.size(), Size) << tag;
    std::copy(value.begin(), value.end(), target.begin());
}

}  // namespace

std::vector<FoundObject> objects_in(const ByteString& bytes) {
    std::vector<FoundObject> objects;
    Cursor cursor{bytes};
    for (cursor.skip_padding(); cursor.at < bytes.size(); cursor.skip_padding()) {
        FoundObject object;
        object.tag = cursor.tag();
        object.value = cursor.take(cursor.length());
        objects.push_back(object);
    }
    return objects;
}

std::optional<ByteString> element(const ByteString& objects, const std::string& tag) {
    for (const FoundObject& object : objects_in(objects)) {
        if (object.tag == tag) {
            return object.value;
        }
        if (constructed(object.tag)) {
            if (auto inside = element(object.value, tag)) {
                return inside;
            }
        }
    }
    return std::nullopt;
}

ByteString expect_element(const ByteString& objects, const std::string& tag) {
    const auto found = element(objects, tag);
    EXPECT_TRUE(found) << tag << " in " << to_hex(objects);
    return found.value_or(ByteString{});
}

bank::CardProduct test_bank() {
    const auto key = [](const std::string& digits) {
        cryptography::Key bytes{};
        const ByteString read = hex(digits);
        std::copy(read.begin(), read.end(), bytes.begin());
        return bytes;
    };
    bank::CardProduct bank;
    bank.master_keys = {key("0123456789ABCDEF FEDCBA9876543210"),
                        key("1133557799BBDDFF 0022446688AACCEE"),
                        key("F1E2D3C4B5A69788 796A5B4C3D2E1F00")};
    return bank;
}

Terminal::Terminal(std::unique_ptr<simulator::CardDevice> card) : card_(std::move(card)) {
    values = {
        {"9F02", hex("000000012300")},
        {"9F03", hex("000000000400")},
        {"9F1A", hex("0156")},
        {"95", hex("0000048000")},
        {"5F2A", hex("0156")},
        {"9A", hex("250617")},
        {"9C", hex("00")},
        {"9F37", hex("12345678")},
        {"9F21", hex("101530")},
        {"8A", text_bytes("00")},
        {"9F7A", hex("00")},
        {"9F66", hex("D4000000")},  // all but quick PBOC
        {"DF69", hex("01")},
        {"9F4E", text_bytes("TEST SHOP           ")},
    };
    EXPECT_FALSE(card_->power_on().empty());
}

CardReply Terminal::send(const ByteString& command) {
    const ByteString answer = card_->transmit(command);
    if (answer.size() < 2) {
        ADD_FAILURE() << "no status word after " << to_hex(command);
        return {};
    }
    CardReply reply;
    reply.status = static_cast<unsigned>(answer[answer.size() - 2] << 8 | answer.back());
    reply.data.assign(answer.begin(), answer.end() - 2);
    return reply;
}

CardReply Terminal::select(const ByteString& name, std::uint8_t p2) {
    const auto reply = send(join(
        hex("00A404"), ByteString{p2, static_cast<std::uint8_t>(name.size())}, name, hex("00")));
    fci = reply.data;
    first_generated_ = false;
    return reply;
}

CardReply Terminal::get_options() {
    const ByteString data = list_data(element(fci, "9F38").value_or(ByteString{}));
    const auto size = static_cast<std::uint8_t>(data.size());
    const auto reply = send(join(hex("80A80000"), ByteString{static_cast<std::uint8_t>(size + 2)},
                                 ByteString{0x83, size}, data, hex("00")));
    options = reply.data;
    return reply;
}

void Terminal::read_records() {
    records.clear();
    ByteString locator;
    if (const auto format1 = element(options, "80")) {
        locator.assign(format1->begin() + 2, format1->end());
    } else {
        locator = expect_element(options, "94");
    }
    ASSERT_EQ(locator.size() % 4, 0U);
    for (std::size_t at = 0; at < locator.size(); at += 4) {
        const auto file = static_cast<std::uint8_t>(locator[at] | 0x04);
        for (unsigned record = locator[at + 1]; record <= locator[at + 2]; ++record) {
            const auto reply =
                send(join(hex("00B2"), ByteString{static_cast<std::uint8_t>(record), file, 0x00}));
            if (reply.status != 0x9000) {
                EXPECT_EQ(reply.status, 0x6A83U);
                break;
            }
            records = join(records, expect_element(reply.data, "70"));
        }
    }
}

CardReply Terminal::generate_ac(std::uint8_t p1) {
    const ByteString data = list_data(expect_element(records, first_generated_ ? "8D" : "8C"));
    const auto reply =
        send(join(hex("80AE"), ByteString{p1, 0x00, static_cast<std::uint8_t>(data.size())}, data,
                  hex("00")));
    if (reply.status == 0x9000) {
        first_generated_ = true;
        cryptogram_answer = reply.data;
        if (const auto format1 = element(reply.data, "80")) {
            // 9F27, 9F36, 9F26 and 9F10 without tags.
            const auto& value = *format1;
            const auto from = [&](std::ptrdiff_t begin, std::ptrdiff_t end) {
                return ByteString(value.begin() + begin, value.begin() + end);
            };
            const auto size = static_cast<std::ptrdiff_t>(value.size());
            cryptogram_answer = join(
                hex("9F2701"), from(0, 1), hex("9F3602"), from(1, 3), hex("9F2608"), from(3, 11),
                hex("9F10"), ByteString{static_cast<std::uint8_t>(size - 11)}, from(11, size));
        }
    }
    return reply;
}

CardReply Terminal::get_data(const std::string& tag) {
    return send("80CA" + tag + "00");
}

ByteString Terminal::data_value(const std::string& tag) {
    const auto reply = get_data(tag);
    EXPECT_EQ(reply.status, 0x9000U) << tag;
    return expect_element(reply.data, tag);
}

CardReply Terminal::purchase(const ByteString& aid) {
    EXPECT_EQ(select(aid).status, 0x9000U);
    EXPECT_EQ(get_options().status, 0x9000U);
    read_records();
    const auto reply = generate_ac(0x80);
    EXPECT_EQ(reply.status, 0x9000U);
    return reply;
}

ByteString Terminal::list_data(const ByteString& list) const {
    ByteString data;
    Cursor cursor{list};
    while (cursor.at < list.size()) {
        const std::string tag = cursor.tag();
        const std::size_t length = cursor.length();
        const auto known = values.find(tag);
        ByteString value = known == values.end() ? ByteString{} : known->second;
        value.resize(length, 0);
        data = join(data, value);
    }
    return data;
}

bank::OnlineRequest Terminal::online_request() const {
    bank::OnlineRequest request;
    request.pan = to_hex(expect_element(records, "5A"));
    while (!request.pan.empty() && request.pan.back() == 'F') {
        request.pan.pop_back();
    }
    request.pan_sequence_number = expect_element(records, "5F34").at(0);
    const ByteString cryptogram = expect_element(cryptogram_answer, "9F26");
    std::copy(cryptogram.begin(), cryptogram.end(), request.arqc.begin());
    request.issuer_application_data = expect_element(cryptogram_answer, "9F10");

    auto& covered = request.covered;
    copy_value(values, "9F02", covered.amount_authorised);
    copy_value(values, "9F03", covered.amount_other);
    copy_value(values, "9F1A", covered.terminal_country);
    copy_value(values, "95", covered.terminal_verification);
    copy_value(values, "5F2A", covered.currency);
    copy_value(values, "9A", covered.date);
    covered.type = values.at("9C").at(0);
    copy_value(values, "9F37", covered.unpredictable_number);
    const auto format1 = element(options, "80");
    const ByteString profile = format1 ? *format1 : expect_element(options, "82");
    std::copy_n(profile.begin(), 2, covered.interchange_profile.begin());
    const ByteString atc = expect_element(cryptogram_answer, "9F36");
    covered.atc = static_cast<std::uint16_t>(atc.at(0) << 8 | atc.at(1));
    return request;
}

CardReply Terminal::authenticate(const bank::OnlineAnswer& answer) {
    const ByteString data = expect_element(answer.issuer_data, "91");
    return send(join(hex("00820000"), ByteString{static_cast<std::uint8_t>(data.size())}, data));
}

std::vector<CardReply> Terminal::run_scripts(const bank::OnlineAnswer& answer) {
    std::vector<CardReply> replies;
    for (const FoundObject& object : objects_in(answer.issuer_data)) {
        if (object.tag == "71" || object.tag == "72") {
            for (const FoundObject& command : objects_in(object.value)) {
                if (command.tag == "86") {
                    replies.push_back(send(join(command.value, hex("00"))));
                }
            }
        }
    }
    return replies;
}

}  // namespace quorrin::test
