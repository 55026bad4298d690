#pragma once

#include "../Export.h"
#include "../values/BasicTypes.h"
#include "../values/DrawGeometry.h"
#include "../values/SoleOwner.h"

namespace KTR {

struct KeptRecords;

/// Geometry that is added once and drawn again and again: parcels, outlines, reliefs, clouds.
///
///     view.BeginGeometry(parcels);                // from here on adds go into the geometry
///     view.BeginArrays(GL_TRIANGLES, shader);
///     view.AddIndex2DVertexRGBA(...);
///     view.EndArrays();
///     view.EndGeometry();                         // it is filled; nothing was drawn
///
///     // each frame
///     view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, shader);
///     view.DrawGeometry(parcels);
///     view.DisableClientState();
///
/// On a 4.x context it is drawn from a buffer of the share group: the first view that draws it makes that, the others
/// draw from the same. On a fixed-function context it is drawn from main memory, where the records stay unless
/// FreeRecordsAfterUpload says otherwise; where a buffer was lost with its last context, the next draw makes it anew.
///
/// **Mode.** One of GL_POINTS, GL_LINES, GL_LINE_STRIP and GL_TRIANGLES, settled by the first batch. A geometry takes
/// as many batches as wanted, of any program, if they come to the same mode: line loops become strips that end with
/// their first record once more; triangle strips, fans and polygons become separate triangles; what the tessellator
/// fills is triangles. Where a batch ends a strip ends. Neither GetCount nor the length of a strip knows the limits of
/// a batch.
///
/// **Records** stand in the order of their adds, and what an add does not write is 0 or left from an earlier batch, as
/// in the batch. A host that wants to draw or change a part later asks GetCount before and after adding it.
///
/// **Origin.** Records are floats relative to the origin; drawing adds it to the matrices, in double precision, less
/// the view's coordinate offsets of that moment. BeginGeometry takes the offsets for the origin if it is told no other:
/// a host that subtracts them from what it adds may change them later and draw the geometry as it is.
///
/// A geometry may be freed at any time and on any thread, with a context or without: its buffer waits for one of its
/// share group. Otherwise it belongs to the thread that draws it.
class ORRIN_DISPLAY_API GLGeometry {
public:
    GLGeometry() noexcept;
    ~GLGeometry();
    GLGeometry(GLGeometry&& other) noexcept;
    GLGeometry& operator=(GLGeometry&& other) noexcept;
    GLGeometry(const GLGeometry&) = delete;
    GLGeometry& operator=(const GLGeometry&) = delete;

    /// GL_POINTS, GL_LINES, GL_LINE_STRIP or GL_TRIANGLES; GL_POINTS while it is empty.
    unsigned int GetMode() const;
    /// Records; while it is filled, those of the batches that have ended.
    int GetCount() const;
    /// All of them; null where there are none in main memory. The address holds until it is filled or freed.
    const GLDrawGeometry* GetRecords() const;
    PointXYZ GetOrigin() const;
    /// Where it stands from the next draw on; the records stay as they are.
    long SetOrigin(const PointXYZ& origin);

    /// Makes room for so many records, so that filling need not grow. S_OK, E_INVALIDARG, E_OUTOFMEMORY.
    long Reserve(int count);
    /// Replaces records: `count` from `first` on. Buffers get the change with the next draw. S_OK; E_INVALIDARG for
    /// what is not there and for null; E_FAIL while it is filled and where no records are in main memory.
    long UpdateRecords(int first, int count, const GLDrawGeometry* records);
    /// Colours records, as for a selection. Results as UpdateRecords.
    long UpdateColor(int first, int count, const GLRGBAColor& color);

    /// True frees the records in main memory as soon as a buffer has them, for geometry that is large and can be added
    /// again: when its buffer is lost, and on fixed-function contexts, DrawGeometry then says E_HANDLE. False, as at
    /// the start, keeps them. E_OUTOFMEMORY.
    long FreeRecordsAfterUpload(bool on);
    /// Empties it and frees what it takes, in main memory and on the card.
    void Clear();

private:
    friend class COpenGLView;

    SoleOwner<KeptRecords> m_kept; ///< null while there was nothing to hold
};

} // namespace KTR
