#include "ChunkFile.h"

#include <algorithm>

namespace KTR {

namespace {

/// One call to the system takes no more than 32 bits of bytes, and some network drives less.
constexpr std::size_t kMostBytesAtOnce = std::size_t{16} << 20;

long LastResult() {
    const DWORD error = GetLastError();
    return error != ERROR_SUCCESS ? HRESULT_FROM_WIN32(error) : E_FAIL;
}

OVERLAPPED PlaceInFile(unsigned long long at) {
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(at);
    place.OffsetHigh = static_cast<DWORD>(at >> 32);
    return place;
}

} // namespace

long ChunkFile::Open(const CString& folder) {
    if (m_file != INVALID_HANDLE_VALUE) {
        return S_OK;
    }
    wchar_t place[MAX_PATH + 1] = {};
    if (folder.IsEmpty() && GetTempPathW(MAX_PATH + 1, place) == 0) {
        return LastResult();
    }
    wchar_t name[MAX_PATH] = {};
    if (GetTempFileNameW(folder.IsEmpty() ? place : static_cast<const wchar_t*>(folder), L"orp", 0, name) == 0) {
        return LastResult();
    }
    m_file = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE | FILE_FLAG_RANDOM_ACCESS, nullptr);
    if (m_file == INVALID_HANDLE_VALUE) {
        const long result = LastResult();
        DeleteFileW(name);
        return result;
    }
    return S_OK;
}

void ChunkFile::Close() {
    if (m_file != INVALID_HANDLE_VALUE) {
        CloseHandle(m_file);
        m_file = INVALID_HANDLE_VALUE;
    }
}

long ChunkFile::Write(unsigned long long at, const void* bytes, std::size_t count) const {
    const auto* next = static_cast<const unsigned char*>(bytes);
    while (count > 0) {
        OVERLAPPED place = PlaceInFile(at);
        DWORD done = 0;
        if (!WriteFile(m_file, next, static_cast<DWORD>(std::min(count, kMostBytesAtOnce)), &done, &place)) {
            return LastResult();
        }
        if (done == 0) {
            return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
        }
        next += done;
        at += done;
        count -= done;
    }
    return S_OK;
}

long ChunkFile::Read(unsigned long long at, void* bytes, std::size_t count) const {
    auto* next = static_cast<unsigned char*>(bytes);
    while (count > 0) {
        OVERLAPPED place = PlaceInFile(at);
        DWORD done = 0;
        if (!ReadFile(m_file, next, static_cast<DWORD>(std::min(count, kMostBytesAtOnce)), &done, &place)) {
            return LastResult();
        }
        if (done == 0) {
            return HRESULT_FROM_WIN32(ERROR_HANDLE_EOF);
        }
        next += done;
        at += done;
        count -= done;
    }
    return S_OK;
}

} // namespace KTR
