#version 440 core

// Round points: the disc inscribed in the point's square. With smoothing the rim fades over one pixel by alpha, which
// shows only while blending is on; without it the rim is hard.
//
// Inputs:   color of the point.
// Outputs:  fragmentColor; its alpha is multiplied by the share of the pixel that the disc covers.
// Uniforms: PointSize, diameter of the disc in pixels, the same value as in the vertex stage;
//           PointSmoothingEnabled, 1 for a faded rim, 0 for a hard one.
//
// Fragments outside the disc are discarded rather than made transparent, because logic operations and the depth
// buffer know nothing of alpha.
//
// NOTE: in a compatibility context gl_PointCoord varies over the point only while GL_POINT_SPRITE is enabled.

in vec4 color;

uniform float PointSize = 1.0;
uniform float PointSmoothingEnabled;

layout(location = 0) out vec4 fragmentColor;

// The farthest that the centre of the only pixel of a one-pixel point lies from the point: half a pixel's diagonal.
// A smaller disc would miss pixel centres, and points would flicker while the view moves.
const float smallestRadiusPixels = 0.7072;

void main() {
    float sizePixels = max(PointSize, 1.0);
    float radiusPixels = 0.5 * sizePixels;
    float distancePixels = length(gl_PointCoord - 0.5) * sizePixels;

    float hardCoverage = step(distancePixels, max(radiusPixels, smallestRadiusPixels));
    float smoothCoverage = clamp(radiusPixels + 0.5 - distancePixels, 0.0, 1.0);
    float coverage = mix(hardCoverage, smoothCoverage, PointSmoothingEnabled);
    if (coverage <= 0.0) {
        discard;
    }
    fragmentColor = vec4(color.rgb, color.a * coverage);
}
