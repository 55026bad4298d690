#include "PixelDrawing.h"

#include "SceneColors.h"

#include <cmath>

namespace OrrinViewer {

namespace {

/// Lines as rectangles: no driver draws lines of any width.
std::vector<PixelTriangle> WidenLines(const std::vector<PixelLine>& lines, double widthPixels, double scale) {
    std::vector<PixelTriangle> triangles;
    triangles.reserve(2 * lines.size());
    const double half = widthPixels * 0.5 * scale;
    for (const PixelLine& line : lines) {
        const Position from{(line[0].x + 0.5) * scale, (line[0].y + 0.5) * scale, 0.0};
        const Position to{(line[1].x + 0.5) * scale, (line[1].y + 0.5) * scale, 0.0};
        const double length = std::hypot(to.x - from.x, to.y - from.y);
        if (length == 0.0) {
            continue;
        }
        const double x = (to.x - from.x) / length * half;
        const double y = (to.y - from.y) / length * half;
        const Position corners[] = {{from.x + y, from.y - x, 0.0},
                                    {to.x + y, to.y - x, 0.0},
                                    {to.x - y, to.y + x, 0.0},
                                    {from.x - y, from.y + x, 0.0}};
        triangles.push_back({corners[0], corners[1], corners[2]});
        triangles.push_back({corners[0], corners[2], corners[3]});
    }
    return triangles;
}

void DrawLines(KTR::COpenGLView& view, const std::vector<PixelLine>& lines, const Rgb& color, double widthPixels,
               double scale) {
    if (scale == 1.0) {
        DrawPixelLines(view, lines, color, widthPixels);
    } else {
        DrawPixelTriangles(view, WidenLines(lines, widthPixels, scale), color, 255);
    }
}

} // namespace

void SetUpPixelCamera(KTR::COpenGLView& view, int widthPixels, int heightPixels) {
    SetUpPixelCamera(view, 0.0, 0.0, widthPixels, heightPixels);
}

void SetUpPixelCamera(KTR::COpenGLView& view, double left, double bottom, double width, double height) {
    view.Disable(GL_DEPTH_TEST);
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(left, left + width, bottom, bottom + height, -1.0, 1.0);
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
                        std::uint8_t opacity, double scale) {
    view.Enable(GL_BLEND);
    view.BlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderColorPassThrough);
    view.BeginArrays(GL_TRIANGLES, KTR::GLShaderColorPassThrough);
    for (const PixelTriangle& triangle : triangles) {
        for (const Position& corner : triangle) {
            view.AddIndex2DVertexRGBA(corner.x * scale, corner.y * scale, color.red, color.green, color.blue, opacity);
        }
    }
    view.EndArraysAndDisableClientState();
    view.Disable(GL_BLEND);
}

void DrawPixelBox(KTR::COpenGLView& view, double left, double bottom, double right, double top, const Rgb& color,
                  std::uint8_t opacity, double scale) {
    const Position corners[] = {{left, bottom, 0.0}, {right, bottom, 0.0}, {right, top, 0.0}, {left, top, 0.0}};
    DrawPixelTriangles(view, {{corners[0], corners[1], corners[2]}, {corners[0], corners[2], corners[3]}}, color,
                       opacity, scale);
}

void DrawEdgedLines(KTR::COpenGLView& view, const std::vector<PixelLine>& lines, double scale) {
    DrawLines(view, lines, kDarkEdge, 3.0, scale);
    DrawLines(view, lines, kLight, 1.0, scale);
}

void DrawFurniture(KTR::COpenGLView& view, const MapFurniture& furniture, double scale) {
    std::vector<PixelLine> outlines = furniture.lines;
    for (const PixelTriangle& triangle : furniture.triangles) {
        outlines.push_back({triangle[0], triangle[1]});
        outlines.push_back({triangle[1], triangle[2]});
        outlines.push_back({triangle[2], triangle[0]});
    }
    DrawLines(view, outlines, kDarkEdge, 3.0, scale);
    DrawLines(view, furniture.lines, kLight, 1.0, scale);
    DrawPixelTriangles(view, furniture.triangles, kLight, 255, scale);
}

} // namespace OrrinViewer
