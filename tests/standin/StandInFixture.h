#pragma once

#include "DriverControl.h"
#include "support/TestWindow.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <GL/wglext.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <ostream>

template <class F> F Find(const char* name) {
    return reinterpret_cast<F>(wglGetProcAddress(name));
}

inline PIXELFORMATDESCRIPTOR FormatRequest() {
    PIXELFORMATDESCRIPTOR request = {};
    request.nSize = sizeof(request);
    request.nVersion = 1;
    request.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    request.cColorBits = 32;
    request.cDepthBits = 24;
    return request;
}

inline BOOL ChooseFormat(HDC deviceContext) {
    const PIXELFORMATDESCRIPTOR request = FormatRequest();
    return SetPixelFormat(deviceContext, ChoosePixelFormat(deviceContext, &request), &request);
}

/// A window with a current context, on the stand-in.
class DriverTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(ChooseFormat(DeviceContext()));
        m_context = wglCreateContext(DeviceContext());
        ASSERT_TRUE(wglMakeCurrent(DeviceContext(), m_context));
        driver.ClearViolations();
    }
    void TearDown() override {
        driver.Reset();
        wglMakeCurrent(nullptr, nullptr);
        wglDeleteContext(m_context);
        window.Destroy();
        EXPECT_EQ(driver.LiveContexts(), 0u) << driver.LeakReport();
        EXPECT_EQ(driver.LiveWindowsWithFormat(), 0u);
    }
    HDC DeviceContext() const { return window.DeviceContext(); }
    std::array<unsigned char, 4> Pixel() const {
        std::array<unsigned char, 4> pixel = {};
        glReadPixels(4, 4, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
        return pixel;
    }

    StandIn driver;
    TestWindow window{64, 64};
    HGLRC m_context = nullptr;
};

using Pixel4 = std::array<unsigned char, 4>;

/// What a case of the strict rules finds prepared, and may leave behind broken.
struct Scene {
    HDC deviceContext;
    HGLRC context;
    TestWindow& other;
    StandIn& driver;
    HGLRC Another() const { return wglCreateContext(deviceContext); }
};

struct Rule {
    const char* name;
    std::function<void(const Scene&)> breakIt;
    /// What the violation says; nullptr where there must be none.
    const char* violation;
};

inline void PrintTo(const Rule& rule, std::ostream* stream) {
    *stream << rule.name;
}

class StrictRule : public DriverTest, public testing::WithParamInterface<Rule> {};
