#include "cryptography/block_cipher.hpp"

#include <openssl/evp.h>

#include <memory>
#include <stdexcept>

namespace quorrin::cryptography {
namespace {

enum class Direction : int { Decrypt = 0, Encrypt = 1 };

struct CipherContextDeleter {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

std::vector<std::uint8_t> run(const EVP_CIPHER* cipher, Direction direction, const Key& key,
                              const std::uint8_t* initial_vector, std::size_t block, Bytes input) {
    if (input.size() % block != 0) {
        throw std::invalid_argument("data of a block cipher without padding is no whole block");
    }
    const std::unique_ptr<EVP_CIPHER_CTX, CipherContextDeleter> context(EVP_CIPHER_CTX_new());
    std::vector<std::uint8_t> output(input.size() + block);
    int written = 0;
    int finished = 0;
    const bool done = context &&
                      EVP_CipherInit_ex2(context.get(), cipher, key.data(), initial_vector,
                                         static_cast<int>(direction), nullptr) == 1 &&
                      EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1 &&
                      EVP_CipherUpdate(context.get(), output.data(), &written, input.data(),
                                       static_cast<int>(input.size())) == 1 &&
                      EVP_CipherFinal_ex(context.get(), output.data() + written, &finished) == 1;
    if (!done) {
        throw std::runtime_error("the crypto library refused a block cipher operation");
    }
    output.resize(input.size());
    return output;
}

std::vector<std::uint8_t> run_ecb(Algorithm algorithm, Direction direction, const Key& key,
                                  Bytes input) {
    const EVP_CIPHER* cipher =
        algorithm == Algorithm::TripleDes ? EVP_des_ede_ecb() : EVP_sm4_ecb();
    return run(cipher, direction, key, nullptr, block_size(algorithm), input);
}

std::vector<std::uint8_t> run_cbc(Algorithm algorithm, Direction direction, const Key& key,
                                  Bytes initial_vector, Bytes input) {
    if (initial_vector.size() != block_size(algorithm)) {
        throw std::invalid_argument("the initial vector is not one block");
    }
    const EVP_CIPHER* cipher =
        algorithm == Algorithm::TripleDes ? EVP_des_ede_cbc() : EVP_sm4_cbc();
    return run(cipher, direction, key, initial_vector.data(), block_size(algorithm), input);
}

}  // namespace

std::vector<std::uint8_t> encrypt_ecb(Algorithm algorithm, const Key& key, Bytes plain) {
    return run_ecb(algorithm, Direction::Encrypt, key, plain);
}

std::vector<std::uint8_t> decrypt_ecb(Algorithm algorithm, const Key& key, Bytes enciphered) {
    return run_ecb(algorithm, Direction::Decrypt, key, enciphered);
}

std::vector<std::uint8_t> encrypt_cbc(Algorithm algorithm, const Key& key, Bytes initial_vector,
                                      Bytes plain) {
    return run_cbc(algorithm, Direction::Encrypt, key, initial_vector, plain);
}

std::vector<std::uint8_t> decrypt_cbc(Algorithm algorithm, const Key& key, Bytes initial_vector,
                                      Bytes enciphered) {
    return run_cbc(algorithm, Direction::Decrypt, key, initial_vector, enciphered);
}

}  // namespace quorrin::cryptography
