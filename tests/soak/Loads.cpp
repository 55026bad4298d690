#define ORRIN_SOAK_LOADS_BUILD
#include "Loads.h"

#include "GLObjects.h"
#include "support/FontFile.h"
#include "support/ViewFixture.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>

namespace {

/// Fails the load where what is drawn is wrong: a soak that no longer draws would be as flat as can be.
void Require(bool held, const char* what) {
    if (!held) {
        throw std::runtime_error(what);
    }
}

/// Lets Windows deliver what it has for the windows, as a host does between two frames.
void PumpMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        DispatchMessageW(&message);
    }
}

void AddQuad(COpenGLView& view, double left, double bottom, double side, const Pixel& color) {
    for (const auto& [x, y] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}}) {
        view.AddIndex2DVertexRGBA(left + x * side, bottom + y * side, color.r, color.g, color.b, color.a);
    }
}

/// A square in the lower left corner.
void DrawSquare(COpenGLView& view, const Pixel& color) {
    view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
    view.BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
    AddQuad(view, 0.0, 0.0, 8.0, color);
    view.EndArraysAndDisableClientState();
}

Pixel ColorOf(int step) {
    const auto channel = [step](int factor) { return static_cast<unsigned char>(40 + step * factor % 200); };
    return {channel(7), channel(11), channel(13), 255};
}

/// A view whose square shows: what each load asks of each view now and then.
void DrawAndLook(const LiveView& live, int step) {
    live.Clear();
    DrawSquare(*live.view, ColorOf(step));
    Require(live.At(4, 4) == ColorOf(step), "the square is not there");
    Require(live.At(12, 12) == kBlack, "the square is everywhere");
    Require(live->GetError() == 0, "OpenGL has an error");
}

/// GDI's font, and with fixed functions the lists made from it.
class Letters {
public:
    explicit Letters(const LiveView& live, int pixels = 14)
        : m_live(live),
          m_font(CreateFontW(-pixels, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, ANSI_CHARSET, 0, 0, 0, 0, L"Arial")) {
        Require(live->RefreshRasterFont(live.window.DeviceContext(), m_lists, m_font, 0) == S_OK, "no raster font");
        live->GetError(); // NOTE: Mesa says that it is out of memory for the system's lists, and makes them
    }
    ~Letters() {
        m_live->DeleteFont(m_lists);
        DeleteObject(m_font);
    }
    Letters(const Letters&) = delete;
    Letters& operator=(const Letters&) = delete;

    void Draw(const wchar_t* text, double x, double y) const {
        m_live->DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        m_live->RasterPosition(x, y, 0.0);
        m_live->DrawTextString(m_lists, text, nullptr, true, false, false, x, y, 0.0);
        m_live->DrawTeardownFontAtlasText(false, false);
    }

private:
    const LiveView& m_live;
    HFONT m_font;
    unsigned int m_lists = 0;
};

/// One of the things that a host does all day, again and again.
class Load {
public:
    Load() = default;
    virtual ~Load() = default;
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;
    virtual void Step(int step) = 0;
    /// Steps after which it has met everything once, such as the fonts that it goes around. They come before the first
    /// tenth.
    virtual int Cycle() const { return 2; }
};

/// A load that draws to one view, whatever was current before a step.
class OneView : public Load {
public:
    OneView(int width, int height) : live(width, height) { Require(live.created == 1, "a context could not be made"); }
    void Step(int step) final {
        Require(live->MakeCurrent(GLContextMain) == 1, "the view could not be made current");
        Draw(step);
        if (step % 16 == 0) {
            PumpMessages();
        }
    }

protected:
    virtual void Draw(int step) = 0;
    LiveView live;
};

/// Two hundred windows are open, and at each step the forty oldest give way to new ones.
class ViewsAtOnce : public Load {
public:
    ViewsAtOnce() {
        while (m_views.size() < 200) {
            Open();
        }
    }
    int Cycle() const override { return 10; }
    void Step(int /*step*/) override {
        m_views.erase(m_views.begin(), m_views.begin() + 40);
        while (m_views.size() < 200) {
            Open();
        }
        for (const auto& [number, view] : m_views) {
            Require((*view)->MakeCurrent(GLContextMain) == 1, "a view could not be made current");
            Require(view->At(4, 4) == ColorOf(number), "a view has lost its frame");
        }
        PumpMessages();
    }

private:
    void Open() {
        m_views.emplace_back(m_opened, std::make_unique<LiveView>(64, 64));
        DrawAndLook(*m_views.back().second, m_opened);
        ++m_opened;
    }

    std::vector<std::pair<int, std::unique_ptr<LiveView>>> m_views;
    int m_opened = 0;
};

/// Eight views are drawn to in turn.
class Switches : public Load {
public:
    Switches() {
        for (int view = 0; view < 8; ++view) {
            m_views.push_back(std::make_unique<LiveView>(64, 64));
        }
    }
    void Step(int step) override {
        const LiveView& live = *m_views[static_cast<std::size_t>(step) % m_views.size()];
        Require(live->MakeCurrent(GLContextMain) == 1, "a view could not be made current");
        DrawAndLook(live, step);
        live->SwapBuffers();
        PumpMessages();
    }

private:
    std::vector<std::unique_ptr<LiveView>> m_views;
};

/// A window is opened, drawn to and closed, every third one with a context of the legacy kind too, and every fifth
/// without a word to the view before.
class Creations : public Load {
public:
    void Step(int step) override {
        LiveView live(96, 64);
        Require(live.created == 1, "a context could not be made");
        DrawAndLook(live, step);
        {
            const Letters letters(live);
            letters.Draw(L"window", 10.0, 20.0);
        }
        live->SwapBuffers();
        if (step % 3 == 0) {
            Require(live->CreateContext(GetDC(live.window.Window()), true, GLContextLegacy, L"legacy", 32,
                                        AccelerationHardware) == 1,
                    "a legacy context could not be made");
        }
        if (step % 5 == 0) {
            live.window.Destroy();
        }
        PumpMessages();
    }
};

/// Frames of a map: points, lines, shared small batches, polygons, symbols, geometry that stays, text, a band over all.
class Frames : public OneView {
public:
    Frames() : OneView(128, 128), m_letters(live) {
        live->BeginGeometry(m_kept);
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
        live->BeginArrays(GL_POINTS, GLShaderPoint);
        for (int point = 0; point < 100; ++point) {
            live->AddIndex2DVertexRGBA(20.0 + point % 10, 20.0 + point / 10, 255, 200, 100, 255);
        }
        live->EndArraysAndDisableClientState();
        Require(live->EndGeometry() == S_OK, "the geometry was not kept");
    }
    void Draw(int step) override {
        COpenGLView& view = *live.view;
        live.Clear();
        DrawSquare(view, ColorOf(step));
        switch (step % 8) {
        case 0:
            Points(step);
            break;
        case 1:
            Shared(step);
            break;
        case 2:
            Lines();
            break;
        case 3:
            Polygon();
            break;
        case 4:
            m_letters.Draw(L"A village 123", 5.0, 40.0);
            break;
        case 5:
            Kept();
            break;
        case 6:
            SavedState(step);
            break;
        default:
            Surface();
            break;
        }
        if (step % 500 == 0) {
            Require(live.At(4, 4) == ColorOf(step), "the square is not there");
            Require(view.GetError() == 0, "OpenGL has an error");
        }
        if (step % 16 == 9) {
            Band(step);
        } else {
            view.SwapBuffers();
        }
    }

private:
    void Points(int step) const {
        live->PointSize(3.0F);
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
        live->BeginArrays(GL_POINTS, GLShaderPoint);
        for (int point = 0; point < 200; ++point) {
            live->AddIndex2DVertexRGBA(point * 31 % 120, point * 17 % 110 + step % 10, 255, 255, 255, 255);
        }
        live->EndArraysAndDisableClientState();
        live->PointSize(1.0F);
    }
    void Shared(int step) const {
        live->BeginSharedDraws();
        for (int batch = 0; batch < 20; ++batch) {
            live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
            live->BeginArrays(GL_TRIANGLES, GLShaderColorPassThrough);
            AddQuad(*live.view, 10.0 + 5.0 * batch, 20.0, 4.0, ColorOf(step + batch));
            live->EndArraysAndDisableClientState();
        }
        live->EndSharedDraws();
    }
    void Lines() const {
        const PointXYZ places[] = {{10, 20, 0}, {60, 110, 0}, {100, 30, 0}, {120, 100, 0}};
        GLLineStyle style;
        style.width = 3.0;
        style.dashes = {6.0, 3.0};
        style.casingWidth = 5.0;
        live->DrawLineString(places, 4, style);
        live->LineStipple(1, 0x3333);
        live->LineStippleOnOff(true);
        live->DrawLine(places, 4, true);
        live->LineStippleOnOff(false);
    }
    void Polygon() const {
        GLPolygonStyle style;
        live->BeginShapes();
        live->DrawPolygon(
            {{{20, 20, 0}, {110, 25, 0}, {100, 110, 0}, {30, 90, 0}}, {{50, 50, 0}, {70, 50, 0}, {60, 70, 0}}}, style);
        GLSymbolStyle symbol;
        live->DrawSymbol(GLSymbolCircle, 60.0, 60.0, 0.0, symbol);
        live->EndShapes();
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderColorPassThrough);
        GLTesselator& tesselator = *live->GetTesselator();
        tesselator.BeginPolygon();
        for (const auto& [x, y] : {std::pair{90.0, 90.0}, {120.0, 90.0}, {105.0, 120.0}}) {
            tesselator.AddIndex2DVertexRGBA(x, y, 200, 200, 0, 255);
        }
        tesselator.EndContour();
        tesselator.EndPolygon();
        live->DisableClientState();
    }
    void Kept() {
        live->EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
        Require(live->DrawGeometry(m_kept) == S_OK, "the geometry is not drawn");
        live->DisableClientState();
    }
    void SavedState(int step) const {
        live->PushAttributes(0, L"soak");
        live->PushBothMatrices(L"soak");
        live->MatrixMode(GL_MODELVIEW);
        live->Translate(20.0, 30.0, 0.0);
        live->Enable(GL_BLEND);
        DrawSquare(*live.view, ColorOf(step + 3));
        live->PopBothMatrices(L"soak");
        live->PopAttributes(L"soak");
    }
    void Surface() const {
        GLDrawGeometry corners[4] = {};
        for (int corner = 0; corner < 4; ++corner) {
            corners[corner].x = corner == 1 || corner == 2 ? 110.0F : 40.0F;
            corners[corner].y = corner >= 2 ? 110.0F : 40.0F;
            corners[corner].nz = 1.0F;
            corners[corner].r = corners[corner].a = 255;
        }
        const unsigned int indices[] = {0, 1, 2, 0, 2, 3};
        Require(live->DrawGeometry3D(GL_TRIANGLES, GLShaderShadedColor3Stage, corners, 4, indices, 6) == S_OK,
                "the surface is not drawn");
    }
    void Band(int step) const {
        live->SwapBuffers();
        live->BeginRubberBand(GLRubberBandCircle, 40.0, 40.0);
        live->MoveRubberBand(60.0 + step % 30, 70.0);
        live->EndRubberBand(false);
    }

    Letters m_letters;
    GLGeometry m_kept;
};

/// Images of all sizes go through the cache of textures, are drawn at once, and are changed in part.
class Images : public OneView {
public:
    Images() : OneView(128, 128), m_pixels(4 * kLargest * kLargest, 128) {}
    ~Images() override { live->DeleteDisplayTextureCache(); }
    int Cycle() const override { return 100; }
    void Draw(int step) override {
        COpenGLView& view = *live.view;
        live.Clear();
        const int side = 16 << step % 5;
        const Pixel color = ColorOf(step);
        for (std::size_t pixel = 0; pixel < static_cast<std::size_t>(side) * static_cast<std::size_t>(side); ++pixel) {
            std::memcpy(&m_pixels[4 * pixel], &color, sizeof(color));
        }
        const std::wstring name = L"image " + std::to_wstring(step % 97) + L"." + std::to_wstring(side);
        GLTextureObject* entry = nullptr;
        if (!view.RequestTextureFromCache(name.c_str(), side, side, 1, 4, side, side, 0, 0, side - 1, side - 1, 1.0,
                                          0.0, 0.0, true, true, true, false, false, &entry)) {
            unsigned int texture = 0;
            unsigned int sampler = 0;
            Require(view.LoadRasterImage(GL_RGBA, side, side, 4, step % 2 == 0 ? GL_LINEAR : GL_LINEAR_MIPMAP_LINEAR,
                                         m_pixels.data(), texture, sampler) == S_OK,
                    "an image was not loaded");
            Require(view.AddRequestedTexture(texture, sampler, &entry) == S_OK, "an image was not taken");
        } else {
            Require(view.UpdateGLImage(entry->texture, GL_RGBA, 0, 0, side, side, 4, m_pixels.data()) == S_OK,
                    "an image was not changed");
        }
        const PointXYZ corners[] = {{0, 0, 0}, {30, 0, 0}, {30, 30, 0}, {0, 30, 0}};
        Require(view.DrawTexturedQuadrilateral(entry->texture, entry->sampler, corners, nullptr) == S_OK,
                "an image was not drawn");
        Require(view.DrawImage(60, 60, 90, 90, 0.0, GL_RGBA, side, side, 4, GL_NEAREST, m_pixels.data()) == S_OK,
                "an image was not drawn at once");
        if (step % 50 == 0) {
            Require(live.At(5, 5) == color && live.At(75, 75) == color, "an image looks different");
            Require(view.GetError() == 0, "OpenGL has an error");
        }
        // The names come again after some steps, and then some are there and some are not.
        view.LimitTextureCache(2'000'000);
        view.SwapBuffers();
    }

private:
    static constexpr std::size_t kLargest = 256;
    std::vector<unsigned char> m_pixels;
};

/// Finished frames are stored and put back, in stores that grow and are deleted.
class StoredFrames : public OneView {
public:
    StoredFrames() : OneView(kSide, kSide) {}
    int Cycle() const override { return 70; }
    void Draw(int step) override {
        COpenGLView& view = *live.view;
        live.Clear();
        DrawSquare(view, ColorOf(step));
        const int side = kSide - step % 40;
        Require(view.SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, side, side) == S_OK,
                "a frame was not stored");
        live.Clear();
        view.RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, side, side, 0, 0, side, side, false, true, false);
        Require(live.At(4, 4) == ColorOf(step), "a frame did not come back");
        if (step % 10 == 0) {
            Require(view.AllocateBackingStore(1200 + step % 7 * 100, 900) == S_OK, "no room for a frame");
        }
        if (step % 20 == 0) {
            view.DeleteBackingStore();
        }
        view.SwapBuffers();
    }

private:
    static constexpr int kSide = 200;
};

/// More fonts than the table holds, one after another, each with a string, some with halos, some shaped.
class Fonts : public OneView {
public:
    Fonts() : OneView(160, 80) {}
    void Draw(int /*step*/) override {
        for (int font = 0; font < 12; ++font) {
            DrawWith(font);
        }
        Require(live->GetError() == 0, "OpenGL has an error");
    }

private:
    void DrawWith(int font) const {
        COpenGLView& view = *live.view;
        live.Clear();
        view.Color(255, 255, 255);
        FontParameters request = FontRequest(font % 3 == 2 ? L"DejaVu Sans" : L"arial", 7 + font / 3, font % 3 == 1);
        Require(view.SetUpNewFont(request) == S_OK, "a font did not load");
        view.SetTextHalo({200, 0, 0, 255}, font % 2 == 0 ? 1.5 : 0.0);
        view.SetTextShaping(font % 4 == 0);
        view.DrawSetupFontAtlasText(true, true, 0, 0.0, 0.0);
        view.DrawFontAtlasText(L"Waves 12", 10.0, 20.0, 0.0, false, false);
        view.DrawTeardownFontAtlasText(false, false);
        view.SetTextHalo({}, 0.0);
        view.SetTextShaping(false);
        if (font % 4 == 3) {
            const Letters letters(live, 8 + font);
            letters.Draw(L"Rivers", 10.0, 50.0);
        }
        Require(font % 4 != 3 || live.CountDrawn() > 20, "no text is there");
        view.SwapBuffers();
    }
};

/// A window is made larger and smaller, down to nothing, and drawn to at each size.
class Resizes : public OneView {
public:
    Resizes() : OneView(200, 150) {}
    int Cycle() const override { return 4; }
    void Draw(int step) override {
        constexpr std::pair<int, int> sizes[] = {{640, 480}, {97, 61}, {8, 8},   {1, 480}, {640, 1},
                                                 {1, 1},     {0, 100}, {100, 0}, {0, 0}};
        for (const auto& [width, height] : sizes) {
            Resize(width, height);
            live.Clear();
            DrawSquare(*live.view, ColorOf(step));
            live->SaveBackingStore(live.window.DeviceContext(), GLContextMain, GL_BACK, 0, 0, width, height);
            live->RestoreBackingStore(GL_RGBA, 0, 0.0F, 0.0F, 0, 0, width, height, 0, 0, width, height, true, true,
                                      false);
            live->SwapBuffers();
        }
        Resize(200, 150);
        // The screen resizes when it comes to it, and takes what was drawn before with it: hosts draw again.
        for (int attempt = 0;; ++attempt) {
            try {
                DrawAndLook(live, step);
                return;
            } catch (const std::runtime_error&) {
                if (attempt == 100) {
                    throw;
                }
                live->SwapBuffers();
                Sleep(5);
            }
        }
    }

private:
    void Resize(int width, int height) const {
        SetWindowPos(live.window.Window(), nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
        PumpMessages();
        live->SetUpViewport(0, 0, width, height);
        live->MatrixMode(GL_PROJECTION);
        live->Ortho(0.0, std::max(width, 1), 0.0, std::max(height, 1), -1.0, 1.0);
        live->MatrixMode(GL_MODELVIEW);
        live->LoadIdentity();
    }
};

/// What a host does once: for the load that loads and unloads the library around it.
class OneFrame : public Load {
public:
    void Step(int step) override {
        LiveView live(64, 64);
        Require(live.created == 1, "a context could not be made");
        DrawAndLook(live, step);
        {
            const Letters letters(live);
            letters.Draw(L"once", 10.0, 20.0);
        }
        live->SwapBuffers();
        PumpMessages();
    }
};

// What each count is for: a step of these leaves one thing of a kind behind, and has to be seen.

/// Textures, buffers and lists that nobody deletes.
class LeakedObjects : public Load {
public:
    explicit LeakedObjects(const LiveView& live) : m_live(live) {}
    void Step(int /*step*/) override {
        const COrrinGLCement& gl = *m_live->GetContextRecord(GLContextMain).glCement;
        unsigned int name = 0;
        gl.glGenTextures(1, &name);
        gl.glBindTexture(GL_TEXTURE_2D, name);
        gl.glBindTexture(GL_TEXTURE_2D, 0);
        gl.glGenBuffers(1, &name);
        gl.glBindBuffer(GL_ARRAY_BUFFER, name);
        gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
        gl.glNewList(gl.glGenLists(1), GL_COMPILE);
        gl.glEndList();
    }

private:
    const LiveView& m_live;
};

/// What a view keeps beside its window.
class LeakedContexts : public Load {
public:
    explicit LeakedContexts(const LiveView& live) : m_live(live) {}
    void Step(int /*step*/) override {
        const HGLRC context = wglCreateContext(m_live.window.DeviceContext());
        wglMakeCurrent(m_live.window.DeviceContext(), context);
        glClear(GL_COLOR_BUFFER_BIT);
        m_live->MakeCurrent(GLContextMain);
    }

private:
    const LiveView& m_live;
};

struct LoadEntry {
    const char* name;
    std::unique_ptr<Load> (*make)(const LiveView& watcher);
};

template <typename Kind> std::unique_ptr<Load> Make(const LiveView& watcher) {
    if constexpr (std::is_default_constructible_v<Kind>) {
        return std::make_unique<Kind>();
    } else {
        return std::make_unique<Kind>(watcher);
    }
}

constexpr LoadEntry kLoads[] = {
    {"views", Make<ViewsAtOnce>},
    {"switches", Make<Switches>},
    {"creations", Make<Creations>},
    {"frames", Make<Frames>},
    {"images", Make<Images>},
    {"stored-frames", Make<StoredFrames>},
    {"fonts", Make<Fonts>},
    {"resizes", Make<Resizes>},
    {"one-frame", Make<OneFrame>},
    {"leaked-objects", Make<LeakedObjects>},
    {"leaked-contexts", Make<LeakedContexts>},
};

int Run(const SoakOrder& order, const LoadEntry& entry) {
    const Notices notices;
    UseBuiltShaders();
    // The process's first view settles the pipeline; the soak chooses another afterwards. It stays to count from: as
    // long as it lives, so does what the views share.
    auto first = std::make_unique<COpenGLView>();
    COpenGLView::SetOpenGLVersion(order.programs ? 4 : 2, order.programs ? 4 : 0);
    int result = SoakDone;
    {
        LiveView watcher(64, 64);
        Require(watcher.created == 1, "a context could not be made");
        if (watcher->DrawsWithPrograms() != order.programs) {
            result = SoakNoPrograms;
        } else {
            first->InitializeFontManager();
            const std::unique_ptr<Load> load = entry.make(watcher);
            const int cycle = load->Cycle();
            for (int step = 0; step < cycle; ++step) {
                load->Step(step);
            }
            for (int done = 1; done <= order.steps; ++done) {
                load->Step(cycle + done - 1);
                if (done == order.steps / 10 || done == order.steps / 2 || done == order.steps) {
                    Require(watcher->MakeCurrent(GLContextMain) == 1, "the first view could not be made current");
                    watcher->Finish();
                    const GLObjects objects = GLObjects::Count(*watcher->GetContextRecord(GLContextMain).glCement);
                    watcher->GetError();
                    order.sample(done, objects.count, objects.kinds.c_str(), order.context);
                }
            }
            for (const NoticeRecord& notice : notices.shown) {
                std::fprintf(stderr, "%s: a message box: %ls\n", order.load, notice.text.c_str());
                result = SoakFailed;
            }
        }
    }
    first.reset();
    COpenGLView::FinalShutDownDestroyClassCriticalSection();
    return result;
}

} // namespace

int RunSoakLoad(const SoakOrder* order) {
    const auto* const entry = std::find_if(std::begin(kLoads), std::end(kLoads), [&](const LoadEntry& candidate) {
        return std::strcmp(candidate.name, order->load) == 0;
    });
    if (entry == std::end(kLoads)) {
        return SoakUnknownLoad;
    }
    try {
        return Run(*order, *entry);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", order->load, failure.what());
        return SoakFailed;
    }
}
