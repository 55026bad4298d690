#pragma once

#include "../values/ViewMapping.h"

#include <optional>

namespace KTR {

class COpenGLView;

// What the library's rooms see of the current record's camera. Hosts do not get this header.

/// Width and height of the viewport in pixels. Before there is one, the window's; without a window that of a small
/// screen, so that what is set up early is not lost.
glm::dvec2 FindViewportSize(const COpenGLView& view);

/// Height of the client area. Memory bitmaps have no window, and a window may just have become smaller than what was
/// drawn into it: there the viewport is what is seen.
double FindClientHeight(const COpenGLView& view);

/// Between true coordinates and the client area, by the camera as it is now.
ViewMapping MakeMapping(const COpenGLView& view);

/// Whether the current matrices are the camera's. Between two calls a host may well draw with others.
bool AreViewMatricesLoaded(const COpenGLView& view);
/// Loads them for changed circumstances and leaves the matrix mode as it is.
void ReloadViewMatrices(COpenGLView& view);

/// Every change of the camera: remembers the view of before, takes the camera over and loads its matrices. A camera
/// that has not moved leaves the matrices alone, whosever they are.
void ChangeView(COpenGLView& view, const ViewCamera& camera);
/// For set-ups, whose matrices are loaded in any case. E_INVALIDARG, and nothing is changed, without a camera.
long ChangeViewOrRefuse(COpenGLView& view, const std::optional<ViewCamera>& camera);

/// What is drawn at a place of the client area, or the nearest thing within 3 pixels.
std::optional<glm::dvec3> FindPlaceOnScene(COpenGLView& view, int clientX, int clientY);

} // namespace KTR
