#version 440 core

// Text: the glyph's coverage as alpha of the text colour.
//
// Inputs:   textureCoordinate.
// Outputs:  fragmentColor, to be blended by source alpha.
// Uniforms: FontAtlasTexture, coverage of the glyphs in the red channel, 0 to 1;
//           TextColor, colour and alpha of the text.
//
// Fragments without ink are discarded. The quads of neighbouring glyphs overlap, and the empty part of one must
// neither hide the other in the depth buffer nor take part in logic operations.

in vec2 textureCoordinate;

uniform sampler2D FontAtlasTexture;
uniform vec4 TextColor;

layout(location = 0) out vec4 fragmentColor;

void main() {
    float coverage = texture(FontAtlasTexture, textureCoordinate).r;
    if (coverage <= 0.0) {
        discard;
    }
    fragmentColor = vec4(TextColor.rgb, TextColor.a * coverage);
}
