#version 440 core

// Filled shapes in the colours of their vertices, with neither light nor texture.
//
// Inputs:   position in model coordinates, colour (bytes 0 to 255 arrive as 0 to 1).
// Outputs:  color, interpolated to the fragment stage.
// Uniforms: ProjectionTimesModelviewMatrix, model to clip coordinates.

layout(location = 0) in vec3 in_position;
layout(location = 3) in vec4 in_color;

uniform mat4 ProjectionTimesModelviewMatrix;

out vec4 color;

void main() {
    gl_Position = ProjectionTimesModelviewMatrix * vec4(in_position, 1.0);
    color = in_color;
}
