#version 440 core

// Stippled lines: puts the vertices where they belong. The geometry stage measures the lines on the screen and the
// fragment stage cuts the pattern into them.
//
// Inputs:   position in model coordinates, colour (bytes 0 to 255 arrive as 0 to 1).
// Outputs:  vertexColor, to the geometry stage.
// Uniforms: ProjectionTimesModelviewMatrix, model to clip coordinates.

layout(location = 0) in vec3 in_position;
layout(location = 3) in vec4 in_color;

uniform mat4 ProjectionTimesModelviewMatrix;

out vec4 vertexColor;

void main() {
    gl_Position = ProjectionTimesModelviewMatrix * vec4(in_position, 1.0);
    vertexColor = in_color;
}
