// Logging and folder entry points of earlier host programs. Deliberate: they do nothing, so that
// these programs load and find no files or folders of the library's making.

#include "quorrin/quorrin.h"

void WriteLog(const char* a, const char* b, std::int32_t c) {
    WriteLogEnc(a, b, c, 0);
}

void WriteLogTime() {}

void WriteLogEnc(const char* /*a*/, const char* /*b*/, std::int32_t /*c*/, std::int32_t /*d*/) {}

std::int32_t CreateFolder(char* /*path*/) {
    return 0;
}
