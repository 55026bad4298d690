#version 440 core

// Images as they are, without light, for single rasters and for the fusion of rasters alike. The vertex colour is not
// used: it is stale in vertices that carry texture coordinates only.
//
// Inputs:   position in model coordinates, texture coordinate.
// Outputs:  textureCoordinate, interpolated to the fragment stage.
// Uniforms: ProjectionTimesModelviewMatrix, model to clip coordinates.

layout(location = 0) in vec3 in_position;
layout(location = 2) in vec2 in_texture;

uniform mat4 ProjectionTimesModelviewMatrix;

out vec2 textureCoordinate;

void main() {
    gl_Position = ProjectionTimesModelviewMatrix * vec4(in_position, 1.0);
    textureCoordinate = in_texture;
}
