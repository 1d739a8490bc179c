#include "Picture.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace lorekeep::sample {
namespace {

struct Glyph {
    char character;
    std::array<const char*, 7> rows;
};

// A plain 5x7 font, enough for titles and counters.
constexpr std::array glyphs{
    Glyph{'A', {".###.", "#...#", "#...#", "#####", "#...#", "#...#", "#...#"}},
    Glyph{'B', {"####.", "#...#", "#...#", "####.", "#...#", "#...#", "####."}},
    Glyph{'C', {".###.", "#...#", "#....", "#....", "#....", "#...#", ".###."}},
    Glyph{'D', {"####.", "#...#", "#...#", "#...#", "#...#", "#...#", "####."}},
    Glyph{'E', {"#####", "#....", "#....", "####.", "#....", "#....", "#####"}},
    Glyph{'F', {"#####", "#....", "#....", "####.", "#....", "#....", "#...."}},
    Glyph{'G', {".###.", "#...#", "#....", "#.###", "#...#", "#...#", ".####"}},
    Glyph{'H', {"#...#", "#...#", "#...#", "#####", "#...#", "#...#", "#...#"}},
    Glyph{'I', {".###.", "..#..", "..#..", "..#..", "..#..", "..#..", ".###."}},
    Glyph{'J', {"..###", "...#.", "...#.", "...#.", "...#.", "#..#.", ".##.."}},
    Glyph{'K', {"#...#", "#..#.", "#.#..", "##...", "#.#..", "#..#.", "#...#"}},
    Glyph{'L', {"#....", "#....", "#....", "#....", "#....", "#....", "#####"}},
    Glyph{'M', {"#...#", "##.##", "#.#.#", "#.#.#", "#...#", "#...#", "#...#"}},
    Glyph{'N', {"#...#", "#...#", "##..#", "#.#.#", "#..##", "#...#", "#...#"}},
    Glyph{'O', {".###.", "#...#", "#...#", "#...#", "#...#", "#...#", ".###."}},
    Glyph{'P', {"####.", "#...#", "#...#", "####.", "#....", "#....", "#...."}},
    Glyph{'Q', {".###.", "#...#", "#...#", "#...#", "#.#.#", "#..#.", ".##.#"}},
    Glyph{'R', {"####.", "#...#", "#...#", "####.", "#.#..", "#..#.", "#...#"}},
    Glyph{'S', {".####", "#....", "#....", ".###.", "....#", "....#", "####."}},
    Glyph{'T', {"#####", "..#..", "..#..", "..#..", "..#..", "..#..", "..#.."}},
    Glyph{'U', {"#...#", "#...#", "#...#", "#...#", "#...#", "#...#", ".###."}},
    Glyph{'V', {"#...#", "#...#", "#...#", "#...#", "#...#", ".#.#.", "..#.."}},
    Glyph{'W', {"#...#", "#...#", "#...#", "#.#.#", "#.#.#", "#.#.#", ".#.#."}},
    Glyph{'X', {"#...#", "#...#", ".#.#.", "..#..", ".#.#.", "#...#", "#...#"}},
    Glyph{'Y', {"#...#", "#...#", ".#.#.", "..#..", "..#..", "..#..", "..#.."}},
    Glyph{'Z', {"#####", "....#", "...#.", "..#..", ".#...", "#....", "#####"}},
    Glyph{'0', {".###.", "#...#", "#..##", "#.#.#", "##..#", "#...#", ".###."}},
    Glyph{'1', {"..#..", ".##..", "..#..", "..#..", "..#..", "..#..", ".###."}},
    Glyph{'2', {".###.", "#...#", "....#", "...#.", "..#..", ".#...", "#####"}},
    Glyph{'3', {"####.", "....#", "....#", ".###.", "....#", "....#", "####."}},
    Glyph{'4', {"...#.", "..##.", ".#.#.", "#..#.", "#####", "...#.", "...#."}},
    Glyph{'5', {"#####", "#....", "####.", "....#", "....#", "#...#", ".###."}},
    Glyph{'6', {"..##.", ".#...", "#....", "####.", "#...#", "#...#", ".###."}},
    Glyph{'7', {"#####", "....#", "...#.", "..#..", ".#...", ".#...", ".#..."}},
    Glyph{'8', {".###.", "#...#", "#...#", ".###.", "#...#", "#...#", ".###."}},
    Glyph{'9', {".###.", "#...#", "#...#", ".####", "....#", "...#.", ".##.."}},
    Glyph{'-', {".....", ".....", ".....", "#####", ".....", ".....", "....."}},
    Glyph{':', {".....", "..#..", "..#..", ".....", "..#..", "..#..", "....."}},
    Glyph{'.', {".....", ".....", ".....", ".....", ".....", ".##..", ".##.."}},
    Glyph{'_', {".....", ".....", ".....", ".....", ".....", ".....", "#####"}},
    Glyph{'/', {"....#", "....#", "...#.", "..#..", ".#...", "#....", "#...."}},
};

const Glyph* glyphOf(char character) {
    for (const Glyph& glyph : glyphs) {
        if (glyph.character == character)
            return &glyph;
    }
    return nullptr;
}

std::uint8_t mix(std::uint8_t from, std::uint8_t to, double share) {
    return static_cast<std::uint8_t>(std::lround(from + (to - from) * std::clamp(share, 0.0, 1.0)));
}

Rgb mix(Rgb from, Rgb to, double share) {
    return {mix(from.red, to.red, share), mix(from.green, to.green, share), mix(from.blue, to.blue, share)};
}

} // namespace

Picture::Picture(int width, int height)
    : m_width(width), m_height(height), m_pixels(static_cast<std::size_t>(width) * height) {}

Rgb Picture::at(int x, int y) const {
    return m_pixels[static_cast<std::size_t>(y) * m_width + x];
}

void Picture::set(int x, int y, Rgb colour) {
    if (x >= 0 && y >= 0 && x < m_width && y < m_height)
        m_pixels[static_cast<std::size_t>(y) * m_width + x] = colour;
}

void Picture::verticalGradient(int y0, int y1, Rgb top, Rgb bottom) {
    for (int y = std::max(0, y0); y < std::min(m_height, y1); ++y) {
        const Rgb colour = mix(top, bottom, y1 - y0 > 1 ? double(y - y0) / (y1 - y0 - 1) : 0.0);
        for (int x = 0; x < m_width; ++x)
            set(x, y, colour);
    }
}

void Picture::disc(double centreX, double centreY, double radius, Rgb colour) {
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            const double distance = std::hypot(x + 0.5 - centreX, y + 0.5 - centreY);
            // One pixel of soft edge keeps the outline from looking jagged.
            if (distance < radius + 0.5)
                set(x, y, mix(at(x, y), colour, radius + 0.5 - distance));
        }
    }
}

void Picture::rectangle(int x, int y, int width, int height, Rgb colour) {
    for (int row = y; row < y + height; ++row) {
        for (int column = x; column < x + width; ++column)
            set(column, row, colour);
    }
}

void Picture::hills(double base, double amplitude, double frequency, double phase, Rgb top, Rgb bottom) {
    for (int x = 0; x < m_width; ++x) {
        const double ridge = base + amplitude * std::sin(x * frequency + phase);
        for (int y = std::max(0, static_cast<int>(std::floor(ridge))); y < m_height; ++y) {
            const double depth = (y - ridge) / std::max(1.0, m_height - ridge);
            const Rgb colour = mix(top, bottom, depth);
            set(x, y, y + 1 - ridge < 1 ? mix(at(x, y), colour, y + 1 - ridge) : colour);
        }
    }
}

void Picture::text(int x, int y, int scale, std::string_view text, Rgb colour) {
    for (const char character : text) {
        if (const Glyph* glyph = glyphOf(character)) {
            for (int row = 0; row < 7; ++row) {
                for (int column = 0; column < 5; ++column) {
                    if (glyph->rows[row][column] == '#')
                        rectangle(x + column * scale, y + row * scale, scale, scale, colour);
                }
            }
        }
        x += 6 * scale;
    }
}

int Picture::textWidth(std::string_view text, int scale) {
    return text.empty() ? 0 : static_cast<int>(text.size()) * 6 * scale - scale;
}

Picture Picture::cropped(int x, int y, int width, int height) const {
    Picture result(width, height);
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column)
            result.set(column, row, at(std::clamp(x + column, 0, m_width - 1), std::clamp(y + row, 0, m_height - 1)));
    }
    return result;
}

Picture Picture::halved() const {
    Picture result(std::max(1, m_width / 2), std::max(1, m_height / 2));
    for (int y = 0; y < result.height(); ++y) {
        for (int x = 0; x < result.width(); ++x) {
            int red = 0;
            int green = 0;
            int blue = 0;
            for (const auto& [dx, dy] : {std::pair{0, 0}, std::pair{1, 0}, std::pair{0, 1}, std::pair{1, 1}}) {
                const Rgb pixel = at(std::min(2 * x + dx, m_width - 1), std::min(2 * y + dy, m_height - 1));
                red += pixel.red;
                green += pixel.green;
                blue += pixel.blue;
            }
            result.set(x, y,
                       {static_cast<std::uint8_t>((red + 2) / 4), static_cast<std::uint8_t>((green + 2) / 4),
                        static_cast<std::uint8_t>((blue + 2) / 4)});
        }
    }
    return result;
}

} // namespace lorekeep::sample
