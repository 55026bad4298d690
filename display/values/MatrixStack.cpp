#include "MatrixStack.h"

#include "BoundedStack.h"
#include "GLTypes.h"

#include <glm/gtc/type_ptr.hpp>

#include <algorithm>

namespace KTR {

void LoadIdentityMatrix(glm::dmat4& matrix) {
    matrix = glm::dmat4(1.0);
}

void LoadIdentityMatrixSet(MatrixSet& set) {
    set = MatrixSet{};
}

void InitializeIdentityStack(CircularMatrixStack& stack) {
    stack.count = 0;
    stack.top = -1;
    for (glm::dmat4& entry : stack.entries) {
        LoadIdentityMatrix(entry);
    }
}

void InitializeIdentityStackOfMatrices(StackOfMatrices& stacks) {
    InitializeIdentityStack(stacks.modelview);
    InitializeIdentityStack(stacks.projection);
    InitializeIdentityStack(stacks.color);
    InitializeIdentityStack(stacks.texture);
}

void PushMatrixOnStack(CircularMatrixStack& stack, const glm::dmat4& matrix) {
    PushOnBoundedStack(stack, matrix);
}

bool PopMatrixFromStack(CircularMatrixStack& stack, glm::dmat4& matrix) {
    return PopFromBoundedStack(stack, matrix);
}

void PushCurrentMatrixOnStack(unsigned int mode, StackOfMatrices& stacks, const glm::dmat4& matrix) {
    PushMatrixOnStack(StackForMode(mode, stacks), matrix);
}

CircularMatrixStack& StackForMode(unsigned int mode, StackOfMatrices& stacks) {
    switch (mode) {
    case GL_PROJECTION:
        return stacks.projection;
    case GL_TEXTURE:
        return stacks.texture;
    case GL_COLOR:
        return stacks.color;
    default:
        return stacks.modelview;
    }
}

glm::dmat4& MatrixForMode(unsigned int mode, MatrixSet& set) {
    switch (mode) {
    case GL_PROJECTION:
        return set.projection;
    case GL_TEXTURE:
        return set.texture;
    case GL_COLOR:
        return set.color;
    default:
        return set.modelview;
    }
}

void CopyDoubleMatrixToGLMMatrix(const double* source, glm::dmat4& target) {
    target = glm::make_mat4(source);
}

void CopyGLMMatrixToDoubleMatrix(const glm::dmat4& source, const double* target) {
    std::copy_n(glm::value_ptr(source), 16, const_cast<double*>(target));
}

void CopyGLMMatrixToGLMMatrix(const glm::dmat4& source, glm::dmat4& target) {
    target = source;
}

void CopyGLMMatrixToGLMMatrix(const double* source, glm::dmat4& target) {
    CopyDoubleMatrixToGLMMatrix(source, target);
}

void SetupProjectionParametersForGLM(double x, double y, double z, const double* modelview, const double* projection,
                                     const int* viewport, glm::dvec3& point, glm::dvec4& viewportOut,
                                     glm::dmat4& modelviewOut, glm::dmat4& projectionOut) {
    point = {x, y, z};
    viewportOut = {viewport[0], viewport[1], viewport[2], viewport[3]};
    CopyDoubleMatrixToGLMMatrix(modelview, modelviewOut);
    CopyDoubleMatrixToGLMMatrix(projection, projectionOut);
}

} // namespace KTR
