#pragma once

#include "NativeWindow.h"
#include "Picking.h"

namespace OrrinViewer {

class ViewerSession;

/// Puts a text on the clipboard.
void CopyText(HWND window, const std::string& utf8);

/// The table of what was picked, a part of the side panel: names and values, which can be copied.
class InfoPanel final : public NativeWindow {
public:
    explicit InfoPanel(ViewerSession& session) : m_session(session) {}
    ~InfoPanel() override { Destroy(); }

    /// What is picked is another thing.
    void ShowPick();

private:
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void CreateControls();
    void LayOut() const;
    void HandleKey(WPARAM key);
    void ShowMenu(POINT screen);

    ViewerSession& m_session;
    HWND m_heading = nullptr;
    HWND m_list = nullptr;
};

} // namespace OrrinViewer
