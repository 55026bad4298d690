#include "../view/OpenGLView.h"

#include <algorithm>
#include <cstdlib>

namespace KTR {

unsigned char* COpenGLView::GetRGBABackingStore() const {
    return m_backingStore.rgba;
}

unsigned __int64 COpenGLView::GetRGBABackingStoreSizeInBytes() const {
    return m_backingStore.rgbaBytes;
}

} // namespace KTR
