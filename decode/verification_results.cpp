// AIP, AUC (EMV book 3, annexes C1 and C2), TVR and TSI (C5, C6).
#include "decode/tellers.hpp"

namespace quorrin::decode {
namespace {

constexpr BitRow aip_rows[] = {
    bit(1, 8, "XDA supported"),
    bit(1, 7, "Static data authentication (SDA) supported"),
    bit(1, 6, "Dynamic data authentication (DDA) supported"),
    bit(1, 5, "Cardholder verification supported"),
    bit(1, 4, "Terminal risk management to be performed"),
    bit(1, 3, "Issuer authentication supported (EXTERNAL AUTHENTICATE)"),
    bit(1, 2, "On-device cardholder verification supported"),
    bit(1, 1, "Combined DDA / application cryptogram (CDA) supported"),
    bit(2, 8, "EMV mode supported, contactless"),
    bit(2, 1, "Relay resistance protocol supported"),
};

constexpr BitRow auc_rows[] = {
    bit(1, 8, "Valid for domestic cash transactions"),
    bit(1, 7, "Valid for international cash transactions"),
    bit(1, 6, "Valid for domestic goods"),
    bit(1, 5, "Valid for international goods"),
    bit(1, 4, "Valid for domestic services"),
    bit(1, 3, "Valid for international services"),
    bit(1, 2, "Valid at ATMs"),
    bit(1, 1, "Valid at terminals other than ATMs"),
    bit(2, 8, "Domestic cashback allowed"),
    bit(2, 7, "International cashback allowed"),
};

constexpr BitRow tvr_rows[] = {
    bit(1, 8, "Offline data authentication was not performed"),
    bit(1, 7, "Static data authentication failed"),
    bit(1, 6, "ICC data missing"),
    bit(1, 5, "Card appears on terminal exception file"),
    bit(1, 4, "Dynamic data authentication failed"),
    bit(1, 3, "CDA failed"),
    bit(1, 2, "SDA selected"),
    bit(1, 1, "XDA selected"),
    bit(2, 8, "ICC and terminal have different application versions"),
    bit(2, 7, "Expired application"),
    bit(2, 6, "Application not yet effective"),
    bit(2, 5, "Requested service not allowed for card product"),
    bit(2, 4, "New card"),
    bit(2, 2, "Biometric performed and successful"),
    bit(2, 1, "Biometric template format not supported"),
    bit(3, 8, "Cardholder verification was not successful"),
    bit(3, 7, "Unrecognised CVM"),
    bit(3, 6, "PIN try limit exceeded"),
    bit(3, 5, "PIN entry required and PIN pad not present or not working"),
    bit(3, 4, "PIN entry required, PIN pad present, but PIN was not entered"),
    bit(3, 3, "Online PIN entered"),
    bit(3, 2, "Biometric required and biometric capture device not working"),
    bit(3, 1, "Biometric required, capture device present, but subtype not entered"),
    bit(4, 8, "Transaction exceeds floor limit"),
    bit(4, 7, "Lower consecutive offline limit exceeded"),
    bit(4, 6, "Upper consecutive offline limit exceeded"),
    bit(4, 5, "Transaction selected randomly for online processing"),
    bit(4, 4, "Merchant forced transaction online"),
    bit(4, 3, "Biometric try limit exceeded"),
    bit(4, 2, "A selected biometric type not supported"),
    bit(4, 1, "XDA signature verification failed"),
    bit(5, 8, "Default TDOL used"),
    bit(5, 7, "Issuer authentication failed"),
    bit(5, 6, "Script processing failed before final GENERATE AC"),
    bit(5, 5, "Script processing failed after final GENERATE AC"),
    bit(5, 4, "Relay resistance threshold exceeded"),
    bit(5, 3, "Relay resistance time limits exceeded"),
    {5, 0x03, 0x01, "Relay resistance protocol not performed"},
    {5, 0x03, 0x02, "Relay resistance protocol performed"},
};

constexpr BitRow tsi_rows[] = {
    bit(1, 8, "Offline data authentication was performed"),
    bit(1, 7, "Cardholder verification was performed"),
    bit(1, 6, "Card risk management was performed"),
    bit(1, 5, "Issuer authentication was performed"),
    bit(1, 4, "Terminal risk management was performed"),
    bit(1, 3, "Script processing was performed"),
};

}  // namespace

void tell_aip(const Reading&, Value value, Node& node) {
    expect_size(value, 2, node);
    add_flags(aip_rows, value, node);
}

void tell_auc(const Reading&, Value value, Node& node) {
    expect_size(value, 2, node);
    add_flags(auc_rows, value, node);
}

void tell_tvr(const Reading&, Value value, Node& node) {
    expect_size(value, 5, node);
    add_flags(tvr_rows, value, node);
}

void tell_tsi(const Reading&, Value value, Node& node) {
    expect_size(value, 2, node);
    add_flags(tsi_rows, value, node);
}

}  // namespace quorrin::decode
