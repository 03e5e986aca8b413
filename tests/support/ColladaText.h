#pragma once

#include <QByteArray>

namespace Quorvel
{

/// Small COLLADA documents, put together from their libraries.
namespace ColladaText
{

inline QByteArray document(const QByteArray &libraries, const QByteArray &nodes)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<COLLADA xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" version=\"1.4.1\">\n"
           "<asset><up_axis>Z_UP</up_axis></asset>\n" +
           libraries + "<library_visual_scenes><visual_scene id=\"scene\">\n" + nodes +
           "</visual_scene></library_visual_scenes>\n"
           "<scene><instance_visual_scene url=\"#scene\"/></scene>\n"
           "</COLLADA>\n";
}

inline QByteArray camera(const QByteArray &id)
{
    return "<library_cameras><camera id=\"" + id +
           "\"><optics><technique_common><perspective><xfov>40</xfov><znear>1</znear><zfar>100</zfar>"
           "</perspective></technique_common></optics></camera></library_cameras>\n";
}

inline QByteArray cameraNode(const QByteArray &id, const QByteArray &cameraId = "camera")
{
    return "<node id=\"" + id + "\"><instance_camera url=\"#" + cameraId + "\"/></node>\n";
}

/// One triangle, with the indices that its group lists for its positions and normals.
inline QByteArray triangle(const QByteArray &id, const QByteArray &indices = "0 0 1 0 2 0")
{
    return "<library_geometries><geometry id=\"" + id +
           "\"><mesh><source id=\"p\"><float_array id=\"pa\" count=\"9\">0 0 0 1 0 0 0 1 "
           "0</float_array></source>"
           "<source id=\"n\"><float_array id=\"na\" count=\"3\">0 0 1</float_array></source>"
           "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>"
           "<triangles material=\"paint\" count=\"1\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/>"
           "<input semantic=\"NORMAL\" source=\"#n\" offset=\"1\"/><p>" +
           indices + "</p></triangles></mesh></geometry></library_geometries>\n";
}

/// A scene with a camera and a triangle, which opens.
inline QByteArray simple(const QByteArray &cameraNodeId = "view")
{
    return document(camera("camera") + triangle("triangle"),
                    cameraNode(cameraNodeId) + "<node id=\"thing\"><translate>1 2 3</translate>"
                                               "<instance_geometry url=\"#triangle\"/></node>\n");
}

/// A scene whose elements nest exactly so deep: a chain of nodes with the camera in the innermost one.
inline QByteArray nested(int depth)
{
    // COLLADA, library_visual_scenes and visual_scene around the nodes; instance_camera in the innermost.
    const int nodes = depth - 4;
    QByteArray chain;
    for (int i = 0; i < nodes; ++i)
        chain += "<node id=\"n" + QByteArray::number(i) + "\">";
    return document(camera("camera"), chain + "<instance_camera url=\"#camera\"/>" +
                                          QByteArray("</node>").repeated(nodes) + "\n");
}

} // namespace ColladaText

} // namespace Quorvel
