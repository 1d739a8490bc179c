#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace lorekeep {

/// Incremental SHA-256 on the platform's crypto library (OpenSSL libcrypto, or CommonCrypto on Apple).
class Sha256 {
public:
    using Digest = std::array<std::uint8_t, 32>;

    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void update(const void* data, std::size_t size);
    /// Ends the computation; the object cannot be updated afterwards.
    Digest finish();

    static Digest of(std::string_view bytes);
    /// Lower-case hexadecimal, two digits per byte.
    static std::string hex(const std::uint8_t* bytes, std::size_t count);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace lorekeep
