// CVM list (EMV book 3, annex C3), CVM results (book 4, annex A4), identity documents (PBOC).
#include "decode/lookup.hpp"
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

constexpr CodeRow methods[] = {
    {0x00, "Fail CVM processing"},
    {0x01, "Plaintext PIN verification by ICC"},
    {0x02, "Enciphered PIN verified online"},
    {0x03, "Plaintext PIN verification by ICC and signature"},
    {0x04, "Enciphered PIN verification by ICC"},
    {0x05, "Enciphered PIN verification by ICC and signature"},
    {0x06, "Facial biometric verified offline by ICC"},
    {0x07, "Facial biometric verified online"},
    {0x08, "Finger biometric verified offline by ICC"},
    {0x09, "Finger biometric verified online"},
    {0x0A, "Palm biometric verified offline by ICC"},
    {0x0B, "Palm biometric verified online"},
    {0x0C, "Iris biometric verified offline by ICC"},
    {0x0D, "Iris biometric verified online"},
    {0x0E, "Voice biometric verified offline by ICC"},
    {0x0F, "Voice biometric verified online"},
    {0x1E, "Signature"},
    {0x1F, "No CVM required"},
    {0x20, "Identity document shown (PBOC)"},
    {0x3F, "No CVM performed"},
};

constexpr CodeRow conditions[] = {
    {0x00, "always"},
    {0x01, "if unattended cash"},
    {0x02, "if not unattended cash, manual cash or purchase with cashback"},
    {0x03, "if terminal supports the CVM"},
    {0x04, "if manual cash"},
    {0x05, "if purchase with cashback"},
    {0x06, "if in application currency and under X"},
    {0x07, "if in application currency and over X"},
    {0x08, "if in application currency and under Y"},
    {0x09, "if in application currency and over Y"},
};

constexpr CodeRow cvm_results[] = {
    {0x00, "result unknown (as for signature or online PIN)"},
    {0x01, "failed"},
    {0x02, "successful"},
};

constexpr CodeRow identity_documents[] = {
    {0x00, "Identity card"}, {0x01, "Officer's card"},          {0x02, "Passport"},
    {0x03, "Entry permit"},  {0x04, "Temporary identity card"}, {0x05, "Other"},
};

std::string code_text(std::span<const CodeRow> rows, std::uint8_t code, std::string_view what) {
    const std::string_view meaning = code_meaning(rows, code);
    return meaning.empty() ? std::string(what) + " " + hex({&code, 1}) : std::string(meaning);
}

std::string method_text(std::uint8_t method) {
    return code_text(methods, method & 0x3F, "unknown or proprietary CVM");
}

std::string condition_text(std::uint8_t condition) {
    return code_text(conditions, condition, "unknown or proprietary condition");
}

}  // namespace

void tell_cvm_list(const Reading& reading, Value value, Node& node) {
    if (value.size() < 8) {
        add_problem(node, value.offset, "too short for the amounts X and Y");
        return;
    }
    const Value amounts[] = {value.part(0, 4), value.part(4, 4)};
    for (const Value amount : amounts) {
        const bool is_first = amount.offset == value.offset;
        add_field(reading, node, is_first ? "Amount X" : "Amount Y", amount,
                  amount_text(big_endian(amount.bytes), reading.card_currency));
    }
    for (Value rest = value.part(8); !rest.empty(); rest = rest.part(2)) {
        if (rest.size() == 1) {
            add_unreadable(reading, node, rest, "a rule has two bytes, only one is left");
            return;
        }
        std::string text = method_text(rest[0]) + ", " + condition_text(rest[1]);
        text += (rest[0] & 0x40) != 0 ? "; else the next rule" : "; else fail";
        add_field(reading, node, "Rule " + decimal((rest.offset - value.offset - 8) / 2 + 1),
                  rest.part(0, 2), std::move(text));
    }
    if (value.size() == 8) {
        node.note = "no rule";
    }
}

void tell_cvm_results(const Reading& reading, Value value, Node& node) {
    if (!expect_size(value, 3, node)) {
        return;
    }
    add_field(reading, node, "CVM performed", value.part(0, 1), method_text(value[0]));
    const bool none_performed = (value[0] & 0x3F) == 0x3F;
    add_field(reading, node, "Condition", value.part(1, 1),
              none_performed ? "none" : condition_text(value[1]));
    add_field(reading, node, "Result", value.part(2, 1),
              code_text(cvm_results, value[2], "unknown result"));
}

void tell_identity_document_type(const Reading&, Value value, Node& node) {
    if (expect_size(value, 1, node)) {
        node.text = code_text(identity_documents, value[0], "unknown document");
    }
}

}  // namespace quorrin::decode
