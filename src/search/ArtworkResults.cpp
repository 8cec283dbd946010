#include "ArtworkResults.h"

#include "search/ArtworkProvider.h"

#include <QSet>

namespace tolvane {

const QStringList& ArtworkResults::providerOrder() {
    static const QStringList order{QStringLiteral("folder"), QStringLiteral("itunes"),
                                   QStringLiteral("deezer"), QStringLiteral("musicbrainz"),
                                   QStringLiteral("web")};
    return order;
}

void ArtworkResults::setRecords(const QString& provider, const QList<QVariantMap>& records) {
    m_records.insert(provider, records);
}

QString ArtworkResults::providerOf(const QVariantMap& record) {
    const QString provider =
        record.value(QString::fromLatin1(ArtworkRecord::providerKey)).toString();
    return provider.isEmpty() ? QStringLiteral("web") : provider;
}

QList<QVariantMap> ArtworkResults::merged() const {
    const QString imageKey = QString::fromLatin1(ArtworkRecord::imageUrlKey);
    QList<QVariantMap> list;
    QSet<QString> shown;
    for (const QString& provider : providerOrder()) {
        const auto found = m_records.constFind(provider);
        if (found == m_records.cend())
            continue;
        const bool pageSearch = provider == QLatin1String("web");
        QSet<QString> earlier = shown;
        qsizetype taken = 0;
        for (const QVariantMap& record : *found) {
            if (!pageSearch && taken == perProviderLimit)
                break;
            const QString image = record.value(imageKey).toString();
            if ((pageSearch ? earlier : shown).contains(image))
                continue;
            shown.insert(image);
            list.append(record);
            ++taken;
        }
    }
    return list;
}

} // namespace tolvane
