#pragma once

#include "../pipeline/KeptGeometry.h"
#include "ProfileLine.h"
#include "ProfilePoints.h"

#include <optional>

namespace KTR {

class COpenGLView;

/// Where the cursor of a profile stands.
struct ProfileCursor {
    double station = 0.0;
    double height = 0.0;
};

/// What a view keeps of the profile that it shows.
struct ProfileState {
    ProfileLine line;
    HeightRange heights;       ///< of the view; empty while it waits for points
    bool givenHeights = false; ///< by the host, not found from the points
    double zExaggeration = 0.0;
    ProfilePoints points;
    GLGeometry geometry; ///< the points as they are drawn
    bool isUploaded = false;
    std::optional<ProfileCursor> cursor;
};

/// The profile that the view shows at present; null in any other orientation.
const ProfileState* ShownProfile(const COpenGLView& view);
/// Takes a view out of all links: it goes.
void ForgetProfileLinks(const COpenGLView& view);

} // namespace KTR
