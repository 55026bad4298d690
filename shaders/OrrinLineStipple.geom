#version 440 core

// Stippled lines: measures each line segment in pixels on the screen, so that dashes keep their length whatever the
// scale, the direction or the perspective.
//
// Inputs:   one segment: two clip-space positions and vertexColor of each.
// Outputs:  the same segment, clipped; color; distancePixels, the length on the screen from the start of the segment,
//           without the whole patterns that lie outside the picture.
// Uniforms: Viewport, x, y, width and height of the viewport in pixels; only the size matters here;
//           NumberOfBitsInPattern and LineStippleFactor, as in the fragment stage.
//
// The pattern starts anew at every segment, in strips and loops too: this stage sees one segment and cannot know how
// long the ones before it were. The fixed-function pipeline restarts for separate lines only and runs on in strips.
//
// A segment is clipped here, before anything is divided by w. The part behind the eye has no place on the screen, and
// a start far outside would spoil the precision of all distances that count from it. The region kept is twice the
// picture in width and height, so that the ends of wide lines stay out of sight; near and far planes are left to the
// fixed clipping that follows.

layout(lines) in;
layout(line_strip, max_vertices = 2) out;

in vec4 vertexColor[];

uniform vec4 Viewport;
uniform uint NumberOfBitsInPattern = 16u;
uniform float LineStippleFactor = 1.0;

out vec4 color;
noperspective out float distancePixels;

const float keptRegion = 2.0;

// A start farther away than this says nothing about where in the pattern the visible part begins.
const float measurablePixels = 1.0e7;

// Narrows the visible range of the segment, 0 at its start and 1 at its end, to where a value that is linear along it
// is not negative. An empty range ends before it starts.
void KeepWhereNotNegative(float valueAtStart, float valueAtEnd, inout float rangeStart, inout float rangeEnd) {
    if (valueAtStart < 0.0 && valueAtEnd < 0.0) {
        rangeEnd = -1.0;
    } else if (valueAtStart < 0.0) {
        rangeStart = max(rangeStart, valueAtStart / (valueAtStart - valueAtEnd));
    } else if (valueAtEnd < 0.0) {
        rangeEnd = min(rangeEnd, valueAtStart / (valueAtStart - valueAtEnd));
    }
}

// Clip coordinates to pixels from the middle of the viewport. At the eye itself w is zero, and x and y are too.
vec2 ScreenPosition(vec4 clipPosition) {
    return clipPosition.xy / max(clipPosition.w, 1.0e-30) * 0.5 * Viewport.zw;
}

// How far into the pattern, in pixels, the visible part begins when the clipping moved its start.
float PatternOffset(vec4 clipStart, vec2 visibleStart) {
    if (clipStart.w <= 0.0) {
        return 0.0;
    }
    float hiddenPixels = distance(ScreenPosition(clipStart), visibleStart);
    float patternPixels = float(clamp(NumberOfBitsInPattern, 1u, 32u)) * max(LineStippleFactor, 1.0);
    return hiddenPixels < measurablePixels ? mod(hiddenPixels, patternPixels) : 0.0;
}

void main() {
    vec4 clipStart = gl_in[0].gl_Position;
    vec4 clipEnd = gl_in[1].gl_Position;

    // w - x and w + x are both positive only where w is, so these limits also exclude what is behind the eye.
    vec2 limitAtStart = vec2(keptRegion * clipStart.w);
    vec2 limitAtEnd = vec2(keptRegion * clipEnd.w);
    vec4 insideAtStart = vec4(limitAtStart - clipStart.xy, limitAtStart + clipStart.xy);
    vec4 insideAtEnd = vec4(limitAtEnd - clipEnd.xy, limitAtEnd + clipEnd.xy);
    float rangeStart = 0.0;
    float rangeEnd = 1.0;
    for (int plane = 0; plane < 4; ++plane) {
        KeepWhereNotNegative(insideAtStart[plane], insideAtEnd[plane], rangeStart, rangeEnd);
    }
    if (rangeStart > rangeEnd) {
        return;
    }

    vec4 visibleClipStart = mix(clipStart, clipEnd, rangeStart);
    vec4 visibleClipEnd = mix(clipStart, clipEnd, rangeEnd);
    vec2 visibleStart = ScreenPosition(visibleClipStart);
    vec2 visibleEnd = ScreenPosition(visibleClipEnd);
    float startPixels = rangeStart > 0.0 ? PatternOffset(clipStart, visibleStart) : 0.0;

    gl_Position = visibleClipStart;
    color = mix(vertexColor[0], vertexColor[1], rangeStart);
    distancePixels = startPixels;
    EmitVertex();

    gl_Position = visibleClipEnd;
    color = mix(vertexColor[0], vertexColor[1], rangeEnd);
    distancePixels = startPixels + distance(visibleStart, visibleEnd);
    EmitVertex();

    EndPrimitive();
}
