#pragma once

#include "../values/BasicTypes.h"
#include "../values/DrawGeometry.h"
#include "../values/GLTypes.h"

#include <vector>

namespace KTR {

class COpenGLView;
class GeometryFilling;
class GLCalls;

/// What a GLGeometry holds: records in main memory, and the buffer of the share group that has a copy of them.
struct KeptRecords {
    KeptRecords() = default;
    ~KeptRecords();
    KeptRecords(const KeptRecords&) = delete;
    KeptRecords& operator=(const KeptRecords&) = delete;

    unsigned int mode = GL_POINTS; ///< GL_POINTS, GL_LINES, GL_LINE_STRIP or GL_TRIANGLES
    PointXYZ origin;
    int count = 0;                       ///< records, also where they were freed
    std::vector<GLDrawGeometry> records; ///< empty where they were freed
    /// The strips of GL_LINE_STRIP, as glMultiDrawArrays wants them: first records, ascending, and numbers of records.
    std::vector<GLint> chainFirsts;
    std::vector<GLsizei> chainCounts;
    bool freesAfterUpload = false;
    GeometryFilling* filling = nullptr; ///< while a view's adds go here

    bool HasRange(int first, int wanted) const {
        return first >= 0 && wanted >= 0 && first <= count && wanted <= count - first;
    }
    /// The buffer lacks `changed` records from `first` on.
    void NoteChange(int first, int changed);
    /// Forgets the records; the buffer stays, to be filled anew.
    void Empty();

    /// Sees to it that the share group of the view's current 4.x context has the records in a buffer. Sets `name`.
    /// S_OK, E_HANDLE where they were freed, E_OUTOFMEMORY.
    long Upload(COpenGLView& view, const GLCalls& gl, unsigned int& name);
    /// Deletes the buffer, or leaves it to the share group where none of its contexts is current.
    void ReleaseBuffer();

private:
    bool FillBuffer(const GLCalls& gl);
    void SendChange(const GLCalls& gl);

    unsigned int m_buffer = 0;
    unsigned long long m_bufferGroup = 0; ///< the share group that it belongs to
    bool m_bufferIsFilled = false;
    int m_changedFirst = 0; ///< records that it has in an older form
    int m_changedEnd = 0;
};

} // namespace KTR
