#include "FontAtlas.h"

#include "../platform/Border.h"
#include "../platform/Notice.h"
#include "../view/OpenGLView.h"
#include "FontFace.h"
#include "FontFiles.h"
#include "FontManager.h"
#include "FontMemory.h"
#include "GlyphSheet.h"
#include "KerningCache.h"
#include "PackedCells.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace KTR {

namespace {

/// Seconds that a font may take, and for each megabyte of its file as many again. Arial takes a tenth of one; a file
/// can have each of 65,535 glyphs run a million instructions.
constexpr double kMostSeconds = 3.0;

} // namespace

/// How long the thread has worked on a font. What it waits for others does not count.
class FontClock {
public:
    explicit FontClock(unsigned long fileBytes) : m_most(kMostSeconds * (1.0 + fileBytes / 1048576.0)) {}

    bool IsOver() const {
        // To ask for the thread's own time takes long.
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count() > m_most &&
               WorkedSeconds() - m_workedBefore > m_most;
    }

private:
    static double WorkedSeconds() {
        FILETIME created{};
        FILETIME ended{};
        FILETIME kernel{};
        FILETIME user{};
        GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user);
        const auto seconds = [](const FILETIME& time) {
            return (time.dwHighDateTime * 4294967296.0 + time.dwLowDateTime) * 1e-7;
        };
        return seconds(kernel) + seconds(user);
    }

    double m_most;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    double m_workedBefore = WorkedSeconds();
};

namespace {

// Sampling exactly on the border between two cells may fall to either side; this keeps a glyph's outer pixels in.
constexpr double kTexelMargin = 0.01;

/// Most pixels that FreeType draws a glyph with, in either direction.
constexpr unsigned int kLargestBitmap = 0x7FFF;

/// All that Unicode has room for.
constexpr int kMostCharacters = 0x110000;

/// The device context of the whole desktop, which GDI fonts are measured on.
class DesktopContext {
public:
    DesktopContext() : m_desktop(GetDesktopWindow()), m_deviceContext(GetDC(m_desktop)) {}
    ~DesktopContext() {
        if (m_deviceContext) {
            ReleaseDC(m_desktop, m_deviceContext);
        }
    }
    DesktopContext(const DesktopContext&) = delete;
    DesktopContext& operator=(const DesktopContext&) = delete;

    HDC Get() const { return m_deviceContext; }

private:
    HWND m_desktop;
    HDC m_deviceContext;
};

struct FontDeleter {
    void operator()(HFONT font) const { DeleteObject(font); }
};
using GdiFont = std::unique_ptr<std::remove_pointer_t<HFONT>, FontDeleter>;

template <typename Type> void FreeAndClear(Type*& memory) {
    std::free(memory);
    memory = nullptr;
}

template <typename Type> Type* AllocateZeroed(long long count) {
    return static_cast<Type*>(std::calloc(static_cast<std::size_t>(count), sizeof(Type)));
}

/// FreeType opens files by names of the thread's code page.
std::string InThreadCodePage(const CString& text) {
    const int size = WideCharToMultiByte(CP_THREAD_ACP, 0, text.GetString(), -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(std::max(size, 1)), '\0');
    WideCharToMultiByte(CP_THREAD_ACP, 0, text.GetString(), -1, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

/// A point size as FreeType's fixed-point number, as far as that reaches.
FT_F26Dot6 FixedPoints(int points) {
    const long long fixed = static_cast<long long>(points) << kFractionBits;
    return static_cast<FT_F26Dot6>(std::clamp<long long>(fixed, LONG_MIN, LONG_MAX));
}

/// Calls `visit(code, glyph)` for each character of the face until one returns an error. A glyph that cannot be drawn
/// would not be on another try either, and FreeType is not to be used on after it ran out of memory, so the first error
/// decides. So does a map of more characters than there are: a dozen bytes can name four thousand million.
template <typename Visit>
long VisitCharacters(FT_Face face, const FontMemory& memory, const FontClock& clock, Visit visit) {
    FT_UInt next = 0;
    int count = 0;
    for (FT_ULong code = FT_Get_First_Char(face, &next); next != 0; code = FT_Get_Next_Char(face, code, &next)) {
        const FT_UInt glyph = FT_Get_Char_Index(face, code);
        const bool isTooMuch = ++count > kMostCharacters || clock.IsOver();
        const FT_Error loaded = isTooMuch ? FT_Err_Execution_Too_Long : visit(code, glyph);
        if (const FT_Error error = IsExhausted(memory) ? FT_Err_Out_Of_Memory : loaded) {
            return error == FT_Err_Out_Of_Memory ? E_OUTOFMEMORY : E_FAIL;
        }
    }
    return S_OK;
}

/// Where a glyph begins and ends along one axis of the texture, with the margin but within 0 to 1.
struct TextureSpan {
    TextureSpan(long long firstPixel, unsigned int pixels, int textureSize)
        : begin(std::max((static_cast<double>(firstPixel) - kTexelMargin) / textureSize, 0.0)),
          end(std::min((static_cast<double>(firstPixel + pixels) + kTexelMargin) / textureSize, 1.0)) {}
    double begin;
    double end;
};

/// What several characters have in common that a font shows by one glyph.
struct GlyphMeasure {
    bool isKnown = false;
    bool hasUnits = false;
    double widthUnits = 0.0;
    double heightUnits = 0.0;
    unsigned int width = 0; ///< of the bitmap
    unsigned int height = 0;
};

/// The one of a glyph, made where there is none yet.
template <typename Entry> Entry& EntryOf(std::vector<Entry>& entries, FT_UInt glyph, const Entry& unknown) {
    if (glyph >= entries.size()) {
        entries.resize(std::size_t{glyph} + 1, unknown);
    }
    return entries[glyph];
}

/// Puts a glyph into the cell that begins at (x, y).
void PlaceGlyph(FontAtlasGlyph& glyph, long long x, long long y, const FontAtlasGlyphMetrics& metrics) {
    const TextureSpan s(x, static_cast<unsigned int>(glyph.width), metrics.textureWidth);
    const TextureSpan t(y, static_cast<unsigned int>(glyph.height), metrics.textureHeight);
    glyph.s0 = s.begin;
    glyph.s1 = s.end;
    glyph.t0 = t.begin;
    glyph.t1 = t.end;
}

FontAtlasGlyph DescribeGlyph(const FT_GlyphSlot slot) {
    FontAtlasGlyph glyph = {};
    glyph.advance = WholePixels(slot->advance.x);
    glyph.width = slot->bitmap.width;
    glyph.height = slot->bitmap.rows;
    glyph.leftBearing = slot->bitmap_left;
    glyph.topBearing = slot->bitmap_top;
    glyph.xOffset = slot->bitmap_left;
    glyph.descent = WholePixels(slot->metrics.horiBearingY - slot->metrics.height);
    return glyph;
}

/// Lets the symbols be named by their bytes as well, which is how users type them.
void NameSymbols(FontAtlasGlyphMetrics& metrics) {
    for (int byte = 0x20; byte <= 0xFF; ++byte) {
        const wchar_t name = NameOfSymbol(byte);
        if (metrics.characterMap[name] == 0) {
            metrics.characterMap[name] = metrics.characterMap[kFirstSymbol + static_cast<FT_ULong>(byte)];
        }
    }
}

} // namespace

FontGrid LayOutFontGrid(int characters, int cellWidth, int cellHeight, int maximumTextureSize) {
    FontGrid grid;
    if (characters < 1 || cellWidth < 1 || cellHeight < 1) {
        return grid;
    }
    // A cell that is wider than the texture may be still makes one column, which then does not fit.
    grid.columns = std::max(maximumTextureSize / cellWidth, 1);
    grid.rows = (characters + grid.columns - 1) / grid.columns;
    grid.textureWidth = cellWidth * grid.columns;
    grid.textureHeight = cellHeight * grid.rows;
    grid.textureBytes = grid.textureWidth * grid.textureHeight;
    grid.fits = grid.textureWidth <= maximumTextureSize && grid.textureHeight <= maximumTextureSize;
    return grid;
}

CFTGLFontAtlas::CFTGLFontAtlas() : m_parameters{CString(), CString()} {
    InitializeObject();
}

CFTGLFontAtlas::~CFTGLFontAtlas() {
    FreeDataStructures();
}

void CFTGLFontAtlas::InitializeObject() {
    m_metrics = nullptr;
    m_cells = nullptr;
    m_rawTexture = nullptr;
    m_rawTextureReleased = false;
    m_library = nullptr;
    m_memory = nullptr;
    m_face = nullptr;
    m_kerning = nullptr;
    m_sheet = nullptr;
    m_path.Empty();
    AtTheBorder([this] {
        m_parameters = {CString(), CString()}; // in case that there is no memory for names
        m_parameters = {};
    });
}

void CFTGLFontAtlas::FreeDataStructures() {
    ReleaseFontLibrary();
    ReleaseFontAtlas();
}

void CFTGLFontAtlas::ReleaseFontLibrary() {
    delete m_kerning;
    m_kerning = nullptr;
    delete m_sheet;
    m_sheet = nullptr;
    if (m_face) {
        FT_Done_Face(m_face);
        m_face = nullptr;
    }
    DeleteFontLibrary(m_library, m_memory);
}

KerningCache* CFTGLFontAtlas::GetKerning() {
    if (!m_kerning && m_face && FT_HAS_KERNING(m_face)) {
        AtTheBorder([this] { m_kerning = new KerningCache(m_face); });
    }
    return m_kerning;
}

GlyphSheet* CFTGLFontAtlas::GetSheet() {
    if (!m_sheet && m_face) {
        AtTheBorder([this] { m_sheet = new GlyphSheet(m_face, COpenGLView::GetMaximumTextureSize()); });
    }
    return m_sheet;
}

void CFTGLFontAtlas::ReleaseRawTexture() {
    FreeAndClear(m_rawTexture);
    m_rawTextureReleased = true;
}

unsigned char* CFTGLFontAtlas::GetRawTexture() const {
    if (!m_rawTexture && !m_rawTextureReleased && m_metrics && m_cells) {
        m_rawTexture = AllocateZeroed<unsigned char>(m_metrics->textureBytes);
        if (m_rawTexture && !AtTheBorder([this] { m_cells->Unpack(0, m_metrics->textureHeight, m_rawTexture); })) {
            FreeAndClear(m_rawTexture);
        }
    }
    return m_rawTexture;
}

long CFTGLFontAtlas::CopyTextureRows(int first, int count, unsigned char* rows) const {
    if (!m_metrics || !m_cells || !rows || first < 0 || count < 1 || count > m_metrics->textureHeight - first) {
        return E_INVALIDARG;
    }
    const auto width = static_cast<std::size_t>(m_metrics->textureWidth);
    const std::size_t size = static_cast<std::size_t>(count) * width;
    if (m_rawTexture) {
        std::memcpy(rows, m_rawTexture + static_cast<std::size_t>(first) * width, size);
        return S_OK;
    }
    std::memset(rows, 0, size);
    return AtTheBorder([&] { m_cells->Unpack(first, count, rows); }) ? S_OK : E_OUTOFMEMORY;
}

void CFTGLFontAtlas::ReleaseFontAtlas() {
    if (m_metrics) {
        FreeAndClear(m_metrics->glyphs);
    }
    FreeAndClear(m_metrics);
    delete m_cells;
    m_cells = nullptr;
    FreeAndClear(m_rawTexture);
    m_rawTextureReleased = false;
}

bool CFTGLFontAtlas::IsFontRequestSameAsCurrentFont(const FontParameters& request) const {
    const LOGFONTW& wanted = request.logicalFont;
    const LOGFONTW& current = m_parameters.logicalFont;
    return _wcsnicmp(wanted.lfFaceName, current.lfFaceName, LF_FACESIZE) == 0 && wanted.lfHeight == current.lfHeight &&
           wanted.lfWeight == current.lfWeight && wanted.lfItalic == current.lfItalic &&
           wanted.lfStrikeOut == current.lfStrikeOut && wanted.lfUnderline == current.lfUnderline;
}

long CFTGLFontAtlas::SetUpNewFont(FontParameters& request) {
    if (IsFontRequestSameAsCurrentFont(request)) {
        return S_OK;
    }
    const long result = AtTheBorder(long{E_OUTOFMEMORY}, [&] { return SetUp(request); });
    return result == S_OK ? S_OK : AbandonBuild(result);
}

long CFTGLFontAtlas::BuildFontAndGetMetrics(HDC deviceContext, const wchar_t* face, int height, int weight,
                                            unsigned char characterSet, unsigned char italic, unsigned char underline,
                                            unsigned char strikeOut, LOGFONTW& font, TEXTMETRICW& metrics) {
    if (!face) {
        return E_INVALIDARG;
    }
    LOGFONTW wanted = {};
    wanted.lfHeight = height;
    wanted.lfWeight = weight;
    wanted.lfItalic = italic;
    wanted.lfUnderline = underline;
    wanted.lfStrikeOut = strikeOut;
    wanted.lfCharSet = characterSet;
    wanted.lfOutPrecision = OUT_OUTLINE_PRECIS;
    wanted.lfQuality = ANTIALIASED_QUALITY;
    std::wcsncpy(wanted.lfFaceName, face, LF_FACESIZE - 1);
    const GdiFont created(CreateFontIndirectW(&wanted));
    if (!created) {
        return E_INVALIDARG;
    }
    GetObjectW(created.get(), sizeof(LOGFONTW), &font);
    const HGDIOBJ previous = SelectObject(deviceContext, created.get());
    if (!GetTextMetricsW(deviceContext, &metrics)) {
        return E_INVALIDARG;
    }
    SelectObject(deviceContext, previous);
    return S_OK;
}

long CFTGLFontAtlas::InitializeFreeTypeLibrary(const FontParameters& request) {
    const long result = AtTheBorder(long{E_OUTOFMEMORY}, [&] { return OpenFontFile(request); });
    return result == S_OK ? S_OK : AbandonBuild(result);
}

long CFTGLFontAtlas::BuildFontAtlas(bool monochrome) {
    const long result = AtTheBorder(long{E_OUTOFMEMORY}, [&] { return Build(monochrome); });
    return result == S_OK ? S_OK : AbandonBuild(result);
}

long CFTGLFontAtlas::Build(bool monochrome) {
    ReleaseFontAtlas();
    if (!m_face) {
        return E_FAIL;
    }
    m_metrics = AllocateZeroed<FontAtlasGlyphMetrics>(1);
    if (!m_metrics) {
        return E_OUTOFMEMORY;
    }
    const FontClock clock(m_face->stream ? m_face->stream->size : 0);
    long result = Measure(clock);
    if (result == S_OK) {
        do {
            result = LayOut();
            if (result == S_OK) {
                result = DrawCells(monochrome, clock);
            }
        } while (result == S_FALSE);
    }
    return result;
}

long CFTGLFontAtlas::GetTextStringDimensions(const wchar_t* text, std::size_t& length, double* width,
                                             double* height) const {
    if (!text) {
        return E_INVALIDARG;
    }
    length = std::wcslen(text);
    if (!m_metrics) {
        return E_INVALIDARG;
    }
    const bool codeIsCell = !width || !height;
    const auto cellCount = static_cast<std::size_t>(m_metrics->renderedCharacters);
    double advances = 0.0;
    double tallest = 0.0;
    for (const wchar_t* character = text; *character != 0; ++character) {
        const std::size_t cell = codeIsCell ? *character : m_metrics->characterMap[*character];
        if (cell < cellCount) {
            advances += m_metrics->glyphs[cell].advance;
            tallest = std::max(tallest, m_metrics->glyphs[cell].height);
        }
    }
    if (!codeIsCell) {
        advances += KerningOf(text);
    }
    if (width) {
        *width = advances;
    }
    if (height) {
        *height = tallest;
    }
    return S_OK;
}

long CFTGLFontAtlas::SetUp(FontParameters& request) {
    ReleaseFontAtlas();
    m_parameters = request;
    {
        const DesktopContext desktop;
        if (!desktop.Get()) {
            return E_FAIL;
        }
        const int points = std::abs(std::max(request.pointSize, -INT_MAX));
        request.pixelHeight = MulDiv(points, CFTGLFontManager::m_giLogicalVerticalDPI, 72);
        if (BuildFontAndGetMetrics(desktop.Get(), request.faceName, request.pixelHeight, request.weight,
                                   request.characterSet, request.italic, request.underline, request.strikeout,
                                   m_parameters.logicalFont, m_parameters.textMetrics) != S_OK) {
            return E_FAIL;
        }
    }
    return OpenFontFile(request);
}

/// Finds the font's file, opens it at the screen's resolution and builds the atlas.
long CFTGLFontAtlas::OpenFontFile(const FontParameters& request) {
    FreeDataStructures();
    m_parameters = request;
    m_library = MakeFontLibrary(m_memory);
    if (!m_library) {
        return E_FAIL;
    }
    const long found = FindFontFile(FontLookUpName(request), m_path);
    if (found != S_OK) {
        return found;
    }
    const FT_Error error = FT_New_Face(m_library, InThreadCodePage(m_path).c_str(), 0, &m_face);
    if (error != 0 || IsExhausted(*m_memory)) {
        if (error == 0) {
            FT_Done_Face(m_face);
        }
        m_face = nullptr;
        return error == FT_Err_Unknown_File_Format ? kNotAFontFile : E_INVALIDARG;
    }
    SelectCharacterMap(m_face);
    const auto dpi = static_cast<FT_UInt>(CFTGLFontManager::m_giDPI);
    const FT_F26Dot6 points = FixedPoints(request.pointSize);
    // A size that the font cannot have shows as characters that do not load.
    FT_Set_Char_Size(m_face, points, points, dpi, dpi);
    return BuildFontAtlas(true);
}

/// Finds the size of a cell and the averages.
long CFTGLFontAtlas::Measure(const FontClock& clock) {
    const double unitsPerEm = m_face->units_per_EM;
    double widths = 0.0;
    double heights = 0.0;
    int measured = 0;
    std::vector<GlyphMeasure> measures;
    const auto measure = [&](FT_UInt glyph, GlyphMeasure& found) -> FT_Error {
        const FT_GlyphSlot slot = m_face->glyph;
        FT_Error error = LoadGlyph(m_face, glyph, FT_LOAD_NO_SCALE);
        if (error == 0 && unitsPerEm > 0.0) {
            found.hasUnits = true;
            found.widthUnits = static_cast<double>(slot->metrics.width);
            found.heightUnits = static_cast<double>(slot->metrics.height);
        }
        if (error != FT_Err_Out_Of_Memory) {
            // A glyph knows how large its bitmap will be. Drawing those of a font that turns out to be too large would
            // hold the host for half a minute.
            error = LoadGlyph(m_face, glyph, FT_LOAD_DEFAULT);
        }
        if (error == 0 && (slot->bitmap.width > kLargestBitmap || slot->bitmap.rows > kLargestBitmap)) {
            error = FT_Err_Raster_Overflow;
        }
        found.isKnown = error == 0;
        found.width = slot->bitmap.width;
        found.height = slot->bitmap.rows;
        return error;
    };
    const long result = VisitCharacters(m_face, *m_memory, clock, [&](FT_ULong, FT_UInt glyph) -> FT_Error {
        GlyphMeasure& found = EntryOf(measures, glyph, GlyphMeasure{});
        if (const FT_Error error = found.isKnown ? FT_Err_Ok : measure(glyph, found)) {
            return error;
        }
        if (found.hasUnits) {
            widths += found.widthUnits / unitsPerEm;
            heights += found.heightUnits / unitsPerEm;
            ++measured;
        }
        ++m_metrics->renderedCharacters;
        m_metrics->cellWidth = std::max(m_metrics->cellWidth, static_cast<int>(found.width));
        m_metrics->cellHeight = std::max(m_metrics->cellHeight, static_cast<int>(found.height));
        return FT_Err_Ok;
    });
    if (result != S_OK) {
        return result;
    }
    const double share = measured > 0 ? 1.0 / measured : 0.0;
    m_metrics->averageWidth = widths * share;
    m_metrics->averageHeight = heights * share;
    m_parameters.averageWidthEm = m_metrics->averageWidth;
    m_parameters.averageHeightEm = m_metrics->averageHeight;
    m_parameters.averageWidthUnits = static_cast<int>(unitsPerEm * m_metrics->averageWidth);
    m_parameters.averageHeightUnits = static_cast<int>(unitsPerEm * m_metrics->averageHeight);
    // Without a single pixel there is nothing to make a texture of.
    return m_metrics->cellWidth > 0 && m_metrics->cellHeight > 0 ? S_OK : E_FAIL;
}

/// Makes room for the cells in a texture that the graphics card takes, instead of the room that was there.
long CFTGLFontAtlas::LayOut() {
    FontAtlasGlyphMetrics& metrics = *m_metrics;
    FreeAndClear(metrics.glyphs);
    m_parameters.cellWidth = metrics.cellWidth;
    m_parameters.cellHeight = metrics.cellHeight;
    metrics.glyphCount = metrics.renderedCharacters;
    metrics.glyphs = AllocateZeroed<FontAtlasGlyph>(metrics.renderedCharacters);
    if (!metrics.glyphs) {
        return E_OUTOFMEMORY;
    }
    const int maximumTextureSize = COpenGLView::GetMaximumTextureSize();
    const FontGrid grid =
        LayOutFontGrid(metrics.renderedCharacters, metrics.cellWidth, metrics.cellHeight, maximumTextureSize);
    if (!grid.fits) {
        CString message;
        message.Format(L"Font: %s contains %ld characters and requires: %lld bytes of memory. \nThis font exceeds the "
                       L"current graphics card texture dimensions of %ld for display.  Please choose a font with fewer "
                       L"characters.\n",
                       m_parameters.faceName.GetString(), static_cast<long>(metrics.glyphCount), grid.textureBytes,
                       static_cast<long>(maximumTextureSize));
        ShowFrameworkMessageBox(message.GetString());
        return E_FAIL;
    }
    metrics.columns = static_cast<int>(grid.columns);
    metrics.rows = static_cast<int>(grid.rows);
    metrics.textureWidth = static_cast<int>(grid.textureWidth);
    metrics.textureHeight = static_cast<int>(grid.textureHeight);
    metrics.textureBytes = grid.textureBytes;
    return S_OK;
}

/// Draws every character into its cell. S_FALSE when some did not fit, and the cells have grown for another round:
/// glyphs are measured smooth but drawn with hard edges, which makes some a pixel larger at some sizes.
long CFTGLFontAtlas::DrawCells(bool monochrome, const FontClock& clock) {
    FontAtlasGlyphMetrics& metrics = *m_metrics;
    metrics.faceIndex = static_cast<int>(m_face->face_index);
    metrics.glyphCount = static_cast<int>(m_face->num_glyphs);
    metrics.boundTexture = 0;
    metrics.constant = 128;
    const FT_Int32 flags =
        monochrome ? kAtlasLoadFlags : static_cast<FT_Int32>(FT_LOAD_RENDER | FT_LOAD_FORCE_AUTOHINT);
    PackedCells cells(metrics.cellWidth, metrics.cellHeight, metrics.columns);
    std::vector<unsigned char> picture(static_cast<std::size_t>(metrics.cellWidth) *
                                       static_cast<std::size_t>(metrics.cellHeight));
    int index = 0;
    int widest = metrics.cellWidth;
    int tallest = metrics.cellHeight;
    std::vector<int> firstCells; // of glyphs
    const auto drawGlyph = [&](FT_UInt glyph) -> FT_Error {
        if (const FT_Error error = LoadGlyph(m_face, glyph, flags)) {
            return error;
        }
        const FT_Bitmap& bitmap = m_face->glyph->bitmap;
        const int width = std::min(static_cast<int>(bitmap.width), metrics.cellWidth);
        const int height = std::min(static_cast<int>(bitmap.rows), metrics.cellHeight);
        std::ranges::fill(picture, static_cast<unsigned char>(0));
        CopyBitmap(bitmap, picture.data(), static_cast<std::size_t>(width), width, height);
        cells.Add(width, height, picture.data());
        widest = std::max(widest, static_cast<int>(bitmap.width));
        tallest = std::max(tallest, static_cast<int>(bitmap.rows));
        metrics.glyphs[index] = DescribeGlyph(m_face->glyph);
        return FT_Err_Ok;
    };
    const long result = VisitCharacters(m_face, *m_memory, clock, [&](FT_ULong code, FT_UInt glyph) -> FT_Error {
        int& first = EntryOf(firstCells, glyph, -1);
        if (first >= 0) {
            cells.AddAgain(first);
            metrics.glyphs[index] = metrics.glyphs[first];
        } else if (const FT_Error error = drawGlyph(glyph)) {
            return error;
        } else {
            first = index;
        }
        const long long x = static_cast<long long>(index % metrics.columns) * metrics.cellWidth;
        const long long y = static_cast<long long>(index / metrics.columns) * metrics.cellHeight;
        PlaceGlyph(metrics.glyphs[index], x, y, metrics);
        // Neither a character beyond UTF-16's single units nor a cell beyond the map's numbers can be named.
        if (code < std::size(metrics.characterMap) && index <= USHRT_MAX) {
            metrics.characterMap[code] = static_cast<unsigned short>(index);
        }
        ++index;
        return FT_Err_Ok;
    });
    if (result != S_OK) {
        return result;
    }
    if (HasSymbols(m_face)) {
        NameSymbols(metrics);
    }
    if (widest > metrics.cellWidth || tallest > metrics.cellHeight) {
        metrics.cellWidth = widest;
        metrics.cellHeight = tallest;
        return S_FALSE;
    }
    cells.Finish();
    m_cells = new PackedCells(std::move(cells));
    metrics.ready = 1;
    return S_OK;
}

/// Leaves no half-made record behind a failure, whose code it hands on.
long CFTGLFontAtlas::AbandonBuild(long result) {
    ReleaseFontAtlas();
    return result;
}

/// Kerning of a whole string in pixels, each pair's truncated.
double CFTGLFontAtlas::KerningOf(const wchar_t* text) const {
    if (!m_face || !FT_HAS_KERNING(m_face)) {
        return 0.0;
    }
    double kerning = 0.0;
    FT_UInt previous = 0;
    for (; *text != 0; ++text) {
        // The cell stands where one expects the character. Widths that hosts have stored depend on it.
        const FT_UInt current = FT_Get_Char_Index(m_face, m_metrics->characterMap[*text]);
        FT_Vector offset = {};
        if (previous != 0 && current != 0 &&
            FT_Get_Kerning(m_face, previous, current, FT_KERNING_DEFAULT, &offset) == 0) {
            kerning += WholePixels(offset.x);
        }
        previous = current;
    }
    return kerning;
}

} // namespace KTR
