/* The test bank's header in C. */
#include <quorrin/testbank.h>

int bank_results(void) {
    QuorrinBankRequest request = {0};
    return quorrin_bank_read_field55(0, 0, &request) == QUORRIN_BANK_BAD_REQUEST;
}
