#include "ScenePainter.h"

#include <algorithm>
#include <numbers>
#include <string>

namespace lorekeep::sample {
namespace {

Rgb blend(Rgb from, Rgb to, double share) {
    const auto channel = [share](int a, int b) { return static_cast<std::uint8_t>(a + (b - a) * share); };
    return {channel(from.red, to.red), channel(from.green, to.green), channel(from.blue, to.blue)};
}

void shadowedText(Picture& picture, int x, int y, int scale, const std::string& text) {
    picture.text(x + 1, y + 1, scale, text, {20, 20, 30});
    picture.text(x, y, scale, text, {255, 255, 255});
}

} // namespace

Picture ScenePainter::still(const SampleAsset& asset, int width, int height) {
    return paint(asset, width, height, 0, std::nullopt);
}

Picture ScenePainter::frame(const SampleAsset& asset, int width, int height, int index, int count) {
    return paint(asset, width, height, count > 1 ? double(index) / (count - 1) : 0.0, index + 1);
}

Picture ScenePainter::paint(const SampleAsset& asset, int width, int height, double progress,
                            std::optional<int> frameNumber) {
    const Scene& scene = asset.scene;
    Picture picture(width, height);
    picture.verticalGradient(0, height, scene.skyTop, scene.skyHorizon);
    const double sunX = (scene.sunX + 0.12 * progress) * width;
    const double sunY = (scene.sunY - 0.1 * progress) * height;
    picture.disc(sunX, sunY, 0.09 * height, scene.sun);

    const double phase = static_cast<double>(asset.title.size()) + 1.5 * progress;
    const double wave = 2 * std::numbers::pi / width;
    picture.hills(0.55 * height, 0.04 * height, 1.7 * wave, phase, blend(scene.hillTop, scene.skyHorizon, 0.45),
                  blend(scene.hillBottom, scene.skyHorizon, 0.35));
    picture.hills(0.64 * height, 0.05 * height, 1.1 * wave, -phase, scene.hillTop, scene.hillBottom);

    const int scale = std::max(1, width / 110);
    const int titleX = (width - Picture::textWidth(asset.title, scale)) / 2;
    shadowedText(picture, titleX, static_cast<int>(0.74 * height), scale, asset.title);
    std::string label = asset.originalFilename.substr(0, asset.originalFilename.rfind('.'));
    if (frameNumber)
        label += " " + std::to_string(*frameNumber);
    shadowedText(picture, 3, 3, 1, label);
    return picture;
}

} // namespace lorekeep::sample
