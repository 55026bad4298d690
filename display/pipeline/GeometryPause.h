#pragma once

#include "../view/ViewAccess.h"
#include "GeometryFilling.h"

#include <utility>

namespace KTR {

/// The view's batches are drawn while it lives, although a geometry is being filled: for text and images, which the
/// library draws through the host's batch.
class GeometryPause {
public:
    explicit GeometryPause(COpenGLView& view)
        : m_view(view), m_filling(std::exchange(ViewAccess::Filling(view), nullptr)) {}
    ~GeometryPause() { ViewAccess::Filling(m_view) = std::move(m_filling); }
    GeometryPause(const GeometryPause&) = delete;
    GeometryPause& operator=(const GeometryPause&) = delete;

private:
    COpenGLView& m_view;
    SoleOwner<GeometryFilling> m_filling;
};

} // namespace KTR
