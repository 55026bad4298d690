#pragma once

#include "data/PointCloud.h"
#include "map/MapFurniture.h"

#include <OrrinDisplay.h>

#include <array>
#include <cstdint>
#include <vector>

namespace OrrinViewer {

/// What follows is drawn in pixels from the window's lower left, on top of everything.
void SetUpPixelCamera(KTR::COpenGLView& view, int widthPixels, int heightPixels);
/// The same in pixels of a larger picture, of which (left, bottom) is in the viewport's corner.
void SetUpPixelCamera(KTR::COpenGLView& view, double left, double bottom, double width, double height);

using PixelLine = std::array<Position, 2>;
using PixelTriangle = std::array<Position, 3>;

/// Lines through the middles of pixels, so that vertical and horizontal ones are sharp.
void DrawPixelLines(KTR::COpenGLView& view, const std::vector<PixelLine>& lines, const Rgb& color, double widthPixels);
/// At so many pixels for one, here and below.
void DrawPixelTriangles(KTR::COpenGLView& view, const std::vector<PixelTriangle>& triangles, const Rgb& color,
                        std::uint8_t opacity, double scale = 1.0);

/// A rectangle of one colour.
void DrawPixelBox(KTR::COpenGLView& view, double left, double bottom, double right, double top, const Rgb& color,
                  std::uint8_t opacity, double scale);

/// White lines with a dark edge, which show on any ground.
void DrawEdgedLines(KTR::COpenGLView& view, const std::vector<PixelLine>& lines, double scale);

/// Ticks, scale bar and north arrow without their texts.
void DrawFurniture(KTR::COpenGLView& view, const MapFurniture& furniture, double scale);

} // namespace OrrinViewer
