/* A card, its holder, a purchase, its log, in C:
 * cc purchase.c $(pkg-config --cflags --libs quorrin-simulator quorrin-testbank) -o purchase */
#include <quorrin/quorrin.h>
#include <quorrin/testbank.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void check(const char* step, int64_t code) {
    if (code != 0) {
        fprintf(stderr, "%s failed: %lld\n", step, (long long)code);
        CloseAllDevice();
        exit(1);
    }
}

/* Field 55 of the online message: what card and terminal have said, from the store. */
static size_t field_55(uint8_t* field) {
    static const char* const tags[] = {"9F26", "9F27", "9F10", "9F37", "9F36", "95",   "9A", "9C",
                                       "9F02", "5F2A", "82",   "9F1A", "9F03", "5F34", "5A"};
    uint32_t size = 0;
    for (size_t i = 0; i < sizeof tags / sizeof tags[0]; ++i) {
        uint8_t tag[2], value[255];
        const uint8_t tag_size = (uint8_t)(strlen(tags[i]) / 2);
        asc_to_bcd(tag, tags[i], 2 * tag_size, 0);
        /* Elements that nobody has set go as zeros, as the card got them. */
        const uint8_t which = emvGetDataElementState(tag, tag_size) == 1 ? 0 : 2;
        uint16_t length = emvGetDataElementLength(tag, tag_size, which);
        emvGetDataElement(tag, tag_size, &length, value);
        ucAppendTLV(field, &size, tag, tag_size, value, length);
    }
    return size;
}

int main(void) {
    static const char terms[] =
        "P012000000012850Q012000000000000R0040156"
        "S006260228T00200U006131415V014TEST TEA HOUSE";
    char text[4096] = {0}, log[4096] = {0}, arqc[17] = {0}, cdol2[505] = {0};
    uint8_t field[1024];
    QuorrinBank* bank;
    QuorrinBankRequest request = {0};
    QuorrinBankAnswer answer;

    check("find a card", icBandkCardPowerUp(QUORRIN_USER_CONTACTLESS_FIRST, text));
    check("getIccInfo", getIccInfo(ReaderHandle, NULL, "BE", text));
    printf("holder    %s\n", text);
    check("getARQC", getARQC(ReaderHandle, terms, NULL, arqc, cdol2));
    check("open the bank", quorrin_bank_open(NULL, &bank));
    check("read the request", quorrin_bank_read_field55(field, field_55(field), &request));
    check("ask the bank", quorrin_bank_answer(bank, &request, NULL, NULL, 0, &answer));
    quorrin_bank_close(bank);
    printf("bank      %s\n", answer.reason);
    check("ARPCExeScript", ARPCExeScript(ReaderHandle, 0, answer.issuer_text));
    printf("card      %02X%02X\n", CARD_SW1, CARD_SW2); /* 9000: it has taken the bank's answer */
    check("read the log", GetIcBankCardTrDetail(1, ReaderHandle, 1, NULL, log));
    printf("log       %s\n", log + 3);
    return CloseAllDevice() == 0 ? 0 : 1;
}
