// Lighting pass: all lights of the frame, per fragment; fragment stage.
// fragmentPos, fragmentNormal: view space. lights_shadowCoord: the lights' scaled clip space. fragmentTexcoord: 0 to 1.
// Lengths are in scene units. The lighting is computed in highp where the context has it: mediump bands and overflows.

#ifdef GL_ES
precision mediump float;
#endif

#ifdef GL_FRAGMENT_PRECISION_HIGH
#define LIGHTING highp
#else
#define LIGHTING mediump
#endif

#define MAX_LIGHTS 3
#define PCF_KERNEL_SIZE 4

uniform LIGHTING vec4 material_ambient;
uniform LIGHTING vec4 material_diffuse;
uniform LIGHTING vec4 material_specular;
uniform LIGHTING float material_shininess;
uniform LIGHTING float material_transparency;

uniform LIGHTING vec4 lights_pos[MAX_LIGHTS];
uniform LIGHTING vec4 lights_color[MAX_LIGHTS];
uniform LIGHTING vec3 lights_direction[MAX_LIGHTS];
uniform LIGHTING float lights_cosHotspot[MAX_LIGHTS];
uniform LIGHTING float lights_cosFalloff[MAX_LIGHTS];
uniform bool lights_isSpot[MAX_LIGHTS];
uniform bool lights_shadowMap[MAX_LIGHTS];
uniform mediump int lightCount;

uniform sampler2D shadowMap0;
uniform sampler2D shadowMap1;
uniform sampler2D shadowMap2;
uniform sampler2D pcfRotationMap;

// Part of the contract with the painter, not sampled.
uniform bool lights_cubeShadowMap[MAX_LIGHTS];
uniform LIGHTING vec4 lights_scenePos[MAX_LIGHTS];
uniform samplerCube cubeShadowMap0;
uniform samplerCube cubeShadowMap1;
uniform samplerCube cubeShadowMap2;
uniform sampler2D occlusionMap;
uniform bool occlusion;

varying LIGHTING vec3 fragmentPos;
varying LIGHTING vec3 fragmentNormal;
varying LIGHTING vec2 fragmentTexcoord;
varying LIGHTING vec4 lights_shadowCoord[MAX_LIGHTS];

const LIGHTING float filterRadius = 0.0025;
const LIGHTING float rotationMapSize = 256.0;

// 1 if the map's texel at this rotated offset is nearer to the light than the receiver, else 0.
LIGHTING float occluded(sampler2D shadowMap, LIGHTING vec2 uv, LIGHTING float receiver, LIGHTING vec2 offset,
                        LIGHTING vec2 rotation)
{
    LIGHTING vec2 rotated = vec2(offset.x * rotation.x - offset.y * rotation.y,
                                 offset.x * rotation.y + offset.y * rotation.x);
    LIGHTING float stored = texture2D(shadowMap, uv + filterRadius * rotated).r;
    return stored < receiver ? 1.0 : 0.0;
}

// Percentage-closer filtering with four Poisson taps, turned by a different angle at every fragment.
LIGHTING float shadowFactor(sampler2D shadowMap, LIGHTING vec4 shadowCoord, LIGHTING float NdotL)
{
    LIGHTING vec2 uv = (shadowCoord.xy / shadowCoord.w + 1.0) / 2.0;
    // Quirk(receiver-not-divided): depths are compared before the division by w, which x and y go through;
    // the map holds such values, which grow evenly with the distance from the light.
    // Quirk(shadow-bias): 0.04 takes the first 1/25 of the far distance off a spot's shadows, and beyond a far
    // distance of about 25 all of a directional light's, whose depths end at 1/far; scenes are lit for it.
    LIGHTING float bias = 0.000015 / (NdotL * NdotL) + 0.04;
    // The map clamps to 1 what is far away: a texel of 1 hides nothing, however far the receiver.
    LIGHTING float receiver = min(shadowCoord.z - bias, 1.0);
    LIGHTING vec2 rotation = texture2D(pcfRotationMap, gl_FragCoord.xy / rotationMapSize).xy * 2.0 - 1.0;
    LIGHTING float hidden = occluded(shadowMap, uv, receiver, vec2(-0.94201624, -0.39906216), rotation)
                            + occluded(shadowMap, uv, receiver, vec2(0.94558609, -0.76890725), rotation)
                            + occluded(shadowMap, uv, receiver, vec2(-0.094184101, -0.92938870), rotation)
                            + occluded(shadowMap, uv, receiver, vec2(0.34495938, 0.29387760), rotation);
    return 1.0 - hidden / float(PCF_KERNEL_SIZE);
}

LIGHTING float spotFactor(bool isSpot, LIGHTING float cosAngle, LIGHTING float cosHotspot,
                          LIGHTING float cosFalloff)
{
    return isSpot ? clamp((cosAngle - cosFalloff) / (cosHotspot - cosFalloff), 0.0, 1.0) : 1.0;
}

// base to the power of the shininess; pow alone leaves 0 to the power of 0 undefined.
LIGHTING float highlight(LIGHTING float base)
{
    return material_shininess == 0.0 ? 1.0 : pow(max(base, 0.0), material_shininess);
}

LIGHTING vec3 directionTo(LIGHTING vec4 lightPos)
{
    return normalize(lightPos.xyz - lightPos.w * fragmentPos);
}

void main()
{
    LIGHTING vec3 N = normalize(fragmentNormal);
    LIGHTING vec3 E = normalize(-fragmentPos);
    LIGHTING vec4 Idiff = vec4(0.0, 0.0, 0.0, 1.0);
    LIGHTING vec4 Ispec = vec4(0.0, 0.0, 0.0, 1.0);

    if (lightCount > 0) {
        LIGHTING vec3 L = directionTo(lights_pos[0]);
        LIGHTING float NdotL = dot(N, L);
        LIGHTING float shadow = 1.0;
        if (NdotL > 0.0 && lights_shadowMap[0])
            shadow = shadowFactor(shadowMap0, lights_shadowCoord[0], NdotL);
        if (NdotL > 0.0) {
            LIGHTING float spot = spotFactor(lights_isSpot[0], dot(-L, lights_direction[0]),
                                             lights_cosHotspot[0], lights_cosFalloff[0]);
            LIGHTING vec4 light = shadow * spot * lights_color[0];
            Idiff += light * NdotL;
            Ispec += light * highlight(dot(N, normalize(L + E)));
        }
    }
    if (lightCount > 1) {
        LIGHTING vec3 L = directionTo(lights_pos[1]);
        LIGHTING float NdotL = dot(N, L);
        LIGHTING float shadow = 1.0;
        if (NdotL > 0.0 && lights_shadowMap[1])
            shadow = shadowFactor(shadowMap1, lights_shadowCoord[1], NdotL);
        if (NdotL > 0.0) {
            LIGHTING float spot = spotFactor(lights_isSpot[1], dot(-L, lights_direction[1]),
                                             lights_cosHotspot[1], lights_cosFalloff[1]);
            LIGHTING vec4 light = shadow * spot * lights_color[1];
            Idiff += light * NdotL;
            Ispec += light * highlight(dot(N, normalize(L + E)));
        }
    }
    if (lightCount > 2) {
        LIGHTING vec3 L = directionTo(lights_pos[2]);
        LIGHTING float NdotL = dot(N, L);
        LIGHTING float shadow = 1.0;
        if (NdotL > 0.0 && lights_shadowMap[2])
            shadow = shadowFactor(shadowMap2, lights_shadowCoord[2], NdotL);
        if (NdotL > 0.0) {
            LIGHTING float spot = spotFactor(lights_isSpot[2], dot(-L, lights_direction[2]),
                                             lights_cosHotspot[2], lights_cosFalloff[2]);
            LIGHTING vec4 light = shadow * spot * lights_color[2];
            Idiff += light * NdotL;
            Ispec += light * highlight(dot(N, normalize(L + E)));
        }
    }

    LIGHTING vec4 color = clamp(material_ambient + Idiff * material_diffuse + Ispec * material_specular, 0.0, 1.0);
    gl_FragColor = vec4(color.rgb, 1.0 - material_transparency);
}
