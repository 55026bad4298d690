#version 440 core

// Points of a given size, in the colour of each vertex. Shared by the square and the round point program, which
// differ in their fragment stage only.
//
// Inputs:   position in model coordinates, colour (bytes 0 to 255 arrive as 0 to 1).
// Outputs:  color, interpolated to the fragment stage.
// Uniforms: ProjectionTimesModelviewMatrix, model to clip coordinates;
//           PointSize, width and height of a point in pixels.
//
// NOTE: gl_PointSize counts only while GL_PROGRAM_POINT_SIZE is enabled. A size below one pixel would make points
// vanish, where the fixed-function pipeline still draws one pixel; hence the lower limit.

layout(location = 0) in vec3 in_position;
layout(location = 3) in vec4 in_color;

uniform mat4 ProjectionTimesModelviewMatrix;
uniform float PointSize = 1.0;

out vec4 color;

void main() {
    gl_Position = ProjectionTimesModelviewMatrix * vec4(in_position, 1.0);
    gl_PointSize = max(PointSize, 1.0);
    color = in_color;
}
