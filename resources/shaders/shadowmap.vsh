// Shadow-map pass: what one light sees, as a depth-like value; vertex stage.
// shadowCoord: the light's scaled clip space, or for a cube map light-relative world space over the scene's extent.
// Both matrices and the coordinate are highp: world positions overflow mediump, and depths need its bits.

#ifdef GL_ES
precision mediump float;
#endif

attribute highp vec3 vertexPos;

uniform highp mat4 modelToClip;
uniform highp mat4 lightPosTransform;

varying highp vec3 shadowCoord;

void main()
{
    highp vec4 position = vec4(vertexPos, 1.0);
    shadowCoord = (lightPosTransform * position).xyz;
    gl_Position = modelToClip * position;
}
