// What lies over the frame of a viewer's window, as overlays of its view.

#include "ViewerWindow.h"

#include "ViewerSession.h"
#include "drawing/PixelDrawing.h"
#include "map/MapScale.h"
#include "map/Measure.h"
#include "map/StatusLine.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <utility>

namespace OrrinViewer {

namespace {

/// In the order in which they are drawn.
enum OverlayOrder {
    OrderOfUnfinished,
    OrderOfPicked,
    OrderOfStatus,
    OrderOfMeasured,
    OrderOfReadout,
    OrderOfNotices,
};

constexpr double kEdgePixels = 10.0;
constexpr Rgb kPanelColor{20, 24, 30};
constexpr std::uint8_t kPanelOpacity = 215;

struct KeyHelp {
    const char* keys;
    const char* what;
};

constexpr std::array<KeyHelp, 25> kHelp = {{
    {"Wheel", "zoom to what is under the mouse"},
    {"Click", "what is there, in the panel; again what lies below (N, Shift + N)"},
    {"Ctrl + C", "copy what is picked"},
    {"Drag", "move the map, turn the 3-D view about what was clicked"},
    {"Right drag", "move the 3-D view"},
    {"Shift + drag", "zoom to a rectangle"},
    {"Ctrl + drag", "measure a line"},
    {"Arrows", "move the map, turn the 3-D view (with Shift move it)"},
    {"1 to 6", "from the top, bottom, front, back, left, right"},
    {"V", "map or 3-D view"},
    {"Home", "show everything"},
    {"Backspace, Ctrl + Z", "previous view (Shift + Backspace, Ctrl + Y: next)"},
    {"M", "measure a path, then an area, then neither"},
    {"P", "draw a line and see its profile"},
    {"C", "other colours"},
    {"+  -", "larger, smaller points"},
    {"F", "points as large as their spacing wants, or of one size"},
    {"E", "shading of clouds by their depths"},
    {"S, A", "turn, raise the sun (Shift: back)"},
    {"Ctrl + O", "add files (Shift: in place of what there is)"},
    {"Ctrl + S", "save the project (Shift: a picture of any size)"},
    {"Enter", "ends what is being drawn (also double or right click)"},
    {"F4", "the panel beside the map"},
    {"Esc", "stops reading, then leaves: what is being drawn, the tool, what is picked, the program"},
    {"F1, ?", "these keys"},
}};

} // namespace

void ViewerWindow::AddOverlays() {
    m_view->AddOverlay(&DrawUnfinished, this, OrderOfUnfinished);
    m_view->AddOverlay(&DrawPicked, this, OrderOfPicked);
    m_view->AddOverlay(&DrawStatus, this, OrderOfStatus);
    m_view->AddOverlay(&DrawMeasured, this, OrderOfMeasured);
    m_view->AddOverlay(&DrawReadout, this, OrderOfReadout);
    m_view->AddOverlay(&DrawNotices, this, OrderOfNotices);
}

void ViewerWindow::ShowHelp(bool on) {
    if (on && m_helpOverlay == 0) {
        // Over everything that is there by now, a profile's line included.
        m_helpOverlay = m_view->AddOverlay(&DrawHelp, this, INT_MAX);
    } else if (!on) {
        m_view->RemoveOverlay(std::exchange(m_helpOverlay, 0));
    }
    RedrawOverlays();
}

void ViewerWindow::DrawUnfinished(KTR::COpenGLView& /*view*/, KTR::GLCoveredArea& covered, void* context) {
    auto& own = *static_cast<ViewerWindow*>(context);
    if (own.m_stored == Stored::Clouds) {
        own.DrawAboveClouds();
    } else {
        covered = {};
    }
}

std::string ViewerWindow::NameOfTool() const {
    switch (m_tool) {
    case Tool::MeasurePath:
        return "Measuring a path: click its points, Enter ends it, M measures areas";
    case Tool::MeasureArea:
        return "Measuring an area: click its corners, Enter ends it, M leaves";
    case Tool::DrawProfile:
        return "Profile: click the points of a line, Enter ends it, Esc leaves";
    case Tool::Look:
        break;
    }
    return {};
}

/// What the mouse does, in the row at the top edge.
void ViewerWindow::DrawReadout(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context) {
    auto& own = *static_cast<ViewerWindow*>(context);
    covered = {};
    const std::string tool = own.NameOfTool();
    if (tool.empty()) {
        return;
    }
    const TextSizes sizes = own.m_texts.Sizes(view);
    const double rowHeight = sizes.ascent + sizes.descent + kEdgePixels;
    SetUpPixelCamera(view, own.m_width, own.m_height);
    own.m_texts.Draw(view, {{tool, kEdgePixels, std::round(own.m_height / own.Scale() - rowHeight - kEdgePixels)}});
    covered = {0.0, 0.0, static_cast<double>(own.m_width), (2.0 * rowHeight + kEdgePixels) * own.Scale()};
}

std::vector<std::string> ViewerWindow::DescribeState() const {
    const Extent area = DescribeMap().area;
    const double middle = area.IsEmpty() ? 0.0 : area.Center().y;
    StatusFacts facts;
    facts.scale =
        FormatScale(FindScaleDenominator(m_scene.GetUnits(), m_view->GetUnitsPerPixel(), middle, PixelsPerInch()));
    facts.isPerspective = m_view->IsPerspectiveSideView();
    facts.drawnPoints = m_drawnPoints;
    facts.points = m_scene.CountPoints();
    facts.system = m_scene.GetSystemName();
    facts.frameMilliseconds = m_frameMilliseconds;
    facts.drawsWithPrograms = m_view->DrawsWithPrograms();
    return DescribeStatus(facts);
}

/// The line at the lower edge: the place under the mouse, and how the map is shown.
void ViewerWindow::DrawStatus(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context) {
    auto& own = *static_cast<ViewerWindow*>(context);
    covered = {};
    if (!own.HasStatus()) {
        return;
    }
    const TextSizes sizes = own.m_texts.Sizes(view);
    const double scale = own.Scale();
    const double width = own.m_width / scale;
    const double height = StatusHeight(sizes);
    const std::string place = own.m_readPosition
                                  ? DescribePosition(*own.m_readPosition, view.GetUnitsPerPixel(),
                                                     own.m_scene.GetUnits(), own.m_scene.GetHeightMetres())
                                  : std::string();
    SetUpPixelCamera(view, own.m_width, own.m_height);
    DrawPixelBox(view, 0.0, 0.0, width, height, kPanelColor, kPanelOpacity, scale);
    own.m_texts.Draw(view, LayOutStatus(place, own.DescribeState(), static_cast<int>(width), sizes));
    covered = {0.0, own.m_height - height * scale, static_cast<double>(own.m_width), static_cast<double>(own.m_height)};
}

/// What was measured last, where it lies on the map.
void ViewerWindow::DrawMeasured(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context) {
    auto& own = *static_cast<ViewerWindow*>(context);
    if (!own.m_measured) {
        covered = {};
        return;
    }
    const std::vector<Position>& places = own.m_measured->places;
    const double scale = own.Scale();
    std::vector<Position> pixels;
    for (const Position& place : places) {
        const PixelPlace client = own.PlaceOf({place.x, place.y, std::isnan(place.z) ? 0.0 : place.z});
        pixels.push_back({std::floor(client.x) / scale, std::floor(own.m_height - client.y) / scale, 0.0});
    }
    if (own.m_measured->isArea) {
        pixels.push_back(pixels.front());
    }
    std::vector<PixelLine> lines;
    for (std::size_t index = 1; index < pixels.size(); ++index) {
        lines.push_back({pixels[index - 1], pixels[index]});
    }
    SetUpPixelCamera(view, own.m_width, own.m_height);
    DrawEdgedLines(view, lines, scale);
    const MapUnits units = own.m_scene.GetUnits();
    const std::string text = own.m_measured->isArea ? DescribeArea(units, places) : DescribePath(units, places);
    const std::size_t last = places.size() - 1;
    own.m_texts.Draw(view,
                     {PlaceBesideLine(text, own.m_texts.Sizes(view).width(text), pixels[last - 1], pixels[last],
                                      static_cast<int>(own.m_width / scale), static_cast<int>(own.m_height / scale))});
    // The whole window stays covered: it is drawn once, not with each move of something else.
}

/// What there is to say about files.
void ViewerWindow::DrawNotices(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context) {
    auto& own = *static_cast<ViewerWindow*>(context);
    own.m_notices.Draw(view, own.m_texts, own.Scale(), own.m_width, own.m_height, covered);
}

/// The keys and what they do, on a panel in the window's middle.
void ViewerWindow::DrawHelp(KTR::COpenGLView& view, KTR::GLCoveredArea& covered, void* context) {
    auto& own = *static_cast<ViewerWindow*>(context);
    const double scale = own.Scale();
    const double windowHeight = own.m_height / scale;
    const TextSizes sizes = own.m_texts.Sizes(view);
    const double rowHeight = std::round(sizes.ascent + sizes.descent + 6.0);
    double keyWidth = 0.0;
    double whatWidth = 0.0;
    for (const KeyHelp& line : kHelp) {
        keyWidth = std::max(keyWidth, sizes.width(line.keys));
        whatWidth = std::max(whatWidth, sizes.width(line.what));
    }
    const double width = keyWidth + whatWidth + 4.0 * kEdgePixels;
    const double height = rowHeight * static_cast<double>(kHelp.size()) + 2.0 * kEdgePixels;
    const double left = std::round((own.m_width / scale - width) * 0.5);
    const double bottom = std::round((windowHeight - height) * 0.5);
    SetUpPixelCamera(view, own.m_width, own.m_height);
    DrawPixelBox(view, left, bottom, left + width, bottom + height, kPanelColor, kPanelOpacity, scale);
    std::vector<PixelText> texts;
    double baseline = bottom + height - kEdgePixels - sizes.ascent;
    for (const KeyHelp& line : kHelp) {
        texts.push_back({line.keys, left + kEdgePixels, std::round(baseline)});
        texts.push_back({line.what, std::round(left + keyWidth + 3.0 * kEdgePixels), std::round(baseline)});
        baseline -= rowHeight;
    }
    own.m_texts.Draw(view, texts);
    covered = {left * scale, (windowHeight - bottom - height) * scale, (left + width) * scale,
               (windowHeight - bottom) * scale};
}

} // namespace OrrinViewer
