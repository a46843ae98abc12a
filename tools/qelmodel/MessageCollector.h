#pragma once

#include <QStringList>
#include <QtGlobal>

// While it exists, keeps the text of every warning and critical message written through Qt's
// message logger and drops debug and info messages; fatal ones go on to the handler that was
// installed before. One collector at a time, on the thread that writes the messages.
class MessageCollector
{
public:
    MessageCollector();
    ~MessageCollector();

    MessageCollector(const MessageCollector &) = delete;
    MessageCollector &operator=(const MessageCollector &) = delete;

    QStringList messages() const { return _messages; }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text);

    QtMessageHandler _previous = nullptr;
    QStringList _messages;
};
