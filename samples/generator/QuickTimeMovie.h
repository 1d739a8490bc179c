#pragma once

#include "SampleCatalog.h"

#include <optional>
#include <string>
#include <vector>

namespace lorekeep::sample {

/// A QuickTime movie (.mov) of one Motion-JPEG video track, with Apple's metadata keys for the creation date, the
/// location and, for the video of a Live Photo, the content identifier that pairs it with its still.
class QuickTimeMovie {
public:
    QuickTimeMovie(int width, int height, int framesPerSecond);

    /// Appends a frame, a complete baseline JPEG of the movie's size.
    void addFrame(std::string jpeg);

    void setCreationDate(const LocalTime& created) { m_created = created; }
    void setLocation(const Place& place) { m_place = place; }
    void setContentIdentifier(std::string identifier) { m_contentIdentifier = std::move(identifier); }

    /// The file: "ftyp", "moov", then the frames in "mdat".
    [[nodiscard]] std::string build() const;

private:
    [[nodiscard]] std::string movieAtom(std::uint32_t mediaOffset) const;
    [[nodiscard]] std::string trackAtom() const;
    [[nodiscard]] std::string metadataAtom() const;

    int m_width;
    int m_height;
    int m_framesPerSecond;
    std::vector<std::string> m_frames;
    LocalTime m_created;
    std::optional<Place> m_place;
    std::string m_contentIdentifier;
};

} // namespace lorekeep::sample
