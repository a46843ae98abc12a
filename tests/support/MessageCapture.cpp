#include "MessageCapture.h"

#include <QMutex>
#include <QStringList>

namespace {

QMutex capturedMutex;
QList<MessageCapture::Message> captured;

void captureMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    QMutexLocker lock(&capturedMutex);
    captured.append({ type, text, context.file != nullptr || context.line != 0 || context.function != nullptr });
}

} // namespace

MessageCapture::MessageCapture()
{
    clear();
    _previous = qInstallMessageHandler(captureMessage);
}

MessageCapture::~MessageCapture()
{
    qInstallMessageHandler(_previous);
}

QList<MessageCapture::Message> MessageCapture::messages() const
{
    QMutexLocker lock(&capturedMutex);
    return captured;
}

QStringList MessageCapture::texts(QtMsgType type) const
{
    QStringList result;
    for (const Message &message : messages()) {
        if (message.type == type)
            result.append(message.text);
    }
    return result;
}

void MessageCapture::clear()
{
    QMutexLocker lock(&capturedMutex);
    captured.clear();
}
