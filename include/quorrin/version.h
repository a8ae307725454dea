/*
 * The version of Quorrin that these headers belong to. The build takes its own version from here.
 *
 * The version counts the three steps of a release: MAJOR changes when hosts must be built anew
 * (libQuorrin.so.MAJOR), MINOR when something is added, PATCH when something is mended.
 */
#ifndef QUORRIN_VERSION_H
#define QUORRIN_VERSION_H

#define QUORRIN_VERSION_MAJOR 1
#define QUORRIN_VERSION_MINOR 0
#define QUORRIN_VERSION_PATCH 0
#define QUORRIN_VERSION_STRING "1.0.0"

#endif
