#pragma once

#include "FontFile.h"
#include "ViewFixture.h"

/// Fonts of a process without views: the screen is measured, the table empty, textures as large as today's cards allow.
class FontTest : public FreshProcessTest {
protected:
    FontTest() {
        COpenGLView::m_gsOpenGLVersionData.iMaxTextureSize = 16384;
        CFTGLFontManager::CalculateScreenDPI();
    }
};
