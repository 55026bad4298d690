#pragma once

#include "Workloads.h"

#include "BenchView.h"

namespace Frames {

/// A texture with the sampler that 4.x contexts read it by.
struct Texture {
    unsigned int texture = 0;
    unsigned int sampler = 0;
};

/// The window and the view of one pipeline, in which all ways of drawing that use this pipeline take turns.
class Stage {
public:
    static Stage& Of(bool programs);

    /// Makes the view current with pixels for coordinates. What is not `visible` is drawn beyond the window's right
    /// edge: the same vertices, all of them clipped.
    void Set(bool visible);
    KTR::COpenGLView& View() { return *m_view; }
    const COrrinGLCement& Functions() const { return m_bench.Functions(); }
    HDC DeviceContext() const { return m_bench.DeviceContext(); }

    const Texture& QuadTexture();
    const std::vector<Texture>& TileTextures(const Tiles& tiles);

private:
    explicit Stage(bool programs);
    Texture Load(int width, int height, const void* pixels);

    BenchView m_bench;
    KTR::COpenGLView* m_view;
    Texture m_quadTexture;
    std::vector<Texture> m_tileTextures;
};

} // namespace Frames
