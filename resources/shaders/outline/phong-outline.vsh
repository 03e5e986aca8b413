// Outline pass: darkens the picture where normals or depths jump; vertex stage.
// uv: 0 to 1 over the screen.
// No lengths. uv is highp: mediump cannot tell the pixels of a large screen apart.

#ifdef GL_ES
precision mediump float;
#endif

attribute highp vec2 vertexPos;

varying highp vec2 uv;

void main()
{
    highp vec2 corner = sign(vertexPos);
    uv = (corner + 1.0) / 2.0;
    gl_Position = vec4(corner, 0.0, 1.0);
}
