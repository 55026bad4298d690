#pragma once

// In which order the parts of a line are read that mixes scripts from left to right with others from right to left.

#include <span>
#include <vector>

namespace KTR {

/// What a character does to the direction, as Unicode classes it.
enum class BidiClass : unsigned char {
    LeftToRight,
    RightToLeft,      ///< Hebrew and others
    ArabicLetter,     ///< right to left too, and changes the numbers that follow
    EuropeanNumber,   ///< 0 to 9
    ArabicNumber,     ///< Arabic's own digits
    NumberSign,       ///< plus and minus
    NumberSeparator,  ///< comma, full stop, colon, slash
    NumberTerminator, ///< per cent, degrees, currencies
    Mark,             ///< stands on the character before it
    Blank,
    Other,
};

/// The level of each character: even ones are read from left to right, odd ones from right to left, and higher ones
/// within the lower around them. The direction of the whole is that of the first letter that has one. The rules are
/// those of Unicode's bidirectional algorithm (UAX #9) without its embedding characters, isolates and bracket pairs.
std::vector<unsigned char> BidiLevels(std::span<const BidiClass> classes);

/// A stretch of one level.
struct LevelRun {
    std::size_t first = 0;
    std::size_t count = 0;
    unsigned char level = 0;
};

/// The stretches in the order in which they stand from left to right.
std::vector<LevelRun> RunsFromLeft(std::span<const unsigned char> levels);

} // namespace KTR
