#include "GLAttributes.h"

#include "Capabilities.h"

namespace KTR {

int CapabilityFlagPosition(unsigned int capability) {
    for (const Capability& row : kCapabilities) {
        if (row.name == capability && row.tracked) {
            return row.flag;
        }
    }
    return -1;
}

GLAttributes DefaultGLAttributes() {
    GLAttributes attributes;
    attributes.textureTransparency = 1.0F;
    attributes.textTransparency = 255;
    attributes.noDataIsTransparent = 1;
    attributes.applyNoDataColor = 1;
    attributes.reserved.fill(1.0F);
    return attributes;
}

} // namespace KTR
