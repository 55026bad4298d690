#pragma once

#include "data/ReadingProgress.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace OrrinViewer {

/// A file read once from front to back, in chunks, so that its size does not matter to memory. Every fault is thrown as
/// a FileError that names the file. Chunk by chunk the progress of the thread that opened it is told, which may
/// end the reading.
///
/// There is no seeking: what is not wanted is skipped. Offsets stay 64-bit on every standard library that way.
class InputFile {
public:
    /// Opens the file. FileError when there is none, when it is a folder, cannot be opened, or is empty.
    explicit InputFile(const std::filesystem::path& path);

    std::uint64_t Size() const { return m_size; }
    std::uint64_t Offset() const { return m_offset; }
    std::uint64_t Remaining() const { return m_size - m_offset; }

    /// The number of the line that ReadLine returned last, counted from 1; 0 before the first.
    std::uint64_t LineNumber() const { return m_lineNumber; }

    /// Fills `bytes` with what comes next. FileError when the file ends before.
    void Read(std::span<std::uint8_t> bytes);

    /// Passes over `count` bytes. FileError when the file ends before.
    void Skip(std::uint64_t count);

    /// Takes the text up to the next line feed, without it and without a carriage return before it. The last line may
    /// lack its line feed. False at the end of the file; FileError for a line of more than `longest` characters, which
    /// no text file of the kind has.
    bool ReadLine(std::string& line, std::size_t longest);

    /// Throws a FileError about this file.
    [[noreturn]] void Fail(const std::string& problem) const;

    /// Throws a FileError that begins with the current line's number.
    [[noreturn]] void FailAtLine(const std::string& problem) const;

private:
    bool FillChunk();
    std::span<const std::uint8_t> UnreadChunk() const;
    void Advance(std::size_t count);

    std::filesystem::path m_path;
    std::ifstream m_stream;
    std::uint64_t m_size = 0;
    std::uint64_t m_offset = 0;
    std::uint64_t m_lineNumber = 0;
    std::shared_ptr<ReadingProgress> m_progress = ReadingProgress::OfThisThread();
    std::vector<std::uint8_t> m_chunk;
    std::size_t m_chunkUsed = 0;
    std::size_t m_chunkRead = 0;
};

} // namespace OrrinViewer
