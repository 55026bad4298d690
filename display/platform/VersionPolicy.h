#pragma once

#include "../Export.h"

namespace KTR {

/// Maker of the graphics card, as found in the GL_VERSION text.
enum GLVideoCardVendor : int {
    VendorNVIDIA = 0,
    VendorIntel = 1,
    VendorATI = 2,
    VendorOther = 3,
};

/// Which of the two pipelines the process uses, and what is known of the driver. One instance serves all views; it is
/// settled when the first view is constructed and read on every drawing call.
struct OpenGLVersionData {
    bool bLegacyOpenGL11 = true;  ///< the fixed-function pipeline is in force
    bool bOpenGL4OrLater = false; ///< the 4.x pipeline is in force; never together with the one above
    bool bBootstrapFlag = false;
    bool bAdvancedPixelFormat = false; ///< attribute-based pixel formats and contexts can be used
    bool bTextureCache = false;
    bool bGLCementInitialized = true;
    bool bForceSoftwareRendering = false;
    GLVideoCardVendor eVendor = VendorOther;
    int iLegacyMajor = 2, iLegacyMinor = 0; ///< version to set when the fixed-function pipeline is forced
    int iVendorMajor = 2, iVendorMinor = 0; ///< version that the driver reports
    int iMajor = 2, iMinor = 0;             ///< version in force
    int iMaxVertexAttribs = 16;
    int iMaxTextureSize = 64; ///< pixels along one side
};

/// What a GL_VERSION text says.
struct ParsedGLVersion {
    bool understood = false; ///< both numbers were read
    int combined = 0;        ///< major × 10 + minor
    int major = 0;
    int minor = 0;
    GLVideoCardVendor vendor = VendorOther;
};

/// Reads the numbers and the vendor out of a GL_VERSION text (not null).
ORRIN_DISPLAY_API ParsedGLVersion ParseGLVersionText(const char* text);

/// What the policy makes of a driver.
struct VersionChoice {
    int legacyMajor, legacyMinor;
    bool driverFails; ///< claims more than 2.0 but lacks a function that the 4.x pipeline stands on
    int major, minor; ///< version to set
};

/// Chooses the version for a driver that reports `combined` (major × 10 + minor).
ORRIN_DISPLAY_API VersionChoice ChooseVersion(int combined, bool hasKeyEntryPoints);

/// True when ORRIN_OPENGL_VERSION asks for OpenGL 1.1 (1 or 11). Reports what it found to the debugger.
ORRIN_DISPLAY_API bool GetOpenGL11UserEnvironmentVariable();
/// False when ORRIN_TEXTURE_CACHE switches the texture cache off. Reports what it found to the debugger.
ORRIN_DISPLAY_API bool GetOpenGLTextureCacheEnvironmentVariable();

} // namespace KTR
