/* For hosts that are programs of their own: says what does not hold and ends with 1. */
#ifndef QUORRIN_TESTS_HOST_CHECK_H
#define QUORRIN_TESTS_HOST_CHECK_H

#include <stdio.h>
#include <stdlib.h>

#define CHECK(condition)                                                    \
    do {                                                                    \
        if (!(condition)) {                                                 \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
            exit(1);                                                        \
        }                                                                   \
    } while (0)

#endif
