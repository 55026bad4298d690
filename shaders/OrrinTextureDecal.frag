#version 440 core

// Images as they are: the texture's colour, its alpha thinned by the transparency of the context. With TWO_IMAGES, which
// the library defines for the fusion program, a second image may change the colour. Software drivers would sample the
// second image of every single raster too if both were one program.
//
// Inputs:   textureCoordinate; fusionCoordinate, of the second image.
// Outputs:  fragmentColor.
// Uniforms: Texture, the image;
//           fTextureTransparency, 0 invisible to 1 as the image is;
//           FusionTexture, the second image, on texture unit 1;
//           FusionMode, 0 without a second image, else 1 to blend, 2 to multiply, 3 to add;
//           fFusionAmount, 0 to 1.

in vec2 textureCoordinate;

uniform sampler2D Texture;
uniform float fTextureTransparency = 1.0;

layout(location = 0) out vec4 fragmentColor;

#ifdef TWO_IMAGES
in vec2 fusionCoordinate;

layout(binding = 1) uniform sampler2D FusionTexture;
uniform uint FusionMode = 0u;
uniform float fFusionAmount = 0.0;

// The colour with the second image's over it.
vec3 Fused(vec3 color) {
    vec4 other = texture(FusionTexture, fusionCoordinate);
    float share = other.a * fFusionAmount;
    switch (FusionMode) {
    case 1u:
        return mix(color, other.rgb, share);
    case 2u:
        return color * mix(vec3(1.0), other.rgb, share);
    case 3u:
        return min(color + other.rgb * share, vec3(1.0));
    default:
        return color;
    }
}
#else
vec3 Fused(vec3 color) {
    return color;
}
#endif

void main() {
    vec4 texel = texture(Texture, textureCoordinate);
    fragmentColor = vec4(Fused(texel.rgb), texel.a * fTextureTransparency);
}
