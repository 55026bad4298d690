#version 440 core

// Lit texture: the light at each vertex, to be interpolated and multiplied with the texture.
//
// Inputs:   position and normal in model coordinates, texture coordinate. A normal of zero length asks for the normal
//           of the face. The vertex colour is not used: adds of textured triangles do not write it.
// Outputs:  vertexLight, the light at vertices that have a normal, black at others;
//           faceShare, 0 at vertices that have a normal, 1 at others: how much light the fragment stage adds;
//           eyeOffset, position in eye coordinates but for a constant shift, from which the face normal follows;
//           textureCoordinate.
// Uniforms: ProjectionTimesModelviewMatrix, model to clip coordinates;
//           ModelviewMatrix, model to eye coordinates, affine;
//           NormalMatrix, normals from model to eye coordinates;
//           v4LightDirection, towards the light in eye coordinates, of any length, w unused;
//           v4LightColor, alpha unused;
//           fLightIntensity, 4 for full colour on a surface that faces the light;
//           fAmbientCoefficient, share of the colour that needs no light, 0 to 1.
//
// The formula, with normal and directionToLight of length one, lit from both sides, as for coloured surfaces:
//
//     light = lightColor * (ambient + (1 - ambient) * abs(dot(normal, directionToLight)) * intensity / 4)
//     vertexLight = clamp(light, 0, 1)

layout(location = 0) in vec3 in_position;
layout(location = 1) in vec3 in_normal;
layout(location = 2) in vec2 in_texture;

uniform mat4 ProjectionTimesModelviewMatrix;
uniform mat4 ModelviewMatrix;
uniform mat3 NormalMatrix;
uniform vec4 v4LightDirection;
uniform vec4 v4LightColor;
uniform float fLightIntensity;
uniform float fAmbientCoefficient;

out vec3 vertexLight;
out float faceShare;
out vec3 eyeOffset;
out vec2 textureCoordinate;

// The intensity at which a surface that faces the light shows exactly its own colour.
const float fullIntensity = 4.0;

// The direction of a vector. A vector of no length stays as it is, where normalize would give no number.
vec3 UnitOrZero(vec3 vector) {
    return vector * inversesqrt(max(dot(vector, vector), 1.0e-36));
}

// The colour that falls on a surface with this normal in eye coordinates, of length one or zero.
vec3 LightOnSurface(vec3 unitNormal) {
    float diffuse = abs(dot(unitNormal, UnitOrZero(v4LightDirection.xyz)));
    float brightness = fAmbientCoefficient + (1.0 - fAmbientCoefficient) * diffuse * fLightIntensity / fullIntensity;
    return v4LightColor.rgb * brightness;
}

void main() {
    gl_Position = ProjectionTimesModelviewMatrix * vec4(in_position, 1.0);
    vec3 eyeNormal = NormalMatrix * in_normal;
    bool hasNormal = dot(eyeNormal, eyeNormal) > 0.0;
    vertexLight = hasNormal ? clamp(LightOnSurface(UnitOrZero(eyeNormal)), 0.0, 1.0) : vec3(0.0);
    faceShare = hasNormal ? 0.0 : 1.0;
    eyeOffset = mat3(ModelviewMatrix) * in_position;
    textureCoordinate = in_texture;
}
