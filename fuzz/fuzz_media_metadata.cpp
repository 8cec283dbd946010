// Media file bytes (MP3, MPEG-4, FLAC, Ogg, WAV, AIFF by the name they are given) to the
// metadata dictionary, as `tolvane-cli info FILE` and the import editor read it.

#include "MediaInput.h"
#include "import/MetadataReader.h"
#include "platform/MetadataKeys.h"

using namespace tolvane;

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startQt(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::MediaInput input = fuzz::mediaInput(data, size);
    const QString path =
        fuzz::writeScratchFile(QStringLiteral("input.") + input.extension, input.file);

    const Result<QVariantMap> metadata = MetadataReader::metadataForFile(path);
    if (!metadata)
        fuzz::fail("a file gave no metadata dictionary: %s", qPrintable(metadata.errorText()));
    if (metadata->value(AVMetadataCommonKeyTitle).toString().isEmpty())
        fuzz::fail("the title did not fall back to the file name");
    return 0;
}
