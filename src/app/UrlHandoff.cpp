#include "UrlHandoff.h"

#include "app/FileUrl.h"
#include "app/HandoffTarget.h"
#include "app/PercentEscapes.h"
#include "app/Preferences.h"
#include "browser/FileTypeTable.h"
#include "imaging/THEOSData.h"
#include "import/ImportRecord.h"
#include "import/MediaKinds.h"
#include "platform/CurrentYear.h"
#include "platform/PathString.h"
#include "platform/Paths.h"

namespace tolvane {

namespace {

const QString schemeMarker = QStringLiteral("tolvane://");
const QString tracksStore = QStringLiteral("tracks");

HandoffAction rejected() {
    return {};
}

// A store file name must stay inside the preferences folder.
bool isSafeStoreName(const QString& name) {
    return !name.isEmpty() && !name.contains(QLatin1Char('/')) && name != QLatin1String("..") &&
           name != QLatin1String(".") && !name.contains(QChar(0));
}

HandoffAction openIn(const QString& text) {
    // Read as a URL: a URL that names no absolute local path names nothing to open, or to
    // delete on Cancel.
    const Result<QString> path = FileUrl::localPath(text);
    if (!path)
        return rejected();
    return HandoffAction{HandoffAction::Kind::OpenIn, *path, QString(),
                         UrlHandoff::openInRecord(*path)};
}

// The recorded-download form, or nothing when the store cannot give one.
std::optional<HandoffAction> recordedDownload(const QStringList& values) {
    const QString& mediaKind = values.at(0);
    const QString& storeKey = values.at(1);
    // An entry key that cannot be unescaped names no entry.
    const QString entryKey = replacingPercentEscapes(values.at(2)).value_or(QString());
    const bool tracks = storeKey == tracksStore;
    if (tracks && values.size() < 6)
        return std::nullopt;

    QString storeFile = Paths::preferencesFile();
    if (tracks) {
        if (!isSafeStoreName(values.at(3)))
            return std::nullopt;
        storeFile = PathString::appendingPathComponent(Paths::preferencesFolder(), values.at(3));
    }
    EntryStore::Lookup found = EntryStore::lookup(storeFile, storeKey, entryKey);
    if (found.status != EntryStore::Status::Found)
        return std::nullopt;

    if (tracks && found.record) {
        QVariantMap& record = *found.record;
        record.insert(QStringLiteral("isVideo"), 1);
        const QVariant title = record.value(QStringLiteral("title"));
        if (title.isValid())
            record.insert(QStringLiteral("name"), title);
        else
            record.remove(QStringLiteral("name"));
        record.insert(QStringLiteral("filePath"), values.at(4));
        record.insert(QStringLiteral("iconData"), values.at(5));
    }
    return HandoffAction{HandoffAction::Kind::Import, QString(), mediaKind, found.record};
}

} // namespace

QVariantMap UrlHandoff::openInRecord(const QString& filePath) {
    const QString name = PathString::lastPathComponent(filePath);
    const QString extension = PathString::pathExtension(filePath);
    const QString iconFile = FileTypeTable::installed()->iconFileForExtension(extension);

    ImportRecord record;
    record.mediaKind = MediaKinds::song;
    record.path = filePath;
    record.metadata.title = name;
    record.metadata.artist = QString(QLatin1String(""));
    record.metadata.year = Tags::Year(qlonglong(currentYear()));
    if (const std::optional<QByteArray> icon = THEOSData::DataFromFileAtPath(
            PathString::appendingPathComponent(Paths::iconsFolder(), iconFile)))
        record.metadata.artwork = *icon;
    return record.toDictionary();
}

HandoffAction UrlHandoff::resolve(const QString& text) {
    if (text.isEmpty())
        return rejected();
    if (!text.contains(schemeMarker))
        return openIn(text);

    if (text.contains(QStringLiteral("path="))) {
        const QString last = text.split(QLatin1Char('=')).constLast();
        return HandoffAction{HandoffAction::Kind::Browse,
                             PathString::deletingLastPathComponent(last), QString(), std::nullopt};
    }

    const QStringList parts = text.split(QLatin1Char('&'));
    if (parts.size() <= 2)
        return rejected();
    QStringList values;
    for (const QString& part : parts) {
        if (part.contains(QLatin1Char('=')))
            values.append(part.split(QLatin1Char('=')).constLast());
    }
    if (values.size() < 3)
        return rejected();

    if (std::optional<HandoffAction> action = recordedDownload(values))
        return *action;
    // A store that cannot give the entry leaves only the open-in road, which refuses any URL
    // that is not a file URL.
    return openIn(text);
}

bool UrlHandoff::perform(const QString& text, HandoffTarget* target) {
    if (text.isNull())
        return false;
    if (target && target->directoryPickerIsOn())
        target->dismissViewControllerAnimated(false, nullptr);

    const HandoffAction action = resolve(text);
    if (!target)
        return action.accepted();
    switch (action.kind) {
    case HandoffAction::Kind::Rejected:
        return false;
    case HandoffAction::Kind::Browse:
        target->browseToFileWithPath(action.path);
        return true;
    case HandoffAction::Kind::Import:
        target->loadImportViewControllerWithDictionary(action.record.value_or(QVariantMap()),
                                                       action.mediaKind);
        return true;
    case HandoffAction::Kind::OpenIn:
        target->loadImportViewControllerWithDictionary(action.record.value_or(QVariantMap()));
        return true;
    }
    return false;
}

} // namespace tolvane
