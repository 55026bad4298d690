#pragma once

#include "Project.h"
#include "ViewerOptions.h"
#include "data/ReadingProgress.h"
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
class ProjectOrder;
struct ProjectFilePart;

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
    /// The same with the layers of a project, in its order and styles. Its coordinate system is the scene's where that
    /// has none yet.
    void Add(const Project& project);
    /// Stops and empties the scene, whose main context must be current; what comes next is as if nothing had been.
    void Clear();
    /// Tells it with what is wrong with files.
    void AddFault(std::string fault);
    /// Ends the reading: of files that have not been read to their end nothing comes to the scene, but of clouds the
    /// points so far. The scene's remarks tell what is missing.
    void Stop();
    /// Whether the file that was being read has not ended yet.
    bool IsStopping() const;
    /// Whether something is missing for that reason.
    bool WasStopped() const;
    /// Whether more is to come by Update. Clouds are read on after that, see Scene::IsReading.
    bool IsLoading() const;
    /// Brings what has been read to the scene, whose version is another one then.
    void Update();
    void WaitUntilLoaded();

    struct Progress {
        std::string name;           ///< of the file that is being read, UTF-8
        std::size_t fileNumber = 0; ///< of that file, from 1
        std::size_t fileCount = 0;
        ReadingState state;
    };
    Progress GetProgress() const;
    /// What was wrong with files, a line each.
    std::vector<std::string> GetFaults() const;

private:
    using Addition = std::function<void(Scene& scene)>;

    void Run();
    std::deque<std::filesystem::path> StopThread();
    std::optional<std::filesystem::path> TakeNext();
    std::optional<ProjectFilePart> TakePart(const std::filesystem::path& file);
    std::string FindPreferredSystem() const;
    void NoteStopped();

    Scene& m_scene;
    const ViewerOptions& m_options;
    std::unique_ptr<FileLoader> m_loader; ///< of the thread
    std::shared_ptr<ProjectOrder> m_order;
    int m_lastPlace = 0; ///< of a project's layer
    std::thread m_thread;
    mutable std::mutex m_mutex; ///< of all that follows
    std::deque<std::filesystem::path> m_queue;
    std::string m_current;
    std::shared_ptr<ReadingProgress> m_progress; ///< of that
    std::size_t m_fileCount = 0;                 ///< since nothing was to be read
    bool m_wasStopped = false;
    std::vector<ProjectFilePart> m_parts; ///< of files in the queue
    std::string m_preferredSystem;
    bool m_hasReliefs = false; ///< one of the files makes one
    std::vector<Addition> m_additions;
    std::vector<std::string> m_faults;
    bool m_wantsRelief; ///< a computed one, once everything else is there
    bool m_isRunning = false;
};

} // namespace OrrinViewer
