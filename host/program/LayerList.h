#pragma once

#include "PanelControls.h"
#include "drawing/Scene.h"

#include <functional>
#include <vector>

namespace OrrinViewer {

/// The list of layers in a panel, the uppermost one first, each with a tick that shows or hides it. Layers are dragged
/// to other places among those of their kind, beyond which a scene draws none.
class LayerList {
public:
    /// What the user wants. The list changes once the scene has.
    struct Wishes {
        std::function<void(LayerId layer, bool on)> show;
        std::function<void(LayerId layer, LayerId below)> move; ///< right above another one; 0: as the lowest
        std::function<void()> select;                           ///< what is selected is another one
        std::function<void(LayerId layer)> open;                ///< a double click
    };

    void Create(HWND parent, int id, const ControlKeys& keys, Wishes wishes);
    HWND Handle() const { return m_list; }
    /// Shows these layers, of which the uppermost one is last.
    void Update(const std::vector<LayerInfo>& layers);
    /// 0 where none is.
    LayerId GetSelected() const;
    /// The layer of a line; 0 where there is none.
    LayerId LayerAt(int line) const;

    /// What the list tells its parent.
    void HandleNotice(const NMHDR& notice);
    /// While a layer is dragged the parent has the mouse: where that is, in its own coordinates.
    void DragTo(POINT place);
    void Drop();
    void StopDragging();
    bool IsMark(HWND window) const { return window == m_mark; }

private:
    struct Line {
        LayerId layer;
        LayerKind kind;

        bool operator==(const Line&) const = default;
    };

    void BeginDragging(int line);
    int FindGap(POINT place) const;

    HWND m_parent = nullptr;
    HWND m_list = nullptr;
    HWND m_mark = nullptr; ///< where a dragged layer would go
    Wishes m_wishes;
    std::vector<Line> m_lines;
    bool m_isUpdating = false;
    int m_dragged = -1; ///< line
    int m_gap = -1;     ///< the line before which it would go
};

} // namespace OrrinViewer
