#include <OrrinDisplay.h>

#include <gtest/gtest.h>

#include <glm/gtc/matrix_transform.hpp>

using namespace KTR;

namespace {

glm::dmat4 Numbered(int number) {
    glm::dmat4 matrix(1.0);
    matrix[3][0] = number;
    return matrix;
}

void ExpectNear(const glm::dvec3& actual, const glm::dvec3& expected, double tolerance) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

TEST(MatrixStack, SeventeenthPushDropsTheOldest) {
    CircularMatrixStack stack;
    InitializeIdentityStack(stack);
    for (int number = 1; number <= 17; ++number) {
        PushMatrixOnStack(stack, Numbered(number));
    }
    glm::dmat4 popped;
    for (int expected = 17; expected >= 2; --expected) {
        ASSERT_TRUE(PopMatrixFromStack(stack, popped));
        EXPECT_EQ(popped, Numbered(expected));
    }
    EXPECT_FALSE(PopMatrixFromStack(stack, popped));
    EXPECT_EQ(popped, Numbered(2)) << "a pop from an empty stack leaves the matrix alone";
    EXPECT_EQ(stack.count, 0);
}

TEST(MatrixStack, EmptiedStackCanBeFilledAgain) {
    CircularMatrixStack stack;
    InitializeIdentityStack(stack);
    glm::dmat4 popped;
    for (int round = 0; round < 40; ++round) {
        PushMatrixOnStack(stack, Numbered(round));
        PushMatrixOnStack(stack, Numbered(round + 100));
        ASSERT_TRUE(PopMatrixFromStack(stack, popped));
        ASSERT_EQ(popped, Numbered(round + 100));
    }
    EXPECT_EQ(stack.count, 15);
}

TEST(MatrixStack, EachModeHasItsOwnStackAndUnknownModesCountAsModelview) {
    StackOfMatrices stacks;
    InitializeIdentityStackOfMatrices(stacks);
    const struct {
        const char* name;
        unsigned int mode;
        CircularMatrixStack& expected;
    } cases[] = {
        {"modelview", GL_MODELVIEW, stacks.modelview}, {"projection", GL_PROJECTION, stacks.projection},
        {"texture", GL_TEXTURE, stacks.texture},       {"color", GL_COLOR, stacks.color},
        {"unknown", 0x1234, stacks.modelview},
    };
    for (const auto& test : cases) {
        const int before = test.expected.count;
        PushCurrentMatrixOnStack(test.mode, stacks, Numbered(9));
        EXPECT_EQ(test.expected.count, before + 1) << test.name;
    }
}

TEST(MatrixStack, ArraysAreColumnMajor) {
    double source[16];
    for (int index = 0; index < 16; ++index) {
        source[index] = index;
    }
    glm::dmat4 matrix;
    CopyDoubleMatrixToGLMMatrix(source, matrix);
    EXPECT_EQ(matrix[3][1], 13.0);
    double target[16] = {};
    CopyGLMMatrixToDoubleMatrix(matrix, target);
    EXPECT_TRUE(std::equal(source, source + 16, target));
}

TEST(OpenGLMath, OrthoAndPerspectiveAreOpenGLs) {
    EXPECT_EQ(COpenGLMath::OrthoMatrix(10, 30, -5, 15, -1, 3), glm::ortho(10.0, 30.0, -5.0, 15.0, -1.0, 3.0));
    const glm::dmat4 expected = glm::perspective(glm::radians(40.0), 1.5, 0.5, 100.0);
    const glm::dmat4 actual = COpenGLMath::PerspectiveMatrix(40.0, 1.5, 0.5, 100.0);
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            EXPECT_NEAR(actual[column][row], expected[column][row], 1e-12) << column << ", " << row;
        }
    }
}

// A jump of the cursor by a metre would be seen: positions of national grids must come back to a tenth of a millimetre.
TEST(OpenGLMath, UnProjectInvertsProjectAtGridCoordinates) {
    const glm::dvec4 viewport(10, 20, 800, 600);
    const glm::dmat4 projection = COpenGLMath::OrthoMatrix(499'000, 501'000, 4'499'000, 4'501'000, -1000, 1000);
    const glm::dmat4 modelview = glm::rotate(glm::dmat4(1.0), 0.0, glm::dvec3(0, 0, 1));
    const glm::dvec3 object(500'123.4567, 4'500'765.4321, 12.5);
    glm::dvec3 window;
    ASSERT_TRUE(COpenGLMath::Project(object, modelview, projection, viewport, window));
    ExpectNear(window, {10 + 800 * 0.56172835, 20 + 600 * 0.88271605, 0.49375}, 1e-6);
    glm::dvec3 back;
    ASSERT_TRUE(COpenGLMath::UnProject(window, modelview, projection, viewport, back));
    ExpectNear(back, object, 1e-4);
}

TEST(OpenGLMath, WhatHasNoImageIsRefused) {
    const glm::dvec4 viewport(0, 0, 100, 100);
    const glm::dmat4 perspective = COpenGLMath::PerspectiveMatrix(60, 1, 1, 10);
    glm::dvec3 untouched(7.0);
    EXPECT_FALSE(COpenGLMath::Project({1, 1, 0}, glm::dmat4(1.0), perspective, viewport, untouched));
    EXPECT_FALSE(COpenGLMath::UnProject({1, 1, 0}, glm::dmat4(0.0), perspective, viewport, untouched));
    EXPECT_FALSE(COpenGLMath::UnProject({1, 1, 0}, glm::dmat4(1.0), perspective, glm::dvec4(0.0), untouched));
    EXPECT_EQ(untouched, glm::dvec3(7.0));
}

} // namespace
