/*
 * How the library's names are declared to C and C++.
 */
#ifndef QUORRIN_LINKAGE_H
#define QUORRIN_LINKAGE_H

#ifdef __cplusplus
#include <cstdint>
#endif
#include <stdint.h> /* NOLINT(modernize-deprecated-headers): C reads it too */

#if defined(__GNUC__)
#define QUORRIN_API __attribute__((visibility("default")))
#else
#define QUORRIN_API
#endif

/* Five functions carry C++ symbols; C reaches them under their plain names. */
#ifdef __cplusplus
#define QUORRIN_CXX_SYMBOL(symbol)
#else
#define QUORRIN_CXX_SYMBOL(symbol) __asm__(symbol)
#endif

#endif
