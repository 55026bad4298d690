#include "FontManager.h"

#include <afxwin.h>

#include <algorithm>
#include <cmath>

int CFTGLFontManager::m_giLogicalDisplayWidth = 0;
int CFTGLFontManager::m_giLogicalDisplayHeight = 0;
int CFTGLFontManager::m_giLogicalDiagonalPixels = 0;
int CFTGLFontManager::m_giLogicalHorizontalDPI = 0;
int CFTGLFontManager::m_giLogicalVerticalDPI = 0;
int CFTGLFontManager::m_giPhysicalDisplayWidth = 0;
int CFTGLFontManager::m_giPhysicalDisplayHeight = 0;
int CFTGLFontManager::m_giDPI = 0;
int CFTGLFontManager::m_giPhysicalDiagonalPixels = 0;
int CFTGLFontManager::m_giPhysicalDiagonalInches = 0;

namespace {

int TruncatedDiagonal(int width, int height) {
    const double x = width;
    const double y = height;
    return static_cast<int>(std::sqrt(x * x + y * y));
}

} // namespace

void CFTGLFontManager::InitializeObject() {
    CalculateScreenDPI();
}

void CFTGLFontManager::CalculateScreenDPI() {
    // The screen's device context is common to the process and stays with it.
    const HDC screen = GetDC(nullptr);
    RECT desktop = {};
    GetWindowRect(GetDesktopWindow(), &desktop);
    m_giLogicalDisplayHeight = desktop.bottom;
    m_giLogicalDisplayWidth = desktop.right;
    m_giLogicalDiagonalPixels = TruncatedDiagonal(m_giLogicalDisplayWidth, m_giLogicalDisplayHeight);
    m_giLogicalHorizontalDPI = GetDeviceCaps(screen, LOGPIXELSX);
    m_giLogicalVerticalDPI = GetDeviceCaps(screen, LOGPIXELSY);
    m_giPhysicalDisplayWidth = GetDeviceCaps(screen, HORZSIZE);
    m_giPhysicalDisplayHeight = GetDeviceCaps(screen, VERTSIZE);
    m_giDPI = std::max(m_giLogicalHorizontalDPI, m_giLogicalVerticalDPI);
    m_giPhysicalDiagonalPixels = TruncatedDiagonal(m_giPhysicalDisplayWidth, m_giPhysicalDisplayHeight);
    m_giPhysicalDiagonalInches = static_cast<int>(m_giPhysicalDiagonalPixels * 0.0393700787);
}
