#include "base/Sha256.h"

#include <CommonCrypto/CommonDigest.h>

namespace lorekeep {

struct Sha256::Impl {
    CC_SHA256_CTX context;
};

Sha256::Sha256() : m_impl(std::make_unique<Impl>()) {
    CC_SHA256_Init(&m_impl->context);
}

Sha256::~Sha256() = default;

void Sha256::update(const void* data, std::size_t size) {
    // CC_LONG is 32 bits: feed very large buffers in pieces.
    const auto* bytes = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const auto piece = static_cast<CC_LONG>(size > (1u << 30) ? (1u << 30) : size);
        CC_SHA256_Update(&m_impl->context, bytes, piece);
        bytes += piece;
        size -= piece;
    }
}

Sha256::Digest Sha256::finish() {
    Digest digest{};
    CC_SHA256_Final(digest.data(), &m_impl->context);
    return digest;
}

} // namespace lorekeep
