#include "StandInFixture.h"

#include <string>
#include <vector>

namespace {

const void* Offset(std::size_t bytes) {
    return reinterpret_cast<const void*>(bytes);
}

GLuint BindNewBuffer(GLenum target, std::size_t bytes) {
    GLuint buffer = 0;
    Find<PFNGLGENBUFFERSPROC>("glGenBuffers")(1, &buffer);
    Find<PFNGLBINDBUFFERPROC>("glBindBuffer")(target, buffer);
    const std::vector<unsigned char> zeros(bytes);
    const auto size = static_cast<GLsizeiptr>(bytes);
    Find<PFNGLBUFFERDATAPROC>("glBufferData")(target, size, zeros.data(), GL_STATIC_DRAW);
    return buffer;
}

void Unbind(GLenum target) {
    Find<PFNGLBINDBUFFERPROC>("glBindBuffer")(target, 0);
}

/// A program that reads generic attribute 1 beside the vertex.
GLuint UseProgramWithAttribute() {
    const GLuint program = Find<PFNGLCREATEPROGRAMPROC>("glCreateProgram")();
    const GLuint shader = Find<PFNGLCREATESHADERPROC>("glCreateShader")(GL_VERTEX_SHADER);
    const char* const text = "attribute vec4 shift; void main() { gl_Position = gl_Vertex + shift; }";
    Find<PFNGLSHADERSOURCEPROC>("glShaderSource")(shader, 1, &text, nullptr);
    Find<PFNGLCOMPILESHADERPROC>("glCompileShader")(shader);
    Find<PFNGLATTACHSHADERPROC>("glAttachShader")(program, shader);
    Find<PFNGLBINDATTRIBLOCATIONPROC>("glBindAttribLocation")(program, 1, "shift");
    Find<PFNGLLINKPROGRAMPROC>("glLinkProgram")(program);
    Find<PFNGLUSEPROGRAMPROC>("glUseProgram")(program);
    return program;
}

constexpr float kTriangle[9] = {};
constexpr unsigned short kIndices[3] = {0, 1, 2};

/// A triangle in the client's memory, for draws that are about something else.
void SetTriangle() {
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, kTriangle);
}

// Indices.

void IndicesAtNull(const Scene&) {
    SetTriangle();
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, nullptr);
}

void InstancedIndicesAtAnOffset(const Scene&) {
    SetTriangle();
    const auto draw = Find<PFNGLDRAWELEMENTSINSTANCEDBASEVERTEXPROC>("glDrawElementsInstancedBaseVertex");
    draw(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, Offset(12), 0, 0);
    draw(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, Offset(12), 2, 0);
}

void SecondOfManyDrawsWithoutIndices(const Scene&) {
    SetTriangle();
    const GLsizei counts[] = {3, 3};
    const void* const indices[] = {kIndices, nullptr};
    const auto draw = Find<PFNGLMULTIDRAWELEMENTSPROC>("glMultiDrawElements");
    draw(GL_TRIANGLES, counts, GL_UNSIGNED_SHORT, indices, 1);
    draw(GL_TRIANGLES, counts, GL_UNSIGNED_SHORT, indices, 2);
}

void IndicesInMemoryUnderABuffer(const Scene&) {
    SetTriangle();
    BindNewBuffer(GL_ELEMENT_ARRAY_BUFFER, 6);
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, kIndices);
}

void MoreIndicesThanTheBufferHas(const Scene&) {
    SetTriangle();
    BindNewBuffer(GL_ELEMENT_ARRAY_BUFFER, 8);
    const auto draw = Find<PFNGLDRAWRANGEELEMENTSPROC>("glDrawRangeElements");
    draw(GL_TRIANGLES, 0, 2, 3, GL_UNSIGNED_SHORT, Offset(2));
    draw(GL_TRIANGLES, 0, 2, 3, GL_UNSIGNED_SHORT, Offset(4));
}

// Arrays.

/// Sets an array from memory while a buffer is bound, then draws without and with it.
template <class SetPointer> auto ArrayInMemoryUnderABuffer(GLenum array, const SetPointer& setPointer) {
    return [=](const Scene&) {
        SetTriangle();
        BindNewBuffer(GL_ARRAY_BUFFER, sizeof(kTriangle));
        setPointer(kTriangle);
        Unbind(GL_ARRAY_BUFFER);
        if (array == GL_VERTEX_ARRAY) {
            glDisableClientState(array);
        }
        glDrawArrays(GL_TRIANGLES, 0, 3);
        glEnableClientState(array);
        glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, kIndices);
    };
}

void ArrayWithoutPointer(const Scene&) {
    SetTriangle();
    glEnableClientState(GL_COLOR_ARRAY);
    glDrawArrays(GL_TRIANGLES, 0, 3);
}

void MoreVerticesThanTheBufferHas(const Scene&) {
    BindNewBuffer(GL_ARRAY_BUFFER, sizeof(kTriangle) + 8);
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, Offset(8));
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glDrawArrays(GL_POINTS, 1, 3);
}

/// Attribute 2 is enabled just as wrongly, but the program does not read it.
void AttributeWithoutPointer(const Scene&) {
    SetTriangle();
    const GLuint program = UseProgramWithAttribute();
    const auto enable = Find<PFNGLENABLEVERTEXATTRIBARRAYPROC>("glEnableVertexAttribArray");
    enable(2);
    BindNewBuffer(GL_ARRAY_BUFFER, 48);
    Find<PFNGLVERTEXATTRIBPOINTERPROC>("glVertexAttribPointer")(2, 4, GL_FLOAT, GL_FALSE, 0, Offset(48));
    glDrawArrays(GL_TRIANGLES, 0, 3);
    enable(1);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    Find<PFNGLDELETEPROGRAMPROC>("glDeleteProgram")(program);
}

void AddressUnderAVertexArrayObject(const Scene&) {
    GLuint vertexArray = 0;
    Find<PFNGLGENVERTEXARRAYSPROC>("glGenVertexArrays")(1, &vertexArray);
    Find<PFNGLBINDVERTEXARRAYPROC>("glBindVertexArray")(vertexArray);
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    glVertexPointer(3, GL_FLOAT, 0, kTriangle);
}

/// Each vertex array object has arrays of its own: what was set before it was bound is out of sight.
void ArraysOfAnotherVertexArrayObject(const Scene&) {
    SetTriangle();
    GLuint vertexArray = 0;
    Find<PFNGLGENVERTEXARRAYSPROC>("glGenVertexArrays")(1, &vertexArray);
    Find<PFNGLBINDVERTEXARRAYPROC>("glBindVertexArray")(vertexArray);
    glEnableClientState(GL_VERTEX_ARRAY);
    glDrawArrays(GL_TRIANGLES, 0, 3);
}

void DrawNothing(const Scene&) {
    glEnableClientState(GL_VERTEX_ARRAY);
    glDrawElements(GL_TRIANGLES, 0, GL_UNSIGNED_SHORT, nullptr);
    glDrawArrays(GL_TRIANGLES, 0, 0);
}

void DrawFromBuffers(const Scene&) {
    BindNewBuffer(GL_ARRAY_BUFFER, sizeof(kTriangle));
    BindNewBuffer(GL_ELEMENT_ARRAY_BUFFER, sizeof(kIndices));
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, nullptr);
    const auto attribute = Find<PFNGLVERTEXATTRIBPOINTERPROC>("glVertexAttribPointer");
    attribute(0, 3, GL_FLOAT, GL_FALSE, 0, Offset(24));
    Find<PFNGLVERTEXATTRIBDIVISORPROC>("glVertexAttribDivisor")(0, 1);
    Find<PFNGLENABLEVERTEXATTRIBARRAYPROC>("glEnableVertexAttribArray")(0);
    glDrawArrays(GL_TRIANGLES, 0, 3);
}

// Pixels.

unsigned char g_pixels[64] = {};

void ReadPixelsToNull(const Scene&) {
    glReadPixels(0, 0, 0, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
}

void ReadPixelsToMemoryUnderABuffer(const Scene&) {
    BindNewBuffer(GL_PIXEL_PACK_BUFFER, 64);
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, g_pixels);
}

void ReadTextureBehindTheBuffer(const Scene&) {
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, g_pixels);
    BindNewBuffer(GL_PIXEL_PACK_BUFFER, 64);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, const_cast<void*>(Offset(64)));
}

template <class Upload> auto UploadUnderABuffer(const Upload& upload) {
    return [=](const Scene&) {
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
        upload(g_pixels);
        BindNewBuffer(GL_PIXEL_UNPACK_BUFFER, 64);
        upload(nullptr);
        upload(g_pixels);
    };
}

void UpdateTextureFromNull(const Scene&) {
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 4, 4, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
}

void TransferProperly(const Scene&) {
    glBitmap(0, 0, 0, 0, 4, 4, nullptr);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glGetTexImage(GL_TEXTURE_1D, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr); // of which there is none
    BindNewBuffer(GL_PIXEL_PACK_BUFFER, 64);
    glReadPixels(0, 0, 4, 4, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, const_cast<void*>(Offset(60)));
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, StrictRule,
    testing::Values(
        Rule{"IndicesAtNull", IndicesAtNull, "glDrawElements reads indices at 0x0, with no buffer"},
        Rule{"InstancedIndicesAtAnOffset", InstancedIndicesAtAnOffset, "indices at 0xC, with no buffer"},
        Rule{"SecondOfManyDrawsWithoutIndices", SecondOfManyDrawsWithoutIndices, "glMultiDrawElements reads indices"},
        Rule{"IndicesInMemoryUnderABuffer", IndicesInMemoryUnderABuffer, "beyond the 6 of buffer"},
        Rule{"MoreIndicesThanTheBufferHas", MoreIndicesThanTheBufferHas,
             "reads 6 bytes of indices at 0x4, beyond the 8"},
        Rule{"VerticesInMemoryUnderABuffer",
             ArrayInMemoryUnderABuffer(GL_VERTEX_ARRAY,
                                       [](const void* memory) { glVertexPointer(3, GL_FLOAT, 0, memory); }),
             "glDrawElements reads the vertex array"},
        Rule{"NormalsInMemoryUnderABuffer",
             ArrayInMemoryUnderABuffer(GL_NORMAL_ARRAY,
                                       [](const void* memory) { glNormalPointer(GL_FLOAT, 0, memory); }),
             "glDrawElements reads the normal array"},
        Rule{"ColorsInMemoryUnderABuffer",
             ArrayInMemoryUnderABuffer(GL_COLOR_ARRAY,
                                       [](const void* memory) { glColorPointer(4, GL_UNSIGNED_BYTE, 0, memory); }),
             "glDrawElements reads the color array"},
        Rule{"TextureCoordinatesInMemoryUnderABuffer",
             ArrayInMemoryUnderABuffer(GL_TEXTURE_COORD_ARRAY,
                                       [](const void* memory) { glTexCoordPointer(2, GL_FLOAT, 0, memory); }),
             "glDrawElements reads the texcoord array"},
        Rule{"ArrayWithoutPointer", ArrayWithoutPointer, "the color array at 0x0, which has neither"},
        Rule{"MoreVerticesThanTheBufferHas", MoreVerticesThanTheBufferHas,
             "the vertex array at 0x8, beyond the 44 bytes"},
        Rule{"AttributeWithoutPointer", AttributeWithoutPointer, "the attribute1 array at 0x0"},
        Rule{"AddressUnderAVertexArrayObject", AddressUnderAVertexArrayObject, "while vertex array"},
        Rule{"ArraysOfAnotherVertexArrayObject", ArraysOfAnotherVertexArrayObject, "the vertex array at 0x0"},
        Rule{"ReadPixelsToNull", ReadPixelsToNull, "glReadPixels writes pixels at 0x0, with no buffer"},
        Rule{"ReadPixelsToMemoryUnderABuffer", ReadPixelsToMemoryUnderABuffer, "glReadPixels writes pixels"},
        Rule{"ReadTextureBehindTheBuffer", ReadTextureBehindTheBuffer, "at 0x40, beyond the 64 bytes"},
        Rule{"TexImageUnderABuffer", UploadUnderABuffer([](const void* pixels) {
                 glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
             }),
             "glTexImage2D reads pixels"},
        Rule{"TexSubImageUnderABuffer", UploadUnderABuffer([](const void* pixels) {
                 glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 4, 4, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
             }),
             "glTexSubImage2D reads pixels"},
        Rule{"DrawPixelsUnderABuffer",
             UploadUnderABuffer([](const void* pixels) { glDrawPixels(4, 4, GL_RGBA, GL_UNSIGNED_BYTE, pixels); }),
             "glDrawPixels reads pixels"},
        Rule{"BitmapUnderABuffer", UploadUnderABuffer([](const void* pixels) {
                 glBitmap(8, 8, 0, 0, 0, 0, static_cast<const GLubyte*>(pixels));
             }),
             "glBitmap reads pixels"},
        Rule{"UpdateTextureFromNull", UpdateTextureFromNull, "glTexSubImage2D reads pixels at 0x0, with no buffer"},
        Rule{"Allowed_DrawNothing", DrawNothing, nullptr}, Rule{"Allowed_DrawFromBuffers", DrawFromBuffers, nullptr},
        Rule{"Allowed_TransferProperly", TransferProperly, nullptr}),
    [](const testing::TestParamInfo<Rule>& rule) { return std::string(rule.param.name); });

/// Neither the driver nor the journal follows what points nowhere, and no error of OpenGL is left.
TEST_F(DriverTest, RefusedCall_IsRecordedButNotHandedOn) {
    SetTriangle();
    driver.StartJournal();
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, Offset(7));
    glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, kIndices);
    const std::vector<DriverCall> calls = driver.Journal();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].Text(), "glDrawElements(4, 3, 5125, 0x7)");
    EXPECT_TRUE(calls[0].arrays.empty());
    EXPECT_NE(calls[1].Array("vertex"), nullptr);
    BindNewBuffer(GL_PIXEL_PACK_BUFFER, 4);
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, g_pixels);
    EXPECT_EQ(driver.Violations().size(), 2u);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

/// The rules ask the driver, and in the core profile some questions are errors that the caller would meet.
TEST_F(DriverTest, CoreProfile_LookingLeavesNoErrors) {
    const int attributes[] = {WGL_CONTEXT_MAJOR_VERSION_ARB, 3, WGL_CONTEXT_MINOR_VERSION_ARB, 3, 0};
    const auto create = Find<PFNWGLCREATECONTEXTATTRIBSARBPROC>("wglCreateContextAttribsARB");
    const HGLRC core = create(DeviceContext(), nullptr, attributes);
    ASSERT_TRUE(wglMakeCurrent(DeviceContext(), core));
    const GLuint program = Find<PFNGLCREATEPROGRAMPROC>("glCreateProgram")();
    const char* const texts[] = {"#version 330 core\nin vec4 position; void main() { gl_Position = position; }",
                                 "#version 330 core\nuniform vec4 tint; out vec4 color; void main() { color = tint; }"};
    for (const GLenum stage : {GL_VERTEX_SHADER, GL_FRAGMENT_SHADER}) {
        const GLuint shader = Find<PFNGLCREATESHADERPROC>("glCreateShader")(stage);
        Find<PFNGLSHADERSOURCEPROC>("glShaderSource")(shader, 1, &texts[stage == GL_VERTEX_SHADER ? 0 : 1], nullptr);
        Find<PFNGLCOMPILESHADERPROC>("glCompileShader")(shader);
        Find<PFNGLATTACHSHADERPROC>("glAttachShader")(program, shader);
        Find<PFNGLDELETESHADERPROC>("glDeleteShader")(shader);
    }
    Find<PFNGLBINDATTRIBLOCATIONPROC>("glBindAttribLocation")(program, 0, "position");
    Find<PFNGLLINKPROGRAMPROC>("glLinkProgram")(program);
    Find<PFNGLUSEPROGRAMPROC>("glUseProgram")(program);
    Find<PFNGLUNIFORM4FPROC>("glUniform4f")(Find<PFNGLGETUNIFORMLOCATIONPROC>("glGetUniformLocation")(program, "tint"),
                                            0.0F, 1.0F, 0.0F, 1.0F);
    GLuint vertexArray = 0;
    Find<PFNGLGENVERTEXARRAYSPROC>("glGenVertexArrays")(1, &vertexArray);
    Find<PFNGLBINDVERTEXARRAYPROC>("glBindVertexArray")(vertexArray);
    const float corners[6] = {-1.0F, -1.0F, 3.0F, -1.0F, -1.0F, 3.0F};
    BindNewBuffer(GL_ARRAY_BUFFER, sizeof(corners));
    Find<PFNGLBUFFERSUBDATAPROC>("glBufferSubData")(GL_ARRAY_BUFFER, 0, sizeof(corners), corners);
    Find<PFNGLVERTEXATTRIBPOINTERPROC>("glVertexAttribPointer")(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
    Find<PFNGLENABLEVERTEXATTRIBARRAYPROC>("glEnableVertexAttribArray")(0);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    EXPECT_EQ(Pixel(), (Pixel4{0, 255, 0, 255}));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(driver.Violations(), std::vector<std::string>());
    glDrawArrays(GL_TRIANGLES, 0, 4);
    ASSERT_EQ(driver.Violations().size(), 1u);
    EXPECT_NE(driver.Violations()[0].find("the attribute0 array"), std::string::npos);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    wglDeleteContext(core);
}

} // namespace
