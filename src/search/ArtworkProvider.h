#pragma once

#include "platform/Result.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

namespace tolvane {

// What a user searches artwork for.
struct ArtworkQuery {
    // The page search's text and keyword, used as the page search has always used them.
    QString text;
    QString keyword;
    // The words for the artwork services: the text as a person would type it.
    QString words;
    // A media kind identifier ("song", "feature-movie", ...).
    QString mediaKind;
    // The media file whose folder may hold its cover; empty when there is none.
    QString mediaPath;
};

// The records one provider found. The page search also knows a page without any result marker,
// which is nothing at all rather than an empty list.
using ArtworkAnswer = std::optional<QList<QVariantMap>>;

// One place artwork comes from. A provider runs one search at a time: it is started for a
// query, delivers its records or one failure later on its own thread, and delivers nothing
// once cancelled or started again.
class ArtworkProvider : public QObject {
    Q_OBJECT
public:
    using Delivery = std::function<void(const Result<ArtworkAnswer>& answer)>;

    using QObject::QObject;

    // The name used in records, preferences and on the command line ("itunes").
    virtual QString name() const = 0;
    // Whether the provider has anything to offer for the query's media kind (and file).
    virtual bool fits(const ArtworkQuery& query) const = 0;
    // Cancels a search under way, then starts one for the query.
    virtual void start(const ArtworkQuery& query, Delivery delivery) = 0;
    virtual void cancel();

protected:
    // A new object for one search, the old one's gone: requests, timers and parsing tied to
    // it end with it, so a cancelled search calls nothing back.
    QObject* beginSearch();
    QObject* currentSearch() const { return m_search; }
    // Delivers from the event loop, never from inside start().
    static void deliverLater(QObject* search, const Delivery& delivery,
                             const Result<ArtworkAnswer>& answer);
    // Records as an answer, a failure as it is.
    static Result<ArtworkAnswer> answerOf(const Result<QList<QVariantMap>>& records);

private:
    QPointer<QObject> m_search;
};

// The keys of an artwork record: every record has "imgurl" and "thumburl"; those of the
// artwork services also name their "provider" and, where the answer says it, a "title".
namespace ArtworkRecord {
inline constexpr const char* imageUrlKey = "imgurl";
inline constexpr const char* thumbnailUrlKey = "thumburl";
inline constexpr const char* providerKey = "provider";
inline constexpr const char* titleKey = "title";

// A record of an artwork service; the title is left out when empty.
QVariantMap make(const QString& provider, const QString& image, const QString& thumbnail,
                 const QString& title);
// Whether a text is an absolute http or https address with a host.
bool isWebAddress(const QString& text);
// "Album – Artist", or the one of the two that is there.
QString titleOf(const QString& name, const QString& artist);
} // namespace ArtworkRecord

} // namespace tolvane
