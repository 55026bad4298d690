#include "LayerList.h"

#include "drawing/WideText.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace OrrinViewer {

namespace {

const int kKindWidth = PanelPixels(60);
const int kMarkHeight = PanelPixels(3);

const wchar_t* NameOf(LayerKind kind) {
    switch (kind) {
    case LayerKind::Raster:
        return L"raster";
    case LayerKind::Relief:
        return L"relief";
    case LayerKind::Mesh:
        return L"mesh";
    case LayerKind::Cloud:
        return L"points";
    case LayerKind::Features:
        return L"shapes";
    }
    return L"";
}

} // namespace

void LayerList::Create(HWND parent, int id, const ControlKeys& keys, Wishes wishes) {
    m_parent = parent;
    m_wishes = std::move(wishes);
    // Of two controls at one place the one that was made first is above.
    m_mark = CreateWindowExW(0, WC_STATICW, L"", WS_CHILD | WS_CLIPSIBLINGS, 0, 0, 0, 0, parent, nullptr,
                             GetModuleHandleW(nullptr), nullptr);
    m_list = AddTickList(parent, id, kKindWidth, keys);
}

void LayerList::Update(const std::vector<LayerInfo>& layers) {
    std::vector<Line> lines;
    for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
        lines.push_back({layer->id, layer->kind});
    }
    m_isUpdating = true;
    const LayerId selected = GetSelected();
    const bool isOrdered = lines == m_lines;
    if (!isOrdered) {
        StopDragging();
        m_lines = std::move(lines);
        while (ListView_GetItemCount(m_list) > static_cast<int>(m_lines.size())) {
            ListView_DeleteItem(m_list, ListView_GetItemCount(m_list) - 1);
        }
    }
    for (std::size_t index = 0; index < m_lines.size(); ++index) {
        const LayerInfo& layer = layers[layers.size() - 1 - index];
        const int line = static_cast<int>(index);
        SetLine(m_list, line, layer.source.name.empty() ? L"computed" : WideText(layer.source.name),
                NameOf(layer.kind));
        SetTick(m_list, line, layer.style.shown);
    }
    if (!isOrdered && !m_lines.empty()) {
        // Where it has gone the one that took its place is selected, at first the uppermost one.
        const auto found =
            std::find_if(m_lines.begin(), m_lines.end(), [&](const Line& line) { return line.layer == selected; });
        const int before = std::max(ListView_GetNextItem(m_list, -1, LVNI_SELECTED), 0);
        const int line = found != m_lines.end() ? static_cast<int>(found - m_lines.begin())
                                                : std::min(before, static_cast<int>(m_lines.size()) - 1);
        ListView_SetItemState(m_list, line, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    }
    m_isUpdating = false;
}

LayerId LayerList::LayerAt(int line) const {
    return line >= 0 && line < static_cast<int>(m_lines.size()) ? m_lines[static_cast<std::size_t>(line)].layer : 0;
}

LayerId LayerList::GetSelected() const {
    return LayerAt(ListView_GetNextItem(m_list, -1, LVNI_SELECTED));
}

void LayerList::HandleNotice(const NMHDR& notice) {
    if (m_isUpdating) {
        return;
    }
    if (notice.code == LVN_ITEMCHANGED) {
        const auto& change = reinterpret_cast<const NMLISTVIEW&>(notice);
        const UINT changed = change.uOldState ^ change.uNewState;
        if ((changed & LVIS_STATEIMAGEMASK) != 0 && LayerAt(change.iItem) != 0) {
            m_wishes.show(LayerAt(change.iItem), HasTick(m_list, change.iItem));
        }
        if ((changed & change.uNewState & LVIS_SELECTED) != 0) {
            m_wishes.select();
        }
    } else if (notice.code == LVN_BEGINDRAG) {
        BeginDragging(reinterpret_cast<const NMLISTVIEW&>(notice).iItem);
    } else if (notice.code == NM_DBLCLK) {
        // Two clicks on a tick are meant for the tick.
        LVHITTESTINFO hit = {};
        hit.pt = reinterpret_cast<const NMITEMACTIVATE&>(notice).ptAction;
        const LayerId layer = LayerAt(ListView_HitTest(m_list, &hit));
        if (layer != 0 && (hit.flags & LVHT_ONITEMSTATEICON) == 0) {
            m_wishes.open(layer);
        }
    }
}

void LayerList::BeginDragging(int line) {
    if (LayerAt(line) != 0) {
        m_dragged = line;
        m_gap = line;
        SetCapture(m_parent);
    }
}

void LayerList::DragTo(POINT place) {
    if (m_dragged < 0) {
        return;
    }
    m_gap = FindGap(place);
    RECT line = {};
    ListView_GetItemRect(m_list, std::max(m_gap - 1, 0), &line, LVIR_BOUNDS);
    RECT edge = {line.left, m_gap > 0 ? line.bottom : line.top, line.right, 0};
    MapWindowPoints(m_list, m_parent, reinterpret_cast<POINT*>(&edge), 2);
    SetWindowPos(m_mark, HWND_TOP, edge.left, edge.top - kMarkHeight / 2, edge.right - edge.left, kMarkHeight,
                 SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

/// The line before which the place is, as far as the dragged layer's kind reaches.
int LayerList::FindGap(POINT place) const {
    MapWindowPoints(m_parent, m_list, &place, 1);
    const LayerKind kind = m_lines[static_cast<std::size_t>(m_dragged)].kind;
    int gap = -1;
    for (int line = 0; line < static_cast<int>(m_lines.size()); ++line) {
        if (m_lines[static_cast<std::size_t>(line)].kind != kind) {
            continue;
        }
        RECT bounds = {};
        ListView_GetItemRect(m_list, line, &bounds, LVIR_BOUNDS);
        if (gap < 0 || place.y > (bounds.top + bounds.bottom) / 2) {
            gap = place.y > (bounds.top + bounds.bottom) / 2 ? line + 1 : line;
        }
    }
    return gap;
}

void LayerList::Drop() {
    const int dragged = std::exchange(m_dragged, -1);
    const int gap = m_gap;
    StopDragging();
    if (dragged < 0 || gap == dragged || gap == dragged + 1) {
        return;
    }
    const bool hasBelow = gap < static_cast<int>(m_lines.size()) && m_lines[static_cast<std::size_t>(gap)].kind ==
                                                                        m_lines[static_cast<std::size_t>(dragged)].kind;
    m_wishes.move(LayerAt(dragged), hasBelow ? LayerAt(gap) : 0);
}

void LayerList::StopDragging() {
    m_dragged = -1;
    ShowWindow(m_mark, SW_HIDE);
    if (GetCapture() == m_parent) {
        ReleaseCapture();
    }
}

} // namespace OrrinViewer
