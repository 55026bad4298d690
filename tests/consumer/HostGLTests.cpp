// A host's own OpenGL on the installed stand-in driver: no library, no test framework.

#include <DriverControl.h>

#include <GL/gl.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

/// What the host draws by itself: a marker of its own making.
class Marker {
public:
    void Create() {
        const unsigned char white[4] = {255, 255, 255, 255};
        glGenTextures(1, &m_texture);
        glBindTexture(GL_TEXTURE_2D, m_texture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, white);
        glBindTexture(GL_TEXTURE_2D, 0);
    }
    void Draw() const {
        glBindTexture(GL_TEXTURE_2D, m_texture);
        glRectf(-0.1F, -0.1F, 0.1F, 0.1F);
        glBindTexture(GL_TEXTURE_2D, 0);
    }
    void Release() { glDeleteTextures(1, &m_texture); }

private:
    GLuint m_texture = 0;
};

int g_failures = 0;

void Expect(bool holds, const char* what) {
    if (!holds) {
        std::printf("failed: %s\n", what);
        ++g_failures;
    }
}

/// A marker makes one texture, leaves none behind and breaks no rule.
void MarkerCleansUp() {
    StandIn driver;
    Marker marker;
    marker.Create();
    marker.Draw();
    Expect(driver.LiveObjects(DriverObject::Texture) == 1, "one texture");
    marker.Release();
    Expect(driver.LiveObjects() == 0, driver.LeakReport().c_str());
    Expect(driver.Violations().empty(), "no violation");
}

/// A draw behind the release is noticed, though the system's driver draws on.
void DrawAfterReleaseIsNoticed() {
    StandIn driver;
    Marker marker;
    marker.Create();
    marker.Release();
    driver.StartJournal();
    marker.Draw();
    Expect(driver.JournalText("glRectf") == std::vector<std::string>{"glRectf(-0.1, -0.1, 0.1, 0.1)"}, "drawn once");
    const std::vector<std::string> violations = driver.Violations();
    Expect(violations.size() == 1 && violations[0].ends_with("after its deletion"), "one violation");
}

/// Memory that runs out in the driver: the marker is drawn without its texture.
void MarkerWithoutTextureDrawsStill() {
    StandIn driver;
    driver.FailCall("glGenTextures");
    Marker marker;
    marker.Create();
    marker.Draw();
    marker.Release();
    Expect(driver.CallCount("glRectf") == 1, "drawn once");
    Expect(driver.Violations().empty(), "no violation");
}

} // namespace

int main() {
    if (!StandIn::IsLoaded()) {
        std::puts("not on the stand-in driver");
        return 1;
    }
    const HWND window =
        CreateWindowW(L"STATIC", L"Host", WS_POPUP | WS_VISIBLE, 0, 0, 64, 64, nullptr, nullptr, nullptr, nullptr);
    const HDC deviceContext = GetDC(window);
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof(format);
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    format.cColorBits = 32;
    SetPixelFormat(deviceContext, ChoosePixelFormat(deviceContext, &format), &format);
    const HGLRC context = wglCreateContext(deviceContext);
    wglMakeCurrent(deviceContext, context);
    MarkerCleansUp();
    DrawAfterReleaseIsNoticed();
    MarkerWithoutTextureDrawsStill();
    wglMakeCurrent(nullptr, nullptr);
    wglDeleteContext(context);
    std::printf("%d failure(s)\n", g_failures);
    return g_failures == 0 ? 0 : 1;
}
