#version 440 core

// Text: the glyph's coverage as alpha of the text colour, that of its halo as alpha of the halo's.
//
// Inputs:   textureCoordinate; a picture of a halo is 2 further to the right than it lies.
// Outputs:  fragmentColor, to be blended by source alpha.
// Uniforms: FontAtlasTexture, coverage of the glyphs in the red channel, 0 to 1;
//           TextColor, colour and alpha of the text;
//           HaloColor, colour and alpha of halos; alpha 0 where strings have none.
//
// Fragments without ink are discarded. The quads of neighbouring glyphs overlap, and the empty part of one must
// neither hide the other in the depth buffer nor take part in logic operations.

in vec2 textureCoordinate;

uniform sampler2D FontAtlasTexture;
uniform vec4 TextColor;
uniform vec4 HaloColor;

layout(location = 0) out vec4 fragmentColor;

void main() {
    bool halo = textureCoordinate.s > 1.5 && HaloColor.a > 0.0;
    vec4 color = halo ? HaloColor : TextColor;
    float coverage = texture(FontAtlasTexture, vec2(textureCoordinate.s - (halo ? 2.0 : 0.0), textureCoordinate.t)).r;
    if (coverage <= 0.0) {
        discard;
    }
    fragmentColor = vec4(color.rgb, color.a * coverage);
}
