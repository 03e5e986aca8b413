// Outline pass: darkens the picture where normals or depths jump; fragment stage.
// uv: 0 to 1 over the screen. Depths run from 1 near to 0 far, and are 0 where nothing was drawn.
// In highp where the context has it: mediump misses pixels of a large screen, and rounds depth steps too far.

#ifdef GL_ES
precision mediump float;
#endif

#ifdef GL_FRAGMENT_PRECISION_HIGH
#define PRECISE highp
#else
#define PRECISE mediump
#endif

#define DEPTH_TOLERANCE 0.02
#define NORMAL_TOLERANCE 0.75

uniform PRECISE sampler2D normalDepthMap;
uniform PRECISE sampler2D phongMap;
uniform PRECISE float screenW;
uniform PRECISE float screenH;

varying PRECISE vec2 uv;

// 1 if there is an edge between the centre and the pixel this many pixels away, else 0.
PRECISE float edge(PRECISE vec4 center, PRECISE vec2 offset)
{
    PRECISE vec4 texel = texture2D(normalDepthMap, uv + offset / vec2(screenW, screenH));
    if (texel.a <= 0.0 && center.a <= 0.0)
        return 0.0;
    bool bends = dot(texel.xyz * 2.0 - 1.0, center.xyz * 2.0 - 1.0) < NORMAL_TOLERANCE;
    return bends || abs(texel.a - center.a) > DEPTH_TOLERANCE ? 1.0 : 0.0;
}

void main()
{
    PRECISE vec4 center = texture2D(normalDepthMap, uv);
    PRECISE float axes = edge(center, vec2(-1.0, 0.0)) + edge(center, vec2(1.0, 0.0))
                         + edge(center, vec2(0.0, -1.0)) + edge(center, vec2(0.0, 1.0));
    PRECISE float diagonals = edge(center, vec2(-1.0, -1.0)) + edge(center, vec2(1.0, -1.0))
                              + edge(center, vec2(-1.0, 1.0)) + edge(center, vec2(1.0, 1.0));
    PRECISE float outlining = axes / 4.0 + diagonals / 8.0;
    gl_FragColor = clamp(texture2D(phongMap, uv) - outlining, 0.0, 1.0);
}
