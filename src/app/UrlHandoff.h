#pragma once

#include <QString>
#include <QVariantMap>

#include <optional>

namespace tolvane {

class HandoffTarget;

// What a hand-off URL asks for.
struct HandoffAction {
    enum class Kind { Rejected, Browse, Import, OpenIn };

    Kind kind = Kind::Rejected;
    // Browse: the folder to open (still escaped, as the URL had it). OpenIn: the file.
    QString path;
    // Import: the media kind named by the URL.
    QString mediaKind;
    // Import: the recorded download (none when the store holds no such entry).
    // OpenIn: the whole import record.
    std::optional<QVariantMap> record;

    bool accepted() const { return kind != Kind::Rejected; }
};

// The grammar of "tolvane://" URLs and of files handed over by other applications:
//  - a URL holding "path=" opens the folder of the last "="-piece;
//  - otherwise the values of its "&"-parts, by position, name a media kind, a store key and an
//    entry key (and, for the "tracks" store, a store file, a media path and an icon path), and
//    the recorded entry opens the import editor;
//  - a file URL opens the import editor on that file as a song.
// Everything else is refused, silently.
class UrlHandoff {
public:
    // Reads the stores and the file-type table the URL needs; touches no screen.
    static HandoffAction resolve(const QString& urlText);

    // The whole hand-off: a null text is refused; a picker that is up is taken down first (for
    // every URL, also one that is then refused); then the action is passed to the target.
    // Returns whether an action was started.
    static bool perform(const QString& urlText, HandoffTarget* target);

    // The record of a file handed over by another application.
    static QVariantMap openInRecord(const QString& filePath);
};

} // namespace tolvane
