#pragma once

#include "TiffFile.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace OrrinViewer {

/// A small edition of a large image whose file has none. Without it each coarse level that is looked at would read the
/// whole file; this reads it once, in a thread of its own, from the north to the south.
class TiffOverview {
public:
    /// The level that it would have; none where the file's own overviews will do, or the image is small.
    static std::optional<int> FindLevel(const TiffFile& file);

    TiffOverview(const std::filesystem::path& path, int level);
    ~TiffOverview();
    TiffOverview(const TiffOverview&) = delete;
    TiffOverview& operator=(const TiffOverview&) = delete;

    int Level() const { return m_level; }
    /// Fills in a window of this level or a coarser one, four bytes a pixel: red, green, blue and opacity, or a float.
    /// False where that has not been read yet, unless one waits for it. Throws what the reading has thrown.
    bool Read(const TiffWindow& window, bool waits, void* pixels);

private:
    void ReadFile();
    void MeanOf(const TiffWindow& window, int row, int column, void* pixel) const;

    TiffFile m_file; // of the thread
    int m_level;
    int m_width;
    int m_height;
    bool m_hasColors;
    std::vector<std::uint8_t> m_colors; // one of the two
    std::vector<float> m_values;
    std::mutex m_mutex; ///< of what follows; what has been read is not changed any more
    std::condition_variable m_progress;
    int m_rowsRead = 0;
    std::exception_ptr m_fault;
    std::atomic<bool> m_stops = false;
    std::thread m_thread; // the last: it uses all of the others
};

} // namespace OrrinViewer
