#pragma once

#include "data/VectorLayer.h"

#include <vector>

namespace OrrinViewer {

/// Makes polygons of rings that come in any order: those that go clockwise are outer ones, the others holes, each of
/// the smallest outer ring around it. A hole in nothing is an area itself, as files differ in the direction of their
/// rings.
///
/// The work grows with the positions only: where nesting makes it more, holes go to the outer ring before them.
std::vector<Polygon> AssemblePolygons(std::vector<Path> rings);

/// True where the position is inside the ring.
bool IsInside(const Position& position, const Path& ring);

/// Twice the area of a ring; positive where it goes counter-clockwise.
double FindDoubledArea(const Path& ring);

} // namespace OrrinViewer
