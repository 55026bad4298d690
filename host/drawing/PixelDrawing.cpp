#include "PixelDrawing.h"

#include "SceneColors.h"

namespace OrrinViewer {

void SetUpPixelCamera(KTR::COpenGLView& view, int widthPixels, int heightPixels) {
    view.Disable(GL_DEPTH_TEST);
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(0.0, widthPixels, 0.0, heightPixels, -1.0, 1.0);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
}

void DrawPixelLines(KTR::COpenGLView& view, const std::vector<PixelLine>& lines, const Rgb& color, double widthPixels) {
    view.LineWidth(static_cast<float>(widthPixels));
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderLine);
    view.BeginArrays(GL_LINES, KTR::GLShaderLine);
    for (const PixelLine& line : lines) {
        for (const Position& end : line) {
            view.AddIndex2DVertexRGBA(end.x + 0.5, end.y + 0.5, color.red, color.green, color.blue, 255);
        }
    }
    view.EndArraysAndDisableClientState();
}

void DrawPixelTriangles(KTR::COpenGLView& view, const std::vector<PixelTriangle>& triangles, const Rgb& color,
                        std::uint8_t opacity) {
    view.Enable(GL_BLEND);
    view.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderColorPassThrough);
    view.BeginArrays(GL_TRIANGLES, KTR::GLShaderColorPassThrough);
    for (const PixelTriangle& triangle : triangles) {
        for (const Position& corner : triangle) {
            view.AddIndex2DVertexRGBA(corner.x, corner.y, color.red, color.green, color.blue, opacity);
        }
    }
    view.EndArraysAndDisableClientState();
    view.Disable(GL_BLEND);
}

void DrawEdgedLines(KTR::COpenGLView& view, const std::vector<PixelLine>& lines) {
    DrawPixelLines(view, lines, kDarkEdge, 3.0);
    DrawPixelLines(view, lines, kLight, 1.0);
}

void DrawFurniture(KTR::COpenGLView& view, const MapFurniture& furniture) {
    std::vector<PixelLine> outlines = furniture.lines;
    for (const PixelTriangle& triangle : furniture.triangles) {
        outlines.push_back({triangle[0], triangle[1]});
        outlines.push_back({triangle[1], triangle[2]});
        outlines.push_back({triangle[2], triangle[0]});
    }
    DrawPixelLines(view, outlines, kDarkEdge, 3.0);
    DrawPixelLines(view, furniture.lines, kLight, 1.0);
    DrawPixelTriangles(view, furniture.triangles, kLight, 255);
}

} // namespace OrrinViewer
