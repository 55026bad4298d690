#pragma once

#include "../values/GLTypes.h"
#include "ShaderData.h"

#include <initializer_list>

namespace KTR {

/// Texture units that the stock programs read images and glyphs from, and depths.
inline constexpr unsigned int kImageUnit = 0;
inline constexpr unsigned int kDepthUnit = 1;
inline constexpr unsigned int kFusionUnit = 1; ///< of a second image; the shader says so too

/// What a stock program reads through a sampler on unit 0.
enum class ProgramTexture {
    None,
    Image, ///< the one of DrawSetupSetShaderTexture
    Font,  ///< the font atlas of the context
};

/// One stock program: everything that the library knows of it.
struct StockProgram {
    GLShaderTypes slot;
    GLShaderTypes type; ///< what ShaderData::type says
    const wchar_t* vertexFile;
    const wchar_t* geometryFile = nullptr;
    const wchar_t* fragmentFile;
    GLenum drawMode;
    bool points = false;       ///< sets the size of its points itself
    bool pointSprites = false; ///< its fragments ask for their place in the point
    bool stipples = false;     ///< cuts its lines itself
    bool lit = false;          ///< takes modelview and normal matrix and the light
    bool alwaysFilled = false; ///< draws quads that stand for something else: their outlines are never meant
    ProgramTexture texture = ProgramTexture::None;
    /// Its source files serve another program too and are told by this name which one is meant.
    const char* define = nullptr;
    std::initializer_list<StockUniform> uniforms{}; ///< beside the matrix that all have, and light; in this order
};

/// True for the 13 values that name a stock program.
constexpr bool IsStockProgram(GLShaderTypes type) {
    return type >= GLShaderPoint && type < kShaderCount;
}

/// The row of a stock program.
const StockProgram& StockProgramOf(GLShaderTypes slot);

} // namespace KTR
