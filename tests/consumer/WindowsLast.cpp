// The order of a program that includes the library first, and OpenGL's constants of today behind it.
#include <OrrinDisplay.h>

#include <GL/glext.h>
#include <windows.h>

long LoadAnother(KTR::COpenGLView& view, const void* pixels, unsigned int& texture, unsigned int& sampler) {
    view.Enable(GL_PROGRAM_POINT_SIZE);
    return view.LoadGLImage(GL_TEXTURE0, GL_BGR, 4, 4, 1, GL_LINEAR, pixels, texture, sampler);
}
