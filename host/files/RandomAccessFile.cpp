#include "RandomAccessFile.h"

#include "DiskPath.h"
#include "FileError.h"
#include "InputFile.h"

namespace OrrinViewer {

namespace {

std::FILE* OpenToRead(const std::filesystem::path& path) {
#ifdef _WIN32
    return _wfopen(DiskPath(path).c_str(), L"rb");
#else
    return std::fopen(path.c_str(), "rb");
#endif
}

/// NOTE: The standard streams of some compilers for Windows count positions in 32 bits.
bool Seek(std::FILE* file, std::uint64_t offset) {
#ifdef _WIN32
    return _fseeki64(file, static_cast<long long>(offset), SEEK_SET) == 0;
#else
    return std::fseek(file, static_cast<long>(offset), SEEK_SET) == 0;
#endif
}

} // namespace

RandomAccessFile::RandomAccessFile(const std::filesystem::path& path) : m_path(path) {
    m_size = InputFile(path).Size(); // for its words on a file that is missing, empty or locked
    m_stream.reset(OpenToRead(path));
    if (!m_stream) {
        Fail("cannot be opened; another program may hold it");
    }
}

void RandomAccessFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> bytes) {
    if (ReadSome(offset, bytes) != bytes.size()) {
        Fail("ends at byte " + std::to_string(m_size) + ", in the middle of its data");
    }
}

std::size_t RandomAccessFile::ReadSome(std::uint64_t offset, std::span<std::uint8_t> bytes) {
    if (offset >= m_size || (m_at != offset && !Seek(m_stream.get(), offset))) {
        return 0;
    }
    const std::size_t read = std::fread(bytes.data(), 1, bytes.size(), m_stream.get());
    m_at = offset + read;
    return read;
}

void RandomAccessFile::Fail(const std::string& problem) const {
    throw FileError(m_path, problem);
}

} // namespace OrrinViewer
