#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace tolvane {

// The records of several providers as one list: providers in a fixed order (folder, itunes,
// deezer, musicbrainz, web), each giving at most 200, an image address shown once. The page
// search's own list is kept as that search makes it (all of it, repeats too); only addresses
// that an earlier provider gave are left out of it.
class ArtworkResults {
public:
    static constexpr qsizetype perProviderLimit = 200;

    // Every provider's name, in the order of the merged list.
    static const QStringList& providerOrder();

    // The provider's records replace any it gave before.
    void setRecords(const QString& provider, const QList<QVariantMap>& records);
    bool hasRecords(const QString& provider) const { return m_records.contains(provider); }
    void clear() { m_records.clear(); }

    QList<QVariantMap> merged() const;

    // The provider of a merged record: its "provider" entry, else the page search.
    static QString providerOf(const QVariantMap& record);

private:
    QHash<QString, QList<QVariantMap>> m_records;
};

} // namespace tolvane
