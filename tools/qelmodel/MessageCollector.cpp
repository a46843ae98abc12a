#include "MessageCollector.h"

namespace {

MessageCollector *activeCollector = nullptr;

} // namespace

MessageCollector::MessageCollector()
{
    activeCollector = this;
    _previous = qInstallMessageHandler(&MessageCollector::handle);
}

MessageCollector::~MessageCollector()
{
    qInstallMessageHandler(_previous);
    activeCollector = nullptr;
}

void MessageCollector::handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    switch (type) {
    case QtWarningMsg:
    case QtCriticalMsg:
        activeCollector->_messages.append(text);
        break;
    case QtFatalMsg:
        if (activeCollector->_previous)
            activeCollector->_previous(type, context, text);
        break;
    case QtDebugMsg:
    case QtInfoMsg:
        break;
    }
}
