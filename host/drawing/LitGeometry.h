#pragma once

#include <OrrinDisplay.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace OrrinViewer {

/// Triangles with normals and colours in the scene's light. They are added once, part by part, so that the window
/// answers meanwhile.
class LitGeometry {
public:
    /// Adds triangles, of which there are `count`, until that moment: `add(index)` adds the corners of one. True once
    /// all are there, and where no memory is left for more.
    template <typename Add>
    bool Prepare(KTR::COpenGLView& view, std::size_t count, std::chrono::steady_clock::time_point until, Add add) {
        constexpr std::size_t kPart = 20'000;
        while (m_triangles < count) {
            if (std::chrono::steady_clock::now() >= until) {
                return false;
            }
            KTR::GLGeometry part;
            if (view.BeginGeometry(part) != S_OK) {
                Clear();
                return true;
            }
            const std::size_t end = std::min(count, m_triangles + kPart);
            view.BeginArrays(GL_TRIANGLES, KTR::GLShaderShadedColor3Stage);
            for (std::size_t triangle = m_triangles; triangle < end; ++triangle) {
                add(triangle);
            }
            view.EndArrays();
            if (view.EndGeometry() != S_OK) {
                Clear();
                return true;
            }
            m_parts.push_back(std::move(part));
            m_triangles = end;
        }
        return true;
    }
    /// How much of them is there; nothing where all or none are.
    std::optional<double> FindShare(std::size_t count) const {
        return m_triangles > 0 && m_triangles < count
                   ? std::optional(static_cast<double>(m_triangles) / static_cast<double>(count))
                   : std::nullopt;
    }

    void Draw(KTR::COpenGLView& view) const {
        view.SetUpLighting(true);
        view.EnableClientStateInternalBuffers(true, true, true, false, KTR::GLShaderShadedColor3Stage);
        for (const KTR::GLGeometry& part : m_parts) {
            view.DrawGeometry(part);
        }
        view.DisableClientState();
        view.SetUpLighting(false);
    }

    void Clear() {
        m_parts.clear();
        m_triangles = 0;
    }

private:
    std::vector<KTR::GLGeometry> m_parts;
    std::size_t m_triangles = 0; ///< of them
};

} // namespace OrrinViewer
