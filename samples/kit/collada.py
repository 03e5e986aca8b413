"""Writes a COLLADA document in the profile that the viewer reads.

A document holds one visual scene. Every mesh has one group of triangles of one material, and every corner of a
triangle has a position, a normal and a texture-coordinate index of its own, at the offsets 0, 1 and 2. Front
faces are clockwise seen from outside. Texture coordinates are S T P with P always 0. z is up.
"""

import math


# --- numbers as text ----------------------------------------------------------------------------------------

def number(value, digits):
    """Shortest fixed text with at most `digits` decimals; never "-0"."""
    text = "%.*f" % (digits, value)
    if "." in text:
        text = text.rstrip("0").rstrip(".")
    return "0" if text in ("-0", "") else text


def numbers(values, digits):
    return " ".join(number(value, digits) for value in values)


# --- what a document is made of -----------------------------------------------------------------------------

class Material:
    """Colours are 0..1 display values; alpha 1 is opaque. A material whose ambient colour is brighter than its
    diffuse one glows in the light map."""

    def __init__(self, name, diffuse, specular, shininess, alpha, ambient):
        self.name, self.diffuse, self.specular = name, diffuse, specular
        self.shininess, self.alpha = shininess, alpha
        self.ambient = diffuse if ambient is None else ambient


class Light:
    """`kind` is "ambient", "point" or "spot". A spot has an aim point, a hotspot and a falloff: full cone
    angles in degrees, the hotspot the narrower."""

    def __init__(self, name, kind, colour, eye=None, aim=None, hotspot=None, falloff=None, shadow=False):
        self.name, self.kind, self.colour = name, kind, colour
        self.eye, self.aim, self.hotspot, self.falloff, self.shadow = eye, aim, hotspot, falloff, shadow


class Mesh:
    """Triangles of one material over joined lists of positions, normals and texture coordinates.

    Values are joined where their text in the file is equal. `matrix` is the node's transform, four rows.
    """

    POSITION_DIGITS, NORMAL_DIGITS, TEXCOORD_DIGITS = 4, 3, 5

    def __init__(self, name, material, matrix):
        self.name, self.material, self.matrix = name, material, matrix
        self.positions, self.normals, self.texcoords = {}, {}, {}
        self.indices = []

    @staticmethod
    def _index(table, text):
        return table.setdefault(text, len(table))

    def triangle(self, corners):
        """Adds one triangle of three corners (position, normal, (s, t)), given clockwise seen from outside.
        One that has no area in the file's precision is left out."""
        texts = [numbers(position, self.POSITION_DIGITS) for position, _, _ in corners]
        if _area([tuple(map(float, text.split())) for text in texts]) < 1e-9:
            return
        for text, (_, normal, texcoord) in zip(texts, corners):
            self.indices.append(self._index(self.positions, text))
            self.indices.append(self._index(self.normals, numbers(normal, self.NORMAL_DIGITS)))
            self.indices.append(self._index(self.texcoords,
                                            numbers((*texcoord, 0.0), self.TEXCOORD_DIGITS)))

    def triangle_count(self):
        return len(self.indices) // 9


def _area(points):
    a, b, c = points
    u, v = [b[i] - a[i] for i in range(3)], [c[i] - a[i] for i in range(3)]
    cross = (u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0])
    return 0.5 * math.sqrt(sum(x * x for x in cross))


# --- the document -------------------------------------------------------------------------------------------

class Document:
    """`camera` is (eye, aim, field of view in degrees); `materials` maps names to Material."""

    def __init__(self, name, materials, lights, camera, meshes):
        self.name, self.materials, self.lights = name, materials, lights
        self.camera, self.meshes = camera, meshes

    def write(self, out):
        self._out = out
        self._line(0, '<?xml version="1.0" encoding="utf-8"?>')
        self._line(0, '<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">')
        self._line(1, "<asset><contributor><authoring_tool>Quorvel samples</authoring_tool></contributor>"
                      "<created>2026-01-01T00:00:00Z</created><modified>2026-01-01T00:00:00Z</modified>"
                      '<unit name="meter" meter="1"/><up_axis>Z_UP</up_axis></asset>')
        self._cameras()
        self._lights()
        self._materials()
        self._geometries()
        self._visual_scene()
        self._line(0, "</COLLADA>")

    def _line(self, depth, text):
        self._out.write("  " * depth + text + "\n")

    def _cameras(self):
        self._line(1, "<library_cameras>")
        self._line(2, '<camera id="view-camera" name="view"><optics><technique_common><perspective>'
                      "<xfov>%s</xfov><znear>0.1</znear><zfar>100</zfar>"
                      "</perspective></technique_common></optics></camera>" % number(self.camera[2], 2))
        self._line(1, "</library_cameras>")

    def _lights(self):
        self._line(1, "<library_lights>")
        for light in self.lights:
            self._line(2, '<light id="%s-light" name="%s">' % (light.name, light.name))
            cone = ""
            if light.kind == "spot":
                cone = "<falloff_angle>%s</falloff_angle>" % number(light.hotspot, 2)
            self._line(3, "<technique_common><%s><color>%s</color>%s</%s></technique_common>" %
                       (light.kind, numbers(light.colour, 3), cone, light.kind))
            if light.kind == "spot":
                self._line(3, '<extra><technique profile="FCOLLADA">')
                self._line(4, "<hotspot_beam>%s</hotspot_beam>" % number(light.hotspot, 2))
                self._line(4, "<falloff>%s</falloff>" % number(light.falloff, 2))
                if light.shadow:
                    self._line(4, "<shadow_attributes><type>SHADOW_MAP</type></shadow_attributes>")
                self._line(4, "<target>#%s-target</target>" % light.name)
                self._line(3, "</technique></extra>")
            self._line(2, "</light>")
        self._line(1, "</library_lights>")

    def _materials(self):
        self._line(1, "<library_effects>")
        for material in self.materials.values():
            self._line(2, '<effect id="%s-effect"><profile_COMMON><technique sid="common"><phong>' %
                       material.name)
            for slot in ("ambient", "diffuse", "specular"):
                self._line(3, "<%s><color>%s 1</color></%s>" %
                           (slot, numbers(getattr(material, slot), 3), slot))
            self._line(3, "<shininess><float>%s</float></shininess>" % number(material.shininess, 2))
            self._line(3, "<transparency><float>%s</float></transparency>" % number(material.alpha, 3))
            self._line(2, "</phong></technique></profile_COMMON></effect>")
        self._line(1, "</library_effects>")
        self._line(1, "<library_materials>")
        for name in self.materials:
            self._line(2, '<material id="%s" name="%s"><instance_effect url="#%s-effect"/></material>' %
                       (name, name, name))
        self._line(1, "</library_materials>")

    def _source(self, mesh, role, table, parameters):
        texts = list(table)
        ident = "%s-%s" % (mesh.name, role)
        self._line(3, '<source id="%s"><float_array id="%s-array" count="%d">' %
                   (ident, ident, 3 * len(texts)))
        for i in range(0, len(texts), 8):
            self._out.write(" ".join(texts[i:i + 8]) + "\n")
        self._line(3, '</float_array><technique_common><accessor source="#%s-array" count="%d" stride="3">' %
                   (ident, len(texts)) +
                   "".join('<param name="%s" type="float"/>' % name for name in parameters) +
                   "</accessor></technique_common></source>")

    def _geometries(self):
        self._line(1, "<library_geometries>")
        for mesh in self.meshes:
            self._line(2, '<geometry id="%s-mesh" name="%s"><mesh>' % (mesh.name, mesh.name))
            self._source(mesh, "positions", mesh.positions, "XYZ")
            self._source(mesh, "normals", mesh.normals, "XYZ")
            self._source(mesh, "texcoords", mesh.texcoords, "STP")
            self._line(3, '<vertices id="%s-vertices"><input semantic="POSITION" source="#%s-positions"/>'
                          "</vertices>" % (mesh.name, mesh.name))
            self._line(3, '<triangles material="%s" count="%d">' % (mesh.material, mesh.triangle_count()))
            self._line(4, '<input semantic="VERTEX" source="#%s-vertices" offset="0"/>' % mesh.name)
            self._line(4, '<input semantic="NORMAL" source="#%s-normals" offset="1"/>' % mesh.name)
            self._line(4, '<input semantic="TEXCOORD" source="#%s-texcoords" offset="2" set="0"/>' % mesh.name)
            self._line(4, "<p>")
            for i in range(0, len(mesh.indices), 45):
                self._out.write(" ".join(map(str, mesh.indices[i:i + 45])) + "\n")
            self._line(4, "</p>")
            self._line(3, "</triangles>")
            self._line(2, "</mesh></geometry>")
        self._line(1, "</library_geometries>")

    def _visual_scene(self):
        self._line(1, "<library_visual_scenes>")
        self._line(2, '<visual_scene id="%s" name="%s">' % (self.name, self.name))
        self._node("camera", looking(*self.camera[:2]), '<instance_camera url="#view-camera"/>')
        for light in self.lights:
            instance = '<instance_light url="#%s-light"/>' % light.name
            if light.kind == "ambient":
                self._node(light.name, None, instance)
            elif light.kind == "point":
                self._node(light.name, translation(light.eye), instance)
            else:
                self._node(light.name, looking(light.eye, light.aim), instance)
                self._node(light.name + "-target", translation(light.aim), "")
        for mesh in self.meshes:
            self._node(mesh.name, mesh.matrix,
                       '<instance_geometry url="#%s-mesh"><bind_material><technique_common>'
                       '<instance_material symbol="%s" target="#%s"/>'
                       "</technique_common></bind_material></instance_geometry>" %
                       (mesh.name, mesh.material, mesh.material))
        self._line(2, "</visual_scene>")
        self._line(1, "</library_visual_scenes>")
        self._line(1, '<scene><instance_visual_scene url="#%s"/></scene>' % self.name)

    def _node(self, name, matrix, content):
        self._line(3, '<node id="%s" name="%s">' % (name, name))
        if matrix is not None:
            self._line(4, "<matrix>%s</matrix>" % "  ".join(numbers(row, 6) for row in matrix))
        if content:
            self._line(4, content)
        self._line(3, "</node>")


def translation(point):
    return [[1.0, 0.0, 0.0, point[0]], [0.0, 1.0, 0.0, point[1]], [0.0, 0.0, 1.0, point[2]],
            [0.0, 0.0, 0.0, 1.0]]


def looking(eye, aim):
    """Four rows of the transform of a node at `eye` whose -z axis points to `aim`, its y axis upwards (z)."""
    def unit(v):
        length = math.sqrt(sum(x * x for x in v))
        return [x / length for x in v]

    def cross(a, b):
        return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]

    back = unit([eye[i] - aim[i] for i in range(3)])
    right = unit(cross([0.0, 0.0, 1.0] if abs(back[2]) < 0.999 else [0.0, 1.0, 0.0], back))
    up = cross(back, right)
    return [[right[i], up[i], back[i], eye[i]] for i in range(3)] + [[0.0, 0.0, 0.0, 1.0]]
