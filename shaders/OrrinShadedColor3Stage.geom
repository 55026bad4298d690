#version 440 core

// Lit fills: the light at each corner of a triangle, to be interpolated over it.
//
// Inputs:   one triangle: three clip-space positions, modelPosition, eyeNormal and vertexColor of each.
// Outputs:  the same triangle; color, the vertex colour under the light, alpha unchanged.
// Uniforms: ModelviewMatrix, model to eye coordinates, affine;
//           v4LightDirection, towards the light in eye coordinates, of any length, w unused;
//           v4LightColor, alpha unused;
//           fLightIntensity, 4 for full colour on a surface that faces the light;
//           fAmbientCoefficient, share of the colour that needs no light, 0 to 1.
//
// The formula, per corner, with normal and directionToLight of length one:
//
//     light = lightColor * (ambient + (1 - ambient) * abs(dot(normal, directionToLight)) * intensity / 4)
//     color = clamp(vertexColor * light, 0, 1)
//
// Ambient and diffuse parts share the colour between them, so that intensity 4 never exceeds it; a higher intensity
// brightens until a channel is full. Taking the absolute value lights a surface from both sides and asks nothing of
// the order of its vertices, which terrain data often leave to chance. The fixed-function pipeline gives the same
// picture with two opposite lights, each with ambient lightColor * ambient / 2 and diffuse
// lightColor * (1 - ambient) * intensity / 4, and no other ambient light.
//
// A corner whose normal is zero takes the normal of its face. A face of no area has none and gets the ambient part.

layout(triangles) in;
layout(triangle_strip, max_vertices = 3) out;

in vec3 modelPosition[];
in vec3 eyeNormal[];
in vec4 vertexColor[];

uniform mat4 ModelviewMatrix;
uniform vec4 v4LightDirection;
uniform vec4 v4LightColor;
uniform float fLightIntensity;
uniform float fAmbientCoefficient;

out vec4 color;

// The intensity at which a surface that faces the light shows exactly its own colour.
const float fullIntensity = 4.0;

// The direction of a vector. A vector of no length stays as it is, where normalize would give no number.
vec3 UnitOrZero(vec3 vector) {
    return vector * inversesqrt(max(dot(vector, vector), 1.0e-36));
}

// The normal of the face in eye coordinates. The edges are formed in model coordinates, where the numbers are small,
// and brought to length one before they are multiplied, so that tiny and huge triangles keep their normals.
vec3 FaceNormal() {
    mat3 modelToEye = mat3(ModelviewMatrix);
    vec3 firstEdge = UnitOrZero(modelToEye * (modelPosition[1] - modelPosition[0]));
    vec3 secondEdge = UnitOrZero(modelToEye * (modelPosition[2] - modelPosition[0]));
    return UnitOrZero(cross(firstEdge, secondEdge));
}

// The colour that falls on a surface with this normal in eye coordinates, of length one or zero.
vec3 LightOnSurface(vec3 unitNormal) {
    float diffuse = abs(dot(unitNormal, UnitOrZero(v4LightDirection.xyz)));
    float brightness = fAmbientCoefficient + (1.0 - fAmbientCoefficient) * diffuse * fLightIntensity / fullIntensity;
    return v4LightColor.rgb * brightness;
}

void main() {
    for (int corner = 0; corner < 3; ++corner) {
        bool hasNormal = dot(eyeNormal[corner], eyeNormal[corner]) > 0.0;
        vec3 unitNormal = hasNormal ? UnitOrZero(eyeNormal[corner]) : FaceNormal();
        vec3 litColor = clamp(vertexColor[corner].rgb * LightOnSurface(unitNormal), 0.0, 1.0);
        gl_Position = gl_in[corner].gl_Position;
        color = vec4(litColor, vertexColor[corner].a);
        EmitVertex();
    }
    EndPrimitive();
}
