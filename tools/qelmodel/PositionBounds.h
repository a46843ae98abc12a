#pragma once

#include <QelGL/GPUModel.h>

#include <QVector3D>

// The axis-aligned box of the positions a model holds on the GPU, read back from the
// "va_Vertex" buffer of its first draw (all draws of an imported model share it).
struct PositionBounds
{
    qint64 vertexCount = 0; // positions in the buffer
    QVector3D min;
    QVector3D max;

    bool isEmpty() const { return vertexCount == 0; }
};

PositionBounds uploadedPositionBounds(const Vardune::Qel::GPUModel &model);
