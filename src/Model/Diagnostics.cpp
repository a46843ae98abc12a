#include "Diagnostics.h"

#include <QMessageLogger>
#include <QProcessEnvironment>
#include <QString>
#include <QVariant>

#include <cstdarg>
#include <cstring>

namespace Vardune::Qel {

bool isLoggingEnabled()
{
    // A function-local static: its initialisation is thread-safe and happens once.
    static const bool enabled = QVariant(QProcessEnvironment::systemEnvironment().value(
                                             QStringLiteral("QEL_ENABLE_LOGGING"), QString::number(1)))
                                    .toBool();
    return enabled;
}

void reportAssertionFailure(const char *expression, const char *file, int line, const char *detailFormat, ...)
{
    const QString escapedExpression = QString::fromUtf8(expression).replace(QLatin1Char('%'), QLatin1String("\\%"));
    if (!isLoggingEnabled())
        return;

    va_list values;
    va_start(values, detailFormat);
    const QString detail = QString::vasprintf(detailFormat, values);
    va_end(values);

    const QString body = QString::asprintf("[ !! ] Assertion '%s' failed: %s", escapedExpression.toLocal8Bit().constData(),
                                           detail.toLocal8Bit().constData());
    const char *lastSlash = std::strrchr(file, '/');
    const char *location = lastSlash ? lastSlash + 1 : file;
    QMessageLogger(nullptr, 0, nullptr).critical("[%s:%d] %s", location, line, body.toLocal8Bit().constData());
}

} // namespace Vardune::Qel
