#pragma once

#include "data/VectorLayer.h"

namespace OrrinViewer {

/// The area of a ring; positive when it goes counter-clockwise.
double FindSignedArea(const Path& ring);

/// True for a position inside the polygon and outside its holes.
bool IsInside(const Polygon& polygon, double x, double y);

/// The polygon of the feature with the largest outer ring; null when it has none.
const Polygon* FindLargestPolygon(const VectorFeature& feature);

/// Where the name of a feature goes, by what there is most of: inside its largest polygon (at the centroid, when that
/// is inside, otherwise in the middle of a wide place), half-way along its longest line, or at its first point. The
/// place does not depend on what part of the map is shown. Its z is 0.
Position FindLabelAnchor(const VectorFeature& feature);

} // namespace OrrinViewer
