// Lighting pass of a fast frame: all lights of the frame, per vertex, without shadows; vertex stage.
// fragmentColor: red, green, blue and opacity, each 0 to 1.
// Lighting is computed in view space, lengths are in scene units.

#ifdef GL_ES
precision mediump float;
#endif

#define MAX_LIGHTS 3

attribute highp vec3 vertexPos;
attribute highp vec3 vertexNormal;

uniform highp mat4 modelToView;
uniform highp mat3 modelToViewNormal;
uniform highp mat4 modelToClip;

uniform highp vec4 material_ambient;
uniform highp vec4 material_diffuse;
uniform highp vec4 material_specular;
uniform highp float material_shininess;
uniform highp float material_transparency;

uniform highp vec4 lights_pos[MAX_LIGHTS];
uniform highp vec4 lights_color[MAX_LIGHTS];
uniform highp vec3 lights_direction[MAX_LIGHTS];
uniform highp float lights_cosHotspot[MAX_LIGHTS];
uniform highp float lights_cosFalloff[MAX_LIGHTS];
uniform bool lights_isSpot[MAX_LIGHTS];
uniform mediump int lightCount;

varying vec4 fragmentColor;

// base to the power of the shininess; pow alone leaves 0 to the power of 0 undefined.
highp float highlight(highp float base)
{
    return material_shininess == 0.0 ? 1.0 : pow(max(base, 0.0), material_shininess);
}

void main()
{
    highp vec4 position = vec4(vertexPos, 1.0);
    highp vec3 viewPos = (modelToView * position).xyz;
    highp vec3 N = normalize(modelToViewNormal * vertexNormal);
    highp vec3 E = normalize(-viewPos);
    highp vec4 Idiff = vec4(0.0, 0.0, 0.0, 1.0);
    highp vec4 Ispec = vec4(0.0, 0.0, 0.0, 1.0);

    for (int i = 0; i < MAX_LIGHTS; ++i) {
        if (i < lightCount) {
            highp vec3 L = normalize(lights_pos[i].xyz - lights_pos[i].w * viewPos);
            highp float NdotL = dot(N, L);
            if (NdotL > 0.0) {
                highp float spot = 1.0;
                if (lights_isSpot[i])
                    spot = clamp((dot(-L, lights_direction[i]) - lights_cosFalloff[i])
                                     / (lights_cosHotspot[i] - lights_cosFalloff[i]),
                                 0.0, 1.0);
                Idiff += spot * lights_color[i] * NdotL;
                Ispec += spot * lights_color[i] * highlight(dot(N, normalize(L + E)));
            }
        }
    }

    highp vec4 color = clamp(material_ambient + Idiff * material_diffuse + Ispec * material_specular, 0.0, 1.0);
    fragmentColor = vec4(color.rgb, 1.0 - material_transparency);
    gl_Position = modelToClip * position;
}
