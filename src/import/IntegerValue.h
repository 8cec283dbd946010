#pragma once

#include <QString>
#include <QVariant>

namespace tolvane {

// The integer a text begins with, as the device's string class reads one: leading blanks, an
// optional sign, then digits; 0 when there are none ("5/12" -> 5, "2024abc" -> 2024).
inline qlonglong leadingInteger(const QString& text) {
    const QString trimmed = text.trimmed();
    qsizetype end = 0;
    if (end < trimmed.size() &&
        (trimmed.at(end) == QLatin1Char('-') || trimmed.at(end) == QLatin1Char('+')))
        ++end;
    while (end < trimmed.size() && trimmed.at(end).isDigit())
        ++end;
    bool ok = false;
    const qlonglong value = trimmed.left(end).toLongLong(&ok);
    return ok ? value : 0;
}

// A number as it is, a text by its leading integer.
inline qlonglong integerValue(const QVariant& value) {
    return value.typeId() == QMetaType::QString ? leadingInteger(value.toString())
                                                : value.toLongLong();
}

} // namespace tolvane
