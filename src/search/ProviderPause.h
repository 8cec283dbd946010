#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QString>

#include <chrono>
#include <optional>

namespace tolvane {

// Services that answer 403, 429 or 503 are left alone for as long as their Retry-After asks
// (else a minute), never longer than an hour. Kept for the whole process, by provider name.
class ProviderPause {
public:
    static constexpr std::chrono::seconds defaultPause{60};
    static constexpr std::chrono::seconds longestPause{3600};

    // Whether a status asks the client to hold back.
    static bool isPauseStatus(int status);
    // The pause a Retry-After value asks for: whole seconds or an HTTP date, held to between
    // one second and an hour; anything else, or nothing, a minute.
    static std::chrono::seconds pauseFor(QByteArrayView retryAfter, const QDateTime& now);

    // Pauses the provider from now, with one line in the log.
    static void pause(const QString& provider, int status, QByteArrayView retryAfter);
    // The time left of a pause, or nothing when the provider may be asked.
    static std::optional<std::chrono::seconds> remaining(const QString& provider);
    // Ends every pause.
    static void clear();
};

} // namespace tolvane
