#include "CliOutput.h"

#include "platform/PropertyList.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace tolvane::cli {

QJsonValue toJson(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return QJsonValue::Null;
    case QMetaType::QByteArray:
        return QJsonObject{
            {QStringLiteral("base64"), QString::fromLatin1(value.toByteArray().toBase64())}};
    case QMetaType::QDateTime:
        return value.toDateTime().toString(Qt::ISODateWithMs);
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            object.insert(it.key(), toJson(it.value()));
        return object;
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        QJsonArray array;
        for (const QVariant& item : value.toList())
            array.append(toJson(item));
        return array;
    }
    default:
        return QJsonValue::fromVariant(value);
    }
}

namespace {
// A property list has no null: absent values are left out of dictionaries and lists.
QVariant withoutNulls(const QVariant& value) {
    if (value.typeId() == QMetaType::QVariantMap) {
        QVariantMap out;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            if (it.value().isValid() && !it.value().isNull())
                out.insert(it.key(), withoutNulls(it.value()));
        }
        return out;
    }
    if (value.typeId() == QMetaType::QVariantList) {
        QVariantList out;
        for (const QVariant& item : value.toList()) {
            if (item.isValid() && !item.isNull())
                out.append(withoutNulls(item));
        }
        return out;
    }
    return value;
}
} // namespace

void print(const QVariant& value, Format format) {
    QByteArray text;
    if (format == Format::Plist) {
        text = PropertyListWriter::toXml(withoutNulls(value));
    } else {
        const QJsonValue json = toJson(value);
        if (json.isObject())
            text = QJsonDocument(json.toObject()).toJson(QJsonDocument::Indented);
        else if (json.isArray())
            text = QJsonDocument(json.toArray()).toJson(QJsonDocument::Indented);
        else
            text =
                QJsonDocument(QJsonArray{json}).toJson(QJsonDocument::Compact).mid(1).chopped(1) +
                '\n';
    }
    std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
    std::fflush(stdout);
}

} // namespace tolvane::cli
