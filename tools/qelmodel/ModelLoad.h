#pragma once

#include <QelGL/GPUModel.h>

#include <QString>
#include <QStringList>

#include <memory>

// One timed import of an OBJ file into the OpenGL context current on this thread, with the
// warnings and critical messages the library wrote meanwhile.
struct LoadedModel
{
    std::unique_ptr<Vardune::Qel::GPUModel> model; // null when the import failed
    QString error; // the library's message when it failed
    qint64 bytes = 0; // size of the OBJ file, 0 when there is none
    double milliseconds = 0.0;
    QStringList warnings;
};

LoadedModel loadModel(const QString &path);
