// A host with functions of its own under names that the library has too. They are everyday words,
// so it happens; the library must go on calling its own. (The public header is not included: this
// host knows of two operations only.)

#include <cstdint>
#include <cstring>

#include "tests/interface/host/check.h"
#include "tests/support/temporary_directory.hpp"

std::int64_t icBandkCardPowerUp(std::int32_t iType, char* msg);
std::int32_t GetDevName(char* name);

namespace {
int host_calls = 0;
}  // namespace

extern "C" {
std::int64_t OpenDevice(const char*, std::int64_t*) {
    ++host_calls;
    return -5;
}
std::int64_t CloseDevice(std::int64_t*) {
    ++host_calls;
    return -5;
}
std::int64_t CloseAllDevice() {
    ++host_calls;
    return -5;
}
std::int64_t PowerUp(std::int64_t, std::int32_t, std::uint8_t*, std::uint32_t*) {
    ++host_calls;
    return -5;
}
std::int64_t PowerDown(std::int64_t, std::int32_t) {
    ++host_calls;
    return -5;
}
std::int64_t FindUserCard(std::int64_t, std::int32_t) {
    ++host_calls;
    return -5;
}
std::int64_t TransRetCode(std::int64_t, char*) {
    ++host_calls;
    return 0;
}
std::int64_t TransRetCodeNoMsg(std::int64_t) {
    ++host_calls;
    return 0;
}
std::uint8_t StrCmp(const char*, const char*, std::int32_t) {
    ++host_calls;
    return 2;
}
void WriteLog(const char*, const char*, std::int32_t) {
    ++host_calls;
}
void WriteLogEnc(const char*, const char*, std::int32_t, std::int32_t) {
    ++host_calls;
}
}

void TrimLeft(std::uint8_t* s, std::uint8_t) {
    ++host_calls;
    s[0] = 0;
}
void TrimRight(std::uint8_t* s, std::uint8_t) {
    ++host_calls;
    s[0] = 0;
}

int main() {
    char message[73] = {};
    CHECK(icBandkCardPowerUp(0, message) == 0);
    CHECK(icBandkCardPowerUp(1, message) == -2);
    CHECK(std::strcmp(message, "无卡") == 0);

    const quorrin::test::TemporaryDirectory directory;
    directory.write("Velmora.ini", std::string_view("Velmora\0COM\0A\nCOM= 3 \n", 22));
    char name[5] = {};
    const std::int32_t result = GetDevName(name);
    CHECK(result == 0);
    CHECK(std::strcmp(name, "COM3") == 0);

    CHECK(host_calls == 0);
    return 0;
}
