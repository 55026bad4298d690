// The order of a program that has grown around Windows; its macros are still there behind the library's header.
#include <windows.h>

// MinGW's header has these for C alone; Microsoft's has them in C++ too.
#ifndef max
#define max(a, b) (((a) > (b)) ? (a) : (b))
#define min(a, b) (((a) < (b)) ? (a) : (b))
#endif

#include <OrrinDisplay.h>

long LoadBlueGreenRed(KTR::COpenGLView& view, const void* pixels, unsigned int& texture, unsigned int& sampler) {
    view.Enable(GL_PROGRAM_POINT_SIZE);
    return view.LoadGLImage(GL_TEXTURE0, GL_BGR, 4, 4, 1, GL_LINEAR, pixels, texture, sampler);
}

int LargerSide(int width, int height) {
    return max(width, min(height, 65536));
}
