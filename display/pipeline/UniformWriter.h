#pragma once

#include "ProgramUniforms.h"
#include "ShaderData.h"

namespace KTR {

class GLCalls;

/// Whether the stock program `slot` draws the same with the one as with the other.
bool AgreeFor(GLShaderTypes slot, const ProgramUniforms& one, const ProgramUniforms& other);

/// Writes the uniforms of one program, which must be in use. One that the program lacks is skipped.
class UniformWriter {
public:
    /// \param data       of the program in use; remembers the locations that were asked for
    /// \param takenOver  another context has written the program's uniforms since this one drew with it
    UniformWriter(const GLCalls& gl, ShaderData& data, bool takenOver)
        : m_gl(gl), m_data(data), m_takenOver(takenOver) {}

    /// Projection times modelview.
    void WriteMatrix(const ProgramUniforms& uniforms) const;
    /// What the stock program `slot` takes beside that.
    void WriteStockUniforms(GLShaderTypes slot, const ProgramUniforms& uniforms) const;
    void WriteLight(const GLLightParameters& light) const;

    int LocationOf(StockUniform uniform) const;
    int LocationOf(const char* name) const;

    void Write(int location, int value) const;
    void Write(int location, unsigned int value) const;
    void Write(int location, float value) const;
    void WriteVector3(int location, const float* values) const;
    void WriteVector4(int location, const float* values) const;
    /// As four values, for glUniform4f.
    void WriteVector4(int location, float x, float y, float z, float w) const;
    void WriteMatrix(int location, const glm::mat4& matrix) const;
    void WriteMatrix(int location, const glm::mat3& matrix) const;

private:
    void WriteStockUniform(StockUniform uniform, const ProgramUniforms& uniforms) const;

    const GLCalls& m_gl;
    ShaderData& m_data;
    bool m_takenOver;
};

} // namespace KTR
