#pragma once

#include "Project.h"
#include "SceneLoading.h"
#include "drawing/Scene.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// What a person has opened: files, or a project with its files. All functions are for the thread that draws.
class Document {
public:
    Document(Scene& scene, SceneLoading& loading) : m_scene(scene), m_loading(loading) {}

    /// Adds files to what there is. A folder stands for the files of known kinds that lie in it. A project brings its
    /// layers, its settings and a view along, and is what the scene is saved as where nothing was there before. What
    /// cannot be opened is told with the other faults of loading.
    void Add(const std::vector<std::filesystem::path>& files);
    /// Takes away all that there is. The scene's main context must be current.
    void Clear();
    /// The view of the project that was opened last, for the windows to show; once.
    std::optional<ProjectView> TakeView();

    /// Learns what the project's files gave, once they have been read. True where that is news.
    bool Update();
    /// Whether the project would now be saved otherwise than it was saved or opened. It does not matter what a view
    /// shows: looking around changes nothing. False without a project, and while its files are read.
    bool IsChanged() const;

    /// Writes a project, whose name is the document's from then on. Throws FileError.
    void Save(const std::filesystem::path& path, const std::optional<ProjectView>& view);
    /// Empty while there is none.
    const std::filesystem::path& GetProject() const { return m_project; }
    /// What was opened, to be opened again: projects and files, none of a project.
    const std::vector<std::filesystem::path>& GetFiles() const { return m_files; }
    /// For a title, UTF-8: the project's name, or "survey.las and 2 more"; empty where nothing is open.
    std::string GetName() const;

private:
    void AddProject(const std::filesystem::path& path);

    Scene& m_scene;
    SceneLoading& m_loading;
    std::filesystem::path m_project;
    std::vector<std::filesystem::path> m_files;
    std::optional<ProjectView> m_view; ///< not taken yet
    std::optional<Project> m_opened;   ///< while its files are read
    std::optional<Project> m_saved;    ///< the project as it was saved or opened, without its view
};

/// The files of known kinds that lie in a folder, by name; files that only serve others, and projects, are left out.
std::vector<std::filesystem::path> ListKnownFiles(const std::filesystem::path& folder);

} // namespace OrrinViewer
