#include "DisplayApplication.h"

#ifdef __AFXWIN_H__

namespace KTR {

BOOL CVRNDISPLAY::InitInstance() {
    return CWinApp::InitInstance();
}

int CVRNDISPLAY::ExitInstance() {
    return CWinApp::ExitInstance();
}

} // namespace KTR

// Linked into a program the library uses the program's object; a module has only one.
#ifndef ORRIN_DISPLAY_STATIC
namespace {

/// MFC's entry point of a DLL finds it by itself.
[[maybe_unused]] KTR::CVRNDISPLAY g_application;

} // namespace
#endif

#endif
