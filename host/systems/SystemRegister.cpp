#include "SystemRegister.h"

#include "files/TextParsing.h"
#include "files/WktText.h"

#include <proj.h>

#include <cmath>
#include <limits>
#include <memory>
#include <system_error>
#include <utility>

namespace OrrinViewer {

namespace {

struct DestroyContext {
    void operator()(PJ_CONTEXT* context) const { proj_context_destroy(context); }
};
struct DestroyObject {
    void operator()(PJ* object) const { proj_destroy(object); }
};
using Context = std::unique_ptr<PJ_CONTEXT, DestroyContext>;
using Object = std::unique_ptr<PJ, DestroyObject>;

Context OpenDatabase(const std::string& database) {
    Context context(database.empty() ? nullptr : proj_context_create());
    if (!context) {
        return nullptr;
    }
    // What cannot be done is told by results, in this program's own words.
    proj_log_level(context.get(), PJ_LOG_NONE);
    proj_context_set_enable_network(context.get(), 0);
    if (!proj_context_set_database_path(context.get(), database.c_str(), nullptr, nullptr)) {
        return nullptr;
    }
    return context;
}

/// Without heights and without what binds it to another: the system of the map.
Object FindMapPart(PJ_CONTEXT* context, Object system) {
    for (int level = 0; system && level < 4; ++level) {
        const PJ_TYPE type = proj_get_type(system.get());
        if (type == PJ_TYPE_COMPOUND_CRS) {
            system.reset(proj_crs_get_sub_crs(context, system.get(), 0));
        } else if (type == PJ_TYPE_BOUND_CRS) {
            system.reset(proj_get_source_crs(context, system.get()));
        } else {
            break;
        }
    }
    return system;
}

bool IsMapSystem(const PJ* system) {
    const PJ_TYPE type = proj_get_type(system);
    return type == PJ_TYPE_PROJECTED_CRS || type == PJ_TYPE_GEOGRAPHIC_2D_CRS || type == PJ_TYPE_GEOGRAPHIC_3D_CRS;
}

/// A system by what a file or a person says; null for what is none.
Object CreateSystem(PJ_CONTEXT* context, const std::string& text) {
    Object system = FindMapPart(context, Object(proj_create(context, text.c_str())));
    return system && IsMapSystem(system.get()) ? std::move(system) : nullptr;
}

Object CreateSystem(PJ_CONTEXT* context, const CoordinateSystem& system) {
    Object created = system.code != 0 ? CreateSystem(context, "EPSG:" + std::to_string(system.code)) : nullptr;
    return created || system.wkt.empty() ? std::move(created) : CreateSystem(context, system.wkt);
}

std::optional<MapUnits> FindUnits(PJ_CONTEXT* context, const PJ* system) {
    if (proj_get_type(system) != PJ_TYPE_PROJECTED_CRS) {
        return MapUnits::Degrees;
    }
    const Object axes(proj_crs_get_coordinate_system(context, system));
    double metres = 0.0;
    if (!axes ||
        !proj_cs_get_axis_info(context, axes.get(), 0, nullptr, nullptr, nullptr, &metres, nullptr, nullptr, nullptr)) {
        return std::nullopt;
    }
    return MapUnitsOfSize(metres);
}

void Describe(PJ_CONTEXT* context, const PJ* known, CoordinateSystem& system) {
    if (const char* name = proj_get_name(known); name && system.name.empty()) {
        system.name = name;
    }
    const char* authority = proj_get_id_auth_name(known, 0);
    const char* code = proj_get_id_code(known, 0);
    if (system.code == 0 && authority && code && std::string(authority) == "EPSG") {
        system.code = static_cast<int>(ParseNumber(code).value_or(0.0));
    }
    system.units = system.units ? system.units : FindUnits(context, known);
}

/// What both functions of a transformation use.
struct Way {
    Context context;
    Object operation;
    double heightFactor = 1.0;

    Position Follow(const Position& position, PJ_DIRECTION direction) const {
        const PJ_COORD to = proj_trans(operation.get(), direction, proj_coord(position.x, position.y, 0.0, HUGE_VAL));
        const double factor = direction == PJ_FWD ? heightFactor : 1.0 / heightFactor;
        const Position found{to.xy.x, to.xy.y, position.z * factor};
        constexpr double kNowhere = std::numeric_limits<double>::infinity();
        return IsPlace({found.x, found.y, 0.0}) ? found : Position{kNowhere, kNowhere, kNowhere};
    }
};

} // namespace

SystemRegister::SystemRegister(const std::filesystem::path& database) {
    std::error_code error;
    if (std::filesystem::is_regular_file(database, error)) {
        const std::u8string name = database.u8string();
        m_database.assign(name.begin(), name.end());
    }
}

std::optional<CoordinateSystem> SystemRegister::Find(const std::string& text) const {
    const Context context = OpenDatabase(m_database);
    if (!context) {
        return std::nullopt;
    }
    const bool isCode = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    const Object known = CreateSystem(context.get(), isCode ? "EPSG:" + text : text);
    if (!known) {
        return std::nullopt;
    }
    CoordinateSystem system;
    Describe(context.get(), known.get(), system);
    if (system.code == 0) {
        const char* wkt = proj_as_wkt(context.get(), known.get(), PJ_WKT2_2019, nullptr);
        system.wkt = wkt ? wkt : "";
    }
    return system.IsKnown() ? std::optional(system) : std::nullopt;
}

CoordinateSystem SystemRegister::Complete(CoordinateSystem system) const {
    const Context context = system.IsKnown() ? OpenDatabase(m_database) : nullptr;
    const Object known = context ? CreateSystem(context.get(), system) : nullptr;
    if (known) {
        // A file's own name for a system of the register is often no more than a remark.
        system.name = system.code != 0 ? std::string() : system.name;
        Describe(context.get(), known.get(), system);
    }
    return system;
}

bool SystemRegister::AreSame(const CoordinateSystem& one, const CoordinateSystem& other) const {
    if (one.code != 0 && one.code == other.code) {
        return true;
    }
    const Context context = OpenDatabase(m_database);
    const Object first = context ? CreateSystem(context.get(), one) : nullptr;
    const Object second = context ? CreateSystem(context.get(), other) : nullptr;
    return first && second &&
           proj_is_equivalent_to_with_ctx(context.get(), first.get(), second.get(),
                                          PJ_COMP_EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS);
}

std::optional<MapTransformation> SystemRegister::Relate(const CoordinateSystem& from,
                                                        const CoordinateSystem& to) const {
    const auto way = std::make_shared<Way>();
    way->context = OpenDatabase(m_database);
    PJ_CONTEXT* context = way->context.get();
    const Object source = context ? CreateSystem(context, from) : nullptr;
    const Object target = context ? CreateSystem(context, to) : nullptr;
    if (!source || !target) {
        return std::nullopt;
    }
    const Object operation(proj_create_crs_to_crs_from_pj(context, source.get(), target.get(), nullptr, nullptr));
    // East before north, degrees for angles, as maps and files have them.
    way->operation.reset(operation ? proj_normalize_for_visualization(context, operation.get()) : nullptr);
    if (!way->operation) {
        return std::nullopt;
    }
    if (from.heightMetres && to.heightMetres) {
        way->heightFactor = *from.heightMetres / *to.heightMetres;
    }
    return MapTransformation{[way](const Position& position) { return way->Follow(position, PJ_FWD); },
                             [way](const Position& position) { return way->Follow(position, PJ_INV); }};
}

} // namespace OrrinViewer
