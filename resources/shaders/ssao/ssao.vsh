// Ambient occlusion pass: how much of the surroundings each pixel's surface sees; vertex stage.
// clipPos: clip space, on the plane z = 0. uv: 0 to 1 over the screen.
// No lengths. Varyings are highp: mediump cannot tell the pixels of a large screen apart.

#ifdef GL_ES
precision mediump float;
#endif

attribute highp vec2 vertexPos;

varying highp vec4 clipPos;
varying highp vec2 uv;

void main()
{
    clipPos = vec4(sign(vertexPos), 0.0, 1.0);
    uv = (clipPos.xy + 1.0) / 2.0;
    gl_Position = clipPos;
}
