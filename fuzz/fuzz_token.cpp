// Change tokens as the backup index stores them: any text may stand there. A token that decodes is used to read
// the history since it, which must fail with the library's error or give changes, nothing else.
#include "FuzzSupport.h"
#include "library/package/PhotosPackageLibrary.h"
#include "run/ChangeTracker.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

lorekeep::PhotosPackageLibrary& library() {
    static const auto opened = std::make_unique<lorekeep::PhotosPackageLibrary>(lorekeep::fuzz::sampleLibrary());
    return *opened;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    (void)library();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::optional<lorekeep::ChangeToken> token;
    try {
        token = lorekeep::ChangeTracker::tokenFromText(library(), text);
    } catch (const std::exception&) {
        // Decoding promises nothing or a token, never an error.
        std::abort();
    }
    if (token) {
        if (lorekeep::ChangeTracker::tokenText(*token) != text)
            std::abort();
        try {
            (void)lorekeep::ChangeTracker::changesSince(library(), *token);
        } catch (const lorekeep::LibraryError&) {
        }
    }
    // The raw archive, without the base64 of the index around it.
    try {
        if (const auto raw = library().unarchiveToken(text))
            (void)library().persistentChanges(*raw);
    } catch (const lorekeep::LibraryError&) {
    }
    return 0;
}
