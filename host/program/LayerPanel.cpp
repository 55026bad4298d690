#include "LayerPanel.h"

#include "ViewerSession.h"
#include "drawing/WideText.h"
#include "map/MapTicks.h"

#include <commdlg.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cwchar>
#include <utility>

namespace OrrinViewer {

namespace {

enum ControlId {
    IdLayers = 100,
    IdClasses,
    IdColor,
    IdOwnColor,
    IdAttribute,
    IdLow,
    IdHigh,
    IdOwnRange,
    IdZoomTo,
    IdRemove,
    IdFirstSlider,
};

const int kMargin = PanelPixels(8);
const int kNameWidth = PanelPixels(76);
const int kValueWidth = PanelPixels(62);
constexpr int kMostLinesOfList = 9;
const int kLongestRamp = PanelPixels(220);
constexpr double kStepsOfLineWidth = 2.0; ///< a pixel
constexpr double kPlainSymbolPixels = 5.0;
constexpr double kStyledSymbolPixels = 13.0;
constexpr Rgb kMeshColor{205, 202, 195};

int RowHeight() {
    return PanelLineHeight() + 10;
}

int ToPosition(double value) {
    return static_cast<int>(std::lround(value));
}

std::wstring Pixels(double pixels) {
    wchar_t text[32] = {};
    std::swprintf(text, std::size(text), L"%g px", pixels);
    return text;
}

const wchar_t* NameInList(ColorMode mode) {
    switch (mode) {
    case ColorMode::Recorded:
        return L"Recorded colours";
    case ColorMode::Elevation:
        return L"Elevation";
    case ColorMode::Class:
        return L"Class";
    case ColorMode::Intensity:
        return L"Intensity";
    }
    return L"";
}

/// Empty where there is no such unit.
std::wstring NameOfUnit(double metres) {
    const auto is = [metres](double unit) { return std::fabs(metres - unit) < 1e-9 * unit; };
    return is(1.0) ? L"m" : is(kMetresPerFoot) ? L"ft" : is(kMetresPerUsSurveyFoot) ? L"US ft" : L"";
}

/// Those of the map where nothing is said about heights; beside degrees they are metres.
std::wstring NameOfHeightUnit(const Scene& scene) {
    if (const std::optional<double> metres = scene.GetHeightMetres()) {
        return NameOfUnit(*metres);
    }
    const MapUnits units = scene.GetUnits();
    return NameOfUnit(units == MapUnits::Degrees ? 1.0 : MetresPerUnit(units, 0.0));
}

void Show(HWND control, bool on) {
    ShowWindow(control, on ? SW_SHOWNA : SW_HIDE);
}

} // namespace

LayerPanel::LayerPanel(Scene& scene, ViewerSession& session)
    : m_scene(scene), m_session(session), m_keys([this](HWND control, WPARAM key) { return HandleKey(control, key); }) {
}

LRESULT LayerPanel::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE:
        AddControls();
        Update();
        return 0;
    case WM_SIZE:
        LayOut();
        return 0;
    case WM_PAINT:
        Paint();
        return 0;
    case WM_NOTIFY:
        return HandleNotice(*reinterpret_cast<const NMHDR*>(lParam));
    case WM_COMMAND:
        HandleCommand(LOWORD(wParam), HIWORD(wParam));
        return 0;
    case WM_HSCROLL:
        for (const Slider& slider : m_sliders) {
            if (!m_isUpdating && slider.bar == reinterpret_cast<HWND>(lParam)) {
                const int position = static_cast<int>(SendMessageW(slider.bar, TBM_GETPOS, 0, 0));
                Change([&](LayerStyle& style) { Apply(slider.measure, position, style); });
            }
        }
        return 0;
    case WM_DRAWITEM:
        DrawSwatch(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
        return TRUE;
    case WM_CTLCOLORSTATIC: {
        const bool isMark = m_layers.IsMark(reinterpret_cast<HWND>(lParam));
        SetBkMode(reinterpret_cast<HDC>(wParam), TRANSPARENT);
        return reinterpret_cast<LRESULT>(GetSysColorBrush(isMark ? COLOR_HIGHLIGHT : COLOR_BTNFACE));
    }
    case WM_CONTEXTMENU:
        if (reinterpret_cast<HWND>(wParam) == m_layers.Handle()) {
            HandleContextMenu(lParam);
        }
        return 0;
    case WM_MOUSEMOVE:
        m_layers.DragTo(CursorOf(lParam));
        return 0;
    case WM_LBUTTONUP:
        m_layers.Drop();
        return 0;
    case WM_CAPTURECHANGED:
        m_layers.StopDragging();
        return 0;
    default:
        return DefWindowProcW(m_window, message, wParam, lParam);
    }
}

void LayerPanel::AddControls() {
    const INITCOMMONCONTROLSEX controls = {sizeof(controls), ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    const auto add = [this](const wchar_t* kind, const wchar_t* text, DWORD style, int id) {
        return AddControl(m_window, kind, text, style, id, m_keys);
    };
    const auto name = [&](const wchar_t* text, DWORD style) {
        return add(WC_STATICW, text, SS_CENTERIMAGE | SS_NOPREFIX | style, -1);
    };
    LayerList::Wishes wishes;
    wishes.show = [this](LayerId layer, bool on) {
        if (std::optional<LayerInfo> info = m_scene.FindLayer(layer)) {
            info->style.shown = on;
            ChangeScene([&] { m_scene.SetStyle(layer, info->style); });
        }
    };
    wishes.move = [this](LayerId layer, LayerId below) { ChangeScene([&] { m_scene.MoveLayer(layer, below); }); };
    wishes.select = [this] { ShowLayer(); };
    wishes.open = [this](LayerId layer) { m_session.ShowLayer(layer); };
    m_layers.Create(m_window, IdLayers, m_keys, std::move(wishes));

    m_colorName = name(L"Colour", 0);
    m_color = add(WC_BUTTONW, L"", BS_OWNERDRAW | WS_TABSTOP, IdColor);
    m_ownColor = add(WC_BUTTONW, L"Auto", WS_TABSTOP, IdOwnColor);
    const struct {
        const wchar_t* name;
        Measure measure;
        int most;
    } sliders[] = {{L"Line width", Measure::LineWidth, 40},
                   {L"Symbol size", Measure::SymbolSize, 40},
                   {L"Point size", Measure::PointSize, 20},
                   {L"Fill", Measure::Fill, 100},
                   {L"Opacity", Measure::Opacity, 100}};
    int id = IdFirstSlider;
    for (const auto& slider : sliders) {
        const HWND caption = name(slider.name, 0);
        const HWND bar = add(TRACKBAR_CLASSW, L"", TBS_HORZ | TBS_NOTICKS | WS_TABSTOP, id++);
        SendMessageW(bar, TBM_SETRANGE, FALSE, MAKELPARAM(0, slider.most));
        SendMessageW(bar, TBM_SETPAGESIZE, 0, std::max(slider.most / 10, 1));
        m_sliders.push_back({slider.measure, caption, bar, name(L"", SS_RIGHT)});
    }
    m_attributeName = name(L"Coloured by", 0);
    m_attribute = add(WC_COMBOBOXW, L"", CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP, IdAttribute);
    m_rangeName = name(L"", 0);
    m_low = add(WC_EDITW, L"", ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP, IdLow);
    m_high = add(WC_EDITW, L"", ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP, IdHigh);
    m_ownRange = add(WC_BUTTONW, L"Auto", WS_TABSTOP, IdOwnRange);
    m_classes.Create(m_window, IdClasses, m_keys);
}

void LayerPanel::Update() {
    if (!m_window || m_isUpdating || m_version == m_scene.GetVersion()) {
        return;
    }
    m_version = m_scene.GetVersion();
    m_isUpdating = true;
    m_layers.Update(m_scene.ListLayers());
    m_isUpdating = false;
    ShowLayer();
}

/// Has the controls show what is selected in the list.
void LayerPanel::ShowLayer() {
    m_isUpdating = true;
    m_shown = m_scene.FindLayer(m_layers.GetSelected());
    m_mode.reset();
    m_dataRange.reset();
    if (m_shown) {
        FindTraits(*m_shown);
        ShowAttributes(*m_shown);
    }
    LayOut();
    m_isUpdating = false;
}

void LayerPanel::FindTraits(const LayerInfo& layer) {
    const VectorLayer* const features = m_scene.FindFeatures(layer.id);
    if (m_traits.layer == layer.id || !features) {
        return;
    }
    m_traits = {layer.id};
    for (const VectorFeature& feature : features->features) {
        m_traits.hasLines = m_traits.hasLines || !feature.lines.empty() || !feature.polygons.empty();
        m_traits.hasAreas = m_traits.hasAreas || !feature.polygons.empty();
        m_traits.hasPoints = m_traits.hasPoints || !feature.points.empty();
    }
}

void LayerPanel::ShowAttributes(const LayerInfo& layer) {
    const CloudLayer* const cloud = m_scene.FindCloud(layer.id);
    if (!cloud) {
        m_dataRange = m_scene.FindElevations(layer.id);
        return;
    }
    const CloudTraits& traits = cloud->Traits();
    std::vector<ColorMode> attributes;
    for (const ColorMode mode : {ColorMode::Recorded, ColorMode::Elevation, ColorMode::Class, ColorMode::Intensity}) {
        if (ModeThatShows(traits, mode) == mode) {
            attributes.push_back(mode);
        }
    }
    m_mode = ModeThatShows(traits, layer.style.colorMode.value_or(ChooseColorMode(traits)));
    if (attributes != m_attributes) {
        m_attributes = attributes;
        SendMessageW(m_attribute, CB_RESETCONTENT, 0, 0);
        for (const ColorMode mode : m_attributes) {
            SendMessageW(m_attribute, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(NameInList(mode)));
        }
    }
    const auto chosen = std::find(m_attributes.begin(), m_attributes.end(), *m_mode) - m_attributes.begin();
    SendMessageW(m_attribute, CB_SETCURSEL, static_cast<WPARAM>(chosen), 0);
    if (m_mode == ColorMode::Elevation && traits.count > 0) {
        m_dataRange = traits.elevations;
    } else if (m_mode == ColorMode::Intensity) {
        m_dataRange = RangeOfIntensities(traits);
    } else if (m_mode == ColorMode::Class) {
        m_classes.Update(traits, layer.style.hiddenClasses);
    }
}

std::vector<LayerPanel::Measure> LayerPanel::ListMeasures(const LayerInfo& layer) const {
    std::vector<Measure> measures = {Measure::Opacity};
    if (layer.kind == LayerKind::Cloud) {
        measures.push_back(Measure::PointSize);
    } else if (layer.kind == LayerKind::Features) {
        const std::pair<bool, Measure> ofFeatures[] = {{m_traits.hasLines, Measure::LineWidth},
                                                       {m_traits.hasPoints, Measure::SymbolSize},
                                                       {m_traits.hasAreas, Measure::Fill}};
        for (const auto& [isThere, measure] : ofFeatures) {
            if (isThere) {
                measures.push_back(measure);
            }
        }
    }
    return measures;
}

int LayerPanel::PositionOf(Measure measure, const LayerInfo& layer) const {
    const FeatureStyle& features = layer.style.features;
    const double ownSize = features.IsPlain() ? kPlainSymbolPixels : kStyledSymbolPixels;
    switch (measure) {
    case Measure::LineWidth:
        return ToPosition(kStepsOfLineWidth * std::max(features.lineWidthPixels, features.borderWidthPixels));
    case Measure::SymbolSize:
        return ToPosition(features.symbolSizePixels > 0.0 ? features.symbolSizePixels : ownSize);
    case Measure::Fill:
        return ToPosition(100.0 * layer.style.fillOpacity);
    case Measure::PointSize:
        return ToPosition(layer.style.pointSizePixels.value_or(0.0));
    case Measure::Opacity:
        return ToPosition(100.0 * layer.style.opacity);
    }
    return 0;
}

/// What a style leaves open is settled first as it is shown, so that nothing but the measure changes.
void LayerPanel::Apply(Measure measure, int position, LayerStyle& style) const {
    FeatureStyle& features = style.features;
    switch (measure) {
    case Measure::LineWidth:
        style.color = style.color ? style.color : m_scene.FindColor(m_shown->id);
        features.symbolSizePixels = PositionOf(Measure::SymbolSize, *m_shown);
        features.lineWidthPixels = position / kStepsOfLineWidth;
        features.borderWidthPixels = features.lineWidthPixels;
        break;
    case Measure::SymbolSize:
        features.symbolSizePixels = std::max(position, 1);
        break;
    case Measure::Fill:
        style.fillOpacity = position / 100.0;
        break;
    case Measure::PointSize:
        style.pointSizePixels = position > 0 ? std::optional<double>(position) : std::nullopt;
        break;
    case Measure::Opacity:
        style.opacity = position / 100.0;
        break;
    }
}

std::wstring LayerPanel::Describe(Measure measure, int position) const {
    switch (measure) {
    case Measure::LineWidth:
        return position == 0 ? L"hairline" : Pixels(position / kStepsOfLineWidth);
    case Measure::PointSize:
        return position == 0 ? L"by spacing" : Pixels(position);
    case Measure::SymbolSize:
        return Pixels(position);
    case Measure::Fill:
    case Measure::Opacity:
        break;
    }
    return std::to_wstring(position) + L" %";
}

RampEnds& LayerPanel::RampOf(LayerStyle& style) const {
    return m_mode == ColorMode::Intensity ? style.intensityRamp : style.elevationRamp;
}

std::wstring LayerPanel::NameOfRamp() const {
    if (m_mode == ColorMode::Intensity) {
        return L"Intensity";
    }
    if (m_shown && m_shown->kind == LayerKind::Raster) {
        return L"Values";
    }
    const std::wstring unit = NameOfHeightUnit(m_scene);
    return unit.empty() ? L"Elevation" : L"Height (" + unit + L")";
}

/// The ends in the fields, but for one that is being written.
void LayerPanel::ShowRange() {
    if (!m_shown || !m_dataRange) {
        return;
    }
    const ElevationRange range = RampOf(m_shown->style).Of(*m_dataRange);
    ShowText(m_rangeName, NameOfRamp());
    const std::pair<HWND, double> fields[] = {{m_low, range.low}, {m_high, range.high}};
    for (const auto& [field, value] : fields) {
        if (GetFocus() != field || SendMessageW(field, EM_GETMODIFY, 0, 0) == 0) {
            ShowText(field, FormatInRange(value, range));
            SendMessageW(field, EM_SETMODIFY, FALSE, 0);
        }
    }
}

int LayerPanel::PlaceRow(int y, HWND name, HWND control, HWND end) const {
    RECT area = {};
    GetClientRect(m_window, &area);
    const int height = RowHeight() - 4;
    const int right = area.right - kMargin;
    const int left = kMargin + kNameWidth;
    const int end0 = right - kValueWidth;
    MoveWindow(name, kMargin, y, kNameWidth, height, TRUE);
    // A box is as high as its list when that is open.
    const int controlHeight = control == m_attribute ? 10 * RowHeight() : height;
    MoveWindow(control, left, y, (end ? end0 - 4 : right) - left, controlHeight, TRUE);
    if (end) {
        MoveWindow(end, end0, y, kValueWidth, height, TRUE);
    }
    return y + RowHeight();
}

/// The list above, the selected layer's controls below it, one under the other, and what colours mean at the bottom.
void LayerPanel::LayOut() {
    RECT area = {};
    if (!m_layers.Handle() || !GetClientRect(m_window, &area) || area.right < kMargin) {
        return;
    }
    const int width = area.right - 2 * kMargin;
    const int count = ListView_GetItemCount(m_layers.Handle());
    const int lineHeight = std::max(PanelLineHeight() + 4, 18);
    const int listHeight = std::clamp(count, 4, kMostLinesOfList) * lineHeight + 8;
    MoveWindow(m_layers.Handle(), kMargin, kMargin, width, std::min<int>(listHeight, area.bottom / 2), TRUE);
    FitColumns(m_layers.Handle());
    int y = kMargin + std::min<int>(listHeight, area.bottom / 2) + kMargin;

    const bool isFeatures = m_shown && m_shown->kind == LayerKind::Features;
    const bool hasColor = isFeatures || (m_shown && m_shown->kind == LayerKind::Mesh);
    for (const HWND control : {m_colorName, m_color, m_ownColor}) {
        Show(control, hasColor);
    }
    if (hasColor) {
        y = PlaceRow(y, m_colorName, m_color, m_ownColor);
        EnableWindow(m_ownColor, m_shown->style.color.has_value());
        InvalidateRect(m_color, nullptr, FALSE);
    }
    const std::vector<Measure> measures = m_shown ? ListMeasures(*m_shown) : std::vector<Measure>();
    for (const Slider& slider : m_sliders) {
        const bool isThere = std::find(measures.begin(), measures.end(), slider.measure) != measures.end();
        for (const HWND control : {slider.name, slider.bar, slider.value}) {
            Show(control, isThere);
        }
        if (isThere) {
            y = PlaceRow(y, slider.name, slider.bar, slider.value);
            const int position = PositionOf(slider.measure, *m_shown);
            if (SendMessageW(slider.bar, TBM_GETPOS, 0, 0) != position) {
                SendMessageW(slider.bar, TBM_SETPOS, TRUE, position);
            }
            ShowText(slider.value, Describe(slider.measure, position));
        }
    }
    Show(m_attributeName, m_mode.has_value());
    Show(m_attribute, m_mode.has_value());
    if (m_mode) {
        y = PlaceRow(y, m_attributeName, m_attribute, nullptr);
    }
    for (const HWND control : {m_rangeName, m_low, m_high, m_ownRange}) {
        Show(control, HasRamp());
    }
    const RECT before = m_legend;
    m_legend = {};
    if (HasRamp()) {
        ShowRange();
        y = PlaceRow(y, m_rangeName, m_low, m_ownRange);
        RECT field = {};
        GetWindowRect(m_low, &field);
        MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&field), 2);
        const int half = (field.right - field.left - 4) / 2;
        MoveWindow(m_low, field.left, field.top, half, field.bottom - field.top, TRUE);
        MoveWindow(m_high, field.right - half, field.top, half, field.bottom - field.top, TRUE);
        m_legend = {kMargin, y, area.right - kMargin, std::min<LONG>(area.bottom - kMargin, y + kLongestRamp)};
    }
    const bool hasClasses = m_mode == ColorMode::Class;
    Show(m_classes.Handle(), hasClasses);
    if (hasClasses) {
        const int wanted = (ListView_GetItemCount(m_classes.Handle()) + 1) * lineHeight;
        MoveWindow(m_classes.Handle(), kMargin, y, width, std::clamp<int>(area.bottom - kMargin - y, 0, wanted), TRUE);
        FitColumns(m_classes.Handle());
    }
    InvalidateRect(m_window, &before, TRUE);
    InvalidateRect(m_window, &m_legend, TRUE);
}

void LayerPanel::Paint() const {
    PAINTSTRUCT paint = {};
    const HDC context = BeginPaint(m_window, &paint);
    if (m_shown && m_dataRange) {
        LayerStyle style = m_shown->style;
        PaintRamp(context, m_legend, {RampOf(style).Of(*m_dataRange), m_mode == ColorMode::Intensity});
    }
    EndPaint(m_window, &paint);
}

void LayerPanel::DrawSwatch(const DRAWITEMSTRUCT& item) const {
    if (!m_shown) {
        return;
    }
    const Rgb color = m_shown->style.color.value_or(m_scene.FindColor(m_shown->id).value_or(kMeshColor));
    SetDCBrushColor(item.hDC, RGB(color.red, color.green, color.blue));
    FillRect(item.hDC, &item.rcItem, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    FrameRect(item.hDC, &item.rcItem, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)));
    if ((item.itemState & ODS_FOCUS) != 0) {
        RECT inside = item.rcItem;
        InflateRect(&inside, -3, -3);
        DrawFocusRect(item.hDC, &inside);
    }
}

LRESULT LayerPanel::HandleNotice(const NMHDR& notice) {
    if (notice.hwndFrom == m_layers.Handle()) {
        m_layers.HandleNotice(notice);
    } else if (notice.hwndFrom == m_classes.Handle() && m_shown && !m_isUpdating) {
        std::bitset<256> hidden = m_shown->style.hiddenClasses;
        if (m_classes.HandleNotice(notice, hidden)) {
            Change([&](LayerStyle& style) { style.hiddenClasses = hidden; });
        }
    }
    return 0;
}

void LayerPanel::HandleCommand(int id, int code) {
    if (m_isUpdating) {
        return;
    }
    switch (id) {
    case IdColor:
        PickColor();
        break;
    case IdOwnColor:
        Change([](LayerStyle& style) { style.color.reset(); });
        break;
    case IdAttribute:
        if (code == CBN_SELCHANGE) {
            const auto chosen = static_cast<std::size_t>(SendMessageW(m_attribute, CB_GETCURSEL, 0, 0));
            if (chosen < m_attributes.size()) {
                Change([&](LayerStyle& style) { style.colorMode = m_attributes[chosen]; });
            }
        }
        break;
    case IdLow:
    case IdHigh:
        if (code == EN_KILLFOCUS) {
            ApplyRange(id == IdLow ? m_low : m_high);
        }
        break;
    case IdOwnRange:
        Change([this](LayerStyle& style) { RampOf(style) = {}; });
        break;
    case IdZoomTo:
        m_session.ShowLayer(m_layers.GetSelected());
        break;
    case IdRemove:
        RemoveSelected();
        break;
    default:
        break;
    }
}

/// Takes the number that was written into a field. What is none is forgotten.
void LayerPanel::ApplyRange(HWND field) {
    if (!m_dataRange || SendMessageW(field, EM_GETMODIFY, 0, 0) == 0) {
        return;
    }
    SendMessageW(field, EM_SETMODIFY, FALSE, 0);
    std::wstring text = TextOf(field);
    std::replace(text.begin(), text.end(), L',', L'.');
    wchar_t* end = nullptr;
    const double value = std::wcstod(text.c_str(), &end);
    if (end == text.c_str() || *end != L'\0' || !std::isfinite(value)) {
        ShowRange();
        return;
    }
    Change([&](LayerStyle& style) { (field == m_low ? RampOf(style).low : RampOf(style).high) = value; });
    ShowRange(); // also where nothing has changed
}

void LayerPanel::PickColor() {
    static std::array<COLORREF, 16> custom = {};
    if (!m_shown) {
        return;
    }
    const Rgb before = m_shown->style.color.value_or(m_scene.FindColor(m_shown->id).value_or(kMeshColor));
    CHOOSECOLORW question = {};
    question.lStructSize = sizeof(question);
    question.hwndOwner = m_window;
    question.rgbResult = RGB(before.red, before.green, before.blue);
    question.lpCustColors = custom.data();
    question.Flags = CC_RGBINIT | CC_FULLOPEN | CC_ANYCOLOR;
    if (ChooseColorW(&question)) {
        const COLORREF chosen = question.rgbResult;
        Change([&](LayerStyle& style) { style.color = Rgb{GetRValue(chosen), GetGValue(chosen), GetBValue(chosen)}; });
    }
}

void LayerPanel::RemoveSelected() {
    if (const LayerId layer = m_layers.GetSelected()) {
        ChangeScene([&] { m_scene.RemoveLayer(layer); });
    }
}

void LayerPanel::HandleContextMenu(LPARAM lParam) {
    if (m_layers.GetSelected() == 0) {
        return;
    }
    POINT place = CursorOf(lParam);
    if (place.x == -1 && place.y == -1) { // by the keyboard
        RECT area = {};
        GetWindowRect(m_layers.Handle(), &area);
        place = {area.left + kMargin, area.top + kMargin};
    }
    const HMENU menu = CreatePopupMenu();
    AppendMenuW(menu, MF_STRING, IdZoomTo, L"Zoom to layer");
    AppendMenuW(menu, MF_STRING, IdRemove, L"Remove\tDel");
    TrackPopupMenu(menu, TPM_LEFTALIGN, place.x, place.y, 0, m_window, nullptr);
    DestroyMenu(menu);
}

/// What keys do that a control does not need for itself.
bool LayerPanel::HandleKey(HWND control, WPARAM key) {
    const bool writes = control == m_low || control == m_high;
    switch (key) {
    case VK_ESCAPE:
        if (control == m_attribute && SendMessageW(control, CB_GETDROPPEDSTATE, 0, 0) != 0) {
            return false; // closes its list
        }
        if (writes) {
            SendMessageW(control, EM_SETMODIFY, FALSE, 0);
            ShowRange();
        }
        m_session.FocusMap();
        return true;
    case VK_TAB:
        SetFocus(GetNextDlgTabItem(m_window, control, IsKeyDown(VK_SHIFT)));
        return true;
    case VK_RETURN:
        if (writes) {
            ApplyRange(control);
            SendMessageW(control, EM_SETSEL, 0, -1);
        } else if (control == m_layers.Handle()) {
            m_session.ShowLayer(m_layers.GetSelected());
        }
        return writes || control == m_layers.Handle();
    case 'A':
        if (writes && IsKeyDown(VK_CONTROL)) {
            SendMessageW(control, EM_SETSEL, 0, -1); // fields of older systems do not
            return true;
        }
        break;
    case VK_DELETE:
        if (control == m_layers.Handle()) {
            RemoveSelected();
            return true;
        }
        return false;
    default:
        break;
    }
    // Those of the program work wherever the keyboard is, but for what fields do with letters.
    const bool isFunctionKey = key >= VK_F1 && key <= VK_F12 && !(key == VK_F4 && control == m_attribute);
    const bool isCommand = !writes && IsKeyDown(VK_CONTROL) && key >= 'A' && key <= 'Z';
    if (isFunctionKey || isCommand) {
        m_session.PassKeyToMap(key);
        return true;
    }
    return false;
}

/// Changes the style of the selected layer.
void LayerPanel::Change(const std::function<void(LayerStyle& style)>& change) {
    if (!m_shown) {
        return;
    }
    const LayerId layer = m_shown->id;
    LayerStyle style = m_shown->style;
    change(style);
    ChangeScene([&] { m_scene.SetStyle(layer, style); });
}

void LayerPanel::ChangeScene(const std::function<void()>& change) {
    if (m_session.MakeCurrent()) {
        change();
        m_session.RedrawAll();
    }
}

} // namespace OrrinViewer
