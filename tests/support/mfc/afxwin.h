#pragma once
// As much of MFC's application class as the library's own derives from, with MFC's signatures: with this in the place
// of the header without MFC the compiler sees what it sees with MFC. It is no MFC; nothing of it is ever run.

#define __AFXWIN_H__ // NOLINT(bugprone-reserved-identifier): MFC's own mark

#include <windows.h>

class CWinApp {
public:
    virtual ~CWinApp() = default;
    virtual BOOL InitInstance() { return TRUE; }
    virtual int ExitInstance() { return 0; }
};
