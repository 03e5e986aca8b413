// Normal-depth pass: what the effects on the finished picture look at; fragment stage.
// fragmentNormal: view space, moved to 0 to 1. fragmentPos: x and y in view space, z from 1 near to 0 far.
// Lengths are in scene units. Varyings are highp where the context has it: rounding must not add steps to the depth.

#ifdef GL_ES
precision mediump float;
#endif

#ifdef GL_FRAGMENT_PRECISION_HIGH
#define POSITION highp
#else
#define POSITION mediump
#endif

varying POSITION vec3 fragmentPos;
varying POSITION vec3 fragmentNormal;

void main()
{
    gl_FragColor = vec4(fragmentNormal, fragmentPos.z);
}
