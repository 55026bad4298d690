#include "Surface.h"

#include "SceneColors.h"

#include <utility>

namespace OrrinViewer {

namespace {

constexpr float kSunColor[] = {1.0F, 1.0F, 1.0F, 1.0F};
constexpr float kSunX = -0.5F;
constexpr float kSunY = 0.5F;
constexpr float kSunZ = 0.7071F;

/// Fixed functions light only the side that a normal points to, and add up the ambient parts of all lights. Two lights
/// that shine against each other, with half of the ambient part each, give what the lit program gives.
void SetUpTwoLights(KTR::COpenGLView& view, const float* towardsSun) {
    const KTR::GLLightParameters& parameters = view.GetContextRecord(view.GetCurrentContextType()).attributes.light;
    const float ambientShare = parameters.ambientCoefficient / 2.0F;
    const float diffuseShare = (1.0F - parameters.ambientCoefficient) * parameters.intensity / 4.0F;
    const float ambient[] = {kSunColor[0] * ambientShare, kSunColor[1] * ambientShare, kSunColor[2] * ambientShare,
                             1.0F};
    const float diffuse[] = {kSunColor[0] * diffuseShare, kSunColor[1] * diffuseShare, kSunColor[2] * diffuseShare,
                             1.0F};
    const float none[] = {0.0F, 0.0F, 0.0F, 1.0F};
    const float awayFromSun[] = {-towardsSun[0], -towardsSun[1], -towardsSun[2], 0.0F};
    for (const unsigned int light : {GL_LIGHT0, GL_LIGHT1}) {
        view.Light(light, GL_AMBIENT, ambient);
        view.Light(light, GL_DIFFUSE, diffuse);
        view.Light(light, GL_SPECULAR, none);
        view.Light(light, GL_POSITION, light == GL_LIGHT0 ? towardsSun : awayFromSun);
    }
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, none);
    view.ShadeModel(GL_SMOOTH);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
}

void SwitchTwoLights(KTR::COpenGLView& view, bool on) {
    for (const unsigned int capability : {GL_LIGHTING, GL_LIGHT0, GL_LIGHT1, GL_COLOR_MATERIAL, GL_NORMALIZE}) {
        view.LoadGLState(capability, on ? 1 : 0);
    }
}

} // namespace

void SetUpSun(KTR::COpenGLView& view, double exaggeration) {
    // The modelview matrix multiplies heights, those of directions too.
    const float towardsSun[] = {kSunX, kSunY, kSunZ / static_cast<float>(exaggeration), 0.0F};
    if (!view.DrawsWithPrograms()) {
        SetUpTwoLights(view, towardsSun);
        return;
    }
    view.Light(GL_LIGHT0, GL_DIFFUSE, kSunColor);
    view.Light(GL_LIGHT0, GL_POSITION, towardsSun);
}

Surface::Surface(ElevationGrid grid) : m_grid(std::move(grid)), m_triangles(FindTriangles(m_grid)) {
    const ElevationRange range = FindElevationRange(ElevationsWithData(m_grid));
    m_normals.resize(m_grid.elevations.size());
    m_colors.resize(m_grid.elevations.size());
    for (std::size_t cell = 0; cell < m_grid.elevations.size(); ++cell) {
        if (!std::isnan(m_grid.elevations[cell])) {
            m_normals[cell] = FindNormal(m_grid, cell % m_grid.columns, cell / m_grid.columns);
            m_colors[cell] = ColorOfElevation(m_grid.elevations[cell], range);
        }
    }
}

void Surface::Draw(KTR::COpenGLView& view, const Position& origin) {
    if (m_geometry.GetCount() == 0) {
        AddTriangles(view, origin);
    }
    const bool fixedFunctions = !view.DrawsWithPrograms();
    if (fixedFunctions) {
        SwitchTwoLights(view, true);
    }
    view.EnableClientStateInternalBuffers(true, true, true, false, KTR::GLShaderShadedColor3Stage);
    view.DrawGeometry(m_geometry);
    view.DisableClientState();
    if (fixedFunctions) {
        SwitchTwoLights(view, false);
    }
}

void Surface::AddTriangles(KTR::COpenGLView& view, const Position& origin) {
    if (view.BeginGeometry(m_geometry) != S_OK) {
        return;
    }
    view.BeginArrays(GL_TRIANGLES, KTR::GLShaderShadedColor3Stage);
    for (const std::array<GridCorner, 3>& triangle : m_triangles) {
        for (const GridCorner& corner : triangle) {
            const std::size_t cell = corner.row * m_grid.columns + corner.column;
            const Position position = m_grid.PositionAt(corner.column, corner.row);
            const Position& normal = m_normals[cell];
            const Rgb& color = m_colors[cell];
            view.AddIndex3DVertexNormalRGBA(position.x - origin.x, position.y - origin.y, position.z - origin.z,
                                            normal.x, normal.y, normal.z, color.red, color.green, color.blue, 255);
        }
    }
    view.EndArrays();
    view.EndGeometry();
}

} // namespace OrrinViewer
