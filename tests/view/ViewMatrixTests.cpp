#include "support/ViewFixture.h"

#include <glm/gtc/type_ptr.hpp>

namespace {

class ViewMatrices : public FreshProcessTest {
protected:
    /// What OpenGL itself holds for `name` (GL_MODELVIEW_MATRIX, ...).
    glm::dmat4 InOpenGL(unsigned int name) const {
        glm::dmat4 matrix(0.0);
        live->GetContextRecord(GLContextMain).glCement->glGetDoublev(name, glm::value_ptr(matrix));
        return matrix;
    }
    static void ExpectSame(const glm::dmat4& actual, const glm::dmat4& expected) {
        for (int column = 0; column < 4; ++column) {
            for (int row = 0; row < 4; ++row) {
                EXPECT_NEAR(actual[column][row], expected[column][row], 1e-5) << column << ", " << row;
            }
        }
    }
    LiveView live;
};

// If the two drift apart, what the host picks is not where it was drawn.
TEST_F(ViewMatrices, FixedFunctionContextIsKeptInStep) {
    live->MatrixMode(GL_MODELVIEW);
    live->LoadIdentity();
    live->Translate(1.0, 2.0, 3.0);
    live->Rotate(30.0, 0.0, 1.0, 1.0);
    live->Scale(2.0F, 3.0F, 4.0F);
    ExpectSame(InOpenGL(GL_MODELVIEW_MATRIX), live->GetMatrix(GL_MODELVIEW));

    live->PushMatrix(GL_MODELVIEW, L"test");
    live->LookAt(1, 2, 3, 0, 0, 0, 0, 1, 0);
    ExpectSame(InOpenGL(GL_MODELVIEW_MATRIX), live->GetMatrix(GL_MODELVIEW));
    live->PopMatrix(L"test");
    ExpectSame(InOpenGL(GL_MODELVIEW_MATRIX), live->GetMatrix(GL_MODELVIEW));

    live->MatrixMode(GL_PROJECTION);
    live->Perspective(50, 1.5, 1, 100);
    ExpectSame(InOpenGL(GL_PROJECTION_MATRIX), live->GetMatrix(GL_PROJECTION));
    live->MatrixMode(GL_TEXTURE);
    live->Translate(0.5, 0.0, 0.0);
    ExpectSame(InOpenGL(GL_TEXTURE_MATRIX), live->GetMatrix(GL_TEXTURE));
}

// Most drivers refuse the colour mode; what is loaded then must not land in another matrix.
TEST_F(ViewMatrices, ColorMatrixLeavesTheOthersAlone) {
    live->MatrixMode(GL_MODELVIEW);
    live->Translate(3.0, 0.0, 0.0);
    live->MatrixMode(GL_COLOR);
    live->Translate(5.0, 0.0, 0.0);
    live->PushMatrix(L"test");
    live->PopMatrix(L"test");
    EXPECT_EQ(live->GetMatrix(GL_COLOR)[3][0], 5.0);
    ExpectSame(InOpenGL(GL_MODELVIEW_MATRIX), live->GetMatrix(GL_MODELVIEW));
    EXPECT_EQ(live->GetMatrix(GL_MODELVIEW)[3][0], 3.0);
}

TEST_F(ViewMatrices, OrthoReplacesTheProjectionWhateverTheMode) {
    live->MatrixMode(GL_MODELVIEW);
    const glm::dmat4 before = InOpenGL(GL_PROJECTION_MATRIX);
    live->Ortho(0, 2, 0, 4, -1, 1);
    EXPECT_EQ(live->GetMatrix(GL_PROJECTION), COpenGLMath::OrthoMatrix(0, 2, 0, 4, -1, 1));
    ExpectSame(InOpenGL(GL_PROJECTION_MATRIX), before);
    live->LoadCurrentMatrices();
    ExpectSame(InOpenGL(GL_PROJECTION_MATRIX), live->GetMatrix(GL_PROJECTION));
    EXPECT_EQ(live->GetContextRecord(GLContextMain).attributes.matrixMode, static_cast<unsigned>(GL_MODELVIEW));
}

TEST_F(ViewMatrices, RotateTurnsCounterclockwiseInDegrees) {
    live->LoadIdentity();
    live->Rotate(90.0, 0.0, 0.0, 1.0);
    const glm::dvec4 turned = live->GetCurrentMatrix() * glm::dvec4(1, 0, 0, 1);
    EXPECT_NEAR(turned.x, 0.0, 1e-12);
    EXPECT_NEAR(turned.y, 1.0, 1e-12);
    live->Rotate(45.0, 0.0, 0.0, 0.0);
    EXPECT_EQ(live->GetCurrentMatrix()[0][0], live->GetCurrentMatrix()[0][0]) << "no axis must not give NaN";
}

TEST_F(ViewMatrices, PopsAreBoundedByPushes) {
    live->MatrixMode(GL_MODELVIEW);
    live->Translate(5.0, 0.0, 0.0);
    const glm::dmat4 moved = live->GetCurrentMatrix();
    live->PopMatrix(L"nothing was pushed");
    EXPECT_EQ(live->GetCurrentMatrix(), moved);

    // A balanced texture push and pop leaves one modelview pop allowed; it then finds an empty stack.
    live->PushMatrix(GL_TEXTURE, L"test");
    live->PopMatrix(L"test");
    EXPECT_EQ(live->GetContextRecord(GLContextMain).modelviewPushDepth, 1);
    live->PopMatrix(GL_MODELVIEW, L"test");
    EXPECT_EQ(live->GetCurrentMatrix(), moved);
    EXPECT_EQ(live->GetContextRecord(GLContextMain).modelviewPushDepth, 0);
}

TEST_F(ViewMatrices, PopBothRestoresBothAndEndsInModelview) {
    live->PushBothMatrices(L"test");
    const glm::dmat4 projection = live->GetMatrix(GL_PROJECTION);
    live->MatrixMode(GL_PROJECTION);
    live->Ortho(0, 1, 0, 1, 0, 1);
    live->MatrixMode(GL_MODELVIEW);
    live->Translate(1.0, 1.0, 1.0);
    live->PopBothMatrices(L"test");
    EXPECT_EQ(live->GetMatrix(GL_PROJECTION), projection);
    EXPECT_EQ(live->GetMatrix(GL_MODELVIEW), glm::dmat4(1.0));
    ExpectSame(InOpenGL(GL_PROJECTION_MATRIX), projection);
    EXPECT_EQ(live->GetContextRecord(GLContextMain).attributes.matrixMode, static_cast<unsigned>(GL_MODELVIEW));
}

TEST_F(ViewMatrices, ProjectFindsTheWindowPosition) {
    live->SetUpViewport(10, 20, 100, 50);
    live->MatrixMode(GL_PROJECTION);
    live->Ortho(0, 10, 0, 10, -1, 1);
    double x = 0;
    double y = 0;
    double z = 0;
    live->Project(5, 10, 0, &x, &y, &z, true);
    EXPECT_NEAR(x, 60, 1e-9);
    EXPECT_NEAR(y, 70, 1e-9);
    EXPECT_NEAR(z, 0.5, 1e-9);
    live->UnProject(60, 70, 0.5, &x, &y, &z, true);
    EXPECT_NEAR(x, 5, 1e-9);
    EXPECT_NEAR(y, 10, 1e-9);
    glm::dmat4 product;
    glm::dvec4 viewport;
    live->GetCompleteProjectionMatrixAndViewport(product, viewport);
    EXPECT_EQ(viewport, glm::dvec4(10, 20, 100, 50));
    EXPECT_EQ(product, live->GetMatrix(GL_PROJECTION) * live->GetMatrix(GL_MODELVIEW));
}

} // namespace
