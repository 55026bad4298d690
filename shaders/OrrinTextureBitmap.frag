#version 440 core

// Two-colour bitmaps: set texels take the current colour, the others stay transparent.
//
// Inputs:   textureCoordinate.
// Outputs:  fragmentColor.
// Uniforms: BinaryBitmapTexture, zero in the red channel where the bitmap is not set;
//           CurrentColor, colour and alpha of the set texels.
//
// Any red above zero counts as set, so that a texture of bytes 0 and 1 draws like one of bytes 0 and 255. Unset texels
// are discarded, which keeps them out of the depth buffer and out of logic operations.

in vec2 textureCoordinate;

uniform sampler2D BinaryBitmapTexture;
uniform vec4 CurrentColor;

layout(location = 0) out vec4 fragmentColor;

void main() {
    if (texture(BinaryBitmapTexture, textureCoordinate).r <= 0.0) {
        discard;
    }
    fragmentColor = CurrentColor;
}
