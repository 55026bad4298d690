#include "FontManager.h"

#include "../platform/Border.h"
#include "../view/OpenGLView.h"
#include "FontAtlas.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <cwchar>
#include <new>

namespace KTR {

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

constexpr double kNoFontEm = 0.5;
constexpr int kNoFontWidthPixels = 26;
constexpr int kNoFontHeightPixels = 13;

/// The oldest font that may go: the one before it is the default font.
constexpr int kFirstToGo = 1;

/// What the screen is measured on. Windows lends one for each GetDC until it is given back, so measuring again takes
/// the one that is there.
HDC screenContext = nullptr;

} // namespace

CFTGLFontManager::~CFTGLFontManager() {
    DeleteFontLibrary();
}

void CFTGLFontManager::InitializeObject() {
    DeleteFontLibrary();
    m_currentFont = 0;
    ClearTaggedForDeletionTextureAndSamplerNames();
    CalculateScreenDPI();
    CreateDefaultFont();
}

void CFTGLFontManager::DeleteFontLibrary() {
    for (CFTGLFontAtlas*& atlas : m_atlases) {
        DeleteFontAtlas(&atlas);
    }
}

void CFTGLFontManager::DeleteFontAtlas(CFTGLFontAtlas** atlas) {
    delete *atlas;
    *atlas = nullptr;
}

long CFTGLFontManager::CreateDefaultFont() {
    if (!COpenGLView::m_gsOpenGLVersionData.bOpenGL4OrLater) {
        return S_OK;
    }
    return AtTheBorder(long{E_OUTOFMEMORY}, [this] {
        constexpr COLORREF color = 0xFF00FFFF;
        FontParameters request;
        request.textColor = color;
        request.pointSize = 12;
        request.weight = 1;
        request.characterFormat = DefaultCharacterFormat(color);
        std::wcscpy(request.logicalFont.lfFaceName, L"arial");
        return SetUpNewFont(request);
    });
}

long CFTGLFontManager::SetUpNewFont(FontParameters& request) {
    for (int slot = 0; slot < kFontSlots; ++slot) {
        if (m_atlases[slot] && m_atlases[slot]->IsFontRequestSameAsCurrentFont(request)) {
            m_currentFont = slot;
            return S_OK;
        }
    }
    const int slot = FreeSlot();
    m_atlases[slot] = new (std::nothrow) CFTGLFontAtlas;
    if (!m_atlases[slot]) {
        return E_OUTOFMEMORY;
    }
    const long result = m_atlases[slot]->SetUpNewFont(request);
    if (result == S_OK) {
        m_currentFont = slot;
    }
    return result;
}

long CFTGLFontManager::SetCurrentFontIndex(int& index) {
    if (!GetFontAtlas(index)) {
        index = m_currentFont;
        return E_INVALIDARG;
    }
    m_currentFont = index;
    return S_OK;
}

CFTGLFontAtlas* CFTGLFontManager::GetFontAtlas(int slot) const {
    return slot >= 0 && slot < kFontSlots ? m_atlases[slot] : nullptr;
}

FontAtlasGlyphMetrics* CFTGLFontManager::GetCurrentFontAtlasMetrics() const {
    const CFTGLFontAtlas* atlas = CurrentAtlas();
    return atlas ? atlas->GetAtlasMetrics() : nullptr;
}

FontParameters* CFTGLFontManager::GetCurrentFontAtlasParameters() const {
    CFTGLFontAtlas* atlas = CurrentAtlas();
    return atlas ? &atlas->GetFontParameters() : nullptr;
}

FT_FaceRec_* CFTGLFontManager::GetCurrentFontFace() const {
    const CFTGLFontAtlas* atlas = CurrentAtlas();
    return atlas ? atlas->GetFontFace() : nullptr;
}

long CFTGLFontManager::GetFontParameters(FontParameters& parameters) const {
    const FontParameters* current = GetCurrentFontAtlasParameters();
    if (!current) {
        return E_INVALIDARG;
    }
    return AtTheBorder([&] { parameters = *current; }) ? S_OK : E_OUTOFMEMORY;
}

long CFTGLFontManager::GetCurrentFontTexture(int& width, int& height, unsigned char** bytes) const {
    const FontAtlasGlyphMetrics* metrics = GetCurrentFontAtlasMetrics();
    if (!metrics) {
        return E_INVALIDARG;
    }
    width = metrics->textureWidth;
    height = metrics->textureHeight;
    *bytes = CurrentAtlas()->GetRawTexture();
    return S_OK;
}

long CFTGLFontManager::GetCurrentFontTextureAndSamplerId(unsigned int& texture, unsigned int& sampler) const {
    const FontAtlasGlyphMetrics* metrics = GetCurrentFontAtlasMetrics();
    if (!metrics) {
        return E_INVALIDARG;
    }
    texture = metrics->textureName;
    sampler = metrics->samplerName;
    return S_OK;
}

long CFTGLFontManager::SetCurrentFontTextureAndSamplerId(unsigned int texture, unsigned int sampler) {
    FontAtlasGlyphMetrics* metrics = GetCurrentFontAtlasMetrics();
    if (!metrics) {
        return E_INVALIDARG;
    }
    metrics->textureName = texture;
    metrics->samplerName = sampler;
    return S_OK;
}

void CFTGLFontManager::GetCurrentFontNotionalMetrics(double& width, double& height) const {
    const FontAtlasGlyphMetrics* metrics = GetCurrentFontAtlasMetrics();
    width = metrics ? metrics->averageWidth : kNoFontEm;
    height = metrics ? metrics->averageHeight : kNoFontEm;
}

int CFTGLFontManager::GetFontAverageWidthPixels() const {
    const FontParameters* current = GetCurrentFontAtlasParameters();
    return current ? current->cellWidth : kNoFontWidthPixels;
}

int CFTGLFontManager::GetFontAverageHeightPixels() const {
    const FontParameters* current = GetCurrentFontAtlasParameters();
    return current ? current->cellHeight : kNoFontHeightPixels;
}

double CFTGLFontManager::GetFontAverageWidthNotionalUnits() const {
    const FontParameters* current = GetCurrentFontAtlasParameters();
    return current ? current->averageWidthEm : kNoFontEm;
}

double CFTGLFontManager::GetFontAverageHeightNotionalUnits() const {
    const FontParameters* current = GetCurrentFontAtlasParameters();
    return current ? current->averageHeightEm : kNoFontEm;
}

int CFTGLFontManager::DoesCurrentFontHaveKerning() const {
    const FT_Face face = GetCurrentFontFace();
    return face && FT_HAS_KERNING(face) ? 1 : 0;
}

long CFTGLFontManager::GetTextStringDimensions(const wchar_t* text, std::size_t& length, double* width,
                                               double* height) const {
    const CFTGLFontAtlas* atlas = CurrentAtlas();
    return atlas ? atlas->GetTextStringDimensions(text, length, width, height) : E_INVALIDARG;
}

void CFTGLFontManager::TagForDeletionTextureAndSamplerNames(unsigned int texture, unsigned int sampler) {
    m_taggedTexture = texture;
    m_taggedSampler = sampler;
}

bool CFTGLFontManager::GetTagedForDeletionTextureAndSamplerNames(unsigned int& texture, unsigned int& sampler) const {
    texture = m_taggedTexture;
    sampler = m_taggedSampler;
    return texture != 0 || sampler != 0;
}

void CFTGLFontManager::ClearTaggedForDeletionTextureAndSamplerNames() {
    m_taggedTexture = 0;
    m_taggedSampler = 0;
}

void CFTGLFontManager::CalculateScreenDPI() {
    if (!screenContext) {
        screenContext = GetDC(nullptr);
    }
    const HDC screen = screenContext;
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

void CFTGLFontManager::ReleaseScreen() {
    if (screenContext) {
        ReleaseDC(nullptr, screenContext);
        screenContext = nullptr;
    }
}

int CFTGLFontManager::GetPointSizeInLogicalUnits(HDC deviceContext, const LOGFONTW& font, const TEXTMETRICW& metrics) {
    const int dpi = GetDeviceCaps(deviceContext, LOGPIXELSY);
    if (font.lfHeight >= 0) {
        return MulDiv(font.lfHeight - metrics.tmInternalLeading, 72, dpi);
    }
    return -MulDiv(font.lfHeight, 72, dpi);
}

int CFTGLFontManager::GetPointSizeFromLogFont(HDC deviceContext, const LOGFONTW& font) {
    TEXTMETRICW metrics = {};
    GetTextMetricsW(deviceContext, &metrics);
    return GetPointSizeInLogicalUnits(deviceContext, font, metrics);
}

/// The first empty slot; when there is none, the last one, from which the others have moved down.
int CFTGLFontManager::FreeSlot() {
    const auto empty = std::find(std::begin(m_atlases), std::end(m_atlases), nullptr);
    if (empty != std::end(m_atlases)) {
        return static_cast<int>(empty - std::begin(m_atlases));
    }
    if (const FontAtlasGlyphMetrics* metrics = m_atlases[kFirstToGo]->GetAtlasMetrics()) {
        TagForDeletionTextureAndSamplerNames(metrics->textureName, metrics->samplerName);
    }
    DeleteFontAtlas(&m_atlases[kFirstToGo]);
    // The current index is left alone: it names slots, and the caller settles it when the new font is there.
    std::rotate(std::begin(m_atlases) + kFirstToGo, std::begin(m_atlases) + kFirstToGo + 1, std::end(m_atlases));
    return kFontSlots - 1;
}

} // namespace KTR
