#version 440 core

// Square points: the whole square that the rasteriser covers takes the vertex colour.
//
// Inputs:   color of the point.
// Outputs:  fragmentColor.

in vec4 color;

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = color;
}
