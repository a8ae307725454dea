#include "cryptography/rsa.hpp"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/rsa.h>

#include <memory>
#include <stdexcept>

namespace quorrin::cryptography {
namespace {

template <auto FreeFunction>
struct Deleter {
    template <typename Object>
    void operator()(Object* object) const {
        FreeFunction(object);
    }
};
using Number = std::unique_ptr<BIGNUM, Deleter<BN_clear_free>>;
using KeyHandle = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Deleter<EVP_PKEY_CTX_free>>;
using Parameters = std::unique_ptr<OSSL_PARAM, Deleter<OSSL_PARAM_free>>;
using ParameterBuilder = std::unique_ptr<OSSL_PARAM_BLD, Deleter<OSSL_PARAM_BLD_free>>;

void expect(bool done) {
    if (!done) {
        throw std::runtime_error("the crypto library refused an RSA operation");
    }
}

Number number(Bytes bytes) {
    return Number(BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

KeyHandle key_handle(const RsaPrivateKey& key) {
    const Number modulus = number(key.modulus);
    const Number exponent = number(key.exponent);
    const Number private_exponent = number(key.private_exponent);
    const ParameterBuilder builder(OSSL_PARAM_BLD_new());
    expect(builder &&
           OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, modulus.get()) == 1 &&
           OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get()) == 1 &&
           OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_D, private_exponent.get()) ==
               1);
    const Parameters parameters(OSSL_PARAM_BLD_to_param(builder.get()));
    const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* made = nullptr;
    expect(parameters && context && EVP_PKEY_fromdata_init(context.get()) == 1 &&
           EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_KEYPAIR, parameters.get()) == 1);
    return KeyHandle(made);
}

}  // namespace

std::vector<std::uint8_t> rsa_private(const RsaPrivateKey& key, Bytes block) {
    if (block.size() != key.modulus.size()) {
        throw std::invalid_argument("an RSA block has the size of its modulus");
    }
    if (BN_cmp(number(block).get(), number(key.modulus).get()) >= 0) {
        throw std::invalid_argument("an RSA block is below its modulus");
    }
    const KeyHandle handle = key_handle(key);
    const KeyContext context(EVP_PKEY_CTX_new(handle.get(), nullptr));
    std::vector<std::uint8_t> output(key.modulus.size());
    std::size_t size = output.size();
    expect(context && EVP_PKEY_decrypt_init(context.get()) == 1 &&
           EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_NO_PADDING) == 1 &&
           EVP_PKEY_decrypt(context.get(), output.data(), &size, block.data(), block.size()) == 1 &&
           size == output.size());
    return output;
}

std::array<std::uint8_t, 20> sha1(Bytes data) {
    std::array<std::uint8_t, 20> hash{};
    unsigned size = 0;
    expect(EVP_Digest(data.data(), data.size(), hash.data(), &size, EVP_sha1(), nullptr) == 1 &&
           size == hash.size());
    return hash;
}

}  // namespace quorrin::cryptography
