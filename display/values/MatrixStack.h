#pragma once

#include "../Export.h"

#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>

namespace KTR {

/// The four current matrices of one context, column-major like OpenGL's.
struct MatrixSet {
    glm::dmat4 modelview{1.0};
    glm::dmat4 projection{1.0};
    glm::dmat4 color{1.0};
    glm::dmat4 texture{1.0};
};

/// Number of matrices (or attribute sets) that a ring keeps.
inline constexpr int kStackDepth = 16;

/// A bounded stack that never overflows: a push on a full stack takes the place of the oldest entry.
struct CircularMatrixStack {
    int count = 0; ///< valid entries, 0 to 16
    int top = -1;  ///< index of the newest entry, -1 when empty
    glm::dmat4 entries[kStackDepth];
};

/// The stacks of the four matrix modes.
struct StackOfMatrices {
    CircularMatrixStack modelview;
    CircularMatrixStack projection;
    CircularMatrixStack color;
    CircularMatrixStack texture;
};

ORRIN_DISPLAY_API void LoadIdentityMatrix(glm::dmat4& matrix);
ORRIN_DISPLAY_API void LoadIdentityMatrixSet(MatrixSet& set);

/// Empties the stack and makes each of its entries the identity.
ORRIN_DISPLAY_API void InitializeIdentityStack(CircularMatrixStack& stack);
ORRIN_DISPLAY_API void InitializeIdentityStackOfMatrices(StackOfMatrices& stacks);

/// Pushes a copy of `matrix`; the 17th push drops the oldest entry.
ORRIN_DISPLAY_API void PushMatrixOnStack(CircularMatrixStack& stack, const glm::dmat4& matrix);
/// Takes the newest entry into `matrix`. False, and `matrix` untouched, when the stack is empty.
ORRIN_DISPLAY_API bool PopMatrixFromStack(CircularMatrixStack& stack, glm::dmat4& matrix);
/// Pushes on the stack of `mode` (GL_PROJECTION, GL_TEXTURE, GL_COLOR; anything else counts as GL_MODELVIEW).
ORRIN_DISPLAY_API void PushCurrentMatrixOnStack(unsigned int mode, StackOfMatrices& stacks, const glm::dmat4& matrix);
/// The stack that belongs to `mode`.
ORRIN_DISPLAY_API CircularMatrixStack& StackForMode(unsigned int mode, StackOfMatrices& stacks);
/// The matrix that belongs to `mode`.
ORRIN_DISPLAY_API glm::dmat4& MatrixForMode(unsigned int mode, MatrixSet& set);

/// Copies of 16 doubles in column-major order. In the second form the target is written through its pointer although it
/// is declared const: hosts pass arrays that they declared so.
ORRIN_DISPLAY_API void CopyDoubleMatrixToGLMMatrix(const double* source, glm::dmat4& target);
ORRIN_DISPLAY_API void CopyGLMMatrixToDoubleMatrix(const glm::dmat4& source, const double* target);
ORRIN_DISPLAY_API void CopyGLMMatrixToGLMMatrix(const glm::dmat4& source, glm::dmat4& target);
ORRIN_DISPLAY_API void CopyGLMMatrixToGLMMatrix(const double* source, glm::dmat4& target);

/// Turns OpenGL-style arrays (16 doubles, 16 doubles, 4 integers) into the values that projecting takes.
ORRIN_DISPLAY_API void SetupProjectionParametersForGLM(double x, double y, double z, const double* modelview,
                                                       const double* projection, const int* viewport, glm::dvec3& point,
                                                       glm::dvec4& viewportOut, glm::dmat4& modelviewOut,
                                                       glm::dmat4& projectionOut);

} // namespace KTR
