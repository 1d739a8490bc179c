#include "base/Sha256.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace lorekeep {
namespace {

// Fetched once: looking the algorithm up for every hash costs more than hashing a small file.
const EVP_MD* sha256Algorithm() {
    static EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return algorithm;
}

} // namespace

struct Sha256::Impl {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    ~Impl() { EVP_MD_CTX_free(context); }
};

Sha256::Sha256() : m_impl(std::make_unique<Impl>()) {
    if (!m_impl->context || !sha256Algorithm() || EVP_DigestInit_ex(m_impl->context, sha256Algorithm(), nullptr) != 1)
        throw std::runtime_error("SHA-256 is not available");
}

Sha256::~Sha256() = default;

void Sha256::update(const void* data, std::size_t size) {
    EVP_DigestUpdate(m_impl->context, data, size);
}

Sha256::Digest Sha256::finish() {
    Digest digest{};
    unsigned int length = 0;
    EVP_DigestFinal_ex(m_impl->context, digest.data(), &length);
    return digest;
}

} // namespace lorekeep
