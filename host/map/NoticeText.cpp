#include "NoticeText.h"

#include <algorithm>
#include <cmath>

namespace OrrinViewer {

namespace {

/// Where the next character of UTF-8 begins.
std::size_t FindNextCharacter(const std::string& text, std::size_t at) {
    do {
        ++at;
    } while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U);
    return at;
}

/// How many bytes of a word fit into a line of their own; one character at least.
std::size_t CountFitting(const std::string& word, double widthPixels, const TextSizes& sizes) {
    std::size_t fitting = FindNextCharacter(word, 0);
    while (fitting < word.size()) {
        const std::size_t next = FindNextCharacter(word, fitting);
        if (sizes.width(word.substr(0, next)) > widthPixels) {
            break;
        }
        fitting = next;
    }
    return fitting;
}

} // namespace

std::string DescribeReading(const std::string& name, std::size_t fileNumber, std::size_t fileCount,
                            const ReadingState& state) {
    std::string text = name;
    if (fileCount > 1) {
        text += " (" + std::to_string(fileNumber) + " of " + std::to_string(fileCount) + ")";
    }
    text += ": ";
    text += state.phase;
    if (state.share) {
        text += ", " + std::to_string(static_cast<int>(std::floor(*state.share * 100.0))) + " %";
    }
    if (state.count > 0) {
        text += ", " + FormatCount(state.count) + " " + state.things;
    }
    return text;
}

std::string WithoutFolders(const std::string& fault) {
    // A drive's colon has no blank behind it.
    const std::size_t end = fault.find(": ");
    const std::size_t folders = fault.substr(0, end).find_last_of("/\\");
    return end == std::string::npos || folders == std::string::npos ? fault : fault.substr(folders + 1);
}

std::vector<std::string> BreakLines(const std::string& text, double widthPixels, const TextSizes& sizes) {
    std::vector<std::string> lines;
    std::string line;
    std::string rest = text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        const std::string word = rest.substr(0, end);
        std::string longer = line;
        longer += line.empty() ? "" : " ";
        longer += word;
        if (sizes.width(longer) <= widthPixels) {
            line = longer;
            rest.erase(0, end + 1);
        } else if (!line.empty()) {
            lines.push_back(std::move(line));
            line.clear();
        } else {
            const std::size_t fitting = CountFitting(word, widthPixels, sizes);
            lines.push_back(word.substr(0, fitting));
            rest.erase(0, fitting == word.size() ? end + 1 : fitting);
        }
    }
    if (!line.empty()) {
        lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace OrrinViewer
