#include "GLAttributes.h"

#include "GLTypes.h"

#include <GL/glext.h>

namespace KTR {

int CapabilityFlagPosition(unsigned int capability) {
    switch (capability) {
    case GL_BLEND:
        return 0;
    case GL_COLOR_LOGIC_OP:
        return 1;
    case GL_COLOR_MATERIAL:
        return 2;
    case GL_DEPTH_TEST:
        return 4;
    case GL_LIGHT0:
        return 6;
    case GL_LIGHT1:
        return 7;
    case GL_LIGHTING:
        return 22;
    case GL_LINE_SMOOTH:
        return 23;
    case GL_LINE_STIPPLE:
        return 24;
    case GL_POINT_SMOOTH:
        return 25;
    case GL_PROGRAM_POINT_SIZE:
        return 26;
    case GL_SCISSOR_TEST:
        return 27;
    case GL_TEXTURE_1D:
        return 28;
    case GL_TEXTURE_2D:
        return 29;
    default:
        return -1;
    }
}

GLAttributes DefaultGLAttributes() {
    GLAttributes attributes;
    attributes.textureTransparency = 1.0F;
    attributes.textTransparency = 255;
    attributes.noDataIsTransparent = 1;
    attributes.applyNoDataColor = 1;
    attributes.imageContrast = 1.0F;
    attributes.imageBrightness = 1.0F;
    attributes.imageGamma = 1.0F;
    return attributes;
}

} // namespace KTR
