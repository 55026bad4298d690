#version 440 core

// Solid lines: every fragment takes the interpolated vertex colour.
//
// Inputs:   color, interpolated between the vertices.
// Outputs:  fragmentColor.

in vec4 color;

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = color;
}
