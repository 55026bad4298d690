#include "InputFile.h"

#include "DiskPath.h"
#include "FileError.h"

#include <algorithm>

namespace OrrinViewer {

namespace {

constexpr std::size_t kChunkBytes = 1u << 18;

} // namespace

InputFile::InputFile(const std::filesystem::path& path) : m_path(path) {
    const DiskEntry entry = FindOnDisk(path);
    if (entry.kind == DiskEntry::Kind::Nothing) {
        Fail("there is no such file");
    }
    if (entry.kind == DiskEntry::Kind::Folder) {
        Fail("is a folder, not a file");
    }
    m_size = entry.size;
    if (m_size == 0) {
        Fail("the file is empty");
    }
    m_stream.open(DiskPath(path), std::ios::in | std::ios::binary);
    if (!m_stream) {
        Fail("cannot be opened; another program may hold it, or reading it is not permitted");
    }
    m_chunk.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kChunkBytes, m_size)));
}

void InputFile::Read(std::span<std::uint8_t> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        if (UnreadChunk().empty() && !FillChunk()) {
            Fail("ends at byte " + std::to_string(m_offset) + ", in the middle of its data");
        }
        const std::span<const std::uint8_t> unread = UnreadChunk();
        const std::size_t taken = std::min(unread.size(), bytes.size() - done);
        std::copy_n(unread.begin(), taken, bytes.begin() + static_cast<std::ptrdiff_t>(done));
        Advance(taken);
        done += taken;
    }
}

void InputFile::Skip(std::uint64_t count) {
    while (count > 0) {
        if (UnreadChunk().empty() && !FillChunk()) {
            Fail("ends at byte " + std::to_string(m_offset) + ", in the middle of its data");
        }
        const auto passed = static_cast<std::size_t>(std::min<std::uint64_t>(UnreadChunk().size(), count));
        Advance(passed);
        count -= passed;
    }
}

bool InputFile::ReadLine(std::string& line, std::size_t longest) {
    line.clear();
    if (UnreadChunk().empty() && !FillChunk()) {
        return false;
    }
    ++m_lineNumber;
    bool atEndOfLine = false;
    while (!atEndOfLine && (!UnreadChunk().empty() || FillChunk())) {
        const std::span<const std::uint8_t> unread = UnreadChunk();
        const auto lineFeed = std::find(unread.begin(), unread.end(), std::uint8_t{'\n'});
        atEndOfLine = lineFeed != unread.end();
        const auto length = static_cast<std::size_t>(lineFeed - unread.begin());
        if (line.size() + length > longest) {
            FailAtLine("the line goes on for more than " + std::to_string(longest) + " characters");
        }
        line.append(unread.begin(), lineFeed);
        Advance(length + (atEndOfLine ? 1 : 0));
    }
    if (line.ends_with('\r')) {
        line.pop_back();
    }
    return true;
}

void InputFile::Fail(const std::string& problem) const {
    throw FileError(m_path, problem);
}

void InputFile::FailAtLine(const std::string& problem) const {
    Fail("line " + std::to_string(m_lineNumber) + ": " + problem);
}

/// Reads the next chunk. False at the end of the file, which is also where one ends that another program has shortened
/// since it was opened.
bool InputFile::FillChunk() {
    m_chunkUsed = 0;
    const std::uint64_t wanted = std::min<std::uint64_t>(m_chunk.size(), Remaining());
    m_stream.read(reinterpret_cast<char*>(m_chunk.data()), static_cast<std::streamsize>(wanted));
    m_chunkRead = static_cast<std::size_t>(m_stream.gcount());
    m_progress->Reach(m_offset + m_chunkRead, m_size);
    return m_chunkRead > 0;
}

std::span<const std::uint8_t> InputFile::UnreadChunk() const {
    return {m_chunk.data() + m_chunkUsed, m_chunkRead - m_chunkUsed};
}

void InputFile::Advance(std::size_t count) {
    m_chunkUsed += count;
    m_offset += count;
}

} // namespace OrrinViewer
