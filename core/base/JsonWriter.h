#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep {

/// Streaming JSON text writer with the output conventions of our files: compact or pretty ("key" : value, two
/// spaces per level), "/" escaped as "\/" or left alone, non-ASCII written as UTF-8, numbers in their shortest
/// form that reads back to the same double.
///
/// The text accumulates in output(); a caller writing a large document may drain it between values.
class JsonWriter {
public:
    struct Options {
        bool pretty = false;
        bool escapeSlashes = true;
    };

    JsonWriter() = default;
    explicit JsonWriter(Options options) : m_options(options) {}

    void startObject();
    void endObject();
    void startArray();
    void endArray();
    void key(std::string_view name);
    void string(std::string_view value);
    /// Throws JsonError for NaN and infinities, which JSON cannot carry.
    void number(double value);
    void integer(std::int64_t value);
    void boolean(bool value);
    void null();

    std::string& output() { return m_out; }

private:
    void beforeValue();
    void close(char bracket);
    void newline();
    void appendEscaped(std::string_view text);

    struct Level {
        bool isObject;
        bool empty = true;
    };

    Options m_options;
    std::string m_out;
    std::vector<Level> m_levels;
    bool m_afterKey = false;
};

} // namespace lorekeep
