// Lighting pass of a fast frame: all lights of the frame, per vertex, without shadows; fragment stage.
// fragmentColor: red, green, blue and opacity, each 0 to 1.
// Nothing here has a unit but colour.

#ifdef GL_ES
precision mediump float;
#endif

varying vec4 fragmentColor;

void main()
{
    gl_FragColor = fragmentColor;
}
