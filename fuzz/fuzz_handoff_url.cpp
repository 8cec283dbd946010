// Hand-off URL text, as the browser add-on sends it or as it arrives on the command line,
// resolved against the demo device (`tolvane-cli handoff --root DEVICE URL`), and the editor's
// record made from what it asks for, as the main screen makes it.

#include "FuzzSupport.h"
#include "app/LaunchArguments.h"
#include "app/PercentEscapes.h"
#include "app/UrlHandoff.h"
#include "import/ImportRecord.h"

#include <QUrl>

using namespace tolvane;

namespace {

void handOver(const QString& text) {
    const HandoffAction action = UrlHandoff::resolve(text);
    switch (action.kind) {
    case HandoffAction::Kind::Rejected:
        if (action.record || !action.path.isEmpty())
            fuzz::fail("a refused URL carries a record or a path");
        break;
    case HandoffAction::Kind::Browse:
        break;
    case HandoffAction::Kind::Import:
        ImportRecord::fromHandoffRecord(action.record.value_or(QVariantMap()), action.mediaKind);
        break;
    case HandoffAction::Kind::OpenIn:
        if (!action.record)
            fuzz::fail("an accepted file URL has no record");
        ImportRecord::fromWholeRecord(*action.record);
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startQt(argc, argv);
    fuzz::demoDevice();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes = fuzz::bytesOf(data, size);
    // The URLs of scripts/demo-urls.txt name the device folder $DEVICE.
    QString text = QString::fromUtf8(bytes);
    text.replace(QStringLiteral("$DEVICE"), fuzz::demoDevice());

    // As sent over the scheme or the running instance's socket.
    handOver(text);
    // As given on the command line, where a text without a scheme is a file.
    const QString argument = handoffTextForArgument(text, fuzz::scratchFolder());
    if (argument != text)
        handOver(argument);

    // Escaping every byte and taking the escapes out again gives the text back.
    const QString escaped = QString::fromLatin1(QUrl::toPercentEncoding(text));
    if (replacingPercentEscapes(escaped) != text)
        fuzz::fail("escaping and unescaping changed the text");
    return 0;
}
