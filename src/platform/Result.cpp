#include "Result.h"

#include <QLoggingCategory>

namespace tolvane {

namespace {

Q_LOGGING_CATEGORY(lcIgnored, "tolvane.ignored", QtWarningMsg)

// Messages are shown in one line of an alert or of standard error.
QString oneLine(QString text) {
    for (QChar& c : text) {
        if (c == u'\n' || c == u'\r' || c == u'\t')
            c = u' ';
    }
    return text.trimmed();
}

} // namespace

Failure::Failure(QString message, QString path, int systemError)
    : m_message(oneLine(std::move(message)))
    , m_path(std::move(path))
    , m_systemError(systemError) {}

QString Failure::text() const {
    if (m_path.isEmpty())
        return m_message;
    return m_path + QStringLiteral(": ") + m_message;
}

namespace detail {

void logIgnoredFailure(const Failure& failure, const char* why, const std::source_location& where) {
    qCDebug(lcIgnored).noquote() << QStringLiteral("%1 (%2:%3; %4)")
                                        .arg(failure.text(), QString::fromUtf8(where.file_name()))
                                        .arg(where.line())
                                        .arg(QString::fromUtf8(why));
}

} // namespace detail

} // namespace tolvane
