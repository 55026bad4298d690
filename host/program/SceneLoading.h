#pragma once

#include "ViewerOptions.h"
#include "drawing/Scene.h"

#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace OrrinViewer {

class FileLoader;

/// Has the scene drawn as the options ask, what comes to it later too.
void StyleScene(Scene& scene, const ViewerOptions& options);

/// Reads files for a scene on a thread of its own, one after the other. A file that cannot be read does not stop the
/// others. All functions are for the thread that draws.
class SceneLoading {
public:
    /// Throws std::runtime_error when the register does not know the coordinate system that the options name.
    SceneLoading(Scene& scene, const ViewerOptions& options);
    /// Stops, and waits for the file that is being read.
    ~SceneLoading();
    SceneLoading(const SceneLoading&) = delete;
    SceneLoading& operator=(const SceneLoading&) = delete;

    /// Reads these after those that are still to be read.
    void Add(const std::vector<std::filesystem::path>& files);
    /// Gives up the files that are still to be read.
    void Stop();
    /// Whether more is to come by Update. Clouds are read on after that, see Scene::IsReading.
    bool IsLoading() const;
    /// Brings what has been read to the scene, whose version is another one then.
    void Update();
    void WaitUntilLoaded();

    struct Progress {
        std::string name;           ///< of the file that is being read, UTF-8
        std::size_t fileNumber = 0; ///< of that file, from 1
        std::size_t fileCount = 0;
    };
    Progress GetProgress() const;
    /// What was wrong with files, a line each.
    std::vector<std::string> GetFaults() const;

private:
    using Addition = std::function<void(Scene& scene)>;

    void Run();
    std::optional<std::filesystem::path> TakeNext();

    Scene& m_scene;
    const ViewerOptions& m_options;
    std::unique_ptr<FileLoader> m_loader; ///< of the thread
    std::thread m_thread;
    mutable std::mutex m_mutex; ///< of all that follows
    std::deque<std::filesystem::path> m_queue;
    std::string m_current;
    std::size_t m_fileCount = 0;
    std::vector<Addition> m_additions;
    std::vector<std::string> m_faults;
    bool m_wantsRelief; ///< a computed one, once everything else is there
    bool m_isRunning = false;
};

} // namespace OrrinViewer
