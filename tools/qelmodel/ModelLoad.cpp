#include "ModelLoad.h"

#include "MessageCollector.h"

#include "LoadModelFromOBJFile.h"

#include <QElapsedTimer>
#include <QFileInfo>

LoadedModel loadModel(const QString &path)
{
    LoadedModel loaded;
    const QFileInfo file(path);
    loaded.bytes = file.isFile() ? file.size() : 0;
    MessageCollector collector;
    QElapsedTimer timer;
    timer.start();
    loaded.model.reset(Vardune::Qel::loadModelFromOBJFile(path, loaded.error));
    loaded.milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    loaded.warnings = collector.messages();
    return loaded;
}
