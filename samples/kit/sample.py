"""A sample scene under construction: materials, lights, a camera, and what Blender holds as objects.

Every mesh, curve and text object of the open Blender file that has a material belongs to the sample. Objects
are written as their modifiers leave them, in one geometry for each material, named after the object.
"""

import sys

import bpy

from . import collada


class Sample:
    def __init__(self, name):
        self.name = name
        self.materials, self.lights, self.view = {}, [], None
        bpy.ops.wm.read_factory_settings(use_empty=True)

    def material(self, name, diffuse, specular=(0.04, 0.04, 0.04), shininess=16.0, alpha=1.0, ambient=None):
        """Declares a material and returns its name. Colours are display values; see collada.Material."""
        self.materials[name] = collada.Material(name, diffuse, specular, shininess, alpha, ambient)
        bpy.data.materials.new(name)
        return name

    def camera(self, eye, aim, field):
        """The first view. `field` is the vertical angle in degrees, as the viewer takes it."""
        self.view = (eye, aim, field)

    def ambient(self, name, colour):
        self.lights.append(collada.Light(name, "ambient", colour))

    def point(self, name, eye, colour):
        self.lights.append(collada.Light(name, "point", colour, eye))

    def spot(self, name, eye, aim, colour, hotspot, falloff, shadow=True):
        """Angles are full cone angles in degrees. The viewer draws three lights besides the ambient one, in
        the order in which they were added."""
        assert hotspot < falloff
        self.lights.append(collada.Light(name, "spot", colour, eye, aim, hotspot, falloff, shadow))

    def meshes(self):
        depsgraph = bpy.context.evaluated_depsgraph_get()
        result = []
        for source in sorted(bpy.context.scene.objects, key=lambda obj: obj.name):
            if source.type in ("MESH", "CURVE", "FONT") and source.material_slots and not source.hide_render:
                result += _meshes_of(source.evaluated_get(depsgraph))
        unknown = {mesh.material for mesh in result} - set(self.materials)
        assert not unknown, "materials without a declaration: %s" % sorted(unknown)
        return result

    def write(self, path):
        meshes = self.meshes()
        used = {mesh.material for mesh in meshes}
        materials = {name: self.materials[name] for name in self.materials if name in used}
        with open(path, "w", encoding="utf-8", newline="\n") as out:
            collada.Document(self.name, materials, self.lights, self.view, meshes).write(out)
        print("%s: %d meshes, %d triangles" %
              (path, len(meshes), sum(mesh.triangle_count() for mesh in meshes)), file=sys.stderr)


def _meshes_of(evaluated):
    """One collada.Mesh for each material in use, Blender's counter-clockwise corners reversed."""
    data = evaluated.to_mesh()
    data.calc_normals_split()
    data.calc_loop_triangles()
    layer = data.uv_layers.active
    matrix = [list(row) for row in evaluated.matrix_world]
    parts = {}
    for triangle in data.loop_triangles:
        material = evaluated.material_slots[triangle.material_index].material.name
        if material not in parts:
            name = evaluated.name if len(evaluated.material_slots) == 1 else "%s-%s" % (evaluated.name, material)
            parts[material] = collada.Mesh(name.replace(".", "-"), material, matrix)
        corners = []
        for loop in reversed(triangle.loops):
            texcoord = tuple(layer.data[loop].uv) if layer else (0.0, 0.0)
            corners.append((data.vertices[data.loops[loop].vertex_index].co, data.loops[loop].normal, texcoord))
        parts[material].triangle(corners)
    evaluated.to_mesh_clear()
    return [mesh for mesh in parts.values() if mesh.indices]
