#pragma once

#include "search/ArtworkProvider.h"
#include "search/ArtworkResults.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

namespace tolvane {

// Asks several providers at once and gathers their answers as they arrive. A new search
// cancels the one before it; its answers never arrive.
class ArtworkSearch : public QObject {
    Q_OBJECT
public:
    // An answer of one provider, with the merged records of all that have answered so far.
    using AnswerHandler =
        std::function<void(const QString& provider, const Result<ArtworkAnswer>& answer)>;

    // Asks the named providers (unknown names are left out).
    explicit ArtworkSearch(const QStringList& providers, QObject* parent = nullptr);
    ~ArtworkSearch() override;

    // Every provider's name, in merge order.
    static QStringList allProviders();
    // The providers the preferences' "artworkProviders" names, in merge order; every provider
    // when the key is absent or not a list.
    static QStringList providersFromPreferences();
    static ArtworkProvider* makeProvider(const QString& name, QObject* parent);

    // Cancels the search under way and asks each provider that fits the query. Answers and
    // then the end come through the handlers, on this object's thread, never from here.
    void start(const ArtworkQuery& query, AnswerHandler onAnswer, std::function<void()> onEnd);
    void cancel();

    // The providers asked by the last start, in merge order.
    const QStringList& asked() const { return m_asked; }
    bool isRunning() const { return m_pending > 0; }
    // Whether any provider asked has given a list of records (an empty one too).
    bool anyRecords() const { return m_anyRecords; }
    QList<QVariantMap> records() const { return m_results.merged(); }
    // "provider: cause" of each provider that failed, in merge order of arrival.
    const QStringList& failures() const { return m_failures; }

private:
    std::vector<ArtworkProvider*> m_providers; // children of this object
    QStringList m_asked;
    ArtworkResults m_results;
    QStringList m_failures;
    int m_pending = 0;
    bool m_anyRecords = false;
    quint64 m_generation = 0;
};

} // namespace tolvane
