#include "Mnemonics.h"

#include <QSet>

namespace tolvane {

namespace {

QString escaped(const QString& title) {
    QString text = title;
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

// Where the mnemonic goes in the title, or -1: word starts first, then any letter.
qsizetype pick(const QString& title, const QSet<QString>& taken) {
    const auto free = [&](qsizetype at) {
        const QChar letter = title.at(at);
        return letter.isLetterOrNumber() && !taken.contains(QString(letter).toCaseFolded());
    };
    for (qsizetype at = 0; at < title.size(); ++at) {
        const bool wordStart = at == 0 || !title.at(at - 1).isLetterOrNumber();
        if (wordStart && free(at))
            return at;
    }
    for (qsizetype at = 0; at < title.size(); ++at) {
        if (free(at))
            return at;
    }
    return -1;
}

} // namespace

QStringList Mnemonics::assign(const QStringList& titles) {
    QSet<QString> taken;
    QStringList marked;
    marked.reserve(titles.size());
    for (const QString& title : titles) {
        const qsizetype at = pick(title, taken);
        if (at < 0) {
            marked.append(escaped(title));
            continue;
        }
        taken.insert(QString(title.at(at)).toCaseFolded());
        marked.append(escaped(title.left(at)) + QLatin1Char('&') + escaped(title.mid(at)));
    }
    return marked;
}

QString Mnemonics::stripped(const QString& title) {
    QString plain;
    plain.reserve(title.size());
    for (qsizetype at = 0; at < title.size(); ++at) {
        if (title.at(at) == QLatin1Char('&') && at + 1 < title.size())
            ++at;
        plain.append(title.at(at));
    }
    return plain;
}

} // namespace tolvane
