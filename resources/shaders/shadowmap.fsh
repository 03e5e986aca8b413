// Shadow-map pass: what one light sees, as a depth-like value; fragment stage.
// shadowCoord: the light's scaled clip space, or for a cube map light-relative world space over the scene's extent.
// No units: the value is a z scaled by 1/far or, for a cube map, a squared distance over the squared extent.

#ifdef GL_ES
precision mediump float;
#endif

#ifdef GL_FRAGMENT_PRECISION_HIGH
#define DEPTH highp
#else
#define DEPTH mediump
#endif

uniform bool cubeMap;

varying DEPTH vec3 shadowCoord;

void main()
{
    DEPTH float z = cubeMap ? dot(shadowCoord, shadowCoord) : shadowCoord.z;
    gl_FragColor = vec4(z, z, z, 1.0);
}
