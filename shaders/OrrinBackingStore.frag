#version 440 core

// Puts a saved picture back: the saved colour, and the saved depth, so that what is drawn afterwards is hidden by the
// scene as before.
//
// Inputs:   textureCoordinate.
// Outputs:  fragmentColor; gl_FragDepth, window depth 0 to 1.
// Uniforms: Texture, saved colours, texture unit 0 unless set otherwise;
//           Depth, saved depths in the red channel, unit 1 unless set otherwise; a depth texture must not compare.
//
// NOTE: depths are written only while the depth test is enabled; GL_ALWAYS lets every fragment pass it.

in vec2 textureCoordinate;

layout(binding = 0) uniform sampler2D Texture;
layout(binding = 1) uniform sampler2D Depth;

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = texture(Texture, textureCoordinate);
    gl_FragDepth = texture(Depth, textureCoordinate).r;
}
