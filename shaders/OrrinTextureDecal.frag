#version 440 core

// Images as they are: the texture's colour, its alpha thinned by the transparency of the context.
//
// Inputs:   textureCoordinate.
// Outputs:  fragmentColor.
// Uniforms: Texture, the image;
//           fTextureTransparency, 0 invisible to 1 as the image is.

in vec2 textureCoordinate;

uniform sampler2D Texture;
uniform float fTextureTransparency = 1.0;

layout(location = 0) out vec4 fragmentColor;

void main() {
    vec4 texel = texture(Texture, textureCoordinate);
    fragmentColor = vec4(texel.rgb, texel.a * fTextureTransparency);
}
