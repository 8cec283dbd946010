// Reading the metadata dictionary of 1,000 files (half MP3, half M4A, a third with a 100 KB
// cover) beside a minimal TagLib program that opens each file and reads the same frames and
// the duration. Both run in the same process on the same corpus, page cache warm.
#include "import/MetadataReader.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>

using namespace tolvane;

namespace {

constexpr int corpusSize = 1000;

TagLib::ByteVector cover() {
    QByteArray bytes(100 * 1024, '\0');
    QRandomGenerator generator(7);
    for (char& byte : bytes)
        byte = char(generator.bounded(256));
    bytes[0] = char(0xFF);
    bytes[1] = char(0xD8);
    return TagLib::ByteVector(bytes.constData(), uint(bytes.size()));
}

void tagMp3(const QString& path, bool withCover, int index) {
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    TagLib::ID3v2::Tag* tag = file.ID3v2Tag(true);
    tag->setTitle(TagLib::String("Song " + std::to_string(index)));
    tag->setTrack(uint(index % 20 + 1));
    tag->removeFrames("APIC");
    if (withCover) {
        auto* picture = new TagLib::ID3v2::AttachedPictureFrame;
        picture->setMimeType("image/jpeg");
        picture->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
        picture->setPicture(cover());
        tag->addFrame(picture);
    }
    file.save(TagLib::MPEG::File::ID3v2);
}

void tagMp4(const QString& path, bool withCover, int index) {
    TagLib::MP4::File file(QFile::encodeName(path).constData());
    TagLib::MP4::Tag* tag = file.tag();
    tag->setTitle(TagLib::String("Track " + std::to_string(index)));
    tag->setItem("trkn", TagLib::MP4::Item(index % 20 + 1, 20));
    if (withCover)
        tag->setItem("covr", TagLib::MP4::CoverArtList().append(
                                 TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::JPEG, cover())));
    else
        tag->removeItem("covr");
    file.save();
}

const QStringList& corpus() {
    static QTemporaryDir folder;
    static QStringList paths;
    if (!paths.isEmpty())
        return paths;
    const QString media = QStringLiteral(TOLVANE_DEMO_MEDIA);
    const QString mp3 = folder.filePath(QStringLiteral("base.mp3"));
    const QString m4a = folder.filePath(QStringLiteral("base.m4a"));
    QFile::copy(media + QStringLiteral("/Evening Tide.mp3"), mp3);
    QFile::copy(media + QStringLiteral("/Morning Run.m4a"), m4a);
    for (int i = 0; i < corpusSize; ++i) {
        const bool isMp3 = i % 2 == 0;
        const QString path =
            folder.filePath(QStringLiteral("file%1.%2")
                                .arg(i)
                                .arg(isMp3 ? QStringLiteral("mp3") : QStringLiteral("m4a")));
        QFile::copy(isMp3 ? mp3 : m4a, path);
        QFile(path).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        const bool withCover = i % 3 == 0;
        if (isMp3)
            tagMp3(path, withCover, i);
        else
            tagMp4(path, withCover, i);
        paths.append(path);
    }
    return paths;
}

// What a program that only wants these values does with TagLib.
size_t readMinimal(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    size_t sum = 0;
    if (path.endsWith(QLatin1String(".mp3"))) {
        TagLib::MPEG::File file(name.constData(), true, TagLib::AudioProperties::Average);
        if (const TagLib::ID3v2::Tag* tag = file.ID3v2Tag()) {
            sum += tag->title().size() + tag->artist().size() + tag->album().size() +
                   tag->genre().size() + tag->year();
            const auto& frames = tag->frameListMap();
            if (auto track = frames.find("TRCK"); track != frames.end())
                sum += track->second.front()->toString().size();
            if (auto apic = frames.find("APIC"); apic != frames.end())
                sum += static_cast<TagLib::ID3v2::AttachedPictureFrame*>(apic->second.front())
                           ->picture()
                           .size();
        }
        if (file.audioProperties())
            sum += size_t(file.audioProperties()->lengthInMilliseconds());
    } else {
        TagLib::MP4::File file(name.constData(), true, TagLib::AudioProperties::Average);
        if (const TagLib::MP4::Tag* tag = file.tag()) {
            sum += tag->title().size() + tag->artist().size() + tag->album().size() +
                   tag->genre().size() + tag->year();
            if (tag->contains("trkn"))
                sum += size_t(tag->item("trkn").toIntPair().first);
            if (tag->contains("covr"))
                sum += tag->item("covr").toCoverArtList().front().data().size();
        }
        if (file.audioProperties())
            sum += size_t(file.audioProperties()->lengthInMilliseconds());
    }
    return sum;
}

void BM_MinimalTagLib1000(benchmark::State& state) {
    const QStringList& paths = corpus();
    for (auto _ : state) {
        size_t sum = 0;
        for (const QString& path : paths)
            sum += readMinimal(path);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * paths.size());
}
BENCHMARK(BM_MinimalTagLib1000)->Unit(benchmark::kMillisecond);

void BM_MetadataDictionary1000(benchmark::State& state) {
    const QStringList& paths = corpus();
    for (auto _ : state) {
        qsizetype keys = 0;
        for (const QString& path : paths)
            keys += MetadataReader::metadataForFile(path).valueOr({}).size();
        benchmark::DoNotOptimize(keys);
    }
    state.SetItemsProcessed(state.iterations() * paths.size());
}
BENCHMARK(BM_MetadataDictionary1000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
