#version 440 core

// Stippled lines: drops the fragments that fall on a zero of the pattern.
//
// Inputs:   color, interpolated between the vertices;
//           distancePixels, the length on the screen from the start of the segment.
// Outputs:  fragmentColor.
// Uniforms: LineStipplePattern, low bit first, 1 draws and 0 leaves a gap;
//           NumberOfBitsInPattern, after how many bits the pattern repeats, 1 to 32;
//           LineStippleFactor, how many pixels one bit is long, at least 1.
//
// The limits on the uniforms keep the arithmetic defined when a host never set a stipple.

in vec4 color;
noperspective in float distancePixels;

uniform uint LineStipplePattern = 0xFFFFu;
uniform uint NumberOfBitsInPattern = 16u;
uniform float LineStippleFactor = 1.0;

layout(location = 0) out vec4 fragmentColor;

// Lines from pixel centre to pixel centre have distances of whole pixels, where rounding alone would choose the bit.
// This share of a pixel is more than the rounding of rasterisers and too little to be seen.
const float roundingPixels = 0.0625;

void main() {
    float bitsFromStart = max(distancePixels + roundingPixels, 0.0) / max(LineStippleFactor, 1.0);
    uint bit = uint(bitsFromStart) % clamp(NumberOfBitsInPattern, 1u, 32u);
    if (((LineStipplePattern >> bit) & 1u) == 0u) {
        discard;
    }
    fragmentColor = color;
}
