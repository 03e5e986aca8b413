#pragma once

#include <QByteArray>

namespace Quorvel::Test
{

/// The text of a scene: a square of side 2 in the plane z = 0 around the origin, wound clockwise, which a
/// camera looks at straight on from z = 3. Colours are "red green blue".
struct SquareScene
{
    static inline const QByteArray squareNode = R"(<node id="square-node">
      <instance_geometry url="#square"><bind_material><technique_common>
      <instance_material symbol="m" target="#mat"/></technique_common></bind_material></instance_geometry></node>)";

    QByteArray ambient = "0 0 0";
    QByteArray diffuse = "0 0 0";
    /// A light with the id "lamp", and where it stands; it shines along -z. Empty for none.
    QByteArray light;
    QByteArray place = "0 0 0";
    /// Those of the corners (-1, -1), (1, -1), (1, 1) and (-1, 1), with three numbers each.
    QByteArray texcoords = "0 0 0 0 0 0 0 0 0 0 0 0";
    QByteArray nodes = squareNode;
    bool hasCamera = true;

    QByteArray text() const
    {
        const QByteArray cameraNode =
            R"(<node id="cam-node"><translate>0 0 3</translate><instance_camera url="#cam"/></node>)";
        const QByteArray lightNode = R"(<node id="light-node"><translate>)" + place +
                                     R"(</translate><instance_light url="#lamp"/></node>)";
        return QByteArray(frame)
            .replace("%AMBIENT%", ambient)
            .replace("%DIFFUSE%", diffuse)
            .replace("%LIGHT%", light)
            .replace("%TEXCOORDS%", texcoords)
            .replace("%CAMERA%", hasCamera ? cameraNode : QByteArray())
            .replace("%PLACED%", light.isEmpty() ? QByteArray() : lightNode)
            .replace("%NODES%", nodes);
    }

private:
    static constexpr const char *frame = R"(<?xml version="1.0"?>
<COLLADA version="1.4.1">
  <library_cameras><camera id="cam" name="cam"><optics><technique_common><perspective>
    <xfov>30</xfov><znear>0.1</znear><zfar>100</zfar></perspective></technique_common></optics></camera></library_cameras>
  <library_lights>%LIGHT%</library_lights>
  <library_effects><effect id="fx"><profile_COMMON><technique sid="t"><phong>
    <ambient><color>%AMBIENT% 1</color></ambient><diffuse><color>%DIFFUSE% 1</color></diffuse>
    <specular><color>0 0 0 1</color></specular><shininess><float>8</float></shininess>
    <transparency><float>1</float></transparency></phong></technique></profile_COMMON></effect></library_effects>
  <library_materials><material id="mat"><instance_effect url="#fx"/></material></library_materials>
  <library_geometries><geometry id="square"><mesh>
    <source id="p"><float_array id="pa" count="12">-1 -1 0 1 -1 0 1 1 0 -1 1 0</float_array></source>
    <source id="n"><float_array id="na" count="3">0 0 1</float_array></source>
    <source id="t"><float_array id="ta" count="12">%TEXCOORDS%</float_array></source>
    <vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
    <triangles material="m" count="2">
      <input semantic="VERTEX" source="#v" offset="0"/><input semantic="NORMAL" source="#n" offset="1"/>
      <input semantic="TEXCOORD" source="#t" offset="2"/>
      <p>0 0 0 2 0 2 1 0 1 0 0 0 3 0 3 2 0 2</p></triangles>
  </mesh></geometry></library_geometries>
  <library_visual_scenes><visual_scene id="s">
    %CAMERA%
    %PLACED%
    %NODES%
  </visual_scene></library_visual_scenes>
</COLLADA>
)";
};

} // namespace Quorvel::Test
