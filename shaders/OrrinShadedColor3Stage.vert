#version 440 core

// Lit fills in the colours of their vertices: puts the vertices where they belong and turns the normals to eye
// coordinates. The geometry stage adds the light, because only it sees whole faces.
//
// Inputs:   position and normal in model coordinates, colour (bytes 0 to 255 arrive as 0 to 1). A normal of zero
//           length asks for the normal of the face.
// Outputs:  modelPosition, eyeNormal (of any length) and vertexColor, to the geometry stage.
// Uniforms: ProjectionTimesModelviewMatrix, model to clip coordinates;
//           NormalMatrix, normals from model to eye coordinates.

layout(location = 0) in vec3 in_position;
layout(location = 1) in vec3 in_normal;
layout(location = 3) in vec4 in_color;

uniform mat4 ProjectionTimesModelviewMatrix;
uniform mat3 NormalMatrix;

out vec3 modelPosition;
out vec3 eyeNormal;
out vec4 vertexColor;

void main() {
    gl_Position = ProjectionTimesModelviewMatrix * vec4(in_position, 1.0);
    modelPosition = in_position;
    eyeNormal = NormalMatrix * in_normal;
    vertexColor = in_color;
}
