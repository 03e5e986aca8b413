// Lighting pass: all lights of the frame, per fragment; vertex stage.
// fragmentPos, fragmentNormal: view space. lights_shadowCoord: the lights' scaled clip space. fragmentTexcoord: 0 to 1.
// Lengths are in scene units. Positions and matrices are highp: view positions overflow mediump beyond 256 units.

#ifdef GL_ES
precision mediump float;
#endif

#define MAX_LIGHTS 3

attribute highp vec3 vertexPos;
attribute highp vec3 vertexNormal;
attribute highp vec2 vertexTexcoord;

uniform highp mat4 modelToScene;
uniform highp mat4 modelToView;
uniform highp mat3 modelToViewNormal;
uniform highp mat4 modelToClip;
uniform highp mat4 lights_shadowMatrix[MAX_LIGHTS];
// Used in both stages, and so declared with the same precision in both.
uniform mediump int lightCount;

varying highp vec3 fragmentPos;
varying highp vec3 fragmentNormal;
varying highp vec2 fragmentTexcoord;
varying highp vec4 lights_shadowCoord[MAX_LIGHTS];

void main()
{
    highp vec4 position = vec4(vertexPos, 1.0);
    fragmentPos = (modelToView * position).xyz;
    fragmentNormal = modelToViewNormal * vertexNormal;
    fragmentTexcoord = vertexTexcoord;
    for (int i = 0; i < MAX_LIGHTS; ++i) {
        if (i < lightCount)
            lights_shadowCoord[i] = lights_shadowMatrix[i] * modelToScene * position;
    }
    gl_Position = modelToClip * position;
}
