#include "ViewLight.h"

#include "../values/LightDirection.h"
#include "../view/ViewAccess.h"

#include <algorithm>
#include <cmath>

namespace KTR {

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kZenithDegrees = 90.0;

/// The intensity at which a surface that faces the light shows its own colour.
constexpr float kFullIntensity = 4.0F;

constexpr GLenum kLights[FixedLighting::kLights] = {GL_LIGHT0, GL_LIGHT1};
constexpr GLenum kFaces[] = {GL_FRONT, GL_BACK};
constexpr GLenum kLightingCapabilities[FixedLighting::kCapabilities] = {GL_LIGHTING, GL_LIGHT0, GL_LIGHT1,
                                                                        GL_COLOR_MATERIAL, GL_NORMALIZE};
constexpr GLenum kLightValues[FixedLighting::kLightValues] = {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_POSITION,
                                                              GL_SPOT_CUTOFF};
/// Those that the colours of vertices replace, and those that would be added to the light.
constexpr GLenum kMaterialValues[FixedLighting::kMaterialValues] = {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION};
constexpr float kNone[] = {0.0F, 0.0F, 0.0F, 1.0F};

/// As long as it lives OpenGL takes positions of lights for eye coordinates.
class EyeCoordinates {
public:
    EyeCoordinates(const GLCalls& gl, unsigned int modeBefore) : m_gl(gl), m_modeBefore(modeBefore) {
        m_gl.glMatrixMode(GL_MODELVIEW);
        m_gl.glPushMatrix();
        m_gl.glLoadIdentity();
    }
    ~EyeCoordinates() {
        m_gl.glPopMatrix();
        m_gl.glMatrixMode(m_modeBefore);
    }
    EyeCoordinates(const EyeCoordinates&) = delete;
    EyeCoordinates& operator=(const EyeCoordinates&) = delete;

private:
    const GLCalls& m_gl;
    unsigned int m_modeBefore;
};

FixedLighting& LightingOf(COpenGLView& view) {
    return ViewAccess::CurrentObjects(view).scene.lighting;
}

unsigned int MatrixModeOf(const COpenGLView& view) {
    const unsigned int mode = ViewAccess::CurrentRecord(view).attributes.matrixMode;
    return mode == 0 ? GL_MODELVIEW : mode;
}

int IntegerOf(const GLCalls& gl, GLenum name) {
    GLint value = 0;
    gl.glGetIntegerv(name, &value);
    return value;
}

void KeepLighting(const GLCalls& gl, FixedLighting& lighting) {
    for (std::size_t index = 0; index < lighting.capabilities.size(); ++index) {
        lighting.capabilities[index] = gl.glIsEnabled(kLightingCapabilities[index]) != 0;
    }
    for (std::size_t light = 0; light < lighting.lights.size(); ++light) {
        for (std::size_t value = 0; value < lighting.lights[light].size(); ++value) {
            gl.glGetLightfv(kLights[light], kLightValues[value], lighting.lights[light][value].data());
        }
    }
    for (std::size_t face = 0; face < lighting.materials.size(); ++face) {
        for (std::size_t value = 0; value < lighting.materials[face].size(); ++value) {
            gl.glGetMaterialfv(kFaces[face], kMaterialValues[value], lighting.materials[face][value].data());
        }
    }
    gl.glGetFloatv(GL_LIGHT_MODEL_AMBIENT, lighting.modelAmbient.data());
    lighting.shadeModel = IntegerOf(gl, GL_SHADE_MODEL);
    lighting.colorMaterialFace = IntegerOf(gl, GL_COLOR_MATERIAL_FACE);
    lighting.colorMaterialParameter = IntegerOf(gl, GL_COLOR_MATERIAL_PARAMETER);
}

void ReturnLighting(COpenGLView& view, const GLCalls& gl, const FixedLighting& lighting) {
    // Materials can be set only while they do not follow the colour.
    view.Disable(GL_COLOR_MATERIAL);
    for (std::size_t face = 0; face < lighting.materials.size(); ++face) {
        for (std::size_t value = 0; value < lighting.materials[face].size(); ++value) {
            gl.glMaterialfv(kFaces[face], kMaterialValues[value], lighting.materials[face][value].data());
        }
    }
    {
        const EyeCoordinates eye(gl, MatrixModeOf(view));
        for (std::size_t light = 0; light < lighting.lights.size(); ++light) {
            for (std::size_t value = 0; value < lighting.lights[light].size(); ++value) {
                gl.As(L"Light: END")
                    .glLightfv(kLights[light], kLightValues[value], lighting.lights[light][value].data());
            }
        }
    }
    gl.glLightModelfv(GL_LIGHT_MODEL_AMBIENT, lighting.modelAmbient.data());
    gl.glShadeModel(static_cast<GLenum>(lighting.shadeModel));
    gl.glColorMaterial(static_cast<GLenum>(lighting.colorMaterialFace),
                       static_cast<GLenum>(lighting.colorMaterialParameter));
    for (std::size_t index = 0; index < lighting.capabilities.size(); ++index) {
        view.LoadGLState(kLightingCapabilities[index], lighting.capabilities[index] ? 1 : 0);
    }
}

void PrepareLighting(COpenGLView& view, const GLCalls& gl) {
    gl.glLightModelfv(GL_LIGHT_MODEL_AMBIENT, kNone);
    gl.glShadeModel(GL_SMOOTH);
    for (const GLenum face : kFaces) {
        gl.glMaterialfv(face, GL_SPECULAR, kNone);
        gl.glMaterialfv(face, GL_EMISSION, kNone);
    }
    gl.glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    for (const GLenum capability : kLightingCapabilities) {
        view.Enable(capability);
    }
}

bool IsFinite(const float* values, int count) {
    return std::all_of(values, values + count, [](float value) { return std::isfinite(value); });
}

bool IsLight(const GLLightParameters& light) {
    const auto& [x, y, z, w] = light.direction;
    const bool direction = IsFinite(light.direction.data(), 3) && (x != 0.0F || y != 0.0F || z != 0.0F);
    const bool color = IsFinite(light.color.data(), 4) &&
                       std::ranges::none_of(light.color, [](float channel) { return channel < 0.0F; });
    return direction && color && std::isfinite(light.intensity) && light.intensity >= 0.0F &&
           light.ambientCoefficient >= 0.0F && light.ambientCoefficient <= 1.0F;
}

} // namespace

void SendLight(COpenGLView& view) {
    FixedLighting& lighting = LightingOf(view);
    if (!lighting.on || view.DrawsWithPrograms() || !ViewAccess::HasCurrentContext(view)) {
        return;
    }
    const GLLightParameters light =
        LightInEyeCoordinates(ViewAccess::CurrentRecord(view).attributes, ViewAccess::CurrentMatrices(view).modelview);
    if (lighting.sent == light) {
        return;
    }
    lighting.sent = light;
    const auto share = [&light](float part) {
        return FixedLighting::Values{light.color[0] * part, light.color[1] * part, light.color[2] * part, 1.0F};
    };
    const FixedLighting::Values ambient = share(light.ambientCoefficient / 2.0F);
    const FixedLighting::Values diffuse = share((1.0F - light.ambientCoefficient) * light.intensity / kFullIntensity);
    const auto& [x, y, z, w] = light.direction;
    const float towards[] = {x, y, z, 0.0F};
    const float against[] = {-x, -y, -z, 0.0F};
    constexpr float kEverywhere = 180.0F;
    const GLCalls gl = ViewAccess::CallGL(view).As(L"Light: END");
    const EyeCoordinates eye(gl, MatrixModeOf(view));
    for (const GLenum number : kLights) {
        gl.glLightfv(number, GL_AMBIENT, ambient.data());
        gl.glLightfv(number, GL_DIFFUSE, diffuse.data());
        gl.glLightfv(number, GL_SPECULAR, kNone);
        gl.glLightfv(number, GL_SPOT_CUTOFF, &kEverywhere);
        gl.glLightfv(number, GL_POSITION, number == GL_LIGHT0 ? towards : against);
    }
}

LightingScope::LightingScope(COpenGLView& view, bool lit)
    : m_view(view), m_before(LightingOf(view).on), m_lit(lit && !view.DrawsWithPrograms()) {
    if (m_view.DrawsWithPrograms()) {
        return;
    }
    if (m_lit && !m_before) {
        m_view.SetUpLighting(true);
    } else if (!m_lit && m_before) {
        m_view.Disable(GL_LIGHTING);
    }
    SendLight(m_view);
}

LightingScope::~LightingScope() {
    if (m_view.DrawsWithPrograms()) {
        return;
    }
    if (m_lit && !m_before) {
        m_view.SetUpLighting(false);
    } else if (!m_lit && m_before) {
        m_view.Enable(GL_LIGHTING);
    }
}

long COpenGLView::SetLightParameters(const GLLightParameters& light) {
    if (!IsLight(light)) {
        return E_INVALIDARG;
    }
    DrawWaitingVertices();
    GLAttributes& attributes = CurrentRecord().attributes;
    attributes.light = light;
    attributes.light.direction[3] = 0.0F;
    attributes.lightInModel = true;
    return S_OK;
}

GLLightParameters COpenGLView::GetLightParameters() const {
    const GLAttributes& attributes = CurrentRecord().attributes;
    GLLightParameters light = attributes.light;
    if (!attributes.lightInModel) {
        const auto& [x, y, z, w] = light.direction;
        const glm::dvec3 model = DirectionToModel({x, y, z}, CurrentMath().Matrices().modelview);
        light.direction = {static_cast<float>(model.x), static_cast<float>(model.y), static_cast<float>(model.z), 0.0F};
    }
    return light;
}

long COpenGLView::SetSun(double azimuthDegrees, double altitudeDegrees) {
    if (!std::isfinite(azimuthDegrees) || !(std::abs(altitudeDegrees) <= kZenithDegrees)) {
        return E_INVALIDARG;
    }
    const double azimuth = std::fmod(azimuthDegrees, 360.0) * kRadiansPerDegree;
    const double altitude = altitudeDegrees * kRadiansPerDegree;
    GLLightParameters light = CurrentRecord().attributes.light;
    light.direction = {static_cast<float>(std::sin(azimuth) * std::cos(altitude)),
                       static_cast<float>(std::cos(azimuth) * std::cos(altitude)),
                       static_cast<float>(std::sin(altitude)), 0.0F};
    return SetLightParameters(light);
}

void COpenGLView::SetHeadlight(bool on) {
    DrawWaitingVertices();
    CurrentRecord().attributes.headlight = on;
}

void COpenGLView::SetUpLighting(bool on) {
    if (DrawsWithPrograms() || !HasCurrentContext()) {
        return;
    }
    const GLCalls gl = CallGL();
    FixedLighting& lighting = LightingOf(*this);
    if (on) {
        if (!lighting.on) {
            KeepLighting(gl, lighting);
            lighting.on = true;
            lighting.sent.reset();
        }
        PrepareLighting(*this, gl);
    } else if (lighting.on) {
        lighting.on = false;
        ReturnLighting(*this, gl, lighting);
    }
}

} // namespace KTR
