#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace lorekeep {

/// An instant, held as seconds since 2001-01-01 00:00:00 UTC: the reference date of the Photos library and of the
/// backup index, so that dates read from either round-trip without conversion.
class Date {
public:
    /// Seconds between 1970-01-01 and 2001-01-01 (UTC).
    static constexpr double unixToReference = 978307200.0;

    constexpr Date() = default;
    static constexpr Date fromReferenceSeconds(double seconds) { return Date(seconds); }
    static constexpr Date fromUnixSeconds(double seconds) { return Date(seconds - unixToReference); }
    static Date now();

    constexpr double referenceSeconds() const { return m_seconds; }
    constexpr double unixSeconds() const { return m_seconds + unixToReference; }

    /// Adds seconds; negative values go back in time.
    constexpr Date addingSeconds(double seconds) const { return Date(m_seconds + seconds); }

    /// ISO 8601 in UTC with whole seconds ("2024-05-05T12:03:27Z").
    std::string iso8601() const;
    /// Reads "yyyy-MM-ddTHH:mm:ss" followed by "Z" or an offset "+hh:mm" / "-hh:mm"; nothing for other text.
    static std::optional<Date> fromIso8601(std::string_view text);

    friend constexpr auto operator<=>(const Date&, const Date&) = default;
    friend constexpr bool operator==(const Date&, const Date&) = default;

private:
    constexpr explicit Date(double seconds) : m_seconds(seconds) {}
    double m_seconds = 0;
};

} // namespace lorekeep
