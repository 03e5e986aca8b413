// Normal-depth pass: what the effects on the finished picture look at; vertex stage.
// fragmentNormal: view space, moved to 0 to 1. fragmentPos: x and y in view space, z from 1 near to 0 far.
// Lengths are in scene units. Positions are highp: view positions overflow mediump, and depth must keep eight bits.

#ifdef GL_ES
precision mediump float;
#endif

attribute highp vec3 vertexPos;
attribute highp vec3 vertexNormal;

uniform highp mat4 modelToView;
uniform highp mat3 modelToViewNormal;
uniform highp mat4 modelToClip;
uniform highp float znear;
uniform highp float zrange;

varying highp vec3 fragmentPos;
varying highp vec3 fragmentNormal;

void main()
{
    highp vec4 position = vec4(vertexPos, 1.0);
    fragmentPos = (modelToView * position).xyz;
    fragmentPos.z = 1.0 - (-fragmentPos.z - znear) / zrange;
    fragmentNormal = (normalize(modelToViewNormal * vertexNormal) + 1.0) / 2.0;
    gl_Position = modelToClip * position;
}
