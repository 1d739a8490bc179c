#include "index/BackupIndexReader.h"

#include "base/Json.h"

#include <nlohmann/json.hpp>

#include <vector>

namespace lorekeep {
namespace {

enum class Context { top, root, assets, asset, files, file, skip };

enum class Field {
    unknown,
    version,
    assets,
    lastSuccessfulRun,
    changeToken,
    scopeKey,
    lastVerified,
    modificationDate,
    files,
    role,
    relativePath,
    sha256,
    bytes,
    xmpPath,
};

Field rootKey(std::string_view name) {
    if (name == "version")
        return Field::version;
    if (name == "assets")
        return Field::assets;
    if (name == "lastSuccessfulRun")
        return Field::lastSuccessfulRun;
    if (name == "changeToken")
        return Field::changeToken;
    if (name == "scopeKey")
        return Field::scopeKey;
    if (name == "lastVerified")
        return Field::lastVerified;
    return Field::unknown;
}

Field assetKey(std::string_view name) {
    if (name == "modificationDate")
        return Field::modificationDate;
    if (name == "files")
        return Field::files;
    return Field::unknown;
}

Field fileKey(std::string_view name) {
    if (name == "role")
        return Field::role;
    if (name == "relativePath")
        return Field::relativePath;
    if (name == "sha256")
        return Field::sha256;
    if (name == "bytes")
        return Field::bytes;
    if (name == "xmpPath")
        return Field::xmpPath;
    return Field::unknown;
}

const char* keyName(Field key) {
    switch (key) {
    case Field::version:
        return "version";
    case Field::assets:
        return "assets";
    case Field::lastSuccessfulRun:
        return "lastSuccessfulRun";
    case Field::changeToken:
        return "changeToken";
    case Field::scopeKey:
        return "scopeKey";
    case Field::lastVerified:
        return "lastVerified";
    case Field::modificationDate:
        return "modificationDate";
    case Field::files:
        return "files";
    case Field::role:
        return "role";
    case Field::relativePath:
        return "relativePath";
    case Field::sha256:
        return "sha256";
    case Field::bytes:
        return "bytes";
    case Field::xmpPath:
        return "xmpPath";
    case Field::unknown:
        break;
    }
    return "?";
}

// SAX handler: a stack of contexts, the key last seen in the current object, and flags for the required keys of
// the object being read. Unknown keys are skipped with whatever they hold.
class Handler {
public:
    explicit Handler(BackupIndex& index) : m_index(index) {}

    const std::string& error() const { return m_error; }

    bool start_object(std::size_t) {
        switch (context()) {
        case Context::top:
            m_stack.push_back(Context::root);
            return true;
        case Context::root:
            if (m_key == Field::assets) {
                m_hasAssets = true;
                m_index.assets.clear();
                m_stack.push_back(Context::assets);
                return true;
            }
            return skipOrFail("an object");
        case Context::assets: {
            // Our own indexes list their assets in order, so the end is the right hint for almost every insert.
            const std::size_t before = m_index.assets.size();
            const auto it = m_index.assets.try_emplace(m_index.assets.end(), std::move(m_assetId));
            if (m_index.assets.size() == before)
                it->second = IndexedAsset{}; // a repeated key: the last one counts
            m_asset = &it->second;
            m_hasFiles = false;
            m_stack.push_back(Context::asset);
            return true;
        }
        case Context::files:
            m_file = &m_asset->files.emplace_back();
            m_fileKeys = 0;
            m_stack.push_back(Context::file);
            return true;
        case Context::asset:
        case Context::file:
            return skipOrFail("an object");
        case Context::skip:
            m_stack.push_back(Context::skip);
            return true;
        }
        return false;
    }

    bool end_object() {
        const Context ending = context();
        m_stack.pop_back();
        if (ending == Context::file && m_fileKeys != allFileKeys)
            return fail("a file entry lacks one of \"role\", \"relativePath\", \"sha256\", \"bytes\"");
        if (ending == Context::asset && !m_hasFiles)
            return fail("an asset entry lacks \"files\"");
        if (ending == Context::root && !(m_hasVersion && m_hasAssets))
            return fail(m_hasVersion ? "\"assets\" is missing" : "\"version\" is missing");
        // Back in the enclosing object, the next thing must be a key.
        m_key = Field::unknown;
        return true;
    }

    bool start_array(std::size_t) {
        if (context() == Context::asset && m_key == Field::files) {
            m_hasFiles = true;
            m_asset->files.clear();
            m_stack.push_back(Context::files);
            return true;
        }
        if (context() == Context::skip) {
            m_stack.push_back(Context::skip);
            return true;
        }
        return skipOrFail("an array");
    }

    bool end_array() {
        m_stack.pop_back();
        m_key = Field::unknown;
        return true;
    }

    bool key(std::string& name) {
        switch (context()) {
        case Context::root:
            m_key = rootKey(name);
            break;
        case Context::assets:
            m_assetId.assign(name);
            break;
        case Context::asset:
            m_key = assetKey(name);
            break;
        case Context::file:
            m_key = fileKey(name);
            break;
        default:
            break;
        }
        return true;
    }

    bool string(std::string& value) {
        if (ignoring())
            return true;
        switch (m_key) {
        case Field::changeToken:
            m_index.changeToken = value;
            return true;
        case Field::scopeKey:
            m_index.scopeKey = value;
            return true;
        case Field::role:
            if (const auto role = fileRoleFromString(value)) {
                m_file->role = *role;
                m_fileKeys |= roleBit;
                return true;
            }
            return fail("unknown file role \"" + value + "\"");
        case Field::relativePath:
            m_file->relativePath = value;
            m_fileKeys |= pathBit;
            return true;
        case Field::sha256:
            m_file->sha256 = value;
            m_fileKeys |= hashBit;
            return true;
        case Field::xmpPath:
            m_file->xmpPath = value;
            return true;
        default:
            return wrongType("a string");
        }
    }

    bool number_integer(std::int64_t value) { return integer(value); }
    bool number_unsigned(std::uint64_t value) {
        if (ignoring())
            return true;
        if (value > static_cast<std::uint64_t>(INT64_MAX))
            return fail(std::string("\"") + keyName(m_key) + "\" is out of range");
        return integer(static_cast<std::int64_t>(value));
    }
    bool number_float(double value, const std::string&) {
        if (ignoring())
            return true;
        return date(value) || wrongType("a fractional number");
    }

    bool boolean(bool) { return ignoring() || wrongType("a boolean"); }
    bool binary(nlohmann::json::binary_t&) { return ignoring() || wrongType("binary data"); }

    bool null() {
        if (ignoring())
            return true;
        switch (m_key) {
        case Field::lastSuccessfulRun:
            m_index.lastSuccessfulRun.reset();
            return true;
        case Field::lastVerified:
            m_index.lastVerified.reset();
            return true;
        case Field::changeToken:
            m_index.changeToken.reset();
            return true;
        case Field::scopeKey:
            m_index.scopeKey.reset();
            return true;
        case Field::modificationDate:
            m_asset->modificationDate.reset();
            return true;
        case Field::xmpPath:
            m_file->xmpPath.reset();
            return true;
        default:
            return wrongType("a value");
        }
    }

    bool parse_error(std::size_t offset, const std::string&, const nlohmann::json::exception& error) {
        m_syntaxError = json::syntaxError(offset, error.what());
        return false;
    }

    const std::string& syntaxError() const { return m_syntaxError; }

private:
    static constexpr unsigned roleBit = 1, pathBit = 2, hashBit = 4, bytesBit = 8;
    static constexpr unsigned allFileKeys = roleBit | pathBit | hashBit | bytesBit;

    Context context() const { return m_stack.back(); }

    // A scalar that nobody reads: inside a skipped value, or under an unknown key.
    bool ignoring() const {
        const Context current = context();
        if (current == Context::skip)
            return true;
        return (current == Context::root || current == Context::asset || current == Context::file) &&
               m_key == Field::unknown;
    }

    bool integer(std::int64_t value) {
        if (ignoring())
            return true;
        if (m_key == Field::version) {
            m_index.version = value;
            m_hasVersion = true;
            return true;
        }
        if (m_key == Field::bytes) {
            m_file->bytes = value;
            m_fileKeys |= bytesBit;
            return true;
        }
        return date(static_cast<double>(value)) || wrongType("a number");
    }

    bool date(double seconds) {
        const Date value = Date::fromReferenceSeconds(seconds);
        switch (m_key) {
        case Field::lastSuccessfulRun:
            m_index.lastSuccessfulRun = value;
            return true;
        case Field::lastVerified:
            m_index.lastVerified = value;
            return true;
        case Field::modificationDate:
            m_asset->modificationDate = value;
            return true;
        default:
            return false;
        }
    }

    bool skipOrFail(const char* what) {
        const Context current = context();
        if ((current == Context::root || current == Context::asset || current == Context::file) &&
            m_key == Field::unknown) {
            m_stack.push_back(Context::skip);
            return true;
        }
        return wrongType(what);
    }

    bool wrongType(const char* found) {
        if (context() == Context::top)
            return fail("the index is not a JSON object");
        if (context() == Context::assets || context() == Context::files)
            return fail(std::string("found ") + found + " where an entry object belongs");
        return fail(std::string("\"") + keyName(m_key) + "\" has the wrong type (found " + found + ")");
    }

    bool fail(std::string message) {
        m_error = std::move(message);
        return false;
    }

    BackupIndex& m_index;
    std::vector<Context> m_stack{Context::top};
    Field m_key = Field::unknown;
    std::string m_assetId;
    IndexedAsset* m_asset = nullptr;
    IndexedFile* m_file = nullptr;
    unsigned m_fileKeys = 0;
    bool m_hasFiles = false;
    bool m_hasVersion = false;
    bool m_hasAssets = false;
    std::string m_error;
    std::string m_syntaxError;
};

template <typename Iterator>
BackupIndex read(Iterator first, Iterator last) {
    BackupIndex index;
    index.version = 0;
    Handler handler(index);
    if (!nlohmann::json::sax_parse(first, last, &handler)) {
        if (!handler.error().empty())
            throw JsonError("the backup index does not decode: " + handler.error());
        throw JsonError("the backup index is not valid JSON: " + handler.syntaxError());
    }
    return index;
}

} // namespace

BackupIndex readBackupIndex(std::FILE* file) {
    json::FileChars chars(file);
    return read(chars.begin(), chars.end());
}

BackupIndex readBackupIndex(std::string_view text) {
    return read(text.begin(), text.end());
}

} // namespace lorekeep
