// Lighting pass of a scene with a light map, which replaces all lighting; fragment stage.
// fragmentTexcoord: the light map's texture coordinates, 0 to 1 over the image.
// In highp where the context has it: mediump cannot tell the texels of a large map apart.

#ifdef GL_ES
precision mediump float;
#endif

#ifdef GL_FRAGMENT_PRECISION_HIGH
#define TEXCOORD highp
#else
#define TEXCOORD mediump
#endif

#define MAX_LIGHTS 3

uniform sampler2D occlusionMap;

// The rest of the lighting programs' contract with the painter, not used.
uniform vec4 material_ambient;
uniform vec4 material_diffuse;
uniform vec4 material_specular;
uniform float material_shininess;
uniform float material_transparency;
uniform vec4 lights_pos[MAX_LIGHTS];
uniform vec4 lights_color[MAX_LIGHTS];
uniform vec3 lights_direction[MAX_LIGHTS];
uniform float lights_cosHotspot[MAX_LIGHTS];
uniform float lights_cosFalloff[MAX_LIGHTS];
uniform bool lights_isSpot[MAX_LIGHTS];
uniform bool lights_shadowMap[MAX_LIGHTS];
uniform bool lights_cubeShadowMap[MAX_LIGHTS];
uniform vec4 lights_scenePos[MAX_LIGHTS];
uniform mediump int lightCount;
uniform sampler2D shadowMap0;
uniform sampler2D shadowMap1;
uniform sampler2D shadowMap2;
uniform samplerCube cubeShadowMap0;
uniform samplerCube cubeShadowMap1;
uniform samplerCube cubeShadowMap2;
uniform sampler2D pcfRotationMap;
uniform bool occlusion;

varying TEXCOORD vec2 fragmentTexcoord;

void main()
{
    gl_FragColor = texture2D(occlusionMap, fragmentTexcoord);
}
