#pragma once

#include "ModelDataStream.h"

#include <QByteArray>
#include <QList>
#include <QSharedPointer>

// The elements of a stream, or of a buffer read back from OpenGL, as a list for exact comparisons.
template<typename T>
QList<T> elementsOf(Vardune::Qel::ModelDataStream &stream)
{
    const T *first = static_cast<const T *>(stream.data(0));
    return QList<T>(first, first + stream.size());
}

template<typename T>
QList<T> elementsOf(const QSharedPointer<Vardune::Qel::ModelDataStream> &stream)
{
    return elementsOf<T>(*stream);
}

template<typename T>
QList<T> elementsOf(const QByteArray &bytes)
{
    const T *first = reinterpret_cast<const T *>(bytes.constData());
    return QList<T>(first, first + bytes.size() / qsizetype(sizeof(T)));
}
