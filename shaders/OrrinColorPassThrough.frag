#version 440 core

// Unlit fills: every fragment takes the interpolated vertex colour, as with smooth shading of the fixed functions.
//
// Inputs:   color, interpolated between the vertices.
// Outputs:  fragmentColor.

in vec4 color;

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = color;
}
