#include "ColorLegend.h"

#include "drawing/SceneColors.h"
#include "drawing/WideText.h"
#include "map/MapTicks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace OrrinViewer {

namespace {

const int kSwatchSide = PanelPixels(14);
const int kCountWidth = PanelPixels(84);
const int kRampWidth = PanelPixels(24);
const int kTickWidth = PanelPixels(6);

COLORREF ColorReference(const Rgb& color) {
    return RGB(color.red, color.green, color.blue);
}

Rgb ColorIn(const RampLegend& ramp, double value) {
    return ramp.isGrey ? ColorOfIntensity(value, ramp.range) : ColorOfElevation(value, ramp.range);
}

/// A square of a colour with a thin edge.
HBITMAP MakeSwatch(HDC screen, const Rgb& color) {
    const HDC memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, kSwatchSide, kSwatchSide);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    const RECT area = {0, 0, kSwatchSide, kSwatchSide};
    SetDCBrushColor(memory, ColorReference(color));
    FillRect(memory, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    FrameRect(memory, &area, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)));
    SelectObject(memory, before);
    DeleteDC(memory);
    return bitmap;
}

} // namespace

std::wstring FormatInRange(double value, const ElevationRange& range) {
    const double span = range.high - range.low;
    const double step = span > 0.0 ? FindNiceStep(span / 1000.0) : 0.01;
    return WideText(FormatCoordinate(value, std::min(CountDecimals(step), 6)));
}

void PaintRamp(HDC context, const RECT& area, const RampLegend& ramp) {
    const int halfLine = PanelLineHeight() / 2;
    const int top = area.top + halfLine;
    const int bottom = area.bottom - halfLine;
    const int height = bottom - top;
    if (height < PanelLineHeight()) {
        return;
    }
    const double span = ramp.range.high - ramp.range.low;
    const auto valueAt = [&](int y) { return ramp.range.low + span * (bottom - 1 - y) / std::max(height - 1, 1); };
    const HBRUSH brush = static_cast<HBRUSH>(GetStockObject(DC_BRUSH));
    for (int y = top; y < bottom; ++y) {
        const RECT line = {area.left, y, area.left + kRampWidth, y + 1};
        SetDCBrushColor(context, ColorReference(ColorIn(ramp, valueAt(y))));
        FillRect(context, &line, brush);
    }
    const RECT frame = {area.left, top, area.left + kRampWidth, bottom};
    FrameRect(context, &frame, static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)));

    const double step = FindNiceStep(span * 2.0 * PanelLineHeight() / height);
    std::vector<double> values = {ramp.range.low};
    if (span > 0.0) {
        values = FindTicks(ramp.range.low, ramp.range.high, step, 100);
    }
    const HGDIOBJ before = SelectObject(context, PanelFont());
    SetBkMode(context, TRANSPARENT);
    SetTextColor(context, GetSysColor(COLOR_BTNTEXT));
    for (const double value : values) {
        const double share = span > 0.0 ? (value - ramp.range.low) / span : 0.5;
        const int y = bottom - 1 - static_cast<int>(std::lround(share * (height - 1)));
        const RECT tick = {frame.right, y, frame.right + kTickWidth, y + 1};
        FillRect(context, &tick, GetSysColorBrush(COLOR_BTNTEXT));
        const std::wstring text =
            span > 0.0 ? WideText(FormatCoordinate(value, CountDecimals(step))) : FormatInRange(value, ramp.range);
        RECT place = {tick.right + kTickWidth, y - halfLine - 1, area.right, y + halfLine + 2};
        DrawTextW(context, text.c_str(), -1, &place, DT_LEFT | DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
    }
    SelectObject(context, before);
}

ClassList::~ClassList() {
    if (m_swatches) {
        ImageList_Destroy(m_swatches);
    }
}

void ClassList::Create(HWND parent, int id, const ControlKeys& keys) {
    m_list = AddTickList(parent, id, kCountWidth, keys);
    SetWindowLongPtrW(m_list, GWL_STYLE, GetWindowLongPtrW(m_list, GWL_STYLE) | LVS_SHAREIMAGELISTS);
}

void ClassList::Update(const CloudTraits& traits, const std::bitset<256>& hidden) {
    std::vector<std::uint8_t> classes;
    for (std::size_t number = 0; number < traits.classCounts.size(); ++number) {
        if (traits.classCounts[number] > 0) {
            classes.push_back(static_cast<std::uint8_t>(number));
        }
    }
    m_isUpdating = true;
    if (classes != m_classes || traits.classMeaning != m_meaning) {
        m_classes = classes;
        m_meaning = traits.classMeaning;
        ListView_DeleteAllItems(m_list);
        if (m_swatches) {
            ImageList_Destroy(m_swatches);
        }
        m_swatches = ImageList_Create(kSwatchSide, kSwatchSide, ILC_COLOR32, static_cast<int>(classes.size()), 0);
        const HDC screen = GetDC(nullptr);
        for (const std::uint8_t number : classes) {
            const HBITMAP swatch = MakeSwatch(screen, ColorOfClass(number, m_meaning));
            ImageList_Add(m_swatches, swatch, nullptr);
            DeleteObject(swatch);
        }
        ReleaseDC(nullptr, screen);
        ListView_SetImageList(m_list, m_swatches, LVSIL_SMALL);
    }
    for (std::size_t index = 0; index < m_classes.size(); ++index) {
        const int line = static_cast<int>(index);
        const std::uint8_t number = m_classes[index];
        SetLine(m_list, line, WideText(NameOfClass(number, m_meaning)),
                WideText(FormatCount(traits.classCounts[number])));
        LVITEMW item = {};
        item.mask = LVIF_IMAGE;
        item.iItem = line;
        item.iImage = line;
        ListView_SetItem(m_list, &item);
        SetTick(m_list, line, !hidden[number]);
    }
    m_isUpdating = false;
}

bool ClassList::HandleNotice(const NMHDR& notice, std::bitset<256>& hidden) const {
    if (m_isUpdating || notice.code != LVN_ITEMCHANGED) {
        return false;
    }
    const auto& change = reinterpret_cast<const NMLISTVIEW&>(notice);
    const bool isTicked = ((change.uOldState ^ change.uNewState) & LVIS_STATEIMAGEMASK) != 0;
    if (!isTicked || change.iItem < 0 || change.iItem >= static_cast<int>(m_classes.size())) {
        return false;
    }
    hidden[m_classes[static_cast<std::size_t>(change.iItem)]] = !HasTick(m_list, change.iItem);
    return true;
}

} // namespace OrrinViewer
