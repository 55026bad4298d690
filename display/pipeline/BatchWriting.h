#pragma once

#include "../values/DrawGeometry.h"

namespace KTR {

class COpenGLView;
class VertexRing;

// Records of an open batch that go into the ring's segment before the batch is drawn. The segment is the CPU's until
// then, and memory that is mapped is written in order and never read: what stands there only is drawn from there.

/// Vertices of one primitive, for modes whose primitives share none; 0 for the others.
int VerticesPerPrimitive(unsigned int mode);
/// The ring that the open batch will be drawn from, record by record; null where it is drawn in other ways.
VertexRing* RingOfBatch(COpenGLView& view);
/// Writes the records of the open batch that are not there yet into the ring, where they fit.
void WriteAhead(COpenGLView& view);

} // namespace KTR
