#pragma once

#include "AllocationMeter.h"
#include "files/DiskPath.h"
#include "files/FileError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <utility>

namespace OrrinViewer {

/// The contents of a test's file, put together value by value. Numbers are stored little-endian unless `bigEndian`.
class FileBytes {
public:
    explicit FileBytes(bool bigEndian = false) : m_bigEndian(bigEndian) {}

    template <typename Number> FileBytes& Put(Number number) {
        char bytes[sizeof(Number)];
        std::memcpy(bytes, &number, sizeof(Number));
        m_content.append(m_bigEndian ? std::string(std::rbegin(bytes), std::rend(bytes))
                                     : std::string(std::begin(bytes), std::end(bytes)));
        return *this;
    }

    FileBytes& PutText(std::string_view text) {
        m_content += text;
        return *this;
    }

    /// Zeros up to the offset.
    FileBytes& FillTo(std::size_t offset) {
        m_content.resize(offset, '\0');
        return *this;
    }

    const std::string& Content() const { return m_content; }

private:
    bool m_bigEndian;
    std::string m_content;
};

/// A file that exists as long as this does.
class TemporaryFile {
public:
    TemporaryFile(const std::filesystem::path& ending, std::string_view content)
        : m_path(std::filesystem::temp_directory_path() / UniqueStem()) {
        m_path += ending;
        std::ofstream stream(m_path, std::ios::binary);
        Write(stream, content);
    }

    /// Other bytes, as many as there are. A file that is emptied before is brought to the disk, which takes
    /// milliseconds.
    void Overwrite(std::string_view content) const {
        std::fstream stream(m_path, std::ios::binary | std::ios::in | std::ios::out);
        Write(stream, content);
    }

    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

private:
    static void Write(std::ostream& stream, std::string_view content) {
        stream.write(content.data(), static_cast<std::streamsize>(content.size()));
        stream.flush();
        EXPECT_TRUE(stream.good()) << "cannot write a temporary file";
    }

    static std::string UniqueStem() {
        static const unsigned run = std::random_device{}();
        static unsigned count = 0;
        return "orrin_viewer_" + std::to_string(run) + "_" + std::to_string(++count);
    }

    std::filesystem::path m_path;
};

/// A folder whose path is longer than what programs of old could hold; it goes with this, and the files in it.
class LongFolder {
public:
    LongFolder() : m_path(std::filesystem::temp_directory_path()) {
        for (const char* const name : {"orrin_viewer_long_", "deep_"}) {
            m_path /= name + std::to_string(std::random_device{}()) + std::string(180, 'o');
            std::filesystem::create_directory(DiskPath(m_path));
        }
    }
    ~LongFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(DiskPath(m_path.parent_path()), ignored);
    }
    LongFolder(const LongFolder&) = delete;
    LongFolder& operator=(const LongFolder&) = delete;

    std::filesystem::path Write(const std::filesystem::path& name, std::string_view content) const {
        std::ofstream stream(DiskPath(m_path / name), std::ios::binary);
        stream.write(content.data(), static_cast<std::streamsize>(content.size()));
        EXPECT_TRUE(stream.good()) << "cannot write a temporary file";
        return m_path / name;
    }

private:
    std::filesystem::path m_path;
};

/// A file beside another one, with another ending; removed with this.
class SidecarFile {
public:
    SidecarFile(std::filesystem::path file, const char* ending, std::string_view content) : m_path(std::move(file)) {
        m_path.replace_extension(ending);
        std::ofstream stream(m_path, std::ios::binary);
        stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    }
    ~SidecarFile() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    SidecarFile(const SidecarFile&) = delete;
    SidecarFile& operator=(const SidecarFile&) = delete;

private:
    std::filesystem::path m_path;
};

/// What `read(path)` says about a file, or "" when it accepts it. Any other exception than a FileError, and a message
/// of several lines or without the file's name, fails the test.
template <typename Read> std::string ComplaintAbout(Read read, const TemporaryFile& file) {
    try {
        read(file.Path());
        return {};
    } catch (const FileError& error) {
        const std::string message = error.what();
        const std::string name = file.Path().filename().string();
        EXPECT_NE(message.find(name), std::string::npos) << message;
        EXPECT_EQ(message.find_first_of("\r\n"), std::string::npos) << message;
        return message.substr(message.find(name) + name.size());
    } catch (const std::exception& error) {
        ADD_FAILURE() << "not a FileError: " << error.what();
        return "another exception";
    }
}

/// The same about a file with the content.
template <typename Read> std::string Complaint(Read read, std::string_view content, const char* ending) {
    return ComplaintAbout(read, TemporaryFile(ending, content));
}

/// Cuts a file byte by byte down to nothing and calls `judge` with each length and what is said about what is left.
template <typename Read, typename Judge>
void CutByteByByte(Read read, std::string_view content, const char* ending, Judge judge) {
    const TemporaryFile file(ending, content);
    for (std::size_t length = content.size(); length-- > 0;) {
        std::filesystem::resize_file(file.Path(), length);
        judge(length, ComplaintAbout(read, file));
    }
}

/// What any reader may take whatever the file's size is: chunks to read in, names, a layer without features.
constexpr std::int64_t kReadersOwnBytes = 1 << 20;

/// How often a file is damaged at random. The environment may ask for more, to search rather than to guard; the checked
/// build looks for other faults, which show early.
inline int CountOfMutations() {
    if (const char* asked = std::getenv("ORRIN_MUTATIONS")) {
        return std::max(std::atoi(asked), 1);
    }
#ifdef ORRIN_CHECKED
    return 400;
#else
    return 2'000;
#endif
}

/// Reads many copies of the content, each with a few bytes changed at random, the same on each run. Returns how many of
/// them were refused. None may take more than four times its size: no count in a file is believed that the file does
/// not bear out. A copy that crashes the reader stays in the folder of temporary files.
template <typename Read>
int CountRefusedMutations(Read read, const std::string& content, const char* ending, std::int64_t mostHandedOut = 0) {
    std::mt19937 random(20261121);
    const TemporaryFile file(ending, content);
    EXPECT_EQ(ComplaintAbout(read, file), "") << "before anything was changed";
    int refused = 0;
    const int rounds = CountOfMutations();
    for (int round = 0; round < rounds; ++round) {
        std::string mutated = content;
        for (unsigned change = random() % 4 + 1; change > 0; --change) {
            mutated[random() % mutated.size()] = static_cast<char>(random());
        }
        file.Overwrite(mutated);
        const AllocationMeter meter;
        refused += ComplaintAbout(read, file).empty() ? 0 : 1;
        EXPECT_LE(meter.PeakBytes(), kReadersOwnBytes + 4 * static_cast<std::int64_t>(content.size()) + mostHandedOut)
            << "mutation " << round;
    }
    return refused;
}

} // namespace OrrinViewer
