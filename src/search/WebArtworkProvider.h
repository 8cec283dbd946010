#pragma once

#include "search/ArtworkProvider.h"

namespace tolvane {

// The web image search's result page, asked and scraped as it always has been: its records
// keep exactly "imgurl" and "thumburl", and a page without a result marker is no list at all.
class WebArtworkProvider : public ArtworkProvider {
    Q_OBJECT
public:
    explicit WebArtworkProvider(QObject* parent = nullptr);

    QString name() const override { return QStringLiteral("web"); }
    bool fits(const ArtworkQuery&) const override { return true; }
    void start(const ArtworkQuery& query, Delivery delivery) override;
};

} // namespace tolvane
