#pragma once

#include "ModelBuilderProbe.h"

#include <QFile>
#include <QList>
#include <QString>
#include <QTemporaryDir>

// Text files of the import tests, written into one temporary directory, and plain views of a
// builder's streams for exact comparisons.
class ObjTestFiles
{
public:
    QString path(const QString &name) const { return _dir.filePath(name); }

    QString write(const QString &name, const QByteArray &content) const
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write(content);
        return file.fileName();
    }

private:
    QTemporaryDir _dir;
};

inline QList<float> floatsOf(const QSharedPointer<Vardune::Qel::ModelDataStream> &stream)
{
    const auto *data = static_cast<const float *>(stream->data(0));
    return QList<float>(data, data + stream->size());
}

inline QList<unsigned int> indicesOf(const QSharedPointer<Vardune::Qel::ModelDataStream> &stream)
{
    const auto *data = static_cast<const unsigned int *>(stream->data(0));
    return QList<unsigned int>(data, data + stream->size());
}
