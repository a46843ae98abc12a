#pragma once

#include "ModelLoad.h"
#include "PositionBounds.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVector3D>

#include <optional>

// What one import put on the GPU, as `qelmodel info` reports it. Counts come from the
// buffers read back and from the draws' own commands, not from the file.
struct ModelReport
{
    struct Attribute
    {
        QString name;
        int components = 0;
        unsigned int type = 0;
    };

    // One indirect command: a material group of the model.
    struct Group
    {
        QString name;
        int draw = 0;
        quint32 firstIndex = 0;
        quint32 indexCount = 0;
        QString object;
        std::optional<QVector3D> diffuseColour; // "Kd"
        QString diffuseMap; // "map_Kd", as GroupMaterial::diffuseMapLabel gives it
    };

    QString file;
    bool ok = false;
    QString error;
    qint64 bytes = 0;
    double loadMilliseconds = 0.0;
    qint64 vertices = 0;
    qint64 indices = 0;
    qint64 triangles = 0;
    unsigned int indexType = 0;
    int draws = 0;
    QList<Attribute> attributes; // sorted by name
    QList<Group> groups; // sorted by name
    PositionBounds bounds;
    QStringList warnings;
};

// Reads the report of `loaded` back from its model; needs the model's context current.
ModelReport gatherModelReport(const QString &file, const LoadedModel &loaded);
