#version 440 core

// Lit fills: the light is worked out at the corners by the geometry stage and only interpolated here.
//
// Inputs:   color, interpolated between the vertices.
// Outputs:  fragmentColor.

in vec4 color;

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = color;
}
