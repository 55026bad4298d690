#pragma once

#include "PanelControls.h"
#include "data/CloudSurvey.h"

#include <bitset>
#include <string>
#include <vector>

namespace OrrinViewer {

/// A ramp of colours and the values that it stands for.
struct RampLegend {
    ElevationRange range;
    bool isGrey = false; ///< of intensities; otherwise of elevations
};

/// Draws the ramp upright, low values at the bottom, with numbers beside it.
void PaintRamp(HDC context, const RECT& area, const RampLegend& ramp);

/// The number as a legend, or a field for it, shows it: with the digits that a range wants.
std::wstring FormatInRange(double value, const ElevationRange& range);

/// The classes of a cloud, each with its colour, its name, how many points it has, and a tick.
class ClassList {
public:
    ~ClassList();

    void Create(HWND parent, int id, const ControlKeys& keys);
    HWND Handle() const { return m_list; }
    void Update(const CloudTraits& traits, const std::bitset<256>& hidden);
    /// What the list tells its parent. True where the user has ticked a class; `hidden` has it then.
    bool HandleNotice(const NMHDR& notice, std::bitset<256>& hidden) const;

private:
    HWND m_list = nullptr;
    HIMAGELIST m_swatches = nullptr;
    std::vector<std::uint8_t> m_classes; ///< of the lines
    ClassMeaning m_meaning = ClassMeaning::Survey;
    bool m_isUpdating = false;
};

} // namespace OrrinViewer
