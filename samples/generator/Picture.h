#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace lorekeep::sample {

struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;

    friend bool operator==(const Rgb&, const Rgb&) = default;
};

/// An 8-bit RGB raster with the few drawing operations the sample pictures are made of.
class Picture {
public:
    Picture(int width, int height);

    [[nodiscard]] int width() const { return m_width; }
    [[nodiscard]] int height() const { return m_height; }
    [[nodiscard]] Rgb at(int x, int y) const;
    void set(int x, int y, Rgb colour);

    /// Rows y0..y1 (exclusive) filled from `top` to `bottom`.
    void verticalGradient(int y0, int y1, Rgb top, Rgb bottom);
    void disc(double centreX, double centreY, double radius, Rgb colour);
    void rectangle(int x, int y, int width, int height, Rgb colour);
    /// Fills everything below a wave y = base + amplitude * sin(x * frequency + phase), shaded towards `bottom`.
    void hills(double base, double amplitude, double frequency, double phase, Rgb top, Rgb bottom);
    /// Upper-case letters, digits and " -:./" in a 5x7 pixel font, each pixel `scale` pixels wide.
    void text(int x, int y, int scale, std::string_view text, Rgb colour);
    [[nodiscard]] static int textWidth(std::string_view text, int scale);

    /// The part of the picture at x, y of the given size.
    [[nodiscard]] Picture cropped(int x, int y, int width, int height) const;
    /// Every other pixel in both directions, averaged.
    [[nodiscard]] Picture halved() const;

private:
    int m_width;
    int m_height;
    std::vector<Rgb> m_pixels;
};

} // namespace lorekeep::sample
