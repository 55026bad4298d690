#pragma once

#include "ColorLegend.h"
#include "LayerList.h"
#include "NativeWindow.h"
#include "drawing/Scene.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace OrrinViewer {

class ViewerSession;

/// The part of the side panel that lists the layers, and below the list changes how the selected one is drawn. What is
/// changed shows in all windows at once.
class LayerPanel final : public NativeWindow {
public:
    LayerPanel(Scene& scene, ViewerSession& session);
    ~LayerPanel() override { Destroy(); }

    /// The scene may have other layers, or draw them in another way.
    void Update();

private:
    /// A value that a slider sets.
    enum class Measure {
        LineWidth,
        SymbolSize,
        Fill,
        PointSize,
        Opacity,
    };
    struct Slider {
        Measure measure;
        HWND name;
        HWND bar;
        HWND value;
    };
    /// What the selected layer can be asked for; finding it out takes a walk over all features.
    struct Traits {
        LayerId layer = 0;
        bool hasLines = false; ///< or outlines
        bool hasAreas = false;
        bool hasPoints = false;
    };

    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    LRESULT HandleNotice(const NMHDR& notice);
    void HandleCommand(int id, int code);
    void HandleContextMenu(LPARAM lParam);
    bool HandleKey(HWND control, WPARAM key);
    void AddControls();
    void LayOut();
    int PlaceRow(int y, HWND name, HWND control, HWND end) const;
    void Paint() const;
    void DrawSwatch(const DRAWITEMSTRUCT& item) const;

    void ShowLayer();
    void ShowAttributes(const LayerInfo& layer);
    void ShowRange();
    void FindTraits(const LayerInfo& layer);
    std::vector<Measure> ListMeasures(const LayerInfo& layer) const;
    int PositionOf(Measure measure, const LayerInfo& layer) const;
    void Apply(Measure measure, int position, LayerStyle& style) const;
    std::wstring Describe(Measure measure, int position) const;
    bool HasRamp() const { return m_dataRange.has_value(); }
    RampEnds& RampOf(LayerStyle& style) const;
    std::wstring NameOfRamp() const;

    void Change(const std::function<void(LayerStyle& style)>& change);
    void ChangeScene(const std::function<void()>& change);
    void ApplyRange(HWND field);
    void PickColor();
    void RemoveSelected();

    Scene& m_scene;
    ViewerSession& m_session;
    ControlKeys m_keys;
    LayerList m_layers;
    ClassList m_classes;
    std::vector<Slider> m_sliders;
    HWND m_colorName = nullptr;
    HWND m_color = nullptr;
    HWND m_ownColor = nullptr;
    HWND m_attributeName = nullptr;
    HWND m_attribute = nullptr;
    HWND m_rangeName = nullptr;
    HWND m_low = nullptr;
    HWND m_high = nullptr;
    HWND m_ownRange = nullptr;
    Traits m_traits;
    std::optional<LayerInfo> m_shown;          ///< the selected layer, as the controls show it
    std::vector<ColorMode> m_attributes;       ///< that the selected cloud has
    std::optional<ColorMode> m_mode;           ///< of the selected cloud
    std::optional<ElevationRange> m_dataRange; ///< of the values that its colours stand for
    RECT m_legend{};                           ///< where the ramp is
    int m_version = -1;                        ///< of the scene, that is shown
    bool m_isUpdating = false;
};

} // namespace OrrinViewer
