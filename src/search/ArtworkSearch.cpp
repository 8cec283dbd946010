#include "ArtworkSearch.h"

#include "platform/Paths.h"
#include "platform/PropertyList.h"
#include "search/DeezerArtworkProvider.h"
#include "search/FolderArtworkProvider.h"
#include "search/ItunesArtworkProvider.h"
#include "search/MusicBrainzArtworkProvider.h"
#include "search/WebArtworkProvider.h"

#include <QLoggingCategory>
#include <QTimer>

namespace tolvane {

namespace {
Q_LOGGING_CATEGORY(lcSearch, "tolvane.artwork")
}

ArtworkSearch::ArtworkSearch(const QStringList& providers, QObject* parent)
    : QObject(parent) {
    for (const QString& name : ArtworkResults::providerOrder()) {
        if (providers.contains(name))
            m_providers.push_back(makeProvider(name, this));
    }
}

ArtworkSearch::~ArtworkSearch() {
    cancel();
}

QStringList ArtworkSearch::allProviders() {
    return ArtworkResults::providerOrder();
}

QStringList ArtworkSearch::providersFromPreferences() {
    const Result<QVariantMap> preferences =
        PropertyListReader::readDictionary(Paths::preferencesFile());
    ignoreFailure(preferences, "an unreadable preferences file names no providers");
    const QVariant value = preferences.valueOr({}).value(QStringLiteral("artworkProviders"));
    if (!value.isValid())
        return allProviders();
    if (value.typeId() != QMetaType::QVariantList && value.typeId() != QMetaType::QStringList) {
        qCWarning(lcSearch) << "artworkProviders is not a list of names; every provider is asked";
        return allProviders();
    }
    QStringList named;
    for (const QVariant& entry : value.toList()) {
        const QString name = entry.toString();
        if (allProviders().contains(name))
            named.append(name);
        else
            qCWarning(lcSearch).noquote() << "artworkProviders names no provider" << name;
    }
    // The merge order, whatever order the preferences list them in.
    QStringList names;
    for (const QString& name : allProviders()) {
        if (named.contains(name))
            names.append(name);
    }
    return names;
}

ArtworkProvider* ArtworkSearch::makeProvider(const QString& name, QObject* parent) {
    if (name == QLatin1String("folder"))
        return new FolderArtworkProvider(parent);
    if (name == QLatin1String("itunes"))
        return new ItunesArtworkProvider(parent);
    if (name == QLatin1String("deezer"))
        return new DeezerArtworkProvider(parent);
    if (name == QLatin1String("musicbrainz"))
        return new MusicBrainzArtworkProvider(parent);
    if (name == QLatin1String("web"))
        return new WebArtworkProvider(parent);
    return nullptr;
}

void ArtworkSearch::cancel() {
    ++m_generation;
    for (ArtworkProvider* provider : m_providers)
        provider->cancel();
    m_pending = 0;
}

void ArtworkSearch::start(const ArtworkQuery& query, AnswerHandler onAnswer,
                          std::function<void()> onEnd) {
    cancel();
    const quint64 generation = m_generation;
    m_asked.clear();
    m_results.clear();
    m_failures.clear();
    m_anyRecords = false;
    auto handlers = std::make_shared<std::pair<AnswerHandler, std::function<void()>>>(
        std::move(onAnswer), std::move(onEnd));
    for (ArtworkProvider* provider : m_providers) {
        if (provider->fits(query))
            m_asked.append(provider->name());
    }
    m_pending = int(m_asked.size());
    if (m_asked.isEmpty()) {
        QTimer::singleShot(0, this, [this, generation, handlers] {
            if (generation == m_generation && handlers->second)
                handlers->second();
        });
        return;
    }
    for (ArtworkProvider* provider : m_providers) {
        if (!m_asked.contains(provider->name()))
            continue;
        const QString name = provider->name();
        provider->start(
            query, [this, generation, handlers, name](const Result<ArtworkAnswer>& answer) {
                if (generation != m_generation)
                    return;
                if (!answer) {
                    m_failures.append(name + QStringLiteral(": ") + answer.failure().text());
                } else if (answer->has_value()) {
                    m_results.setRecords(name, **answer);
                    m_anyRecords = true;
                } else {
                    m_failures.append(name + QStringLiteral(": the page holds no results"));
                }
                --m_pending;
                if (handlers->first)
                    handlers->first(name, answer);
                // The handler may have started a new search.
                if (generation == m_generation && m_pending == 0 && handlers->second)
                    handlers->second();
            });
    }
}

} // namespace tolvane
