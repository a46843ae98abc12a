#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

// Records every Qt message written while it exists, with its level and exact text, and
// restores the previous handler afterwards. One capture at a time.
class MessageCapture
{
public:
    struct Message
    {
        QtMsgType type;
        QString text;
        bool hasContext; // true when a file, line or function came with the message
    };

    MessageCapture();
    ~MessageCapture();

    MessageCapture(const MessageCapture &) = delete;
    MessageCapture &operator=(const MessageCapture &) = delete;

    QList<Message> messages() const;
    // The texts of the messages of one level, in order.
    QStringList texts(QtMsgType type) const;
    void clear();

private:
    QtMessageHandler _previous;
};
