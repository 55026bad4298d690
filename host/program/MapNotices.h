#pragma once

#include "SceneLoading.h"
#include "drawing/Scene.h"
#include "drawing/TextPainter.h"

#include <OrrinDisplay.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

/// What a window says over its map about files: how far the reading has come, what went wrong, and, where there is
/// nothing to be seen, how to change that.
class MapNotices {
public:
    MapNotices(const Scene& scene, const SceneLoading& loading) : m_scene(scene), m_loading(loading) {}

    /// Asks what there is to say now. True when it is something else than before.
    bool Update();
    /// Takes away what was said about files; false where there is nothing that would go.
    bool Dismiss();
    /// The same by a click at a place in the window.
    bool DismissAt(int x, int y);
    /// At so many of the window's pixels for one. Tells which part of the window it covers.
    void Draw(KTR::COpenGLView& view, const TextPainter& texts, double scale, int widthPixels, int heightPixels,
              KTR::GLCoveredArea& covered);

private:
    using Clock = std::chrono::steady_clock;

    struct Said {
        std::string reading; ///< empty: nothing is read
        std::optional<int> percent;
        bool canStop = false;
        std::vector<std::string> lines;
        bool isEmptyMap = false;

        bool operator==(const Said&) const = default;
    };

    bool IsReading() const { return m_loading.IsLoading() || m_scene.IsReading(); }
    void FindReading(Said& said) const;
    void TakeNews();

    const Scene& m_scene;
    const SceneLoading& m_loading;
    Said m_said;
    std::vector<std::string> m_news;  ///< that may be taken away
    std::vector<std::string> m_known; ///< all that was said until now
    int m_sceneVersion = -1;          ///< whose remarks are known
    Clock::time_point m_newsTime;     ///< when the last of it came
    std::optional<Clock::time_point> m_readingSince;
    KTR::GLCoveredArea m_area{}; ///< where it was drawn last
};

} // namespace OrrinViewer
