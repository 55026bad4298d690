#pragma once

#include "data/Extent.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace OrrinViewer {

/// A file that could not be read. `what()` is one line of UTF-8, fit to be shown to the user: the file as it was named,
/// then what is wrong and where.
class FileError : public std::runtime_error {
public:
    FileError(const std::filesystem::path& path, std::string_view problem);
};

/// Text taken from a damaged file, made fit for a one-line message: in quotes, shortened, and with a '?' for each
/// character that is not printable ASCII.
std::string QuoteForMessage(std::string_view text);

/// What is wrong with a place that IsPlace refuses, to stand behind the name of the record: "has the coordinate 1e+300,
/// ...".
std::string SayFarAway(const Position& position);

} // namespace OrrinViewer
