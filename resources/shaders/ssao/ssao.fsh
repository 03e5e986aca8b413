// Ambient occlusion pass: how much of the surroundings each pixel's surface sees; fragment stage.
// clipPos: clip space, on the plane z = 0. uv: 0 to 1 over the screen. Depths run from 1 near to 0 far.
// In highp where the context has it: FALLOFF vanishes in mediump, which also rounds depth steps and texture places.

#ifdef GL_ES
precision mediump float;
#endif

#ifdef GL_FRAGMENT_PRECISION_HIGH
#define PRECISE highp
#else
#define PRECISE mediump
#endif

#define SAMPLES 10
#define RADIUS 0.02
#define STRENGTH 1.2
#define FALLOFF 0.000004
#define FALLOFF_STRENGTH 0.04

uniform PRECISE mat4 viewToClip;
uniform PRECISE mat4 viewToClipInverse;
uniform PRECISE sampler2D normalDepthMap;
uniform PRECISE sampler2D randomNormalMap;
// Depth of the scene's origin, in units of the clip range.
uniform PRECISE float viewZ;

varying PRECISE vec4 clipPos;
varying PRECISE vec2 uv;

// A surface at a pixel: view-space normal, and depth, 0 where nothing was drawn.
struct Surface
{
    PRECISE vec3 normal;
    PRECISE float depth;
};

Surface surfaceAt(PRECISE vec2 place)
{
    PRECISE vec4 texel = texture2D(normalDepthMap, place);
    return Surface(texel.xyz * 2.0 - 1.0, texel.a);
}

// How much of the light one sample direction takes from the pixel.
PRECISE float occlusionFrom(PRECISE vec3 direction, PRECISE vec3 seed, Surface pixel)
{
    PRECISE vec3 r = reflect(direction, seed) * RADIUS / viewZ;
    r *= sign(dot(r, pixel.normal));

    // Not divided by w before the offset, so its length on the screen does not depend on the pixel's depth.
    PRECISE vec4 occluderPos = viewToClip * (viewToClipInverse * clipPos + vec4(r, 0.0));
    Surface occluder = surfaceAt((occluderPos.xy / occluderPos.w + 1.0) / 2.0);
    if (occluder.depth <= 0.0)
        return 0.0;
    PRECISE float dZ = occluder.depth - pixel.depth;
    PRECISE float dN = 1.0 - dot(occluder.normal, pixel.normal);
    return step(FALLOFF, dZ) * dN * (1.0 - smoothstep(FALLOFF, FALLOFF_STRENGTH, dZ));
}

void main()
{
    PRECISE vec3 seed = normalize(texture2D(randomNormalMap, uv * 18.0).xyz * 2.0 - 1.0);
    Surface pixel = surfaceAt(uv);
    PRECISE float occlusion = 0.0;
    if (pixel.depth > 0.0) {
        occlusion += occlusionFrom(vec3(0.53812504, 0.18565957, -0.43192), seed, pixel);
        occlusion += occlusionFrom(vec3(0.13790712, 0.24864247, 0.44301823), seed, pixel);
        occlusion += occlusionFrom(vec3(0.33715037, 0.56794053, -0.005789503), seed, pixel);
        occlusion += occlusionFrom(vec3(-0.6999805, -0.04511441, -0.0019965635), seed, pixel);
        occlusion += occlusionFrom(vec3(0.06896307, -0.15983082, -0.85477847), seed, pixel);
        occlusion += occlusionFrom(vec3(0.056099437, 0.006954967, -0.1843352), seed, pixel);
        occlusion += occlusionFrom(vec3(-0.014653638, 0.14027752, 0.0762037), seed, pixel);
        occlusion += occlusionFrom(vec3(0.010019933, -0.1924225, -0.034443386), seed, pixel);
        occlusion += occlusionFrom(vec3(-0.35775623, -0.5301969, -0.43581226), seed, pixel);
        occlusion += occlusionFrom(vec3(-0.3169221, 0.106360726, 0.015860917), seed, pixel);
    }
    occlusion /= float(SAMPLES);
    gl_FragColor = vec4(clamp(1.0 - occlusion * STRENGTH, 0.0, 1.0));
}
