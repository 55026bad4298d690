#include "BidiLevels.h"

#include <algorithm>
#include <cstddef>

namespace KTR {

namespace {

using Classes = std::vector<BidiClass>;
using enum BidiClass;

bool IsNeutral(BidiClass is) {
    return is == Blank || is == Other;
}

/// The level of the whole: that of its first letter with a direction.
unsigned char BaseLevel(std::span<const BidiClass> classes) {
    for (const BidiClass is : classes) {
        if (is == LeftToRight) {
            return 0;
        }
        if (is == RightToLeft || is == ArabicLetter) {
            return 1;
        }
    }
    return 0;
}

/// Marks go with what they stand on; numbers behind Arabic letters are read as Arabic's own.
void ResolveMarksAndNumbers(Classes& classes, BidiClass base) {
    BidiClass before = base;
    BidiClass strong = base;
    for (BidiClass& is : classes) {
        if (is == Mark) {
            is = before;
        }
        before = is;
        if (is == LeftToRight || is == RightToLeft || is == ArabicLetter) {
            strong = is;
        } else if (is == EuropeanNumber && strong == ArabicLetter) {
            is = ArabicNumber;
        }
    }
    std::replace(classes.begin(), classes.end(), ArabicLetter, RightToLeft);
}

/// A single sign between two numbers of a kind belongs to them, and so do terminators next to one.
void JoinNumbers(Classes& classes) {
    for (std::size_t index = 1; index + 1 < classes.size(); ++index) {
        const BidiClass left = classes[index - 1];
        const bool between = left == classes[index + 1];
        if (between && left == EuropeanNumber && (classes[index] == NumberSign || classes[index] == NumberSeparator)) {
            classes[index] = EuropeanNumber;
        } else if (between && left == ArabicNumber && classes[index] == NumberSeparator) {
            classes[index] = ArabicNumber;
        }
    }
    for (std::size_t first = 0; first < classes.size(); ++first) {
        if (classes[first] != NumberTerminator) {
            continue;
        }
        std::size_t end = first;
        while (end < classes.size() && classes[end] == NumberTerminator) {
            ++end;
        }
        const bool number = (first > 0 && classes[first - 1] == EuropeanNumber) ||
                            (end < classes.size() && classes[end] == EuropeanNumber);
        std::fill(classes.begin() + static_cast<std::ptrdiff_t>(first),
                  classes.begin() + static_cast<std::ptrdiff_t>(end), number ? EuropeanNumber : Other);
        first = end - 1;
    }
    for (BidiClass& is : classes) {
        is = is == NumberSign || is == NumberSeparator ? Other : is;
    }
}

/// Numbers among letters from left to right are no different from those.
void ResolveNumbersAmongLetters(Classes& classes, BidiClass base) {
    BidiClass strong = base;
    for (BidiClass& is : classes) {
        if (is == LeftToRight || is == RightToLeft) {
            strong = is;
        } else if (is == EuropeanNumber && strong == LeftToRight) {
            is = LeftToRight;
        }
    }
}

/// What has no direction takes that of both its neighbours, or that of the whole.
void ResolveNeutrals(Classes& classes, BidiClass base) {
    const auto directionOf = [&](std::size_t index) {
        return classes[index] == LeftToRight ? LeftToRight : RightToLeft; // numbers count as right to left here
    };
    for (std::size_t first = 0; first < classes.size(); ++first) {
        if (!IsNeutral(classes[first])) {
            continue;
        }
        std::size_t end = first;
        while (end < classes.size() && IsNeutral(classes[end])) {
            ++end;
        }
        const BidiClass before = first > 0 ? directionOf(first - 1) : base;
        const BidiClass behind = end < classes.size() ? directionOf(end) : base;
        std::fill(classes.begin() + static_cast<std::ptrdiff_t>(first),
                  classes.begin() + static_cast<std::ptrdiff_t>(end), before == behind ? before : base);
        first = end - 1;
    }
}

unsigned char LevelOf(BidiClass is, unsigned char base) {
    if (base % 2 == 0) {
        return is == LeftToRight ? base : static_cast<unsigned char>(base + (is == RightToLeft ? 1 : 2));
    }
    return is == RightToLeft ? base : static_cast<unsigned char>(base + 1);
}

} // namespace

std::vector<unsigned char> BidiLevels(std::span<const BidiClass> classes) {
    const unsigned char baseLevel = BaseLevel(classes);
    const BidiClass base = baseLevel == 0 ? LeftToRight : RightToLeft;
    Classes resolved(classes.begin(), classes.end());
    ResolveMarksAndNumbers(resolved, base);
    JoinNumbers(resolved);
    ResolveNumbersAmongLetters(resolved, base);
    ResolveNeutrals(resolved, base);
    std::vector<unsigned char> levels;
    levels.reserve(resolved.size());
    for (const BidiClass is : resolved) {
        levels.push_back(LevelOf(is, baseLevel));
    }
    // Blanks at the end stand where the whole ends.
    for (std::size_t index = classes.size(); index > 0 && classes[index - 1] == Blank; --index) {
        levels[index - 1] = baseLevel;
    }
    return levels;
}

std::vector<LevelRun> RunsFromLeft(std::span<const unsigned char> levels) {
    std::vector<LevelRun> runs;
    unsigned char highest = 0;
    for (std::size_t index = 0; index < levels.size(); ++index) {
        if (runs.empty() || runs.back().level != levels[index]) {
            runs.push_back({index, 0, levels[index]});
        }
        ++runs.back().count;
        highest = std::max(highest, levels[index]);
    }
    // From the highest level down, whatever is at least that high is turned around.
    for (int level = highest; level > 0; --level) {
        for (auto first = runs.begin(); first != runs.end();) {
            first = std::find_if(first, runs.end(), [level](const LevelRun& run) { return run.level >= level; });
            const auto end =
                std::find_if(first, runs.end(), [level](const LevelRun& run) { return run.level < level; });
            std::reverse(first, end);
            first = end;
        }
    }
    return runs;
}

} // namespace KTR
