#pragma once
// MFC's types, real or compat/mfc's, whatever the host has included before. Comes before all other headers of MFC.

#if defined(_MSC_VER) && defined(_WINDOWS_) && !defined(__AFX_H__)
// MFC refuses to come after <windows.h>, which it wants to include itself. It may include it once more: all that has
// been seen has guards of its own.
#undef _WINDOWS_
#endif

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <afxwin.h>
