// Lighting pass of a scene with a light map, which replaces all lighting; vertex stage.
// fragmentTexcoord: the light map's texture coordinates, 0 to 1 over the image, highp for large maps.
// Positions are in scene units.

#ifdef GL_ES
precision mediump float;
#endif

attribute highp vec3 vertexPos;
// Fed as to the other lighting programs, not used.
attribute highp vec3 vertexNormal;
attribute highp vec2 vertexTexcoord;

#define MAX_LIGHTS 3

uniform highp mat4 modelToClip;
// Part of the contract with the painter, not used.
uniform highp mat4 lights_shadowMatrix[MAX_LIGHTS];

varying highp vec2 fragmentTexcoord;

void main()
{
    fragmentTexcoord = vertexTexcoord;
    gl_Position = modelToClip * vec4(vertexPos, 1.0);
}
