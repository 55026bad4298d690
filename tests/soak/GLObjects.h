#pragma once

#include <platform/OrrinGLCement.h>

#include <string>

/// Objects of the current context and of those that it shares with, by asking OpenGL for each name there may be.
struct GLObjects {
    int count = 0;
    std::string kinds; ///< "textures 3, buffers 2", without those of which there are none

    static GLObjects Count(const COrrinGLCement& gl);
};
