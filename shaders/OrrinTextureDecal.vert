#version 440 core

// Images as they are, without light, for single rasters and for the fusion of rasters alike. The vertex colour is not
// used: it is stale in vertices that carry texture coordinates only.
//
// Inputs:   position in model coordinates, texture coordinate; with TWO_IMAGES that of the second image too, which
//           stands in x and y of the normal: images have no use for one.
// Outputs:  textureCoordinate and, with TWO_IMAGES, fusionCoordinate, interpolated to the fragment stage.
// Uniforms: ProjectionTimesModelviewMatrix, model to clip coordinates.

layout(location = 0) in vec3 in_position;
layout(location = 2) in vec2 in_texture;
#ifdef TWO_IMAGES
layout(location = 1) in vec3 in_normal;
out vec2 fusionCoordinate;
#endif

uniform mat4 ProjectionTimesModelviewMatrix;

out vec2 textureCoordinate;

void main() {
    gl_Position = ProjectionTimesModelviewMatrix * vec4(in_position, 1.0);
    textureCoordinate = in_texture;
#ifdef TWO_IMAGES
    fusionCoordinate = in_normal.xy;
#endif
}
