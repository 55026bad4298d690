#pragma once

#include "MapTransformation.h"
#include "data/CoordinateSystem.h"

#include <filesystem>
#include <optional>
#include <string>

namespace OrrinViewer {

/// The register of coordinate systems of the world, with what there is to know of each and how places go from one to
/// another. Without its database it knows nothing.
class SystemRegister {
public:
    SystemRegister() = default;
    explicit SystemRegister(const std::filesystem::path& database);

    /// The system that a person means: "EPSG:25832", "25832", a name, or a definition.
    std::optional<CoordinateSystem> Find(const std::string& text) const;
    /// The system with its name and its units, as far as the register knows them and the file does not say them.
    CoordinateSystem Complete(CoordinateSystem system) const;
    /// The way from one system to another; none where one is not known or there is no way.
    std::optional<MapTransformation> Relate(const CoordinateSystem& from, const CoordinateSystem& to) const;
    bool AreSame(const CoordinateSystem& one, const CoordinateSystem& other) const;

private:
    std::string m_database; ///< UTF-8; empty: there is none
};

} // namespace OrrinViewer
