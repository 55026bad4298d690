#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

namespace OrrinViewer {

/// A file of which any part can be read. Every fault is thrown as a FileError that names the file.
class RandomAccessFile {
public:
    /// Opens the file. FileError where InputFile has one.
    explicit RandomAccessFile(const std::filesystem::path& path);

    const std::filesystem::path& Path() const { return m_path; }
    std::uint64_t Size() const { return m_size; }

    /// Fills `bytes` with what stands at `offset`. FileError when the file ends before.
    void ReadAt(std::uint64_t offset, std::span<std::uint8_t> bytes);
    /// The same, as far as the file goes; tells how many bytes there were.
    std::size_t ReadSome(std::uint64_t offset, std::span<std::uint8_t> bytes);

    /// Throws a FileError about this file.
    [[noreturn]] void Fail(const std::string& problem) const;

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::filesystem::path m_path;
    std::uint64_t m_size = 0;
    std::uint64_t m_at = 0; ///< where the stream stands
    std::unique_ptr<std::FILE, Close> m_stream;
};

} // namespace OrrinViewer
