#include "bank/test_bank.hpp"

namespace quorrin::bank {
namespace {

using namespace cryptography;

// Test keys, the same as in the profiles' [keys].
constexpr KeySet test_master_keys{
    {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32,
     0x10},
    {0x11, 0x33, 0x55, 0x77, 0x99, 0xBB, 0xDD, 0xFF, 0x00, 0x22, 0x44, 0x66, 0x88, 0xAA, 0xCC,
     0xEE},
    {0xF1, 0xE2, 0xD3, 0xC4, 0xB5, 0xA6, 0x97, 0x88, 0x79, 0x6A, 0x5B, 0x4C, 0x3D, 0x2E, 0x1F,
     0x00},
};

CardProduct product(Algorithm algorithm, SessionKeyScheme session_keys, ArpcMethod method) {
    return {.algorithm = algorithm,
            .session_keys = session_keys,
            .arpc_method = method,
            .master_keys = test_master_keys};
}

}  // namespace

CardProduct test_debit_product() {
    return product(Algorithm::TripleDes, SessionKeyScheme::Pboc, ArpcMethod::Method1);
}

CardProduct test_credit_product() {
    return product(Algorithm::TripleDes, SessionKeyScheme::EmvCommon, ArpcMethod::Method2);
}

CardProduct test_gm_product() {
    return product(Algorithm::Sm4, SessionKeyScheme::Pboc, ArpcMethod::Method1);
}

CardProduct test_international_product() {
    auto international =
        product(Algorithm::TripleDes, SessionKeyScheme::EmvCommon, ArpcMethod::Method2);
    international.key_derivation = KeyDerivation::OptionB;
    international.cryptogram_version = cryptogram_version_18;
    international.script_encipherment = ScriptEncipherment::Emv;
    return international;
}

}  // namespace quorrin::bank
