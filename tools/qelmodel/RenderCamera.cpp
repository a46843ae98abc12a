#include "RenderCamera.h"

#include <QtMath>

#include <algorithm>
#include <cmath>

namespace {

constexpr double kVerticalFieldOfViewDegrees = 30.0;
// Room left around the bounding sphere, as a factor of the distance that just fits it.
constexpr double kMargin = 1.05;

} // namespace

RenderCamera::RenderCamera(const QVector3D &boxMin, const QVector3D &boxMax, double azimuthDegrees,
    double elevationDegrees, double aspectRatio)
{
    const QVector3D centre = (boxMin + boxMax) * 0.5f;
    const double halfDiagonal = double((boxMax - boxMin).length()) * 0.5;
    const double radius = halfDiagonal > 0.0 ? halfDiagonal : 1.0;

    // The sphere must fit the narrower of the two fields of view.
    const double halfVertical = qDegreesToRadians(kVerticalFieldOfViewDegrees) * 0.5;
    const double halfHorizontal = std::atan(std::tan(halfVertical) * aspectRatio);
    const double distance = kMargin * radius / std::sin(std::min(halfVertical, halfHorizontal));

    const double azimuth = qDegreesToRadians(azimuthDegrees);
    const double elevation = qDegreesToRadians(elevationDegrees);
    _towardsCamera = QVector3D(float(std::cos(elevation) * std::sin(azimuth)), float(std::sin(elevation)),
        float(std::cos(elevation) * std::cos(azimuth)));
    // Perpendicular to the view direction and pointing up, also straight above or below.
    const QVector3D up(float(-std::sin(elevation) * std::sin(azimuth)), float(std::cos(elevation)),
        float(-std::sin(elevation) * std::cos(azimuth)));

    QMatrix4x4 view;
    view.lookAt(centre + _towardsCamera * float(distance), centre, up);
    QMatrix4x4 projection;
    projection.perspective(float(kVerticalFieldOfViewDegrees), float(aspectRatio), float(distance - 1.1 * radius),
        float(distance + 1.1 * radius));
    _viewProjection = projection * view;
}
