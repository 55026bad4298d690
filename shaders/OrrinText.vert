#version 440 core

// Text as textured quads, in one colour for the whole batch and one for the halos. The vertex colour is not used: glyph
// vertices carry texture coordinates only.
//
// Inputs:   position in model coordinates, texture coordinate.
// Outputs:  textureCoordinate, interpolated to the fragment stage.
// Uniforms: ProjectionTimesModelviewMatrix, model to clip coordinates;
//           HaloColor, alpha 0 where strings have no halo.
//
// Letters with a halo come a hair nearer, though not through the near plane: drawn after their halos and at the same
// depth, GL_LESS would leave them out.

layout(location = 0) in vec3 in_position;
layout(location = 2) in vec2 in_texture;

uniform mat4 ProjectionTimesModelviewMatrix;
uniform vec4 HaloColor;

out vec2 textureCoordinate;

// 16 steps of a depth buffer of 24 bits.
const float hair = 1.9073486e-6;

void main() {
    gl_Position = ProjectionTimesModelviewMatrix * vec4(in_position, 1.0);
    if (HaloColor.a > 0.0 && in_texture.s < 1.5) {
        float nearest = min(gl_Position.z, -gl_Position.w);
        gl_Position.z = max(gl_Position.z - hair * gl_Position.w, nearest);
    }
    textureCoordinate = in_texture;
}
