#pragma once

#include <QMatrix4x4>
#include <QVector3D>

// A perspective camera looking at the centre of a bounding box from a direction given by
// azimuth (degrees about the y axis, 0 looking from +z towards -z, 90 from +x) and elevation
// (degrees above the xz plane), far enough that the box's bounding sphere fits the view.
class RenderCamera
{
public:
    RenderCamera(const QVector3D &boxMin, const QVector3D &boxMax, double azimuthDegrees, double elevationDegrees,
        double aspectRatio);

    QMatrix4x4 viewProjection() const { return _viewProjection; }
    // Unit vector from the box's centre towards the camera.
    QVector3D towardsCamera() const { return _towardsCamera; }

private:
    QMatrix4x4 _viewProjection;
    QVector3D _towardsCamera;
};
