#include "run/BackupProgress.h"

namespace lorekeep {

void BackupProgress::encode(JsonWriter& writer) const {
    const auto count = [&](const char* key, std::int64_t value) {
        writer.key(key);
        writer.integer(value);
    };
    writer.startObject();
    count("done", done);
    count("total", total);
    count("copied", copied);
    count("skipped", skipped);
    count("removed", removed);
    count("excluded", excluded);
    writer.key("updatingAlbums");
    writer.boolean(updatingAlbums);
    count("albumDone", albumDone);
    count("albumTotal", albumTotal);
    count("failed", failed);
    count("filesBackedUp", filesBackedUp);
    count("assetsBackedUp", assetsBackedUp);
    count("bytesBackedUp", bytesBackedUp);
    writer.endObject();
}

} // namespace lorekeep
