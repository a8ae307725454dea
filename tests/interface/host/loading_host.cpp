// Loads the library into a process that has none of the six reader functions, uses what needs none,
// then brings the reader in and uses the rest.

#include <dlfcn.h>

#include <cstdint>
#include <cstring>

#include "tests/interface/host/check.h"

namespace {

template <typename Type>
Type* find(void* library, const char* name) {
    void* symbol = dlsym(library, name);
    if (symbol == nullptr) {
        fprintf(stderr, "%s\n", dlerror());
        exit(1);
    }
    return reinterpret_cast<Type*>(symbol);
}

}  // namespace

int main(int argc, char** argv) {
    CHECK(argc == 3);
    const char* library_file = argv[1];
    const char* reader_file = argv[2];

    CHECK(dlsym(RTLD_DEFAULT, "ICC_Reader_Open") == nullptr);
    CHECK(dlopen(library_file, RTLD_NOW) == nullptr);
    void* library = dlopen(library_file, RTLD_LAZY);
    CHECK(library != nullptr);

    auto& user_card_type = *find<std::uint8_t>(library, "EG_nUserCardType");
    auto& reader_handle = *find<std::int64_t>(library, "ReaderHandle");
    CHECK(user_card_type == 11);
    CHECK(reader_handle == 0);

    char message[73] = {};
    CHECK(find<std::int64_t(std::int64_t, char*)>(library, "TransRetCode")(-2, message) == -2);
    CHECK(std::strcmp(message, "无卡") == 0);
    std::uint8_t packed[2] = {};
    find<void(std::uint8_t*, const char*, std::int32_t, std::uint8_t)>(library, "asc_to_bcd")(
        packed, "12AB", 4, 0);
    CHECK(packed[0] == 0x12 && packed[1] == 0xAB);
    auto* power_up_card =
        find<std::int64_t(std::int32_t, char*)>(library, "_Z18icBandkCardPowerUpiPc");
    CHECK(power_up_card(3, message) == -14);
    auto* close_all = find<std::int64_t()>(library, "CloseAllDevice");
    CHECK(close_all() == 0);

    CHECK(dlopen(reader_file, RTLD_LAZY | RTLD_GLOBAL) != nullptr);
    CHECK(power_up_card(0, message) == 0);
    CHECK(reader_handle == 5);
    CHECK(close_all() == 0);
    CHECK(reader_handle == 0);
    return 0;
}
