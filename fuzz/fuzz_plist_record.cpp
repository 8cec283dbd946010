// Property-list bytes as the browser add-on leaves them, read the ways the system reads such a
// file: as a recorded download (`tolvane-cli record --kind`), as a whole import record
// (`record --whole`), as the preferences (save path, library path) and as an entry store
// looked up by the hand-off; every record made is printed as tolvane-cli prints it.

#include "FuzzSupport.h"
#include "app/Preferences.h"
#include "cli/CliOutput.h"
#include "import/ImportRecord.h"
#include "import/library/MediaLibrary.h"
#include "platform/Paths.h"
#include "platform/PropertyList.h"

#include <cstdio>

using namespace tolvane;

namespace {

void printBothWays(const QVariant& value) {
    cli::print(value, cli::Format::Json);
    cli::print(value, cli::Format::Plist);
}

// A store key and an entry key the file holds, so that the lookup reaches an entry.
std::pair<QString, QString> someEntry(const QVariantMap& stores) {
    for (auto store = stores.cbegin(); store != stores.cend(); ++store) {
        if (store->typeId() != QMetaType::QVariantMap)
            continue;
        const QVariantMap entries = store->toMap();
        return {store.key(), entries.isEmpty() ? QString() : entries.firstKey()};
    }
    return {QStringLiteral("downloads"), QStringLiteral("evening-tide")};
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startQt(argc, argv);
    fuzz::demoDevice();
    // tolvane-cli prints its records; here they go nowhere.
    if (!std::freopen("/dev/null", "w", stdout))
        fuzz::fail("cannot send standard output to /dev/null");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Paths into the device are written $DEVICE/..., as in scripts/demo-urls.txt.
    QByteArray bytes = fuzz::bytesOf(data, size);
    bytes.replace("$DEVICE", fuzz::demoDevice().toUtf8());

    // The file is the device's preferences file: the preferences read it, and it is as good
    // a store or record file as any other.
    const QString file = Paths::preferencesFile();
    fuzz::writeFile(file, bytes);

    const Result<QVariantMap> read = PropertyListReader::readDictionary(file);
    if (!read && read.failure().message().isEmpty())
        fuzz::fail("a property list that is not read says why not");
    const QVariantMap given = read.valueOr(QVariantMap());
    const QString kind = QString::fromLatin1(fuzz::mediaKinds[size % fuzz::mediaKindCount]);
    if (read) {
        printBothWays(ImportRecord::fromHandoffRecord(given, kind).toDictionary());
        printBothWays(ImportRecord::fromWholeRecord(given).toDictionary());
    }

    Preferences::savePath();
    Preferences::getTheFullDestinationPath();
    MediaLibrary::defaultFolder();

    const auto [storeKey, entryKey] = someEntry(given);
    const EntryStore::Lookup found = EntryStore::lookup(file, storeKey, entryKey);
    if (found.status != EntryStore::Status::Found && found.record)
        fuzz::fail("a store that was not found gave an entry");
    if (found.record)
        printBothWays(ImportRecord::fromHandoffRecord(*found.record, kind).toDictionary());
    return 0;
}
