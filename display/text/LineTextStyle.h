#pragma once

namespace KTR {

/// Where along a line its text stands.
enum GLLineTextPlacement : int {
    GLLineTextStart = 0,  ///< begins at the line's first place
    GLLineTextCenter = 1, ///< in the middle of the line
    GLLineTextEnd = 2,    ///< ends at the line's last place
    GLLineTextRepeat = 3, ///< as often as it fits, evenly distributed; less often than 50,000 times in the window
};

/// How DrawTextAlongLine places a string. Lengths are pixels of the window.
struct GLLineTextStyle {
    GLLineTextPlacement placement = GLLineTextCenter;
    /// Free of text at the line's start and end; of repeated strings, between two of them at least. 0 to 1e6.
    double margin = 0.0;
    /// GLLineTextRepeat: from the middle of one string to the middle of the next at least. 1 to 1e6.
    double repeatDistance = 250.0;
    /// Baseline above the line as the letters stand; below it where negative. -1e4 to 1e4.
    double offset = 0.0;
    /// Turns strings about that would stand on their heads: they are read from the line's end then.
    bool upright = true;
    /// A string is left out where the line turns by more between the middles of two neighbouring letters. 1 to 180.
    double maximumBendDegrees = 45.0;
};

} // namespace KTR
