// Property lists of a library package (binary or XML), as the platform's property-list library reads them.
#include "base/PropertyList.h"

#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const auto list = lorekeep::PropertyList::parse(bytes)) {
        for (const char* key : {"PLModelVersion", "LibraryVersion", "", "SystemLibraryPath"})
            (void)list->string(key);
    }
    return 0;
}
