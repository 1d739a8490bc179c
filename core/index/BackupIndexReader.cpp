#include "index/BackupIndexReader.h"

#include "base/Json.h"
#include "base/JsonText.h"
#include "base/Utf8.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace lorekeep {
namespace {

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

// What the next value is, from its first character.
enum class Kind { string, object, array, boolean, null, number, invalid };

Kind kindOf(int c) {
    switch (c) {
    case '"':
        return Kind::string;
    case '{':
        return Kind::object;
    case '[':
        return Kind::array;
    case 't':
    case 'f':
        return Kind::boolean;
    case 'n':
        return Kind::null;
    case '-':
        return Kind::number;
    default:
        return c >= '0' && c <= '9' ? Kind::number : Kind::invalid;
    }
}

struct SyntaxError {
    std::size_t offset;
    std::string message;
};

struct DecodeError {
    std::string message;
};

// A number as written: its text and whether it is a whole one.
struct Number {
    std::string_view text;
    bool integral = true;
};

// The bytes of the text, a window at a time: all of it for a string, 256 KiB pieces of a file. Strings are copied
// out of the window in runs, so that a path costs a scan and one append rather than one call per character.
class Input {
public:
    explicit Input(std::string_view text) : m_next(text.data()), m_end(text.data() + text.size()) {}

    explicit Input(std::FILE* file)
        : m_file(file), m_buffer(std::make_unique_for_overwrite<char[]>(bufferSize)), m_next(nullptr), m_end(nullptr) {
        fill();
    }

    // The next character without taking it; -1 at the end.
    int peek() {
        if (m_next == m_end && !fill())
            return -1;
        return static_cast<unsigned char>(*m_next);
    }

    int take() {
        const int c = peek();
        if (c >= 0)
            ++m_next;
        return c;
    }

    int skipSpace() {
        for (;;) {
            while (m_next != m_end) {
                const char c = *m_next;
                if (c != ' ' && c != '\n' && c != '\r' && c != '\t')
                    return static_cast<unsigned char>(c);
                ++m_next;
            }
            if (!fill())
                return -1;
        }
    }

    std::size_t offset() const { return m_consumed + static_cast<std::size_t>(m_next - m_windowStart); }

    [[noreturn]] void syntaxError(const std::string& message) const { throw SyntaxError{offset(), message}; }

    void expect(char wanted, const char* what) {
        if (skipSpace() != static_cast<unsigned char>(wanted))
            syntaxError(std::string("expected ") + what);
        ++m_next;
    }

    void literal(const char* word) {
        for (const char* c = word; *c; ++c) {
            if (take() != static_cast<unsigned char>(*c))
                syntaxError(std::string("invalid literal; expected '") + word + "'");
        }
    }

    // Reads a string whose opening quote is next, into `out` (replacing what it held).
    void string(std::string& out) {
        out.clear();
        ++m_next; // the opening quote, already seen by the caller
        for (;;) {
            const std::size_t run = json::plainRun(m_next, m_end, false, true);
            out.append(m_next, run);
            m_next += run;
            const int c = peek();
            if (c < 0)
                syntaxError("the text ends inside a string");
            if (c == '"') {
                ++m_next;
                return;
            }
            if (c == '\\')
                escape(out);
            else if (c < 0x20)
                syntaxError("a control character must be escaped in a string");
            else if (c >= 0x80)
                multibyte(out);
            // else the window ended in a plain run, which goes on in the next one
        }
    }

    // Reads a number; its text stays valid until the next number is read.
    Number number() {
        m_number.clear();
        bool integral = true;
        const auto put = [&](int c) {
            m_number += static_cast<char>(c);
            ++m_next;
        };
        const auto digits = [&] {
            int count = 0;
            for (int c = peek(); c >= '0' && c <= '9'; c = peek(), ++count)
                put(c);
            return count;
        };
        if (peek() == '-')
            put('-');
        if (peek() == '0')
            put('0');
        else if (digits() == 0)
            syntaxError("invalid number; expected a digit");
        if (peek() == '.') {
            integral = false;
            put('.');
            if (digits() == 0)
                syntaxError("invalid number; expected a digit after '.'");
        }
        if (const int c = peek(); c == 'e' || c == 'E') {
            integral = false;
            put(c);
            if (const int sign = peek(); sign == '+' || sign == '-')
                put(sign);
            if (digits() == 0)
                syntaxError("invalid number; expected a digit in the exponent");
        }
        return {m_number, integral};
    }

    // Passes over one value of any kind, checking its syntax; nested values are followed without recursion.
    void skipValue() {
        std::vector<char> open;
        std::string scratch;
        for (;;) {
            const int c = skipSpace();
            switch (kindOf(c)) {
            case Kind::string:
                string(scratch);
                break;
            case Kind::number:
                number();
                break;
            case Kind::boolean:
                literal(c == 't' ? "true" : "false");
                break;
            case Kind::null:
                literal("null");
                break;
            case Kind::object:
            case Kind::array:
                ++m_next;
                if (skipSpace() == (c == '{' ? '}' : ']')) {
                    ++m_next;
                    break;
                }
                open.push_back(static_cast<char>(c));
                if (c == '{')
                    objectKey(scratch);
                continue;
            case Kind::invalid:
                syntaxError(c < 0 ? "the text ends where a value belongs"
                                  : "unexpected character where a value belongs");
            }
            // One value done: go on in the enclosing object or array, or close it.
            for (;;) {
                if (open.empty())
                    return;
                const int after = skipSpace();
                const bool inObject = open.back() == '{';
                if (after == ',') {
                    ++m_next;
                    if (inObject)
                        objectKey(scratch);
                    break;
                }
                if (after != (inObject ? '}' : ']'))
                    syntaxError(inObject ? "expected ',' or '}'" : "expected ',' or ']'");
                ++m_next;
                open.pop_back();
            }
        }
    }

    // Reads a member's key and its colon.
    void objectKey(std::string& out) {
        if (skipSpace() != '"')
            syntaxError("expected a string as an object key");
        string(out);
        expect(':', "':' after an object key");
    }

private:
    bool fill() {
        if (!m_file)
            return false;
        m_consumed += static_cast<std::size_t>(m_next - m_windowStart);
        const std::size_t length = std::fread(m_buffer.get(), 1, bufferSize, m_file);
        m_windowStart = m_next = m_buffer.get();
        m_end = m_next + length;
        return length > 0;
    }

    unsigned hex4() {
        unsigned value = 0;
        for (int i = 0; i < 4; ++i) {
            const int c = take();
            value <<= 4;
            if (c >= '0' && c <= '9')
                value |= static_cast<unsigned>(c - '0');
            else if (c >= 'a' && c <= 'f')
                value |= static_cast<unsigned>(c - 'a' + 10);
            else if (c >= 'A' && c <= 'F')
                value |= static_cast<unsigned>(c - 'A' + 10);
            else
                syntaxError("'\\u' must be followed by 4 hexadecimal digits");
        }
        return value;
    }

    void escape(std::string& out) {
        ++m_next; // the backslash
        const int c = take();
        switch (c) {
        case '"':
        case '\\':
        case '/':
            out += static_cast<char>(c);
            return;
        case 'b':
            out += '\b';
            return;
        case 'f':
            out += '\f';
            return;
        case 'n':
            out += '\n';
            return;
        case 'r':
            out += '\r';
            return;
        case 't':
            out += '\t';
            return;
        case 'u':
            break;
        default:
            syntaxError("invalid escape in a string");
        }
        unsigned code = hex4();
        if (code >= 0xDC00 && code <= 0xDFFF)
            syntaxError("a low surrogate without a high one before it");
        if (code >= 0xD800 && code <= 0xDBFF) {
            if (take() != '\\' || take() != 'u')
                syntaxError("a high surrogate must be followed by a low one");
            const unsigned low = hex4();
            if (low < 0xDC00 || low > 0xDFFF)
                syntaxError("a high surrogate must be followed by a low one");
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
        }
        appendUtf8(out, code);
    }

    static void appendUtf8(std::string& out, unsigned code) {
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            out += static_cast<char>(0xE0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (code >> 18));
            out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        }
    }

    // One character of two to four bytes, checked to be well-formed UTF-8 (shortest form, no surrogates).
    void multibyte(std::string& out) {
        const int lead = take();
        const std::optional<Utf8Lead> form = utf8Lead(static_cast<unsigned>(lead));
        if (!form)
            syntaxError("invalid UTF-8 in a string");
        out += static_cast<char>(lead);
        for (int i = 0; i < form->continuations; ++i) {
            const int c = take();
            if (c < static_cast<int>(i == 0 ? form->low : 0x80) || c > static_cast<int>(i == 0 ? form->high : 0xBF))
                syntaxError("invalid UTF-8 in a string");
            out += static_cast<char>(c);
        }
    }

    static constexpr std::size_t bufferSize = 256 * 1024;
    std::FILE* m_file = nullptr;
    std::unique_ptr<char[]> m_buffer;
    const char* m_next;
    const char* m_end;
    const char* m_windowStart = m_next;
    std::size_t m_consumed = 0;
    std::string m_number;
};

// Reads the stored form into an index: the root object, the assets by identifier, each asset's files. Unknown keys
// are passed over with whatever they hold; a known key with a value of the wrong type is an error.
class IndexReader {
public:
    IndexReader(Input& input, BackupIndex& index) : m_in(input), m_index(index) {}

    /// Where the "assets" object ended, when "version" and "assets" were the root's first two members.
    std::optional<std::size_t> assetsEnd;

    void read() {
        const int c = m_in.skipSpace();
        if (c != '{') {
            if (kindOf(c) == Kind::invalid)
                m_in.syntaxError(c < 0 ? "the text is empty" : "unexpected character where a value belongs");
            fail("the index is not a JSON object");
        }
        bool hasVersion = false, hasAssets = false;
        int member = 0;
        members([&] {
            const Field key = rootKey(m_key);
            ++member;
            switch (key) {
            case Field::version:
                m_index.version = integer(key);
                hasVersion = true;
                return;
            case Field::assets:
                assets();
                if (member == 2 && hasVersion && !hasAssets)
                    assetsEnd = m_in.offset();
                hasAssets = true;
                return;
            case Field::lastSuccessfulRun:
                m_index.lastSuccessfulRun = date(key);
                return;
            case Field::lastVerified:
                m_index.lastVerified = date(key);
                return;
            case Field::changeToken:
                m_index.changeToken = optionalString(key);
                return;
            case Field::scopeKey:
                m_index.scopeKey = optionalString(key);
                return;
            default:
                m_in.skipValue();
                return;
            }
        });
        if (!(hasVersion && hasAssets))
            fail(hasVersion ? "\"assets\" is missing" : "\"version\" is missing");
        if (m_in.skipSpace() >= 0)
            m_in.syntaxError("unexpected text after the index");
    }

private:
    [[noreturn]] static void fail(std::string message) { throw DecodeError{std::move(message)}; }

    [[noreturn]] void wrongType(Field key, Kind found) {
        if (found == Kind::invalid)
            m_in.syntaxError("unexpected character where a value belongs");
        fail(std::string("\"") + keyName(key) + "\" has the wrong type (found " + kindName(found) + ")");
    }

    [[noreturn]] void wrongEntry(Kind found) {
        if (found == Kind::invalid)
            m_in.syntaxError("unexpected character where a value belongs");
        fail(std::string("found ") + kindName(found) + " where an entry object belongs");
    }

    static const char* kindName(Kind kind) {
        switch (kind) {
        case Kind::string:
            return "a string";
        case Kind::object:
            return "an object";
        case Kind::array:
            return "an array";
        case Kind::boolean:
            return "a boolean";
        case Kind::null:
            return "a value";
        case Kind::number:
        case Kind::invalid:
            break;
        }
        return "a number";
    }

    // Calls `member` for each member of the object whose "{" is next, with its key in m_key and the input at its
    // value. The callback reads the value whole.
    template <typename Member>
    void members(Member&& member) {
        m_in.take();
        if (m_in.skipSpace() == '}') {
            m_in.take();
            return;
        }
        for (;;) {
            m_in.objectKey(m_key);
            member();
            const int c = m_in.skipSpace();
            m_in.take();
            if (c == '}')
                return;
            if (c != ',')
                m_in.syntaxError("expected ',' or '}'");
        }
    }

    void assets() {
        const int c = m_in.skipSpace();
        if (c != '{')
            wrongType(Field::assets, kindOf(c));
        m_index.assets.clear();
        members([&] {
            const int first = m_in.skipSpace();
            if (first != '{')
                wrongEntry(kindOf(first));
            // Our own indexes list their assets in order, so the end is the right hint for almost every insert.
            const std::size_t before = m_index.assets.size();
            const auto it = m_index.assets.try_emplace(m_index.assets.end(), m_key);
            if (m_index.assets.size() == before)
                it->second = IndexedAsset{}; // a repeated key: the last one counts
            asset(it->second);
        });
    }

    void asset(IndexedAsset& asset) {
        bool hasFiles = false;
        members([&] {
            const Field key = assetKey(m_key);
            if (key == Field::modificationDate) {
                asset.modificationDate = date(key);
            } else if (key == Field::files) {
                files(asset.files);
                hasFiles = true;
            } else {
                m_in.skipValue();
            }
        });
        if (!hasFiles)
            fail("an asset entry lacks \"files\"");
    }

    void files(std::vector<IndexedFile>& files) {
        int c = m_in.skipSpace();
        if (c != '[')
            wrongType(Field::files, kindOf(c));
        files.clear();
        m_in.take();
        if (m_in.skipSpace() == ']') {
            m_in.take();
            return;
        }
        for (;;) {
            c = m_in.skipSpace();
            if (c != '{')
                wrongEntry(kindOf(c));
            file(files.emplace_back());
            c = m_in.skipSpace();
            m_in.take();
            if (c == ']')
                return;
            if (c != ',')
                m_in.syntaxError("expected ',' or ']'");
        }
    }

    void file(IndexedFile& file) {
        unsigned keys = 0;
        members([&] {
            const Field key = fileKey(m_key);
            switch (key) {
            case Field::role: {
                requiredString(key, m_scratch);
                const auto role = fileRoleFromString(m_scratch);
                if (!role)
                    fail("unknown file role \"" + m_scratch + "\"");
                file.role = *role;
                keys |= roleBit;
                return;
            }
            case Field::relativePath:
                requiredString(key, file.relativePath);
                keys |= pathBit;
                return;
            case Field::sha256:
                requiredString(key, file.sha256);
                keys |= hashBit;
                return;
            case Field::bytes:
                file.bytes = integer(key);
                keys |= bytesBit;
                return;
            case Field::xmpPath:
                file.xmpPath = optionalString(key);
                return;
            default:
                m_in.skipValue();
                return;
            }
        });
        if (keys != allFileKeys)
            fail("a file entry lacks one of \"role\", \"relativePath\", \"sha256\", \"bytes\"");
    }

    void requiredString(Field key, std::string& out) {
        const int c = m_in.skipSpace();
        if (c != '"')
            wrongType(key, kindOf(c));
        m_in.string(out);
    }

    std::optional<std::string> optionalString(Field key) {
        const int c = m_in.skipSpace();
        if (c == 'n') {
            m_in.literal("null");
            return std::nullopt;
        }
        std::string value;
        requiredString(key, value);
        return value;
    }

    std::int64_t integer(Field key) {
        const int c = m_in.skipSpace();
        if (kindOf(c) != Kind::number)
            wrongType(key, kindOf(c));
        const Number number = m_in.number();
        if (!number.integral)
            fail(std::string("\"") + keyName(key) + "\" has the wrong type (found a fractional number)");
        std::int64_t value = 0;
        const char* const end = number.text.data() + number.text.size();
        const auto [last, error] = std::from_chars(number.text.data(), end, value);
        if (error != std::errc() || last != end)
            fail(std::string("\"") + keyName(key) + "\" is out of range");
        return value;
    }

    std::optional<Date> date(Field key) {
        const int c = m_in.skipSpace();
        if (c == 'n') {
            m_in.literal("null");
            return std::nullopt;
        }
        if (kindOf(c) != Kind::number)
            wrongType(key, kindOf(c));
        const Number number = m_in.number();
        double seconds = 0;
        std::int64_t whole = 0;
        const char* const end = number.text.data() + number.text.size();
        if (number.integral && std::from_chars(number.text.data(), end, whole).ec == std::errc()) {
            seconds = static_cast<double>(whole);
        } else {
            // strtod follows the C locale, which an application may have set to one with a decimal comma.
            std::string text(number.text);
            const char* point = std::localeconv()->decimal_point;
            if (const std::size_t dot = text.find('.'); dot != std::string::npos && std::strcmp(point, ".") != 0)
                text.replace(dot, 1, point);
            seconds = std::strtod(text.c_str(), nullptr);
        }
        if (!std::isfinite(seconds))
            fail(std::string("\"") + keyName(key) + "\" is out of range");
        return Date::fromReferenceSeconds(seconds);
    }

    static constexpr unsigned roleBit = 1, pathBit = 2, hashBit = 4, bytesBit = 8;
    static constexpr unsigned allFileKeys = roleBit | pathBit | hashBit | bytesBit;

    Input& m_in;
    BackupIndex& m_index;
    std::string m_key;
    std::string m_scratch;
};

BackupIndex read(Input& input, std::optional<std::size_t>* assetsEnd = nullptr) {
    BackupIndex index;
    index.version = 0;
    try {
        IndexReader reader(input, index);
        reader.read();
        if (assetsEnd)
            *assetsEnd = reader.assetsEnd;
    } catch (const SyntaxError& error) {
        throw JsonError("the backup index is not valid JSON: " + json::syntaxError(error.offset, error.message));
    } catch (const DecodeError& error) {
        throw JsonError("the backup index does not decode: " + error.message);
    }
    return index;
}

} // namespace

BackupIndex readBackupIndex(std::FILE* file) {
    Input input(file);
    return read(input);
}

BackupIndex readBackupIndex(std::FILE* file, std::optional<std::size_t>& assetsEnd) {
    Input input(file);
    return read(input, &assetsEnd);
}

BackupIndex readBackupIndex(std::string_view text) {
    Input input(text);
    return read(input);
}

} // namespace lorekeep
