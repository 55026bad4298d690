#pragma once

#include "../Export.h"
#include "../Framework.h"

// Only MFC's own header defines this; without MFC there are no application objects.
#ifdef __AFXWIN_H__

namespace KTR {

/// The library's application object, which MFC wants one of in a DLL of its own module state. It keeps no state and
/// starts nothing: everything of the library begins with the first view and ends with
/// COpenGLView::FinalShutDownDestroyClassCriticalSection.
class ORRIN_DISPLAY_API CVRNDISPLAY : public CWinApp {
public:
    /// MFC calls it when the library is loaded. True, unless MFC itself fails to start.
    BOOL InitInstance() override;
    /// MFC calls it when the library is unloaded. MFC's own result.
    int ExitInstance() override;
};

} // namespace KTR

#endif
