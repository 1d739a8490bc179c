#pragma once

#include "library/PhotoLibrary.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace lorekeep::fuzz {

/// A folder of this process's own, removed when the process ends normally. On a memory file system when there is
/// one, since some targets write a file for every input.
const std::filesystem::path& scratch();

/// The sample Photos library, written into the scratch folder on first use.
const std::filesystem::path& sampleLibrary();

/// Packages of real Photos libraries that the build was pointed at; empty when there are none.
std::vector<std::filesystem::path> realLibraries();

/// Replaces a file's contents.
void writeFile(const std::filesystem::path& file, std::string_view bytes);
std::string readFile(const std::filesystem::path& file);

/// Asks the library everything a backup asks: every asset with its resources, file plan and metadata record, the
/// album tree, the albums of each asset, the change token and the history since the start. Library errors are
/// what damaged input is expected to give, and are swallowed.
void readEverything(PhotoLibrary& library, const std::filesystem::path& exportFolder);

/// Reads the fuzzer's input front to back.
class InputReader {
public:
    InputReader(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    [[nodiscard]] bool empty() const { return m_position >= m_size; }
    std::uint8_t byte();
    std::uint32_t number();
    /// Up to `most` bytes, the first of them giving the length.
    std::string text(std::size_t most);
    /// Everything not read yet.
    std::string rest();

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_position = 0;
};

} // namespace lorekeep::fuzz
