#include "Document.h"

#include "ProjectFile.h"
#include "SceneProject.h"
#include "files/FileError.h"
#include "files/OpenFile.h"
#include "files/PathText.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace OrrinViewer {

namespace {

FileKind KindOf(const std::filesystem::path& file) {
    try {
        return DetectKind(file);
    } catch (const FileError&) {
        return FileKind::Unknown; // its reader tells why
    }
}

/// An opened project as it would be saved before anything is changed: its layers are those that could be read, in the
/// scene's order.
Project AsItCame(const Project& opened, Project now) {
    std::vector<ProjectLayer> left = opened.layers;
    std::vector<ProjectLayer> layers;
    for (ProjectLayer& layer : now.layers) {
        const auto own = std::find_if(left.begin(), left.end(), [&](const ProjectLayer& other) {
            return other.file == layer.file && other.part == layer.part && other.cellSize == layer.cellSize;
        });
        if (own != left.end()) {
            layer.style = own->style;
            layers.push_back(std::move(layer));
            left.erase(own);
        }
    }
    now.layers = std::move(layers);
    now.hillshade = now.hillshade ? opened.hillshade : std::nullopt;
    // No person chooses that for a project: it follows from the files.
    const std::string system = std::move(now.settings.coordinateSystem);
    now.settings = opened.settings;
    now.settings.coordinateSystem = system;
    return now;
}

} // namespace

std::vector<std::filesystem::path> ListKnownFiles(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::filesystem::path& file = entry->path();
        if (!entry->is_regular_file(error) || Utf8FromPath(file.extension()) == ".shx") {
            continue;
        }
        const FileKind kind = KindOf(file);
        if (kind != FileKind::Unknown && kind != FileKind::Project) {
            files.push_back(file);
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

void Document::Add(const std::vector<std::filesystem::path>& files) {
    std::vector<std::filesystem::path> data;
    for (const std::filesystem::path& file : files) {
        std::error_code error;
        if (std::filesystem::is_directory(file, error)) {
            const std::vector<std::filesystem::path> known = ListKnownFiles(file);
            if (known.empty()) {
                m_loading.AddFault(FileError(file, "is a folder without any file that is known").what());
            }
            data.insert(data.end(), known.begin(), known.end());
        } else if (KindOf(file) == FileKind::Project) {
            AddProject(file);
        } else {
            data.push_back(file);
        }
    }
    m_files.insert(m_files.end(), data.begin(), data.end());
    m_loading.Add(data);
}

void Document::AddProject(const std::filesystem::path& path) {
    try {
        const Project project = ReadProjectFile(path);
        if (m_files.empty()) {
            m_project = path;
            m_opened = project;
        }
        m_files.push_back(path);
        ApplySettings(m_scene, project.settings);
        m_view = project.view;
        m_loading.Add(project);
    } catch (const FileError& error) {
        m_loading.AddFault(error.what());
    }
}

void Document::Clear() {
    m_loading.Clear();
    m_files.clear();
    m_project.clear();
    m_view.reset();
    m_opened.reset();
    m_saved.reset();
}

bool Document::Update() {
    if (!m_opened || m_loading.IsLoading()) {
        return false;
    }
    m_saved = AsItCame(*std::exchange(m_opened, std::nullopt), DescribeScene(m_scene));
    return true;
}

bool Document::IsChanged() const {
    if (!m_saved) {
        return false;
    }
    const Project now = DescribeScene(m_scene);
    return now.settings != m_saved->settings || now.hillshade != m_saved->hillshade || now.layers != m_saved->layers;
}

std::optional<ProjectView> Document::TakeView() {
    return std::exchange(m_view, std::nullopt);
}

void Document::Save(const std::filesystem::path& path, const std::optional<ProjectView>& view) {
    Project project = DescribeScene(m_scene);
    project.view = view;
    WriteProjectFile(project, path);
    m_project = path;
    m_files = {path};
    m_opened.reset();
    m_saved = std::move(project);
}

std::string Document::GetName() const {
    if (!m_project.empty()) {
        return Utf8FromPath(m_project.filename());
    }
    if (m_files.empty()) {
        return {};
    }
    const std::string first = Utf8FromPath(m_files.front().filename());
    return m_files.size() == 1 ? first : first + " and " + std::to_string(m_files.size() - 1) + " more";
}

} // namespace OrrinViewer
