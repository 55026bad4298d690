#pragma once

#include "../Framework.h"

#include <cstddef>

namespace KTR {

/// A temporary file, written and read at any place from any thread. The system removes it when it is closed, also
/// where the program ends without that.
class ChunkFile {
public:
    ChunkFile() = default;
    ~ChunkFile() { Close(); }
    ChunkFile(const ChunkFile&) = delete;
    ChunkFile& operator=(const ChunkFile&) = delete;

    /// Makes the file in a folder; empty for the user's temporary one. A file that is open stays. S_OK, or the system's
    /// reason.
    long Open(const CString& folder);
    void Close();

    /// All of it, or a failure.
    long Write(unsigned long long at, const void* bytes, std::size_t count) const;
    long Read(unsigned long long at, void* bytes, std::size_t count) const;

private:
    HANDLE m_file = INVALID_HANDLE_VALUE;
};

} // namespace KTR
