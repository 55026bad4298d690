#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace OrrinViewer {

/// The largest sides of a picture that PictureFile writes, in pixels.
inline constexpr int kLargestPictureSide = 65'500;

/// Writes a picture from its upper row to its lower one, as PNG or JPEG by the ending of the name. A PNG needs no more
/// memory than a few rows, a JPEG is kept whole until its end. What was there before stays until the picture is whole.
class PictureFile {
public:
    /// Throws FileError when the file cannot be made, and for sizes that the format does not have.
    PictureFile(const std::filesystem::path& path, int widthPixels, int heightPixels);
    /// Leaves nothing behind of a picture that is not finished.
    ~PictureFile();
    PictureFile(const PictureFile&) = delete;
    PictureFile& operator=(const PictureFile&) = delete;

    /// Takes the next row: red, green and blue of each pixel. Throws FileError when it cannot be written.
    void PutRow(std::span<const std::uint8_t> rgb);
    /// All rows are there. Throws FileError.
    void Finish();

    class Format;

private:
    void Put(const std::string& bytes);

    std::filesystem::path m_path;
    std::filesystem::path m_draft;
    std::unique_ptr<Format> m_format;
    struct Output;
    std::unique_ptr<Output> m_output;
};

} // namespace OrrinViewer
