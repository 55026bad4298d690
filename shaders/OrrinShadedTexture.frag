#version 440 core

// Lit texture: texture colour times light.
//
// Inputs:   vertexLight, faceShare, eyeOffset and textureCoordinate of the vertex stage, interpolated.
// Outputs:  fragmentColor; alpha is the texture's alpha times fTextureTransparency.
// Uniforms: Texture, the image;
//           fTextureTransparency, 0 invisible to 1 as the image is;
//           v4LightDirection, towards the light in eye coordinates, of any length, w unused;
//           v4LightColor, alpha unused;
//           fLightIntensity, 4 for full colour on a surface that faces the light;
//           fAmbientCoefficient, share of the colour that needs no light, 0 to 1.
//
// Vertices without a normal left their light open. It is the light on the face, whose normal follows from how the
// position changes between neighbouring pixels; its share is interpolated like the light of the other vertices, so
// that one face may mix both kinds. The formula is that of the vertex stage.

in vec3 vertexLight;
in float faceShare;
in vec3 eyeOffset;
in vec2 textureCoordinate;

uniform sampler2D Texture;
uniform float fTextureTransparency = 1.0;
uniform vec4 v4LightDirection;
uniform vec4 v4LightColor;
uniform float fLightIntensity;
uniform float fAmbientCoefficient;

layout(location = 0) out vec4 fragmentColor;

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
    // Differences between pixels are defined only where all neighbours compute them, hence before any branch.
    vec3 alongRow = dFdx(eyeOffset);
    vec3 alongColumn = dFdy(eyeOffset);

    vec3 light = vertexLight;
    if (faceShare > 0.0) {
        vec3 faceNormal = UnitOrZero(cross(UnitOrZero(alongRow), UnitOrZero(alongColumn)));
        light += faceShare * clamp(LightOnSurface(faceNormal), 0.0, 1.0);
    }
    vec4 texel = texture(Texture, textureCoordinate);
    fragmentColor = vec4(texel.rgb * light, texel.a * fTextureTransparency);
}
