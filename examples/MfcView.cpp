// A view of MFC's: the frame window owns a child that draws with the library. For Visual Studio, which brings MFC.
#include <OrrinDisplay.h>

#include <afxwin.h>

#include <cmath>
#include <memory>

/// Fills the frame: OnCreate makes the context, OnDestroy gives it back while the window still exists.
class CPointsView : public CView {
protected:
    BOOL PreCreateWindow(CREATESTRUCT& creation) override {
        if (!CView::PreCreateWindow(creation)) {
            return FALSE;
        }
        // One device context for good, nothing painted over it, and no background of the system's.
        creation.lpszClass = AfxRegisterWndClass(CS_OWNDC, ::LoadCursorW(nullptr, IDC_ARROW));
        creation.style |= WS_CLIPCHILDREN | WS_CLIPSIBLINGS;
        return TRUE;
    }

    afx_msg int OnCreate(CREATESTRUCT* creation) {
        if (CView::OnCreate(creation) == -1) {
            return -1;
        }
        m_view = std::make_unique<KTR::COpenGLView>();
        // The library releases this device context together with the rendering context.
        if (!m_view->CreateContext(::GetDC(GetSafeHwnd()), true, KTR::GLContextMain, L"points", 0,
                                   KTR::AccelerationHardware)) {
            AfxMessageBox(L"There is no OpenGL to draw with.");
            return -1;
        }
        m_view->InitializeOpenGL(GetSafeHwnd());
        m_view->SetUpViewport(0, 0, 640, 480);
        m_ready =
            SUCCEEDED(m_view->SetUpOrthoFromModelExtents(KTR::GLViewOrientationTop, {-10, -10, 0}, {10, 10, 0}, 1.0));
        return m_ready ? 0 : -1;
    }

    afx_msg void OnSize(UINT type, int width, int height) {
        CView::OnSize(type, width, height);
        if (m_ready && type != SIZE_MINIMIZED && width > 0 && height > 0) {
            m_view->MakeCurrent(KTR::GLContextMain);
            m_view->SetUpViewport(0, 0, width, height);
        }
    }

    /// The library draws through its own device context. Printing brings one of the printer's, which OpenGL cannot use.
    void OnDraw(CDC* deviceContext) override {
        if (!m_ready || deviceContext->IsPrinting()) {
            return;
        }
        m_view->MakeCurrent(KTR::GLContextMain);
        m_view->SetBackgroundColor(RGB(20, 24, 28), true);
        m_view->LoadViewMatrices();
        m_view->PointSize(3.0F);
        m_view->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, KTR::GLShaderPoint);
        m_view->BeginArrays(GL_POINTS, KTR::GLShaderPoint);
        for (int index = 0; index < 2000; ++index) {
            const double angle = index * 2.399963;
            const double radius = 0.2 * std::sqrt(static_cast<double>(index));
            m_view->AddIndex2DVertexRGBA(radius * std::cos(angle), radius * std::sin(angle), 240, 190, 90, 255);
        }
        m_view->EndArraysAndDisableClientState();
        m_view->SwapBuffers();
    }

    afx_msg BOOL OnEraseBkgnd(CDC*) { return TRUE; }

    afx_msg BOOL OnMouseWheel(UINT flags, short delta, CPoint place) {
        ScreenToClient(&place);
        m_view->ZoomAbout(delta > 0 ? 1.25 : 0.8, place.x, place.y);
        Invalidate(FALSE);
        return CView::OnMouseWheel(flags, delta, place);
    }

    afx_msg void OnDestroy() {
        m_ready = false;
        m_view->ShutDownOpenGLContexts(GetSafeHwnd());
        m_view.reset();
        CView::OnDestroy();
    }

    DECLARE_MESSAGE_MAP()

private:
    std::unique_ptr<KTR::COpenGLView> m_view;
    bool m_ready = false;
};

BEGIN_MESSAGE_MAP(CPointsView, CView)
ON_WM_CREATE()
ON_WM_SIZE()
ON_WM_ERASEBKGND()
ON_WM_MOUSEWHEEL()
ON_WM_DESTROY()
END_MESSAGE_MAP()

class CPointsFrame : public CFrameWnd {
public:
    bool Open() {
        if (!Create(nullptr, L"Points in a view of MFC's")) {
            return false;
        }
        auto* const view = new CPointsView; // deletes itself with its window
        // The frame keeps the child of this number as large as itself.
        return view->Create(nullptr, nullptr, WS_CHILD | WS_VISIBLE, CRect(0, 0, 0, 0), this, AFX_IDW_PANE_FIRST) !=
               FALSE;
    }
};

class CPointsApplication : public CWinApp {
public:
    BOOL InitInstance() override {
        CWinApp::InitInstance();
        auto* const frame = new CPointsFrame; // MFC deletes it with its window
        m_pMainWnd = frame;
        if (!frame->Open()) {
            return FALSE;
        }
        frame->ShowWindow(m_nCmdShow);
        frame->UpdateWindow();
        return TRUE;
    }
};

CPointsApplication g_application;
