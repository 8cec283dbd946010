#pragma once

#include <QByteArray>
#include <QUrl>

#include <optional>

namespace tolvane {

// The artwork services' successful answers, kept on disk for a day under the caches folder
// whatever the services say about caching, so that a repeated search sends nothing.
class ArtworkAnswerCache {
public:
    static constexpr qint64 keptSeconds = 24 * 60 * 60;
    static constexpr qint64 maximumBytes = 64 * 1024 * 1024;

    // The answer kept for the address when it is less than a day old.
    static std::optional<QByteArray> lookup(const QUrl& url);
    static void store(const QUrl& url, const QByteArray& body);
    // "<caches folder>/artwork-answers".
    static QString folder();
};

} // namespace tolvane
