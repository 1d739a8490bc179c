// The destination's backup index: a shared NAS or a copied destination can hold any bytes in its place. A text
// that decodes must come back the same after a save and a second decode.
#include "index/BackupIndex.h"
#include "index/BackupIndexReader.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const lorekeep::BackupIndex index = lorekeep::readBackupIndex(text);
        if (lorekeep::readBackupIndex(index.toJson()) != index)
            std::abort();
    } catch (const std::exception&) {
    }
    return 0;
}
